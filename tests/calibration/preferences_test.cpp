#include "calibration/preferences.h"

#include <sys/stat.h>

#include "calibration/pickers.h"
#include "core_fixture.h"
#include "support/paths.h"

namespace vellandra {
namespace {

using Texts = std::vector<std::string>;

class PreferencesTest : public CoreTest {
 protected:
  void read(const std::string& content) const {
    writeTestFile(folder + "calconv.ini", content);
    readPreferences();
  }
};

TEST_F(PreferencesTest, ReadInAnyCaseAndWrittenStayTheSame) {
  const std::string header = "'Calibration conversion preferences file\r\n";
  const std::string defaults =
      header +
      "Warnoverwrite=True\r\nWriteWGS84=False\r\nstretchnotrotate=False\r\nShowGrid=True\r\ndatumstxt=" + folder +
      "datums.txt\r\n7zip=\r\ndegreeformat=1\r\nmatchdatum=WGS 84=WGS 84\r\ntilewidth=200\r\n" +
      "tileheight=200\r\nGarminDrawOrder=20\r\nGarminJpegQuality=5\r\nAdvancedGarminMapping=False\r\n" +
      "KMZTransparency=1\r\n";
  const std::string given =
      "WARNOVERWRITE=FALSE\nWriteWGS84 = true\n7zip=/Opt/a=b/7ZZ\ndatumstxt=/Maps/D.txt\ndegreeformat=3\n"
      "matchdatum=my datum=european 1950\nmatchdatum=WGS 84=TOKYO=WGS "
      "84\nStretchNotRotate=TRUE\nshowgrid=no\ntilewidth=256\ntilewidth=512\n"
      "GarminDrawOrder=-1\nadvancedgarminmapping=true\nKMZTransparency=0\n'tileheight=7\nnonsense=1\nShowGrid\n";
  // Paths are found all the same: names are looked up without regard to case.
  const std::string asWritten =
      header + "Warnoverwrite=False\r\nWriteWGS84=True\r\nstretchnotrotate=True\r\nShowGrid=False\r\n" +
      "datumstxt=/maps/d.txt\r\n7zip=/opt/a=b/7zz\r\ndegreeformat=3\r\nmatchdatum=MY DATUM=EUROPEAN 1950\r\n" +
      "tilewidth=512\r\ntileheight=200\r\nGarminDrawOrder=-1\r\nGarminJpegQuality=5\r\n" +
      "AdvancedGarminMapping=True\r\nKMZTransparency=0\r\n";
  const std::pair<std::string, std::string> rows[] = {{"", defaults}, {given, asWritten}, {asWritten, asWritten}};
  for (const auto& [content, expected] : rows) {
    read(content);
    ASSERT_TRUE(writePreferences());
    EXPECT_EQ(written("calconv.ini"), expected);
  }
  EXPECT_EQ(preferences.matchedName, datumColumnName("European 1950"));
  EXPECT_TRUE(person.panel.empty()) << person.panel;
  preferences.sevenZipPath = "/opt\nWarnoverwrite=True";
  ASSERT_TRUE(writePreferences());
  EXPECT_EQ(written("calconv.ini").find("opt"), std::string::npos);
  EXPECT_EQ(person.panel, "calconv.ini: 7zip is not kept, its path holds a line break\r\n");
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
  storePreferences({false, true, true, "300", "0", false, true, false, "100", "50", 2, false});
  EXPECT_TRUE(preferencesChanged);
  expected.warnOverwrite = expected.showGrid = false;
  expected.stretchNotRotate = expected.writeWgs84 = expected.advancedGarminMapping = true;
  expected.tileWidth = 300, expected.kmzTransparency = 0, expected.degreeFormat = 2;
  EXPECT_EQ(preferences, expected);
  storePreferences({false, true, true, "40000", "300px", false, true, false, "99", "1", 2, true});
  expected.garminDrawOrder = 99, expected.garminJpegQuality = 1, expected.gisPrograms = true;
  EXPECT_EQ(preferences, expected);
  const std::string height = "Tile height must be 1 to 32767";
  EXPECT_EQ(person.boxTexts(), (Texts{height, "Draw order must be 01 to 99", "JPEG quality must be 01 to 99",
                                      "Tile width must be 1 to 32767", height}));
}

TEST_F(PreferencesTest, FileThatIsNotThereIsToldAndNotKept) {
  person.pickedFiles = {folder + "none", folder + "7zz"};
  writeTestFile(folder + "7zz", "");
  EXPECT_FALSE(locateSevenZip());
  EXPECT_FALSE(preferencesChanged);
  EXPECT_EQ(person.boxTexts(), Texts{"Missing file " + folder + "none"});
  EXPECT_TRUE(locateSevenZip());
  EXPECT_TRUE(preferencesChanged);
  EXPECT_EQ(preferences.sevenZipPath, folder + "7zz");
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
  EXPECT_EQ(person.boxTexts(), (Texts{"unable to write /proc/none/vellandra/calconv.ini",
                                      "unable to write /proc/none/vellandra/vellandra.log"}));
  unsetenv("XDG_DATA_HOME");
}

TEST_F(PreferencesTest, LogThatCannotBeWrittenIsTold) {
  const std::string told = "unable to write " + folder + "vellandra.log";
  std::filesystem::remove(folder + "vellandra.log");
  ASSERT_EQ(mkfifo((folder + "vellandra.log").c_str(), 0600), 0);
  startSession();  // and does not wait for a reader
  endLog();
  EXPECT_EQ(person.boxTexts(), Texts{told});
  std::filesystem::remove(folder + "vellandra.log");
  startSession();
  const FileSizeLimit limit(150);
  writeLog(std::string(200, 'x'));
  endLog();
  endLog();
  EXPECT_EQ(person.boxTexts(), Texts(2, told));
}

}  // namespace
}  // namespace vellandra
