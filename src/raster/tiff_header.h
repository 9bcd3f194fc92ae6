#pragma once

#include <cstdint>
#include <optional>

#include "raster/image_file.h"

namespace vellandra {

/// What the first directory of a TIFF says, classic or with offsets of 64 bits, of either byte order. Layout: TIFF 6.0,
/// Adobe 1992, and BigTIFF.
struct TiffHeader {
  static constexpr std::int64_t uncompressed = 1;

  std::int64_t width = 0, height = 0;
  std::int64_t bits = 1, samples = 1;  ///< bits of a sample, samples of a pixel
  std::int64_t compression = uncompressed;
};

/// Nothing when the file is no TIFF, or when its pixels lie in more pieces than the file has room to list.
std::optional<TiffHeader> readTiffHeader(ImageFile& file);

}  // namespace vellandra
