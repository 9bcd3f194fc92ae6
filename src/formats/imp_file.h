#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// CompeGPS ".imp": lines of a key and its values, in any order.
/// Reads `path` into `calibration`: tie points "P0" to "P9" (numbered from 1 here) in signed degrees or in UTM metres
/// on the file's datum, image size, projection. "Coordinates" decides between the two kinds, without it the
/// projection; when neither does, the person is told and no point has a position. Other keys are ignored. Throws
/// Overflow for a pixel past 32 bits or a size past 16.
ReadResult readImp(const std::string& path);

}  // namespace vellandra
