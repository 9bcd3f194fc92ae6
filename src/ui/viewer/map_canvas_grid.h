#pragma once

#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "geodesy/angle_format.h"
#include "ui/viewer/map_canvas_view.h"

namespace vellandra {

/// A line of equal latitude or longitude across the seen part of a map, in window coordinates.
struct GridLine {
  bool isLatitude = false;
  double angle = 0;  ///< decimal degrees
  ViewPoint from, to;
  std::string label;  ///< UTF-8
};

/// The lines of a round latitude and longitude through what `view` shows of `map`, about `spacing` window units apart
/// or more. Steps and labels are round in degrees, or in minutes and seconds, as `format` has it. None for a map
/// without a transform that can be reversed.
std::vector<GridLine> gridLines(const Calibration& map, const MapView& view, DegreeFormat format, double spacing);

}  // namespace vellandra
