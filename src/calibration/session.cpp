#include "calibration/session.h"

#include <exception>
#include <new>

#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "calibration/unfinished.h"
#include "support/errors.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

std::string logPath() {
  return settingsFolder() + "vellandra.log";
}

void showError(const std::string& description, const std::string& detail = "") {
  lastTold = description + (detail.empty() ? "" : ": " + detail);
  showMessage("***** Error *****");
  showMessage(description);
  if (!detail.empty()) showMessage(detail);
}

/// No window asks at the end of a batch run, and the next run must not ask the same again.
bool keepAnswers(const Preferences& before) {
  const Preferences& p = preferences;
  if (p == before) return true;
  if (!writePreferences()) return false;
  if (p.datumsPath != before.datumsPath) {
    showMessage("Kept in calconv.ini: datums.txt is read from " + p.datumsPath);
  }
  if (p.unmatchedName != before.unmatchedName || p.matchedName != before.matchedName) {
    showMessage("Kept in calconv.ini: datum " + std::string(trim(p.unmatchedName)) + " is read as " +
                std::string(trim(p.matchedName)));
  }
  return true;
}

/// The arguments from `first` on as a path.
std::string onePath(const std::vector<std::string>& arguments, std::size_t first) {
  std::string path;
  for (std::size_t i = first; i < arguments.size(); ++i) path += (i == first ? "" : " ") + arguments[i];
  if (path.size() >= 2 && path.front() == '"' && path.back() == '"') path = path.substr(1, path.size() - 2);
  return path.empty() ? path : absolutePath(path);
}

}  // namespace

void startSession() {
  if (!openLog(logPath())) tell("unable to write " + logPath());
  runCommand([] {
    readPreferences();
    return true;
  });
}

bool endSession() {
  if (driver.calibrationPending &&
      !askOkCancel("Calibrations not written : OK to exit program else cancel", "Not written")) {
    return false;
  }
  dropUnfinished();
  if (preferencesChanged && askOkCancel("OK to save preferences, cancel to ignore", "Preferences not saved")) {
    writePreferences();
  }
  endLog();
  return true;
}

void endLog() {
  if (!closeLog()) tell("unable to write " + logPath());
}

bool runCommand(const std::function<bool()>& command) {
  lastTold.clear();
  try {
    const bool done = command();
    if (!driver.calibrationPending) dropUnfinished();
    return done;
  } catch (...) {
    reportThrown();
  }
  if (!driver.calibrationPending) leaveUnfinished();
  return false;
}

void reportThrown() {
  try {
    throw;
  } catch (const Cancelled& cancelled) {
    lastTold = cancelled.what();
    showMessage(lastTold);
  } catch (const RunTimeError& error) {
    showError(error.what(), error.detail());
  } catch (const std::bad_alloc&) {
    showError("Out of memory");
  } catch (const std::exception& error) {
    showError(error.what());
  }
}

CommandLine readCommandLine(const std::vector<std::string>& arguments) {
  using Task = CommandLine::Task;
  if (arguments.empty()) return {};
  const std::string& first = arguments[0];
  if (arguments.size() == 1 && (first == "--help" || first == "-h")) return {Task::help, {}};
  if (first == "--open") return {Task::window, onePath(arguments, 1)};
  if (first == "--folder") return {Task::folder, onePath(arguments, 1)};
  return {Task::batch, onePath(arguments, 0)};
}

int runBatch(const std::string& path, Answers answers) {
  driver.stage = batch;
  driver.inputPath = path;
  const Preferences before = preferences;
  const int status = runCommand(do_it) ? 0 : 1;
  const std::string whyStopped = lastTold;
  if (answers == Answers::kept) runCommand([&before] { return keepAnswers(before); });
  lastTold = whyStopped;
  return status;
}

}  // namespace vellandra
