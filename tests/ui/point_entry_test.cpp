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

}  // namespace
}  // namespace vellandra
