#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// GPSU ".gux": lines that begin with "M E" (datum), "S Image" (image file) or "S CalPo" (tie point).
/// Reads `path` into `calibration`: tie points in degrees, UTM or on the British grid, image name. The last digit of a
/// point's key is its number, and 0 is the tenth; of two points with one number the later one counts, with a line on
/// the panel. Positions are on the file's datum, or on WGS 84 when a point is on the British grid. Other lines are
/// ignored. Throws Overflow for a pixel past 32 bits.
ReadResult readGux(const std::string& path);

}  // namespace vellandra
