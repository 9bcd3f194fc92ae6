#include "formats/output.h"

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/log.h"
#include "calibration/preferences.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

WriteOutcome writeCalibrationFile(const std::string& path, const std::string& content) {
  if (preferences.warnOverwrite && fileExists(path)) {
    const MessageBox box{"OK to overwrite " + path, "Vellandra", Buttons::okCancel, Icon::question};
    if (userInterface().messageBox(box) != Answer::ok) return WriteOutcome::declined;
  }
  if (!writeWholeFile(path, content)) {
    writeLog("unable to write " + path);
    tell("unable to write " + path);
    return WriteOutcome::failed;
  }
  writeLog("written " + path);
  return WriteOutcome::written;
}

std::string outputPath(const std::string& ending) {
  return driver.inputFolder + driver.inputBase + ending;
}

std::optional<std::string> outputPathUnlessInput(const std::string& type, const std::string& extension) {
  if (driver.inputType != type) return outputPath(extension);
  const bool datumChanged = inputDatumName != "WGS 84" && preferences.writeWgs84;
  if (!datumChanged) return std::nullopt;
  return outputPath("wgs84" + extension);
}

std::string imageExtension() {
  const std::string& path = calibration.imagePath;
  return path.substr(path.size() - std::min<std::size_t>(3, path.size()));
}

std::string imageNameForOutput() {
  return inInputEncoding(driver.inputBase + "." + imageExtension());
}

std::string inInputEncoding(const std::string& name) {
  if (!driver.inputIsWindows1252) return name;
  std::string converted = toWindows1252(name);
  return converted.empty() ? name : converted;
}

std::string line(std::string text) {
  return std::move(text) + "\r\n";
}

}  // namespace vellandra
