#pragma once

#include "raster/bitmap.h"

namespace vellandra {

// What the library does in one go and on one core, done in bands on all of them: the same pixels, sooner, with the
// progress shown, and ended within a moment when the work under way is cancelled.

/// As `copyRectangle`.
Bitmap copied(const Bitmap& bitmap, int left, int top, int right, int bottom);

/// As `alphaOf`, but empty for an image that is opaque throughout.
Bitmap opacity(const Bitmap& bitmap);

/// As `convertTo24Bits`.
Bitmap colorsOf(const Bitmap& bitmap);

/// As `rescale`.
Bitmap rescaled(const Bitmap& bitmap, int width, int height);

}  // namespace vellandra
