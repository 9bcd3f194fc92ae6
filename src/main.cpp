#include <unistd.h>

#include <clocale>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "calibration/folder_run.h"
#include "calibration/session.h"
#include "console/console.h"
#include "formats/calibrations_in_folder.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "ui/windows.h"

namespace {

std::string usage() {
  std::string endings;
  for (const vellandra::Ending& ending : vellandra::inputEndings()) {
    endings += (endings.empty() ? "." : ", .") + std::string(ending.extension);
  }
  return "Usage: vellandra [CALIBRATION | --open FILE | --folder FOLDER]\n"
         "Without an argument, opens the window; with --open, and the file in it.\n"
         "Reads a map calibration (" +
         endings +
         "), brings it to\n"
         "WGS 84 and writes it for other programs beside it; with --folder, all of a folder, with a table at the end.\n"
         "Exit status: 0 when the run came to its end, also when existing files were kept; 1 when it stopped or an\n"
         "output could not be written.\n";
}

bool isSet(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr && *value != '\0';
}

using Task = vellandra::CommandLine::Task;

/// The status of a run in windows; nothing, and why in `reason`, when there is nowhere to open one.
std::optional<int> runOnDisplay(char** argv, const vellandra::CommandLine& commandLine, std::string& reason) {
  if (isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM"))
    return vellandra::runWindows(argv, commandLine, reason);
  reason = "No window can be opened here: there is no display (DISPLAY and WAYLAND_DISPLAY are not set).\n";
  return std::nullopt;
}

int runOnConsole(const vellandra::CommandLine& commandLine) {
  vellandra::Console console(std::cin, std::cout, std::cerr, isatty(STDIN_FILENO) != 0);
  vellandra::setUserInterface(console);
  vellandra::startSession();
  const std::string& path = commandLine.path;
  const int status = commandLine.task == Task::folder ? vellandra::runFolder(path, vellandra::calibrationsIn(path))
                                                      : vellandra::runBatch(path);
  vellandra::endLog();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  // Dates in the log follow the person's locale; numbers in files never do.
  (void)std::setlocale(LC_TIME, "");
  // A reader that goes away and a limit on the size of files are failed writes, and not the program's end.
  for (const int ignored : {SIGPIPE, SIGXFSZ}) {
    (void)std::signal(ignored, SIG_IGN);  // NOLINT(performance-no-int-to-ptr): the constant is the system's
  }

  vellandra::setFormatTable({vellandra::formatRows(), vellandra::getidata});
  const auto commandLine = vellandra::readCommandLine({argv + 1, argv + argc});
  if (commandLine.task == Task::help) {
    std::cout << usage();
    return 0;
  }

  // A run whose output goes to a terminal stays there, whoever is to answer its questions.
  const bool terminal = isatty(STDIN_FILENO) != 0 || isatty(STDOUT_FILENO) != 0 || isatty(STDERR_FILENO) != 0;
  const bool window = commandLine.task == Task::window;
  if (window || !terminal) {
    std::string reason;
    if (const std::optional<int> status = runOnDisplay(argv, commandLine, reason)) return *status;
    if (window) {
      std::cerr << reason << usage();
      return 1;
    }
  }
  return runOnConsole(commandLine);
}
