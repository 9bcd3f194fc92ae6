#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// ".cal", three layouts under one extension, told apart by their lines:
///   1  QV: `key = type = value` lines in any order and case; tie points with pixels and positions, image, projection
///   2  edges: the longitudes and latitudes of the map's four edges ("$GPML", "$GPMT", "$GPMR", "$GPMB")
///   3  corners: the positions of the map's four corners ("$GPMTL", "$GPMTR", "$GPMBL", "$GPMBR")
/// Reads `path` into `calibration`; positions are signed decimal degrees. Layouts 2 and 3 hold no pixels: their points
/// 1 to 4 (top left, top right, bottom left, bottom right) are placed once the image's size is known. A file of no
/// layout is told, and reading stops. Throws SubscriptOutOfRange for a point number outside 0 to 50, Overflow for a
/// pixel past 32 bits.
ReadResult readCal(const std::string& path);

/// Writes the calibration in layout 1, on WGS 84. The image's extension is part of the name ("area_jpg.cal"), so that
/// no input is ever replaced.
WriteOutcome writeCal(const std::string& stem);

}  // namespace vellandra
