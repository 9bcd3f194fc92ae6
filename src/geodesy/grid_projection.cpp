#include "geodesy/grid_projection.h"

#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
#include "geodesy/utm.h"

namespace vellandra {

PointGrid withOwnDatum(PointGrid grid) {
  if (grid.grid == EntryGrid::british) grid.datum = wgs84Name;
  if (grid.grid == EntryGrid::irish) grid.datum = irishDatumName;
  return grid;
}

GridProjection::GridProjection(const PointGrid& grid) : grid_(grid) {
  if (grid_.datum == wgs84Name) return;
  datumIndex_ = findDatumByName(datumColumnName(grid_.datum));
  if (datumIndex_ != 0) return;
  known_ = false;
  grid_ = PointGrid();
}

Position GridProjection::toWgs84(Position position) const {
  shiftToWgs84(datumIndex_, position.latitude, position.longitude);
  return position;
}

Position GridProjection::fromWgs84(Position position) const {
  shiftFromWgs84(datumIndex_, position.latitude, position.longitude);
  return position;
}

GridPosition GridProjection::toGrid(const Position& position) const {
  GridPosition metres;
  const auto index = static_cast<std::size_t>(datumIndex_);
  switch (grid_.grid) {
    case EntryGrid::degrees:
      return {position.longitude, position.latitude};
    case EntryGrid::british:
      latLongToOsMetres(position.latitude, position.longitude, metres.easting, metres.northing);
      break;
    case EntryGrid::irish:
      latLongToIrishMetres(position.latitude, position.longitude, metres.easting, metres.northing);
      break;
    case EntryGrid::utm:
      latLongToUtmMetres(grid_.zone, datumTable.dA[index], datumTable.dF[index], position.latitude, position.longitude,
                         metres.easting, metres.northing);
      if (grid_.southern) metres.northing += southernFalseNorthing;
      break;
  }
  return metres;
}

Position GridProjection::fromGrid(const GridPosition& metres) const {
  Position position;
  const auto index = static_cast<std::size_t>(datumIndex_);
  switch (grid_.grid) {
    case EntryGrid::degrees:
      return {metres.northing, metres.easting};
    case EntryGrid::british:
      OsGridToLatLong("SV", metres.northing, metres.easting, position.latitude, position.longitude);
      break;
    case EntryGrid::irish:
      IrishGridToLatLong("V", metres.easting, metres.northing, position.latitude, position.longitude);
      break;
    case EntryGrid::utm:
      UtmToLatLong(grid_.zone, metres.northing - (grid_.southern ? southernFalseNorthing : 0), metres.easting,
                   datumTable.dA[index], datumTable.dF[index], position.latitude, position.longitude);
      break;
  }
  return position;
}

}  // namespace vellandra
