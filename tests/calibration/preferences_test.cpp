#include "calibration/preferences.h"

#include "calibration/pickers.h"
#include "core_fixture.h"
#include "support/paths.h"

namespace vellandra {
namespace {

class PreferencesTest : public CoreTest {
 protected:
  PreferencesTest() { setenv("VELLANDRA_HOME", folder.c_str(), 1); }
  ~PreferencesTest() override { unsetenv("VELLANDRA_HOME"); }
  void read(const std::string& content) const {
    writeTestFile(folder + "calconv.ini", content);
    readPreferences();
  }
};

TEST_F(PreferencesTest, DefaultsAreWrittenInFull) {
  readPreferences();
  ASSERT_TRUE(writePreferences());
  const std::string text =
      "'Calibration conversion preferences file\r\nWarnoverwrite=True\r\nWriteWGS84=False\r\nstretchnotrotate=False\r\n"
      "ShowGrid=True\r\ndatumstxt=" +
      folder +
      "datums.txt\r\n7zip=\r\ndegreeformat=1\r\nmatchdatum=WGS 84=WGS 84\r\ntilewidth=200\r\ntileheight=200\r\n"
      "GarminDrawOrder=20\r\nGarminJpegQuality=5\r\nAdvancedGarminMapping=False\r\nKMZTransparency=1\r\n";
  EXPECT_EQ(contentOf(folder + "calconv.ini"), text);
}

TEST_F(PreferencesTest, ReadThenWrittenStaysTheSame) {
  read(
      "WARNOVERWRITE=FALSE\nWriteWGS84 = true\n7zip=/Opt/7ZZ\ndatumstxt=/Maps/D.txt\ndegreeformat=3\nmatchdatum=my "
      "datum=european 1950\n"
      "tilewidth=256\ntilewidth=512\nGarminDrawOrder=-1\nKMZTransparency=0\n'tileheight=7\nnonsense=1\nShowGrid\n");
  EXPECT_FALSE(preferences.warnOverwrite);
  EXPECT_TRUE(preferences.writeWgs84);
  EXPECT_EQ(preferences.sevenZipPath, "/opt/7zz");  // found all the same: names are looked up without regard to case
  EXPECT_EQ(preferences.datumsPath, "/maps/d.txt");
  EXPECT_EQ(preferences.degreeFormat, 3);
  EXPECT_EQ(preferences.unmatchedName, "MY DATUM            ");
  EXPECT_EQ(preferences.matchedName, "EUROPEAN 1950       ");
  EXPECT_EQ(preferences.tileWidth, 512);
  EXPECT_EQ(preferences.tileHeight, 200);
  EXPECT_EQ(preferences.garminDrawOrder, -1);
  ASSERT_TRUE(writePreferences());
  const std::string once = contentOf(folder + "calconv.ini");
  readPreferences();
  ASSERT_TRUE(writePreferences());
  EXPECT_EQ(contentOf(folder + "calconv.ini"), once);
}

TEST_F(PreferencesTest, NumberThatDoesNotFitKeepsItsDefaultAndIsTold) {
  read("tilewidth=99999\ndegreeformat=7\ntileheight=wide\nGarminJpegQuality=1e99\n");
  EXPECT_EQ(preferences.tileWidth, 200);
  EXPECT_EQ(preferences.degreeFormat, 1);
  EXPECT_EQ(preferences.garminJpegQuality, 5);
  EXPECT_NE(person.panel.find("calconv.ini: tilewidth=99999 is not allowed, 200 is used"), std::string::npos);
  EXPECT_NE(person.panel.find("tileheight=wide"), std::string::npos);
}

TEST_F(PreferencesTest, DialogRefusesWhatIsOutOfRange) {
  readPreferences();
  storePreferences({false, true, true, "300", "0", false, true, false, "100", "50", 2});
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{"Tile height must be 1 to 32767", "Draw order must be 01 to 99",
                                      "JPEG quality must be 01 to 99"}));
  EXPECT_EQ(preferences.tileWidth, 300);
  EXPECT_EQ(preferences.tileHeight, 200);
  EXPECT_EQ(preferences.garminDrawOrder, 20);
  EXPECT_EQ(preferences.garminJpegQuality, 5);
  EXPECT_EQ(preferences.kmzTransparency, 0);
  EXPECT_TRUE(preferences.stretchNotRotate);
  EXPECT_TRUE(preferencesChanged);
  storePreferences({true, true, true, "40000", "x", false, true, true, "99", "1", 2});
  EXPECT_EQ(preferences.tileWidth, 300);
  EXPECT_EQ(preferences.garminDrawOrder, 99);
  EXPECT_EQ(preferences.garminJpegQuality, 1);
}

TEST_F(PreferencesTest, LeavingAsksAboutWhatIsNotSaved) {
  driver.calibrationPending = true;
  EXPECT_FALSE(endSession());
  EXPECT_EQ(person.boxes.back().text, "Calibrations not written : OK to exit program else cancel");
  EXPECT_EQ(person.boxes.back().title, "Not written");

  person.pickedFiles = {folder + "none"};
  EXPECT_FALSE(locateSevenZip());
  EXPECT_EQ(person.boxes.back().text, "Missing file " + folder + "none");
  writeTestFile(folder + "7zz", "");
  person.pickedFiles = {folder + "7zz"};
  EXPECT_EQ(locateSevenZip(), true);
  EXPECT_EQ(person.pickers.back().title, "Find 7z.exe ");
  EXPECT_EQ(locateDatumsFile(), false);
  person.boxAnswers = {Answer::ok, Answer::ok};
  EXPECT_TRUE(endSession());
  EXPECT_EQ(person.boxes.back().text, "OK to save preferences, cancel to ignore");
  EXPECT_EQ(person.boxes.back().title, "Preferences not saved");
  EXPECT_NE(contentOf(folder + "calconv.ini").find("7zip=" + folder + "7zz\r\n"), std::string::npos);
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
  EXPECT_EQ(person.boxes.back().text, "unable to write /proc/none/vellandra/vellandra.log");
  unsetenv("XDG_DATA_HOME");
}

}  // namespace
}  // namespace vellandra
