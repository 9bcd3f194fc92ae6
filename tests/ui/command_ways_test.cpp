#include <QLabel>
#include <QMimeData>

#include "raster/image_header.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

/// Points of a map whose pixels are 0.001 degrees wide.
ViewerResult placePoints(int count) {
  const int pixels[][2] = {{10, 10}, {200, 20}, {30, 250}};
  calibration.pointCount = 0;
  for (int slot = 1; slot <= count; ++slot) {
    const auto [x, y] = pixels[slot - 1];
    calibration.points[slot].setPixel(x, y);
    calibration.points[slot].setPosition(50 - 0.001 * y, 1 + 0.001 * x);
    calibration.points[slot].datumName = "WGS 84";
    ++calibration.pointCount;
  }
  ViewerResult result;
  result.recalculate = true;
  return result;
}

using Step = std::function<void(WindowTest&)>;

/// One way that a command can go.
struct Way {
  const char *name, *command;
  Step before;
  const char *answers, *seen;  ///< parted by "; ", "-" for a dialog closed; without the test's folder in paths
  const char *panel, *file;    ///< in the panel afterwards; there afterwards, or not, with "!" in front
  bool pending;                ///< whether a calibration waits to be written
  Step after;
};

Way way(const char* name, const char* command, Step before, const char* answers, const char* seen,
        const char* panel = "", const char* file = "", bool pending = false, Step after = {}) {
  return {name, command, std::move(before), answers, seen, panel, file, pending, std::move(after)};
}

void PrintTo(const Way& way, std::ostream* out) {
  *out << way.name;
}

class CommandTest : public WindowTest, public testing::WithParamInterface<Way> {};

TEST_P(CommandTest, EndsAsThePersonAnswers) {
  const Way& way = GetParam();
  makeImage("scan.png", 300, 300);
  writeTestFile(folder + "broken.png", contentOf(folder + "scan.png").substr(0, 40));
  writeTestFile(folder + "a.xyz", "nothing");
  if (way.before) way.before(*this);
  for (const QString& given : QString(way.answers).split("; ", Qt::SkipEmptyParts)) {
    const std::string answer = given.toStdString();
    const bool isPath = answer.find_first_of("./") != std::string::npos;
    someone.answer(answer == "-" ? "" : (isPath ? folder : "") + answer);
  }
  ASSERT_TRUE(action(way.command)->isEnabled());
  choose(way.command);
  QCoreApplication::processEvents();
  std::string seen;
  for (const std::string& text : someone.seen) seen += (seen.empty() ? "" : "; ") + text;
  for (std::size_t at = 0; (at = seen.find(folder)) != std::string::npos;) seen.erase(at, folder.size());
  EXPECT_EQ(seen, way.seen);
  EXPECT_NE(panel().find(way.panel), std::string::npos) << panel();
  const bool missing = *way.file == '!';
  EXPECT_EQ(exists(way.file + (missing ? 1 : 0)), !missing) << way.file;
  EXPECT_EQ(driver.calibrationPending, way.pending);
  if (way.after) way.after(*this);
}

void opened(WindowTest& t) {
  t.openWales();
}
void changed(WindowTest&) {
  preferencesChanged = true;
}
void written(WindowTest& t) {
  t.openWales();
  driver.calibrationPending = false;
  preferences.warnOverwrite = false;
}
Step without(const char* file) {
  return [file](WindowTest& t) {
    written(t);
    std::filesystem::remove(t.folder + file);
  };
}
void noDatums(WindowTest& t) {
  preferences.datumsPath = t.folder + "nowhere.txt";
}
void copied(WindowTest&) {
  QImage picture(300, 200, QImage::Format_RGB32);
  picture.fill(qRgb(10, 20, 30));
  auto* data = new QMimeData;
  data->setImageData(picture);
  data->setText("10, 10, 50.0, 1.0\r\nnorth, 1, 2, 3\r\n200,20,49.99,1.19\n30,150,49.86,1.02\n");
  QApplication::clipboard()->setMimeData(data);
}
void copiedWithoutDatums(WindowTest& t) {
  copied(t);
  noDatums(t);
}
void copiedOverWales(WindowTest& t) {
  t.openWales();
  copied(t);
}
/// As `before`, and the person places `count` points in the viewer.
Step placing(int count, const Step& before = {}) {
  return [=](WindowTest& t) {
    if (before) before(t);
    t.onMap = [count] { return placePoints(count); };
  };
}
/// The map has been on show, and then another image took its file's place.
Step replaced(int width, int height) {
  return [=](WindowTest& t) {
    written(t);
    t.choose("mnuvc");
    t.makeImage("wales.png", width, height);
  };
}
void throwing(WindowTest& t) {
  written(t);
  t.onMap = []() -> ViewerResult { throw SubscriptOutOfRange("point 51"); };
}
Step cropping(int right) {
  return [=](WindowTest& t) {
    written(t);
    t.onMap = [=] { return ViewerResult{false, {10, 20, right, 220}}; };
  };
}
void blocked(WindowTest& t) {
  written(t);
  writeTestFile(t.folder + "wales_tiles", "a file where the folder should be");
}
void advanced(WindowTest& t) {
  written(t);
  preferences.advancedGarminMapping = true;
}
void unticking(WindowTest& t) {
  advanced(t);
  t.someone.use([](QDialog* dialog) {
    auto* picture = part<QWidget>(dialog, "picture");
    QTest::mouseClick(picture, Qt::LeftButton, {}, picture->rect().center());
    click(dialog, "ok");
  });
}
void packing(WindowTest& t) {
  written(t);
  preferences.sevenZipPath = t.folder + "missing";
}

/// What was open is open still.
void walesStays(WindowTest&) {
  EXPECT_TRUE(calibration.imagePath.ends_with("wales.png"));
  EXPECT_EQ(calibration.pointCount, 9);
}
/// Points that make no calibration are in no file, and can be looked at again.
void cannotBeWritten(WindowTest& t) {
  EXPECT_TRUE(t.action("mnuvc")->isEnabled());
  EXPECT_FALSE(t.action("mnucm")->isEnabled());
  EXPECT_EQ(part<QLabel>(t.window.get(), "nextStepTitle")->text(), "The map is not calibrated");
  t.someone.answer("OK");
  t.choose("mnuwc");
  EXPECT_EQ(t.someone.seen.back(), "Vellandra|Insufficient points to proceed");
  EXPECT_FALSE(t.exists("wales.gmi"));
}
void clipboardIsLeft(WindowTest& t) {
  walesStays(t);
  EXPECT_NE(mapImage.path, "clip.board");
}
void clipboardIsNotTaken(WindowTest&) {
  EXPECT_FALSE(mapImage.bitmap);
}
void newPictureIsShown(WindowTest& t) {
  PixelColor color;
  ASSERT_TRUE(GetPixelColor(mapImage.bitmap, 0, 0, color));
  EXPECT_EQ(color, PixelColor());
  EXPECT_EQ(t.modes.size(), 2U);
}
Step seeing(ViewerMode mode) {
  return [mode](WindowTest& t) { EXPECT_EQ(t.modes, std::vector<ViewerMode>{mode}); };
}
void clipboardIsWritten(WindowTest& t) {
  EXPECT_EQ(calibration.pointCount, 3);
  EXPECT_TRUE(t.modes.empty());
  t.someone.answer(t.folder + "copied");
  t.choose("mnuwc");
  PixelColor color;
  ASSERT_TRUE(GetPixelColor(LoadImageByExtension(t.folder + "copied.png"), 299, 199, color));
  EXPECT_EQ(color, (PixelColor{10, 20, 30, 0}));
  EXPECT_TRUE(t.exists("copied.map"));
}
void worldFileStays(WindowTest& t) {
  EXPECT_EQ(contentOf(t.folder + "wales.tfw"), contentOf(SOURCE_FOLDER "/samples/wales/wales.tfw"));
}
void othersAreWritten(WindowTest& t) {
  EXPECT_TRUE(t.exists("wales_tiles/files/wales_400_400.jpg"));
}
Step windowIs(bool open) {
  return [open](WindowTest& t) { EXPECT_EQ(t.window->isVisible(), open); };
}
void fitted(WindowTest&) {
  EXPECT_EQ(driver.inputFormat, nullptr);
  EXPECT_NEAR(calibration.tf1, 0.001, 1e-12);
}
void goesOn(WindowTest& t) {
  t.onMap = nullptr;
  t.choose("mnuvc");
  EXPECT_EQ(t.modes.size(), 2U);
}
Step datumsAt(const char* name) {
  return [name](WindowTest& t) { EXPECT_EQ(preferences.datumsPath, *name == '/' ? name : t.folder + name); };
}
Step sevenZipAt(const char* name) {
  return [name](WindowTest& t) { EXPECT_EQ(preferences.sevenZipPath, *name == '\0' ? "" : t.folder + name); };
}
Step heightOf(const char* name, int height) {
  return [=](WindowTest& t) { EXPECT_EQ(imageSize(t.folder + name)->height, height); };
}

const auto calibrates = seeing(ViewerMode::calibrate);

const Way ways[] = {
    way("OpenReads", "mnufo", {}, "wales.map", "Open calibration file for map",
        "Average error per calibration point=", "!wales.jpr", true),
    way("OpenCancelled", "mnufo", {}, "-; OK", "Open calibration file for map; No input|No input file specified"),
    way("OpenRefuses", "mnufo", {}, "a.xyz; OK",
        "Open calibration file for map; No support|Unsupported calibration type"),
    way("OpenNeedsDatums", "mnufo", noDatums, "-; OK", "Open datums.txt file ; No datums|Unable to load datums.txt"),
    way("OpenKeepsPending", "mnufo", opened, "Cancel", "Not written|Calibrations not written : OK to read else cancel",
        "", "", true, walesStays),
    way("OpenDropsPending", "mnufo", opened, "OK; wales.map",
        "Not written|Calibrations not written : OK to read else cancel; Open calibration file for map", "", "", true,
        walesStays),
    way("LoadCalibrates", "mnulm", placing(3), "scan.png", "Open image file", "Input datum is WGS 84", "!scan.map",
        true, calibrates),
    way("LoadKeepsPending", "mnulm", opened, "Cancel", "Not written|Calibrations not written : OK to read else cancel",
        "", "", true, walesStays),
    way("LoadDropsPending", "mnulm", placing(3, opened), "OK; scan.png",
        "Not written|Calibrations not written : OK to read else cancel; Open image file", "", "", true, calibrates),
    way("LoadCancelled", "mnulm", opened, "OK; -",
        "Not written|Calibrations not written : OK to read else cancel; Open image file", "", "", true, walesStays),
    way("LoadTooFewPoints", "mnulm", placing(1), "scan.png", "Open image file", "Insufficient points to proceed"),
    way("LoadUnreadable", "mnulm", written, "broken.png; OK", "Open image file; Vellandra|file load error 1",
        "broken.png: the image cannot be decoded", "", false, walesStays),
    way("LoadNeedsDatums", "mnulm", noDatums, "scan.png; -; OK",
        "Open image file; Open datums.txt file ; No datums|Unable to load datums.txt"),
    way("ClipboardWithPoints", "mnulic", copied, "Yes",
        "Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually",
        "north, 1, 2, 3 : not four numbers, skipped", "", true, clipboardIsWritten),
    way("ClipboardByHand", "mnulic", placing(2, copied), "No",
        "Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually", "", "", true,
        calibrates),
    way("ClipboardKeepsPending", "mnulic", copiedOverWales, "Cancel",
        "Not written|Calibrations not written : OK to read else cancel", "", "", true, clipboardIsLeft),
    way("ClipboardDropsPending", "mnulic", placing(2, copiedOverWales), "OK; No",
        "Not written|Calibrations not written : OK to read else cancel; "
        "Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually",
        "", "", true, calibrates),
    way("ClipboardNeedsDatums", "mnulic", copiedWithoutDatums, "-; OK",
        "Open datums.txt file ; No datums|Unable to load datums.txt", "", "", false, clipboardIsNotTaken),
    way("ClipboardTooFewPoints", "mnulic", placing(1, copied), "-",
        "Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually",
        "Insufficient points to proceed"),
    way("WriteWrites", "mnuwc", written, "", "",
        "\nWritten: wales.tfw, wales.js, wales.jpr, wales_png.cal, wales.gmi, wales.mcd, wales.txt\ndone", "wales.jpr"),
    way("WriteCancelled", "mnuwc", opened, "Cancel", "Vellandra|OK to overwrite wales.tfw",
        "wales.txt\nKept as they were: wales.tfw\ndone", "wales.jpr", false, worldFileStays),
    way("WriteWithoutMap", "mnuwc", {}, "OK", "Vellandra|Insufficient points to proceed"),
    way("TrekbuddyWrites", "mnuwmt", written, "", "", "Tiles and .map file written", "wales_tiles/wales.set"),
    way("TrekbuddyBlocked", "mnuwmt", blocked, "OK", "Vellandra|unable to write wales_tiles"),
    way("TrekbuddyFails", "mnuwmt", without("wales.png"), "OK", "Vellandra|Unable to load map", "",
        "!wales_tiles/wales.set"),
    way("GarminWrites", "mwgcm", written, "", "", "Done Garmin Custom map", "wales_tiles/files/wales_400_400.jpg"),
    way("GarminWritesTheTicked", "mwgcm", unticking, "", "Garmin Tile controls", "Tiles 3 by 3\n",
        "!wales_tiles/files/wales_200_200.jpg", false, othersAreWritten),
    way("GarminCancelled", "mwgcm", advanced, "-", "Garmin Tile controls", "", "!wales_tiles"),
    way("GarminFails", "mwgcm", without("wales.png"), "OK", "Vellandra|Unable to load map", "", "!wales_tiles/doc.kml"),
    way("GarminNotPacked", "mwgcm", packing, "OK", "Vellandra|Call to 7-Zip failed", "a -tzip -mx0",
        "wales_tiles/doc.kml"),
    way("ExitCancelled", "mnuexit", opened, "Cancel",
        "Not written|Calibrations not written : OK to exit program else cancel", "", "!calconv.ini", true,
        windowIs(true)),
    way("ExitUnwritten", "mnuexit", opened, "OK",
        "Not written|Calibrations not written : OK to exit program else cancel", "", "!calconv.ini", true,
        windowIs(false)),
    way("ExitSaves", "mnuexit", changed, "OK", "Preferences not saved|OK to save preferences, cancel to ignore", "",
        "calconv.ini", false, windowIs(false)),
    way("ExitIgnores", "mnuexit", changed, "Cancel", "Preferences not saved|OK to save preferences, cancel to ignore",
        "", "!calconv.ini", false, windowIs(false)),
    way("ViewRecalculates", "mnuvc", placing(3, opened), "", "", "Recalculating...........................\n", "", true,
        fitted),
    way("ViewCloses", "mnuvc", written, "", "", "", "", false, seeing(ViewerMode::view)),
    way("ViewTooFewPoints", "mnuvc", placing(1, written), "", "", "Insufficient points to proceed", "", false,
        cannotBeWritten),
    way("ViewShowsTheFileAsItIsNow", "mnuvc", replaced(520, 600), "", "", "", "", false, newPictureIsShown),
    way("ViewRefusesAnotherSize", "mnuvc", replaced(300, 300), "OK",
        "Vellandra|The image is 300 x 300 now, the calibration is for 520 x 600\nOpen the calibration again", "", "",
        false, seeing(ViewerMode::view)),
    way("ViewErrorIsShown", "mnuvc", throwing, "", "", "***** Error *****\nSubscript out of range", "", false, goesOn),
    way("DatumsLocated", "eldf", {}, "readme.txt", "Open datums.txt file ", "", "", false, datumsAt("readme.txt")),
    way("DatumsCancelled", "eldf", {}, "-", "Open datums.txt file ", "", "", false,
        datumsAt(SOURCE_FOLDER "/data/datums.txt")),
    way("SevenZipLocated", "mnuel7z", {}, "a.xyz", "Find 7z.exe ", "", "", false, sevenZipAt("a.xyz")),
    way("SevenZipCancelled", "mnuel7z", {}, "-", "Find 7z.exe ", "", "", false, sevenZipAt("")),
    way("RescaleSaves", "mnurs", written, "50; half.png", "Vellandra; Save image file  ", "Done rescaling", "half.map",
        false, heightOf("half.png", 300)),
    way("RescaleCancelled", "mnurs", written, "-", "Vellandra", "", "", false, walesStays),
    way("RescaleNotSaved", "mnurs", written, "50; -", "Vellandra; Save image file  "),
    way("RescaleRefuses", "mnurs", written, "9; OK", "Vellandra; Vellandra|scale percentage must be 10 to 90"),
    way("CropSaves", "mnucm", cropping(110), "part.png", "Save image file  ", "Done cropping", "part.map", false,
        heightOf("part.png", 200)),
    way("CropCancelled", "mnucm", written, "", "", "", "", false, seeing(ViewerMode::crop)),
    way("CropNotReplaced", "mnucm", cropping(110), "scan.png; Cancel",
        "Save image file  ; Vellandra|OK to overwrite scan.png", "", "!scan.map"),
    way("CropOutside", "mnucm", cropping(9999), "OK", "Vellandra|The part to keep must lie inside the map"),
    way("MergeKeepsPending", "mnumm", opened, "Cancel",
        "Not written|Calibrations not written : OK to abandon them else cancel", "", "", true, walesStays),
    way("MergeCancelled", "mnumm", written, "wales.map; -; OK",
        "Open calibration file for base map; Open calibration file for merge map; No input|No input file specified", "",
        "", false, walesStays),
    way("AboutTells", "mnuabout", {}, "OK",
        "About|Calibration and conversion 2.0.6\nCorvane 2026\nsupport@corvane.example\n"
        "Uses FreeImage : see Readme for details"),
    way("HelpTells", "mnuhelphelp", {}, "OK", "About|See 'readme.txt' distributed with this program"),
    way("HelpOpensTheText", "mnuhelphelp", {}, "openReadme; -",
        "About|See 'readme.txt' distributed with this program; readme.txt"),
    way("HelpMissesTheText", "mnuhelphelp", without("readme.txt"), "openReadme; OK",
        "About|See 'readme.txt' distributed with this program; Vellandra|Unable to read readme.txt"),
};
INSTANTIATE_TEST_SUITE_P(Commands, CommandTest, testing::ValuesIn(ways),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace vellandra
