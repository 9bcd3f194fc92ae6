#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// World file (".tfw", ".jgw", ".pgw"): six numbers, a line each, that place the centre of every pixel.
/// Reads `path` into `calibration`: tie points and map corners at the corners of the image, which is looked for here
/// because the file does not hold its size. Numbers in the range of degrees are longitude and latitude on WGS 84;
/// larger ones are UTM or British grid metres, for which the person is asked for zone, hemisphere and datum.
ReadResult readWorldFile(const std::string& path);

/// Writes the world-file terms of the calibration, in degrees on WGS 84, as ".tfw".
WriteOutcome writeWorldFile(const std::string& stem);

}  // namespace vellandra
