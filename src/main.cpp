#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "calibration/log.h"
#include "calibration/session.h"
#include "console/console.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/map_image.h"
#include "ui/windows.h"

namespace {

std::string usage() {
  std::string endings;
  for (const vellandra::Ending& ending : vellandra::inputEndings()) {
    endings += (endings.empty() ? "." : ", .") + std::string(ending.extension);
  }
  return "Usage: vellandra [CALIBRATION]\n"
         "Without an argument, opens the window.\n"
         "Reads a map calibration (" +
         endings +
         "), brings it to\n"
         "WGS 84 and writes it for other programs beside it.\n"
         "Exit status: 0 when the outputs were written, 1 when the run stopped.\n";
}

bool isSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

/// The status of a run in windows; nothing, and why in `reason`, when there is nowhere to open one.
std::optional<int> runOnDisplay(char** argv, const std::optional<std::string>& path, std::string& reason) {
  if (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM"))
    return vellandra::runWindows(argv, path, reason);
  reason = "No window can be opened here: there is no display (DISPLAY and WAYLAND_DISPLAY are not set).\n";
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  // Dates in the log follow the person's locale; numbers in files never do.
  (void)std::setlocale(LC_TIME, "");
  (void)std::signal(SIGPIPE, SIG_IGN);  // NOLINT(performance-no-int-to-ptr): the constant is the system's

  vellandra::setFormatTable({vellandra::formatRows(), vellandra::getidata, vellandra::saveMapImage});
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 1 && (arguments[0] == "--help" || arguments[0] == "-h")) {
    std::cout << usage();
    return 0;
  }
  std::optional<std::string> path;
  if (!arguments.empty()) path = vellandra::batchPath(arguments);

  const bool terminal = isatty(STDIN_FILENO) != 0;
  if (!path || !terminal) {
    std::string reason;
    if (const std::optional<int> status = runOnDisplay(argv, path, reason)) return *status;
    if (!path) {
      std::cerr << reason << usage();
      return 1;
    }
  }
  vellandra::Console console(std::cin, std::cout, std::cerr, terminal);
  vellandra::setUserInterface(console);
  vellandra::startSession();
  const int status = vellandra::runBatch(*path);
  vellandra::endLog();
  return status;
}
