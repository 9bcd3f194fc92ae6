#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// ".gmi", version 3.0: image name and size, then a tie point a line, fields parted by semicolons, up to "Border and
/// Scale".
/// Reads `path` into `calibration`: up to 50 tie points in signed degrees on WGS 84, image name and size. Throws
/// SubscriptOutOfRange for more points, Overflow for a pixel past 32 bits or a size past 16.
ReadResult readGmi(const std::string& path);

/// Writes the calibration as ".gmi". The image is named with ".jpg" whatever its type; the scale line, in pixels per
/// degree, is left out when a world-file term it divides by is 0.
WriteOutcome writeGmi(const std::string& stem);

}  // namespace vellandra
