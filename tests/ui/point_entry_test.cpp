#include "ui/viewer_fixture.h"

namespace vellandra {
namespace {

using PointEntryTest = MapViewerTest;

TEST_F(PointEntryTest, EntryGivesItsReasonAndTakesOnlyWhatIsRight) {
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { dialog.findChildren<QRadioButton*>().at(1)->setChecked(true); });
  click(100, 100);
  field("Letters")->setText("tq");
  fill("Easting (metres)", "3x", "Northing (metres)", "80000");
  EXPECT_EQ(field("Easting (metres)")->accessibleDescription(), "metres are needed");
  EXPECT_FALSE(buttonOf(viewer.get(), "Place point")->isEnabled());
  EXPECT_EQ(points(), 0U);
  field("Letters")->setText("ZZ");
  fill("Easting (metres)", "30000", "Northing (metres)", "80000");
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"Invalid grid reference"});
  EXPECT_EQ(points(), 0U);
  field("Letters")->setText("tq");
  press("Place point");
  ASSERT_EQ(points(), 1U);
  EXPECT_NEAR(point(1).latitude, 51.5048, 1e-3);
  EXPECT_EQ(point(1).datum, "WGS 84");

  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) { dialog.findChildren<QRadioButton*>().at(2)->setChecked(true); });
  click(100, 100);
  field("Letters")->setText("TQ");
  fill("Easting (metres)", "15000", "Northing (metres)", "34000");
  EXPECT_EQ(field("Letters")->accessibleDescription(), "one letter, or none for full metres");
  field("Letters")->setText("O");
  press("Place point");
  ASSERT_EQ(points(), 1U);
  EXPECT_NEAR(point(1).longitude, -6.2731, 1e-4) << "Dublin";
  EXPECT_EQ(point(1).datum, "IRELAND 1965");
}

TEST_F(PointEntryTest, DatumAndZoneComeFromTheSettingsAndAreRemembered) {
  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) {
    dialog.findChildren<QRadioButton*>().at(3)->setChecked(true);
    dialog.findChild<QSpinBox*>()->setValue(33);
    for (const char* sought : {"no such datum", "european 1979"}) {
      dialog.findChild<QLineEdit*>("filter")->setText(sought);
      const auto* item = dialog.findChild<QListWidget*>()->currentItem();
      EXPECT_EQ(item != nullptr ? item->text() : "", *sought == 'e' ? "EUROPEAN 1979" : "");
    }
  });
  click(100, 100);
  fill("Easting (metres)", "600000", "Northing (metres)", "6000000");
  ASSERT_EQ(points(), 1U);
  EXPECT_EQ(point(1).datum, "EUROPEAN 1979");
  EXPECT_NEAR(point(1).longitude, 16.5, 0.2) << "zone 33 lies about 15 E";

  open(ViewerMode::calibrate);
  start([](CalibrationSettingsDialog& dialog) {
    EXPECT_EQ(dialog.settings().grid, EntryGrid::utm);
    EXPECT_EQ(dialog.settings().zone, 33);
    EXPECT_EQ(dialog.settings().datum, "EUROPEAN 1979");
  });

  datumTable.count = 3;  // neither WGS 84 nor the datum remembered is in the table
  EXPECT_EQ(CalibrationSettingsDialog(CalibrationSettings(), nullptr).settings().datum, "WGS 84");
  EXPECT_EQ(CalibrationSettingsDialog(lastCalibrationSettings, nullptr).settings().datum, "WGS 84");
}

}  // namespace
}  // namespace vellandra
