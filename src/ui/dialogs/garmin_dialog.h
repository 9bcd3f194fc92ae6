#pragma once

#include "imaging/tile_controls.h"
#include "support/user_interface.h"

class QWidget;

namespace vellandra {

/// "Garmin Tile controls": the counts of tiles, and a tick or a cross on every tile of `map`, the whole map scaled
/// down. A tile is toggled by a click, or by the arrow keys and the space bar. OK confirms `controls`.
void showGarminTileControls(QWidget* parent, const Picture& map, TileControls& controls);

}  // namespace vellandra
