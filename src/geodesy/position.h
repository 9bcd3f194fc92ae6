#pragma once

namespace vellandra {

/// A place on the earth, decimal degrees, north and east positive.
struct Position {
  double latitude = 0, longitude = 0;
};

/// A place on a grid, metres.
struct GridPosition {
  double easting = 0, northing = 0;
};

}  // namespace vellandra
