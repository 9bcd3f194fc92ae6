#pragma once

#include <string>

namespace vellandra {

/// How angles are shown; the numbers are those of the preference "degreeformat".
enum class DegreeFormat { decimalDegrees = 1, degreesMinutes = 2, degreesMinutesSeconds = 3 };

/// The same longitude, in degrees, from -180 to 180; those of a map across 180 degrees go on past it.
double withinHalfTurn(double lon);

/// `lat`, `lon` in decimal degrees as the cursor readout shows them, in UTF-8: "51.50740 -0.12780",
/// "N 51° 30.4440'  W 0° 07.6680'" or "N 51° 30' 26.64"  W 0° 07' 40.08"". Throws Overflow when one is not finite.
std::string positionText(double lat, double lon, DegreeFormat format);

/// One angle as it is typed, to a centimetre: "51.5074", "51 30.444 N" or "51 30 26.64 N".
std::string typedAngle(double angle, DegreeFormat format, const char* positive, const char* negative);

/// What stands beside the position, both on WGS 84: "TQ 30000 80000" inside the British grid's area, elsewhere UTM as
/// "31U 448251 5411932" (no band letter south of 80 S). Throws Overflow when `lat` or `lon` is not finite.
std::string gridText(double lat, double lon);

}  // namespace vellandra
