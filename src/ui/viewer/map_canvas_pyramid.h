#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "raster/bitmap.h"

namespace vellandra {

/// The part of an image that a frame shows.
struct FramePlace {
  double left = 0, top = 0;  ///< of the image in the frame, in frame pixels
  double scale = 1;          ///< frame pixels per image pixel
};

/// Pixels as 0xffRRGGBB, `stride` pixels from one row to the next.
struct Frame {
  std::uint32_t* pixels;
  int width, height;
  std::ptrdiff_t stride;
};

/// An image of 24 bits per pixel and, made once, its halves, quarters and so on, so that a frame at any scale is drawn
/// from about as many pixels as it has. The halved levels take a third of the image's memory; the image is not copied
/// and must outlive this.
class ImagePyramid {
 public:
  explicit ImagePyramid(const Bitmap& image);

  /// Draws the image over the whole frame: single pixels as squares when enlarged, averaged when reduced; `background`
  /// beside it. `over` then draws over each band of rows, of which `top` is the first, while it is in the cache, on the
  /// thread that drew it.
  void draw(const FramePlace& place, const Frame& frame, std::uint32_t background,
            const std::function<void(const Frame& band, int top)>& over = {}) const;

  std::size_t extraBytes() const;  ///< held beside the image

 private:
  const Bitmap& level(int index) const { return index == 0 ? image_ : halves_[static_cast<std::size_t>(index - 1)]; }

  const Bitmap& image_;
  std::vector<Bitmap> halves_;
};

}  // namespace vellandra
