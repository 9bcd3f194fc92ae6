#pragma once

#include <QListWidget>
#include <QMouseEvent>
#include <QRadioButton>
#include <QSpinBox>
#include <QWheelEvent>
#include <algorithm>

#include "ui/dialogs/adjust_point.h"
#include "ui/dialogs/go_to_dialog.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/viewer/point_entry.h"
#include "ui/viewer/point_list.h"
#include "ui/window_fixture.h"

namespace vellandra {

/// The viewer over a plain map of 900 x 700 pixels, worked with mouse and keys. Message boxes go to `person`.
class MapViewerTest : public UiTest {
 protected:
  MapViewerTest() {
    LoadDatums();
    makeImage("area.png", 900, 700);
    loadMapImage(folder + "area.png");
    openMap();
  }
  void openMap() const {
    calibration = Calibration();
    driver = Driver();
    calibration.imagePath = folder + "area.png";
    calibration.imageWidth = 900;
    calibration.imageHeight = 700;
    splitInputPath(calibration.imagePath);
  }

  /// Points at pixels 100 and 800 across, in `count` / 2 rows; exact but for four pixels in the third.
  static void givePoints(int count) {
    calibration.pointCount = static_cast<std::int16_t>(count);
    for (int i = 1; i <= count; ++i) {
      const int x = i % 2 == 0 ? 800 : 100, y = 100 + 1000 / (count - 2) * ((i - 1) / 2);
      calibration.points[i].setPixel(x + (i == 3 ? 4 : 0), y);
      calibration.points[i].setPosition(50 - y / 1000.0, 10 + x / 1000.0);
      calibration.points[i].datumName = "WGS 84";
    }
  }

  void open(ViewerMode mode) {
    viewer = std::make_unique<MapViewerDialog>(mode, mapImage.bitmap, nullptr);
    viewer->show();
    QApplication::processEvents();
    canvas = viewer->canvas();
    canvas->full();
  }

  /// Does `work` with the next modal dialog of this kind.
  template <typename Dialog>
  void next(std::function<void(Dialog&)> work) {
    QTimer::singleShot(2, viewer.get(), [this, work] {
      auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
      dialog != nullptr ? work(*dialog) : next<Dialog>(work);
    });
  }

  void press(const char* button) const { buttonOf(viewer.get(), button)->click(); }
  QPushButton* instruction() const { return buttonOf(viewer.get(), "instruction"); }
  std::string asked() const { return instruction()->text().toStdString(); }
  PointEntry* entry() const { return viewer->findChild<PointEntry*>(); }
  QLineEdit* field(const char* name) const {
    for (auto* edit : entry()->findChildren<QLineEdit*>()) {
      if (edit->accessibleName() == name && edit->isVisible()) return edit;
    }
    throw std::runtime_error(std::string("there is no field ") + name);
  }
  std::size_t points() const { return viewer->session().points().size(); }
  const TiePoint& point(std::size_t number) const { return viewer->session().points().at(number - 1); }
  double residual(std::size_t number) const { return viewer->session().fit().residuals.pixels.at(number - 1); }
  bool waits() const { return viewer->session().waiting().has_value(); }
  bool says(const char* text) const {
    const QList<QLabel*> labels = viewer->findChildren<QLabel*>();
    return std::ranges::any_of(labels, [text](const QLabel* label) { return label->text().contains(text); });
  }
  PointList* list() const { return viewer->findChild<PointList*>(); }
  void choosePoint(int number) const { list()->setCurrentItem(list()->topLevelItem(number - 1)); }
  /// By its tick in the list, which stands in the order of entry.
  void switchPoint(int number) const {
    QTreeWidgetItem* item = list()->topLevelItem(number - 1);
    item->setCheckState(0, item->checkState(0) == Qt::Checked ? Qt::Unchecked : Qt::Checked);
  }
  /// Numbers of the points from the top of the list on, with "-" behind those that are off.
  std::string listed() const {
    std::string numbers;
    for (int row = 0; row < list()->topLevelItemCount(); ++row) {
      const QTreeWidgetItem* item = list()->topLevelItem(row);
      numbers += item->text(0).toStdString() + (item->checkState(0) == Qt::Checked ? " " : "- ");
    }
    return numbers;
  }
  std::string cell(int number, const char* heading) const {
    int column = 0;
    while (!list()->headerItem()->text(column).startsWith(heading)) ++column;
    return list()->topLevelItem(number - 1)->text(column).toStdString();
  }

  /// The middle of a pixel in the canvas.
  QPointF place(int x, int y) const {
    const ViewPoint at = canvas->view().toWindow(x + 0.5, y + 0.5);
    return {at.x, at.y};
  }
  void mouse(QEvent::Type type, QPointF at) const {
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, canvas->mapToGlobal(at), Qt::LeftButton, held, {});
    QApplication::sendEvent(canvas, &event);
  }
  void drag(QPointF from, QPointF to) const {
    mouse(QEvent::MouseButtonPress, from);
    mouse(QEvent::MouseMove, (from + to) / 2);
    mouse(QEvent::MouseMove, to);
    mouse(QEvent::MouseButtonRelease, to);
  }
  void click(int x, int y) {
    canvas->centreOnPixel(x, y);
    drag(place(x, y), place(x, y));
  }
  void start(std::function<void(CalibrationSettingsDialog&)> choose = {}) {
    next<CalibrationSettingsDialog>([choose](CalibrationSettingsDialog& dialog) {
      if (choose) choose(dialog);
      dialog.accept();
    });
    instruction()->click();
  }
  void fill(const char* first, const char* firstText, const char* second, const char* secondText) const {
    field(first)->setText(firstText);
    field(second)->setText(secondText);
    QTest::keyClick(field(second), Qt::Key_Return);
  }
  void give(int x, int y, const char* latitude, const char* longitude) {
    click(x, y);
    fill("Latitude", latitude, "Longitude", longitude);
  }

  std::unique_ptr<MapViewerDialog> viewer;
  MapCanvas* canvas = nullptr;
};

}  // namespace vellandra
