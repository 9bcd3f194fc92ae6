#pragma once

#include "raster/bitmap.h"

namespace vellandra {

/// About a million pixels, of 24 bits, that stand for a large `image` of any depth when its palette is made: one from
/// each of as many blocks that cover it evenly, and, mixed among them, more of the colours that are rare all over the
/// image and would leave no trace in the palette. The same for any number of `threads`. Empty, or std::bad_alloc is
/// thrown, when there is no memory.
Bitmap paletteSample(const Bitmap& image, unsigned threads);

}  // namespace vellandra
