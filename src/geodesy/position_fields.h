#pragma once

#include <optional>
#include <string>

#include "geodesy/angle_format.h"
#include "geodesy/grid_projection.h"

namespace vellandra {

/// A position in the terms of its grid: what stands in the fields in which it is typed, see `position_entry.h`.
struct PositionFields {
  PointGrid grid;
  std::optional<std::string> letters;  ///< of the square; nothing where the text leaves those in use
  std::string first, second;           ///< latitude and longitude, or easting and northing
};

/// Degrees on the datum of the fields' grid; nothing where the fields cannot be read or name no place on their grid.
std::optional<Position> positionOf(const PositionFields& fields);

/// The reverse, to a centimetre; degrees as `format` has them. `position` is on the grid's datum.
PositionFields fieldsOf(const GridProjection& projection, const Position& position, DegreeFormat format);

/// The same in one line as it is shown: degrees as `positionText`, metres whole: "SH 60000 55000", "O 15904 34671",
/// "33T 448251 5411932".
std::string positionText(const GridProjection& projection, const Position& position, DegreeFormat format);

}  // namespace vellandra
