#pragma once

#include <optional>
#include <string>

#include "calibration/calibration.h"
#include "imaging/bitmap.h"

namespace vellandra {

/// Asks for the PNG file to save a map in. Asks before that file is replaced, and, with the preference "warnoverwrite"
/// on, before the ".map" beside it is. Nothing when the person cancels.
std::optional<std::string> askWhereToSave();

/// Saves `image` as PNG in `path` and its calibration `map` as ".map" beside it, and opens it as the map at hand (see
/// OpenMapKeeper for commands that leave the open map as it is). False, with the person told, the open map and both
/// files as they were, when one of them cannot be written.
bool saveAndOpen(const Bitmap& image, const Calibration& map, const std::string& path);

/// What the person typed as a percentage, if it is a number from `lowest` to `highest`.
std::optional<double> percentageFrom(const std::string& text, double lowest, double highest);

}  // namespace vellandra
