#include <QCheckBox>
#include <QHeaderView>
#include <QToolButton>
#include <cmath>

#include "calibration/fit.h"
#include "calibration/points.h"
#include "map_fixture.h"
#include "support/numbers.h"
#include "ui/viewer_fixture.h"

namespace vellandra {
namespace {

TEST_F(MapViewerTest, InstructionLeadsFromStartToFinish) {
  const char *toStart = "Click here to start calibrating", *toPlace = "Click on the map to calibrate";
  const auto closeSettings = [this] {
    next<CalibrationSettingsDialog>([](CalibrationSettingsDialog& dialog) { dialog.reject(); });
    instruction()->click();
  };
  const std::tuple<const char*, std::function<void()>, const char*> steps[] = {
      {"clicks too early", [this] { click(100, 100); }, toStart},
      {"closes the settings", closeSettings, toStart},
      {"chooses the settings", [this] { start(); }, toPlace},
      {"clicks on the text", [this] { instruction()->click(); }, toPlace},
      {"gives a point", [this] { give(100, 100, "49.9", "10.1"); }, toPlace},
      {"gives another", [this] { give(800, 600, "49 24 N", "10 48 0 E"); }, "Click here to finish"},
      {"deletes it", [this] { press("Delete"); }, toPlace},
      {"takes that back", [this] { press("Undo"); }, "Click here to finish"},
      {"finishes", [this] { instruction()->click(); }, "Click here to finish"},
  };
  open(ViewerMode::calibrate);
  EXPECT_EQ(asked(), toStart);
  for (const auto& [what, step, asks] : steps) {
    EXPECT_EQ(calibration.pointCount, 0) << "the record is left alone until the end";
    EXPECT_TRUE(viewer->isVisible()) << what;
    step();
    EXPECT_EQ(asked(), asks) << what;
    EXPECT_FALSE(waits()) << what;
  }
  EXPECT_FALSE(viewer->isVisible());
  EXPECT_TRUE(viewer->viewerResult().recalculate);
  EXPECT_EQ(CoreTest::points(1, 2), "100,100 49.9 10.1; 800,600 49.4 10.8");
  EXPECT_EQ(calibration.points[1].datumName, "WGS 84");
  EXPECT_TRUE(person.boxes.empty());

  open(ViewerMode::view);
  start();
  give(300, 300, "49.7", "10.3");
  EXPECT_EQ(asked(), toPlace) << "a viewed map is not finished by the text";
}

TEST_F(MapViewerTest, MarkWaitsOnItsPlaceWhileTheMapMoves) {
  open(ViewerMode::calibrate);
  start();
  click(300, 200);
  field("Latitude")->setText("49.5");
  const QPointF before = place(300, 200);
  drag({40, 40}, {90, 70});
  QWheelEvent wheel(QPointF(100, 100), canvas->mapToGlobal(QPointF(100, 100)), {}, {0, 240}, {}, {}, {}, false);
  QApplication::sendEvent(canvas, &wheel);
  EXPECT_NEAR(canvas->view().scale(), 1.25 * 1.25, 1e-9) << "two notches nearer";
  EXPECT_NE(place(300, 200), before);
  ASSERT_TRUE(waits());
  EXPECT_EQ(viewer->session().waiting()->x, 300);
  EXPECT_EQ(field("Latitude")->text(), "49.5") << "what was typed stays";
  click(310, 220);
  EXPECT_EQ(viewer->session().waiting()->x, 300) << "coordinates go to no other place unasked";
  person.boxAnswers = {Answer::ok};
  click(310, 220);
  EXPECT_EQ(person.boxTexts(),
            Seen(2, "Coordinates typed for another place : OK to take them to this one else cancel"));
  EXPECT_EQ(viewer->session().waiting()->x, 310);
  field("Latitude")->clear();
  click(300, 220);
  EXPECT_EQ(viewer->session().waiting()->x, 300) << "where none are typed another click moves the mark";
  fill("Latitude", "49.5", "Longitude", "10");
  ASSERT_EQ(points(), 1U);
  EXPECT_EQ(point(1).y, 220);
}

TEST_F(MapViewerTest, ToolsAndKeysGoTheirWay) {
  const struct {
    const char* tool;
    Qt::Key key;
    int zoom, right, down;  ///< signs of what changes
  } rows[] = {{"Left", Qt::Key_Left, 0, -1, 0},   {"Right", Qt::Key_Right, 0, 1, 0},
              {"Up", Qt::Key_Up, 0, 0, -1},       {"Down", Qt::Key_Down, 0, 0, 1},
              {"Zoom in", Qt::Key_Plus, 1, 0, 0}, {"Zoom out", Qt::Key_Minus, -1, 0, 0}};
  open(ViewerMode::view);
  const auto sign = [](double change) { return std::abs(change) < 1e-6 ? 0 : change < 0 ? -1 : 1; };
  for (const auto& row : rows) {
    for (const bool byKey : {false, true}) {
      canvas->full();
      canvas->centreOnPixel(450, 350);
      const MapView before = canvas->view();
      for (auto* tool : viewer->findChildren<QToolButton*>()) {
        if (!byKey && tool->accessibleName() == row.tool) tool->click();
      }
      if (byKey) QTest::keyClick(canvas, row.key);
      const ViewPoint middle = before.toWindow(450.5, 350.5), now = canvas->view().toImage(middle.x, middle.y);
      EXPECT_EQ(sign(canvas->view().scale() - before.scale()), row.zoom) << row.tool << byKey;
      EXPECT_EQ(sign(now.x - 450.5), row.right) << row.tool << byKey;
      EXPECT_EQ(sign(now.y - 350.5), row.down) << row.tool << byKey;
    }
  }
}

TEST_F(MapViewerTest, GridIsDrawnWhereItsPositionsAre) {
  givePoints(4);
  calibration.points[3].setPixel(100, 600);  // exact: 10 30 E is the middle of column 500, 49 30 N of row 500
  open(ViewerMode::view);
  canvas->centreOnPixel(450, 400);
  /// Of what is drawn across `at`, where the map is black.
  const auto middle = [](const QImage& image, QPointF at, int right, int down) {
    double sum = 0, moment = 0;
    for (int i = -4; i <= 4; ++i) {
      const QPoint pixel(static_cast<int>(at.x()) + i * right, static_cast<int>(at.y()) + i * down);
      const int light = image.pixelColor(pixel).blue();
      sum += light;
      moment += light * ((pixel.x() + 0.5 - at.x()) * right + (pixel.y() + 0.5 - at.y()) * down);
    }
    return moment / sum;
  };
  const QPoint corner = canvas->mapTo(viewer.get(), QPoint());
  for (const int left : {0, 1}) {  // a part is drawn on another way than the whole
    canvas->repaint(canvas->rect().adjusted(left, 0, 0, 0));
    const QImage image = viewer->screen()
                             ->grabWindow(viewer->winId(), corner.x(), corner.y(), canvas->width(), canvas->height())
                             .toImage();
    EXPECT_NEAR(middle(image, place(500, 300), 1, 0), 0, 0.05);
    EXPECT_NEAR(middle(image, place(400, 500), 0, 1), 0, 0.05);
  }
}

TEST_F(MapViewerTest, PointIsGrabbedWithinTenPixelsAtAnyZoom) {
  const struct {
    QPointF from;
    bool grabs;
  } rows[] = {{{10, 0}, true}, {{0, -10}, true}, {{-5, 8}, true}, {{11, 0}, false}, {{0, -11}, false}, {{8, 8}, false}};
  givePoints(4);
  for (const double zoom : {1.0, 0.7, 9.0}) {
    for (const auto& row : rows) {
      open(ViewerMode::view);
      canvas->zoomBy(zoom);
      canvas->centreOnPixel(104, 600);
      drag(place(104, 600) + row.from, place(104, 600) + row.from + QPointF(90, 0));
      EXPECT_EQ(point(3).x > 104, row.grabs) << zoom << ": " << row.from.x() << " " << row.from.y();
    }
  }
}

TEST_F(MapViewerTest, ResidualFollowsADraggedAndANudgedPointAndComesBack) {
  givePoints(4);
  open(ViewerMode::view);
  canvas->centreOnPixel(104, 600);
  const double before = residual(3);
  next<AdjustPointDialog>([](AdjustPointDialog& dialog) { dialog.reject(); });
  const QPointF beside = place(104, 600) + QPointF(6, 6);
  drag(beside, beside - QPointF(4, 0));
  EXPECT_EQ(point(3).x, 104) << "a twitch is a click, no drag";
  mouse(QEvent::MouseButtonPress, beside);
  for (const double way : {15.0, 30.0}) {
    const double last = residual(3);
    mouse(QEvent::MouseMove, beside + QPointF(way, way));
    EXPECT_GT(residual(3), last + 1);
    EXPECT_EQ(cell(3, "Residual"), formatNumber(residual(3), "0.00"));
  }
  mouse(QEvent::MouseButtonRelease, beside + QPointF(30, 30));
  EXPECT_EQ(cell(3, "Pixel"), "134, 630");
  QTest::keyClick(canvas, Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(point(3).x, 104) << "one drag is one step";
  EXPECT_FALSE(viewer->session().changed());
  QTest::keyClick(canvas, Qt::Key_Right, Qt::AltModifier);
  EXPECT_GT(residual(3), before);
  press("Undo");
  EXPECT_EQ(residual(3), before);
  for (const auto& [far, pixel] : {std::pair(5000, "899, 699"), {-5000, "0, 0"}}) {
    drag(place(point(3).x, point(3).y), {1.0 * far, 1.0 * far});
    EXPECT_EQ(cell(3, "Pixel"), pixel) << "inside the image";
  }
}

TEST_F(MapViewerTest, NoPointChangesUnderTheMouseThatHeldOneWhichIsGone) {
  const struct {
    const char* name;
    int held;
    bool moved;
    Qt::Key key;
    const char* left;
  } rows[] = {{"the last one is deleted", 4, true, Qt::Key_Delete, "100,100 800,100 104,600"},
              {"one in the middle is deleted", 2, true, Qt::Key_Delete, "100,100 104,600 800,600"},
              {"deleted before it has moved", 4, false, Qt::Key_Delete, "100,100 800,100 104,600"},
              {"its move is taken back", 4, true, Qt::Key_Z, "100,100 800,100 104,600 800,600"}};
  givePoints(4);
  for (const auto& row : rows) {
    open(ViewerMode::view);
    choosePoint(row.held);
    const QPointF at = place(point(static_cast<std::size_t>(row.held)).x, point(static_cast<std::size_t>(row.held)).y);
    mouse(QEvent::MouseButtonPress, at);
    if (row.moved) mouse(QEvent::MouseMove, at - QPointF(20, 20));
    QTest::keyClick(canvas, row.key, row.key == Qt::Key_Z ? Qt::ControlModifier : Qt::NoModifier);
    mouse(QEvent::MouseMove, at - QPointF(40, 40));
    mouse(QEvent::MouseButtonRelease, at - QPointF(40, 40));
    std::string left;
    for (const TiePoint& each : viewer->session().points()) {
      left += (left.empty() ? "" : " ") + std::to_string(each.x) + "," + std::to_string(each.y);
    }
    EXPECT_EQ(left, row.left) << row.name;
  }
}

TEST_F(MapViewerTest, AdjustDialogMovesDeletesAndTakesBack) {
  givePoints(4);
  open(ViewerMode::view);
  const auto adjust = [this](std::vector<const char*> buttons) {
    next<AdjustPointDialog>([this, buttons](AdjustPointDialog& dialog) {
      EXPECT_EQ(dialog.windowTitle(), "Adjust calibration Point");
      EXPECT_TRUE(says("\nPosition : 49.40000 10.10000\n"));
      for (const char* button : buttons) {
        EXPECT_GE(canvas->view().scale(), 4) << "where single pixels are seen";
        EXPECT_LE((place(point(3).x, point(3).y) - QRectF(canvas->rect()).center()).manhattanLength(), 2);
        *button == 'v' ? QTest::keyClick(&dialog, Qt::Key_Down) : buttonOf(&dialog, button)->click();
      }
    });
    click(point(3).x, point(3).y);
  };
  canvas->zoomBy(0.7);
  const double before = canvas->view().scale();
  adjust({"Left", "Left", "Up", "Down", "Down", "Right", "v", "OK"});
  EXPECT_EQ(canvas->view().scale(), before) << "the map is shown as before";
  EXPECT_EQ(point(3).x, 103);
  EXPECT_EQ(point(3).y, 602);
  adjust({"Right", "Cancel"});
  EXPECT_EQ(point(3).x, 103) << "Cancel takes its own moves back and no others";
  adjust({"Delete"});
  EXPECT_EQ(points(), 3U);
  press("Undo");
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
  press("Cancel");
  EXPECT_TRUE(viewer->isVisible());
  EXPECT_EQ(person.boxTexts(), Seen(3, "Points not kept : OK to abandon them else cancel"));
  click(500, 500);
  field("Latitude")->setText("1");
  QTest::keyClick(field("Latitude"), Qt::Key_Escape);
  EXPECT_TRUE(waits()) << "typed coordinates are not dropped unasked";
  EXPECT_EQ(person.boxes.back().text, "Coordinates not used : OK to leave them out else cancel");
  person.boxAnswers = {Answer::ok, Answer::ok};
  QTest::keyClick(field("Latitude"), Qt::Key_Escape);
  EXPECT_FALSE(waits());
  QTest::keyClick(canvas, Qt::Key_Escape);
  EXPECT_FALSE(viewer->isVisible());
  EXPECT_FALSE(viewer->viewerResult().recalculate);
  EXPECT_EQ(calibration.pointCount, 0);
}

TEST_F(MapViewerTest, PointsAreKeptAgainstACrashUntilTheyAreGivenUp) {
  /// As the next start would find them: pixels, with "-" behind those that are off.
  const auto kept = [] {
    leaveUnfinished();
    int number = 0;
    std::string pixels;
    if (const auto work = takeUnfinished(number)) {
      for (const auto& [point, off] : enteredPoints(work->map)) {
        pixels += std::to_string(point.pixelX) + (off ? "- " : " ");
      }
    }
    return pixels;
  };
  const std::tuple<const char*, std::function<void()>, const char*> steps[] = {
      {"nothing is placed", [this] { click(10, 10), press("Leave out"); }, ""},
      {"placed", [this] { give(100, 100, "49.9", "10.1"); }, "100 "},
      {"another", [this] { give(800, 600, "49.4", "10.8"); }, "100 800 "},
      {"switched off", [this] { switchPoint(1); }, "100- 800 "},
      {"begins to move", [this] { drag(place(800, 600), place(760, 600)); }, "100- 780 "},
      {"rests", [] { QTest::qWait(400); }, "100- 760 "},
      {"taken back", [this] { press("Undo"), press("Undo"), press("Undo"); }, "100 "},
      {"all taken back", [this] { press("Undo"); }, ""},
      {"done again", [this] { press("Redo"), press("Redo"); }, "100 800 "},
  };
  open(ViewerMode::calibrate);
  start();
  for (const auto& [what, step, pixels] : steps) {
    step();
    EXPECT_EQ(kept(), pixels) << what;
  }
  dropUnfinished();

  // Closed without keeping the changes.
  for (const bool before : {false, true}) {
    givePoints(4);
    if (before) keepUnfinished(calibration);
    person.boxAnswers = {Answer::ok};
    viewer = std::make_unique<MapViewerDialog>(ViewerMode::view, mapImage.bitmap, nullptr);
    next<MapViewerDialog>([&](MapViewerDialog& shown) {
      shown.findChild<PointList*>()->topLevelItem(0)->setCheckState(0, Qt::Unchecked);
      EXPECT_EQ(kept(), "100- 800 104 800 ");
      shown.reject();
    });
    showMapViewer(nullptr, ViewerMode::view);
    EXPECT_EQ(kept(), before ? "100 800 104 800 " : "");
  }
}

TEST_F(MapViewerTest, NothingChangedIsNothingAsked) {
  givePoints(4);
  calibration.cornerCount = 4;
  open(ViewerMode::view);
  choosePoint(2);
  press("Coordinates...");
  EXPECT_EQ(field("Latitude")->text(), "49.9");
  buttonOf(entry(), "Leave as it was")->click();
  EXPECT_TRUE(entry()->isHidden());
  EXPECT_FALSE(buttonOf(viewer.get(), "Close")->isHidden());
  EXPECT_FALSE(buttonOf(viewer.get(), "cancel")->isVisible()) << "there is nothing to take back";
  QTest::keyClick(canvas, Qt::Key_Escape);
  EXPECT_FALSE(viewer->isVisible() || viewer->viewerResult().recalculate);
  EXPECT_EQ(calibration.cornerCount, 4);

  open(ViewerMode::view);
  choosePoint(2);
  press("Coordinates...");
  field("Latitude")->setText("49.95");
  field("Longitude")->setText("10 48 E");
  press("Change point");
  EXPECT_TRUE(buttonOf(viewer.get(), "cancel")->isVisible());
  press("Done");
  EXPECT_TRUE(viewer->viewerResult().recalculate);
  EXPECT_DOUBLE_EQ(calibration.points[2].latitude, 49.95);
  EXPECT_EQ(calibration.points[2].pixelX, 800);
  EXPECT_TRUE(person.boxes.empty());

  open(ViewerMode::view);
  choosePoint(1);
  press("Delete");
  person.boxAnswers = {Answer::ok};
  press("cancel");
  EXPECT_EQ(person.boxTexts(), Seen{"Points not kept : OK to abandon them else cancel"});
  EXPECT_FALSE(viewer->isVisible() || viewer->viewerResult().recalculate);
}

TEST_F(MapViewerTest, FitSaysNoMoreThanThePointsTell) {
  givePoints(4);
  open(ViewerMode::view);
  EXPECT_TRUE(says("Error of the fit: 1.00 pixels (rms)\nNo point is worse")) << "a rectangle shares its error";
  choosePoint(1);
  press("Delete");
  EXPECT_TRUE(says("Two or three points always fit")) << "0.00 would read as perfect";
  EXPECT_EQ(cell(2, "Residual"), "");
  givePoints(8);
  open(ViewerMode::view);
  EXPECT_TRUE(says("\nWorst is point 3 with 2.")) << "which none share";
}

TEST_F(MapViewerTest, PointThatIsOffIsKeptAndOutOfFitAndFiles) {
  const auto filesWithout = [this](const std::function<void()>& leaveOut) {
    openMap();
    givePoints(8);
    open(ViewerMode::view);
    leaveOut();
    press("Done");
    for (const Stage stage : {recalculate, writeCalibrations}) {
      driver.stage = stage;
      EXPECT_TRUE(runCommand(do_it));
    }
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      const std::string name = entry.path().filename();
      if (name.starts_with("area")) files[name] = contentOf(entry.path());
    }
    return files;
  };
  preferences.warnOverwrite = false;
  const auto deleted = filesWithout([this] { choosePoint(3), press("Delete"); });
  EXPECT_EQ(filesWithout([this] { switchPoint(3); }), deleted);
  EXPECT_EQ(deleted.size(), 9U);

  const std::tuple<const char*, std::function<void()>, const char*, const char*> steps[] = {
      {"comes back into the viewer", [this] { open(ViewerMode::view); }, "1 2 3- 4 5 6 7 8 ", "(rms), 1 off"},
      {"is corrected", [this] { choosePoint(3), press("Coordinates..."), fill("Latitude", "1", "Longitude", "2"); },
       "1 2 3- 4 5 6 7 8 ", "of the fit: 0.00 pixels (rms), 1 off"},
      {"goes back", [this] { press("Undo"); }, "1 2 3- 4 5 6 7 8 ", "of the fit: 0.00"},
      {"is switched on, another off", [this] { switchPoint(3), switchPoint(1); }, "1- 2 3 4 5 6 7 8 ",
       "\nWorst is point 3 with 2."},
      {"is taken back", [this] { press("Undo"), press("Undo"), press("Undo"); }, "1 2 3- 4 5 6 7 8 ", "rms), 1 off"},
      {"is done again", [this] { press("Redo"), QTest::keySequence(canvas, QKeySequence::Redo); }, "1- 2 3 4 5 6 7 8 ",
       "\nWorst is point 3 with 2."},
      {"has its number on the panel", [this] { press("Done"), driver.stage = recalculate, runCommand(do_it); },
       "1- 2 3 4 5 6 7 8 ", "\nWorst is point 3 with 2."},
  };
  for (const auto& [what, step, numbers, report] : steps) {
    step();
    EXPECT_EQ(listed(), numbers) << what;
    const CalibrationSession& session = viewer->session();
    EXPECT_TRUE(says(report)) << what << ": " << fitReport(session.fit(), session.pointsOn(), session.pointsOff());
  }
  EXPECT_TRUE(panelHas("worst is point 3 with")) << calibration.message;
  calibration.points[2].latitude = 99;
  EXPECT_EQ(convertToWgs84(calibration, 1, 7, {}).substr(0, 7), "Point 3");

  openMap();
  givePoints(4);
  open(ViewerMode::calibrate);
  start();
  switchPoint(3), switchPoint(4);
  EXPECT_EQ(asked(), "Click here to finish");
  switchPoint(2);
  EXPECT_EQ(asked(), "Click on the map to calibrate") << "one point makes no calibration";
  switchPoint(1);
  EXPECT_TRUE(says("All points are off"));
  viewer->accept();
  updateMenuStates();
  EXPECT_TRUE(person.menuStates.points) << "points that are off can be looked at again";
}

TEST_F(MapViewerTest, WorstPointsComeFirstAndTheOrderOfEntryComesBack) {
  givePoints(8);
  open(ViewerMode::view);
  switchPoint(1);
  auto* byResidual = viewer->findChildren<QCheckBox*>().at(2);
  ASSERT_EQ(byResidual->text(), "B&y residual");
  const auto clickOn = [this](int column) {
    const QHeaderView* header = list()->header();
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                      {header->sectionViewportPosition(column) + 5, header->height() / 2});
  };
  clickOn(3);
  EXPECT_TRUE(byResidual->isChecked());
  EXPECT_EQ(listed().substr(0, 2), "3 ");
  for (int row = 2; row < 8; ++row) EXPECT_GE(cell(row - 1, "Residual"), cell(row, "Residual"));
  EXPECT_EQ(cell(8, "Point") + cell(8, "Residual"), "1off");
  viewer->findChildren<QCheckBox*>().at(0)->setChecked(true);
  list()->setCurrentItem(list()->topLevelItem(0));
  EXPECT_GE(canvas->view().scale(), 4) << "zooms to the point that is chosen";
  press("Delete");
  EXPECT_EQ(points(), 7U);
  EXPECT_EQ(point(3).y, 266) << "the worst has gone, and not the first";
  clickOn(0);
  EXPECT_EQ(listed(), "1- 2 3 4 5 6 7 ");
}

TEST_F(MapViewerTest, ArrowsPointToWhereTheFitHasThePoint) {
  givePoints(4);  // the third should lie further left, by the pixel that each of the four is off
  open(ViewerMode::view);
  viewer->findChildren<QCheckBox*>().at(1)->setChecked(true);
  canvas->centreOnPixel(104, 600);
  canvas->setGrid(std::nullopt, {}, DegreeFormat::decimalDegrees);
  const QImage image = canvas->grab().toImage();
  for (const auto& [way, drawn] : {std::pair(-45, true), {-58, false}, {45, false}}) {
    const QColor color = image.pixelColor((place(104, 600) + QPointF(way, 0)).toPoint());
    EXPECT_EQ(color.red() > color.blue() + 50, drawn) << way << " " << color.name().toStdString();
  }
}

TEST_F(MapViewerTest, ThirtyPointsAreListedAndNoMoreTaken) {
  givePoints(30);
  preferences.degreeFormat = 3;
  open(ViewerMode::view);
  EXPECT_EQ(list()->topLevelItemCount(), 30);
  const QAbstractItemView* view = list();
  EXPECT_GE(list()->columnWidth(1), view->sizeHintForColumn(1)) << "positions are shown whole";
  start();
  switchPoint(30);  // may be switched on again, so its place is taken
  click(500, 50);
  EXPECT_EQ(person.boxTexts(), Seen{"At most 30 points"});
  EXPECT_FALSE(waits());
}

TEST_F(MapViewerTest, KeyboardAlonePlacesChoosesAndFinishes) {
  open(ViewerMode::calibrate);
  next<CalibrationSettingsDialog>([](CalibrationSettingsDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); });
  QTest::keyClick(canvas, Qt::Key_Return, Qt::ControlModifier);
  EXPECT_EQ(viewer->focusWidget(), canvas);
  const auto placeHere = [this](const char* latitude, const char* longitude) {
    QTest::keyClick(canvas, Qt::Key_Left);
    QTest::keyClick(canvas, Qt::Key_Right);
    QTest::keyClick(canvas, Qt::Key_Return);
    ASSERT_EQ(viewer->focusWidget(), field("Latitude"));
    QTest::keyClicks(field("Latitude"), latitude);
    QTest::keyClick(viewer->focusWidget(), Qt::Key_Tab);
    QTest::keyClicks(viewer->focusWidget(), longitude);
    QTest::keyClick(viewer->focusWidget(), Qt::Key_Return);
  };
  placeHere("49.5", "10.5");
  QTest::keyClick(canvas, Qt::Key_Return);
  EXPECT_FALSE(waits()) << "an Enter too many aims at the middle and no more";
  const int x = point(1).x;
  for (int i = 0; i < 3; ++i) QTest::keyClick(canvas, Qt::Key_Left, Qt::ShiftModifier);
  placeHere("49.4", "10.7");
  ASSERT_EQ(points(), 2U);
  EXPECT_EQ(point(2).x, x - 3) << "single pixels";
  QTest::keyClick(canvas, Qt::Key_Right, Qt::AltModifier);
  EXPECT_EQ(point(2).x, x - 2) << "the point just placed is the chosen one";
  instruction()->setFocus();
  QTest::keyClick(instruction(), Qt::Key_Space);
  EXPECT_TRUE(viewer->viewerResult().recalculate);
}

TEST_F(MapViewerTest, ChosenPointIsCentredAndReadOut) {
  givePoints(4);
  open(ViewerMode::view);
  choosePoint(4);
  const QPointF at = place(800, 600);
  EXPECT_LE((at - QRectF(canvas->rect()).center()).manhattanLength(), 2);
  QTest::mouseMove(canvas, (at + QPointF(39.5, -0.5)).toPoint());
  QApplication::processEvents();
  EXPECT_TRUE(says("Pixels : X 840 Y 600      49.4"));
  EXPECT_TRUE(says("32U 6"));
}

TEST_F(MapViewerTest, LongitudesPast180AreShownAndGivenWithinThem) {
  givePoints(4);
  for (int i = 1; i <= 4; ++i) calibration.points[i].longitude += 169.5;
  open(ViewerMode::view);
  choosePoint(4);
  EXPECT_EQ(cell(4, "Latitude, longitude"), "49.40000\n-179.70000");
  QTest::mouseMove(canvas, place(800, 600).toPoint());
  QApplication::processEvents();
  EXPECT_TRUE(says(" -179.7") && says(" 01U "));
  press("Coordinates...");
  EXPECT_EQ(field("Longitude")->text(), "-179.7");
  press("Change point");
  EXPECT_FALSE(viewer->session().changed()) << "the same place";
  press("Coordinates...");
  field("Latitude")->setText("49.5");
  press("Change point");
  EXPECT_DOUBLE_EQ(point(4).longitude, -179.7);
}

TEST_F(MapViewerTest, CropRectangleIsDrawnAdjustedAndConfirmed) {
  open(ViewerMode::crop);
  canvas->fit();
  EXPECT_FALSE(buttonOf(viewer.get(), "Crop")->isEnabled());
  QTest::keyClick(canvas, Qt::Key_Return);
  EXPECT_TRUE(viewer->isVisible()) << "nothing to confirm yet";
  drag(place(100, 100), place(400, 300));
  viewer->findChildren<QSpinBox*>().at(0)->setValue(120);
  viewer->findChildren<QSpinBox*>().at(0)->setFocus();
  QTest::keyClick(viewer->focusWidget(), Qt::Key_Return);
  EXPECT_TRUE(viewer->isVisible()) << "the other edges follow";
  viewer->findChildren<QSpinBox*>().at(3)->setValue(699);
  QTest::keyClick(canvas, Qt::Key_Return);
  EXPECT_FALSE(viewer->isVisible());
  const ViewerResult result = viewer->viewerResult();
  EXPECT_EQ(result.crop.left, 120);
  EXPECT_NEAR(result.crop.top, 100, 3);
  EXPECT_NEAR(result.crop.right, 400, 3);
  EXPECT_EQ(result.crop.bottom, 699);
  EXPECT_FALSE(result.recalculate);
}

TEST_F(MapViewerTest, ClickedPointsGiveTheFilesOfTheSamePointsInAFile) {
  preferences.warnOverwrite = false;
  writeTestFile(folder + "area.map", mapOn("EUROPEAN 1979",
                                           "Point01,xy,37,41,in,deg,47,52.1234,N,8,30.5,E\n"
                                           "Point02,xy,861,55,in,deg,47,51.9,N,9,12.25,E\n"
                                           "Point03,xy,840,655,in,deg,47,29.75,N,9,11.1,E\n"
                                           "Point04,xy,44,640,in,deg,47,30.2,N,8,31.3333,E\n"
                                           "IWH,Map Image Width/Height,900,700\n"));
  ASSERT_EQ(runBatch(folder + "area.map"), 0);
  const auto take = [this] {
    Seen contents;
    for (const char* name : {"area.tfw", "area.js", "area.jpr", "area_png.cal", "area.gmi", "area.mcd", "area.txt"}) {
      contents.push_back(contentOf(folder + name));
      EXPECT_TRUE(std::filesystem::remove(folder + name)) << name;
    }
    return contents;
  };
  const Seen expected = take();
  std::filesystem::remove(folder + "area.map");

  openMap();
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { dialog.findChild<QLineEdit*>("filter")->setText("european 1979"); });
  give(37, 41, "47 52.1234 N", "8 30.5 E");
  give(861, 55, "47 51.9", "9 12.25");
  give(840, 655, "N 47 29.75", "E 9 11.1");
  give(44, 640, "47 30.2", "8 31.3333");
  instruction()->click();
  for (const Stage stage : {recalculate, writeCalibrations}) {
    driver.stage = stage;
    ASSERT_TRUE(do_it());
  }
  EXPECT_EQ(take(), expected);
  lastCalibrationSettings = {};
  open(ViewerMode::view);
  start([](CalibrationSettingsDialog& dialog) { EXPECT_EQ(dialog.settings().datum, "EUROPEAN 1979"); });
}

}  // namespace
}  // namespace vellandra
