#pragma once

namespace vellandra {

/// Mercator ordinate of `lat` (degrees) on the sphere: ln((1 + sin lat) / (1 - sin lat)) / 2. Infinite at the poles.
double MercatorY(double lat);

/// Latitude in degrees of the Mercator ordinate `m`.
double latitudeOfMercatorY(double m);

}  // namespace vellandra
