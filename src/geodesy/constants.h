#pragma once

namespace vellandra {

/// Pi as the coordinate formulas of this program have always used it: 15 digits, not the nearest double.
inline constexpr double pi = 3.14159265358979;
inline constexpr double degToRad = pi / 180;

/// WGS 84: semi-major axis in metres, and flattening from a - b = 21384.6859 m.
inline constexpr double wgs84A = 6378137.0;
inline constexpr double wgs84Flattening = 21384.6859 / 6378137.0;

}  // namespace vellandra
