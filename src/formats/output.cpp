#include "formats/output.h"

#include <algorithm>
#include <cmath>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

WriteOutcome writeCalibrationFile(const std::string& path, const std::string& content) {
  if (preferences.warnOverwrite && fileExists(path)) {
    const MessageBox box{"OK to overwrite " + path, "Vellandra", Buttons::okCancel, Icon::question};
    if (userInterface().messageBox(box) != Answer::ok) {
      driver.keptFiles.push_back(path);
      return WriteOutcome::declined;
    }
  }
  if (!writeWholeFile(path, content)) {
    writeLog("unable to write " + path);
    tell("unable to write " + path);
    return WriteOutcome::failed;
  }
  writeLog("written " + path);
  driver.writtenFiles.push_back(path);
  return WriteOutcome::written;
}

std::string imageExtension() {
  return std::string(extensionAsGiven(calibration.imagePath));
}

std::string imageNameForOutput() {
  return inInputEncoding(driver.inputBase + "." + imageExtension());
}

std::string inInputEncoding(const std::string& name) {
  if (!driver.inputIsWindows1252) return name;
  std::string converted = toWindows1252(name);
  return converted.empty() ? name : converted;
}

void reportLostProjection(const std::string& ending) {
  const Calibration& c = calibration;
  if (!c.isMercator() || c.imageHeight < 2) return;
  const int last = c.imageHeight - 1;
  const double top = positionAt(c, 0, 0).latitude;
  const double bottom = positionAt(c, 0, last).latitude;
  double most = 0;
  for (int row = 0; row <= last; ++row) {
    const double linear = top + (bottom - top) * row / last;
    most = std::max(most, std::abs(pixelAt(c, linear, c.x0).y - row));
  }
  if (most < 0.5) return;
  showMessage("The " + ending + " file cannot name the Mercator projection: places in the map's middle are up to " +
              formatNumber(most, "###0.0") + " pixels off");
}

std::string line(std::string text) {
  return std::move(text) + "\r\n";
}

}  // namespace vellandra
