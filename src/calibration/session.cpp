#include "calibration/session.h"

#include <exception>
#include <new>

#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
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
    return command();
  } catch (const RunTimeError& error) {
    showError(error.what(), error.detail());
  } catch (const std::bad_alloc&) {
    showError("Out of memory");
  } catch (const std::exception& error) {
    showError(error.what());
  }
  return false;
}

std::string batchPath(const std::vector<std::string>& arguments) {
  std::string path;
  for (const std::string& argument : arguments) path += (path.empty() ? "" : " ") + argument;
  if (path.size() >= 2 && path.front() == '"' && path.back() == '"') path = path.substr(1, path.size() - 2);
  return absolutePath(path);
}

int runBatch(const std::string& path) {
  driver.stage = batch;
  driver.inputPath = path;
  const Preferences before = preferences;
  const int status = runCommand(do_it) ? 0 : 1;
  runCommand([&before] { return keepAnswers(before); });
  return status;
}

}  // namespace vellandra
