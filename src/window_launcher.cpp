#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "support/paths.h"
#include "ui/windows.h"

namespace vellandra {

// The program that converts is linked without the windows, whose libraries take longer to load than a conversion. It
// becomes the program beside it that has them.
std::optional<int> runWindows(char** arguments, const CommandLine& /*commandLine*/, std::string& reason) {
  const std::string program = executableFolder() + "vellandra-window";
  (void)::execv(program.c_str(), arguments);
  reason = "No window can be opened here: " + program + ": " + std::strerror(errno) + ".\n";
  return std::nullopt;
}

}  // namespace vellandra
