#pragma once

#include <string>

#include "calibration/format_row.h"

namespace vellandra {

/// OziExplorer ".map", version 2.2: numbered lines, fields parted by commas.
/// Reads `path` into `calibration`: up to 30 tie points in degrees and minutes or on a grid, map corners, image name
/// and size, projection. Positions are on the file's datum, or on WGS 84 when a point is on the British grid. Throws
/// SubscriptOutOfRange for a tie point past 30 or a corner outside 1 to 20, Overflow for a pixel past 32 bits or a size
/// past 16.
ReadResult readMap(const std::string& path);

/// Writes the calibration as ".map", always in WGS 84 degrees and minutes.
WriteOutcome writeMap(const std::string& stem);

/// The same into `folder`, named after the image, without a question.
WriteOutcome putmap(const std::string& folder);

/// The ".map" beside an image: its folder and base name.
std::string mapPathBeside(const std::string& imagePath);

/// The calibration as the content of the ".map" beside `imagePath`, for that image.
std::string mapContentBeside(const std::string& imagePath);

}  // namespace vellandra
