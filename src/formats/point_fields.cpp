#include "formats/point_fields.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "calibration/log.h"
#include "calibration/messages.h"
#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
#include "geodesy/utm.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

bool areNumbers(std::string_view a, std::string_view b) {
  return beginsWithNumber(a) && beginsWithNumber(b);
}

constexpr double gridSquare = 100000;  // metres

bool isInSquare(double easting, double northing, double side = gridSquare) {
  return easting >= 0 && easting <= side && northing >= 0 && northing <= side;
}

bool isGridLetters(std::string_view letters, std::size_t count) {
  return letters.size() == count && areGridLetters(letters);
}

void reportOutside(int slot, std::string_view easting, std::string_view northing) {
  showMessage("Point " + std::to_string(slot) + " lies outside the grid: " + std::string(trim(easting)) + " " +
              std::string(trim(northing)));
}

}  // namespace

void readPixel(int slot, std::string_view x, std::string_view y) {
  // Counted also when it is not readable, so that it is missed behind the last good point, too.
  calibration.pointCount = std::max(calibration.pointCount, static_cast<std::int16_t>(slot));
  if (calibration.points[slot].hasPixel) calibration.points[slot].givenTwice = true;
  if (areNumbers(x, y)) calibration.points[slot].setPixel(parseInt32(x), parseInt32(y));
}

void readDegrees(int slot, std::string_view latitude, std::string_view longitude) {
  if (areNumbers(latitude, longitude))
    calibration.points[slot].setPosition(parseNumber(latitude), parseNumber(longitude));
}

int pointNumber(std::string_view text, int most) {
  const double number = std::nearbyint(parseNumber(text));
  if (!(number >= 0 && number <= most)) throw SubscriptOutOfRange("point " + std::string(trim(text).substr(0, 40)));
  return static_cast<int>(number);
}

std::optional<int> pointNumberInKey(std::string_view text, int most) {
  text = trim(text);
  const std::string_view digits = text.substr(text.starts_with('-') ? 1 : 0);
  if (digits.empty() || digits.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  return pointNumber(text, most);
}

bool fitsBritishGrid(double easting, double northing) {
  return easting >= -1000000 && easting <= 1500000 && northing >= -500000 && northing <= 2000000;
}

void readUtm(int slot, int datumIndex, std::string_view zone, bool southern, std::string_view easting,
             std::string_view northing) {
  if (!areNumbers(easting, northing) || !beginsWithNumber(zone)) return;
  const double zoneNumber = parseNumber(zone);
  if (!(zoneNumber >= 1 && zoneNumber <= 60)) return;
  const auto datum = static_cast<std::size_t>(datumIndex);
  const double metresEast = parseNumber(easting);
  const double metresNorth = parseNumber(northing);
  if (!fitsUtm(southern, metresEast, metresNorth)) return reportOutside(slot, easting, northing);
  const double fromEquator = metresNorth - (southern ? southernFalseNorthing : 0);
  double lat = 0;
  double lon = 0;
  UtmToLatLong(static_cast<std::int16_t>(zoneNumber), fromEquator, metresEast, datumTable.dA[datum],
               datumTable.dF[datum], lat, lon);
  calibration.points[slot].setPosition(
      lat, lon, {.grid = EntryGrid::utm, .zone = static_cast<std::int16_t>(zoneNumber), .southern = southern});
}

void readBritishGrid(int slot, std::string_view letters, std::string_view easting, std::string_view northing) {
  const std::string square = letters.empty() ? "SV" : upperCase(letters);
  if (!areNumbers(easting, northing) || !isGridLetters(square, 2)) return;
  const double metresEast = parseNumber(easting);
  const double metresNorth = parseNumber(northing);
  if (!(letters.empty() ? fitsBritishGrid(metresEast, metresNorth) : isInSquare(metresEast, metresNorth))) {
    return reportOutside(slot, easting, northing);
  }
  double lat = 0;
  double lon = 0;
  OsGridToLatLong(square, metresNorth, metresEast, lat, lon);
  calibration.points[slot].setPosition(lat, lon, {.grid = EntryGrid::british});
  calibration.points[slot].datumName = wgs84Name;
}

void readIrishGrid(int slot, std::string_view letter, std::string_view easting, std::string_view northing) {
  const std::string square = letter.empty() ? "V" : upperCase(letter);
  if (!areNumbers(easting, northing) || !isGridLetters(square, 1)) return;
  const double metresEast = parseNumber(easting);
  const double metresNorth = parseNumber(northing);
  constexpr double irishGrid = 500000;
  if (!isInSquare(metresEast, metresNorth, letter.empty() ? irishGrid : gridSquare)) {
    return reportOutside(slot, easting, northing);
  }
  double lat = 0;
  double lon = 0;
  IrishGridToLatLong(square, metresEast, metresNorth, lat, lon);
  calibration.points[slot].setPosition(lat, lon, {.grid = EntryGrid::irish});
}

void logPointCount() {
  writeLog("points = " + std::to_string(calibration.pointCount));
}

void reportUnknownProjection(std::string_view projection) {
  showMessage("Points on the projection \"" + std::string(trim(projection)) +
              "\" cannot be read: write the calibration in latitude and longitude in the program that it comes from");
}

bool isSouthernBand(char letter) {
  const std::string upper = upperCase(std::string_view(&letter, 1));
  return upper[0] >= 'C' && upper[0] <= 'M' && upper[0] != 'I';
}

}  // namespace vellandra
