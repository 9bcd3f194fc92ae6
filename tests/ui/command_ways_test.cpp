#include <QMimeData>

#include "raster/image_header.h"
#include "ui/widgets/window_settings.h"
#include "ui/window_fixture.h"

namespace vellandra {
namespace {

using Step = std::function<void(WindowTest&)>;

/// One way that a command can go. Lists are parted by "; ", paths are without the test's folder.
struct Way {
  const char *name, *command;
  Step before;
  std::string answers, seen;          ///< "-" closes a dialog
  std::string ends;                   ///< what the main window says then
  std::string panel = "", file = "";  ///< in the panel; there, or not, with "!" in front
  Step after = {};
};

void PrintTo(const Way& way, std::ostream* out) {
  *out << way.name;
}

class CommandTest : public WindowTest, public testing::WithParamInterface<Way> {
 protected:
  std::string label(const char* name) const { return part<QLabel>(window.get(), name)->text().toStdString(); }
};

TEST_P(CommandTest, EndsAsThePersonAnswers) {
  const Way& way = GetParam();
  makeImage("scan%1.png", 300, 300);
  writeTestFile(folder + "broken.png", contentOf(folder + "scan%1.png").substr(0, 40));
  if (way.before) way.before(*this);
  for (const QString& given : QString(way.answers.c_str()).split("; ", Qt::SkipEmptyParts)) {
    const std::string answer = given.toStdString();
    const bool isPath = answer.find_first_of("./") != std::string::npos;
    someone.answer(answer == "-" ? "" : (isPath ? folder : "") + answer);
  }
  someone.seen.clear();
  ASSERT_TRUE(action(way.command)->isEnabled());
  choose(way.command);
  QCoreApplication::processEvents();
  std::string seen;
  for (const std::string& text : someone.seen) seen += (seen.empty() ? "" : "; ") + text;
  for (std::size_t at = 0; (at = seen.find(folder)) != std::string::npos;) seen.erase(at, folder.size());
  EXPECT_EQ(seen, way.seen);
  const std::string step = label("nextStep");
  EXPECT_EQ(window->isVisible() ? label("nextStepTitle") + ": " + step.substr(0, step.find(". ")) : "closed", way.ends);
  EXPECT_NE(panel().find(way.panel), std::string::npos) << panel();
  const bool missing = way.file.starts_with("!");
  EXPECT_EQ(exists(way.file.substr(missing ? 1 : 0)), !missing) << way.file;
  if (way.after) way.after(*this);
}

const Step opened = [](WindowTest& t) { t.openWales(); };
const Step made = [](WindowTest& t) {
  t.openWales();
  keepUnfinished(calibration);
  preferences.warnOverwrite = false;
};
const Step written = [](WindowTest& t) {
  t.openWales();
  driver.calibrationPending = false;
  preferences.warnOverwrite = false;
};
const Step changed = [](WindowTest&) { preferencesChanged = true; };
const Step noDatums = [](WindowTest& t) { preferences.datumsPath = t.folder + "nowhere.txt"; };
const Step otherTable = [](WindowTest& t) { writeTestFile(t.folder + "other.txt", contentOf(preferences.datumsPath)); };
const Step noReadme = [](WindowTest& t) { std::filesystem::remove(t.folder + "readme.txt"); };
/// A picture and text on the clipboard.
Step copiedWith(const std::string& text) {
  return [text](WindowTest&) {
    QImage picture(300, 200, QImage::Format_RGB32);
    picture.fill(qRgb(10, 20, 30));
    auto* data = new QMimeData;
    data->setImageData(picture);
    data->setText(QString::fromStdString(text));
    QApplication::clipboard()->setMimeData(data);
  };
}
const Step copied = copiedWith("10, 10, 50.0, 1.0\r\nnorth, 1, 2, 3\r\n200,20,49.99,1.19\n30,150,49.86,1.02\n");
const Step tooMany = copiedWith(QString("10,10,50,1\n").repeated(31).toStdString());
/// The person ends the saving of the clipboard's picture.
const Step unsaved = [](WindowTest&) {
  setFormatTable({formatRows(), getidata, [](const std::string&) -> bool { throw Cancelled(); }});
};
Step both(const Step& first, const Step& second) {
  return [=](WindowTest& t) { first(t), second(t); };
}
/// What the person does in the map viewer, where no other command starts.
Step inViewer(const std::function<ViewerResult()>& work) {
  return [=](WindowTest& t) { t.onMap = [&t, work] { return t.choose("mnuabout"), work(); }; };
}
/// Places points on a map whose pixels are 0.001 degrees wide.
Step placing(int count) {
  return inViewer([count] {
    const int pixels[][2] = {{10, 10}, {200, 20}, {30, 250}};
    calibration.pointCount = static_cast<std::int16_t>(count);
    for (int slot = 1; slot <= count; ++slot) {
      const auto [x, y] = pixels[slot - 1];
      calibration.points[slot].setPixel(x, y);
      calibration.points[slot].setPosition(50 - 0.001 * y, 1 + 0.001 * x);
      calibration.points[slot].datumName = "WGS 84";
    }
    keepUnfinished(calibration);
    return ViewerResult{true, {}};
  });
}
const Step throwing = inViewer([]() -> ViewerResult { throw SubscriptOutOfRange("point 51"); });
const Step cancelling = inViewer([]() -> ViewerResult { throw Cancelled(); });
const Step cropping = inViewer([] { return ViewerResult{false, {10, 20, 110, 220}}; });
/// The map has been on show, and then another image took its file's place: of as many bytes, or of the same time.
Step replaced(int width, int height, bool ofTheSameBytes) {
  return [=](WindowTest& t) {
    both(written, [](WindowTest& shown) { shown.choose("mnuvc"); })(t);
    const std::string path = t.folder + "wales.png";
    const auto bytes = std::filesystem::file_size(path);
    const auto time = std::filesystem::last_write_time(path);
    t.makeImage("wales.png", width, height);
    ofTheSameBytes ? std::filesystem::resize_file(path, bytes) : std::filesystem::last_write_time(path, time);
  };
}
const Step advanced = [](WindowTest& t) {
  written(t);
  preferences.advancedGarminMapping = true;
};
const Step failing = [](WindowTest&) { preferences.sevenZipPath = "/bin/false"; };
const Step failureIsTold = [](WindowTest& t) {
  EXPECT_TRUE(QTest::qWaitFor([&t] { return t.panel().find("\n7-Zip failed: ") != std::string::npos; }));
};
const Step unticking = [](WindowTest& t) {
  t.someone.use([](QDialog* dialog) {
    auto* picture = part<QWidget>(dialog, "picture");
    QTest::mouseClick(picture, Qt::LeftButton, {}, picture->rect().center());
    click(dialog, "ok");
  });
};

/// Points that make no calibration are in no file, and can be looked at again.
const Step cannotBeWritten = [](WindowTest& t) {
  EXPECT_TRUE(driver.calibrationPending);
  EXPECT_TRUE(t.action("mnuvc")->isEnabled());
  EXPECT_FALSE(t.action("mnucm")->isEnabled());
  EXPECT_FALSE(t.action("mnuwc")->isEnabled());
};
PixelColor cornerOf(const Bitmap& image) {
  PixelColor color{1, 1, 1, 1};
  EXPECT_TRUE(GetPixelColor(image, image.width() - 1, image.height() - 1, color));
  return color;
}
const Step isLeft = [](WindowTest&) { EXPECT_NE(mapImage.path, "clip.board"); };
const Step clipboardIsWritten = [](WindowTest& t) {
  t.someone.answer(t.folder + "copied");
  t.choose("mnuwc");
  EXPECT_EQ(cornerOf(LoadImageByExtension(t.folder + "copied.png")), (PixelColor{10, 20, 30, 0}));
  EXPECT_TRUE(t.exists("copied.map"));
  EXPECT_EQ(driver.inputPath, t.folder + "copied.png");
};
const Step newPictureIsShown = [](WindowTest&) { EXPECT_EQ(cornerOf(mapImage.bitmap), PixelColor()); };
const Step worldFileStays = [](WindowTest& t) {
  EXPECT_EQ(contentOf(t.folder + "wales.tfw"), contentOf(SOURCE_FOLDER "/samples/wales/wales.tfw"));
};
const Step othersAreWritten = [](WindowTest& t) { EXPECT_TRUE(t.exists("wales_tiles/files/wales_400_400.jpg")); };
const Step fitted = [](WindowTest&) {
  EXPECT_EQ(driver.inputFormat, nullptr);
  EXPECT_NEAR(calibration.tf1, 0.001, 1e-12);
};
const Step goesOn = [](WindowTest& t) {
  t.onMap = nullptr;
  t.choose("mnuvc");
  EXPECT_EQ(t.someone.seen.size(), 2U);
};
/// Where the datums and 7-Zip are, without the test's folder.
Step located(const std::string& datums, const std::string& sevenZip) {
  return [=](WindowTest& t) {
    EXPECT_EQ(preferences.datumsPath, datums.empty() ? SOURCE_FOLDER "/data/datums.txt" : t.folder + datums);
    EXPECT_EQ(preferences.sevenZipPath, sevenZip.empty() ? "" : t.folder + sevenZip);
    for (const char* key : {"folder", sevenZip.empty() ? "programFolder" : "tableFolder"}) {
      EXPECT_FALSE(windowSettings().contains(key)) << "pickers of another kind begin there";
    }
  };
}
Step heightOf(const char* name, int height) {
  return [=](WindowTest& t) { EXPECT_EQ(imageSize(t.folder + name)->height, height); };
}

const std::string start = "Start with a map: Open a calibration that another program made, to convert it";
const std::string pending = "The map is calibrated: ", done = "The calibrations are written: ";
const std::string none = "The map is not calibrated: ", size = "wales.png, 520 x 600 pixels, ",
                  wales = size + "9 points";
const std::string scan = "scan%1.png, 300 x 300 pixels, ", clip = "clip.board, 300 x 200 pixels, ";

const std::string mayRead = "Not written|Calibrations not written : OK to read else cancel";
const std::string mayExit = "Not written|Calibrations not written : OK to exit program else cancel";
const std::string mayAbandon = "Not written|Calibrations not written : OK to abandon them else cancel; ";
const std::string maySave = "Preferences not saved|OK to save preferences, cancel to ignore";
const std::string whichMap = "Open calibration file for map", whichImage = "Open image file";
const std::string newImage = whichImage + "; calibrate";
const std::string baseMap = "Open calibration file for base map", mergeMap = "Open calibration file for merge map";
const std::string unreadable = "; Vellandra|file load error 1";
const std::string tooFew = "Insufficient points to proceed", saveAs = "Save image file  ",
                  tiles = "Garmin Tile controls";
const std::string about = "About|See 'readme.txt' distributed with this program", noText = "|Unable to read readme.txt";
const std::string noTable = "Open datums.txt file ; No datums|Unable to load datums.txt";
const std::string noDatum = "Vellandra|There is no datum in readme.txt, the table stays as it was";
const std::string copies = "Vellandra|Click 'Yes' to copy coordinates from the clipboard\n'No' to calibrate manually";
const std::string otherSize =
    "Vellandra|The image is 300 x 300 now, the calibration is for 520 x 600\nOpen the calibration again";
const std::string names =
    "\nWritten: wales.tfw, wales.js, wales.jpr, wales_png.cal, wales.gmi, wales.mcd, wales.txt\ndone";
const std::string kept = "wales.txt\nKept as they were: wales.tfw\ndone", error = "***** Error *****\nSubscript out";

// clang-format off
const Way ways[] = {
    {"OpenGivesUp", "mnufo", made, "OK; wales.map", mayRead + "; " + whichMap, pending + wales, "", "!unfinished-1.txt"},
    {"OpenReads", "mnufo", {}, "wales.map", whichMap, pending + wales, "Average error per calibration", "!wales.jpr"},
    {"OpenNeedsDatums", "mnufo", noDatums, "-; OK", noTable, start},
    {"OpenKeepsPending", "mnufo", opened, "Cancel", mayRead, pending + wales},
    {"LoadCalibrates", "mnulm", placing(3), "scan%1.png", newImage, pending + scan + "3 points", "datum is WGS 84",
     "!scan%1.map"},
    {"LoadKeepsPending", "mnulm", made, "Cancel", mayRead, pending + wales, "", "unfinished-1.txt"},
    {"LoadCancelled", "mnulm", opened, "OK; -", mayRead + "; " + whichImage, pending + wales},
    {"LoadEndsCancelled", "mnulm", both(made, cancelling), "OK; scan%1.png", mayRead + "; " + newImage, pending + wales,
     "Cancelled", "unfinished-1.txt"},
    {"LoadTooFewPoints", "mnulm", placing(1), "scan%1.png", newImage, none + scan + "1 point", tooFew},
    {"LoadUnreadable", "mnulm", written, "broken.png; OK", whichImage + unreadable, done + wales,
     "broken.png: the image cannot be decoded"},
    {"LoadNeedsDatums", "mnulm", noDatums, "scan%1.png; -; OK", whichImage + "; " + noTable, start},
    {"ClipboardWithPoints", "mnulic", copied, "Enter", copies, pending + clip + "3 points",
     "north, 1, 2, 3 : not four numbers, skipped", "", clipboardIsWritten},
    {"ClipboardByHand", "mnulic", both(copied, placing(2)), "-", copies + "; calibrate", pending + clip + "2 points",
     "", "unfinished-1.png"},
    {"ClipboardWithoutText", "mnulic", both(copiedWith(""), placing(2)), "Enter", copies + "; calibrate",
     pending + clip + "2 points"},
    {"ClipboardIsNotKept", "mnulic", both(both(copied, unsaved), placing(2)), "-", copies + "; calibrate",
     pending + clip + "2 points", "The points are not kept", "!unfinished-1.txt"},
    {"ClipboardTooManyPoints", "mnulic", both(made, tooMany), "OK; Yes", mayRead + "; " + copies, pending + wales, error,
     "unfinished-1.txt"},
    {"ClipboardKeepsPending", "mnulic", both(opened, copied), "Cancel", mayRead, pending + wales, "", "", isLeft},
    {"ClipboardNeedsDatums", "mnulic", both(noDatums, copied), "-; OK", noTable, start, "", "", isLeft},
    {"WriteEndsKeeping", "mnuwc", made, "", "", done + wales, names, "!unfinished-1.txt"},
    {"WriteWrites", "mnuwc", written, "", "", done + wales, names, "wales.jpr"},
    {"WriteCancelled", "mnuwc", opened, "Cancel", "Vellandra|OK to overwrite wales.tfw", done + wales, kept,
     "wales.jpr", worldFileStays},
    {"TrekbuddyWrites", "mnuwmt", written, "", "", done + wales, "Tiles and .map file", "wales_tiles/wales.set"},
    {"GarminWrites", "mwgcm", written, "", "", done + wales, "Done Garmin Custom map", "", othersAreWritten},
    {"GarminTellsLaterThatPackingFailed", "mwgcm", both(written, failing), "", "", done + wales,
     "Done Garmin Custom map", "!wales.kmz", failureIsTold},
    {"GarminWritesTheTicked", "mwgcm", both(advanced, unticking), "", tiles, done + wales, "Tiles 3 by 3\n",
     "!wales_tiles/files/wales_200_200.jpg", othersAreWritten},
    {"GarminCancelled", "mwgcm", advanced, "-", tiles, done + wales, "", "!wales_tiles"},
    {"ExitCancelled", "mnuexit", made, "Cancel", mayExit, pending + wales, "", "unfinished-1.txt"},
    {"ExitUnwritten", "mnuexit", made, "OK", mayExit, "closed", "", "!unfinished-1.txt"},
    {"ExitSaves", "mnuexit", changed, "OK", maySave, "closed", "", "calconv.ini"},
    {"ExitIgnores", "mnuexit", changed, "Cancel", maySave, "closed", "", "!calconv.ini"},
    {"ViewRecalculates", "mnuvc", both(opened, placing(3)), "", "view", pending + size + "3 points",
     "Recalculating...........................\n", "", fitted},
    {"ViewCloses", "mnuvc", written, "", "view", done + wales},
    {"ViewTooFewPoints", "mnuvc", both(written, placing(1)), "", "view", none + size + "1 point", tooFew,
     "unfinished-1.txt", cannotBeWritten},
    {"ViewSeesLaterFile", "mnuvc", replaced(520, 600, true), "", "view", done + wales, "", "", newPictureIsShown},
    {"ViewSeesOtherBytes", "mnuvc", replaced(520, 600, false), "", "view", done + wales, "", "", newPictureIsShown},
    {"ViewRefusesAnotherSize", "mnuvc", replaced(300, 300, false), "OK", otherSize, done + wales},
    {"ViewErrorIsShown", "mnuvc", both(written, throwing), "", "view", done + wales, error, "", goesOn},
    {"DatumsLocated", "eldf", otherTable, "other.txt", "Open datums.txt file ", start, "", "",
     located("other.txt", "")},
    {"DatumsRefused", "eldf", {}, "readme.txt; OK", "Open datums.txt file ; " + noDatum, start, "", "",
     located("", "")},
    {"SevenZipLocated", "mnuel7z", {}, "readme.txt", "Find 7z.exe ", start, "", "", located("", "readme.txt")},
    {"SevenZipCancelled", "mnuel7z", {}, "-", "Find 7z.exe ", start, "", "", located("", "")},
    {"RescaleSaves", "mnurs", written, "50; half.png", "Vellandra; " + saveAs, done + wales, "Done rescaling",
     "half.map", heightOf("half.png", 300)},
    {"RescaleCancelled", "mnurs", written, "-", "Vellandra", done + wales},
    {"CropSaves", "mnucm", both(written, cropping), "part.png", "crop; " + saveAs, done + wales, "Done cropping",
     "part.map", heightOf("part.png", 200)},
    {"CropCancelled", "mnucm", written, "", "crop", done + wales},
    {"MergeCancelled", "mnumm", made, "OK; wales.map; -; OK",
     mayAbandon + baseMap + "; " + mergeMap + "; No input|No input file specified", pending + wales, "",
     "unfinished-1.txt"},
    {"HelpTells", "mnuhelphelp", {}, "OK", about, start},
    {"HelpOpensTheText", "mnuhelphelp", {}, "openReadme; -", about + "; readme.txt", start},
    {"HelpMissesTheText", "mnuhelphelp", noReadme, "openReadme; OK", about + "; Vellandra" + noText, start},
};
// clang-format on
INSTANTIATE_TEST_SUITE_P(Commands, CommandTest, testing::ValuesIn(ways),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
}  // namespace vellandra
