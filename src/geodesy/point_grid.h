#pragma once

#include <cstdint>
#include <string>

#include "geodesy/datum.h"

namespace vellandra {

/// In which coordinates positions are given.
enum class EntryGrid { degrees, british, irish, utm };

/// The grid of a position and the datum of its degrees. British references have a datum of their own: their degrees
/// are on WGS 84.
struct PointGrid {
  EntryGrid grid = EntryGrid::degrees;
  std::string datum = wgs84Name;  ///< trimmed name from the datum table
  std::int16_t zone = 30;         ///< of UTM
  bool southern = false;
  /// Zone and side count on UTM only.
  bool operator==(const PointGrid& other) const {
    return grid == other.grid && datum == other.datum &&
           (grid != EntryGrid::utm || (zone == other.zone && southern == other.southern));
  }
};

}  // namespace vellandra
