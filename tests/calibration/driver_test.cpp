#include "calibration/driver.h"

#include <sys/resource.h>

#include <algorithm>
#include <csignal>

#include "core_fixture.h"
#include "geodesy/datum.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

constexpr const char* header =
    "OziExplorer Map Data File Version 2.2\r\n"
    "area.png\r\n"
    "C:\\maps\\area.png\r\n"
    "1 ,Map Code,\r\n"
    "WGS 84,,   0.0000,   0.0000,WGS 84\r\n"
    "Reserved 1\r\nReserved 2\r\nMagnetic Variation,,,E\r\n"
    "Map Projection,Latitude/Longitude,PolyCal,No,AutoCalOnly,No,BSBUseWPX,No\r\n";
constexpr const char* threePoints =
    "Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n"
    "Point02,xy,  390,   10,in, deg,  50,  30.0,N,   2,  45.0,W\r\n"
    "Point03,xy,  390,  290,in, deg,  50,   5.0,N,   2,  45.0,W\r\n";

class DriverTest : public CoreTest {
 protected:
  DriverTest() { makeImage("area.png", 400, 300); }

  int convert(const std::string& name) const { return runBatch(folder + name); }
  int convertMap(const std::string& content) const {
    writeTestFile(folder + "area.map", content);
    return convert("area.map");
  }
  std::string lastBox() const { return person.boxes.empty() ? "" : person.boxes.back().text; }

  /// Names in the folder, the log's left out.
  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) {
      if (entry.path().filename() != "vellandra.log") names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  bool panelHas(const std::string& text) const { return calibration.message.find(text) != std::string::npos; }
};

TEST_F(DriverTest, WrongInputIsToldAndLeavesEveryFileAsItWas) {
  struct Row {
    const char* name;
    std::string content;
    const char* box;    ///< the last box, or
    const char* panel;  ///< the error's line on the panel
  };
  const std::string map = std::string(header) + threePoints;
  const Row rows[] = {
      {"a.xyz", map, "Unsupported calibration type", nullptr},
      {"a.jgw2", map, "Unsupported calibration type", nullptr},
      {"empty.map", "", "Unable to proceed without matching image", nullptr},
      {"junk.map",
       std::string("\x7F"
                   "ELF\0\1\2\xFF\xFE Point\n\r\0,,,",
                   20),
       "Unable to proceed without matching image", nullptr},
      {"long.map", std::string(10'000'000, ','), "Unable to proceed without matching image", nullptr},
      {"datum.map", std::string(map).replace(map.find("WGS 84,,"), 6, "Atlantis"),
       "unable to match input datum ATLANTIS", nullptr},
      {"one.map", std::string(header) + "Point01,xy,10,10,in,deg,50,30,N,3,15,W\r\n", "Insufficient points to proceed",
       nullptr},
      {"nowhere.map", map + "Point04,xy,20,20,in,deg,95,0,N,3,0,W\r\n",
       "Point 4 is not on the earth: latitude 95, longitude -3", nullptr},
      {"p51.map", map + "Point51,xy,1,2,in,deg,50,30,N,3,15,W\r\n", nullptr, "Subscript out of range\r\npoint 51"},
      {"p99.map", map + "Point99,xy,1,2,in,deg,50,30,N,3,15,W\r\n", nullptr, "Subscript out of range\r\npoint 99"},
      {"corner.map", map + "MMPXY,21,0,0\r\n", nullptr, "Subscript out of range\r\ncorner 21"},
      {"corner0.map", map + "MMPXY,-5,0,0\r\n", nullptr, "Subscript out of range\r\ncorner -5"},
      {"square.map", map + "Point04,xy,46341,20,in,deg,50,30,N,3,15,W\r\n", nullptr, "Overflow\r\npixel 46341"},
      {"huge.map", map + "Point04,xy,99999999999,20,in,deg,50,30,N,3,15,W\r\n", nullptr, "Overflow\r\n99999999999"},
      {"wide.map", map + "IWH,Map Image Width/Height,40000,300\r\n", nullptr, "Overflow\r\n40000"},
      {"degrees.map", map + "Point04,xy,20,20,in,deg,1e999,0,N,3,0,W\r\n", nullptr, "Overflow\r\n1e999"},
      {"short.tfw", "0.1\r\n0\r\n0\r\n-0.1\r\n10\r\n", "Line 6 of the world file holds no number", nullptr},
  };
  for (const Row& row : rows) {
    person.boxes.clear();
    calibration.message.clear();
    writeTestFile(folder + row.name, row.content);
    const std::vector<std::string> before = files();
    EXPECT_EQ(convert(row.name), 1) << row.name;
    if (row.box != nullptr) {
      EXPECT_EQ(lastBox(), row.box) << row.name;
    } else {
      EXPECT_TRUE(panelHas(std::string("***** Error *****\r\n") + row.panel)) << row.name << calibration.message;
    }
    EXPECT_EQ(files(), before) << row.name;
    EXPECT_EQ(contentOf(folder + row.name), row.content);
    fs::remove(folder + row.name);
  }
}

TEST_F(DriverTest, WhatIsMissingAroundTheInputIsTold) {
  EXPECT_EQ(convert("none.map"), 1);
  EXPECT_EQ(lastBox(), "Missing input file");

  preferences.datumsPath = folder + "none.txt";
  EXPECT_EQ(convertMap(header), 1);
  EXPECT_EQ(lastBox(), "Unable to load datums.txt");
  EXPECT_EQ(person.boxes.back().title, "No datums");
  EXPECT_EQ(person.pickers.back().title, "Open datums.txt file ");
  preferences.datumsPath = SOURCE_FOLDER "/data/datums.txt";

  fs::remove(folder + "area.png");
  EXPECT_EQ(convertMap(std::string(header) + threePoints + "IWH,Map Image Width/Height,400,300\r\n"), 1);
  EXPECT_EQ(person.boxes[person.boxes.size() - 2].text, "Identify image file associated with\n" + folder + "area.png");
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");

  driver.stage = openCalibration;
  EXPECT_FALSE(do_it());
  EXPECT_EQ(lastBox(), "No input file specified");
  EXPECT_EQ(person.pickers.back().title, "Open calibration file for map");
  EXPECT_FALSE(person.menuStates.calibratedImage);
}

TEST_F(DriverTest, AnOpenThatEndsBeforeAFileIsReadKeepsTheOpenMap) {
  ASSERT_EQ(convertMap(std::string(header) + threePoints), 0);
  driver.stage = openCalibration;
  writeTestFile(folder + "a.xyz", "");
  for (const std::string& picked : {std::string(), folder + "none.map", folder + "a.xyz"}) {
    person.pickedFiles = {picked};
    EXPECT_FALSE(runCommand(do_it));
    EXPECT_TRUE(person.menuStates.calibratedImage) << picked;
    EXPECT_EQ(calibration.pointCount, 4) << picked;
  }
  EXPECT_EQ(person.boxes.back().title, "No support");
}

TEST_F(DriverTest, MapAcrossTheDateLineGoesOnPast180) {
  const auto map = [](const std::string& west, const std::string& east) {
    return std::string(header) + "Point01,xy,0,0,in,deg,10,0,N," + west + "\nPoint02,xy,9,0,in,deg,10,0,N," + east +
           "\nPoint03,xy,9,9,in,deg,9,0,N," + east + "\n";
  };
  ASSERT_EQ(convertMap(map("179,0,E", "179,0,W")), 0);
  EXPECT_NEAR(calibration.tf1, 2.0 / 9, 1e-9);
  EXPECT_NEAR(calibration.longitude[2], 181, 1e-9);
  EXPECT_FALSE(panelHas("mirrored"));
  ASSERT_EQ(convertMap(map("9,0,E", "8,0,E")), 0);
  EXPECT_TRUE(panelHas("mirrored"));
}

TEST_F(DriverTest, PointZeroIsNamedAsMissing) {
  EXPECT_EQ(convertMap(std::string(header) + threePoints + "Point00,xy,10,290,in,deg,50,5,N,3,15,W\n"), 0);
  EXPECT_TRUE(panelHas("readable position: 0\r\n"));
}

// The held corners of a map on another datum follow its points to WGS 84, and are not replaced by the image's.
TEST_F(DriverTest, HeldCornersAreShiftedAndKept) {
  std::string content = header;
  content.replace(content.find("WGS 84,,"), 6, "European 1950");
  content += std::string(threePoints) + "MMPXY,1,20,30\nMMPXY,2,380,30\nMMPXY,3,380,280\n";
  content += "MMPLL,1,-3.25,50.5\nMMPLL,2,-2.75,50.5\nMMPLL,3,-3.25,50.5\n";
  ASSERT_EQ(convertMap(content), 0);
  EXPECT_EQ(calibration.cornerCount, 3);
  // cs2cs, as for the datum that is matched by hand
  EXPECT_NE(contentOf(folder + "area.gmi").find("\r\n50.49906529;-3.25144852;50.49906529;-3.25144852\r\n"),
            std::string::npos);
}

TEST_F(DriverTest, WritersRunInTheirOrder) {
  ASSERT_EQ(convertMap(std::string(header) + threePoints), 0);
  writeTestFile(folder + "area.gmi", "t\narea.png\n400\n300\n0;0;-3;51\n399;0;-2;51\n399;299;-2;50.5\n");
  person.boxes.clear();
  ASSERT_EQ(convert("area.gmi"), 0);
  std::vector<std::string> expected;
  for (const char* ending : {".tfw", ".js", ".jpr", ".map", "_png.cal", ".mcd", ".txt"}) {
    expected.push_back("OK to overwrite " + folder + "area" + ending);
  }
  EXPECT_EQ(person.boxTexts(), expected);
}

TEST_F(DriverTest, OpeningWritesNothingAndWritingFollows) {
  writeTestFile(folder + "area.map", std::string(header) + threePoints);
  const std::vector<std::string> before = files();
  person.pickedFiles = {folder + "AREA.MAP"};  // as a case-blind system would give it
  driver.stage = openCalibration;
  EXPECT_TRUE(runCommand(do_it));
  EXPECT_EQ(files(), before);
  EXPECT_TRUE(driver.calibrationPending);
  EXPECT_TRUE(person.menuStates.calibratedImage);
  EXPECT_EQ(calibration.pointCount, 3);

  driver.stage = writeCalibrations;
  EXPECT_TRUE(runCommand(do_it));
  EXPECT_FALSE(driver.calibrationPending);
  EXPECT_EQ(calibration.pointCount, 4);
  EXPECT_TRUE(fs::exists(folder + "area.tfw"));
  const std::string panel = person.panel;
  EXPECT_NE(panel.find("Fourth point added\r\nOutput datum is WGS84\r\n"), std::string::npos);
  EXPECT_TRUE(panel.ends_with("\r\ndone\r\n"));
}

TEST_F(DriverTest, WritingWithoutACalibrationStops) {
  driver.stage = writeCalibrations;
  EXPECT_FALSE(runCommand(do_it));
  EXPECT_EQ(lastBox(), "Insufficient points to proceed");
  EXPECT_EQ(files(), std::vector<std::string>{"area.png"});
}

TEST_F(DriverTest, PanelTellsTheRunInItsOrder) {
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 0);
  EXPECT_EQ(person.panel.find("Image wide 400 high 300\r\nInput datum is WGS 84\r\nProjection latitude/longitude\r\n"
                              "y0 =50.514880952"),
            0U);
  EXPECT_TRUE(panelHas("Average error per calibration point=.0000\r\nAll points: root mean square 0.00 pixels"));
  const std::string text = log();
  EXPECT_NE(text.find(":Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n"), std::string::npos);
  EXPECT_NE(text.find(":finddatum WGS 84 "), std::string::npos);
  EXPECT_NE(text.find(":points = 3\r\n"), std::string::npos);
  EXPECT_NE(text.find(":Ipath " + folder + "area.png\r\n"), std::string::npos);
  EXPECT_NE(text.find(":getidata " + folder + "area.png\r\n"), std::string::npos);
  EXPECT_NE(text.find(":50.500000 -3.250000 10 10\r\n"), std::string::npos);
  EXPECT_NE(text.find("send this file by e-mail"), std::string::npos);
}

TEST_F(DriverTest, ExistingOutputIsKeptUnlessThePersonAgrees) {
  writeTestFile(folder + "area.tfw", "mine");
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 0);
  EXPECT_EQ(lastBox().find("OK to overwrite " + folder), 0U);
  EXPECT_EQ(contentOf(folder + "area.tfw"), "mine");

  person.boxAnswers.assign(20, Answer::ok);
  EXPECT_EQ(convert("area.map"), 0);
  EXPECT_EQ(contentOf(folder + "area.tfw").substr(0, 11), "0.001315789");

  writeTestFile(folder + "area.tfw", "mine");
  preferences.warnOverwrite = false;
  person.boxes.clear();
  EXPECT_EQ(convert("area.map"), 0);
  EXPECT_TRUE(person.boxes.empty());
  EXPECT_NE(contentOf(folder + "area.tfw"), "mine");
}

TEST_F(DriverTest, ConvertingTwiceChangesNothing) {
  preferences.warnOverwrite = false;
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 0);
  const std::vector<std::string> names = files();
  std::vector<std::string> contents;
  for (const std::string& name : names) contents.push_back(contentOf(folder + name));
  EXPECT_EQ(convert("area.map"), 0);
  EXPECT_EQ(files(), names);
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(contentOf(folder + names[i]), contents[i]) << names[i];
}

TEST_F(DriverTest, UnknownDatumIsMatchedByHandOnceAndRemembered) {
  const std::string content =
      std::string(header).replace(std::string(header).find("WGS 84,,"), 6, "European 50") + threePoints;
  LoadDatums();
  person.datums = {datumNumber("European 1950")};
  EXPECT_EQ(convertMap(content), 0);
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : EUROPEAN 50"});
  EXPECT_EQ(person.datumNames.size(), 123U);
  // cs2cs +proj=longlat +ellps=intl +towgs84=-87,-98,-121 +to +proj=longlat +datum=WGS84: -3.25 50.5
  EXPECT_NEAR(calibration.latitude[1], 50.49906529, 2e-8);
  EXPECT_NEAR(calibration.longitude[1], -3.25144852, 2e-8);
  EXPECT_NE(log().find(":50.500000 -3.250000 >> 50.499065 -3.251449 10 10\r\n"), std::string::npos);

  person.datumPrompts.clear();
  EXPECT_EQ(convert("area.map"), 0);
  EXPECT_TRUE(person.datumPrompts.empty());
  EXPECT_TRUE(panelHas("Input datum is EUROPEAN 1950"));
}

TEST_F(DriverTest, LongitudesPastNinetyEastStayWhereTheyAre) {
  std::string content = std::string(header).replace(std::string(header).find("WGS 84,,"), 6, "Tokyo");
  for (const char* point : {"01,xy,10,10,in,deg,36,0,N,89,30,E", "02,xy,390,10,in,deg,36,0,N,90,30,E",
                            "03,xy,390,290,in,deg,35,0,N,90,30,E"}) {
    content += std::string("Point") + point + "\r\n";
  }
  EXPECT_EQ(convertMap(content), 0);
  // cs2cs +proj=longlat +ellps=bessel +towgs84=-128,481,664 +to +proj=longlat +datum=WGS84: 90.5 36
  EXPECT_NEAR(calibration.longitude[2], 90.50137307, 2e-8);
  EXPECT_NEAR(calibration.longitude[1], 89.5, 0.01);
}

TEST_F(DriverTest, RecalculatingDoesNotShiftTwice) {
  EXPECT_EQ(convertMap(std::string(header).replace(std::string(header).find("WGS 84,,"), 6, "Tokyo") + threePoints), 0);
  const double latitude = calibration.latitude[1];
  driver.stage = recalculate;
  driver.inputType = "zzz";
  EXPECT_TRUE(runCommand(do_it));
  EXPECT_EQ(calibration.latitude[1], latitude);
}

TEST_F(DriverTest, ClipboardImageIsSavedBeforeTheCalibrationsNameIt) {
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 0);
  calibration.imagePath = "clip.board";
  mapImage.bitmap = allocate24Bits(400, 300);
  driver.stage = writeCalibrations;
  EXPECT_FALSE(runCommand(do_it));  // no file chosen
  EXPECT_EQ(person.pickers.back().title, "Save image file  ");

  person.pickedFiles = {folder + "shot"};
  driver.inputType = "zzz";
  EXPECT_TRUE(runCommand(do_it));
  EXPECT_TRUE(fs::exists(folder + "shot.png"));
  EXPECT_EQ(contentOf(folder + "shot.map").substr(39, 8), "shot.png");

  calibration.imagePath = "clip.board";
  person.pickedFiles = {folder + "shot.png"};
  EXPECT_FALSE(runCommand(do_it));
  EXPECT_EQ(lastBox(), "OK to overwrite " + folder + "shot.png ?");

  calibration.imagePath = "clip.board";
  person.pickedFiles = {folder + "none/shot.png"};
  EXPECT_FALSE(runCommand(do_it));
  EXPECT_EQ(lastBox(), "Unable to save " + folder + "none/shot.png");
}

TEST_F(DriverTest, ImageIsFoundWhateverItsCaseAndExtension) {
  fs::rename(folder + "area.png", folder + "AREA.Png");
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 0);
  EXPECT_EQ(calibration.imagePath, folder + "AREA.Png");

  fs::remove(folder + "AREA.Png");
  ASSERT_TRUE(SaveImage(ImageFormat::jpeg, allocate24Bits(410, 300), folder + "area.jpg"));
  writeTestFile(folder + "area.tif", "no image");
  person.boxes.clear();
  preferences.warnOverwrite = false;
  EXPECT_EQ(convertMap(std::string(header) + threePoints + "IWH,Map Image Width/Height,400,299\r\n"), 0);
  EXPECT_EQ(calibration.imagePath, folder + "area.jpg");
  EXPECT_EQ(calibration.imageWidth, 410);
  EXPECT_EQ(person.boxTexts(),
            (std::vector<std::string>{"Image width=410\n input file width=400\nusing image width",
                                      "Image height=300\n input file height=299\nusing image height"}));

  fs::remove(folder + "area.jpg");
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 1);  // area.tif is no image
  EXPECT_EQ(person.boxes[person.boxes.size() - 2].text, "Unable to read image " + folder + "area.tif");
}

TEST_F(DriverTest, ImageTooWideForTheRecordIsRefusedFromItsHeader) {
  std::string png = contentOf(folder + "area.png");
  png.replace(16, 4, std::string("\0\0\x9C\x40", 4));  // IHDR width 40000
  png.replace(29, 4, std::string("\x6F\x9E\x1C\x1F", 4));
  writeTestFile(folder + "area.png", png);
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 1);
}

TEST_F(DriverTest, FolderThatCannotBeWrittenStopsTheRun) {
  writeTestFile(folder + "area.map", std::string(header) + threePoints);
  fs::permissions(folder, static_cast<fs::perms>(0555));
  constexpr uid_t nobody = 65534;
  const bool superuser = geteuid() == 0;  // for whom nothing is read-only
  ASSERT_EQ(superuser ? seteuid(nobody) : 0, 0);
  EXPECT_EQ(convert("area.map"), 1);
  ASSERT_EQ(superuser ? seteuid(0) : 0, 0);
  EXPECT_EQ(lastBox(), "unable to write " + folder + "area.tfw");
  fs::permissions(folder, fs::perms::owner_all);
  EXPECT_EQ(files(), (std::vector<std::string>{"area.map", "area.png"}));
}

TEST_F(DriverTest, FullDiskKeepsTheOldFile) {
  preferences.warnOverwrite = false;
  writeTestFile(folder + "area.tfw", "mine");
  writeTestFile(folder + "area.map", std::string(header) + threePoints);
  (void)std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  rlimit small = before;
  small.rlim_cur = 10;  // bytes a file: the write fails on its way, as on a disk that fills up
  setrlimit(RLIMIT_FSIZE, &small);
  const int status = convert("area.map");
  setrlimit(RLIMIT_FSIZE, &before);
  EXPECT_EQ(status, 1);
  EXPECT_EQ(lastBox(), "unable to write " + folder + "area.tfw");
  EXPECT_EQ(contentOf(folder + "area.tfw"), "mine");
  EXPECT_EQ(files(), (std::vector<std::string>{"area.map", "area.png", "area.tfw"}));
}

TEST_F(DriverTest, OutputInTheWayOfAFolderStopsTheRun) {
  fs::create_directories(folder + "area.tfw/x");
  preferences.warnOverwrite = false;
  EXPECT_EQ(convertMap(std::string(header) + threePoints), 1);
  EXPECT_EQ(lastBox(), "unable to write " + folder + "area.tfw");
  EXPECT_EQ(files(), (std::vector<std::string>{"area.map", "area.png", "area.tfw"}));
}

TEST(BatchPath, JoinsArgumentsAndDropsOnePairOfQuotes) {
  EXPECT_EQ(batchPath({"my", "map.map"}), fs::current_path() / "my map.map");
  EXPECT_EQ(batchPath({"\"/my", "map.map\""}), "/my map.map");
  EXPECT_EQ(batchPath({"\"\"x\"\""}), fs::current_path() / "\"x\"");
  EXPECT_EQ(batchPath({"\""}), fs::current_path() / "\"");
}

}  // namespace
}  // namespace vellandra
