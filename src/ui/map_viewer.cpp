#include "ui/map_viewer.h"

#include "calibration/calibration.h"
#include "imaging/map_image.h"
#include "support/user_interface.h"
#include "ui/map_viewer_dialog.h"

namespace vellandra {
namespace {

/// The hourglass, also while an error makes its way out.
struct Busy {
  Busy() { userInterface().showBusy(true); }
  ~Busy() { userInterface().showBusy(false); }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
};

bool imageIsLoaded() {
  if (mapImage.path != calibration.imagePath && calibration.imagePath != "clip.board") {
    const Busy busy;
    if (!loadMapImage(calibration.imagePath)) return false;
  }
  return static_cast<bool>(mapImage.bitmap);
}

}  // namespace

ViewerResult showMapViewer(QWidget* parent, ViewerMode mode) {
  if (!imageIsLoaded()) return {};
  MapViewerDialog dialog(mode, mapImage.bitmap, parent);
  dialog.exec();
  return dialog.viewerResult();
}

}  // namespace vellandra
