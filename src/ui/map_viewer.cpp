#include "ui/map_viewer.h"

namespace vellandra {

ViewerResult showMapViewer(QWidget*, ViewerMode) {
  return {};
}

}  // namespace vellandra
