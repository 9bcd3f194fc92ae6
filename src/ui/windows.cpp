#include "ui/windows.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QApplication>
#include <QIcon>
#include <array>
#include <clocale>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/folder_run.h"
#include "calibration/log.h"
#include "calibration/session.h"
#include "formats/calibrations_in_folder.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/map_image.h"
#include "support/paths.h"
#include "ui/application.h"
#include "ui/main_window.h"
#include "ui/widgets/qt_text.h"
#include "ui/window_interface.h"

namespace vellandra {
namespace {

constexpr const char* errorMark = "***** Error *****";

/// Reads the other end of `pipe` to its end.
std::string readAll(int pipe) {
  std::string text;
  std::array<char, 512> buffer{};
  ssize_t count = 0;
  while ((count = ::read(pipe, buffer.data(), buffer.size())) > 0)
    text.append(buffer.data(), static_cast<std::size_t>(count));
  return text;
}

/// Qt ends the process when it finds no plug-in for the window system or cannot reach the display. A child that tries
/// it first keeps that from happening to a batch.
bool windowSystemWorks(char* programName, std::string& reason) {
  std::array<int, 2> pipe{};
  if (::pipe(pipe.data()) != 0) return true;
  const pid_t child = ::fork();
  if (child < 0) return true;
  if (child == 0) {
    const rlimit none{0, 0};
    (void)::setrlimit(RLIMIT_CORE, &none);
    (void)::dup2(pipe[1], STDERR_FILENO);
    int argc = 1;
    std::array<char*, 2> argv = {programName, nullptr};
    const QGuiApplication trial(argc, argv.data());
    ::_exit(0);
  }
  (void)::close(pipe[1]);
  const std::string errors = readAll(pipe[0]);
  (void)::close(pipe[0]);
  int status = 0;
  if (::waitpid(child, &status, 0) != child || (WIFEXITED(status) && WEXITSTATUS(status) == 0)) return true;
  reason = "No window can be opened here.\n" + errors;
  return false;
}

int runBatchInWindows(const std::string& path) {
  WindowInterface interface;
  setUserInterface(interface);
  startSession();
  const int status = runBatch(path);
  // There is no panel on which an unexpected error could be read.
  const std::size_t error = calibration.message.rfind(errorMark);
  if (status != 0 && error != std::string::npos) tell(calibration.message.substr(error));
  endLog();
  return status;
}

int runFolderInWindows(const std::string& path) {
  WindowInterface interface;
  setUserInterface(interface);
  startSession();
  const std::optional<std::vector<std::string>> calibrations = calibrationsIn(path);
  const int status = runFolder(path, calibrations);
  endLog();
  if (!calibrations) return status;
  tell((status == 0 ? "All calibrations in " : "Not all calibrations in ") + path +
       " were converted. What became of each is at the end of " + settingsFileForReading("vellandra.log"));
  return status;
}

/// With the file `path`, unless empty, opened in it.
int runMainWindow(const std::string& path) {
  MainWindow window;
  WindowInterface interface(&window);
  setUserInterface(interface);
  startSession();
  window.show();
  const auto begin = [&] {
    window.offerUnfinished();
    if (!path.empty()) window.openFile(shownPath(path));
  };
  QMetaObject::invokeMethod(&window, begin, Qt::QueuedConnection);
  return QApplication::exec();
}

}  // namespace

std::optional<int> runWindows(char** arguments, const CommandLine& commandLine, std::string& reason) {
  if (!windowSystemWorks(arguments[0], reason)) return std::nullopt;
  int argc = 1;
  std::array<char*, 2> argv = {arguments[0], nullptr};
  const Application application(argc, argv.data());
  (void)std::setlocale(LC_NUMERIC, "C");  // Qt takes over the whole locale of the person
  QApplication::setApplicationName("vellandra");
  QApplication::setDesktopFileName("vellandra");
  QApplication::setWindowIcon(QIcon(shownPath(programFolder()) + "vellandra.png"));
  setFormatTable({formatRows(), getidata, saveMapImage});
  switch (commandLine.task) {
    case CommandLine::Task::batch:
      return runBatchInWindows(commandLine.path);
    case CommandLine::Task::folder:
      return runFolderInWindows(commandLine.path);
    default:
      return runMainWindow(commandLine.path);
  }
}

}  // namespace vellandra
