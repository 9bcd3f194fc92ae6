#pragma once

#include "raster/bitmap.h"

namespace vellandra {

/// `merged`, of 24 bits, reduced to `reducedColors`, of which the last is the marker colour: its pixels keep it, and no
/// others get it, so that a saved map is as empty as it was when it becomes the base of another merge. The same for any
/// number of `threads`. Empty when it cannot be reduced.
Bitmap reduceMerged(Bitmap& merged, unsigned threads);

}  // namespace vellandra
