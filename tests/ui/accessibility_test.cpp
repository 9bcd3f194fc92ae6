#include <QAccessible>
#include <QScreen>
#include <set>

#include "imaging/tile_grid.h"
#include "ui/dialogs/adjust_point.h"
#include "ui/dialogs/match_dialog.h"
#include "ui/dialogs/merge_dialog.h"
#include "ui/dialogs/tfw_dialog.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/viewer/point_entry.h"
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

/// Every field has a name; no two fields, and no two entries of a menu, share a key.
void expectNames(const QWidget& window) {
  const std::string title = window.windowTitle().toStdString();
  int fields = 0;
  for (QWidget* field : window.findChildren<QWidget*>()) {
    if (!(field->focusPolicy() & Qt::TabFocus) || isInside(field) || field->inherits("QSplitterHandle")) continue;
    ++fields;
    EXPECT_FALSE(QAccessible::queryAccessibleInterface(field)->text(QAccessible::Name).isEmpty())
        << title << ": " << field->metaObject()->className() << " " << field->objectName().toStdString();
  }
  const auto expectOwn = [&](std::set<QKeySequence>& keys, const QString& text) {
    const QKeySequence key = QKeySequence::mnemonic(text);
    EXPECT_TRUE(key.isEmpty() || keys.insert(key).second) << title << ": twice " << key.toString().toStdString();
  };
  std::set<QKeySequence> keys;
  for (QWidget* named : window.findChildren<QWidget*>()) {
    std::set<QKeySequence> keysOfMenu;
    for (const QAction* entry : named->actions()) expectOwn(keysOfMenu, entry->text());
    const auto* label = qobject_cast<const QLabel*>(named);
    const bool given = named->isVisibleTo(&window) && (label == nullptr || label->buddy() != nullptr);
    if (given) expectOwn(keys, named->property("text").toString());
  }
  EXPECT_GT(fields, 0) << title;
}

TEST_F(WindowTest, EveryFieldSaysWhatItIsForAndHasItsOwnKey) {
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
    const MapViewerDialog viewer(mode, mapImage.bitmap, window.get());
    expectNames(viewer);
    EXPECT_LE(viewer.minimumSizeHint().width(), viewer.screen()->availableSize().width());
    for (const EntryGrid grid : {EntryGrid::degrees, EntryGrid::british, EntryGrid::irish, EntryGrid::utm}) {
      auto* entry = viewer.findChild<PointEntry*>();
      if (entry == nullptr) continue;
      entry->setSettings({grid, "WGS 84", 30, false});
      entry->show();
      expectNames(viewer);
    }
  }
}

}  // namespace
}  // namespace vellandra
