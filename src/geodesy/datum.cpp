#include "geodesy/datum.h"

#include <cmath>
#include <vector>

#include "geodesy/constants.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

constexpr std::string_view rowMarker = "M E";
constexpr std::size_t nameStart = 4;
constexpr std::size_t fieldsStart = 25;
/// A sphere is 0.0034 from WGS 84, every ellipsoid of the earth closer. More means that the columns have moved.
constexpr double largestFlatteningDifference = 0.01;

/// The arctangent of `GeocentricToGeodetic` knows no quadrant. Only half of the correction is made: calibrations
/// written so far rely on it, see `DatumToWgs84`.
double correctedLongitude(double lon, double lonBefore) {
  return std::abs(lon - lonBefore) > 170 ? lon - 180 : lon;
}

std::string_view fromColumn(std::string_view line, std::size_t start) {
  return start < line.size() ? line.substr(start) : std::string_view();
}

void addRow(DatumTable& table, std::string_view line) {
  if (table.count == maxDatums) throw SubscriptOutOfRange("more than 200 datums");
  const auto i = static_cast<std::size_t>(++table.count);
  std::string_view name = fromColumn(line, nameStart).substr(0, datumNameColumns);
  while (name.starts_with(' ')) name.remove_prefix(1);
  table.name[i] = name;

  const std::vector<std::string_view> fields = splitAtBlanks(fromColumn(line, fieldsStart));
  bool numbers = true;
  const auto number = [&fields, &numbers](std::size_t index) {
    numbers = numbers && beginsWithNumber(field(fields, index));
    return parseNumber(field(fields, index));
  };
  table.dA[i] = number(1);
  table.dF[i] = number(2);
  table.dX[i] = number(3);
  table.dY[i] = number(4);
  table.dZ[i] = number(5);
  table.doubtful[i] = !numbers || std::abs(table.dF[i]) > largestFlatteningDifference;
}

void shiftBy(decltype(DatumToWgs84) shift, int index, double& lat, double& lon) {
  if (index == 0) return;
  const auto i = static_cast<std::size_t>(index);
  const double before = lon;
  lon -= 360 * std::round(lon / 360);  // the shift knows longitudes within a half turn
  double height = 0;
  shift(datumTable.dA[i], datumTable.dF[i], lat, lon, height, datumTable.dX[i], datumTable.dY[i], datumTable.dZ[i]);
  lon += 360 * std::round((before - lon) / 360);
}

}  // namespace

DatumTable datumTable;

DatumTable readDatumTable(TextFile& file) {
  DatumTable table;
  std::string_view line;
  while (getline(file, line)) {
    const std::string upper = upperCase(line);
    if (upper.starts_with(rowMarker)) addRow(table, upper);
  }
  return table;
}

std::string datumColumnName(std::string_view name) {
  std::string result = upperCase(trim(name));
  result.resize(datumNameColumns, ' ');
  return result;
}

int findDatumByName(std::string_view name) {
  // Whole columns are compared: a stored name may be short of them where its line ended early or began with blanks.
  const std::string wanted = upperCase(name);
  const auto column = [](std::string text) {
    if (text.size() < datumNameColumns) text.resize(datumNameColumns, ' ');
    return text;
  };
  int index = 0;
  for (int i = 1; i <= datumTable.count; ++i) {
    const std::string stored = upperCase(datumTable.name[static_cast<std::size_t>(i)]);
    if (wanted == stored || wanted == column(stored)) index = i;
  }
  return index;
}

void GeodeticToGeocentric(double a, double invF, double lat, double lon, double h, double& X, double& Y, double& Z) {
  const double f = 1 / invF;
  const double e2 = 2 * f - f * f;
  const double sinLat = std::sin(degToRad * lat);
  const double cosLat = std::cos(degToRad * lat);
  const double N = a / std::sqrt(1 - sinLat * e2 * sinLat);
  X = (N + h) * cosLat * std::cos(degToRad * lon);
  Y = (N + h) * cosLat * std::sin(degToRad * lon);
  Z = ((1 - e2) * N + h) * sinLat;
}

void GeocentricToGeodetic(double a, double invF, double& lat, double& lon, double& h, double X, double Y, double Z) {
  const double f = 1 / invF;
  const double e2 = 2 * f - f * f;
  const double b = a - f * a;
  const double ep2 = (a * a - b * b) / (b * b);
  const double p = std::sqrt(X * X + Y * Y);
  const double theta = std::atan(Z * a / (p * b));
  const double sinTheta = std::sin(theta);
  const double cosTheta = std::cos(theta);
  const double phi =
      std::atan((Z + ep2 * b * sinTheta * sinTheta * sinTheta) / (p - e2 * a * cosTheta * cosTheta * cosTheta));
  const double sinPhi = std::sin(phi);
  const double N = a / std::sqrt(1 - e2 * sinPhi * sinPhi);
  lat = phi / degToRad;
  lon = std::atan(Y / X) / degToRad;
  h = p / std::cos(phi) - N;
}

void DatumToWgs84(double dA, double dF, double& lat, double& lon, double& h, double dX, double dY, double dZ) {
  const double lonBefore = lon;
  double X = 0, Y = 0, Z = 0;
  GeodeticToGeocentric(wgs84A - dA, 1 / (wgs84Flattening - dF), lat, lon, h, X, Y, Z);
  GeocentricToGeodetic(wgs84A, 1 / wgs84Flattening, lat, lon, h, X + dX, Y + dY, Z + dZ);
  lon = correctedLongitude(lon, lonBefore);
}

void Wgs84ToDatum(double dA, double dF, double& lat, double& lon, double& h, double dX, double dY, double dZ) {
  const double lonBefore = lon;
  double X = 0, Y = 0, Z = 0;
  GeodeticToGeocentric(wgs84A, 1 / wgs84Flattening, lat, lon, h, X, Y, Z);
  GeocentricToGeodetic(wgs84A - dA, 1 / (wgs84Flattening - dF), lat, lon, h, X - dX, Y - dY, Z - dZ);
  lon = correctedLongitude(lon, lonBefore);
}

void shiftToWgs84(int index, double& lat, double& lon) {
  shiftBy(DatumToWgs84, index, lat, lon);
}

void shiftFromWgs84(int index, double& lat, double& lon) {
  shiftBy(Wgs84ToDatum, index, lat, lon);
}

}  // namespace vellandra
