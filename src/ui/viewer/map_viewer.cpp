#include "ui/viewer/map_viewer.h"

#include "calibration/calibration.h"
#include "calibration/unfinished.h"
#include "imaging/map_image.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/viewer/map_viewer_dialog.h"

namespace vellandra {

ViewerResult showMapViewer(QWidget* parent, ViewerMode mode) {
  if (!mapImage.bitmap) return {};
  MapViewerDialog dialog(mode, mapImage.bitmap, parent);
  const bool kept = isUnfinishedKept();
  endWorkDisplay();
  dialog.exec();
  // What was abandoned is not to come back after a crash; the calibration that stays open is.
  if (!dialog.viewerResult().recalculate) kept ? keepUnfinished(calibration) : dropUnfinished();
  return dialog.viewerResult();
}

}  // namespace vellandra
