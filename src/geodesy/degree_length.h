#pragma once

#include <cmath>

#include "geodesy/constants.h"

namespace vellandra {

/// Metres per degree of latitude and of longitude.
struct DegreeLength {
  double latitude, longitude;
};

/// On WGS 84 at latitude `lat` (degrees), from the meridian and prime-vertical radii.
inline DegreeLength degreeLength(double lat) {
  const double e2 = wgs84Flattening * (2 - wgs84Flattening);
  const double s = std::sin(lat * degToRad);
  const double w = std::sqrt(1 - e2 * s * s);
  return {wgs84A * (1 - e2) / (w * w * w) * degToRad, wgs84A / w * std::cos(lat * degToRad) * degToRad};
}

}  // namespace vellandra
