#include "calibration/preferences.h"

#include "calibration/pickers.h"
#include "core_fixture.h"
#include "support/paths.h"

namespace vellandra {
namespace {

class PreferencesTest : public CoreTest {
 protected:
  void read(const std::string& content) const {
    writeTestFile(folder + "calconv.ini", content);
    readPreferences();
  }
};

TEST_F(PreferencesTest, DefaultsAreWrittenInFull) {
  readPreferences();
  ASSERT_TRUE(writePreferences());
  EXPECT_EQ(written("calconv.ini"),
            "'Calibration conversion preferences file\r\nWarnoverwrite=True\r\nWriteWGS84=False\r\n"
            "stretchnotrotate=False\r\nShowGrid=True\r\ndatumstxt=" +
                folder +
                "datums.txt\r\n7zip=\r\ndegreeformat=1\r\nmatchdatum=WGS 84=WGS 84\r\ntilewidth=200\r\n"
                "tileheight=200\r\nGarminDrawOrder=20\r\nGarminJpegQuality=5\r\nAdvancedGarminMapping=False\r\n"
                "KMZTransparency=1\r\n");
}

TEST_F(PreferencesTest, ReadInAnyCaseAndWrittenStayTheSame) {
  read(
      "WARNOVERWRITE=FALSE\nWriteWGS84 = true\n7zip=/Opt/7ZZ\ndatumstxt=/Maps/D.txt\ndegreeformat=3\n"
      "matchdatum=my datum=european 1950\nStretchNotRotate=TRUE\nshowgrid=no\ntilewidth=256\ntilewidth=512\n"
      "GarminDrawOrder=-1\nadvancedgarminmapping=true\nKMZTransparency=0\n'tileheight=7\nnonsense=1\nShowGrid\n");
  // Paths are found all the same: names are looked up without regard to case.
  const std::string once =
      "'Calibration conversion preferences file\r\nWarnoverwrite=False\r\nWriteWGS84=True\r\nstretchnotrotate=True\r\n"
      "ShowGrid=False\r\ndatumstxt=/maps/d.txt\r\n7zip=/opt/7zz\r\ndegreeformat=3\r\n"
      "matchdatum=MY DATUM=EUROPEAN 1950\r\ntilewidth=512\r\ntileheight=200\r\nGarminDrawOrder=-1\r\n"
      "GarminJpegQuality=5\r\nAdvancedGarminMapping=True\r\nKMZTransparency=0\r\n";
  for (int time = 1; time <= 2; ++time) {
    ASSERT_TRUE(writePreferences());
    EXPECT_EQ(written("calconv.ini"), once);
    readPreferences();
  }
  EXPECT_EQ(preferences.matchedName, datumColumnName("European 1950"));
  EXPECT_TRUE(person.panel.empty()) << person.panel;
}

TEST_F(PreferencesTest, NumberThatDoesNotFitKeepsItsDefaultAndIsTold) {
  read("tilewidth=99999\ndegreeformat=7\ntileheight=wide\nGarminJpegQuality=1e99\n");
  EXPECT_EQ(person.panel,
            "calconv.ini: tilewidth=99999 is not allowed, 200 is used\r\n"
            "calconv.ini: degreeformat=7 is not allowed, 1 is used\r\n"
            "calconv.ini: tileheight=wide is not allowed, 200 is used\r\n"
            "calconv.ini: GarminJpegQuality=1e99 is not allowed, 5 is used\r\n");
  EXPECT_EQ(preferences, defaultPreferences());
}

TEST_F(PreferencesTest, DialogRefusesWhatIsOutOfRange) {
  readPreferences();
  Preferences expected = preferences;
  storePreferences({false, true, true, "300", "0", false, true, false, "100", "50", 2});
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{"Tile height must be 1 to 32767", "Draw order must be 01 to 99",
                                      "JPEG quality must be 01 to 99"}));
  EXPECT_TRUE(preferencesChanged);
  expected.warnOverwrite = expected.showGrid = false;
  expected.stretchNotRotate = expected.writeWgs84 = expected.advancedGarminMapping = true;
  expected.tileWidth = 300, expected.kmzTransparency = 0, expected.degreeFormat = 2;
  EXPECT_EQ(preferences, expected);
  storePreferences({false, true, true, "40000", "x", false, true, false, "99", "1", 2});
  EXPECT_EQ(person.boxes[3].text, "Tile width must be 1 to 32767");
  expected.garminDrawOrder = 99, expected.garminJpegQuality = 1;
  EXPECT_EQ(preferences, expected);
}

TEST_F(PreferencesTest, LeavingAsksAboutWhatIsNotSaved) {
  driver.calibrationPending = true;
  EXPECT_FALSE(endSession());
  EXPECT_EQ(lastBox(), "Calibrations not written : OK to exit program else cancel");
  EXPECT_EQ(person.boxes.back().title, "Not written");

  person.pickedFiles = {folder + "none"};
  EXPECT_FALSE(locateSevenZip());
  EXPECT_EQ(lastBox(), "Missing file " + folder + "none");
  writeTestFile(folder + "7zz", "");
  person.pickedFiles = {folder + "7zz"};
  EXPECT_TRUE(locateSevenZip());
  const FilePicker& picker = person.pickers.back();
  EXPECT_EQ(picker.title + picker.filter + picker.defaultName, "Find 7z.exe Exe files(*.exe)|*.exe*.exe");
  EXPECT_FALSE(locateDatumsFile());
  const FilePicker& other = person.pickers.back();
  EXPECT_EQ(other.title + other.filter + other.defaultName, "Open datums.txt file Text files(*.txt)|*.txt*.txt");
  person.boxAnswers = {Answer::ok, Answer::ok};
  EXPECT_TRUE(endSession());
  EXPECT_EQ(lastBox(), "OK to save preferences, cancel to ignore");
  EXPECT_EQ(person.boxes.back().title, "Preferences not saved");
  EXPECT_NE(written("calconv.ini").find("7zip=" + folder + "7zz\r\n"), std::string::npos);
}

TEST_F(PreferencesTest, SessionGoesOnWithoutAFolderToWriteTo) {
  setenv("VELLANDRA_HOME", "/proc/none", 1);
  setenv("XDG_DATA_HOME", (folder + "data").c_str(), 1);
  startSession();
  EXPECT_TRUE(std::filesystem::exists(folder + "data/vellandra/vellandra.log"));
  EXPECT_TRUE(writePreferences());
  EXPECT_EQ(settingsFileForReading("calconv.ini"), folder + "data/vellandra/calconv.ini");
  setenv("XDG_DATA_HOME", "/proc/none", 1);
  EXPECT_FALSE(writePreferences());
  startSession();
  EXPECT_EQ(lastBox(), "unable to write /proc/none/vellandra/vellandra.log");
  unsetenv("XDG_DATA_HOME");
}

TEST_F(PreferencesTest, LogThatCannotBeWrittenIsToldAtTheEnd) {
  std::filesystem::remove(folder + "vellandra.log");
  std::filesystem::create_symlink("/dev/full", folder + "vellandra.log");
  startSession();
  writeLog("a line");
  endLog();
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"unable to write " + folder + "vellandra.log"});
  endLog();
  EXPECT_EQ(person.boxes.size(), 1U);
}

}  // namespace
}  // namespace vellandra
