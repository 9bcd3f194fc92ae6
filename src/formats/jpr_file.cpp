#include "formats/jpr_file.h"

#include <optional>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

using Fields = std::vector<std::string_view>;

void readPoint(std::string_view numberText, const Fields& fields) {
  const std::optional<int> number = pointNumberInKey(numberText, maxSlot);
  if (!number) return;
  readDegrees(*number, field(fields, 1), field(fields, 2));
  readPixel(*number, field(fields, 3), field(fields, 4));
}

void readRecord(const Fields& fields, std::string& datum) {
  const std::string key = lowerCase(field(fields, 0));
  if (key.starts_with("dm")) {
    datum = field(fields, 1);
  } else if (key.starts_with("pr")) {
    calibration.projection = lowerCase(field(fields, 1));
  } else if (key.starts_with("rp")) {
    readPoint(std::string_view(key).substr(2), fields);
  } else if (key == "vp3") {
    calibration.imageWidth = parseInt16(field(fields, 1));
    calibration.imageHeight = parseInt16(field(fields, 2));
  }
}

std::string pointLine(int i) {
  const Calibration& c = calibration;
  return "rp" + std::to_string(i) + "=" + formatNumber(c.points[i].latitude, "##0.000000") + "," +
         formatNumber(c.points[i].longitude, "##0.000000") + "," + formatNumber(c.points[i].pixelX, "####0") + "," +
         formatNumber(c.points[i].pixelY, "####0");
}

std::string jprContent() {
  std::string content = line("nm=" + imageNameForOutput());
  content += line(calibration.isMercator() ? "pr=mercator" : "pr=equirectangular");
  content += line("it=png");
  content += line("sr=254");
  content += line("st=0.000000");
  content += line("sn=0.000000");
  content += line("dm=WGS84");
  for (int i = 1; i <= calibration.pointCount; ++i) content += line(pointLine(i));
  return content;
}

}  // namespace

ReadResult readJpr(const std::string& path) {
  std::string datum = wgs84Name;
  TextFile file(path);
  std::string_view text;
  while (getline(file, text)) readRecord(splitFields(text, "=,"), datum);
  ReadResult result;
  result.datumIndex = matchDatum(datum);
  calibration.imagePath = imageBeside(path);
  logPointCount();
  return result;
}

WriteOutcome writeJpr(const std::string& stem) {
  return writeCalibrationFile(stem + ".jpr", jprContent());
}

}  // namespace vellandra
