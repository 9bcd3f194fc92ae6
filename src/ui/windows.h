#pragma once

#include <optional>
#include <string>

#include "calibration/session.h"

namespace vellandra {

/// Runs the program in windows: the main window, or a batch whose boxes are windows. `arguments` are main's. Returns
/// the exit status; nothing, and why in `reason`, when no window can be opened here. Numbers keep
/// the "C" locale.
std::optional<int> runWindows(char** arguments, const CommandLine& commandLine, std::string& reason);

}  // namespace vellandra
