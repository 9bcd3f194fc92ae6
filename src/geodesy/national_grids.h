#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vellandra {

/// True when every character names a square of a block: the upper-case letters without "I".
bool areGridLetters(std::string_view letters);

/// Offset in metres of the south-west corner of a two-letter square of the British grid from the false origin
/// ("SV" = 0, 0). Upper case; a letter that does not exist gives the offsets of position 0, without an error.
void OsLettersToOffset(std::string_view letters, std::int32_t& eastingOffset, std::int32_t& northingOffset);

/// The same for a one-letter square of the Irish grid ("V" = 0, 0).
void IrishLetterToOffset(std::string_view letter, std::int32_t& eastingOffset, std::int32_t& northingOffset);

/// The two letters of the 100 km square that holds `easting`, `northing` (full British grid metres). The first
/// square west or south of the false origin counts as the one beside it, with a negative remainder. Throws
/// SubscriptOutOfRange further out, where no letters name the square.
void OffsetToOsLetters(std::int32_t easting, std::int32_t northing, std::string& letters);

/// British grid reference (metres within the square) to latitude and longitude on WGS 84, degrees.
void OsGridToLatLong(std::string_view letters, double northing, double easting, double& lat, double& lon);

/// Latitude and longitude on WGS 84 (degrees) to the British grid: letters and whole metres within the square,
/// rounded half to even. Throws as `OffsetToOsLetters`, and Overflow when the result is not finite.
void LatLongToOsGrid(double lat, double lon, std::string& letters, double& easting, double& northing);

/// The same position as full grid metres, not rounded.
void latLongToOsMetres(double lat, double lon, double& easting, double& northing);

/// Irish grid reference (metres within the square) to degrees on the grid's own modified Airy ellipsoid.
void IrishGridToLatLong(std::string_view letter, double easting, double northing, double& lat, double& lon);

/// The reverse, as full grid metres.
void latLongToIrishMetres(double lat, double lon, double& easting, double& northing);

/// True for 49.6 < lat < 61 and -9 < lon < 2 (degrees): where the British grid applies to a point.
bool InGbGridArea(double lat, double lon);

}  // namespace vellandra
