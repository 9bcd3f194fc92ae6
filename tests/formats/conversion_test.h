#pragma once

#include <string>

#include "core_fixture.h"
#include "support/numbers.h"

namespace vellandra {

/// Sends calibration files through the whole conversion.
class ConversionTest : public CoreTest {
 protected:
  /// Converts `content` as the file `name` of the test's folder; true when the outputs were written.
  bool convert(const std::string& name, const std::string& content) {
    writeTestFile(folder + name, content);
    driver.inputPath = folder + name;
    driver.stage = batch;
    return do_it();
  }

  std::string written(const std::string& name) const { return contentOf(folder + name); }

  /// "x,y latitude longitude" of every tie point, parted by "; ".
  static std::string points() {
    std::string text;
    const Calibration& c = calibration;
    for (int i = 1; i <= c.pointCount; ++i) {
      text += (i == 1 ? "" : "; ") + std::to_string(c.pixelX[i]) + "," + std::to_string(c.pixelY[i]) + " " +
              formatNumber(c.latitude[i], "0.0#####") + " " + formatNumber(c.longitude[i], "0.0#####");
    }
    return text;
  }
};

}  // namespace vellandra
