#pragma once

namespace vellandra {

/// A transverse Mercator projection in the terms of the Ordnance Survey's "A guide to coordinate systems in Great
/// Britain", annexe C. Lengths in metres, angles in degrees.
struct TransverseMercator {
  double n;         ///< third flattening (a - b) / (a + b)
  double e2;        ///< squared eccentricity
  double aF0, bF0;  ///< semi-axes times the scale on the central meridian
  double lat0, lon0;
  double E0, N0;  ///< false easting and northing of the true origin
};

/// Latitude and longitude in degrees to metres. Good to a millimetre within 3 degrees of the central meridian.
void toGrid(const TransverseMercator& projection, double lat, double lon, double& easting, double& northing);

/// Metres to degrees. The footpoint loop ends at 1e-9 m, or when another step no longer brings the arc closer.
void fromGrid(const TransverseMercator& projection, double easting, double northing, double& lat, double& lon);

/// Both ways far from the central meridian, where the series above fail: Krüger's series in the third flattening to the
/// fourth order (L. Krüger, "Konforme Abbildung des Erdellipsoids in der Ebene", 1912). Good to a millimetre within
/// 3000 km. The true origin lies on the equator.
void toGridFar(const TransverseMercator& projection, double lat, double lon, double& easting, double& northing);
void fromGridFar(const TransverseMercator& projection, double easting, double northing, double& lat, double& lon);

}  // namespace vellandra
