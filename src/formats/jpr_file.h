#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// Memory-Map ".jpr": one `key=value,value...` record a line.
/// Reads `path` into `calibration`: tie points ("rp1=latitude,longitude,x,y", signed decimal degrees on the file's own
/// datum), projection, image size when stated; the image is the one of the file's own name. Unknown keys are ignored.
/// Throws SubscriptOutOfRange for a point number outside 0 to 50, Overflow for a pixel past 32 bits or a size past 16.
ReadResult readJpr(const std::string& path);

/// Writes the calibration as ".jpr", in decimal degrees on WGS 84.
WriteOutcome writeJpr(const std::string& stem);

}  // namespace vellandra
