#include "formats/script_file.h"

#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "formats/output.h"
#include "support/numbers.h"

namespace vellandra {

WriteOutcome writeScript(const std::string& stem) {
  constexpr const char* scale = "###0.000000000";
  constexpr const char* origin = "###0.0000000";
  const Calibration& c = calibration;
  const WorldFileTerms& t = driver.worldFile;
  std::string content = line("/* parameters for clickable map ex VELLANDRA */");
  content += line("tf1=" + formatNumber(t.A, scale));
  content += line("tf2=" + formatNumber(t.D, scale));
  content += line("tf3=" + formatNumber(t.B, scale));
  content += line("tf4=" + formatNumber(t.E, scale));
  content += line("x0=" + formatNumber(t.C, origin));
  content += line("y0=" + formatNumber(t.F, origin));
  content += line(c.isMercator() ? "proj='M'" : "proj='X'");
  content += line("my0=" + formatNumber(c.mercatorTop, scale));
  content += line("my1=" + formatNumber(c.mercatorBottom, scale));
  content += line("high=" + std::to_string(c.imageHeight));
  content += line("wide=" + std::to_string(c.imageWidth));
  content += line("/* end of parameters for clickable map ex VELLANDRA */");
  return writeCalibrationFile(stem + ".js", content);
}

}  // namespace vellandra
