#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "geodesy/point_grid.h"
#include "geodesy/position.h"

namespace vellandra {

/// What has been typed into one field of a position. An empty field has neither a value nor a problem.
struct EntryField {
  std::optional<double> value;
  std::string problem;  ///< why the text cannot be used, for the person; empty when it can
};

/// An angle in decimal degrees: one to three numbers (degrees, minutes, seconds) parted by blanks, ":", or their signs,
/// of which only the last has decimals; a sign in front, or "N", "S" ("E", "W") at either end. At most 90 (180)
/// degrees. `text` is UTF-8.
EntryField parseLatitude(std::string_view text);
EntryField parseLongitude(std::string_view text);

/// Metres from `least` to `most`, with decimals if need be.
EntryField parseMetres(std::string_view text, double least, double most);

/// The metres that a grid takes: within a square of 100 km, or `full` ones.
struct MetresRange {
  double west, east, south, north;
};
MetresRange metresRange(const PointGrid& grid, bool full);

/// Why `letters` name no square of the British grid, for the person; empty when they do, or are left out. Case does not
/// matter.
std::string britishLettersProblem(std::string_view letters);

/// The same for the one letter of a square of the Irish grid.
std::string irishLetterProblem(std::string_view letter);

/// British grid reference to WGS 84; no letters mean full grid metres (from "SV"). Nothing outside the grid's area,
/// nor west or south of its origin, in the sea.
std::optional<Position> britishPosition(std::string_view letters, double easting, double northing);

/// Irish grid reference to degrees on the grid's own ellipsoid, that of the datum "Ireland 1965"; no letter means full
/// grid metres (from "V"). Any place of the grid is taken, so there is always a position.
std::optional<Position> irishPosition(std::string_view letter, double easting, double northing);

/// UTM metres to degrees on datum `datumIndex` of the table (0: WGS 84). `northing` of a southern point counts from
/// 10 000 000. Nothing for a position that is not on the grid (see `fitsUtm`) or on the earth.
std::optional<Position> utmPosition(std::int16_t zone, bool southern, double easting, double northing, int datumIndex);

/// One of these three: degrees on the datum of `grid`, which is not that of degrees. `letters` count on the national
/// grids.
std::optional<Position> gridPosition(const PointGrid& grid, std::string_view letters, double easting, double northing);

inline constexpr std::string_view degreeSign = "\u00B0";

/// `text` (UTF-8) with one sign for all that are written for it: degrees, "'", """, "-" and blanks; line breaks become
/// blanks, marks that are not seen are left out.
std::string withPlainSigns(std::string_view text);

}  // namespace vellandra
