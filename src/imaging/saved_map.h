#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "raster/bitmap.h"

namespace vellandra {

/// Images and calibrations of maps that a command works with.
using MapFiles = std::vector<std::string>;

/// Asks for the PNG file to save a map in. Asks before that file is replaced, and, with the preference "warnoverwrite"
/// on, before the ".map" beside it is. Nothing when the person cancels, or, with the person told, when one of the two
/// is among `inUse`. The first of those is the image that the copy is named after.
std::optional<std::string> askWhereToSave(const MapFiles& inUse);

/// Saves `image` as PNG in `path` and its calibration `map` as ".map" beside it, and opens it as the map at hand (see
/// OpenMapKeeper for commands that leave the open map as it is). Other calibrations of a picture that is replaced are
/// named on the panel. False, with the person told, the open map and both files as they were, when one of them cannot
/// be written.
bool saveAndOpen(const Bitmap& image, const Calibration& map, const std::string& path);

}  // namespace vellandra
