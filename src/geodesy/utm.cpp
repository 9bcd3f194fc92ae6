#include "geodesy/utm.h"

#include <cmath>
#include <string_view>

#include "geodesy/constants.h"
#include "geodesy/transverse_mercator.h"
#include "support/errors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr double scaleFactor = 0.9996;
constexpr double falseEasting = 500000;

/// WGS 84 with the scale factor; the central meridian is filled in.
constexpr TransverseMercator wgs84Utm{.n = 21384.6859 / 12734889.3141,
                                      .e2 = 272330010656.29688 / 40680629993472.0,
                                      .aF0 = 6375585.7452,
                                      .bF0 = 6354209.61317436,
                                      .lat0 = 0,
                                      .lon0 = 0,
                                      .E0 = falseEasting,
                                      .N0 = 0};

std::int16_t centralMeridian(std::int16_t zone) {
  return toInt16((zone - 30) * 6 - 3);
}

/// UTM on the ellipsoid of a datum, see `DatumTable`.
TransverseMercator utmOn(std::int16_t zone, double dA, double dF) {
  const double a = wgs84A - dA;
  const double b = (1 - (wgs84Flattening - dF)) * a;
  return {.n = (a - b) / (a + b),
          .e2 = (a * a - b * b) / (a * a),
          .aF0 = a * scaleFactor,
          .bF0 = b * scaleFactor,
          .lat0 = 0,
          .lon0 = static_cast<double>(centralMeridian(zone)),
          .E0 = falseEasting,
          .N0 = 0};
}

}  // namespace

void LatLongToUtm(double lat, double lon, std::int16_t& zone, double& easting, double& northing) {
  if (zone == zoneFromLongitude) zone = toInt16(roundToInt32(std::floor((lon + 186) / 6)));
  TransverseMercator projection = wgs84Utm;
  projection.lon0 = centralMeridian(zone);
  toGrid(projection, lat, lon, easting, northing);
  if (lat < 0) northing += southernFalseNorthing;
}

bool fitsUtm(bool southern, double easting, double northing) {
  const double fromEquator = northing - (southern ? southernFalseNorthing : 0);
  const bool degrees = std::abs(easting) <= 180 && std::abs(northing) <= 90;
  return !degrees && easting >= utmWestEnd && easting <= utmEastEnd && std::abs(fromEquator) <= utmNorthingRange;
}

void UtmToLatLong(std::int16_t zone, double northing, double easting, double dA, double dF, double& lat, double& lon) {
  const TransverseMercator projection = utmOn(zone, dA, dF);
  // Metres from the meridian and the equator: both series agree to a millimetre there. Towards the poles the near one
  // fails within a zone's own width.
  constexpr double usualSpan = 250000, usualNorthing = 7250000;
  const bool near = std::abs(easting - falseEasting) <= usualSpan && std::abs(northing) <= usualNorthing;
  const auto inverse = near ? fromGrid : fromGridFar;
  inverse(projection, easting, northing, lat, lon);
}

void latLongToUtmMetres(std::int16_t zone, double dA, double dF, double lat, double lon, double& easting,
                        double& northing) {
  const TransverseMercator projection = utmOn(zone, dA, dF);
  toGridFar(projection, lat, projection.lon0 + std::remainder(lon - projection.lon0, 360), easting, northing);
}

char utmBandLetter(double lat) {
  constexpr std::string_view letters = "CDEFGHJKLMNPQRSTUVWX";
  if (!(lat >= -80)) throw InvalidArgument("no UTM band at this latitude");
  const double band = std::floor((lat + 80) / 8);
  return band < static_cast<double>(letters.size()) ? letters[static_cast<std::size_t>(band)] : 'x';
}

}  // namespace vellandra
