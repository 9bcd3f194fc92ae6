#pragma once

#include "calibration/format_row.h"

namespace vellandra {

/// Every calibration format, a row each. A format is added by its unit and its row here.
std::span<const FormatRow> formatRows();

}  // namespace vellandra
