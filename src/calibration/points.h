#pragma once

#include <vector>

#include "calibration/calibration.h"

namespace vellandra {

/// A tie point among all that were entered.
struct EnteredPoint {
  CalibrationPoint point;
  bool off = false;
};

/// The tie points of `map`, with those that are switched off, in the order of entry.
std::vector<EnteredPoint> enteredPoints(const Calibration& map);

/// Makes `points` the tie points of `map`; the slots of all others are empty then, and map corners are given up.
void setEnteredPoints(Calibration& map, const std::vector<EnteredPoint>& points);

/// Two points become three: the pixel of (x of point 2, y of point 1), placed by the transform; for points on one row
/// or column the image corner farthest from the line through both. Nothing for another count.
void interpolateThirdPoint(Calibration& map);

/// Three points and more on one line are no calibration for other programs: they get the image corner farthest from it.
/// Nothing for others.
void addPointOffTheLine(Calibration& map);

/// Three points become four: their centroid, placed by the transform. Nothing for another count.
void addFourthPoint(Calibration& map);

/// Fills slots 31 to 34 with the image's corners (top left, top right, bottom right, bottom left), placed by the
/// transform. Tie points that stood in those slots are given up, with a line on the panel.
void fillImageCorners(Calibration& map);

}  // namespace vellandra
