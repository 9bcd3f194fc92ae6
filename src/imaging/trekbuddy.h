#pragma once

namespace vellandra {

/// Cuts the open map into PNG tiles of the preferred size for TrekBuddy: "area_tiles/set" with the tiles,
/// "area_tiles/area.set" with their names and "area_tiles/area.map" with the calibration, beside the image "area.png".
/// Files that are there are replaced. False, with the person told, when it stops; what is written by then stays. Throws
/// InvalidArgument for a tile side below 1 and Overflow for an image past 32767 pixels, before anything is written.
bool WriteTrekBuddyTiles();

}  // namespace vellandra
