#pragma once

#include <optional>
#include <string>

#include "imaging/merge_sides.h"
#include "imaging/saved_map.h"
#include "raster/bitmap.h"
#include "support/numbers.h"

namespace vellandra {

/// The weight of the merge map, in per cent.
inline constexpr NumberRange mergeWeights{0, 100};

/// The two maps of a merge, each with its own calibration; images of 24 bits.
struct MergeMaps {
  MergeSides sides;
  Bitmap base, merge;
  MapFiles files;            ///< of both maps, which a merged map does not replace
  Bitmap mergeOpacity = {};  ///< of the merge map, see `opacity`
};

/// Asks for the calibrations of the base map and of the merge map and opens both with their images. Nothing when one
/// cannot be opened, which the person has been told, or the maps do not meet and the person does not go on. The map at
/// hand is then another one: see OpenMapKeeper.
std::optional<MergeMaps> openMergeMaps();

/// A map in memory that is not a file yet.
struct MergedMap {
  Calibration map;
  Bitmap image;
};

/// The base map, enlarged to `canvas` when there is one, with the merge map painted into it with the weight `t` from 0
/// to 1; it is named "$merge$". `maps` stay as they are. Empty, with the person told, when there is no memory for it.
MergedMap mergedMap(const MergeMaps& maps, const std::optional<Canvas>& canvas, float t, unsigned threads);

/// The command "Merge Maps", with every question it asks. The saved map is then the one that is open; without one
/// saved, all is as it was. Returns whether a map was saved.
bool mergeMaps();

}  // namespace vellandra
