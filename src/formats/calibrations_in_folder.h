#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vellandra {

/// The paths of the calibrations in `folder` by name, for a run over all of them; nothing when it cannot be read. Of
/// files with one base name, which make the same outputs, there is only the first in the order of the readers; a
/// QuoVadis file in the name that the program gives beside another calibration ("area_png.cal" beside "area.map") is
/// left out.
std::optional<std::vector<std::string>> calibrationsIn(const std::string& folder);

}  // namespace vellandra
