#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include "core_fixture.h"
#include "imaging/garmin_map.h"
#include "imaging/garmin_overlay.h"
#include "imaging/made_maps.h"
#include "imaging/trekbuddy.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// A map that is turned by `degrees`, whose pixels are `pixel` degrees of latitude high and as wide on the ground at
/// the latitude of its middle.
Calibration turnedMap(int width, int height, double latitude, double pixel, double degrees) {
  Calibration map = linearMap(width, height, 5, latitude, pixel, degrees);
  const double middle = positionAt(map, width / 2.0, height / 2.0).latitude;
  map.tf1 /= std::cos(middle * degToRad);
  map.tf3 /= std::cos(middle * degToRad);
  placeTiePoints(map, {{0, 0}, {width - 1, 0}, {width - 1, height - 1}, {0, height - 1}});
  return map;
}

/// A picture that cannot be made smaller.
Bitmap noise(int width, int height) {
  std::mt19937 random(1);
  Bitmap image = allocate24Bits(width, height);
  for (int y = 0; y < height; ++y) {
    for (std::uint8_t& byte : image.row(y)) byte = static_cast<std::uint8_t>(random());
  }
  return image;
}

class TilesTest : public CoreTest {
 protected:
  TilesTest() { preferences.tileWidth = preferences.tileHeight = 1024; }

  void openMap(const std::string& name, const Bitmap& image, const Calibration& map) const {
    ASSERT_TRUE(SaveImage(ImageFormat::png, image, folder + name));
    openDerivedMap(map, folder + name);
  }
  void openMap(const std::string& name, int width, int height) const {
    openMap(name, allocate24Bits(width, height), linearMap(width, height, 5, 50, 0.0001));
  }
  void setTileSize(std::int16_t width, std::int16_t height) const {
    preferences.tileWidth = width;
    preferences.tileHeight = height;
  }

  std::string kml() const { return contentOf(folder + "area_tiles/doc.kml"); }
  std::set<std::string> filesIn(const std::string& path) const {
    std::set<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder + path))
      names.insert(entry.path().filename());
    return names;
  }
  std::string sizeOf(const std::string& path) const {
    const ImageSize size = imageSize(folder + path).value_or(ImageSize{});
    return std::to_string(size.width) + " x " + std::to_string(size.height);
  }
  bool panelHas(const std::string& text) const { return person.panel.find(text) != std::string::npos; }
  /// Progress was shown and is not shown any more.
  void expectProgressEnded() const {
    ASSERT_FALSE(person.progress.empty());
    EXPECT_EQ(person.progress.back(), person.progressTotal);
  }
};

/// Texts between `open` and `close`, in order.
std::vector<std::string> between(const std::string& content, const std::string& open, const std::string& close) {
  std::vector<std::string> found;
  for (std::size_t at = content.find(open); at != std::string::npos; at = content.find(open, at)) {
    at += open.size();
    found.push_back(content.substr(at, content.find(close, at) - at));
  }
  return found;
}

int shell(const std::string& command) {
  return WEXITSTATUS(std::system(command.c_str()));
}

const std::vector<std::string> sixTiles = {"area_0_0",       "area_0_1024", "area_1024_0",
                                           "area_1024_1024", "area_2048_0", "area_2048_1024"};
const std::vector<std::string> sizesOfSixTiles = {"1024 x 1024", "1024 x 976", "1024 x 1024",
                                                  "1024 x 976",  "952 x 1024", "952 x 976"};

TEST_F(TilesTest, SixTilesByNameOrderAndSize) {
  openMap("area.png", 3000, 2000);
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(between(kml(), "<href>files/", ".jpg<"), sixTiles);
  ASSERT_TRUE(WriteTrekBuddyTiles());
  std::string list;
  for (std::size_t i = 0; i < sixTiles.size(); ++i) {
    list += sixTiles[i] + ".png\r\n";
    EXPECT_EQ(sizeOf("area_tiles/files/" + sixTiles[i] + ".jpg"), sizesOfSixTiles[i]);
    EXPECT_EQ(sizeOf("area_tiles/set/" + sixTiles[i] + ".png"), sizesOfSixTiles[i]);
  }
  EXPECT_EQ(contentOf(folder + "area_tiles/area.set"), list);
  EXPECT_EQ(filesIn("area_tiles"), (std::set<std::string>{"files", "doc.kml", "set", "area.set", "area.map"}));
  EXPECT_EQ(person.progress, (std::vector{0, 1, 2, 3, 0, 1, 2, 3}));
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>());
}

TEST_F(TilesTest, OneTileForImagesSmallerThanATile) {
  openMap("area.png", 1500, 600);
  preferences.advancedGarminMapping = true;
  person.tileChoices = {[](TileControls&) { ADD_FAILURE() << "nothing to choose"; }};
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(sizeOf("area_tiles/files/area_0_0.jpg"), "1500 x 600");
  EXPECT_TRUE(panelHas("Tiles 1 by 1\r\n"));
  openMap("area.png", 600, 400);
  ASSERT_TRUE(WriteTrekBuddyTiles());
  EXPECT_EQ(sizeOf("area_tiles/set/area_0_0.png"), "600 x 400");
}

TEST_F(TilesTest, TilesPutTogetherAreTheReducedMap) {
  setTileSize(47, 31);
  preferences.garminJpegQuality = 5;
  openMap("area.png", picture(200, 150, 1), linearMap(200, 150, 5, 50, 0.0001));
  ASSERT_TRUE(WriteGarminCustomMap());
  ASSERT_TRUE(WriteTrekBuddyTiles());
  const std::string reduced = bytesOf(convertTo24Bits(LoadQuantized(folder + "area.png")));
  const auto together = [&](const std::string& subfolder) {
    Bitmap map = allocate24Bits(200, 150);
    for (const std::string& name : filesIn(subfolder)) {
      const std::size_t y = name.rfind('_');
      const Bitmap tile = LoadImageByExtension(folder + subfolder + name);
      EXPECT_EQ(tile.bitsPerPixel(), name.ends_with(".png") ? 8 : 24);
      EXPECT_TRUE(Paste(map, convertTo24Bits(tile), parseInt32(name.substr(5)), parseInt32(name.substr(y + 1)), 256));
    }
    return bytesOf(map);
  };
  EXPECT_EQ(together("area_tiles/set/"), reduced);
  const std::string lossy = together("area_tiles/files/");
  double difference = 0;
  for (std::size_t i = 0; i < reduced.size(); ++i) {
    difference += std::abs(static_cast<unsigned char>(reduced[i]) - static_cast<unsigned char>(lossy[i]));
  }
  EXPECT_LT(difference / static_cast<double>(reduced.size()),
            30);  // colour is halved in a picture of nothing but noise
  EXPECT_GT(difference, 0);
}

TEST_F(TilesTest, GarminTextsToTheLetter) {
  setTileSize(100, 200);
  preferences.garminJpegQuality = 4;
  preferences.garminDrawOrder = 7;
  preferences.kmzTransparency = 0;
  openMap("area.png", allocate24Bits(100, 400), linearMap(100, 400, 5, 50, 0.001));
  person.panel.clear();
  calibration.message.clear();
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
  EXPECT_NE(log().find(":" + folder + "area_tiles/files/area_0_0.jpg\r\n"), std::string::npos);
  EXPECT_LT(log().find("area_0_0.jpg\r\n"), log().find(":Jpeg quality 256\r\n"));
  const std::uintmax_t good = fs::file_size(folder + "area_tiles/files/area_0_0.jpg");
  preferences.kmzTransparency = 3;
  preferences.garminJpegQuality = 0;
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(between(kml(), "<color>", "<"), (std::vector<std::string>{"80ffffff", "80ffffff"}));
  EXPECT_NE(log().find(":Jpeg quality 0\r\n"), std::string::npos);
  EXPECT_LE(fs::file_size(folder + "area_tiles/files/area_0_0.jpg"), good);
}

TEST_F(TilesTest, TrekBuddyTextsAndCalibrationOfTheImagesName) {
  openMap("area.png", 300, 200);
  driver.inputBase = "other";  // a calibration under another name than its image
  driver.inputType = "map";
  const std::int16_t corners = calibration.cornerCount;
  person.panel.clear();
  calibration.message.clear();
  ASSERT_TRUE(WriteTrekBuddyTiles());
  EXPECT_EQ(person.panel,
            "Tiles 1 by 1\r\nWriting tiles to " + folder +
                "area_tiles/set\r\nRebuilding palette, please wait...\r\nTiles and .map file written\r\n");
  EXPECT_NE(contentOf(folder + "area_tiles/area.map").find("\r\narea.png\r\n" + folder + "area.png\r\n"),
            std::string::npos);
  EXPECT_NE(log().find(":" + folder + "area_tiles/set/area_0_0.png\r\n"), std::string::npos);
  EXPECT_EQ(driver.inputBase, "other") << "the open map is as it was";
  EXPECT_EQ(calibration.cornerCount, corners);
}

TEST_F(TilesTest, KmlIsWellFormedAndKeepsNamesWhateverTheyHold) {
  struct Row {
    std::string base, name;  ///< on disk, in the document
  };
  const Row rows[] = {{"a & b <c> \"d\" 'e'", "a & b <c> \"d\" 'e'"},
                      {"]]>&amp;%20", "]]>&amp;%20"},
                      {"\xC3\xA9t\xC3\xA9 \xF0\x9F\x97\xBA", "\xC3\xA9t\xC3\xA9 \xF0\x9F\x97\xBA"},
                      {"\xE9t\xE9\x80", "\xC3\xA9t\xC3\xA9\xE2\x82\xAC"},
                      {"tab\tline\nreturn\rend", "tab\tline\nreturn\rend"},
                      {"\x01 bell\x07 \xEF\xBF\xBF", "\xEF\xBF\xBD bell\xEF\xBF\xBD \xEF\xBF\xBD"}};
  for (const Row& row : rows) {
    openMap(row.base + ".png", 30, 20);
    ASSERT_TRUE(WriteGarminCustomMap()) << row.name;
    EXPECT_TRUE(fs::exists(folder + row.base + "_tiles/files/" + row.base + "_0_0.jpg")) << row.name;
    fs::copy_file(folder + row.base + "_tiles/doc.kml", folder + "doc.kml", fs::copy_options::overwrite_existing);
    for (const auto& [path, expected] : {std::pair("*[local-name()='Folder']/*[local-name()='name']", row.name),
                                         {"*[local-name()='href']", "files/" + row.name + "_0_0.jpg"}}) {
      ASSERT_EQ(
          shell("xmllint --xpath \"string(//" + std::string(path) + ")\" " + folder + "doc.kml > " + folder + "x"), 0)
          << row.name;
      EXPECT_EQ(contentOf(folder + "x"), expected + "\n");
    }
  }
}

TEST_F(TilesTest, BoxAndRotationByTheFormula) {
  struct Row {
    const char* name;
    double x0, y0, tf1, tf2, tf3, tf4;
    Tile tile;
    OverlayBox box;
  };
  // The formula in 40 digits (Python, mpmath).
  const Row rows[] = {
      {"north-up", 5, 50, 1e-4, 0, 0, -8e-5, {0, 0, 256, 200}, {50, 49.984, 5.0256, 5, 0}},
      {"turned, south and west",
       -5.25,
       -33.5,
       12e-5,
       1e-5,
       2e-5,
       -1e-4,
       {1024, 0, 1400, 1024},
       {-33.48717375974146, -33.59098624025854, -5.071448812886079, -5.117191187113921, 9.462322208025617}},
      {"turned clockwise",
       179.9,
       60,
       2e-4,
       -5e-5,
       -7e-5,
       -11e-5,
       {100, 200, 300, 500},
       {59.96898143658284, 59.93401856341716, 179.9366896201004, 179.8943103798996, -19.29004621918873}},
      {"half a right angle",
       12,
       0,
       1e-4,
       1e-4,
       1e-4,
       -1e-4,
       {0, 0, 100, 100},
       {0.007071067811865475, -0.007071067811865475, 12.01707106781187, 12.00292893218813, 45}},
  };
  for (const Row& row : rows) {
    Calibration& c = calibration;
    c.x0 = row.x0, c.y0 = row.y0, c.tf1 = row.tf1, c.tf2 = row.tf2, c.tf3 = row.tf3, c.tf4 = row.tf4;
    const OverlayBox box = overlayBox(row.tile, mapRotation());
    EXPECT_NEAR(box.north, row.box.north, 1e-11) << row.name;
    EXPECT_NEAR(box.south, row.box.south, 1e-11) << row.name;
    EXPECT_NEAR(box.east, row.box.east, 1e-11) << row.name;
    EXPECT_NEAR(box.west, row.box.west, 1e-11) << row.name;
    EXPECT_NEAR(box.rotation, row.box.rotation, 1e-11) << row.name;
  }
  calibration = mercatorMap(400, 1000, 12, 40, 0.001);
  calibration.mercatorTop = MercatorY(40);
  calibration.mercatorBottom = MercatorY(39);
  EXPECT_NEAR(overlayBox({0, 500, 400, 1000}, mapRotation()).north, 39.50179850334617, 1e-11);  // as above
  for (const auto& [tf3, rotation] : {std::pair(2e-4, 90.0), {-2e-4, -90.0}, {0.0, 0.0}, {-0.0, 0.0}}) {
    calibration.tf1 = 0;
    calibration.tf3 = tf3;
    EXPECT_EQ(mapRotation(), rotation);
  }
}

TEST_F(TilesTest, OtherProgramsPlaceTheTilesWhereTheCalibrationDoes) {
  setTileSize(128, 128);
  preferences.sevenZipPath = "/usr/bin/7zz";
  for (const double degrees : {0.0, 1.0, -3.0, 5.0, 20.0}) {
    openMap("area.png", picture(500, 350, 1), turnedMap(500, 350, 50, 1e-5, degrees));
    ASSERT_TRUE(WriteGarminCustomMap());
    ASSERT_TRUE(WriteTrekBuddyTiles());
    EXPECT_FALSE(panelHas("exactly")) << degrees;
    for (int waited = 0; !fs::exists(folder + "area.kmz") && waited < 1000; ++waited) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    std::string terms;
    const Calibration& c = calibration;
    for (const double term : {c.x0, c.tf1, c.tf3, c.y0, c.tf2, c.tf4}) terms += " " + formatGeneral(term);
    EXPECT_EQ(shell("/usr/bin/python3 " SOURCE_FOLDER "/tests/imaging/check_tiles.py " + folder + "area 500 350" +
                    terms + " > " + folder + "answer 2>&1"),
              0)
        << degrees << ": " << contentOf(folder + "answer");
  }
  // Pixels twice as high as wide: no box fits when they are turned.
  Calibration stretched = turnedMap(500, 350, 50, 1e-5, 20);
  stretched.tf3 *= 2;
  stretched.tf4 *= 2;
  preferences.sevenZipPath.clear();
  openDerivedMap(stretched, folder + "area.png");
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(panelHas("A box and a rotation cannot place this map's tiles exactly: corners are up to "))
      << person.panel;
}

TEST_F(TilesTest, TheDialogChoosesTheTiles) {
  preferences.advancedGarminMapping = true;
  openMap("area.png", 300, 200);
  setTileSize(100, 100);
  EXPECT_FALSE(WriteGarminCustomMap()) << "closed without OK";
  EXPECT_EQ(filesIn(""), (std::set<std::string>{"area.png", "vellandra.log"}));
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>());
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
  EXPECT_EQ(between(kml(), "<href>files/", ".jpg<"),
            (std::vector<std::string>{"area_0_0", "area_0_134", "area_150_67", "area_150_134"}));
  EXPECT_TRUE(panelHas("Tiles 2 by 3\r\n"));
}

TEST_F(TilesTest, WhatDevicesTakeIsTold) {
  setTileSize(10, 10);
  openMap("area.png", 100, 100);
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_FALSE(panelHas("devices"));
  openMap("area.png", 110, 100);
  ASSERT_TRUE(WriteGarminCustomMap());
  const std::string limit = "110 tiles: many devices load only the first 100, newer ones 500\r\n";
  EXPECT_LT(person.panel.find(limit), person.panel.rfind("Writing tiles to"));
  setTileSize(1024, 1025);
  openMap("area.png", 1024, 1024);
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_FALSE(panelHas("megapixel"));
  openMap("area.png", 1024, 1025);
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(panelHas("Tiles above one megapixel are shown at reduced detail\r\n"));
  EXPECT_TRUE(panelHas("109 other files are in " + folder + "area_tiles/files, perhaps from an earlier run\r\n"));
  setTileSize(2000, 2000);
  openMap("area.png", noise(1400, 1400), linearMap(1400, 1400, 5, 50, 1e-5));
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_TRUE(panelHas("A tile should stay under 3 MB: area_0_0.jpg has ")) << person.panel;
}

TEST_F(TilesTest, RefusedBeforeAnythingIsWritten) {
  openMap("area.png", 1001, 10);
  const auto runs = [&](bool (*command)()) { return runCommand(command); };
  setTileSize(1, 10);
  EXPECT_FALSE(runs(WriteGarminCustomMap));
  EXPECT_TRUE(person.panel.ends_with("***** Error *****\r\nSubscript out of range\r\n1001 tiles, more than 1000\r\n"));
  for (const auto& [width, height] : {std::pair(0, 10), {10, 0}, {-200, -200}}) {
    setTileSize(static_cast<std::int16_t>(width), static_cast<std::int16_t>(height));
    EXPECT_FALSE(runs(WriteGarminCustomMap)) << width;
    EXPECT_FALSE(runs(WriteTrekBuddyTiles)) << width;
  }
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>());
  setTileSize(200, 200);
  calibration.imagePath = "clip.board";
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  driver.transformValid = false;
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{"Unable to load map", "Unable to load map", "Insufficient points to proceed",
                                      "Insufficient points to proceed"}));
  EXPECT_EQ(filesIn(""), (std::set<std::string>{"area.png", "vellandra.log"}));
}

TEST_F(TilesTest, AnImageThatCannotServeStopsBehindTheFolders) {
  for (const char* image : {"", "no image", "smaller"}) {
    openMap("area.png", 300, 200);
    if (image == std::string("smaller")) {
      makeImage("area.png", 299, 200);
    } else {
      writeTestFile(folder + "area.png", image);
    }
    EXPECT_FALSE(WriteGarminCustomMap());
    EXPECT_FALSE(WriteTrekBuddyTiles());
  }
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>(6, "Unable to load map"));
  EXPECT_EQ(filesIn("area_tiles"), (std::set<std::string>{"files", "set", "area.map"}));
}

/// Files of this process cannot grow beyond `bytes`, as on a disk that is full.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit lower{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &lower);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    ::setrlimit(RLIMIT_FSIZE, &before_);
    (void)std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit before_{};
  void (*handler_)(int) = std::signal(SIGXFSZ, SIG_IGN);
};

TEST_F(TilesTest, ATileThatCannotBeSavedStopsWithTheListSoFar) {
  Bitmap image = allocate24Bits(400, 100);
  ASSERT_TRUE(Paste(image, noise(100, 100), 200, 0, 256));  // the third tile is the large one
  openMap("area.png", image, linearMap(400, 100, 5, 50, 0.001));
  setTileSize(100, 100);
  for (const bool fullDisk : {true, false}) {
    person.boxes.clear();
    if (!fullDisk) {
      fs::remove_all(folder + "area_tiles");
      fs::create_directories(folder + "area_tiles/files/area_200_0.jpg/in the way");
      fs::create_directories(folder + "area_tiles/set/area_200_0.png/in the way");
    }
    {
      std::optional<FileSizeLimit> limit;
      if (fullDisk) limit.emplace(6000);
      EXPECT_FALSE(WriteGarminCustomMap());
      EXPECT_FALSE(WriteTrekBuddyTiles());
    }
    EXPECT_EQ(person.boxTexts(),
              (std::vector<std::string>{"unable to save " + folder + "area_tiles/files/area_200_0.jpg",
                                        "unable to save " + folder + "area_tiles/set/area_200_0.png"}));
    EXPECT_EQ(between(kml(), "<href>files/", ".jpg<"), (std::vector<std::string>{"area_0_0", "area_100_0"}));
    EXPECT_TRUE(kml().ends_with("</GroundOverlay> \r\n"));
    EXPECT_EQ(contentOf(folder + "area_tiles/area.set"), "area_0_0.png\r\narea_100_0.png\r\narea_200_0.png\r\n");
    for (const auto& [subfolder, ending] : {std::pair("area_tiles/files", ".jpg"), {"area_tiles/set", ".png"}}) {
      std::set<std::string> expected{std::string("area_0_0") + ending, std::string("area_100_0") + ending};
      if (!fullDisk) expected.insert(std::string("area_200_0") + ending);
      EXPECT_EQ(filesIn(subfolder), expected);
    }
    expectProgressEnded();
  }
}

TEST_F(TilesTest, FoldersAndListsThatCannotBeWritten) {
  openMap("area.png", 300, 200);
  writeTestFile(folder + "area_tiles", "a file");
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  fs::remove(folder + "area_tiles");
  fs::create_directories(folder + "area_tiles/area.map/in the way");
  EXPECT_FALSE(WriteTrekBuddyTiles());
  fs::remove_all(folder + "area_tiles/area.map");
  fs::create_directories(folder + "area_tiles/doc.kml/in the way");
  fs::create_directories(folder + "area_tiles/area.set/in the way");
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{
                "unable to write " + folder + "area_tiles", "unable to write " + folder + "area_tiles",
                "unable to write " + folder + "area_tiles/area.map", "unable to write " + folder + "area_tiles/doc.kml",
                "unable to write " + folder + "area_tiles/area.set"}));
  EXPECT_FALSE(panelHas("Done"));
}

class SevenZipTest : public TilesTest {
 protected:
  /// What the archive holds as soon as it is there, a name a line, without folders.
  std::string listing(const std::string& archive) const {
    for (int waited = 0; waited < 100; ++waited) {
      if (shell("/usr/bin/python3 -c \"import sys, zipfile; z = zipfile.ZipFile(sys.argv[1]); assert z.testzip() is "
                "None; "
                "print(*sorted(n for n in z.namelist() if n[-1] != '/'), sep=chr(10))\" '" +
                folder + archive + "' > " + folder + "listing 2>/dev/null") == 0) {
        return contentOf(folder + "listing");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return "no archive";
  }
};

TEST_F(SevenZipTest, PacksWhatIsThereNowUnderANameWithoutBlankAtTheEnd) {
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
    if (again) {
      fs::remove_all(tiles + "files");
      setTileSize(200, 200);
    }
    ASSERT_TRUE(WriteGarminCustomMap());
    EXPECT_TRUE(person.panel.ends_with("\r\n\"" + preferences.sevenZipPath + "\" a -tzip -mx0 \"" + folder + archive +
                                       " \" \"" + tiles + "doc.kml\" \"" + tiles +
                                       "files/\"\r\nDone Garmin Custom map\r\n"))
        << person.panel;
    EXPECT_EQ(listing(archive),
              again ? "doc.kml\nfiles/an area_0_0.jpg\n" : "doc.kml\nfiles/an area_0_0.jpg\nfiles/an area_100_0.jpg\n");
    EXPECT_EQ(filesIn("my \"maps\""), (std::set<std::string>{"an area.png", "an area.kmz", "an area_tiles"}));
  }
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>());
  // Its end is taken notice of: no entry is left in the table of processes.
  const auto hasChild = [] {
    siginfo_t info{};
    return ::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0;
  };
  for (int waited = 0; hasChild() && waited < 100; ++waited) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(hasChild());
}

TEST_F(SevenZipTest, WhatCannotBeStartedIsToldAndLeavesTheOldArchive) {
  openMap("area.png", 30, 20);
  writeTestFile(folder + "area.kmz", "old");
  writeTestFile(folder + "text", "no program");
  writeTestFile(folder + "junk", "no program");
  fs::permissions(folder + "junk", fs::perms::owner_all);
  for (const std::string program : {"absent/7zz", "text", "junk", "area_tiles"}) {
    person.boxes.clear();
    preferences.sevenZipPath = folder + program;
    EXPECT_FALSE(WriteGarminCustomMap()) << program;
    EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"Call to 7-Zip failed"}) << program;
    EXPECT_EQ(contentOf(folder + "area.kmz"), "old") << program;
    EXPECT_FALSE(panelHas("Done")) << program;
  }
  EXPECT_EQ(filesIn("").size(), 6U) << "nothing of it is left over";
}

}  // namespace
}  // namespace vellandra
