#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "raster/bitmap.h"
#include "raster/library_messages.h"

namespace vellandra {

/// Bytes of a pixel of 24 bits: blue, green, red.
inline constexpr std::ptrdiff_t colorBytes = 3;

/// Calls `work` with the pixels of each row from `first` to `end`, exclusive, as 24 bits whatever the depth of `image`,
/// and with the number of the row. For images too large to be converted as a whole; can be called from several threads
/// at once. Throws std::bad_alloc when a few rows of them cannot be had as colours.
template <typename Work>
void forColorRows(const Bitmap& image, int first, int end, const Work& work) {
  constexpr int stripRows = 16;
  if (image.bitsPerPixel() == 24) {
    for (int y = first; y < end; ++y) work(image.row(y).data(), y);
    return;
  }
  for (int top = first; top < end; top += stripRows) {
    std::vector<std::string> said;  // not to the log, which belongs to one thread
    const LibraryMessages messages(said);
    const int bottom = Min(top + stripRows, end);
    const Bitmap strip = convertTo24Bits(copyRectangle(image, 0, top, image.width(), bottom));
    if (!strip) throw std::bad_alloc();
    for (int y = top; y < bottom; ++y) work(strip.row(y - top).data(), y);
  }
}

}  // namespace vellandra
