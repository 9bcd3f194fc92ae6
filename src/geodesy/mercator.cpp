#include "geodesy/mercator.h"

#include <cmath>

#include "geodesy/constants.h"

namespace vellandra {

double MercatorY(double lat) {
  const double sinLat = std::sin(lat * degToRad);
  return std::log((1 + sinLat) / (1 - sinLat)) / 2;
}

double latitudeOfMercatorY(double m) {
  return (2 * std::atan(std::exp(m)) - pi / 2) / degToRad;
}

}  // namespace vellandra
