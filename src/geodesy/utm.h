#pragma once

#include <cstdint>
#include <string>

namespace vellandra {

inline constexpr std::int16_t zoneFromLongitude = 999;
inline constexpr double southernFalseNorthing = 10000000;  ///< metres

/// Metres that are read as UTM, far beyond a zone's usual span: Norway maps its west and north on zone 33, a sheet
/// across the equator keeps one hemisphere. Northings from the equator reach a pole.
inline constexpr double utmWestEnd = -1500000, utmEastEnd = 2500000, utmNorthingRange = 10000000;

/// Whether metres are a place on the grid. Numbers that can only be degrees are none.
bool fitsUtm(bool southern, double easting, double northing);

/// WGS 84 latitude and longitude (degrees) to UTM metres. `zone` 999 is replaced by the zone of the longitude
/// (floor((lon + 186) / 6), so 180 E gives 61); any other zone is used as it is. South of the equator the northing
/// counts from `southernFalseNorthing`. Within 3 degrees of the central meridian the easting is good to 3 mm, the
/// northing to 1 mm. Throws Overflow when the zone of the longitude, or the central meridian of the zone, does not fit
/// 16 bits.
void LatLongToUtm(double lat, double lon, std::int16_t& zone, double& easting, double& northing);

/// UTM metres to degrees on the datum whose `dA`, `dF` (see `DatumTable`) are given. `northing` counts from the
/// equator, negative southwards. No northing is refused. Throws Overflow when the central meridian does not fit 16
/// bits.
void UtmToLatLong(std::int16_t zone, double northing, double easting, double dA, double dF, double& lat, double& lon);

/// The reverse of `UtmToLatLong`, for any distance from the central meridian.
void latLongToUtmMetres(std::int16_t zone, double dA, double dF, double lat, double lon, double& easting,
                        double& northing);

/// The letter of the 8-degree band as the readout shows it, "x" from 80 degrees up. Throws InvalidArgument below -80
/// and for NaN.
char utmBandLetter(double lat);

}  // namespace vellandra
