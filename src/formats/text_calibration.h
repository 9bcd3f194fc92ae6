#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// Text calibration ".txt", written only: the image's size and the driver's two reference points, in decimal degrees on
/// WGS 84, as `key = value` lines.
WriteOutcome writeTextCalibration(const std::string& stem);

}  // namespace vellandra
