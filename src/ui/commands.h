#pragma once

#include <functional>
#include <string>

#include "ui/viewer/map_viewer.h"

namespace vellandra {

// The commands of the main window, under the names of their menu entries. Each is run by `runCommand`; true when it
// went through to its end.

/// How a command shows the map.
using Viewer = std::function<ViewerResult(ViewerMode)>;

/// Open Calibration. `path`, when given, takes the place of the file dialog.
bool mnufo(const std::string& path = "");

/// Load map for calibration: an image, then points placed in the viewer. `path` as above.
bool mnulm(const Viewer& viewer, const std::string& path = "");

/// Load image from clipboard: its points come from the clipboard's text or from the viewer.
bool mnulic(const Viewer& viewer);

/// Offers to go on with what a program that has come to no proper end had kept of its calibration; see
/// `calibration/unfinished.h`. To be called once, at the start.
bool goOnWithUnfinished(const Viewer& viewer);

/// Write Calibrations.
bool mnuwc();

/// Write map as Trekbuddy tiles, Write Garmin Custom Map.
bool mnuwmt();
bool mwgcm();

/// View Calibrated Map; fits again when points were changed.
bool mnuvc(const Viewer& viewer);

/// About.
bool mnuabout();

/// Loads the image of the open calibration as the map on show, unless its file is there already as it is now. False,
/// with the person told, when it cannot be loaded or is not of the size that the calibration is for.
bool showOpenMap();

}  // namespace vellandra
