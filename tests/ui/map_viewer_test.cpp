#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>
#include <QWheelEvent>
#include <map>

#include "core_fixture.h"
#include "ui/adjust_point.h"
#include "ui/calibration_settings.h"
#include "ui/map_canvas.h"
#include "ui/map_viewer_dialog.h"
#include "ui/point_entry.h"

namespace vellandra {
namespace {

constexpr int mapWidth = 900, mapHeight = 700;

/// The viewer over a plain map of 900 x 700 pixels, worked with mouse and keys.
class MapViewerTest : public CoreTest {
 protected:
  MapViewerTest() {
    LoadDatums();
    makeImage("area.png", mapWidth, mapHeight);
    loadMapImage(folder + "area.png");
    calibration.imagePath = folder + "area.png";
    calibration.imageWidth = mapWidth;
    calibration.imageHeight = mapHeight;
    splitInputPath(calibration.imagePath);
  }

  /// Four points, exact but for one pixel in the third.
  static void giveFourPoints() {
    calibration.pointCount = 4;
    for (int i = 1; i <= 4; ++i) {
      const int x = i % 2 == 0 ? 800 : 100, y = i > 2 ? 600 : 100;
      calibration.setPixel(i, x + (i == 3 ? 4 : 0), y);
      calibration.setPosition(i, 50 - y / 1000.0, 10 + x / 1000.0);
      calibration.datumName[i] = "WGS 84";
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

  QPushButton* button(const char* text) const {
    for (auto* candidate : viewer->findChildren<QPushButton*>()) {
      if (candidate->text().remove('&') == text) return candidate;
    }
    ADD_FAILURE() << "no button " << text;
    return nullptr;
  }
  QPushButton* instruction() const { return viewer->findChild<QPushButton*>("instruction"); }
  std::string asked() const { return instruction()->text().toStdString(); }
  PointEntry* entry() const { return viewer->findChild<PointEntry*>(); }
  QLineEdit* field(const char* name) const {
    for (auto* edit : entry()->findChildren<QLineEdit*>()) {
      if (edit->accessibleName() == name && edit->isVisible()) return edit;
    }
    ADD_FAILURE() << "no field " << name;
    return nullptr;
  }
  std::size_t points() const { return viewer->session().points().size(); }
  const TiePoint& point(std::size_t number) const { return viewer->session().points().at(number - 1); }
  QTreeWidget* list() const { return viewer->findChild<QTreeWidget*>(); }

  QPoint place(int x, int y) const {
    const ViewPoint at = canvas->view().toWindow(x + 0.5, y + 0.5);
    return {static_cast<int>(at.x), static_cast<int>(at.y)};
  }
  void click(int x, int y) {
    canvas->centreOnPixel(x, y);
    QTest::mouseClick(canvas, Qt::LeftButton, {}, place(x, y));
  }
  void drag(QPoint from, QPoint to) const {
    QTest::mousePress(canvas, Qt::LeftButton, {}, from);
    QTest::mouseMove(canvas, (from + to) / 2);
    QTest::mouseMove(canvas, to);
    QTest::mouseRelease(canvas, Qt::LeftButton, {}, to);
  }
  void start(std::function<void(CalibrationSettingsDialog&)> choose = {}) {
    next<CalibrationSettingsDialog>([choose](CalibrationSettingsDialog& dialog) {
      if (choose) choose(dialog);
      dialog.accept();
    });
    instruction()->click();
  }
  void give(int x, int y, const char* latitude, const char* longitude) {
    click(x, y);
    field("Latitude")->setText(latitude);
    field("Longitude")->setText(longitude);
    QTest::keyClick(field("Longitude"), Qt::Key_Return);
  }

  std::unique_ptr<MapViewerDialog> viewer;
  MapCanvas* canvas = nullptr;
};

TEST_F(MapViewerTest, InstructionLeadsFromStartToFinish) {
  open(ViewerMode::calibrate);
  EXPECT_EQ(asked(), "Click here to start calibrating");
  click(100, 100);
  EXPECT_TRUE(entry()->isHidden()) << "nothing is placed before the start";

  next<CalibrationSettingsDialog>([](CalibrationSettingsDialog& dialog) { dialog.reject(); });
  instruction()->click();
  EXPECT_EQ(asked(), "Click here to start calibrating");
  start();
  EXPECT_EQ(asked(), "Click on the map to calibrate");
  give(100, 100, "49.9", "10.1");
  EXPECT_EQ(points(), 1U);
  EXPECT_EQ(asked(), "Click on the map to calibrate");
  give(800, 600, "49 24 N", "10 48 0 E");
  EXPECT_EQ(asked(), "Click here to finish");
  EXPECT_EQ(list()->topLevelItemCount(), 2);
  EXPECT_TRUE(viewer->session().fit().valid);
  EXPECT_EQ(calibration.pointCount, 0) << "the record is left alone until the end";

  instruction()->click();
  EXPECT_FALSE(viewer->isVisible());
  EXPECT_TRUE(viewer->viewerResult().recalculate);
  ASSERT_EQ(calibration.pointCount, 2);
  EXPECT_EQ(calibration.pixelX[2], 800);
  EXPECT_DOUBLE_EQ(calibration.latitude[2], 49.4);
  EXPECT_EQ(calibration.datumName[1], "WGS 84");
  EXPECT_TRUE(person.boxes.empty());
}

TEST_F(MapViewerTest, MarkWaitsOnItsPlaceWhileTheMapMoves) {
  open(ViewerMode::calibrate);
  start();
  click(300, 200);
  field("Latitude")->setText("49.5");
  const QPoint before = place(300, 200);
  drag({40, 40}, {90, 70});
  QWheelEvent wheel(QPointF(100, 100), canvas->mapToGlobal(QPointF(100, 100)), {}, {0, 240}, {}, {}, {}, false);
  QApplication::sendEvent(canvas, &wheel);
  EXPECT_NE(place(300, 200), before);
  const auto waiting = viewer->session().waiting();
  ASSERT_TRUE(waiting);
  EXPECT_EQ(waiting->x, 300);
  EXPECT_EQ(field("Latitude")->text(), "49.5") << "what was typed stays";
  click(310, 220);
  EXPECT_EQ(viewer->session().waiting()->x, 310) << "another click moves the mark";
  field("Longitude")->setText("10");
  QTest::keyClick(field("Longitude"), Qt::Key_Return);
  ASSERT_EQ(points(), 1U);
  EXPECT_EQ(point(1).y, 220);
}

TEST_F(MapViewerTest, EntryGivesItsReasonAndTakesOnlyWhatIsRight) {
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { dialog.findChildren<QRadioButton*>().at(1)->setChecked(true); });
  click(100, 100);
  field("Letters")->setText("tq");
  field("Easting (metres)")->setText("3x");
  field("Northing (metres)")->setText("80000");
  EXPECT_EQ(field("Easting (metres)")->accessibleDescription(), "metres are needed");
  EXPECT_FALSE(button("Place point")->isEnabled());
  QTest::keyClick(field("Northing (metres)"), Qt::Key_Return);
  EXPECT_EQ(points(), 0U);

  field("Easting (metres)")->setText("30000");
  field("Letters")->setText("ZZ");
  button("Place point")->click();
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"Invalid grid reference"});
  EXPECT_EQ(points(), 0U);
  field("Letters")->setText("tq");
  button("Place point")->click();
  ASSERT_EQ(points(), 1U);
  EXPECT_NEAR(point(1).latitude, 51.5048, 1e-3);
  EXPECT_EQ(point(1).datum, "WGS 84");
}

TEST_F(MapViewerTest, DatumAndZoneComeFromTheSettings) {
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) {
    dialog.findChildren<QRadioButton*>().at(2)->setChecked(true);
    dialog.findChild<QSpinBox*>()->setValue(33);
    auto* datums = dialog.findChild<QListWidget*>();
    dialog.findChild<QLineEdit*>()->setText("european 1979");
    EXPECT_EQ(datums->currentItem()->text(), "EUROPEAN 1979");
    dialog.findChild<QLineEdit*>()->setText("no such datum");
    EXPECT_EQ(datums->currentItem(), nullptr);
    dialog.findChild<QLineEdit*>()->setText("european 1979");
  });
  click(100, 100);
  field("Easting (metres)")->setText("600000");
  field("Northing (metres)")->setText("6000000");
  button("Place point")->click();
  ASSERT_EQ(points(), 1U);
  EXPECT_EQ(point(1).datum, "EUROPEAN 1979");
  EXPECT_NEAR(point(1).longitude, 16.5, 0.2) << "zone 33 lies about 15 E";
}

TEST_F(MapViewerTest, GrabbedPointTakesItsResidualAlongAndComesBack) {
  giveFourPoints();
  open(ViewerMode::view);
  canvas->centreOnPixel(104, 600);
  const double before = viewer->session().fit().residuals.at(2);
  next<AdjustPointDialog>([](AdjustPointDialog& dialog) { dialog.reject(); });
  drag(place(104, 600) + QPoint(6, 6), place(104, 600) + QPoint(6, 6) + QPoint(-4, 0));
  EXPECT_EQ(point(3).x, 104) << "a twitch is a click, no drag";
  EXPECT_TRUE(person.boxes.empty());
  drag(place(104, 600) + QPoint(6, 6), place(104, 600) + QPoint(36, 26));
  EXPECT_EQ(point(3).x, 134);
  EXPECT_EQ(point(3).y, 620);
  EXPECT_GT(viewer->session().fit().residuals.at(2), before + 1);
  EXPECT_NE(list()->topLevelItem(2)->text(3), QString::number(before, 'f', 2));
  QTest::keyClick(canvas, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(point(3).x, 104) << "one drag is one step";
  EXPECT_FALSE(viewer->session().changed());

  canvas->centreOnPixel(450, 350);
  const QPoint beside = place(450, 350);
  drag(beside, beside + QPoint(30, 0));
  EXPECT_FALSE(viewer->session().changed()) << "beside a mark the map is dragged";
}

TEST_F(MapViewerTest, AdjustDialogMovesDeletesAndTakesBack) {
  giveFourPoints();
  open(ViewerMode::view);
  const auto press = [](AdjustPointDialog& dialog, const char* text) {
    for (auto* candidate : dialog.findChildren<QPushButton*>()) {
      if (candidate->text().remove('&') == text) candidate->click();
    }
  };
  next<AdjustPointDialog>([&](AdjustPointDialog& dialog) {
    EXPECT_EQ(dialog.windowTitle(), "Adjust calibration Point");
    for (const char* way : {"Left", "Left", "Up", "Down", "Down", "Right"}) press(dialog, way);
    QTest::keyClick(&dialog, Qt::Key_Down);
    press(dialog, "OK");
  });
  click(104, 600);
  EXPECT_EQ(point(3).x, 103);
  EXPECT_EQ(point(3).y, 602);
  next<AdjustPointDialog>([&](AdjustPointDialog& dialog) {
    press(dialog, "Right");
    press(dialog, "Cancel");
  });
  click(103, 602);
  EXPECT_EQ(point(3).x, 103) << "Cancel takes its own moves back and no others";
  next<AdjustPointDialog>([&](AdjustPointDialog& dialog) { press(dialog, "Delete"); });
  click(103, 602);
  EXPECT_EQ(points(), 3U);
  button("Undo")->click();
  EXPECT_EQ(points(), 4U);
  EXPECT_EQ(point(3).y, 602);
}

TEST_F(MapViewerTest, ClosingAsksBeforePointsAreLost) {
  open(ViewerMode::calibrate);
  start();
  give(100, 100, "49.9", "10.1");
  QTest::keyClick(canvas, Qt::Key_Escape);
  ASSERT_TRUE(viewer->isVisible()) << "no answer keeps the points";
  viewer->close();
  EXPECT_TRUE(viewer->isVisible());
  EXPECT_EQ(person.boxes.size(), 2U);
  EXPECT_EQ(person.boxes.back().text, "Points not kept : OK to abandon them else cancel");

  click(500, 500);
  field("Latitude")->setText("1");
  QTest::keyClick(field("Latitude"), Qt::Key_Escape);
  EXPECT_TRUE(viewer->session().waiting().has_value()) << "typed coordinates are not dropped unasked";
  EXPECT_EQ(person.boxes.back().text, "Coordinates not used : OK to leave them out else cancel");
  person.boxAnswers = {Answer::ok, Answer::ok};
  QTest::keyClick(field("Latitude"), Qt::Key_Escape);
  EXPECT_FALSE(viewer->session().waiting().has_value());
  QTest::keyClick(canvas, Qt::Key_Escape);
  EXPECT_FALSE(viewer->isVisible());
  EXPECT_FALSE(viewer->viewerResult().recalculate);
  EXPECT_EQ(calibration.pointCount, 0);
}

TEST_F(MapViewerTest, UnchangedMapClosesWithoutAQuestion) {
  giveFourPoints();
  calibration.cornerCount = 4;
  open(ViewerMode::view);
  QTest::keyClick(canvas, Qt::Key_Escape);
  EXPECT_FALSE(viewer->isVisible());
  EXPECT_FALSE(viewer->viewerResult().recalculate);
  EXPECT_EQ(calibration.cornerCount, 4);
  EXPECT_TRUE(person.boxes.empty());
}

TEST_F(MapViewerTest, ThirtyFirstPointIsRefused) {
  for (int i = 1; i <= 30; ++i) {
    calibration.setPixel(i, 20 * i, 10 * i);
    calibration.setPosition(i, 50 - i * 0.01, 10 + i * 0.02);
    calibration.datumName[i] = "WGS 84";
  }
  calibration.pointCount = 30;
  open(ViewerMode::view);
  start();
  click(800, 50);
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"At most 30 points"});
  EXPECT_FALSE(viewer->session().waiting().has_value());
}

TEST_F(MapViewerTest, KeyboardAlonePlacesChoosesAndFinishes) {
  open(ViewerMode::calibrate);
  next<CalibrationSettingsDialog>([](CalibrationSettingsDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
  instruction()->setFocus();
  QTest::keyClick(instruction(), Qt::Key_Return);
  EXPECT_EQ(viewer->focusWidget(), canvas);
  const auto placeHere = [this](const char* latitude, const char* longitude) {
    QTest::keyClick(canvas, Qt::Key_Return);
    ASSERT_EQ(viewer->focusWidget(), field("Latitude"));
    QTest::keyClicks(field("Latitude"), latitude);
    QTest::keyClick(viewer->focusWidget(), Qt::Key_Tab);
    QTest::keyClicks(viewer->focusWidget(), longitude);
    QTest::keyClick(viewer->focusWidget(), Qt::Key_Return);
  };
  placeHere("49.5", "10.5");
  const int x = point(1).x;
  for (int i = 0; i < 2; ++i) QTest::keyClick(canvas, Qt::Key_Right);
  QTest::keyClick(canvas, Qt::Key_Down);
  QTest::keyClick(canvas, Qt::Key_Left, Qt::ShiftModifier);
  placeHere("49.4", "10.7");
  ASSERT_EQ(points(), 2U);
  EXPECT_GT(point(2).x, x);
  const int placed = point(2).x;
  QTest::keyClick(canvas, Qt::Key_Right, Qt::AltModifier);
  EXPECT_EQ(point(2).x, placed + 1) << "the point just placed is the chosen one";
  instruction()->setFocus();
  QTest::keyClick(instruction(), Qt::Key_Space);
  EXPECT_TRUE(viewer->viewerResult().recalculate);

  for (const auto* widget : viewer->findChildren<QWidget*>()) {
    const bool isField =
        widget->inherits("QLineEdit") || widget->inherits("QTreeWidget") || widget->inherits("QSpinBox");
    const bool ownPart = widget->objectName().startsWith("qt_");
    if (isField && !ownPart) {
      EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
    }
  }
}

TEST_F(MapViewerTest, ChosenPointIsCentredAndReadOut) {
  giveFourPoints();
  open(ViewerMode::view);
  list()->setCurrentItem(list()->topLevelItem(3));
  const QPoint at = place(800, 600);
  EXPECT_LE((at - canvas->rect().center()).manhattanLength(), 2);
  QTest::mouseMove(canvas, at + QPoint(40, 0));
  QApplication::processEvents();
  const auto labels = viewer->findChildren<QLabel*>();
  const auto readout = std::find_if(labels.begin(), labels.end(),
                                    [](const QLabel* label) { return label->text().startsWith("Pixels : X"); });
  ASSERT_NE(readout, labels.end());
  EXPECT_TRUE((*readout)->text().startsWith("Pixels : X 840 Y 600      49.4")) << (*readout)->text().toStdString();
  EXPECT_TRUE((*readout)->text().contains("32U 6")) << (*readout)->text().toStdString();
}

TEST_F(MapViewerTest, CropRectangleIsDrawnAdjustedAndConfirmed) {
  open(ViewerMode::crop);
  canvas->fit();
  EXPECT_FALSE(button("Crop")->isEnabled());
  QTest::keyClick(canvas, Qt::Key_Return);
  EXPECT_TRUE(viewer->isVisible()) << "nothing to confirm yet";
  drag(place(100, 100), place(400, 300));
  viewer->findChildren<QSpinBox*>().at(0)->setValue(120);
  viewer->findChildren<QSpinBox*>().at(3)->setValue(699);
  QTest::keyClick(canvas, Qt::Key_Return);
  EXPECT_FALSE(viewer->isVisible());
  const ViewerResult result = viewer->viewerResult();
  EXPECT_EQ(result.cropLeft, 120);
  EXPECT_NEAR(result.cropTop, 100, 3);
  EXPECT_NEAR(result.cropRight, 400, 3);
  EXPECT_EQ(result.cropBottom, 699);
  EXPECT_FALSE(result.recalculate);
}

/// Every file that the driver writes beside the map, but for the inputs: name to content.
std::map<std::string, std::string> outputsIn(const std::string& folder) {
  std::map<std::string, std::string> files;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    const std::string extension = file.path().extension();
    if (extension == ".png" || extension == ".log" || file.path().filename() == "area.map") continue;
    files[file.path().filename()] = contentOf(file.path());
  }
  return files;
}

TEST_F(MapViewerTest, ClickedPointsGiveTheFilesOfTheSamePointsInAFile) {
  preferences.warnOverwrite = false;
  const std::string head =
      "OziExplorer Map Data File Version 2.2\narea.png\narea.png\n1 ,Map Code,\nEUROPEAN 1979,,\n"
      "Reserved 1\nReserved 2\nMagnetic\nMap Projection,Latitude/Longitude,PolyCal\n";
  writeTestFile(folder + "area.map", head +
                                         "Point01,xy,37,41,in,deg,47,52.1234,N,8,30.5,E\n"
                                         "Point02,xy,861,55,in,deg,47,51.9,N,9,12.25,E\n"
                                         "Point03,xy,840,655,in,deg,47,29.75,N,9,11.1,E\n"
                                         "Point04,xy,44,640,in,deg,47,30.2,N,8,31.3333,E\n"
                                         "IWH,Map Image Width/Height,900,700\n");
  driver.stage = batch;
  driver.inputPath = folder + "area.map";
  ASSERT_TRUE(do_it());
  const auto expected = outputsIn(folder);
  ASSERT_FALSE(expected.empty());
  for (const auto& [name, content] : expected) std::filesystem::remove(folder + name);
  std::filesystem::remove(folder + "area.map");

  calibration = Calibration();
  driver = Driver();
  calibration.imagePath = folder + "area.png";
  calibration.imageWidth = mapWidth;
  calibration.imageHeight = mapHeight;
  splitInputPath(calibration.imagePath);
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { dialog.findChild<QLineEdit*>()->setText("european 1979"); });
  give(37, 41, "47 52.1234 N", "8 30.5 E");
  give(861, 55, "47 51.9", "9 12.25");
  give(840, 655, "N 47 29.75", "E 9 11.1");
  give(44, 640, "47 30.2", "8 31.3333");
  instruction()->click();
  ASSERT_EQ(calibration.pointCount, 4);
  driver.stage = recalculate;
  ASSERT_TRUE(do_it());
  driver.stage = writeCalibrations;
  ASSERT_TRUE(do_it());
  for (const auto& [name, content] : outputsIn(folder)) {
    if (expected.contains(name)) {
      EXPECT_EQ(content, expected.at(name)) << name;
    }
  }
  // The file's own format goes to another name, so that the file stays; here there is no file yet.
  for (const auto& [name, content] : expected) {
    EXPECT_EQ(content, contentOf(folder + (name.ends_with(".map") ? "area.map" : name))) << name;
  }
}

}  // namespace
}  // namespace vellandra
