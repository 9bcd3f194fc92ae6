#pragma once

#include <span>

#include "raster/bitmap.h"

namespace vellandra {

/// Moves the first `movable` entries of `palette` to the middle of the pixels of `sample`, of 24 bits, that take them;
/// entries that serve hardly any go where pixels are served worst. The same for any number of `threads`.
void refinePalette(const Bitmap& sample, std::span<PixelColor> palette, std::size_t movable, unsigned threads);

}  // namespace vellandra
