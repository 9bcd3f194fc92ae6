#include "imaging/garmin_map.h"

#include <sys/wait.h>

#include <thread>
#include <tuple>

#include "imaging/garmin_archive.h"
#include "imaging/garmin_overlay.h"
#include "imaging/tiles_fixture.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

class GarminMapTest : public TilesTest {
 protected:
  /// Waits for another program; false when it does not do in time what is waited for.
  static bool comesTrue(const std::function<bool()>& condition) {
    for (int waited = 0; waited < 2000 && !condition(); ++waited) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
  }

  /// Waits for the end of 7-Zip.
  bool isPacked(const std::string& archive) const {
    return comesTrue([&] { return !GarminArchive(folder + archive).isBeingPacked(); }) && fs::exists(folder + archive);
  }

  /// What the archive holds, a name a line.
  std::string listing(const std::string& archive) const {
    EXPECT_TRUE(isPacked(archive)) << archive;
    const std::string script =
        "import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); assert z.testzip() is None; "
        "print(*sorted(n for n in z.namelist() if n[-1] != '/'), sep=chr(10))";
    shell("/usr/bin/python3 -c \"" + script + "\" '" + folder + archive + "' > " + folder + "listing 2>&1");
    return written("listing");
  }
};

TEST_F(GarminMapTest, TextsToTheLetter) {
  setTileSize(100, 200);
  preferences.garminJpegQuality = 4;
  preferences.garminDrawOrder = 7;
  preferences.kmzTransparency = 0;
  openMap("area.png", allocate24Bits(100, 400), linearMap(100, 400, 5, 50, 0.001));
  clearPanel();
  ASSERT_TRUE(WriteGarminCustomMap());
  const auto overlay = [](const std::string& name, const char* north, const char* south) {
    return "<GroundOverlay> <name>" + name +
           "</name>\r\n<drawOrder>7</drawOrder>\r\n<color>ffffffff</color>\r\n<Icon> <href>files/" + name +
           ".jpg</href>\r\n</Icon> \r\n<LatLonBox> \r\n<north>" + north + "</north>\r\n<south>" + south +
           "</south>\r\n<east>5.1000000000</east>\r\n<west>5.0000000000</west>\r\n<rotation>0.0000000000</rotation>\r\n"
           "</LatLonBox> \r\n</GroundOverlay> \r\n";
  };
  EXPECT_EQ(kml(),
            "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
            "<kml xmlns=\"http://www.opengis.net/kml/2.2\" xmlns:gx=\"http://www.google.com/kml/ext/2.2\" "
            "xmlns:kml=\"http://www.opengis.net/kml/2.2\" xmlns:atom=\"http://www.w3.org/2005/Atom\">\r\n"
            "<Folder>\r\n <name>area</name>\r\n" +
                overlay("area_0_0", "50.0000000000", "49.8000000000") +
                overlay("area_0_200", "49.8000000000", "49.6000000000") + "</Folder>\r\n</kml>\r\n");
  EXPECT_EQ(person.panel, "Tiles 1 by 2\r\nWriting tiles to " + folder +
                              "area_tiles/files\r\nRebuilding palette, please wait...\r\nRotation 0\r\n"
                              "Tiles and doc.kml file written\r\nDone Garmin Custom map\r\n"
                              "No .kmz was made, which takes the program 7-Zip: install it, choose Edit > Locate 7-Zip "
                              "program and write the map again\r\n");
  EXPECT_LT(log().find(":" + folder + "area_tiles/files/area_0_0.jpg\r\n"), log().find(":Jpeg quality 256\r\n"));
  preferences.kmzTransparency = 3;
  preferences.garminJpegQuality = 0;
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(between(kml(), "<color>", "<"), (Texts{"80ffffff", "80ffffff"}));
  EXPECT_TRUE(logHas(":Jpeg quality 0\r\n"));

  preferences.gisPrograms = true;
  openMap("50 %.png", allocate24Bits(100, 100), linearMap(100, 100, 5, 50, 0.001));
  ASSERT_TRUE(WriteGarminCustomMap());
  const std::string document = contentOf(folder + "50 %_tiles/doc.kml");
  EXPECT_NE(document.find("<Document>\r\n<Folder>"), std::string::npos);
  EXPECT_NE(document.find("</color>\r\n<drawOrder>7</drawOrder>"), std::string::npos);
  EXPECT_EQ(between(document, "files/", "<"), Texts{"50%20%25_0_0.jpg"});
  EXPECT_EQ(shell("ogrinfo -q '" + folder + "50 %_tiles/doc.kml' > " + folder + "x"), 0) << "GDAL reads it";
}

TEST_F(GarminMapTest, KmlIsWellFormedAndKeepsNamesWhateverTheyHold) {
  const std::pair<std::string, std::string> rows[] = {
      // on disk, in the document
      {"a & b <c> \"d\" 'e'", "a & b <c> \"d\" 'e'"},
      {"]]>&amp;%20", "]]>&amp;%20"},
      {"\xC3\xA9t\xC3\xA9 \xF0\x9F\x97\xBA", "\xC3\xA9t\xC3\xA9 \xF0\x9F\x97\xBA"},
      {"\xE9t\xE9\x80", "\xC3\xA9t\xC3\xA9\xE2\x82\xAC"},
      {"tab\tline\nreturn\rend", "tab\tline\nreturn\rend"},
      {"\x01 bell\x07 \xEF\xBF\xBF", "\xEF\xBF\xBD bell\xEF\xBF\xBD \xEF\xBF\xBD"}};
  for (const auto& [base, name] : rows) {
    openMap(base + ".png", 30, 20);
    ASSERT_TRUE(WriteGarminCustomMap()) << name;
    EXPECT_TRUE(fs::exists(folder + base + "_tiles/files/" + base + "_0_0.jpg")) << name;
    fs::copy_file(folder + base + "_tiles/doc.kml", folder + "doc.kml", fs::copy_options::overwrite_existing);
    const std::string texts =
        "concat(//*[local-name()='Folder']/*[local-name()='name'], ' ', //*[local-name()='href'])";
    ASSERT_EQ(shell("xmllint --xpath \"" + texts + "\" " + folder + "doc.kml > " + folder + "x"), 0) << name;
    EXPECT_EQ(written("x"), name + " files/" + name + "_0_0.jpg\n");
  }
}

/// A map that is turned by `degrees`, whose pixels are `pixel` degrees of latitude high and as wide on the ground at
/// the latitude of its middle.
Calibration turnedMap(double longitude, double pixel, double degrees) {
  Calibration map = linearMap(500, 350, longitude, 50, pixel, degrees);
  const double middle = positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0).latitude;
  map.tf1 /= std::cos(middle * degToRad);
  map.tf3 /= std::cos(middle * degToRad);
  placeCorners(map);
  return map;
}

TEST_F(GarminMapTest, OtherProgramsPlaceTheTilesWhereTheCalibrationDoesOrThePanelNamesThem) {
  Calibration stretched = turnedMap(5, 1e-5, 20);  // pixels twice as high as wide
  stretched.tf3 *= 2, stretched.tf4 *= 2;
  placeCorners(stretched);
  Calibration mirrored = turnedMap(5, 1e-5, 0);
  mirrored.tf4 *= -1;
  placeCorners(mirrored);
  const std::tuple<const char*, Calibration, int, std::size_t> rows[] = {
      // name, map, tile side, how many tiles the panel names
      {"upright", turnedMap(5, 1e-5, 0), 128, 0},
      {"turned by -30", turnedMap(5, 1e-5, -30), 128, 0},
      {"turned by 89.9", turnedMap(5, 1e-5, 89.9), 128, 0},
      {"turned by 90", turnedMap(5, 1e-5, 90), 128, 0},
      {"turned by 90.1", turnedMap(5, 1e-5, 90.1), 128, 0},
      {"turned by 135", turnedMap(5, 1e-5, 135), 128, 0},
      {"turned by 180", turnedMap(5, 1e-5, 180), 128, 0},
      {"turned by 270", turnedMap(5, 1e-5, 270), 128, 0},
      {"astride 180 and beyond", turnedMap(179.999, 1e-5, 10), 128, 0},
      {"beyond -180", turnedMap(-181, 1e-5, 89.4), 128, 0},
      {"stretched", stretched, 128, 12},
      {"mirrored", mirrored, 128, 12},
      {"tall Mercator", mercatorMap(500, 350, 5, 60, 0.01), 350, 2},
      {"tall Mercator in smaller tiles", mercatorMap(500, 350, 5, 60, 0.01), 88, 0},
      {"Mercator across the equator", mercatorMap(500, 350, 5, 45, 0.2), 88, 12}};
  preferences.sevenZipPath = "/usr/bin/7zz";
  for (const auto& [name, map, tileSide, named] : rows) {
    SCOPED_TRACE(name);
    setTileSize(tileSide, tileSide);
    openMap("area.png", picture(500, 350, 1), map);
    clearPanel();
    ASSERT_TRUE(WriteGarminCustomMap());
    ASSERT_TRUE(WriteTrekBuddyTiles());
    const Texts line = between(person.panel, "smaller tiles are closer: ", "\r");
    EXPECT_EQ(line.empty() ? 0U : between(line[0] + ",", "area_", ",").size(), named) << person.panel;
    writeTestFile(folder + "area.panel", person.panel);
    ASSERT_TRUE(isPacked("area.kmz"));
    std::string command = "/usr/bin/python3 " SOURCE_FOLDER "/tests/imaging/check_tiles.py " + folder + "area 500 350";
    if (map.isMercator()) command += " --mercator";
    const Calibration& c = calibration;
    for (const double term : {c.x0, c.tf1, c.tf3, c.y0, c.tf2, c.tf4}) command += " " + formatGeneral(term);
    EXPECT_EQ(shell(command + " > " + folder + "answer 2>&1"), 0) << written("answer");
  }
}

TEST_F(GarminMapTest, TheDialogChoosesTheTiles) {
  preferences.advancedGarminMapping = true;
  openMap("area.png", 300, 200);
  setTileSize(100, 100);
  EXPECT_FALSE(WriteGarminCustomMap()) << "closed without OK";
  EXPECT_EQ(filesIn(""), (std::set<std::string>{"area.png", "vellandra.log"}));
  EXPECT_EQ(person.boxTexts(), Texts());
  person.tileChoices = {[](TileControls& controls) {
    controls.lowerAcross();
    controls.raiseDown();
    EXPECT_EQ(controls.caption(), "Tiles 150 x 67  Tiles too big?? ");
    controls.toggle(2);
    controls.click(199, 1, 200, 100);  // tile 4
    EXPECT_EQ(controls.tile(4).left, 150);
    controls.confirm();
  }};
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(placedTiles(), (Texts{"area_0_0", "area_0_134", "area_150_67", "area_150_134"}));
  EXPECT_TRUE(panelHas("Tiles 2 by 3\r\n"));
}

TEST_F(GarminMapTest, WhatDevicesTakeIsToldBeforeOrBehindTheSteps) {
  const std::string many = "110 tiles: many devices load only the first 100, newer ones 500\r\n";
  const std::string reduced = "Tiles above one megapixel are shown at reduced detail\r\n";
  const std::string removed = "109 tiles of an earlier run removed from " + folder + "area_tiles/files\r\n";
  const std::tuple<int, int, int, std::string, std::string> rows[] = {
      {10, 100, 100, "", ""},
      {10, 110, 100, many, ""},
      {2000, 1024, 1024, "", removed},
      {2000, 1024, 1025, reduced, ""},
      {2000, 1400, 1400, reduced, "A tile should stay under 3 MB: area_0_0.jpg has "}};
  for (const auto& [tileSide, width, height, before, behind] : rows) {
    setTileSize(tileSide, tileSide);
    openMap("area.png", width < 1100 ? allocate24Bits(width, height) : noise(width, height),
            linearMap(width, height, 5, 50, 1e-5));
    clearPanel();
    ASSERT_TRUE(WriteGarminCustomMap());
    EXPECT_TRUE(person.panel.starts_with(before + "Tiles ")) << person.panel;
    EXPECT_EQ(panelHas(reduced), before == reduced) << width << " x " << height;
    EXPECT_TRUE(panelHas(behind)) << person.panel;
  }
}

TEST_F(GarminMapTest, PacksWhatIsThereNowUnderANameWithoutBlankAtTheEnd) {
  // The path is kept in lower case.
  fs::create_directory(folder + "7-Zip \"Program\"");
  fs::create_symlink("/usr/bin/7zz", folder + "7-Zip \"Program\"/7zz");
  preferences.sevenZipPath = lowerCase(folder + "7-Zip \"Program\"/7zz");
  fs::create_directory(folder + "my \"maps\"");
  setTileSize(100, 100);
  openMap("my \"maps\"/an area.png", 200, 100);
  const std::string tiles = folder + "my \"maps\"/an area_tiles/";
  const std::string archive = "my \"maps\"/an area.kmz";
  for (const bool again : {false, true}) {
    if (again) setTileSize(200, 200);
    ASSERT_TRUE(WriteGarminCustomMap());
    const std::string files = "\"" + folder + archive + " \" \"" + tiles + "doc.kml\" \"" + tiles + "files/\"";
    EXPECT_TRUE(person.panel.ends_with("\r\n\"" + preferences.sevenZipPath + "\" a -tzip -mx0 " + files +
                                       "\r\nDone Garmin Custom map\r\n"))
        << person.panel;
    EXPECT_EQ(listing(archive),
              again ? "doc.kml\nfiles/an area_0_0.jpg\n" : "doc.kml\nfiles/an area_0_0.jpg\nfiles/an area_100_0.jpg\n");
    EXPECT_EQ(filesIn("my \"maps\"").size(), 3U) << "the old archive is left over";
  }
  EXPECT_EQ(person.boxTexts(), Texts());
  // Its end is taken notice of: no entry is left in the table of processes.
  EXPECT_TRUE(comesTrue([] {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
  }));
}

TEST_F(GarminMapTest, NamesThatLookLikeSwitchesListsOrPatternsArePacked) {
  preferences.sevenZipPath = "/usr/bin/7zz";
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  for (const std::string base : {"area", "-sdel", "@area", "a*", "are?"}) {
    openMap(base + ".png", 30, 20);
    calibration.imagePath = base + ".png";
    EXPECT_TRUE(WriteGarminCustomMap());
    EXPECT_EQ(listing(base + ".kmz"), "doc.kml\nfiles/" + base + "_0_0.jpg\n");
  }
  fs::current_path(before);
}

TEST_F(GarminMapTest, TheOldArchiveKeepsItsNameUnlessANewOneIsPacked) {
  openMap("area.png", 30, 20);
  const std::string archive = folder + "area.kmz", aside = archive + ".vellandra-old";
  const std::string old = archive + " is the archive of an earlier run, without the new tiles\r\n";
  const std::string call = "Call to 7-Zip failed", failed = "7-Zip failed: " + archive;
  for (const char* name : {"text", "junk"}) writeTestFile(folder + name, "no program");
  writeTestFile(folder + "halfway", "#!/bin/sh\nprintf half > \"$4\"\nexit 1\n");
  writeTestFile(folder + "slow", "#!/bin/sh\nuntil test -e \"$4.go\"; do sleep 0.01; done\nprintf new > \"$4\"\n");
  for (const char* name : {"junk", "halfway", "slow"}) fs::permissions(folder + name, fs::perms::owner_all);
  // clang-format off
  const struct {
    std::string program, archive, aside;  ///< contents of files that are there before
    Texts boxes;
    std::string panel, content;           ///< a line; the archive afterwards
  } rows[] = {
      {"",                 "old", "",    {},     "program and write the map again\r\n" + old, "old"},
      {folder + "absent",  "old", "",    {call}, old,                               "old"},
      {folder + "text",    "old", "",    {call}, old,                               "old"},
      {folder + "junk",    "old", "",    {call}, old,                               "old"},
      {folder,             "old", "",    {call}, old,                               "old"},
      {folder + "junk",    "",    "old", {call}, "7-Zip was not seen to end: " + old, "old"},
      {"/bin/false",       "old", "",    {},     "7-Zip failed: " + old,            "old"},
      {"/bin/false",       "",    "old", {},     "7-Zip failed: " + old,            "old"},
      {"/bin/false",       "new", "old", {},     "7-Zip failed: " + old,            "new"},
      {"/bin/false",       "",    "",    {},     failed + " was not made\r\n",      ""},
      {folder + "halfway", "old", "",    {},     "7-Zip failed: " + old,            "old"},
      {folder + "halfway", "",    "",    {},     failed + " may lack tiles\r\n",    "half"}};
  // clang-format on
  const auto contentIfAny = [](const std::string& path) { return fs::exists(path) ? contentOf(path) : ""; };
  for (const auto& row : rows) {
    for (const auto& [path, content] : {std::pair(archive, row.archive), {aside, row.aside}}) {
      fs::remove(path);
      if (!content.empty()) writeTestFile(path, content);
    }
    person.boxes.clear();
    clearPanel();
    preferences.sevenZipPath = row.program;
    EXPECT_EQ(WriteGarminCustomMap(), row.boxes.empty());
    isPacked("area.kmz");
    notePackingFaults();
    EXPECT_EQ(person.boxTexts(), row.boxes);
    EXPECT_TRUE(panelHas(row.panel)) << person.panel;
    EXPECT_EQ(contentIfAny(archive) + contentIfAny(aside), row.content) << row.program;
  }
  // As the program would leave it, were it killed meanwhile.
  preferences.sevenZipPath = folder + "slow";
  writeTestFile(archive, "old");
  EXPECT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(contentIfAny(archive) + contentIfAny(aside), "old");
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_EQ(lastBox(), "7-Zip is still packing " + archive);
  writeTestFile(archive + ".go", "");
  EXPECT_TRUE(isPacked("area.kmz"));
  EXPECT_EQ(contentIfAny(archive) + contentIfAny(aside), "new");
  const std::string elsewhere = folder + "elsewhere.kmz";
  fs::rename(archive, elsewhere);
  fs::create_symlink("elsewhere.kmz", archive);
  writeTestFile(elsewhere + ".go", "");
  EXPECT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(isPacked("elsewhere.kmz"));
  EXPECT_TRUE(fs::is_symlink(archive) && contentOf(elsewhere) == "new");
}

}  // namespace
}  // namespace vellandra
