#pragma once

#include <array>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/transform.h"
#include "geodesy/angle_format.h"
#include "geodesy/grid_projection.h"

namespace vellandra {

/// A part of an image, from its top-left corner: the middle of pixel (x, y) is (x + 0.5, y + 0.5).
struct ImagePart {
  double left, top, right, bottom;
};

/// A line of equal easting or northing (of longitude or latitude) across a part of a map.
struct GridLine {
  bool isNorthing = false;
  double value = 0;                          ///< metres or decimal degrees
  std::vector<std::array<Pixel, 2>> pieces;  ///< from west to east or from north to south, in image coordinates
  std::string label;                         ///< UTF-8
};

/// The lines of round values of `grid`, on its datum, inside `part` of `map`, `spacing` pixels apart or more. Metres
/// are named in kilometres. Degrees stand in steps that printed maps have: 30', 10', 5'; labels are in minutes and
/// seconds where `format` has them, or where decimals would not be round. Pieces follow a curved line to `tolerance`
/// pixels. A map that reaches far beyond a grid of metres has degrees, on the same datum; one whose transform cannot be
/// reversed has no lines.
std::vector<GridLine> gridLines(const Calibration& map, const GridProjection& grid, const ImagePart& part,
                                double spacing, double tolerance, DegreeFormat format);

}  // namespace vellandra
