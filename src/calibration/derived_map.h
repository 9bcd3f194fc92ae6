#pragma once

#include "calibration/calibration.h"

namespace vellandra {

/// How the pixels of a map lie on the map it was made from: old x = fromX + perX · x, and the same for y. Whole numbers
/// are the places that the transform gives a position to, on both maps.
struct PixelMapping {
  double fromX = 0, fromY = 0;
  double perX = 1, perY = 1;
};

/// Which tie points go along to a derived map: all, or those on its image only.
enum class PointsKept { all, onImage };

/// The calibration of a map of `width` x `height` pixels made from `source` by cutting, extending or resampling.
/// Its transform gives each pixel the position that `source` gives to the place it came from. The tie points go along
/// to their nearest whole pixels, which may lie outside the map, with the positions that the transform has there.
/// Points further out than a fit can take, and those that `kept` does not want, are left out, and where those that
/// remain lie too close together to hold the map, its corners are added; all this is said on the panel. There are no
/// held corners. Throws Overflow for a side past 32767.
Calibration derivedCalibration(const Calibration& source, const PixelMapping& mapping, int width, int height,
                               PointsKept kept = PointsKept::all);

}  // namespace vellandra
