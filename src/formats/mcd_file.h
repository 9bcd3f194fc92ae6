#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// ".mcd": 72 bytes, nine little-endian IEEE doubles: x, y, easting, northing of a point, the same of the opposite
/// corner of a rectangle, magnetic variation. y counts upward from the bottom row of the image. Eastings and northings
/// are full British grid metres; when all of them fit degrees (180 and 90) they are longitude and latitude on WGS 84.
/// Reads `path` into `calibration`: the two points in slots 1 and 4, the other two corners of their rectangle in 2 and
/// 3, all on WGS 84. The image is looked for here because its height turns the rows round. What is no such file is
/// told, and reading stops.
ReadResult readMcd(const std::string& path);

/// Writes the image's top left and bottom right corners as ".mcd": in British metres when all its corners lie in the
/// British grid's area, else in degrees. What the rectangle leaves out of a rotated map is told on the panel; a map
/// that reaches beyond a pole is not written.
WriteOutcome writeMcd(const std::string& stem);

}  // namespace vellandra
