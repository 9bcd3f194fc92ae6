#pragma once

class QWidget;

namespace vellandra {

enum class ViewerMode { calibrate, view, crop };

struct ViewerResult {
  bool recalculate = false;                                      ///< points were placed or changed
  int cropLeft = 0, cropTop = 0, cropRight = 0, cropBottom = 0;  ///< right and bottom exclusive; all 0: none
};

/// Shows the map on show (`mapImage`) and the points of `calibration` in a modal window over `parent`.
ViewerResult showMapViewer(QWidget* parent, ViewerMode mode);

}  // namespace vellandra
