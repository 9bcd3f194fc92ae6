#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "geodesy/position_text.h"
#include "ui/viewer/map_viewer_session.h"

namespace vellandra {

/// The position of a point in degrees on the datum on which it was given.
Position positionAsGiven(const TiePoint& point);

/// The position in the grid in which it was given: as the fields of the entry, and as it is shown.
PositionFields fieldsOf(const TiePoint& point);
QString shownInItsGrid(const TiePoint& point);

/// The grid in which most points were given, the first of equals; `otherwise` when there are none.
PointGrid gridOfMost(const std::vector<TiePoint>& points, const PointGrid& otherwise);

/// Kind and datum of a grid for a heading: "Latitude, longitude" or "UTM", and "WGS 84".
struct GridName {
  QString kind, datum;
};
GridName nameOf(const PointGrid& grid);

}  // namespace vellandra
