#include "ui/viewer/map_viewer.h"

#include "imaging/map_image.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/viewer/map_viewer_dialog.h"

namespace vellandra {

ViewerResult showMapViewer(QWidget* parent, ViewerMode mode) {
  if (!mapImage.bitmap) return {};
  MapViewerDialog dialog(mode, mapImage.bitmap, parent);
  endWorkDisplay();
  dialog.exec();
  return dialog.viewerResult();
}

}  // namespace vellandra
