#pragma once

#include "geodesy/point_grid.h"
#include "geodesy/position.h"

namespace vellandra {

inline constexpr const char* irishDatumName = "IRELAND 1965";

/// `grid` with the datum that its kind brings with it: new positions on the national grids have no other.
PointGrid withOwnDatum(PointGrid grid);

/// A grid with its datum looked up in the table, for converting many positions.
class GridProjection {
 public:
  /// Degrees on WGS 84 in place of a grid whose datum is not in the table.
  explicit GridProjection(const PointGrid& grid);
  const PointGrid& grid() const { return grid_; }
  bool isKnown() const { return known_; }  ///< its datum is in the table
  bool isInMetres() const { return grid_.grid != EntryGrid::degrees; }

  /// Degrees on the grid's datum to degrees on WGS 84 and back; a longitude stays within half a turn of the one given.
  Position toWgs84(Position onDatum) const;
  Position fromWgs84(Position onWgs84) const;

  /// Degrees on the grid's datum to the grid and back: full metres, on degrees the longitude as easting and the
  /// latitude as northing. UTM northings of a southern grid count from 10 000 000.
  GridPosition toGrid(const Position& onDatum) const;
  Position fromGrid(const GridPosition& metres) const;

 private:
  PointGrid grid_;
  int datumIndex_ = 0;  ///< row of the table; 0 is WGS 84
  bool known_ = true;
};

}  // namespace vellandra
