#pragma once

#include "calibration/driver.h"

namespace vellandra {

/// Text calibration ".txt", written only: the image's size and the driver's two reference points, in decimal degrees on
/// WGS 84, as `key = value` lines.
WriteOutcome writeTextCalibration();

}  // namespace vellandra
