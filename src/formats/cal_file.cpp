#include "formats/cal_file.h"

#include <cmath>
#include <optional>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/log.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "raster/image_file.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr const char* writtenEnding = ".cal";  // behind "_" and the ending of the image

/// The layout that the line belongs to; 0 for a line that does not tell.
int layoutOf(std::string_view line) {
  const std::string text = lowerCase(trim(line));
  if (text.starts_with("c1_x")) return 1;
  if (text.starts_with("$gpml,")) return 2;
  if (text.starts_with("$gpmtl,")) return 3;
  return 0;
}

/// The layout of the last line that tells one.
int recognise(const std::string& path) {
  TextFile file(path);
  int layout = 0;
  std::string_view line;
  while (getline(file, line)) {
    if (const int told = layoutOf(line); told != 0) layout = told;
  }
  writeLog("Calform = " + std::to_string(layout));
  return layout;
}

/// What the lines of a tie point say, which stand in any order.
struct PointTexts {
  std::string_view x, y, latitude, longitude;
};

struct QvFile {
  std::string_view datum = wgs84Name;
  std::string_view imageName;
  bool mercator = false;  ///< stated by the parameters of the projection
  Slots<PointTexts> points;
};

/// The value of `key = type = value`, which may itself hold "=".
std::string_view valueOf(std::string_view line) {
  const std::vector<std::string_view> fields = splitFields(line, "=", 3);
  if (fields.size() < 3) return {};
  return trim(line.substr(fields[0].size() + fields[1].size() + 2));
}

void readQvPoint(std::string_view key, std::string_view value, QvFile& qv) {
  struct Half {
    std::string_view suffix;
    std::string_view PointTexts::*text;
  };
  static constexpr Half halves[] = {{"_x", &PointTexts::x},
                                    {"_y", &PointTexts::y},
                                    {"_lat", &PointTexts::latitude},
                                    {"_lon", &PointTexts::longitude}};
  for (const auto& [suffix, text] : halves) {
    if (!key.starts_with('c') || !key.ends_with(suffix)) continue;
    const std::string_view numberText = key.substr(1, key.size() - 1 - suffix.size());
    const std::optional<int> number = pointNumberInKey(numberText, maxSlot);
    if (!number) return;
    qv.points[*number].*text = value;
    if (*number > calibration.pointCount) calibration.pointCount = static_cast<std::int16_t>(*number);
  }
}

void readQvLine(std::string_view line, QvFile& qv) {
  const std::string key = lowerCase(trim(line.substr(0, line.find('='))));
  const std::string_view value = valueOf(line);
  if (key == "datum1") {
    qv.datum = trim(value.substr(0, value.find('#')));
  } else if (key == "fname") {
    qv.imageName = value;
  } else if (key == "proj_mode") {
    calibration.projection = lowerCase(value);
  } else if (key == "projparams") {
    const std::string parameters = lowerCase(value);
    // But not "tmerc" or "somerc", which are other projections.
    const std::size_t merc = parameters.find("merc");
    qv.mercator = merc != std::string::npos && (merc == 0 || !isLetter(parameters[merc - 1]));
  } else {
    readQvPoint(key, value, qv);
  }
}

ReadResult readQv(const std::string& path) {
  QvFile qv;
  TextFile file(path);
  std::string_view line;
  while (getline(file, line)) readQvLine(line, qv);
  if (qv.mercator) calibration.projection = "mercator";
  for (int slot = 1; slot <= calibration.pointCount; ++slot) {
    const PointTexts& point = qv.points[slot];
    readPixel(slot, point.x, point.y);
    readDegrees(slot, point.latitude, point.longitude);
  }
  calibration.imagePath = imageBeside(path, qv.imageName);
  return {matchDatum(qv.datum)};
}

constexpr int mapCorners = 4;

/// The corners, which lie at the edges of the image.
void placeCornerPixels() {
  Calibration& c = calibration;
  c.points[2].pixelX = c.points[4].pixelX = c.imageWidth;
  c.points[3].pixelY = c.points[4].pixelY = c.imageHeight;
}

/// The four points of layouts 2 and 3, which hold no pixels.
ReadResult cornersRead(const std::string& path) {
  for (int slot = 1; slot <= mapCorners; ++slot) calibration.points[slot].setPixel(0, 0);
  calibration.pointCount = mapCorners;
  calibration.imagePath = imageBeside(path);
  return {matchDatum(wgs84Name), false, placeCornerPixels};
}

/// The right edge of a map; of one across 180 degrees, which ends in the west again, as a longitude past 180. Wider
/// than three quarters of the earth it would be: that is a map drawn mirrored.
std::string pastTheDateLine(std::string_view left, std::string_view right) {
  constexpr double widest = 270;
  const double width = parseNumber(right) - parseNumber(left);
  const bool across = beginsWithNumber(left) && beginsWithNumber(right) && width < 0 && width + 360 <= widest;
  return across ? formatGeneral(parseNumber(right) + 360) : std::string(right);
}

ReadResult readEdges(const std::string& path) {
  std::string_view left, top, right, bottom;
  TextFile file(path);
  std::string_view line;
  while (getline(file, line)) {
    const std::vector<std::string_view> fields = splitFields(line, ",");
    const std::string key = upperCase(field(fields, 0));
    if (key == "$GPML") left = field(fields, 1);
    if (key == "$GPMT") top = field(fields, 1);
    if (key == "$GPMR") right = field(fields, 1);
    if (key == "$GPMB") bottom = field(fields, 1);
  }
  const std::string east = pastTheDateLine(left, right);
  readDegrees(1, top, left);
  readDegrees(2, top, east);
  readDegrees(3, bottom, left);
  readDegrees(4, bottom, east);
  return cornersRead(path);
}

ReadResult readCorners(const std::string& path) {
  TextFile file(path);
  std::string_view line;
  while (getline(file, line)) {
    const std::vector<std::string_view> fields = splitFields(line, ",");
    const std::string key = upperCase(field(fields, 0));
    int slot = 0;
    for (const char* corner : {"$GPMTL", "$GPMTR", "$GPMBL", "$GPMBR"}) {
      ++slot;
      if (key == corner) readDegrees(slot, field(fields, 3), field(fields, 2));
    }
  }
  return cornersRead(path);
}

/// Longitude of the map's middle in whole degrees, as the projection's parameters want it.
std::string centralLongitude() {
  const ReferencePair& pair = driver.referencePair;
  return formatNumber(std::floor((calibration.points[pair.i].longitude + calibration.points[pair.j].longitude) / 2),
                      "0");
}

std::string pointLine(int i, const char* suffix, const std::string& value) {
  return line("c" + std::to_string(i) + suffix + " = 7 = " + value);
}

std::string qvContent() {
  const Calibration& c = calibration;
  std::string content = line("; Calibration file for QV map");
  content += line("; VELLANDRA Conversion program by Corvane");
  content += line("name = 10 = " + imageNameForOutput());
  content += line("fname = 10 = " + imageNameForOutput());
  content += line(c.isMercator() ? "proj_mode = 10 = proj" : "proj_mode = 10 = frei");
  content += line("projparams = 10 = " + (c.isMercator() ? "proj=merc lon_0=" + centralLongitude() : "proj=LatLong"));
  content += line("datum1 = 10 = WGS 84# 6378137# 298.257223563# 0# 0# 0#");
  for (int i = 1; i <= c.pointCount; ++i) {
    content += pointLine(i, "_x", std::to_string(c.points[i].pixelX));
    content += pointLine(i, "_y", std::to_string(c.points[i].pixelY));
  }
  for (int i = 1; i <= c.pointCount; ++i) {
    content += pointLine(i, "_lat", formatNumber(c.points[i].latitude, "##0.000000"));
    content += pointLine(i, "_lon", formatNumber(c.points[i].longitude, "##0.000000"));
  }
  return content;
}

}  // namespace

ReadResult readCal(const std::string& path) {
  const int layout = recognise(path);
  if (layout == 0) {
    constexpr const char* reason = "Unsupported CAL format";
    writeLog(reason);
    tell(reason, "No support");
    return {0, true};
  }
  ReadResult result = layout == 1 ? readQv(path) : layout == 2 ? readEdges(path) : readCorners(path);
  logPointCount();
  return result;
}

WriteOutcome writeCal(const std::string& stem) {
  return writeCalibrationFile(stem + "_" + imageExtension() + writtenEnding, qvContent());
}

std::string baseOfWrittenCal(const std::string& name) {
  constexpr std::size_t imageEnding = 3;
  if (!lowerCase(name).ends_with(writtenEnding)) return {};
  const std::string stem = name.substr(0, name.size() - std::string_view(writtenEnding).size());
  if (imageTypeOf(stem) == nullptr || stem.size() <= imageEnding || stem[stem.size() - imageEnding - 1] != '_')
    return {};
  return stem.substr(0, stem.size() - imageEnding - 1);
}

}  // namespace vellandra
