#pragma once

namespace vellandra {

/// Makes a Garmin Custom Map of the open map: "area_tiles/files" with JPEG tiles, "area_tiles/doc.kml" that places
/// them, beside the image "area.png", and, when the 7-Zip program is known, starts it to pack both into "area.kmz".
/// Tiles have the preferred size, or, with the advanced preference, what the person chooses in "Garmin Tile controls";
/// an image smaller than a tile is one tile. What devices make of such tiles is told on the panel. Files that are there
/// are replaced. False when the person closes the dialog or, told why, when it stops; what is written by then stays.
/// Throws InvalidArgument for a tile side below 1 and SubscriptOutOfRange for more than 1000 tiles, before anything is
/// written.
bool WriteGarminCustomMap();

}  // namespace vellandra
