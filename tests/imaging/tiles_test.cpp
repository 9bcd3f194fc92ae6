#include <sys/resource.h>

#include <csignal>
#include <new>
#include <tuple>

#include "imaging/tile_grid.h"
#include "imaging/tiles_fixture.h"
#include "support/errors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

TEST(TileGrid, LimitsOfBothWriters) {
  EXPECT_EQ(garminTileGrid(1000, 1, {1, 1}).count(), 1000);
  EXPECT_EQ(garminTileGrid(2000000000, 1, {2000000000, 2000000000}).tile(1).right, 2000000000);
  EXPECT_EQ(trekBuddyTileGrid(32767, 600, {200, 200}).tile(164 * 3).right, 32767);
  EXPECT_GT(trekBuddyTileGrid(8000, 8000, {200, 200}).count(), 1000);
  EXPECT_THROW(trekBuddyTileGrid(32768, 600, {200, 200}), Overflow);
  EXPECT_THROW(trekBuddyTileGrid(600, 32768, {32767, 32767}), Overflow);
  EXPECT_THROW(TileGrid(0, 100, {5, 5}), InvalidArgument);
  EXPECT_THROW(TileGrid(37, 23, {5, 7}).tile(0), SubscriptOutOfRange);
  EXPECT_THROW(TileGrid(37, 23, {5, 7}).tile(8 * 4 + 1), SubscriptOutOfRange);
  EXPECT_FALSE(isBelowOneTile(1024, 1024, {1024, 1024}));
  EXPECT_FALSE(isBelowOneTile(32767, 32767, {32767, 32766}));
}

TEST(GarminTileControls, CountsSetTheTileSizeAndItsCaption) {
  GarminTileControls controls(3000, 2000, {1024, 1024});
  const auto captionOf = [&controls](int across, int down) {
    controls.setCounts(across, down);
    return controls.caption();
  };
  GarminTileControls narrow(600, 3000, {1024, 1024});
  narrow.lowerAcross();
  EXPECT_EQ(narrow.caption(), "Tiles 1024 x 1024") << "there is one across already";
  EXPECT_EQ(captionOf(4, 2), "Tiles 751 x 1000");                     // (3000 + 3) / 4 = 750.75
  EXPECT_EQ(captionOf(0, 2), "Tiles 3000 x 1000  Tiles too big?? ");  // stays at 1
  EXPECT_EQ(captionOf(2, 0), "Tiles 1500 x 2000  Tiles too big?? ");  // 1500.5, half to even
  EXPECT_EQ(captionOf(2, 5000), "Tiles 1500 x 1");
  EXPECT_EQ(controls.grid().down(), 2000);
}

TEST(GarminTileControls, AClickTogglesTheTileUnderItInWritingOrder) {
  GarminTileControls controls(3000, 2000, {1024, 1024});
  for (const auto& [x, y] : {std::pair(250, 150), {0, 0}, {0, 0}, {300, 10}, {-1, 10}}) controls.click(x, y, 300, 200);
  for (int number = 1; number <= 6; ++number) EXPECT_EQ(controls.isTicked(number), number != 6) << number;
  for (int i = 0; i < 2000; ++i) controls.raiseAcross();
  controls.click(299, 199, 300, 200);  // a tile past 1000
  EXPECT_TRUE(controls.isTicked(controls.grid().count()));
}

TEST_F(TilesTest, SixTilesByNameOrderAndSize) {
  openMap("area.png", 3000, 2000);
  ASSERT_TRUE(WriteGarminCustomMap());
  ASSERT_TRUE(WriteTrekBuddyTiles());
  const std::tuple<std::string, int, int> rows[] = {{"area_0_0", 1024, 1024},    {"area_0_1024", 1024, 976},
                                                    {"area_1024_0", 1024, 1024}, {"area_1024_1024", 1024, 976},
                                                    {"area_2048_0", 952, 1024},  {"area_2048_1024", 952, 976}};
  std::string list;
  Texts names;
  for (const auto& [name, width, height] : rows) {
    names.push_back(name);
    list += name + ".png\r\n";
    for (const std::string& path : {"files/" + name + ".jpg", "set/" + name + ".png"}) {
      const ImageSize size = sizeOf(folder + "area_tiles/" + path);
      EXPECT_TRUE(size.width == width && size.height == height) << path;
    }
  }
  EXPECT_EQ(placedTiles(), names);
  EXPECT_EQ(written("area_tiles/area.set"), list);
  EXPECT_EQ(filesIn("area_tiles"), (std::set<std::string>{"files", "doc.kml", "set", "area.set", "area.map"}));
  EXPECT_EQ(person.progress, (std::vector<std::int64_t>{0, 1, 2, 3}));
  EXPECT_EQ(person.boxTexts(), Texts());
}

TEST_F(TilesTest, OneTileForImagesSmallerThanATile) {
  openMap("area.png", 1500, 600);  // wider than a tile, but of less area
  preferences.advancedGarminMapping = true;
  person.tileChoices = {[](TileControls&) { ADD_FAILURE() << "nothing to choose"; }};
  ASSERT_TRUE(WriteGarminCustomMap());
  EXPECT_EQ(sizeOf(folder + "area_tiles/files/area_0_0.jpg").width, 1500);
  EXPECT_TRUE(panelHas("Tiles 1 by 1\r\n"));
}

TEST_F(TilesTest, TilesPutTogetherAreTheReducedMap) {
  setTileSize(47, 31);
  openMap("area.png", picture(200, 150, 1), linearMap(200, 150, 5, 50, 0.0001));
  ASSERT_TRUE(WriteTrekBuddyTiles());
  Bitmap together = allocate24Bits(200, 150);
  for (const std::string& name : filesIn("area_tiles/set")) {
    const std::size_t y = name.rfind('_');
    const Bitmap tile = LoadImageByExtension(folder + "area_tiles/set/" + name);
    EXPECT_EQ(tile.bitsPerPixel(), 8);
    Paste(together, convertTo24Bits(tile), parseInt32(name.substr(5)), parseInt32(name.substr(y + 1)), 256);
  }
  EXPECT_EQ(bytesOf(together), bytesOf(convertTo24Bits(LoadQuantized(folder + "area.png"))));
}

TEST_F(TilesTest, TrekBuddyTextsAndCalibrationOfTheImagesName) {
  openMap("area.png", 300, 200);
  driver.inputBase = "other";  // a calibration under another name than its image
  driver.inputFormat = formatOf("area.map");
  const std::int16_t corners = calibration.cornerCount;
  clearPanel();
  ASSERT_TRUE(WriteTrekBuddyTiles());
  const std::string set = folder + "area_tiles/set";
  EXPECT_EQ(person.panel, "Tiles 1 by 1\r\nWriting tiles to " + set +
                              "\r\nRebuilding palette, please wait...\r\nTiles and .map file written\r\n");
  EXPECT_NE(written("area_tiles/area.map").find("\r\narea.png\r\n" + folder + "area.png\r\n"), std::string::npos);
  EXPECT_TRUE(logHas(":" + set + "/area_0_0.png\r\n"));
  EXPECT_EQ(driver.inputBase, "other") << "the open map is as it was";
  EXPECT_EQ(calibration.cornerCount, corners);
}

TEST_F(TilesTest, RefusedBeforeAnythingIsWritten) {
  openMap("area.png", 1001, 10);
  setTileSize(1, 10);
  EXPECT_FALSE(runCommand(WriteGarminCustomMap));
  EXPECT_TRUE(person.panel.ends_with("***** Error *****\r\nSubscript out of range\r\n1001 tiles, more than 1000\r\n"));
  for (const auto& [width, height] : {std::pair(0, 10), {10, 0}, {-200, -200}}) {
    setTileSize(width, height);
    EXPECT_FALSE(runCommand(WriteGarminCustomMap)) << width;
    EXPECT_FALSE(runCommand(WriteTrekBuddyTiles)) << width;
  }
  EXPECT_EQ(person.boxTexts(), Texts());
  setTileSize(200, 200);
  for (const std::string& path : {std::string("clip.board"), std::string(), folder, folder + ".png"}) {
    calibration.imagePath = path;
    EXPECT_FALSE(WriteGarminCustomMap()) << path;
    EXPECT_FALSE(WriteTrekBuddyTiles()) << path;
  }
  EXPECT_EQ(person.boxTexts(), Texts(8, "Unable to load map"));
  person.boxes.clear();
  driver.transformValid = false;
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  EXPECT_EQ(person.boxTexts(), Texts(2, "Insufficient points to proceed"));
  EXPECT_EQ(filesIn(""), (std::set<std::string>{"area.png", "vellandra.log"}));
}

TEST_F(TilesTest, AnImageThatCannotServeStopsBehindTheFolders) {
  openMap("area.png", 300, 200);
  const std::string smaller = (makeImage("smaller.png", 299, 200), contentOf(folder + "smaller.png"));
  for (const std::string& content : {std::string(), std::string("no image"), smaller}) {
    writeTestFile(folder + "area.png", content);
    EXPECT_FALSE(WriteGarminCustomMap());
    EXPECT_FALSE(WriteTrekBuddyTiles());
  }
  EXPECT_EQ(person.boxTexts(), Texts(6, "Unable to load map"));
  EXPECT_EQ(filesIn("area_tiles"), (std::set<std::string>{"files", "set", "area.map"}));
}

TEST_F(TilesTest, AFullDiskStopsWithTheListSoFar) {
  Bitmap image = allocate24Bits(400, 100);
  ASSERT_TRUE(Paste(image, noise(100, 100), 200, 0, 256));  // the third tile is the large one
  openMap("area.png", image, linearMap(400, 100, 5, 50, 0.001));
  setTileSize(100, 100);
  // No file of this process can grow further, as on a disk that is full.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{6000, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  ::setrlimit(RLIMIT_FSIZE, &before);
  (void)std::signal(SIGXFSZ, handler);
  EXPECT_EQ(person.boxTexts(), (Texts{"unable to save " + folder + "area_tiles/files/area_200_0.jpg",
                                      "unable to save " + folder + "area_tiles/set/area_200_0.png"}));
  EXPECT_EQ(placedTiles(), (Texts{"area_0_0", "area_100_0"}));
  EXPECT_TRUE(kml().ends_with("</GroundOverlay> \r\n"));
  EXPECT_EQ(written("area_tiles/area.set"), "area_0_0.png\r\narea_100_0.png\r\narea_200_0.png\r\n");
  EXPECT_EQ(filesIn("area_tiles/files"), (std::set<std::string>{"area_0_0.jpg", "area_100_0.jpg"}));
  EXPECT_EQ(filesIn("area_tiles/set"), (std::set<std::string>{"area_0_0.png", "area_100_0.png"}));
  EXPECT_EQ(person.progress.back(), person.progressTotal) << "not shown any more";
}

TEST_F(TilesTest, WhatAnEarlierRunLeftGoesWhenTheNewSetIsComplete) {
  openMap("area.png", 400, 100);
  setTileSize(100, 100);
  const std::string earlier(5000, '#');
  const std::string files = folder + "area_tiles/files/", set = folder + "area_tiles/set/";
  for (const std::string& path : {files, set}) fs::create_directories(path);
  for (const char* name : {"area_tiles/doc.kml", "area_tiles/area.set", "area.kmz"}) {
    writeTestFile(folder + name, earlier);
  }
  // This map's, and those of other maps and of the person.
  const std::set<std::string> own = {"area_50_0", "area_0_32700"};
  const std::set<std::string> others = {"area_0_0_0", "area_0_0_", "Area_50_0",  "area_-5_0",
                                        "area_050_0", "area_50_",  "ar_ea_50_0", "area_50_0x",
                                        "area2_50_0", "area 50_0", "area_50",    "area_50_4294967296"};
  for (const std::set<std::string>& names : {own, others}) {
    for (const std::string& name : names) {
      writeTestFile(files + name + ".jpg", earlier);
      writeTestFile(set + name + ".png", earlier);
    }
  }
  writeTestFile(set + "area_50_0.jpg", earlier);
  fs::create_directory(set + "area_77_0.png");
  const auto hasEarlier = [&] { return fs::exists(files + "area_50_0.jpg") && fs::exists(set + "area_50_0.png"); };
  struct Interrupting : ScriptedInterface {
    void showProgress(Work&, std::int64_t done, std::int64_t) override {
      if (works.back() == "Writing tiles" && done == 2) throw std::bad_alloc();
    }
  } interrupting;
  EXPECT_FALSE(runCommand(WriteGarminCustomMap));
  EXPECT_FALSE(runCommand(WriteTrekBuddyTiles));
  setUserInterface(person);
  EXPECT_EQ(placedTiles(), (Texts{"area_0_0", "area_100_0"}));
  EXPECT_EQ(kml().find('#'), std::string::npos);
  EXPECT_EQ(written("area_tiles/area.set"), "area_0_0.png\r\narea_100_0.png\r\n");
  EXPECT_EQ(written("area.kmz"), earlier);
  EXPECT_TRUE(hasEarlier());
  ASSERT_TRUE(WriteGarminCustomMap());
  ASSERT_TRUE(WriteTrekBuddyTiles());
  std::set<std::string> jpegs, pngs = {"area_50_0.jpg", "area_77_0.png"};
  for (const std::string& name : others) jpegs.insert(name + ".jpg"), pngs.insert(name + ".png");
  for (const std::string name : {"area_0_0", "area_100_0", "area_200_0", "area_300_0"}) {
    jpegs.insert(name + ".jpg"), pngs.insert(name + ".png");
  }
  EXPECT_EQ(filesIn("area_tiles/files"), jpegs);
  EXPECT_EQ(filesIn("area_tiles/set"), pngs);
  EXPECT_TRUE(panelHas("2 tiles of an earlier run removed from " + folder + "area_tiles/set\r\n")) << person.panel;
  EXPECT_TRUE(panelHas("12 other files are in " + folder + "area_tiles/files, and go into an archive of it\r\n"));
}

TEST_F(TilesTest, FoldersAndListsThatCannotBeWritten) {
  openMap("area.png", 300, 200);
  const std::string tiles = folder + "area_tiles", unable = "unable to write " + tiles;
  writeTestFile(tiles, "a file");
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  fs::remove(tiles);
  for (const char* name : {"/area.map", "/doc.kml", "/area.set"}) fs::create_directories(tiles + name + "/in the way");
  EXPECT_FALSE(WriteTrekBuddyTiles());
  fs::remove_all(tiles + "/area.map");
  EXPECT_FALSE(WriteGarminCustomMap());
  EXPECT_FALSE(WriteTrekBuddyTiles());
  EXPECT_EQ(person.boxTexts(),
            (Texts{unable, unable, unable + "/area.map", unable + "/doc.kml", unable + "/area.set"}));
  EXPECT_EQ(filesIn("area_tiles/files").size() + filesIn("area_tiles/set").size(), 0U) << "no tiles that nothing names";
}

}  // namespace
}  // namespace vellandra
