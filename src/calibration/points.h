#pragma once

#include "calibration/calibration.h"

namespace vellandra {

/// Two points become three: the pixel of (x of point 2, y of point 1), placed by the transform. Nothing for another
/// count.
void interpolateThirdPoint(Calibration& map);

/// Three points become four: their centroid, placed by the transform. Nothing for another count.
void addFourthPoint(Calibration& map);

/// Fills slots 31 to 34 with the image's corners (top left, top right, bottom right, bottom left), placed by the
/// transform. Tie points that stood in those slots are given up, with a line on the panel.
void fillImageCorners(Calibration& map);

}  // namespace vellandra
