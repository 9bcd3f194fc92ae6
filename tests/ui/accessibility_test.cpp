#include <QAbstractItemView>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>

#include "imaging/tile_grid.h"
#include "ui/adjust_point.h"
#include "ui/map_viewer_dialog.h"
#include "ui/match_dialog.h"
#include "ui/merge_dialog.h"
#include "ui/tfw_dialog.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

/// A widget that Qt made for one of its own.
bool isInside(const QWidget* widget) {
  for (const QWidget* over = widget->parentWidget(); over != nullptr; over = over->parentWidget()) {
    if (over->inherits("QAbstractSpinBox") || over->inherits("QComboBox") || over->inherits("QAbstractItemView")) {
      return true;
    }
  }
  return false;
}

void expectNames(const QWidget& window) {
  int fields = 0;
  for (QWidget* field : window.findChildren<QWidget*>()) {
    if (!(field->focusPolicy() & Qt::TabFocus) || isInside(field) || field->inherits("QSplitterHandle")) continue;
    ++fields;
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(field)->text(QAccessible::Name).isEmpty())
        << window.windowTitle().toStdString() << ": " << field->metaObject()->className() << " "
        << field->objectName().toStdString();
  }
  EXPECT_GT(fields, 0) << window.windowTitle().toStdString();
}

TEST_F(WindowTest, EveryFieldSaysWhatItIsForAndIsReachedByTab) {
  openWales();
  LoadDatums();
  expectNames(*window);
  const auto look = [](QDialog* dialog) {
    expectNames(*dialog);
    dialog->reject();
  };
  for (const char* command : {"mnupref", "mnurs"}) {
    someone.use(look);
    choose(command);
  }
  someone.answer("openReadme");
  someone.use(look);
  choose("mnuhelphelp");
  GarminTileControls controls{520, 600, {200, 200}};
  someone.use(look);
  interface->askGarminTiles(controls);
  expectNames(MatchDialog(window.get(), "Choose to match : X", {"WGS 84"}));
  expectNames(TfwDialog(window.get(), "1\r\n", {" 1 : 174-180W", "GB-OrdSvy"}));
  expectNames(MergeDialog(window.get()));
  expectNames(AdjustPointDialog(1, window.get()));
  expectNames(CalibrationSettingsDialog({}, window.get()));
  ASSERT_TRUE(loadMapImage(calibration.imagePath));
  for (const ViewerMode mode : {ViewerMode::calibrate, ViewerMode::view, ViewerMode::crop}) {
    expectNames(MapViewerDialog(mode, mapImage.bitmap, window.get()));
  }
}

}  // namespace
}  // namespace vellandra
