#include "calibration/driver.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>

#include "calibration/driver_fixture.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

TEST_F(DriverTest, WrongInputIsToldAndLeavesEveryFileAsItWas) {
  struct Row {
    const char* name;
    std::string content;
    const char* box;    ///< the last box, or
    const char* panel;  ///< the error's line on the panel
  };
  const std::string elf(
      "\x7F"
      "ELF\0\1\2\xFF\xFE Point\n\r\0,,,",
      20);
  const std::string onePoint = mapOn("WGS 84", "Point01,xy,10,10,in,deg,50,30,N,3,15,W\r\n");
  const Row rows[] = {
      {"a.xyz", map, "Unsupported calibration type", nullptr},
      {"a.jgw2", map, "Unsupported calibration type", nullptr},
      {"empty.map", "", "Unable to proceed without matching image", nullptr},
      {"junk.map", elf, "Unable to proceed without matching image", nullptr},
      {"datum.map", mapOn("Atlantis", threePoints), "unable to match input datum ATLANTIS", nullptr},
      {"one.map", onePoint, "Insufficient points to proceed", nullptr},
      {"nowhere.map", map + "Point04,xy,20,20,in,deg,95,0,N,3,0,W\r\n",
       "Point 4 is not on the earth: latitude 95, longitude -3", nullptr},
      {"farcorner.map", map + "MMPXY,1,0,0\r\nMMPLL,1,-3,95\r\n",
       "Corner 1 is not on the earth: latitude 95, longitude -3", nullptr},
      {"p51.map", map + "Point51,xy,1,2,in,deg,50,30,N,3,15,W\r\n", nullptr, "Subscript out of range\r\npoint 51"},
      {"corner.map", map + "MMPXY,21,0,0\r\n", nullptr, "Subscript out of range\r\ncorner 21"},
      {"corner0.map", map + "MMPXY,-5,0,0\r\n", nullptr, "Subscript out of range\r\ncorner -5"},
      {"square.map", map + "Point04,xy,46341,20,in,deg,50,30,N,3,15,W\r\n", nullptr, "Overflow\r\npixel 46341"},
      {"huge.map", map + "Point04,xy,99999999999,20,in,deg,50,30,N,3,15,W\r\n", nullptr, "Overflow\r\n99999999999"},
      {"wide.map", map + "IWH,Map Image Width/Height,40000,300\r\n", nullptr, "Overflow\r\n40000"},
      {"degrees.map", map + "Point04,xy,20,20,in,deg,1e999,0,N,3,0,W\r\n", nullptr, "Overflow\r\n1e999"},
      {"short.tfw", "0.1\r\n0\r\n0\r\n-0.1\r\n10\r\n", "Line 6 of the world file holds no number", nullptr},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    calibration.message.clear();
    const auto before = files();
    EXPECT_FALSE(convert(row.name, row.content));
    EXPECT_TRUE(row.box == nullptr ? panelHas(std::string("***** Error *****\r\n") + row.panel) : lastBox() == row.box)
        << lastBox() << calibration.message;
    EXPECT_EQ(written(row.name), row.content);
    fs::remove(folder + row.name);
    EXPECT_EQ(files(), before);
  }
}

TEST_F(DriverTest, WhatIsMissingAroundTheInputIsTold) {
  EXPECT_FALSE(run(writeCalibrations));
  EXPECT_EQ(lastBox(), "Insufficient points to proceed");
  EXPECT_EQ(files().size(), 1U);

  EXPECT_EQ(runBatch(folder + "none.map"), 1);
  EXPECT_EQ(lastBox(), "Missing input file");

  fs::remove(folder + "area.png");
  EXPECT_FALSE(convertMap(map + "IWH,Map Image Width/Height,400,300\r\n"));
  const MessageBox& question = person.boxes[person.boxes.size() - 2];
  EXPECT_EQ(question.text, "Identify image file associated with\n" + folder + "area.png");
  EXPECT_EQ(question.icon, Icon::question);
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");

  EXPECT_FALSE(run(openCalibration));
  EXPECT_EQ(lastBox(), "No input file specified");
  EXPECT_EQ(person.boxes.back().title, "No input");
  EXPECT_EQ(person.pickers.back().title, "Open calibration file for map");
  EXPECT_FALSE(person.menuStates.calibratedImage);

  preferences.datumsPath = folder + "none.txt";
  EXPECT_FALSE(convertMap(map));
  EXPECT_EQ(lastBox(), "Unable to load datums.txt");
  EXPECT_EQ(person.boxes.back().title, "No datums");
  EXPECT_EQ(person.pickers.back().title, "Open datums.txt file ");
}

TEST_F(DriverTest, AnOpenThatEndsBeforeAFileIsReadKeepsTheOpenMap) {
  ASSERT_TRUE(convertMap(map));
  fs::create_directory(folder + "other");
  writeTestFile(folder + "other/a.xyz", "\xE9");
  const auto state = [] {
    return calibration.imagePath + "|" + calibration.projection + "|" + driver.inputPath + "|" + driver.inputFolder +
           "|" + driver.inputBase + "|" + driver.inputExtension + "|" + driver.inputType + "|" +
           std::to_string(driver.inputIsWindows1252) + "|" + points();
  };
  const std::string before = state();
  for (const std::string& picked : {std::string(), folder + "none.map", folder + "other/a.xyz"}) {
    person.pickedFiles = {picked};
    EXPECT_FALSE(run(openCalibration));
    EXPECT_TRUE(person.menuStates.calibratedImage) << picked;
    EXPECT_EQ(state(), before) << picked;
  }
  EXPECT_EQ(person.boxes.back().title, "No support");
}

TEST_F(DriverTest, PanelTellsWhatIsOddAboutAMap) {
  const auto threeAt = [](const std::string& west, const std::string& east) {
    return mapOn("WGS 84", "Point01,xy,0,0,in,deg,10,0,N," + west + "\nPoint02,xy,9,0,in,deg,10,0,N," + east +
                               "\nPoint03,xy,9,9,in,deg,9,0,N," + east + "\n");
  };
  std::string manyPoints = "title\narea.png\n400\n300\n0;0;-3;51\n399;0;-2;51\n399;299;-2;50.5\n";
  std::string pastTheCorners = map + "MMPXY,1,7,7\nMMPLL,1,0,0\n";
  for (int i = 4; i <= 33; ++i) {
    manyPoints += "399;299;-2;50.5\n";
    pastTheCorners += "Point" + formatNumber(i, "00") + ",xy,390,290,in,deg,50,5,N,2,45,W\n";
  }
  pastTheCorners += "MMPXY,2,7,7\nMMPLL,2,0,0\n";
  struct Row {
    const char* file;
    std::string content;
    std::string panel;
  };
  const Row rows[] = {
      {"a.map", map + "Point00,xy,10,290,in,deg,50,5,N,3,15,W\n", "Points missing or without a readable position: 0"},
      {"a.map", map + "Point02,xy,390,10,in,deg,50,30,N,2,45,W\n",
       "Points given more than once, the last one counts: 2"},
      {"a.map", threeAt("179,0,E", "179,0,W"), "The map lies across 180 degrees: longitudes go on past 180"},
      {"a.map", threeAt("9,0,E", "8,0,E"), "The map comes out mirrored: check the points"},
      {"a.map", map, "The calibrations name the image a.png, the map's image is area.png"},
      {"a.gmi", manyPoints, "Points 31 to 33 took part in the fit and are not written"},
      {"a.map", pastTheCorners, "Points 31 to 33 took part in the fit and are not written"},
  };
  preferences.warnOverwrite = false;
  for (const Row& row : rows) {
    calibration.message.clear();
    EXPECT_TRUE(convert(row.file, row.content)) << row.panel;
    EXPECT_TRUE(panelHas(row.panel + "\r\n")) << row.panel << "\n" << calibration.message;
  }
  EXPECT_EQ(calibration.cornerCount, 4);
  EXPECT_EQ(calibration.latitude[31], calibration.y0) << "the corner is a tie point's, or the one of the file";
  fs::create_directory(folder + "sub");
  makeImage("b.PNG", 400, 300);
  person.pickedFiles = {folder + "b.PNG"};
  EXPECT_TRUE(convert("sub/b.map", map));
  EXPECT_TRUE(panelHas("name the image " + folder + "sub/b.PNG, the map's image is " + folder + "b.PNG\r\n"));
  ASSERT_TRUE(convertMap(threeAt("179,0,E", "179,0,W")));
  EXPECT_NEAR(calibration.tf1, 2.0 / 9, 1e-9);
  EXPECT_NEAR(calibration.longitude[2], 181, 1e-9);
}

TEST_F(DriverTest, OpeningWritesNothingAndWritingFollows) {
  writeTestFile(folder + "area.map", map);
  const auto before = files();
  person.pickedFiles = {folder + "AREA.MAP"};  // as a case-blind system would give it
  EXPECT_TRUE(run(openCalibration));
  EXPECT_EQ(files(), before);
  EXPECT_TRUE(driver.calibrationPending);
  EXPECT_TRUE(person.menuStates.calibratedImage);
  EXPECT_EQ(calibration.pointCount, 3);

  EXPECT_TRUE(run(writeCalibrations));
  EXPECT_FALSE(driver.calibrationPending);
  EXPECT_TRUE(fs::exists(folder + "area.tfw"));
  EXPECT_NE(person.panel.find("Fourth point added\r\nOutput datum is WGS84\r\n"), std::string::npos);
  EXPECT_TRUE(person.panel.ends_with("\r\ndone\r\n"));
}

TEST_F(DriverTest, PanelAndLogTellTheRunInItsOrder) {
  EXPECT_TRUE(convertMap(map));
  EXPECT_TRUE(
      person.panel.starts_with("Image wide 400 high 300\r\nInput datum is WGS 84\r\nProjection "
                               "latitude/longitude\r\ny0 =50.514880952"));
  EXPECT_TRUE(panelHas("Average error per calibration point=.0000\r\nAll points: root mean square 0.00 pixels"));
  const std::string path = folder + "area.png\r\n";
  for (const std::string& text : {std::string("send this file by e-mail"),
                                  ":Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n" + std::string(),
                                  std::string(":finddatum WGS 84 "), std::string(":points = 3\r\n"), ":Ipath " + path,
                                  ":getidata " + path, std::string(":50.500000 -3.250000 10 10\r\n")}) {
    EXPECT_TRUE(logHas(text)) << text;
  }
}

TEST_F(DriverTest, ExistingOutputsAreKeptUnlessThePersonAgrees) {
  const std::string gmi = "t\narea.png\n400\n300\n0;0;-3;51\n399;0;-2;51\n399;299;-2;50.5\n";
  std::vector<std::string> questions;
  for (const char* ending : {".tfw", ".js", ".jpr", ".map", "_png.cal", ".mcd", ".txt"}) {  // in the writers' order
    questions.push_back("OK to overwrite " + folder + "area" + ending);
    writeTestFile(folder + "area" + ending, "mine");
  }
  ASSERT_TRUE(convert("area.gmi", gmi));
  EXPECT_EQ(person.boxTexts(), questions);
  EXPECT_EQ(written("area.gmi"), gmi) << "an input is not written over";
  const auto kept = files();
  EXPECT_EQ(std::ranges::count_if(kept, [](const auto& file) { return file.second == "mine"; }), 7);
  person.boxAnswers.assign(questions.size(), Answer::ok);
  ASSERT_TRUE(convert("area.gmi", gmi));
  const auto replaced = files();
  for (const auto& [name, content] : replaced) EXPECT_NE(content, "mine") << name;

  person.boxes.clear();
  preferences.warnOverwrite = false;
  EXPECT_TRUE(convert("area.gmi", gmi));
  EXPECT_TRUE(person.boxes.empty());
  EXPECT_EQ(files(), replaced) << "a second conversion changes something";
}

TEST_F(DriverTest, ClipboardImageIsSavedBeforeTheCalibrationsNameIt) {
  EXPECT_TRUE(convertMap(map));
  mapImage.bitmap = allocate24Bits(400, 300);
  const auto writeWith = [this](const std::string& picked) {
    calibration.imagePath = "clip.board";
    driver.inputType = "zzz";
    person.pickedFiles = {picked};
    return run(writeCalibrations);
  };
  EXPECT_FALSE(writeWith(""));
  EXPECT_EQ(person.pickers.back().title, "Save image file  ");
  EXPECT_TRUE(writeWith(folder + "shot"));
  EXPECT_TRUE(fs::exists(folder + "shot.png"));
  EXPECT_EQ(written("shot.map").substr(39, 8), "shot.png");
  EXPECT_FALSE(writeWith(folder + "shot.png"));
  EXPECT_EQ(lastBox(), "OK to overwrite " + folder + "shot.png ?");
  EXPECT_FALSE(writeWith(folder + "none/shot.png"));
  EXPECT_EQ(lastBox(), "Unable to save " + folder + "none/shot.png");
}

TEST_F(DriverTest, ImageIsFoundWhateverItsCaseAndExtension) {
  preferences.warnOverwrite = false;
  fs::rename(folder + "area.png", folder + "AREA.Png");
  EXPECT_TRUE(convertMap(map));
  EXPECT_EQ(calibration.imagePath, folder + "AREA.Png");

  fs::remove(folder + "AREA.Png");
  ASSERT_TRUE(SaveImage(ImageFormat::jpeg, allocate24Bits(410, 300), folder + "area.jpg"));
  writeTestFile(folder + "area.tif", "no image");
  EXPECT_TRUE(convertMap(map + "IWH,Map Image Width/Height,400,299\r\n"));
  EXPECT_EQ(calibration.imagePath, folder + "area.jpg");
  EXPECT_EQ(calibration.imageWidth, 410);
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{"Image width=410\n input file width=400\nusing image width",
                                      "Image height=300\n input file height=299\nusing image height"}));
  EXPECT_NE(written("area_jpg.cal").find("\r\nfname = 10 = area.jpg\r\n"), std::string::npos);
  EXPECT_TRUE(written("area.jpr").starts_with("nm=area.jpg\r\n"));

  fs::remove(folder + "area.jpg");
  EXPECT_FALSE(convertMap(map));  // area.tif is no image
  EXPECT_EQ(person.boxes[person.boxes.size() - 2].text, "Unable to read image " + folder + "area.tif");
}

TEST_F(DriverTest, ImageTooWideForTheRecordIsRefusedFromItsHeader) {
  std::string png = written("area.png");
  png.replace(16, 8, std::string("\0\0\x9C\x40\0\0\0\1", 8));  // IHDR: 40000 by 1
  png.replace(29, 4, std::string("\x32\x02\x5C\xD3", 4));      // its checksum
  writeTestFile(folder + "area.png", png);
  EXPECT_FALSE(convertMap(map));
  EXPECT_TRUE(panelHas("***** Error *****\r\nOverflow\r\n40000 does not fit\r\n")) << log();
}

// A world file that cannot be written stops the run, and whatever was there stays.
TEST_F(DriverTest, FailedWriteKeepsWhatWasThere) {
  preferences.warnOverwrite = false;
  writeTestFile(folder + "area.map", map);
  fs::copy_file(preferences.datumsPath, folder + "datums.txt");  // where nobody can read it, too
  preferences.datumsPath = folder + "datums.txt";
  const auto expectStopped = [this](const char* why) {
    EXPECT_EQ(lastBox(), "unable to write " + folder + "area.tfw") << why;
    person.boxes.clear();
  };
  const auto before = files();
  fs::permissions(folder, static_cast<fs::perms>(0555));
  constexpr uid_t nobody = 65534;
  const bool superuser = geteuid() == 0;  // for whom nothing is read-only
  ASSERT_EQ(superuser ? seteuid(nobody) : 0, 0);
  EXPECT_EQ(runBatch(folder + "area.map"), 1);
  ASSERT_EQ(superuser ? seteuid(0) : 0, 0);
  fs::permissions(folder, fs::perms::owner_all);
  expectStopped("folder without the right to write");
  EXPECT_EQ(files(), before);

  writeTestFile(folder + "area.tfw", "mine");
  (void)std::signal(SIGXFSZ, SIG_IGN);
  rlimit unlimited{};
  getrlimit(RLIMIT_FSIZE, &unlimited);
  rlimit small = unlimited;
  small.rlim_cur = 10;  // bytes a file: the write fails on its way, as on a disk that fills up
  setrlimit(RLIMIT_FSIZE, &small);
  EXPECT_EQ(runBatch(folder + "area.map"), 1);
  setrlimit(RLIMIT_FSIZE, &unlimited);
  expectStopped("full disk");
  EXPECT_EQ(written("area.tfw"), "mine");
  EXPECT_EQ(files().size(), 4U);

  fs::remove(folder + "area.tfw");
  fs::create_directories(folder + "area.tfw/x");
  EXPECT_EQ(runBatch(folder + "area.map"), 1);
  expectStopped("folder of that name");
  EXPECT_EQ(files().size(), 4U);
}

TEST(BatchPath, JoinsArgumentsAndDropsOnePairOfQuotes) {
  EXPECT_EQ(batchPath({"my", "map.map"}), fs::current_path() / "my map.map");
  EXPECT_EQ(batchPath({"\"/my", "map.map\""}), "/my map.map");
  EXPECT_EQ(batchPath({"\"\"x\"\""}), fs::current_path() / "\"x\"");
  EXPECT_EQ(batchPath({"\""}), fs::current_path() / "\"");
}

}  // namespace
}  // namespace vellandra
