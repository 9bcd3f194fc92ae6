#pragma once

#include <string>

namespace vellandra {

/// How angles are shown; the numbers are those of the preference "degreeformat".
enum class DegreeFormat { decimalDegrees = 1, degreesMinutes = 2, degreesMinutesSeconds = 3 };

/// `lat`, `lon` in decimal degrees as the cursor readout shows them: decimal degrees signed and parted by a blank, the
/// two other forms with hemisphere letters.
std::string positionText(double lat, double lon, DegreeFormat format);

/// What stands beside the position, both on WGS 84: British grid letters, easting and northing inside the grid's area,
/// elsewhere UTM zone, band letter, easting and northing (no band letter south of 80 S).
std::string gridText(double lat, double lon);

}  // namespace vellandra
