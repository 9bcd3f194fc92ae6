#include "geodesy/angle_format.h"

#include <cmath>
#include <cstdint>

#include "geodesy/national_grids.h"
#include "geodesy/utm.h"
#include "support/errors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

/// An angle without its sign, cut into parts. It is rounded as a whole before it is cut, so that a part never shows 60.
struct Parts {
  bool negative;
  double degrees, minutes, seconds;
};

/// |angle| in whole units of the last digit that is shown.
double roundedUnits(double angle, double unitsPerDegree) {
  return parseNumber(formatNumber(std::abs(angle) * unitsPerDegree, "0"));
}

Parts degreesAndMinutes(double angle, double unitsPerMinute) {
  const double units = roundedUnits(angle, 60 * unitsPerMinute);
  return {angle < 0 && units > 0, std::floor(units / (60 * unitsPerMinute)),
          std::fmod(units, 60 * unitsPerMinute) / unitsPerMinute, 0};
}

Parts degreesMinutesAndSeconds(double angle, double unitsPerSecond) {
  const double units = roundedUnits(angle, 3600 * unitsPerSecond);
  const double inDegree = std::fmod(units, 3600 * unitsPerSecond);
  return {angle < 0 && units > 0, std::floor(units / (3600 * unitsPerSecond)),
          std::floor(inDegree / (60 * unitsPerSecond)), std::fmod(inDegree, 60 * unitsPerSecond) / unitsPerSecond};
}

std::string angleText(double angle, DegreeFormat format, const char* positive, const char* negative) {
  const bool seconds = format == DegreeFormat::degreesMinutesSeconds;
  const Parts parts = seconds ? degreesMinutesAndSeconds(angle, 100) : degreesAndMinutes(angle, 10000);
  std::string text = parts.negative ? negative : positive;
  text += " " + formatNumber(parts.degrees, "##0") + "\u00B0 ";
  if (!seconds) return text + formatNumber(parts.minutes, "00.0000") + "'";
  return text + formatNumber(parts.minutes, "00") + "' " + formatNumber(parts.seconds, "00.00") + "\"";
}

std::string britishGridText(double lat, double lon) {
  std::string letters;
  double easting = 0, northing = 0;
  LatLongToOsGrid(lat, lon, letters, easting, northing);
  return letters + " " + formatNumber(easting, "00000") + " " + formatNumber(northing, "00000");
}

std::string utmText(double lat, double lon) {
  std::int16_t zone = zoneFromLongitude;
  double easting = 0, northing = 0;
  LatLongToUtm(lat, lon, zone, easting, northing);
  std::string text = formatNumber(zone, "00");
  if (lat >= -80) text += utmBandLetter(lat);
  return text + " " + formatNumber(easting, "000000") + " " + formatNumber(northing, "0000000");
}

}  // namespace

double withinHalfTurn(double lon) {
  return std::remainder(lon, 360);
}

std::string positionText(double lat, double lon, DegreeFormat format) {
  if (format == DegreeFormat::decimalDegrees) {
    return formatNumber(lat, "###0.00000") + " " + formatNumber(lon, "###0.00000");
  }
  return angleText(lat, format, "N", "S") + angleText(lon, format, "  E", "  W");
}

std::string typedAngle(double angle, DegreeFormat format, const char* positive, const char* negative) {
  const auto number = [](double value, const char* pattern) {
    std::string text = formatNumber(value, pattern);
    if (text.ends_with('.')) text.pop_back();
    return text;
  };
  if (format == DegreeFormat::decimalDegrees) return number(angle, "0.#######");
  const bool seconds = format == DegreeFormat::degreesMinutesSeconds;
  const Parts parts = seconds ? degreesMinutesAndSeconds(angle, 1000) : degreesAndMinutes(angle, 100000);
  return formatNumber(parts.degrees, "0") + " " +
         (seconds ? formatNumber(parts.minutes, "00") + " " + number(parts.seconds, "00.###")
                  : number(parts.minutes, "00.#####")) +
         " " + (parts.negative ? negative : positive);
}

std::string gridText(double lat, double lon) {
  if (InGbGridArea(lat, lon)) {
    double easting = 0, northing = 0;
    latLongToOsMetres(lat, lon, easting, northing);
    // West and south of the false origin, in the sea, there are no squares.
    if (easting >= 0 && northing >= 0) return britishGridText(lat, lon);
  }
  return utmText(lat, lon);
}

}  // namespace vellandra
