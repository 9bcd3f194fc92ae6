#include <QCheckBox>
#include <QComboBox>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <stdexcept>

#include "imaging/tile_grid.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

template <typename Widget>
Widget* part(QDialog* dialog, const char* name) {
  auto* found = dialog->findChild<Widget*>(name);
  if (found == nullptr) throw std::runtime_error(std::string("there is no ") + name);
  return found;
}

void click(QDialog* dialog, const char* button) {
  QTest::mouseClick(part<QPushButton>(dialog, button), Qt::LeftButton);
}

TEST_F(WindowTest, FileDialogsCarryTheirTitleDefaultNameAndFilters) {
  const auto look = [this](const char* name, const QStringList& filters) {
    someone.use([=](QDialog* dialog) {
      auto* picker = qobject_cast<QFileDialog*>(dialog);
      ASSERT_NE(picker, nullptr);
      EXPECT_EQ(picker->findChild<QLineEdit*>("fileNameEdit")->text(), name);
      EXPECT_EQ(picker->nameFilters(), filters);
      EXPECT_TRUE(picker->testOption(QFileDialog::DontConfirmOverwrite));
      picker->reject();
    });
  };
  look("*.png", {"Image files(*.png,*.bmp,*.jpg,*.gif,*.tif) (*.png *.bmp *.jpg *.gif *.tif)", "All files (*)"});
  choose("mnulm");
  look("*.exe", {"Exe files(*.exe) (*.exe)", "All files (*)"});
  choose("mnuel7z");
  look("*.png", {"PNG files(*.png) (*.png)"});
  interface->askSaveFile({"Save image file  ", "*.png", "PNG files(*.png)|*.png"});
  EXPECT_EQ(someone.seen, (Seen{"Open image file", "Find 7z.exe ", "Save image file  "}));
}

TEST_F(WindowTest, DefaultNameIsNoFileToSave) {
  someone.use([](QDialog* dialog) { dialog->accept(); });
  someone.pick(folder + "new.png");
  EXPECT_EQ(interface->askSaveFile({"Save image file  ", "*.png", "PNG files(*.png)|*.png"}), folder + "new.png");
}

class MatchTest : public WindowTest {
 protected:
  MatchTest() {
    std::string content = contentOf(SOURCE_FOLDER "/samples/crete/crete.map");
    content.replace(content.rfind('\n', content.find(",WGS 84")) + 1, 0, "Nowhere, was ");
    copy(SOURCE_FOLDER "/samples/crete/", "crete.png");
    writeTestFile(folder + "odd.map", content);
    someone.pick(folder + "odd.map");
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
  someone.press(QMessageBox::Ok);
  someone.pick(folder + "odd.map");
  choose("mnufo");
  EXPECT_TRUE(driver.transformValid) << "matched without another question";
}

TEST_F(MatchTest, NoDatumIsTakenThatTheListDoesNotShow) {
  someone.use([](QDialog* dialog) {
    part<QListWidget>(dialog, "List1")->setCurrentRow(0);
    QTest::keyClicks(part<QLineEdit>(dialog, "filter"), "no such datum");
    click(dialog, "Command1");
  });
  someone.press(QMessageBox::Ok);
  choose("mnufo");
  EXPECT_EQ(someone.seen.back(), "Vellandra|unable to match input datum NOWHERE");
}

class TfwTest : public WindowTest {
 protected:
  TfwTest() {
    writeTestFile(folder + "wales.tfw", "500\r\n0\r\n0\r\n-500\r\n450000\r\n6000000\r\n");
    someone.pick(folder + "wales.tfw");
  }
  static void answer(QDialog* dialog, int row, bool southern, const char* button) {
    EXPECT_EQ(dialog->windowTitle(), "TFW Parameters");
    EXPECT_TRUE(part<QPlainTextEdit>(dialog, "Text1")->toPlainText().startsWith("500\n0\n0\n-500\n"));
    EXPECT_FALSE(part<QPushButton>(dialog, button)->isEnabled()) << "no zone is chosen yet";
    auto* zones = part<QListWidget>(dialog, "List1");
    EXPECT_EQ(zones->count(), 61);
    zones->setCurrentRow(row);
    part<QCheckBox>(dialog, "Check2")->setChecked(southern);
    click(dialog, button);
  }
};

TEST_F(TfwTest, ZoneAndHemisphereReachTheReader) {
  someone.use([](QDialog* dialog) { answer(dialog, 29, true, "Command1"); });
  choose("mnufo");
  EXPECT_NEAR(calibration.latitude[1], -36.14, 0.01);
  EXPECT_NEAR(calibration.longitude[1], -3.56, 0.01);
}

TEST_F(TfwTest, DatumIsAskedForWhenItIsNotWgs84) {
  someone.use([](QDialog* dialog) { answer(dialog, 30, false, "Command2"); });
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(part<QLabel>(dialog, "Text1")->text(), "Choose to match : TFW file datum");
    QTest::mouseClick(part<QListWidget>(dialog, "List1")->viewport(), Qt::LeftButton, {}, {5, 5});
    click(dialog, "Command1");
  });
  choose("mnufo");
  EXPECT_TRUE(driver.calibrationPending);
}

TEST_F(TfwTest, LastEntryIsTheBritishGrid) {
  writeTestFile(folder + "wales.tfw", "500\r\n0\r\n0\r\n-500\r\n250000\r\n390000\r\n");
  someone.use([](QDialog* dialog) { answer(dialog, 60, true, "Command2"); });
  choose("mnufo");
  EXPECT_EQ(inputDatumName, "WGS 84");
}

TEST_F(TfwTest, ClosedWithoutAChoiceStopsReading) {
  someone.cancel();
  someone.press(QMessageBox::Ok);
  choose("mnufo");
  EXPECT_EQ(someone.seen.back(), "TFW Input|No zone chosen");
}

TEST_F(WindowTest, PreferencesAreStoredOnOkAndKeptOnCancel) {
  const auto change = [](QDialog* dialog) {
    for (const char* name :
         {"warnoverwrite", "stretchnotrotate", "writewgs84", "showgrid", "advancedgarminmapping", "kmztransparency"}) {
      part<QCheckBox>(dialog, name)->click();
    }
    part<QLineEdit>(dialog, "tilewidth")->setText("512");
    part<QLineEdit>(dialog, "tileheight")->setText("256");
    part<QLineEdit>(dialog, "garmindraworder")->setText("42");
    part<QLineEdit>(dialog, "garminjpegquality")->setText("50");
    part<QComboBox>(dialog, "degreeformat")->setCurrentIndex(2);
  };
  someone.use([&](QDialog* dialog) {
    change(dialog);
    dialog->reject();
  });
  choose("mnupref");
  EXPECT_FALSE(preferencesChanged);
  EXPECT_TRUE(preferences.warnOverwrite);

  someone.use([&](QDialog* dialog) {
    change(dialog);
    dialog->accept();
  });
  someone.press(QMessageBox::Ok);
  choose("mnupref");
  const Preferences& p = preferences;
  EXPECT_TRUE(!p.warnOverwrite && p.stretchNotRotate && p.writeWgs84 && !p.showGrid && p.advancedGarminMapping);
  EXPECT_EQ(p.kmzTransparency, 0);
  EXPECT_EQ(p.tileWidth, 512);
  EXPECT_EQ(p.tileHeight, 256);
  EXPECT_EQ(p.garminDrawOrder, 42);
  EXPECT_EQ(p.garminJpegQuality, 5) << "refused";
  EXPECT_EQ(p.degreeFormat, 3);
  EXPECT_TRUE(preferencesChanged);
  EXPECT_EQ(someone.seen.back(), "Vellandra|JPEG quality must be 01 to 99");
}

TEST_F(WindowTest, MapIsRescaledUnderItsOwnName) {
  openWales();
  const auto type = [this](const char* text) {
    someone.use([=](QDialog* dialog) {
      EXPECT_EQ(dialog->findChild<QLineEdit*>()->text(), "50");
      dialog->findChild<QLineEdit*>()->setText(text);
      dialog->accept();
    });
  };
  someone.cancel();
  choose("mnurs");
  type("9");
  someone.press(QMessageBox::Ok);
  choose("mnurs");
  EXPECT_EQ(someone.seen.back(), "Vellandra|scale percentage must be 10 to 90");
  type("50");
  someone.pick(folder + "half.png");
  choose("mnurs");
  EXPECT_EQ(imageSize(folder + "half.png")->width, calibration.imageWidth / 2);
  EXPECT_TRUE(panel().ends_with("Done rescaling"));
  EXPECT_TRUE(exists("half.map"));
}

TEST_F(WindowTest, MapIsCroppedToTheRectangleDrawn) {
  openWales();
  choose("mnucm");
  EXPECT_EQ(someone.seen, Seen()) << "nothing drawn is a cancel";
  onMap = [] { return ViewerResult{false, 10, 20, 110, 220}; };
  someone.pick(folder + "part.png");
  choose("mnucm");
  EXPECT_EQ(modes, (std::vector<ViewerMode>(2, ViewerMode::crop)));
  EXPECT_EQ(imageSize(folder + "part.png")->height, 200);
  EXPECT_TRUE(exists("part.map"));
}

TEST_F(WindowTest, MapsAreMergedPreviewedAndSaved) {
  openWales();
  someone.press(QMessageBox::Ok);
  someone.pick(folder + "wales.map");
  someone.pick(folder + "wales.map");
  someone.use([](QDialog* dialog) {
    EXPECT_TRUE(part<QCheckBox>(dialog, "expand")->text().startsWith("Expand base map to "));
    EXPECT_FALSE(part<QLabel>(dialog, "preview")->pixmap().isNull());
    EXPECT_FALSE(part<QPushButton>(dialog, "saveButton")->isEnabled());
    part<QLineEdit>(dialog, "transparency")->setText("101");
    click(dialog, "mergeButton");
  });
  someone.press(QMessageBox::Ok);
  someone.use([](QDialog* dialog) {
    part<QLineEdit>(dialog, "transparency")->setText("30");
    click(dialog, "mergeButton");
  });
  someone.cancel();
  someone.press(QMessageBox::Cancel);
  someone.use([](QDialog* dialog) {
    EXPECT_EQ(part<QLineEdit>(dialog, "transparency")->text(), "30");
    click(dialog, "saveButton");
  });
  someone.pick(folder + "both.png");
  someone.cancel();
  choose("mnumm");
  EXPECT_TRUE(exists("both.png") && exists("both.map"));
  const std::string close = "Vellandra|Merged file not written : OK to exit procedure else cancel";
  EXPECT_EQ(someone.seen, (Seen{"Not written|Calibrations not written : OK to abandon them else cancel",
                                "Open calibration file for base map", "Open calibration file for merge map",
                                "Merge Maps", "Vellandra|Transparency must be 0 to 100", "Merge Maps", "Merge Maps",
                                close, "Merge Maps", "Save image file  ", "Merge Maps"}));
  EXPECT_EQ(window->findChild<QDialog*>("merge"), nullptr) << "open behind the command's end";
}

class GarminTest : public WindowTest {
 protected:
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
    EXPECT_EQ(names, (QStringList{"acrossUp", "acrossDown", "downUp", "downDown", "ok"}));
    const auto expectTiles = [&](const char* caption) {
      EXPECT_EQ(part<QLabel>(dialog, "caption")->text().toStdString(), caption);
    };
    expectTiles("Tiles 200 x 100");
    click(dialog, "acrossUp");
    expectTiles("Tiles 134 x 100");
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
  someone.press(QMessageBox::Ok);
  interface->askGarminTiles(controls);
  EXPECT_EQ(someone.seen, Seen{"Vellandra|Unable to load map"});
  EXPECT_FALSE(controls.isConfirmed());
}

TEST_F(GarminTest, TilesAreToggledByMouseAndByKeys) {
  someone.use([this](QDialog* dialog) {
    auto* picture = part<QWidget>(dialog, "picture");
    // The map is twice as wide as high and lies in the middle: the tile at the top right is the third.
    QTest::mouseClick(picture, Qt::LeftButton, {}, {picture->width() * 3 / 4, picture->height() / 2 - 10});
    EXPECT_FALSE(controls.isTicked(3));
    picture->setFocus();
    for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Space, Qt::Key_Left, Qt::Key_Left, Qt::Key_Space}) {
      QTest::keyClick(picture, key);
    }
    EXPECT_TRUE(controls.isTicked(1));
    EXPECT_FALSE(controls.isTicked(2));
    EXPECT_FALSE(controls.isTicked(4));
    QTest::mouseClick(picture, Qt::LeftButton, {}, {picture->width() * 3 / 4, picture->height() / 2 - 10});
    EXPECT_TRUE(controls.isTicked(3));
    dialog->reject();
  });
  interface->askGarminTiles(controls);
  EXPECT_FALSE(controls.isConfirmed());
}

}  // namespace
}  // namespace vellandra
