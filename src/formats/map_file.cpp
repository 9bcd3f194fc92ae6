#include "formats/map_file.h"

#include <cmath>
#include <map>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/points.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

using Fields = std::vector<std::string_view>;

constexpr std::string_view pointWord = "point";
constexpr std::string_view projectionWords = "map projection";

struct GridPoint {
  std::string zone, easting, northing, hemisphere;
};

/// What the lines before the end of the file leave open.
struct MapFile {
  std::string imageName = "x.x";
  std::string datum = wgs84Name;
  bool decimalFractions = false;        ///< minutes fields hold the decimals of a degree
  std::map<int, GridPoint> gridPoints;  ///< by slot
};

void readImageExtension(std::string_view line, MapFile& map) {
  const std::string_view name = fileName(trim(line));
  if (map.imageName.find('.') != std::string::npos || name.size() < 3) return;
  map.imageName.append(".").append(name.substr(name.size() - 3));
}

/// Whole degrees and a minutes field as degrees; without a sign of its own the hemisphere decides.
double angle(std::string_view degrees, std::string_view minutes, bool decimalFractions, bool negative) {
  constexpr std::size_t fractionDigits = 8;
  double fraction = parseNumber(minutes) / 60;
  if (decimalFractions) {
    std::string digits(minutes.substr(0, fractionDigits));
    digits.insert(0, fractionDigits - digits.size(), '0');
    fraction = parseNumber(digits) / 100000000;
  }
  const double whole = parseNumber(degrees);
  const bool signedDegrees = degrees.starts_with("-");
  const double value = std::abs(whole) + fraction;
  return signedDegrees || negative ? -value : value;
}

/// An empty field is none; minutes are below 60, the decimals of a degree are digits.
bool areMinutes(std::string_view minutes, bool decimalFractions) {
  if (decimalFractions) return minutes.find_first_not_of("0123456789") == std::string_view::npos;
  if (minutes.empty()) return true;
  const double value = parseNumber(minutes);
  return beginsWithNumber(minutes) && value >= 0 && value <= 60;  // 60: rounded up by some program
}

bool looksLikeFractions(std::string_view minutes1, std::string_view minutes2) {
  const bool point = minutes1.find('.') != std::string_view::npos || minutes2.find('.') != std::string_view::npos;
  return !point && (minutes1.size() >= 3 || minutes2.size() >= 3);
}

/// Points past 30 stand in the corners' slots; the corners follow from the fit as well.
void giveUpCorners() {
  Calibration& c = calibration;
  c.cornerCount = 0;
  for (int slot = firstCornerSlot; slot <= maxSlot; ++slot)
    c.points[slot].hasPixel = c.points[slot].hasPosition = false;
}

void readPointLine(const Fields& fields, MapFile& map) {
  const std::optional<int> number = pointNumberInKey(field(fields, 0).substr(pointWord.size()), maxSlot);
  if (!number) return;
  const int slot = *number;
  if (slot > maxTiePoints && calibration.pointCount <= maxTiePoints) giveUpCorners();
  // Of two lines for one point the last one counts, as a whole.
  if (calibration.points[slot].hasPixel || calibration.points[slot].hasPosition)
    calibration.points[slot].givenTwice = true;
  calibration.points[slot].hasPixel = calibration.points[slot].hasPosition = false;
  map.gridPoints.erase(slot);
  readPixel(slot, field(fields, 2), field(fields, 3));
  if (!field(fields, 14).empty()) {
    map.gridPoints[slot] = {std::string(field(fields, 13)), std::string(field(fields, 14)),
                            std::string(field(fields, 15)), std::string(field(fields, 16))};
    return;
  }
  const std::string_view latitudeMinutes = field(fields, 7);
  const std::string_view longitudeMinutes = field(fields, 10);
  if (looksLikeFractions(latitudeMinutes, longitudeMinutes)) map.decimalFractions = true;
  if (!beginsWithNumber(field(fields, 6)) || !beginsWithNumber(field(fields, 9))) return;
  if (!areMinutes(latitudeMinutes, map.decimalFractions) || !areMinutes(longitudeMinutes, map.decimalFractions)) return;
  calibration.points[slot].setPosition(
      angle(field(fields, 6), latitudeMinutes, map.decimalFractions, upperCase(field(fields, 8)) == "S"),
      angle(field(fields, 9), longitudeMinutes, map.decimalFractions, upperCase(field(fields, 11)) == "W"));
}

int cornerSlot(const Fields& fields) {
  const std::int32_t k = parseInt32(field(fields, 1));
  if (k < 1 || k > maxCorners) throw SubscriptOutOfRange("corner " + std::to_string(k));
  return firstCornerSlot - 1 + k;
}

void readCornerPixel(const Fields& fields) {
  const int slot = cornerSlot(fields);
  if (calibration.pointCount > maxTiePoints) return;
  if (beginsWithNumber(field(fields, 2)) && beginsWithNumber(field(fields, 3))) {
    calibration.points[slot].setPixel(parseInt32(field(fields, 2)), parseInt32(field(fields, 3)));
  }
  const int count = slot - firstCornerSlot + 1;
  if (count > calibration.cornerCount) calibration.cornerCount = static_cast<std::int16_t>(count);
}

void readLine(std::string_view line, int number, MapFile& map) {
  const Fields fields = splitFields(line, ",", 31);
  const std::string_view key = field(fields, 0);
  if (number == 2) {
    map.imageName = fileName(trim(line));
  } else if (number == 3) {
    readImageExtension(line, map);
  } else if (number == 5) {
    map.datum = upperCase(key);
  } else if (number == 9) {
    calibration.projection = fields.size() > 1 ? lowerCase(fields[1]) : "";
  }
  if (lowerCase(key.substr(0, pointWord.size())) == pointWord && !field(fields, 2).empty()) {
    readPointLine(fields, map);
  } else if (key == "MMPXY") {
    readCornerPixel(fields);
  } else if (key == "MMPLL") {
    const int slot = cornerSlot(fields);
    if (calibration.pointCount <= maxTiePoints) readDegrees(slot, field(fields, 3), field(fields, 2));
  } else if (key == "IWH") {
    calibration.imageWidth = parseInt16(field(fields, 2));
    calibration.imageHeight = parseInt16(field(fields, 3));
  }
}

/// Places the grid points on the grid that the projection names. Returns the datum on which all positions are then.
int placeGridPoints(const MapFile& map, int datumIndex) {
  const std::string_view projection = trim(calibration.projection);
  const bool utm = projection.starts_with("(utm)") || projection.starts_with("latit");
  const bool british = projection.starts_with("(bng)");
  const bool irish = projection.starts_with("(ig)");
  for (const auto& [slot, point] : map.gridPoints) {
    if (utm) {
      const bool southern = upperCase(point.hemisphere) == "S";
      readUtm(slot, datumIndex, point.zone, southern, point.easting, point.northing);
    } else if (british) {
      readBritishGrid(slot, point.zone, point.easting, point.northing);
    } else if (irish) {
      readIrishGrid(slot, point.zone, point.easting, point.northing);
    }
  }
  if (!utm && !british && !irish) tell("unknown projection");
  if (!british || datumIndex == 0) return datumIndex;
  Slots<bool> onWgs84;
  for (const auto& [slot, point] : map.gridPoints) onWgs84[slot] = true;
  shiftOthersToWgs84(onWgs84, datumIndex);
  return matchDatum(wgs84Name);
}

/// Two points stand for the rectangle that they span.
void completeRectangle() {
  Calibration& c = calibration;
  if (c.pointCount != 2) return;
  c.points[3].setPixel(c.points[2].pixelX, c.points[1].pixelY);
  c.points[3].setPosition(c.points[1].latitude, c.points[2].longitude);
  c.points[4].setPixel(c.points[1].pixelX, c.points[2].pixelY);
  c.points[4].setPosition(c.points[2].latitude, c.points[1].longitude);
  c.pointCount = 4;
}

struct DegreesMinutes {
  std::string degrees, minutes;
};

DegreesMinutes degreesMinutes(double value) {
  const double magnitude = std::abs(value);
  const double whole = std::floor(magnitude);
  DegreesMinutes result{formatNumber(whole, "##0"), formatNumber((magnitude - whole) * 60, "00.000000")};
  if (result.minutes == "60.000000") result = {formatNumber(whole + 1, "##0"), "00.000000"};
  return result;
}

std::string pointLine(const Calibration& c, int i) {
  const DegreesMinutes lat = degreesMinutes(c.points[i].latitude);
  const DegreesMinutes lon = degreesMinutes(c.points[i].longitude);
  std::string text = "Pointii,xy,  aaa,  bbb,in, deg,  ccc ,eee ,NN,  ddd, fff ,WW, grid,   ,           ,           ,N";
  text = replaceToken(text, "ii", formatNumber(i, "00"));
  text = replaceToken(text, "aaa", std::to_string(c.points[i].pixelX));
  text = replaceToken(text, "bbb", std::to_string(c.points[i].pixelY));
  text = replaceToken(text, "ccc", lat.degrees);
  text = replaceToken(text, "eee", lat.minutes);
  text = replaceToken(text, "NN", c.points[i].latitude < 0 ? "S" : "N");
  text = replaceToken(text, "ddd", lon.degrees);
  text = replaceToken(text, "fff", lon.minutes);
  return replaceToken(text, "WW", c.points[i].longitude < 0 ? "W" : "E");
}

std::string emptyPointLine(int i) {
  return replaceToken("Pointii,xy,  ,  ,in, deg,   , ,N, ,  ,W, grid,   ,           ,           ,N", "ii",
                      formatNumber(i, "00"));
}

std::string cornerLine(std::string text, int k, const std::string& x, const std::string& y) {
  text = replaceToken(std::move(text), "ii", formatNumber(k, "0"));
  text = replaceToken(std::move(text), "xx", x);
  return replaceToken(std::move(text), "yy", y);
}

std::string cornerLines(const Calibration& c) {
  std::string content;
  for (int k = 1; k <= c.cornerCount; ++k) {
    const int slot = firstCornerSlot - 1 + k;
    content += line(cornerLine("MMPXY , ii, xx, yy", k, formatNumber(c.points[slot].pixelX, "000000"),
                               formatNumber(c.points[slot].pixelY, "000000")));
  }
  for (int k = 1; k <= c.cornerCount; ++k) {
    const int slot = firstCornerSlot - 1 + k;
    content += line(cornerLine("MMPLL , ii, xx, yy", k, formatNumber(c.points[slot].longitude, "###0.000000"),
                               formatNumber(c.points[slot].latitude, "###0.000000")));
  }
  return content;
}

/// Both as they are written.
struct ImageNames {
  std::string folder, name;
};

ImageNames imageNamesOfRun() {
  return {inInputEncoding(driver.inputFolder), imageNameForOutput()};
}

std::string headerLines(const Calibration& c, const ImageNames& image) {
  std::string content = line("OziExplorer Map Data File Version 2.2");
  content += line(image.name);
  content += line(image.folder + image.name);
  content += line("1 ,Map Code,");
  content += line("WGS 84,WGS 84,   0.0000,   0.0000,WGS 84");
  content += line("Reserved 1");
  content += line("Reserved 2");
  content += line("Magnetic Variation, , , E");
  content += line(c.isMercator() ? "Map Projection, Mercator, Polycal, No, AutoCalOnly, No, BSBUseWPX, No"
                                 : "Map Projection, Latitude / Longitude, Polycal, No, AutoCalOnly, No, BSBUseWPX, No");
  return content;
}

std::string mapContent(const ImageNames& image) {
  Calibration c = calibration;
  if (c.cornerCount == 0) fillImageCorners(c);
  std::string content = headerLines(c, image);
  for (int i = 1; i <= maxTiePoints; ++i) content += line(i <= c.pointCount ? pointLine(c, i) : emptyPointLine(i));
  content += line("Projection Setup,,,,,,,,,,");
  content += line("Map Feature = MF ; Map Comment = MC     These follow if they exist");
  content += line("Track File = TF      These follow if they exist");
  content += line("Moving Map Parameters = MM?    These follow if they exist");
  content += line("MM0 , Yes");
  content += line("MMPNUM,4");
  content += cornerLines(c);
  content += line(replaceToken("MM1B , mmmm", "mmmm", formatNumber(driver.metresPerPixel, "000.000000")));
  content += line("MOP,Map Open Position,0,0");
  content += line("IWH,Map Image Width/Height," + formatNumber(c.imageWidth, "00000") + "," +
                  formatNumber(c.imageHeight, "00000"));
  return content;
}

}  // namespace

ReadResult readMap(const std::string& path) {
  MapFile map;
  TextFile file(path);
  std::string_view text;
  for (int number = 1; getline(file, text); ++number) {
    if (lowerCase(text.substr(0, projectionWords.size())) == projectionWords) number = 9;
    readLine(text, number, map);
  }
  ReadResult result;
  result.datumIndex = matchDatum(map.datum);
  if (!map.gridPoints.empty()) result.datumIndex = placeGridPoints(map, result.datumIndex);
  closePointGaps();
  completeRectangle();
  calibration.imagePath = splitPath(path).folder + toUtf8(map.imageName);
  logPointCount();
  return result;
}

WriteOutcome writeMap(const std::string& stem) {
  return writeCalibrationFile(stem + ".map", mapContent(imageNamesOfRun()));
}

WriteOutcome putmap(const std::string& folder) {
  const std::string& image = calibration.imagePath;
  const std::string path = folder + "/" + splitPath(image).base + ".map";
  if (writeWholeFile(path, mapContentBeside(image))) return WriteOutcome::written;
  tell("unable to write " + path);
  return WriteOutcome::failed;
}

std::string mapPathBeside(const std::string& imagePath) {
  const PathParts parts = splitPath(imagePath);
  return parts.folder + parts.base + ".map";
}

std::string mapContentBeside(const std::string& imagePath) {
  return mapContent({inInputEncoding(splitPath(imagePath).folder), inInputEncoding(std::string(fileName(imagePath)))});
}

}  // namespace vellandra
