#include "formats/point_fields.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "calibration/datum_matching.h"
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

bool isGridLetters(std::string_view letters, std::size_t count) {
  return letters.size() == count && letters.find_first_not_of("VWXYZQRSTULMNOPFGHJKABCDE") == std::string_view::npos;
}

}  // namespace

void readPixel(int slot, std::string_view x, std::string_view y) {
  // Counted also when it is not readable, so that it is missed behind the last good point, too.
  if (slot <= maxTiePoints) calibration.pointCount = std::max(calibration.pointCount, static_cast<std::int16_t>(slot));
  if (areNumbers(x, y)) calibration.setPixel(slot, parseInt32(x), parseInt32(y));
}

void readDegrees(int slot, std::string_view latitude, std::string_view longitude) {
  if (areNumbers(latitude, longitude)) calibration.setPosition(slot, parseNumber(latitude), parseNumber(longitude));
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

void readUtm(int slot, int datumIndex, std::string_view zone, bool southern, std::string_view easting,
             std::string_view northing) {
  if (!areNumbers(easting, northing) || !beginsWithNumber(zone)) return;
  const double zoneNumber = parseNumber(zone);
  if (!(zoneNumber >= 1 && zoneNumber <= 60)) return;
  const auto datum = static_cast<std::size_t>(datumIndex);
  const double fromEquator = parseNumber(northing) - (southern ? 10000000 : 0);
  double lat = 0;
  double lon = 0;
  UtmToLatLong(static_cast<std::int16_t>(zoneNumber), fromEquator, parseNumber(easting), datumTable.dA[datum],
               datumTable.dF[datum], lat, lon);
  calibration.setPosition(slot, lat, lon);
}

void readBritishGrid(int slot, std::string_view letters, std::string_view easting, std::string_view northing) {
  const std::string square = letters.empty() ? "SV" : upperCase(letters);
  if (!areNumbers(easting, northing) || !isGridLetters(square, 2)) return;
  double lat = 0;
  double lon = 0;
  OsGridToLatLong(square, parseNumber(northing), parseNumber(easting), lat, lon);
  calibration.setPosition(slot, lat, lon);
}

void readIrishGrid(int slot, std::string_view letter, std::string_view easting, std::string_view northing) {
  const std::string square = letter.empty() ? "V" : upperCase(letter);
  if (!areNumbers(easting, northing) || !isGridLetters(square, 1)) return;
  double lat = 0;
  double lon = 0;
  IrishGridToLatLong(square, parseNumber(easting), parseNumber(northing), lat, lon);
  calibration.setPosition(slot, lat, lon);
}

void shiftOthersToWgs84(const Slots<bool>& onWgs84, int datumIndex) {
  for (int slot = 1; slot <= maxSlot; ++slot) {
    if (calibration.hasPosition[slot] && !onWgs84[slot]) {
      shiftToWgs84(datumIndex, calibration.latitude[slot], calibration.longitude[slot]);
    }
  }
}

bool isSouthernBand(char letter) {
  const std::string upper = upperCase(std::string_view(&letter, 1));
  return upper[0] >= 'C' && upper[0] <= 'M' && upper[0] != 'I';
}

}  // namespace vellandra
