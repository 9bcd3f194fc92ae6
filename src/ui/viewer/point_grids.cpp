#include "ui/viewer/point_grids.h"

#include <algorithm>

#include "calibration/preferences.h"
#include "support/errors.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {

Position positionAsGiven(const TiePoint& point) {
  const Position position{point.latitude, point.longitude};
  if (point.datum == point.grid.datum) return position;
  return GridProjection(point.grid).fromWgs84(GridProjection({.datum = point.datum}).toWgs84(position));
}

PositionFields fieldsOf(const TiePoint& point) {
  return fieldsOf(GridProjection(point.grid), positionAsGiven(point), DegreeFormat(preferences.degreeFormat));
}

QString shownInItsGrid(const TiePoint& point) {
  const GridProjection projection(point.grid);
  const bool isShift = point.grid.grid != EntryGrid::degrees || point.datum != point.grid.datum;
  if (isShift && !projection.isKnown()) return "unable to match " + shown(point.grid.datum);
  try {
    return shown(positionText(projection, positionAsGiven(point), DegreeFormat(preferences.degreeFormat)));
  } catch (const RunTimeError&) {
    return {};
  }
}

PointGrid gridOfMost(const std::vector<TiePoint>& points, const PointGrid& otherwise) {
  PointGrid most = otherwise;
  std::ptrdiff_t number = 0;
  for (const TiePoint& point : points) {
    const auto same = std::ranges::count(points, point.grid, &TiePoint::grid);
    if (same > number) {
      number = same;
      most = point.grid;
    }
  }
  return most;
}

GridName nameOf(const PointGrid& grid) {
  switch (grid.grid) {
    case EntryGrid::degrees:
      return {"Latitude, longitude", shown(grid.datum)};
    case EntryGrid::british:
      return {"British national grid", ""};
    case EntryGrid::irish:
      return {"Irish grid", shown(grid.datum)};
    case EntryGrid::utm:
      return {"UTM", shown(grid.datum)};
  }
  return {};
}

}  // namespace vellandra
