#pragma once

#include <string>

#include "imaging/tile_grid.h"

namespace vellandra {

/// Where a tile lies, as KML has it: a box of latitudes and longitudes in degrees, turned about its middle by
/// `rotation` degrees counterclockwise.
struct OverlayBox {
  double north, south, east, west, rotation;
};

/// How far the open map is turned counterclockwise, in degrees from -180 to 180, from the longitude terms of its
/// transform.
double mapRotation();

/// The box of a tile of the open map. Its height and width are those of the tile's right and top edge. Exact where a
/// pixel is as high as wide on the ground, and of one height all over the tile. Longitudes are within 180 degrees but
/// for a tile across them.
OverlayBox overlayBox(const Tile& tile, double rotation);

/// How far the corners of the turned box, the middles of its edges and its own are from the tile's, at most, in pixels
/// of the open map. The turn is taken on the ground: a degree of longitude is shorter than one of latitude by the
/// cosine of the latitude. Infinite when one of them falls off the earth.
double placementError(const Tile& tile, const OverlayBox& box);

/// The document: its head for the map `base`, the overlay of the tile file "files/NAME.jpg", and its end. Names are
/// bytes as on disk. Lines end with CR LF.
std::string kmlHead(const std::string& base);
std::string kmlOverlay(const std::string& name, const OverlayBox& box);
std::string kmlEnd();

}  // namespace vellandra
