#include "formats/gmi_file.h"

#include <cmath>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/messages.h"
#include "calibration/points.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

/// Reads the lines from the fifth on, up to the border.
void readPoints(TextFile& file) {
  std::string_view text;
  int slot = 0;
  while (getline(file, text) && !lowerCase(trim(text)).starts_with("bor")) {
    if (trim(text).empty()) continue;
    ++slot;
    const std::vector<std::string_view> fields = splitFields(text, ";");
    readPixel(slot, field(fields, 0), field(fields, 1));
    readDegrees(slot, field(fields, 3), field(fields, 2));
  }
}

std::string degrees(double value) {
  return formatNumber(value, "###0.00000000");
}

std::string pointLine(int slot) {
  const Calibration& c = calibration;
  std::string text = replaceToken("xxxx;yyyy;nnnn;tttt", "xxxx", std::to_string(c.points[slot].pixelX));
  text = replaceToken(std::move(text), "yyyy", std::to_string(c.points[slot].pixelY));
  text = replaceToken(std::move(text), "nnnn", degrees(c.points[slot].longitude));
  return replaceToken(std::move(text), "tttt", degrees(c.points[slot].latitude));
}

std::string borderLine(int slot1, int slot3) {
  const Calibration& c = calibration;
  std::string text = replaceToken("pppp;qqqq;rrrr;ssss", "pppp", degrees(c.points[slot1].latitude));
  text = replaceToken(std::move(text), "qqqq", degrees(c.points[slot1].longitude));
  text = replaceToken(std::move(text), "rrrr", degrees(c.points[slot3].latitude));
  return replaceToken(std::move(text), "ssss", degrees(c.points[slot3].longitude));
}

/// Empty when a term has no reciprocal.
std::string scaleLine() {
  const double across = 1 / driver.worldFile.A;
  const double down = -1 / driver.worldFile.E;
  if (!std::isfinite(across) || !std::isfinite(down)) {
    showMessage("The .gmi file is written without its scale, which cannot be computed for this map");
    return {};
  }
  std::string text = replaceToken("xxxx;yyyy", "xxxx", formatNumber(across, "#####0.0000000"));
  return line(replaceToken(std::move(text), "yyyy", formatNumber(down, "#####0.0000000")));
}

}  // namespace

ReadResult readGmi(const std::string& path) {
  TextFile file(path);
  std::string_view title, name, width, height;
  for (std::string_view* header : {&title, &name, &width, &height}) {
    if (!getline(file, *header)) break;
  }
  calibration.imageWidth = parseInt16(width);
  calibration.imageHeight = parseInt16(height);
  readPoints(file);
  closePointGaps();
  calibration.imagePath = imageBeside(path, name);
  logPointCount();
  ReadResult result;
  result.datumIndex = matchDatum(wgs84Name);
  return result;
}

WriteOutcome writeGmi(const std::string& stem) {
  const Calibration& c = calibration;
  if (c.cornerCount < 3) fillImageCorners(calibration);
  reportLostProjection(".gmi");
  std::string content = line("Map Calibration data file v3.0");
  content += line(inInputEncoding(driver.inputBase + ".jpg"));
  content += line(formatNumber(c.imageWidth, "#####0"));
  content += line(formatNumber(c.imageHeight, "#####0"));
  for (int slot = 1; slot <= c.pointCount; ++slot) content += line(pointLine(slot));
  content += line("Border and Scale");
  content += line(borderLine(firstCornerSlot, firstCornerSlot + 2));
  content += scaleLine();
  return writeCalibrationFile(stem + ".gmi", content);
}

}  // namespace vellandra
