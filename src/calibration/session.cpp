#include "calibration/session.h"

#include <exception>
#include <filesystem>
#include <new>

#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "support/errors.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

std::string logPath() {
  return settingsFolder() + "vellandra.log";
}

void showError(const std::string& description, const std::string& detail = "") {
  showMessage("***** Error *****");
  showMessage(description);
  if (!detail.empty()) showMessage(detail);
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
  if (path.starts_with('\\')) return path;  // from the root, the way other systems write it
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute.string();
}

int runBatch(const std::string& path) {
  driver.stage = batch;
  driver.inputPath = path;
  return runCommand(do_it) ? 0 : 1;
}

}  // namespace vellandra
