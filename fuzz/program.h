#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace vellandra {

/// Writes a file without flushing it, which is all that most of a run would be spent on. Throws std::system_error.
void putFile(const std::string& path, std::string_view content);

/// Runs a command as the program does. What no command may throw is kept in `fault`.
bool runGuarded(std::string& fault, const std::function<bool()>& command);

/// The program as it starts, with default preferences.
void resetProgram(const std::string& datumsPath);

}  // namespace vellandra
