#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "geodesy/position_fields.h"

namespace vellandra {

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

}  // namespace vellandra
