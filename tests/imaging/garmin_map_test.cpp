#include "imaging/garmin_map.h"

#include <sys/wait.h>

#include <thread>
#include <tuple>

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

  /// What the archive holds as soon as it is there, a name a line.
  std::string listing(const std::string& archive) const {
    EXPECT_TRUE(comesTrue([&] { return fs::exists(folder + archive); })) << archive;
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
                              "Tiles and doc.kml file written\r\nDone Garmin Custom map\r\n");
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

TEST_F(GarminMapTest, BoxAndRotationByTheFormula) {
  calibration.x0 = 179.9, calibration.tf1 = 2e-4, calibration.tf3 = -7e-5;
  calibration.y0 = 60, calibration.tf2 = -5e-5, calibration.tf4 = -11e-5;
  const OverlayBox box = overlayBox({100, 200, 300, 500}, mapRotation());
  EXPECT_NEAR(box.north, 59.96898143658284, 1e-11);  // the formula in 40 digits (Python, mpmath)
  EXPECT_NEAR(box.south, 59.93401856341716, 1e-11);
  EXPECT_NEAR(box.east, 179.9366896201004, 1e-11);
  EXPECT_NEAR(box.west, 179.8943103798996, 1e-11);
  EXPECT_NEAR(box.rotation, -19.29004621918873, 1e-11);
  calibration = mercatorMap(400, 1000, 12, 40, 0.001);
  calibration.mercatorTop = MercatorY(40);
  calibration.mercatorBottom = MercatorY(39);
  EXPECT_NEAR(overlayBox({0, 500, 400, 1000}, mapRotation()).north, 39.50179850334617, 1e-11);  // as above
  calibration.tf1 = 0;
  for (const auto& [tf3, rotation] : {std::pair(2e-4, 90.0), {-2e-4, -90.0}, {0.0, 0.0}, {-0.0, 0.0}}) {
    calibration.tf3 = tf3;
    EXPECT_EQ(mapRotation(), rotation);
  }
}

/// A map that is turned by `degrees`, whose pixels are `pixel` degrees of latitude high and as wide on the ground at
/// the latitude of its middle.
Calibration turnedMap(int width, int height, double pixel, double degrees) {
  Calibration map = linearMap(width, height, 5, 50, pixel, degrees);
  const double middle = positionAt(map, width / 2.0, height / 2.0).latitude;
  map.tf1 /= std::cos(middle * degToRad);
  map.tf3 /= std::cos(middle * degToRad);
  placeCorners(map);
  return map;
}

TEST_F(GarminMapTest, OtherProgramsPlaceTheTilesWhereTheCalibrationDoes) {
  setTileSize(128, 128);
  preferences.sevenZipPath = "/usr/bin/7zz";
  for (const double degrees : {0.0, 1.0, -3.0, 5.0, 20.0}) {
    fs::remove(folder + "area.kmz");
    openMap("area.png", picture(500, 350, 1), turnedMap(500, 350, 1e-5, degrees));
    ASSERT_TRUE(WriteGarminCustomMap());
    ASSERT_TRUE(WriteTrekBuddyTiles());
    EXPECT_FALSE(panelHas("exactly")) << degrees;
    ASSERT_TRUE(comesTrue([&] { return fs::exists(folder + "area.kmz"); }));
    std::string command = "/usr/bin/python3 " SOURCE_FOLDER "/tests/imaging/check_tiles.py " + folder + "area 500 350";
    const Calibration& c = calibration;
    for (const double term : {c.x0, c.tf1, c.tf3, c.y0, c.tf2, c.tf4}) command += " " + formatGeneral(term);
    EXPECT_EQ(shell(command + " > " + folder + "answer 2>&1"), 0) << degrees << ": " << written("answer");
  }
  // Pixels twice as high as wide: no box fits when they are turned.
  Calibration stretched = turnedMap(500, 350, 1e-5, 20);
  stretched.tf3 *= 2;
  stretched.tf4 *= 2;
  preferences.sevenZipPath.clear();
  openDerivedMap(stretched, folder + "area.png");
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(panelHas("A box and a rotation cannot place this map's tiles exactly: corners are up to "));
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
  const std::string others = "109 other files are in " + folder + "area_tiles/files, perhaps from an earlier run\r\n";
  const std::tuple<int, int, int, std::string, std::string> rows[] = {
      {10, 100, 100, "", ""},
      {10, 110, 100, many, ""},
      {2000, 1024, 1024, "", others},
      {2000, 1024, 1025, reduced, others},
      {2000, 1400, 1400, reduced, "A tile should stay under 3 MB: area_0_0.jpg has "}};
  for (const auto& [tileSide, width, height, before, behind] : rows) {
    setTileSize(tileSide, tileSide);
    openMap("area.png", width < 1100 ? allocate24Bits(width, height) : noise(width, height),
            linearMap(width, height, 5, 50, 1e-5));
    clearPanel();
    ASSERT_TRUE(WriteGarminCustomMap());
    EXPECT_TRUE(person.panel.starts_with(before + "Tiles ")) << person.panel;
    EXPECT_EQ(panelHas(reduced), before == reduced) << width << " x " << height;
    EXPECT_TRUE(panelHas("Done Garmin Custom map\r\n" + behind)) << person.panel;
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
    if (again) fs::remove_all(tiles + "files");
    if (again) setTileSize(200, 200);
    ASSERT_TRUE(WriteGarminCustomMap());
    const std::string files = "\"" + folder + archive + " \" \"" + tiles + "doc.kml\" \"" + tiles + "files/\"";
    EXPECT_TRUE(person.panel.ends_with("\r\n\"" + preferences.sevenZipPath + "\" a -tzip -mx0 " + files +
                                       "\r\nDone Garmin Custom map\r\n"))
        << person.panel;
    EXPECT_EQ(listing(archive),
              again ? "doc.kml\nfiles/an area_0_0.jpg\n" : "doc.kml\nfiles/an area_0_0.jpg\nfiles/an area_100_0.jpg\n");
    EXPECT_TRUE(comesTrue([&] { return filesIn("my \"maps\"").size() == 3; })) << "the old archive is left over";
  }
  EXPECT_EQ(person.boxTexts(), Texts());
  // Its end is taken notice of: no entry is left in the table of processes.
  EXPECT_TRUE(comesTrue([] {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
  }));
}

TEST_F(GarminMapTest, NamesThatLookLikeSwitchesOrListsArePacked) {
  preferences.sevenZipPath = "/usr/bin/7zz";
  const fs::path before = fs::current_path();
  fs::current_path(folder);
  for (const std::string base : {"-sdel", "@area"}) {
    openMap(base + ".png", 30, 20);
    calibration.imagePath = base + ".png";
    EXPECT_TRUE(WriteGarminCustomMap());
    EXPECT_EQ(listing(base + ".kmz"), "doc.kml\nfiles/" + base + "_0_0.jpg\n");
  }
  fs::current_path(before);
}

TEST_F(GarminMapTest, WhatCannotBeStartedIsToldAndKeepsTheOldArchiveApart) {
  openMap("area.png", 30, 20);
  writeTestFile(folder + "area.kmz", "old");
  for (const char* name : {"text", "junk"}) writeTestFile(folder + name, "no program");
  fs::permissions(folder + "junk", fs::perms::owner_all);
  for (const std::string program : {"absent/7zz", "text", "junk", "area_tiles"}) {
    person.boxes.clear();
    clearPanel();
    preferences.sevenZipPath = folder + program;
    EXPECT_FALSE(WriteGarminCustomMap()) << program;
    EXPECT_EQ(person.boxTexts(), Texts{"Call to 7-Zip failed"}) << program;
    const std::string kept = folder + "area.kmz.vellandra-old";
    EXPECT_TRUE(person.panel.ends_with("\"\r\nThe archive of an earlier run is now " + kept + "\r\n")) << person.panel;
    EXPECT_EQ(contentOf(kept), "old") << program;
  }
  EXPECT_EQ(filesIn("").size(), 6U) << "nothing else is left over";

  preferences.sevenZipPath = "/bin/false";
  EXPECT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(comesTrue([] {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) != 0;
  }));
  EXPECT_EQ(written("area.kmz.vellandra-old"), "old") << "given up though nothing was packed";
}

}  // namespace
}  // namespace vellandra
