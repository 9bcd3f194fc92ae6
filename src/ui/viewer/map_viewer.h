#pragma once

#include "raster/pixel_rectangle.h"

class QWidget;

namespace vellandra {

enum class ViewerMode { calibrate, view, crop };

struct ViewerResult {
  bool recalculate = false;  ///< points were placed or changed
  PixelRectangle crop;       ///< to keep; all 0: none
};

/// Shows `mapImage`, the loaded map of the calibration, in a modal window over `parent`, and returns when it is closed.
/// In mode `calibrate` the person places points on the map; in `view` the calibrated map is shown and its points can be
/// changed; in `crop` a rectangle is drawn. Changed points are in `calibration`, each on the datum it was given on,
/// only when `recalculate` is set. Without an image nothing is shown.
ViewerResult showMapViewer(QWidget* parent, ViewerMode mode);

}  // namespace vellandra
