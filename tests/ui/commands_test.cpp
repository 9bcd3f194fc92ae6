#include <QDragEnterEvent>
#include <QMenu>
#include <QMimeData>
#include <set>

#include "ui/window_fixture.h"

namespace vellandra {
namespace {

constexpr const char* openTitle = "Open calibration file for map";
constexpr const char* insufficient = "Insufficient points to proceed";

/// Points of a map whose pixels are 0.001 degrees wide.
ViewerResult placePoints(int count) {
  const int pixels[][2] = {{10, 10}, {200, 20}, {30, 250}};
  calibration.pointCount = 0;
  for (int slot = 1; slot <= count; ++slot) {
    const auto [x, y] = pixels[slot - 1];
    calibration.setPixel(slot, x, y);
    calibration.setPosition(slot, 50 - 0.001 * y, 1 + 0.001 * x);
    calibration.datumName[slot] = "WGS 84";
    ++calibration.pointCount;
  }
  ViewerResult result;
  result.recalculate = true;
  return result;
}

TEST_F(WindowTest, MenusHoldTheCommandsInTheirOrder) {
  const struct {
    const char *menu, *title;
    std::vector<std::pair<std::string, std::string>> commands;
  } rows[] = {
      {"mnufile",
       "File",
       {{"mnufo", " Open Calibration"},
        {"mnulm", " Load map for calibration"},
        {"mnulic", " Load image from clipboard"},
        {"mnuwc", " Write Calibrations"},
        {"mnuwmt", " Write map as Trekbuddy tiles"},
        {"mwgcm", " Write Garmin Custom Map"},
        {"mnuexit", " Exit"}}},
      {"mnuview", "View", {{"mnuvc", "View Calibrated Map"}}},
      {"mnuedit",
       "Edit",
       {{"mnupref", " Preferences"},
        {"eldf", " Locate Datums File"},
        {"mnuel7z", " Locate 7-Zip program"},
        {"mnurs", " Rescale map and save"},
        {"mnucm", " Crop map and save"},
        {"mnumm", "Merge Maps"}}},
      {"mnuhelp", "Help", {{"mnuabout", " About"}, {"mnuhelphelp", " Help"}}},
  };
  EXPECT_EQ(window->windowTitle(), "Calibration and Calibration Conversion");
  for (const auto& row : rows) {
    const auto* menu = window->findChild<QMenu*>(row.menu);
    ASSERT_NE(menu, nullptr) << row.menu;
    EXPECT_EQ(menu->title().remove('&').toStdString(), row.title);
    std::vector<std::pair<std::string, std::string>> commands;
    std::set<QChar> mnemonics;
    for (const QAction* entry : menu->actions()) {
      const QString text = entry->text();
      if (text.contains('&')) {
        EXPECT_TRUE(mnemonics.insert(text[text.indexOf('&') + 1].toLower()).second) << text.toStdString();
      }
      if (!entry->isSeparator() && entry->menu() == nullptr) {
        commands.emplace_back(entry->objectName().toStdString(), QString(text).remove('&').toStdString());
      }
    }
    EXPECT_EQ(commands, row.commands);
  }
}

TEST_F(WindowTest, OpenedCalibrationIsReportedAndEnablesWhatNeedsAMap) {
  const char* const needMap[] = {"mnuvc", "mnurs", "mnucm", "mnuwmt", "mwgcm"};
  for (const char* name : needMap) EXPECT_FALSE(action(name)->isEnabled()) << name;
  openWales();
  for (const char* name : needMap) EXPECT_TRUE(action(name)->isEnabled()) << name;
  EXPECT_NE(panel().find("Average error per calibration point="), std::string::npos);
  EXPECT_FALSE(exists("wales.jpr"));
}

TEST_F(WindowTest, OpenAsksBeforeACalibrationIsDropped) {
  openWales();
  const std::string before = panel();
  someone.press(QMessageBox::Cancel);
  choose("mnufo");
  EXPECT_EQ(panel(), before);
  someone.press(QMessageBox::Ok);
  someone.pick(folder + "wales.map");
  choose("mnufo");
  const std::string question = "Not written|Calibrations not written : OK to read else cancel";
  EXPECT_EQ(someone.seen, (Seen{question, question, openTitle}));
}

TEST_F(WindowTest, OpenStopsWithItsReason) {
  writeTestFile(folder + "a.xyz", "nothing");
  const struct {
    std::string picked, box;
  } rows[] = {
      {"", "No input|No input file specified"},
      {folder + "a.xyz", "No support|Unsupported calibration type"},
  };
  for (const auto& row : rows) {
    someone.seen.clear();
    row.picked.empty() ? someone.cancel() : someone.pick(row.picked);
    someone.press(QMessageBox::Ok);
    choose("mnufo");
    EXPECT_EQ(someone.seen, (Seen{openTitle, row.box}));
    EXPECT_FALSE(action("mnuvc")->isEnabled());
  }
}

TEST_F(WindowTest, MissingDatumTableIsAskedForOnce) {
  preferences.datumsPath = folder + "nowhere.txt";
  someone.cancel();
  someone.press(QMessageBox::Ok);
  choose("mnufo");
  EXPECT_EQ(someone.seen, (Seen{"Open datums.txt file ", "No datums|Unable to load datums.txt"}));
}

TEST_F(WindowTest, WriteAsksForEveryFileThatIsThere) {
  openWales();
  someone.press(QMessageBox::Cancel);
  const std::string before = contentOf(folder + "wales.tfw");
  choose("mnuwc");
  EXPECT_EQ(someone.seen, (Seen{"Vellandra|OK to overwrite " + folder + "wales.tfw"}));
  EXPECT_EQ(contentOf(folder + "wales.tfw"), before);
  EXPECT_FALSE(driver.calibrationPending);

  preferences.warnOverwrite = false;
  choose("mnuwc");
  EXPECT_NE(contentOf(folder + "wales.tfw"), before);
}

TEST_F(WindowTest, WriteWithoutCalibrationSaysWhatIsMissing) {
  someone.press(QMessageBox::Ok);
  choose("mnuwc");
  EXPECT_EQ(someone.seen, (Seen{std::string("Vellandra|") + insufficient}));
}

TEST_F(WindowTest, LoadedMapIsCalibratedInTheViewerAndWritten) {
  onMap = [] { return placePoints(3); };
  makeImage("scan.png", 300, 300);
  someone.pick(folder + "scan.png");
  choose("mnulm");
  EXPECT_EQ(someone.seen, (Seen{"Open image file"}));
  EXPECT_EQ(modes, (std::vector<ViewerMode>{ViewerMode::calibrate}));
  EXPECT_TRUE(driver.calibrationPending);
  EXPECT_NE(panel().find("Input datum is WGS 84"), std::string::npos);
  choose("mnuwc");
  EXPECT_TRUE(exists("scan.map"));
  EXPECT_TRUE(exists("scan.tfw"));
  EXPECT_FALSE(driver.calibrationPending);
}

TEST_F(WindowTest, LoadMapStopsWithItsReason) {
  makeImage("scan.png", 300, 300);
  onMap = [] { return placePoints(1); };
  someone.pick(folder + "scan.png");
  choose("mnulm");
  EXPECT_NE(panel().find(insufficient), std::string::npos);
  EXPECT_FALSE(driver.calibrationPending);

  openWales();
  someone.cancel();
  choose("mnulm");
  EXPECT_EQ(calibration.imagePath, folder + "wales.png") << "cancelling keeps the open map";

  writeTestFile(folder + "broken.png", contentOf(folder + "scan.png").substr(0, 40));
  someone.pick(folder + "broken.png");
  someone.press(QMessageBox::Ok);
  choose("mnulm");
  EXPECT_EQ(calibration.imagePath, folder + "wales.png");
  EXPECT_EQ(modes.size(), 1U);
}

class ClipboardTest : public WindowTest {
 protected:
  ClipboardTest() {
    QImage picture(300, 200, QImage::Format_RGB32);
    picture.fill(qRgb(10, 20, 30));
    auto* data = new QMimeData;
    data->setImageData(picture);
    data->setText("10, 10, 50.0, 1.0\r\nnorth, 1, 2, 3\r\n200,20,49.99,1.19\n30,150,49.86,1.02\n");
    QApplication::clipboard()->setMimeData(data);
  }
};

TEST_F(ClipboardTest, CoordinatesOnTheClipboardCalibrateItsPicture) {
  EXPECT_TRUE(action("mnulic")->isEnabled());
  someone.press(QMessageBox::Yes);
  choose("mnulic");
  EXPECT_EQ(someone.seen,
            (Seen{"Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually"}));
  EXPECT_EQ(calibration.pointCount, 3);
  EXPECT_EQ(calibration.imageWidth, 300);
  EXPECT_NE(panel().find("north, 1, 2, 3 : not four numbers, skipped"), std::string::npos);
  EXPECT_TRUE(modes.empty());

  someone.pick(folder + "copied");
  choose("mnuwc");
  PixelColor color;
  ASSERT_TRUE(GetPixelColor(LoadImageByExtension(folder + "copied.png"), 299, 199, color));
  EXPECT_EQ(color, (PixelColor{10, 20, 30, 0}));
  EXPECT_TRUE(exists("copied.map"));
}

TEST_F(ClipboardTest, PictureIsCalibratedByHand) {
  onMap = [] { return placePoints(2); };
  someone.press(QMessageBox::No);
  choose("mnulic");
  EXPECT_EQ(modes, (std::vector<ViewerMode>{ViewerMode::calibrate}));
  EXPECT_TRUE(driver.calibrationPending);
  QApplication::clipboard()->setText("words");
  EXPECT_FALSE(action("mnulic")->isEnabled());
}

TEST_F(WindowTest, ViewFitsAgainOnlyWhenPointsChanged) {
  openWales();
  choose("mnuvc");
  EXPECT_EQ(panel().find("Recalculating"), std::string::npos);
  onMap = [] { return placePoints(1); };
  choose("mnuvc");
  EXPECT_TRUE(panel().ends_with(insufficient));
  onMap = [] { return placePoints(3); };
  choose("mnuvc");
  EXPECT_NE(panel().find("Recalculating...........................\n"), std::string::npos);
  EXPECT_EQ(driver.inputType, "zzz");
  EXPECT_NEAR(calibration.tf1, 0.001, 1e-12);
  EXPECT_EQ(modes, (std::vector<ViewerMode>(3, ViewerMode::view)));
}

TEST_F(WindowTest, UnexpectedErrorIsShownAndTheProgramGoesOn) {
  openWales();
  onMap = []() -> ViewerResult { throw SubscriptOutOfRange("point 51"); };
  choose("mnuvc");
  EXPECT_NE(panel().find("***** Error *****\nSubscript out of range"), std::string::npos);
  onMap = nullptr;
  choose("mnuvc");
  EXPECT_EQ(modes.size(), 2U);
}

TEST_F(WindowTest, LocatedFilesAreKeptInThePreferences) {
  const std::string datumsBefore = preferences.datumsPath;
  someone.cancel();
  choose("eldf");
  EXPECT_EQ(preferences.datumsPath, datumsBefore);
  writeTestFile(folder + "7z.exe", "");
  someone.pick(folder + "readme.txt");
  choose("eldf");
  someone.pick(folder + "7z.exe");
  choose("mnuel7z");
  EXPECT_EQ(preferences.datumsPath, folder + "readme.txt");
  EXPECT_EQ(preferences.sevenZipPath, folder + "7z.exe");
  EXPECT_EQ(someone.seen, (Seen{"Open datums.txt file ", "Open datums.txt file ", "Find 7z.exe "}));
}

TEST_F(WindowTest, AboutAndHelpSayTheirTexts) {
  someone.press(QMessageBox::Ok);
  choose("mnuabout");
  someone.use([](QDialog* box) { box->findChild<QAbstractButton*>("openReadme")->click(); });
  someone.use([](QDialog* dialog) {
    EXPECT_TRUE(dialog->findChild<QPlainTextEdit*>()->toPlainText().contains("FreeImage"));
    dialog->reject();
  });
  choose("mnuhelphelp");
  EXPECT_EQ(someone.seen, (Seen{"About|Calibration and conversion 2.0.6\nCorvane 2026\nsupport@corvane.example\nUses "
                                "FreeImage : see Readme for details",
                                "About|See 'readme.txt' distributed with this program", "readme.txt"}));
}

TEST_F(WindowTest, LeavingAsksAboutWhatIsNotWritten) {
  const std::string calibrations = "Not written|Calibrations not written : OK to exit program else cancel";
  openWales();
  preferencesChanged = true;
  someone.press(QMessageBox::Cancel);
  EXPECT_FALSE(window->close());
  someone.press(QMessageBox::Ok);
  someone.press(QMessageBox::Ok);
  EXPECT_TRUE(window->close());
  EXPECT_EQ(someone.seen,
            (Seen{calibrations, calibrations, "Preferences not saved|OK to save preferences, cancel to ignore"}));
  EXPECT_TRUE(exists("calconv.ini"));
}

TEST_F(WindowTest, OpenedFilesAreOfferedAgain) {
  openWales();
  const QList<QAction*> recent = window->findChild<QMenu*>("recent")->actions();
  ASSERT_EQ(recent.size(), 1);
  someone.press(QMessageBox::Ok);
  recent[0]->trigger();
  EXPECT_EQ(driver.inputPath, folder + "wales.map");
  EXPECT_TRUE(driver.offeredPath.empty());
}

TEST_F(WindowTest, DroppedFileIsOpened) {
  QMimeData data;
  data.setUrls({QUrl::fromLocalFile(QString::fromStdString(folder + "wales.map"))});
  QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  enter.ignore();
  QApplication::sendEvent(window.get(), &enter);
  EXPECT_TRUE(enter.isAccepted());
  QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  QApplication::sendEvent(window.get(), &drop);
  QCoreApplication::processEvents();
  EXPECT_TRUE(driver.calibrationPending);

  data.setUrls({QUrl::fromLocalFile("/tmp/letter.doc")});
  QDragEnterEvent other({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
  other.ignore();
  QApplication::sendEvent(window.get(), &other);
  EXPECT_FALSE(other.isAccepted());
}

}  // namespace
}  // namespace vellandra
