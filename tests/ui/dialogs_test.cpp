#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QMouseEvent>

#include "imaging/tile_grid.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

/// A calibration on a datum that is in no table.
class MatchTest : public WindowTest {
 public:
  MatchTest() {
    std::string content = contentOf(SOURCE_FOLDER "/samples/crete/crete.map");
    content.replace(content.rfind('\n', content.find(",WGS 84")) + 1, 0, "Nowhere, was ");
    copy(SOURCE_FOLDER "/samples/crete/", "crete.png");
    writeTestFile(folder + "odd.map", content);
    someone.answer(folder + "odd.map");
  }
};

TEST_F(MatchTest, DatumIsFoundByAPartOfItsName) {
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(dialog->windowTitle(), "Match datums");
    EXPECT_EQ(part<QLabel>(dialog, "Text1")->text(), "Choose to match : NOWHERE");
    QTest::keyClicks(part<QLineEdit>(dialog, "filter"), "wgs 84");
    QTest::keyClick(part<QLineEdit>(dialog, "filter"), Qt::Key_Return);
  });
  choose("mnufo");
  EXPECT_EQ(inputDatumName, "WGS 84");
  EXPECT_TRUE(driver.calibrationPending);
  someone.answer("OK");
  someone.answer(folder + "odd.map");
  choose("mnufo");
  EXPECT_TRUE(driver.transformValid) << "matched without another question";
}

TEST_F(MatchTest, NoDatumIsTakenThatTheListDoesNotShow) {
  someone.use([](QDialog* dialog) {
    EXPECT_FALSE(buttonOf(dialog, "Command1")->isEnabled()) << "nothing is chosen yet";
    part<QListWidget>(dialog, "List1")->setCurrentRow(0);
    EXPECT_TRUE(buttonOf(dialog, "Command1")->isEnabled());
    QTest::keyClicks(part<QLineEdit>(dialog, "filter"), "no such datum");
    EXPECT_FALSE(buttonOf(dialog, "Command1")->isEnabled());
    QTest::keyClick(part<QLineEdit>(dialog, "filter"), Qt::Key_Return);
    EXPECT_TRUE(dialog->isVisible());
    dialog->accept();
  });
  someone.answer("OK");
  choose("mnufo");
  EXPECT_EQ(someone.seen.back(), "Vellandra|unable to match input datum NOWHERE");
}

TEST_F(WindowTest, WorldFileDialogGivesZoneHemisphereAndDatum) {
  const struct {
    const char *name, *easting, *northing;
    const char* typed;  ///< on the list of zones
    bool southern;
    const char* button;
    double latitude, longitude;  ///< of the first point; PROJ 9.1, cs2cs
  } rows[] = {
      {"typed number of two digits", "450000", "6000000", "30", true, "WGS84", -36.14343, -3.55577},
      {"northern", "450000", "6000000", "31", false, "WGS84", 54.14567, 2.23454},
      {"name of the British grid, which has no south", "250000", "390000", "gb", true, "Not WGS84", 53.38548, -4.25683},
  };
  for (const auto& row : rows) {
    someone.seen.clear();
    driver.calibrationPending = false;
    writeTestFile(folder + "wales.tfw",
                  std::string("500\r\n0\r\n0\r\n-500\r\n") + row.easting + "\r\n" + row.northing + "\r\n");
    someone.answer(folder + "wales.tfw");
    someone.use([&](QDialog* dialog) {
      EXPECT_TRUE(part<QPlainTextEdit>(dialog, "Text1")->toPlainText().startsWith("500\n0\n0\n-500\n"));
      EXPECT_FALSE(buttonOf(dialog, row.button)->isEnabled()) << "no zone is chosen yet";
      auto* zones = part<QListWidget>(dialog, "List1");
      EXPECT_EQ(zones->count(), 61);
      EXPECT_EQ(dialog->focusWidget(), zones);
      QTest::keyClicks(zones, row.typed);
      part<QCheckBox>(dialog, "Check2")->setChecked(row.southern);
      std::string(row.button) == "WGS84" ? QTest::keyClick(zones, Qt::Key_Return) : click(dialog, row.button);
    });
    choose("mnufo");
    EXPECT_EQ(someone.seen.back(), "TFW Parameters") << row.name;
    EXPECT_NEAR(calibration.points[1].latitude, row.latitude, 1e-4) << row.name;
    EXPECT_NEAR(calibration.points[1].longitude, row.longitude, 1e-4) << row.name;
    EXPECT_EQ(inputDatumName, "WGS 84") << row.name;
  }
  driver.calibrationPending = false;
  someone.answer(folder + "wales.tfw");
  writeTestFile(folder + "wales.tfw", "500\r\n0\r\n0\r\n-500\r\n450000\r\n6000000\r\n");
  someone.use([](QDialog* dialog) {
    part<QListWidget>(dialog, "List1")->setCurrentRow(30);
    click(dialog, "Not WGS84");
  });
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(part<QLabel>(dialog, "Text1")->text(), "Choose to match : TFW file datum");
    QTest::mouseClick(part<QListWidget>(dialog, "List1")->viewport(), Qt::LeftButton, {}, {5, 5});
    click(dialog, "Command1");
  });
  choose("mnufo");
  EXPECT_EQ(inputDatumName, "ADINDAN");
  driver.calibrationPending = false;
  for (const std::string& answer : {folder + "wales.tfw", std::string(), std::string("OK")}) someone.answer(answer);
  choose("mnufo");
  EXPECT_EQ(someone.seen.back(), "TFW Input|No zone chosen");
}

TEST_F(WindowTest, PreferencesAreStoredOnOkAndKeptOnCancel) {
  for (const bool stored : {false, true}) {
    someone.use([&](QDialog* dialog) {
      for (const char* name : {"warnoverwrite", "stretchnotrotate", "writewgs84", "showgrid", "advancedgarminmapping",
                               "kmztransparency"}) {
        part<QCheckBox>(dialog, name)->click();
      }
      part<QLineEdit>(dialog, "tilewidth")->setText("512");
      part<QLineEdit>(dialog, "tileheight")->setText("256");
      part<QLineEdit>(dialog, "garmindraworder")->setText("42");
      part<QLineEdit>(dialog, "garminjpegquality")->setText("50");
      EXPECT_EQ(part<QLineEdit>(dialog, "garminjpegquality")->accessibleDescription(), "must be 1 to 5");
      part<QComboBox>(dialog, "degreeformat")->setCurrentIndex(2);
      stored ? dialog->accept() : dialog->reject();
    });
    if (stored) someone.answer("OK");
    choose("mnupref");
    EXPECT_EQ(preferencesChanged, stored);
    EXPECT_EQ(preferences.warnOverwrite, !stored);
  }
  const Preferences& p = preferences;
  EXPECT_TRUE(!p.warnOverwrite && p.stretchNotRotate && p.writeWgs84 && !p.showGrid && p.advancedGarminMapping);
  EXPECT_EQ(p.kmzTransparency, 0);
  EXPECT_EQ(p.tileWidth, 512);
  EXPECT_EQ(p.tileHeight, 256);
  EXPECT_EQ(p.garminDrawOrder, 42);
  EXPECT_EQ(p.garminJpegQuality, 5) << "refused";
  EXPECT_EQ(p.degreeFormat, 3);
  EXPECT_EQ(someone.seen, (Seen{"Preferences", "Preferences", "Vellandra|JPEG quality must be 01 to 99"}));
}

TEST_F(WindowTest, MapsAreMergedPreviewedAndSaved) {
  for (const char* picked : {"wales.map", "wales.map"}) someone.answer(folder + picked);
  someone.use([](QDialog* dialog) {
    EXPECT_TRUE(part<QCheckBox>(dialog, "expand")->text().startsWith("Expand base map to "));
    EXPECT_FALSE(part<QLabel>(dialog, "preview")->pixmap().isNull());
    EXPECT_FALSE(buttonOf(dialog, "saveButton")->isEnabled());
    part<QLineEdit>(dialog, "transparency")->setText("101");
    click(dialog, "mergeButton");
  });
  someone.answer("OK");
  someone.use([](QDialog* dialog) {
    part<QLineEdit>(dialog, "transparency")->setText("30");
    click(dialog, "mergeButton");
  });
  someone.answer("");
  someone.answer("Cancel");
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(part<QLineEdit>(dialog, "transparency")->text(), "30");
    click(dialog, "saveButton");
  });
  someone.answer(folder + "both.png");
  someone.answer("");
  choose("mnumm");
  EXPECT_TRUE(exists("both.png") && exists("both.map"));
  EXPECT_EQ(someone.seen, (Seen{"Open calibration file for base map", "Open calibration file for merge map",
                                "Merge Maps", "Vellandra|Transparency must be 0 to 100", "Merge Maps", "Merge Maps",
                                "Vellandra|Merged file not written : OK to exit procedure else cancel", "Merge Maps",
                                "Save image file  ", "Merge Maps"}));
  EXPECT_EQ(window->findChild<QDialog*>("merge"), nullptr) << "open behind the command's end";
}

class GarminTest : public WindowTest {
 public:
  GarminTest() {
    makeImage("scan.png", 400, 200);
    calibration.imagePath = folder + "scan.png";
  }
  GarminTileControls controls{400, 200, {200, 100}};
};

TEST_F(GarminTest, ButtonsChangeTheCountsInTheirOrder) {
  someone.use([this](QDialog* dialog) {
    QStringList names;
    for (const QPushButton* button : dialog->findChildren<QPushButton*>()) names << button->objectName();
    EXPECT_EQ(names, (QStringList{"acrossUp", "acrossDown", "downUp", "downDown", "ok", "cancel"}));
    const auto expectTiles = [&](const char* caption, const char* counts = "") {
      EXPECT_EQ(part<QLabel>(dialog, "caption")->text().toStdString(), caption);
      EXPECT_TRUE(part<QLabel>(dialog, "counts")->text().startsWith(counts)) << counts;
    };
    expectTiles("Tiles 200 x 100", "2 x 2 tiles, 4 will be written");
    click(dialog, "acrossUp");
    expectTiles("Tiles 134 x 100", "3 x 2 tiles, 6 will be written");
    for (int i = 0; i < 4; ++i) click(dialog, "acrossDown");
    expectTiles("Tiles 400 x 100  Tiles too big?? ");
    click(dialog, "downDown");
    click(dialog, "downUp");
    click(dialog, "ok");
  });
  interface->askGarminTiles(controls);
  EXPECT_TRUE(controls.isConfirmed());
  EXPECT_EQ(controls.tileSize().width, 400);
}

TEST_F(GarminTest, AMapThatCannotBeLoadedIsToldInTheWritersWords) {
  writeTestFile(folder + "scan.png", "no image");
  someone.answer("OK");
  interface->askGarminTiles(controls);
  EXPECT_EQ(someone.seen, Seen{"Vellandra|Unable to load map"});
  EXPECT_FALSE(controls.isConfirmed());
}

TEST_F(GarminTest, TilesAreToggledByMouseAndByKeys) {
  someone.use([this](QDialog* dialog) {
    auto* picture = part<QWidget>(dialog, "picture");
    // The map is twice as wide as high and lies in the middle: the tile at the top right is the third.
    const QPoint topRight(picture->width() * 3 / 4, picture->height() / 2 - 10);
    const QImage ticked = picture->grab().toImage();
    QTest::mouseClick(picture, Qt::LeftButton, {}, topRight);
    EXPECT_FALSE(controls.isTicked(3));
    picture->setFocus();
    EXPECT_NE(picture->grab().toImage(), ticked) << "the cross is drawn";
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Space, Qt::Key_Left, Qt::Key_Left, Qt::Key_Space}) {
      QTest::keyClick(picture, key);
    }
    EXPECT_TRUE(controls.isTicked(1));
    EXPECT_FALSE(controls.isTicked(2));
    EXPECT_FALSE(controls.isTicked(4));
    EXPECT_EQ(part<QLabel>(dialog, "counts")->text(), "2 x 2 tiles, 1 will be written");
    QTest::mouseClick(picture, Qt::LeftButton, {}, topRight);
    EXPECT_TRUE(controls.isTicked(3));
    click(dialog, "cancel");
  });
  interface->askGarminTiles(controls);
  EXPECT_FALSE(controls.isConfirmed());
}

}  // namespace
}  // namespace vellandra
