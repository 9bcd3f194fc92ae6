#include "formats/map_file.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/points.h"
#include "calibration/preferences.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
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
  Fields fields;  ///< of the line, whose degrees serve where the grid is not known
};

/// What the lines before the end of the file leave open. Views are parts of the file's text.
struct MapFile {
  std::string imageName = "x.x";
  std::string_view imagePath;  ///< as line 3 gives it
  std::string datum = wgs84Name;
  bool decimalFractions = false;        ///< minutes fields hold the decimals of a degree
  bool isCalibration = false;           ///< there are lines that only such a file has
  std::map<int, GridPoint> gridPoints;  ///< by slot
};

void readImageExtension(std::string_view line, MapFile& map) {
  const std::string_view name = fileName(trim(line));
  if (map.imageName.find('.') != std::string::npos || name.size() < 3) return;
  map.imageName.append(".").append(name.substr(name.size() - 3));
}

/// Whole degrees and a minutes field as degrees. A minus on either makes the angle negative, else the hemisphere
/// decides.
double angle(std::string_view degrees, std::string_view minutes, bool decimalFractions, bool negative) {
  constexpr std::size_t fractionDigits = 8;
  double fraction = std::abs(parseNumber(minutes)) / 60;
  if (decimalFractions) {
    std::string digits(minutes.substr(0, fractionDigits));
    digits.insert(0, fractionDigits - digits.size(), '0');
    fraction = parseNumber(digits) / 100000000;
  }
  const double whole = parseNumber(degrees);
  const bool minus = degrees.starts_with("-") || minutes.starts_with("-");
  const double value = std::abs(whole) + fraction;
  return minus || negative ? -value : value;
}

/// An empty field is none; minutes are below 60, the decimals of a degree are digits.
bool areMinutes(std::string_view minutes, bool decimalFractions) {
  if (decimalFractions) return minutes.find_first_not_of("0123456789") == std::string_view::npos;
  if (minutes.empty()) return true;
  const double value = parseNumber(minutes);
  return beginsWithNumber(minutes) && std::abs(value) <= 60;  // 60: rounded up by some program
}

bool looksLikeFractions(std::string_view minutes1, std::string_view minutes2) {
  const bool point = minutes1.find('.') != std::string_view::npos || minutes2.find('.') != std::string_view::npos;
  const bool sign = minutes1.starts_with('-') || minutes2.starts_with('-');
  return !point && !sign && (minutes1.size() >= 3 || minutes2.size() >= 3);
}

/// Points past 30 stand in the corners' slots; the corners follow from the fit as well.
void giveUpCorners() {
  Calibration& c = calibration;
  c.cornerCount = 0;
  for (int slot = firstCornerSlot; slot <= maxSlot; ++slot)
    c.points[slot].hasPixel = c.points[slot].hasPosition = false;
}

bool holdsDegrees(const Fields& fields) {
  return beginsWithNumber(field(fields, 6)) && beginsWithNumber(field(fields, 9));
}

void readAngles(int slot, const Fields& fields, MapFile& map) {
  const std::string_view latitudeMinutes = field(fields, 7);
  const std::string_view longitudeMinutes = field(fields, 10);
  if (looksLikeFractions(latitudeMinutes, longitudeMinutes)) map.decimalFractions = true;
  if (!holdsDegrees(fields)) return;
  if (!areMinutes(latitudeMinutes, map.decimalFractions) || !areMinutes(longitudeMinutes, map.decimalFractions)) return;
  calibration.points[slot].setPosition(
      angle(field(fields, 6), latitudeMinutes, map.decimalFractions, upperCase(field(fields, 8)) == "S"),
      angle(field(fields, 9), longitudeMinutes, map.decimalFractions, upperCase(field(fields, 11)) == "W"));
}

void readPointLine(const Fields& fields, MapFile& map) {
  const std::optional<int> number = pointNumberInKey(field(fields, 0).substr(pointWord.size()), maxSlot);
  if (!number) return;
  const int slot = *number;
  if (slot > maxTiePoints && calibration.pointCount <= maxTiePoints) giveUpCorners();
  // Of two lines for one point the last one counts, as a whole.
  CalibrationPoint& point = calibration.points[slot];
  if (!point.isEmpty()) point.givenTwice = true;
  point.hasPixel = point.hasPosition = false;
  map.gridPoints.erase(slot);
  readPixel(slot, field(fields, 2), field(fields, 3));
  if (field(fields, 14).empty()) return readAngles(slot, fields, map);
  map.gridPoints[slot] = {std::string(field(fields, 13)), std::string(field(fields, 14)),
                          std::string(field(fields, 15)), std::string(field(fields, 16)), fields};
}

int cornerSlot(const Fields& fields) {
  const std::int32_t k = parseInt32(field(fields, 1));
  if (k < 1 || k > maxCorners) {
    throw SubscriptOutOfRange("corner " + std::to_string(k) + " of the map: corners are numbered from 1 to " +
                              std::to_string(maxCorners) + ", leave out the MMPXY and MMPLL lines of others");
  }
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
    map.imagePath = trim(line);
  } else if (number == 5) {
    map.datum = upperCase(key);
  } else if (number == 9) {
    map.isCalibration = map.isCalibration || lowerCase(line).starts_with(projectionWords);
    calibration.projection = fields.size() > 1 ? lowerCase(fields[1]) : "";
  }
  const bool isPointLine = lowerCase(key.substr(0, pointWord.size())) == pointWord;
  map.isCalibration = map.isCalibration || isPointLine;
  if (isPointLine && !field(fields, 2).empty()) {
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

enum class Grid { none, utm, british, irish };

Grid gridOf(std::string_view projection) {
  if (projection.starts_with("(utm)") || projection.starts_with("latit")) return Grid::utm;
  if (projection.starts_with("(bng)")) return Grid::british;
  return projection.starts_with("(ig)") ? Grid::irish : Grid::none;
}

void placeGridPoint(int slot, Grid grid, const GridPoint& point, int datumIndex) {
  if (grid == Grid::british) return readBritishGrid(slot, point.zone, point.easting, point.northing);
  if (grid == Grid::irish) return readIrishGrid(slot, point.zone, point.easting, point.northing);
  readUtm(slot, datumIndex, point.zone, upperCase(point.hemisphere) == "S", point.easting, point.northing);
}

/// A point on a grid that is not known is read from the degrees that it may carry as well.
void placeGridPoints(MapFile& map, Grid grid, int datumIndex) {
  bool unknown = false;
  for (const auto& [slot, point] : map.gridPoints) {
    if (grid != Grid::none) {
      placeGridPoint(slot, grid, point, datumIndex);
    } else {
      readAngles(slot, point.fields, map);
      unknown = unknown || !calibration.points[slot].hasPosition;
    }
  }
  if (!unknown) return;
  tell("unknown projection");
  reportUnknownProjection(calibration.projection);
}

/// The same place in full metres.
GridPoint withoutLetters(Grid grid, GridPoint point) {
  if (grid == Grid::utm || point.zone.empty()) return point;
  std::int32_t east = 0, north = 0;
  grid == Grid::british ? OsLettersToOffset(upperCase(point.zone), east, north)
                        : IrishLetterToOffset(upperCase(point.zone), east, north);
  point.easting = formatGeneral(parseNumber(point.easting) + east);
  point.northing = formatGeneral(parseNumber(point.northing) + north);
  point.zone.clear();
  return point;
}

/// Two points alone stand for the rectangle that they span: on their grid when both are of one zone, else in degrees.
/// Points on one row or column span none.
void completeRectangle(const MapFile& map, Grid grid, int datumIndex) {
  Calibration& c = calibration;
  if (c.pointCount != 2) return;
  const CalibrationPoint &a = c.points[1], &b = c.points[2];
  if (a.pixelX == b.pixelX || a.pixelY == b.pixelY || a.datumName != b.datumName) return;
  for (const int slot : {3, 4}) c.points[slot].datumName = a.datumName;
  c.points[3].setPixel(b.pixelX, a.pixelY);
  c.points[3].setPosition(a.latitude, b.longitude);
  c.points[4].setPixel(a.pixelX, b.pixelY);
  c.points[4].setPosition(b.latitude, a.longitude);
  c.pointCount = 4;
  if (grid == Grid::none || map.gridPoints.size() != 2) return;
  const GridPoint first = withoutLetters(grid, map.gridPoints.begin()->second);
  const GridPoint second = withoutLetters(grid, map.gridPoints.rbegin()->second);
  const bool southern = upperCase(first.hemisphere) == "S", secondSouthern = upperCase(second.hemisphere) == "S";
  if (parseNumber(first.zone) != parseNumber(second.zone) || southern != secondSouthern) return;
  placeGridPoint(3, grid, {first.zone, second.easting, first.northing, first.hemisphere, {}}, datumIndex);
  placeGridPoint(4, grid, {first.zone, first.easting, second.northing, first.hemisphere, {}}, datumIndex);
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

/// As other programs look for it: by the name of the file that was found, in UTF-8.
ImageNames imageNamesForGis() {
  std::string folder = splitPath(calibration.imagePath).folder;
  std::ranges::replace(folder, '/', '\\');
  return {toUtf8(folder), toUtf8(fileName(calibration.imagePath))};
}

ImageNames imageNamesOfRun() {
  if (preferences.gisPrograms) return imageNamesForGis();
  return {inInputEncoding(driver.inputFolder), imageNameForOutput()};
}

std::string projectionLine(bool mercator) {
  if (preferences.gisPrograms) {
    return std::string("Map Projection,") + (mercator ? "Mercator" : "Latitude/Longitude") +
           ",PolyCal,No,AutoCalOnly,No,BSBUseWPX,No";
  }
  return std::string("Map Projection, ") + (mercator ? "Mercator" : "Latitude / Longitude") +
         ", Polycal, No, AutoCalOnly, No, BSBUseWPX, No";
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
  content += line(projectionLine(c.isMercator()));
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
  if (!map.isCalibration) {
    tell("This is not an OziExplorer map calibration: it has neither \"Point\" lines nor a \"Map Projection\" line",
         "No support");
    result.stopped = true;
    return result;
  }
  result.datumIndex = matchDatum(map.datum);
  const Grid grid = gridOf(trim(calibration.projection));
  placeGridPoints(map, grid, result.datumIndex);
  std::erase_if(map.gridPoints, [](const auto& point) { return !calibration.points[point.first].isComplete(); });
  closePointGaps();
  completeRectangle(map, grid, result.datumIndex);
  calibration.imagePath = splitPath(path).folder + toUtf8(map.imageName);
  if (!map.imagePath.empty()) result.otherImages.push_back(imageBeside(path, map.imagePath));
  logPointCount();
  return result;
}

WriteOutcome writeMap(const std::string& stem) {
  return writeCalibrationFile(stem + ".map", mapContent(imageNamesOfRun()));
}

WriteOutcome putmap(const std::string& folder) {
  const std::string& image = calibration.imagePath;
  const std::string path = folder + "/" + splitPath(image).base + ".map";
  const std::string content = mapContentBeside(image);
  if (runWork("Writing " + std::string(fileName(path)), [&] { return writeWholeFile(path, content); }))
    return WriteOutcome::written;
  tell("unable to write " + path);
  return WriteOutcome::failed;
}

std::string mapPathBeside(const std::string& imagePath) {
  const PathParts parts = splitPath(imagePath);
  return parts.folder + parts.base + ".map";
}

std::string mapContentBeside(const std::string& imagePath) {
  if (preferences.gisPrograms) return mapContent(imageNamesForGis());
  return mapContent({inInputEncoding(splitPath(imagePath).folder), inInputEncoding(std::string(fileName(imagePath)))});
}

}  // namespace vellandra
