#pragma once

#include "imaging/merge_sides.h"
#include "raster/bitmap.h"

namespace vellandra {

/// `out` = c1 · t + c0 · (1 - t) for red, green and blue, in single precision, to the nearest whole number, halves to
/// even; t is 0 to 1. The fourth part is 0.
void Lerp(const PixelColor& c0, const PixelColor& c1, float t, PixelColor& out);

/// Paints the merge map (side b) into `canvas`, the image of `sides.a` of 24 bits, with the weight `t` from 0 to 1. A
/// pixel of the canvas takes part when its place on the merge map, rounded down, is a pixel there; its colour is
/// interpolated from that pixel and its neighbours to the right and below, which at the last column and row are the
/// pixel itself. Pixels of the merge map that are clear by `mergeOpacity` (see `opacity`) are none: nothing is painted
/// for them, and a neighbour gives way to the pixel itself. What is painted never has the marker
/// colour. Shows the progress; `threads` has no influence on the
/// result.
void mergePixels(const MergeSides& sides, Bitmap& canvas, const Bitmap& merge, float t, unsigned threads,
                 const Bitmap& mergeOpacity = {});

}  // namespace vellandra
