#include "formats/text_calibration.h"

#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "formats/output.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr const char* pixels = "000000";

/// `number` is "1" or "2", `slot` the point's place in the calibration.
std::string referencePoint(const std::string& number, int slot) {
  const Calibration& c = calibration;
  return line("ref" + number + "x = " + formatNumber(c.points[slot].pixelX, pixels)) +
         line("ref" + number + "y = " + formatNumber(c.points[slot].pixelY, pixels)) +
         line("lat" + number + " = " + formatNumber(c.points[slot].latitude, "##0.000000")) +
         line("lon" + number + " = " + formatNumber(c.points[slot].longitude, "###0.000000"));
}

}  // namespace

WriteOutcome writeTextCalibration(const std::string& stem) {
  std::string content = line("width = " + formatNumber(calibration.imageWidth, pixels));
  content += line("height = " + formatNumber(calibration.imageHeight, pixels));
  content += line("grid = 3");
  content += referencePoint("1", driver.referencePair.i);
  content += referencePoint("2", driver.referencePair.j);
  return writeCalibrationFile(stem + ".txt", content);
}

}  // namespace vellandra
