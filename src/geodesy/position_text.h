#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "geodesy/angle_format.h"
#include "geodesy/grid_projection.h"

namespace vellandra {

/// A position in the terms of its grid: what stands in the fields in which it is typed, see `position_entry.h`.
struct PositionFields {
  PointGrid grid;
  std::optional<std::string> letters;  ///< of the square; nothing where the text leaves those in use
  std::string first, second;           ///< latitude and longitude, or easting and northing
};

/// What a text says: the fields, or why it says no position, for the person.
struct PositionReading {
  std::optional<PositionFields> fields;
  std::string problem;
};

/// Reads a whole position (UTF-8, with any typographic signs and blanks): "35.0, 26.0", "N 35 00.000 E 26 00.000",
/// "35°00'00.0"N 26°00'00.0"E", "26 E 35 N", "SH 60000 55000", "SH600550", "O159346", "33T 448251 5411932",
/// "33 south 448251 5411932", and two plain numbers as metres of the grid in use. Latitude comes first where no letters
/// say otherwise; square and figures name a south-west corner. A text that could be two positions is none: "33S" may be
/// the band or the south, unless the northing, the zone in use or `southern`, the hemisphere of the map, settles it.
/// Degrees and UTM are on the datum of `inUse`, on WGS 84 where that is one of the national grids.
PositionReading readPositionText(std::string_view text, const PointGrid& inUse, std::optional<bool> southern = {});

/// Degrees on the datum of the fields' grid; nothing where the fields cannot be read or name no place on their grid.
std::optional<Position> positionOf(const PositionFields& fields);

/// The reverse, to a centimetre; degrees as `format` has them. `position` is on the grid's datum.
PositionFields fieldsOf(const GridProjection& projection, const Position& position, DegreeFormat format);

/// The same in one line as it is shown: degrees as `positionText`, metres whole: "SH 60000 55000", "O 15904 34671",
/// "33T 448251 5411932".
std::string positionText(const GridProjection& projection, const Position& position, DegreeFormat format);

}  // namespace vellandra
