#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// Clickable-map script ".js", written only: the world-file terms (degrees on WGS 84), the Mercator ordinates of the
/// image's top and bottom (0 for a linear map) and the image's size, as assignments for a web page.
WriteOutcome writeScript(const std::string& stem);

}  // namespace vellandra
