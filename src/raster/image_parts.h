#pragma once

#include <string>
#include <utility>
#include <vector>

#include "raster/image_file.h"

namespace vellandra {

/// What of an image file makes its pixels. Camera data, comments, colour profiles, thumbnails and further pictures are
/// left out: they are nothing that a map is to hand on, and a damaged one cannot lead a decoder astray.
struct PixelParts {
  explicit PixelParts(ImageFile& file) : parts(file), pngHead(file) {}

  ImageParts parts;
  ImageParts pngHead;  ///< of a PNG: what stands before its pixels
  bool endsEarly = false;
  int scans = 1;  ///< times that a decoder goes over all pixels, at most
  /// Of a PNG: position and length of each piece of the compressed pixels.
  std::vector<std::pair<std::int64_t, std::int64_t>> pngData;
};

/// For a PNG, JPEG or GIF with a good header.
PixelParts pixelParts(ImageFormat format, ImageFile& file);

/// A PNG with the same pixels as far as they can be had, whatever its check sums say, and zeros behind them. No bytes
/// when there are none.
ImageParts mendedPng(ImageFile& file, const PixelParts& damaged);

}  // namespace vellandra
