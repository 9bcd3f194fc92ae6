#include <QClipboard>

#include "geodesy/grid_projection.h"
#include "map_fixture.h"
#include "ui/viewer_fixture.h"

namespace vellandra {
namespace {

using PointEntryTest = MapViewerTest;

TEST_F(PointEntryTest, EntryGivesItsReasonAndTakesOnlyWhatIsRight) {
  const struct {
    EntryGrid grid;
    const char *letters, *easting, *northing;
    const char *field, *reason;     ///< the field that cannot be read, and why; no field: a box says why
    double latitude, longitude;     ///< of the point that is taken; PROJ 9.1, cs2cs
    double tolerance;               ///< PROJ has a finer model of the British grid
    const char* datum = "nothing";  ///< of the point
  } rows[] = {
      {EntryGrid::british, "tq", "3x", "80000", "Easting (metres)", "metres are needed", 0, 0, 0},
      {EntryGrid::british, "ZZ", "30000", "80000", nullptr, "Invalid grid reference", 0, 0, 0},
      {EntryGrid::british, "tq", "30000", "80000", nullptr, nullptr, 51.50399, -0.12835, 1e-4, "WGS 84"},
      {EntryGrid::irish, "TQ", "15000", "34000", "Letters", "one letter, or none for full metres", 0, 0, 0},
      {EntryGrid::irish, "O", "15000", "34000", nullptr, nullptr, 53.34372914, -6.27310280, 1e-7, "IRELAND 1965"},
      // +proj=utm +zone=33 +ellps=intl, and +south; on WGS 84 the first would lie 129 metres further north
      {EntryGrid::utm, "", "600000", "6000000", nullptr, nullptr, 54.13721635, 16.53058406, 1e-7, "EUROPEAN 1979"},
      {EntryGrid::utm, "S", "600000", "6000000", nullptr, nullptr, -36.13898099, 16.11142064, 1e-7, "EUROPEAN 1979"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.letters) + row.easting + row.northing);
    person.boxes.clear();
    open(ViewerMode::calibrate);
    start([&row](CalibrationSettingsDialog& dialog) {
      dialog.findChildren<QRadioButton*>().at(static_cast<int>(row.grid))->setChecked(true);
      dialog.findChild<QSpinBox*>()->setValue(33);
      dialog.findChild<QCheckBox*>()->setChecked(*row.letters == 'S');
      for (const char* sought : {"no such datum", "european 1979"}) {
        dialog.findChild<QLineEdit*>("filter")->setText(sought);
        const auto* item = dialog.findChild<QListWidget*>()->currentItem();
        EXPECT_EQ(item != nullptr ? item->text() : "", *sought == 'e' ? "EUROPEAN 1979" : "");
      }
    });
    click(100, 100);
    if (row.grid != EntryGrid::utm) field("Letters")->setText(row.letters);
    fill("Easting (metres)", row.easting, "Northing (metres)", row.northing);
    if (row.field != nullptr) {
      EXPECT_EQ(field(row.field)->accessibleDescription(), row.reason);
      EXPECT_FALSE(buttonOf(viewer.get(), "Place point")->isEnabled());
    } else {
      EXPECT_EQ(lastBox(), row.reason != nullptr ? row.reason : "");
    }
    ASSERT_EQ(points(), row.tolerance > 0 ? 1U : 0U);
    if (points() == 0) continue;
    EXPECT_NEAR(point(1).latitude, row.latitude, row.tolerance);
    EXPECT_NEAR(point(1).longitude, row.longitude, row.tolerance);
    EXPECT_EQ(point(1).datum, row.datum);
  }
}

TEST_F(PointEntryTest, SettingsAreRememberedAndFallBackToWgs84) {
  const CalibrationSettings given{EntryGrid::irish, "EUROPEAN 1979", 33, true};
  EXPECT_EQ(CalibrationSettingsDialog(given, nullptr).settings(), given);
  open(ViewerMode::calibrate);
  start([&](CalibrationSettingsDialog& dialog) { dialog.findChild<QSpinBox*>()->setValue(7); });
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { EXPECT_EQ(dialog.settings().zone, 7); });
  datumTable.count = 3;  // neither WGS 84 nor the datum remembered is in the table
  EXPECT_EQ(CalibrationSettingsDialog({}, nullptr).settings().datum, "WGS 84");
  EXPECT_EQ(CalibrationSettingsDialog(given, nullptr).settings().datum, "WGS 84");
}

// PROJ 9.1, cs2cs, as in the tests of these grids.
TEST_F(PointEntryTest, PastedPositionFillsAllFieldsAndKeepsItsGrid) {
  const struct {
    const char *pasted, *into;
    std::vector<const char*> fields;  ///< names and texts
    double latitude, longitude;
    const char* listed;
    PointGrid grid;
  } rows[] = {
      {"35\u00B000'00.0\"N 26\u00B030'00.0\"E",
       "Longitude",
       {"Latitude", "35 00 00.0 N", "Longitude", "26 30 00.0 E"},
       35,
       26.5,
       "35.00000\n26.50000",
       {}},
      {"SH600550",
       "Latitude",
       {"Letters", "SH", "Easting (metres)", "60000", "Northing (metres)", "55000"},
       53.073816551,
       -4.091251667,
       "SH 60000 55000",
       {.grid = EntryGrid::british}},
      {"O 15904 34671",
       "Longitude",
       {"Letters", "O", "Easting (metres)", "15904"},
       53.349558874,
       -6.259289188,
       "O 15904 34671",
       {.grid = EntryGrid::irish, .datum = irishDatumName}},
      {"33T 448251 5411932",
       "Latitude",
       {"Easting (metres)", "448251", "Northing (metres)", "5411932"},
       48.858193838,
       14.294489245,
       "33U 448251 5411932",
       {.grid = EntryGrid::utm, .zone = 33}},
  };
  const auto paste = [this](const char* text, const char* into) {
    QApplication::clipboard()->setText(text);
    field(into)->setText("4");
    field(into)->selectAll();
    QTest::keyClick(field(into), Qt::Key_V, Qt::ControlModifier);
  };
  open(ViewerMode::calibrate);
  start();
  click(100, 100);
  const QPoint before = field("Latitude")->mapTo(viewer.get(), QPoint());
  paste("35 30", "Latitude");
  EXPECT_EQ(field("Latitude")->text(), "35 30") << "one angle belongs into its field";
  paste("35S 448251 3900000", "Latitude");
  EXPECT_TRUE(says("35S may be the band S or the south"));
  paste("the church", "Longitude");
  EXPECT_TRUE(says("Positions look like"));
  for (int level = 0; level < 4; ++level) QApplication::processEvents();  // a new height travels up through the layouts
  EXPECT_EQ(field("Latitude")->mapTo(viewer.get(), QPoint()), before) << "words about an error move nothing";
  for (const auto& row : rows) {
    SCOPED_TRACE(row.pasted);
    if (!waits()) click(100 + 100 * static_cast<int>(points()), 100 + 90 * static_cast<int>(points() % 2));
    paste(row.pasted, row.into);
    for (std::size_t i = 0; i < row.fields.size(); i += 2) EXPECT_EQ(field(row.fields[i])->text(), row.fields[i + 1]);
    press("Place point");
    const TiePoint& placed = point(points());
    EXPECT_NEAR(placed.latitude, row.latitude, 1e-7);
    EXPECT_NEAR(placed.longitude, row.longitude, 1e-7);
    EXPECT_EQ(placed.grid, row.grid);
    EXPECT_EQ(list()->topLevelItem(static_cast<int>(points()) - 1)->text(1).toStdString(), row.listed);
  }
}

TEST_F(PointEntryTest, PointIsShownAndCorrectedInItsGridAfterTheRecordIsOnWgs84) {
  preferences.degreeFormat = 2;
  writeTestFile(folder + "area.map", mapOn("EUROPEAN 1950",
                                           "Point01,xy,100,100,in,deg,,,N,,,W,grid,33,280000,4180000,N\n"
                                           "Point02,xy,800,100,in,deg,,,N,,,W,grid,33,287000,4180000,N\n"
                                           "Point03,xy,100,600,in,deg,,,N,,,W,grid,33,280000,4175000,N\n"
                                           "Point04,xy,804,600,in,deg,37,40,N,12,35,E\n"
                                           "IWH,Map Image Width/Height,900,700\n",
                                           "(UTM) Universal Transverse Mercator"));
  ASSERT_EQ(runBatch(folder + "area.map"), 0);
  ASSERT_EQ(calibration.points[1].datumName, "WGS 84");
  open(ViewerMode::view);
  EXPECT_EQ(list()->topLevelItem(0)->text(1), "33S 280000 4180000");
  EXPECT_EQ(list()->topLevelItem(3)->text(1), "N 37\u00B0 40.0000'\nE 12\u00B0 35.0000'");
  choosePoint(1);
  mouse(QEvent::MouseMove, place(300, 300));
  EXPECT_TRUE(says("WGS 84      33S 2") && says("EUROPEAN 1950"));
  const auto* readout = viewer->findChild<QLabel*>("readout");
  const QString before = readout->text();
  QTest::keyClick(canvas, Qt::Key_Right, Qt::AltModifier);
  EXPECT_NE(readout->text(), before) << "the place under the mouse follows the fit";
  press("Undo");
  EXPECT_EQ(readout->text(), before);
  press("Coordinates...");
  EXPECT_EQ(field("Northing (metres)")->text(), "4180000");
  EXPECT_TRUE(says("Datum EUROPEAN 1950"));
  press("Change point");
  EXPECT_FALSE(viewer->session().changed()) << "nothing was typed";
  choosePoint(4);
  press("Coordinates...");
  EXPECT_EQ(field("Longitude")->text(), "12 35 E");
  fill("Latitude", "37 41 N", "Longitude", "12 36 E");
  EXPECT_EQ(list()->topLevelItem(3)->text(1), "N 37\u00B0 41.0000'\nE 12\u00B0 36.0000'");
  EXPECT_EQ(point(4).datum, "EUROPEAN 1950");
}

}  // namespace
}  // namespace vellandra
