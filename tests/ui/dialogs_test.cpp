#include <QCheckBox>
#include <QComboBox>
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
    const QPushButton* ok = buttonOf(dialog, "Command1");
    EXPECT_FALSE(ok->isEnabled()) << "nothing is chosen yet";
    part<QListWidget>(dialog, "List1")->setCurrentRow(0);
    EXPECT_TRUE(ok->isEnabled());
    QTest::keyClicks(part<QLineEdit>(dialog, "filter"), "no such datum");
    EXPECT_FALSE(ok->isEnabled());
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
    const char *name, *corner;
    const char* typed;  ///< on the list of zones
    bool southern;
    const char* button;
    double latitude, longitude;  ///< of the first point; PROJ 9.1, cs2cs
    const char* datum = "WGS 84";
  } rows[] = {
      {"typed number of two digits", "450000\r\n6000000", "30", true, "WGS84", -36.14343, -3.55577},
      {"northern", "450000\r\n6000000", "31", false, "WGS84", 54.14567, 2.23454},
      {"British grid, which has no south", "250000\r\n390000", "gb", true, "Not WGS84", 53.38548, -4.25683},
      // +proj=utm +zone=31 +ellps=clrk80 +towgs84=-162,-12,206
      {"another datum", "450000\r\n6000000", "31", false, "Not WGS84", 54.14772, 2.23444, "ADINDAN"},
  };
  const auto open = [&](const std::string& corner, const WindowPerson::Step& step) {
    driver.calibrationPending = false;
    writeTestFile(folder + "wales.tfw", "500\r\n0\r\n0\r\n-500\r\n" + corner + "\r\n");
    someone.answer(folder + "wales.tfw");
    someone.use(step);
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    open(row.corner, [&](QDialog* dialog) {
      EXPECT_TRUE(part<QPlainTextEdit>(dialog, "Text1")->toPlainText().startsWith("500\n0\n0\n-500\n"));
      EXPECT_FALSE(buttonOf(dialog, row.button)->isEnabled()) << "no zone is chosen yet";
      auto* zones = part<QListWidget>(dialog, "List1");
      EXPECT_EQ(zones->count(), 61);
      EXPECT_EQ(dialog->focusWidget(), zones);
      QTest::keyClicks(zones, row.typed);
      part<QCheckBox>(dialog, "Check2")->setChecked(row.southern);
      std::string(row.button) == "WGS84" ? QTest::keyClick(zones, Qt::Key_Return) : click(dialog, row.button);
    });
    if (std::string(row.datum) == "ADINDAN") {
      someone.use([](QDialog* dialog) {
        EXPECT_EQ(part<QLabel>(dialog, "Text1")->text(), "Choose to match : TFW file datum");
        QTest::mouseClick(part<QListWidget>(dialog, "List1")->viewport(), Qt::LeftButton, {}, {5, 5});
        click(dialog, "Command1");
      });
    }
    choose("mnufo");
    EXPECT_NEAR(calibration.points[1].latitude, row.latitude, 1e-4);
    EXPECT_NEAR(calibration.points[1].longitude, row.longitude, 1e-4);
    EXPECT_EQ(inputDatumName, row.datum);
  }
  open(rows[0].corner, [](QDialog* dialog) { dialog->reject(); });
  someone.answer("OK");
  choose("mnufo");
  EXPECT_EQ(someone.seen.back(), "TFW Input|No zone chosen");
}

TEST_F(WindowTest, PreferencesAreStoredOnOkAndKeptOnCancel) {
  Preferences expected = preferences;
  for (const bool stored : {false, true}) {
    someone.use([&](QDialog* dialog) {
      for (const char* name : {"warnoverwrite", "stretchnotrotate", "writewgs84", "showgrid", "advancedgarminmapping",
                               "kmztransparency"}) {
        part<QCheckBox>(dialog, name)->click();
      }
      part<QLineEdit>(dialog, "tilewidth")->setText("512");
      part<QLineEdit>(dialog, "tileheight")->setText("256");
      part<QLineEdit>(dialog, "garmindraworder")->setText("42");
      part<QLineEdit>(dialog, "garminjpegquality")->setText("4px");
      EXPECT_EQ(part<QLineEdit>(dialog, "garminjpegquality")->accessibleDescription(), "must be 1 to 5");
      EXPECT_EQ(part<QComboBox>(dialog, "degreeformat")->currentIndex(), 0);
      part<QComboBox>(dialog, "degreeformat")->setCurrentIndex(2);
      stored ? dialog->accept() : dialog->reject();
    });
    if (stored) {
      someone.answer("OK");
      expected.warnOverwrite = expected.showGrid = false;
      expected.stretchNotRotate = expected.writeWgs84 = expected.advancedGarminMapping = true;
      expected.kmzTransparency = 0, expected.degreeFormat = 3;
      expected.tileWidth = 512, expected.tileHeight = 256, expected.garminDrawOrder = 42;
      expected.garminJpegQuality = 4;
      someone.use([](QDialog* dialog) {  // is still there
        EXPECT_EQ(dialog->focusWidget(), part<QLineEdit>(dialog, "garminjpegquality"));
        part<QLineEdit>(dialog, "garminjpegquality")->setText("4");
        dialog->accept();
      });
    }
    choose("mnupref");
    EXPECT_EQ(preferencesChanged, stored);
    EXPECT_EQ(preferences, expected);
  }
  EXPECT_EQ(someone.seen,
            (Seen{"Preferences", "Preferences", "Vellandra|JPEG quality must be 01 to 99", "Preferences"}));
}

TEST_F(WindowTest, MapsAreMergedPreviewedAndSaved) {
  const auto weigh = [](const char* before, const char* percentage, const char* reason) {
    return [=](QDialog* dialog) {
      EXPECT_FALSE(part<QLabel>(dialog, "preview")->pixmap().isNull());
      EXPECT_FALSE(buttonOf(dialog, "saveButton")->isEnabled());
      EXPECT_EQ(part<QLineEdit>(dialog, "transparency")->text(), before);
      part<QLineEdit>(dialog, "transparency")->setText(percentage);
      EXPECT_TRUE(part<QLabel>(dialog, "reason")->text().startsWith(reason));
      part<QCheckBox>(dialog, "expand")->setChecked(true);
      click(dialog, "mergeButton");
    };
  };
  for (int i = 0; i < 2; ++i) someone.answer(folder + "wales.map");
  someone.use(weigh("50", "30 %", "must be 0 to 100"));
  someone.answer("OK");
  someone.use(weigh("30 %", "30", "0 keeps the base map"));
  someone.answer("");
  someone.answer("Cancel");
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(part<QLineEdit>(dialog, "transparency")->text(), "30");
    EXPECT_EQ(part<QCheckBox>(dialog, "expand")->text(), "Expand base map to 520 x 600");
    EXPECT_TRUE(part<QCheckBox>(dialog, "expand")->isChecked());
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
  /// Shows the dialog to a person who does this; true when the tiles are then to be written.
  bool ask(const std::function<void(QDialog*)>& work) {
    someone.use(work);
    interface->askGarminTiles(controls);
    return controls.isConfirmed();
  }
  static std::string textOf(const QDialog* dialog, const char* label) {
    return part<QLabel>(dialog, label)->text().toStdString();
  }
  GarminTileControls controls{400, 200, {200, 100}};
};

TEST_F(GarminTest, ButtonsChangeTheCountsInTheirOrder) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"acrossUp", "Tiles 134 x 100", "3 x 2 tiles, 6 will be written"},
      {"acrossDown", "Tiles 200 x 100", "2 x 2 tiles, 4 will be written"},
      {"acrossDown", "Tiles 400 x 100  Tiles too big?? ", "1 x 2 tiles, 2 will be written"},
      {"acrossDown", "Tiles 400 x 100  Tiles too big?? ", "1 x 2 tiles, 2 will be written"},
      {"downDown", "Tiles 400 x 200  Tiles too big?? ", "1 x 1 tiles, 1 will be written"},
      {"downUp", "Tiles 400 x 100  Tiles too big?? ", "1 x 2 tiles, 2 will be written"},
  };
  EXPECT_TRUE(ask([&](QDialog* dialog) {
    QStringList names;
    for (const QPushButton* button : dialog->findChildren<QPushButton*>()) names << button->objectName();
    EXPECT_EQ(names, (QStringList{"acrossUp", "acrossDown", "downUp", "downDown", "ok", "cancel"}));
    for (const auto& [button, caption, counts] : rows) {
      click(dialog, button);
      EXPECT_EQ(textOf(dialog, "caption"), caption);
      EXPECT_EQ(textOf(dialog, "counts"), counts);
    }
    click(dialog, "ok");
  }));
  EXPECT_EQ(controls.tileSize().width, 400);
}

TEST_F(GarminTest, AMapThatCannotBeLoadedIsToldInTheWritersWords) {
  writeTestFile(folder + "scan.png", "no image");
  EXPECT_FALSE(ask([](QDialog* dialog) { click(dialog, "OK"); }));
  EXPECT_EQ(someone.seen, Seen{"Vellandra|Unable to load map"});
}

TEST_F(GarminTest, TilesAreToggledByMouseAndByKeys) {
  EXPECT_FALSE(ask([this](QDialog* dialog) {
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
    EXPECT_EQ(textOf(dialog, "counts"), "2 x 2 tiles, 1 will be written");
    QTest::mouseClick(picture, Qt::LeftButton, {}, topRight);
    EXPECT_TRUE(controls.isTicked(3));
    click(dialog, "cancel");
  }));
}

}  // namespace
}  // namespace vellandra
