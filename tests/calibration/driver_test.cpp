#include "calibration/driver.h"

#include <algorithm>

#include "map_fixture.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

using DriverTest = MapTest;
using Texts = std::vector<std::string>;

const std::string map = mapOn("WGS 84", threePoints);
const std::string gmi = "t\narea.png\n400\n300\n0;0;-3;51\n399;0;-2;51\n399;299;-2;50.5\n";

TEST_F(DriverTest, WrongInputIsToldAndLeavesEveryFileAsItWas) {
  const std::string elf("\177ELF\0\1\2\xFF\xFE Point\n\r\0,,,", 20);
  const std::string point4 = "Point04,xy,";
  const std::string noOzi =
      "This is not an OziExplorer map calibration: it has neither \"Point\" lines nor a \"Map Projection\" line";
  const std::tuple<const char*, std::string, std::string> rows[] = {
      // told in the last box or as the panel's error
      {"a.xyz", map, "Unsupported calibration type"},
      {"a.jgw2", map, "Unsupported calibration type"},
      {"empty.map", "", noOzi},
      {"junk.map", elf, noOzi},
      {"noimage.gux", "", "Unable to proceed without matching image"},
      {"datum.map", mapOn("Atlantis", threePoints), "unable to match input datum ATLANTIS"},
      {"one.map", mapOn("WGS 84", "Point01,xy,1,1,in,deg,50,30,N,3,15,W"), "Insufficient points to proceed"},
      {"point.map", map + point4 + "20,20,in,deg,95,0,N,3,0,W",
       "Point 4 is not on the earth: latitude 95, longitude -3"},
      {"corner.map", map + "MMPXY,1,0,0\r\nMMPLL,1,-3,95", "Corner 1 is not on the earth: latitude 95, longitude -3"},
      {"p51.map", map + "Point51,xy,1,2,in,deg,50,30,N,3,15,W", "Subscript out of range\r\npoint 51"},
      {"c21.map", map + "MMPXY,21,0,0", "Subscript out of range\r\ncorner 21"},
      {"c0.map", map + "MMPXY,0,0,0", "Subscript out of range\r\ncorner 0"},
      {"square.map", map + point4 + "46341,20,in,deg,50,30,N,3,15,W", "Overflow\r\npixel 46341"},
      {"huge.map", map + point4 + "99999999999,20,in,deg,50,30,N,3,15,W", "Overflow\r\n99999999999"},
      {"wide.map", map + "IWH,Map Image Width/Height,40000,300", "Overflow\r\n40000"},
      {"degrees.map", map + point4 + "20,20,in,deg,1e999,0,N,3,0,W", "Overflow\r\n1e999"},
      {"short.tfw", "0.1\r\n0\r\n0\r\n-0.1\r\n10\r\n", "Line 6 of the world file holds no number"},
      {"long.xyz", std::string(300'000, '\n'), "Unsupported calibration type"},
  };
  for (const auto& [name, content, told] : rows) {
    calibration.message.clear();
    person.boxes.clear();
    const auto before = files();
    EXPECT_FALSE(convert(name, content)) << name;
    EXPECT_TRUE(lastBox() == told || panelHas("***** Error *****\r\n" + told)) << name << lastBox() << person.panel;
    EXPECT_EQ(written(name), content);
    EXPECT_FALSE(run(writeCalibrations));
    EXPECT_TRUE(lastBox() == told || lastBox().starts_with("The calibration was not read")) << name << lastBox();
    fs::remove(folder + name);
    EXPECT_EQ(files(), before) << name;
  }
  EXPECT_LT(fs::file_size(folder + "vellandra.log"), 4'100'000U)
      << "a copied line takes more room in the log than in the file";
}

TEST_F(DriverTest, PanelSaysWhatToDoAboutAFileThatIsNotRead) {
  const std::pair<std::string, const char*> rows[] = {
      {mapOn("European", threePoints), "Datums of a like name: EUROPEAN 1950, EUROPEAN 1950 (MEAN"},
      {mapOn("WGS 84", "MMPXY,1,0,0\r\nMMPLL,1,-3,50\r\n"), "holds corners of the map, but no tie points"},
      {mapOn("WGS 84", "Point01,xy,1,1,in,deg,,,N,,,W,grid,,600000,200000,N\n", "(SUI) Swiss Grid"),
       "Points on the projection \"(sui) swiss grid\" cannot be read"},
      {mapOn("WGS 84", "Point01,xy,1,1,in,deg,,,N,,,W,grid,33,2600000,200000,N\n", "(UTM)"),
       "Point 1 lies outside the grid: 2600000 200000"},
  };
  for (const auto& [content, told] : rows) {
    calibration.message.clear();
    EXPECT_FALSE(convert("area.map", content));
    EXPECT_TRUE(panelHas(told)) << calibration.message;
  }
}

TEST_F(DriverTest, ImageIsFoundUnderTheNamesThatTheCalibrationHasBesides) {
  makeImage("sheet.png", 20, 10);
  writeTestFile(folder + "readme.png", "no image");
  const auto named = [](const std::string& name, const std::string& path) {
    return "OziExplorer\n" + name + "\n" + path + "\n\nWGS 84\n\n\n\nMap Projection,Lat\n" + threePoints;
  };
  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"area.map", named("Created by me", "D:\\maps\\sheet.png"), "sheet.png"},
      {"area.map", named("Sheet 12 (1998)", "area.map"), "area.png"},
      {"area.map", named("readme.png", ""), "area.png"},
      {"area.gmi", "t\nother.png\n400\n300\n0;0;-3;51\n399;0;-2;51\n399;299;-2;50.5\n", "area.png"},
  };
  preferences.warnOverwrite = false;
  for (const auto& [file, content, image] : rows) {
    calibration.message.clear();
    EXPECT_TRUE(convert(file, content)) << content;
    EXPECT_EQ(calibration.imagePath, folder + image) << content;
    EXPECT_TRUE(panelHas(std::string("taken is ") + image)) << calibration.message;
  }
}

TEST_F(DriverTest, MissingFilesAreTold) {
  EXPECT_EQ(runBatch(folder + "none.map"), 1);
  fs::remove(folder + "area.png");
  EXPECT_FALSE(convert("area.map", map + "IWH,Map Image Width/Height,400,300\r\n"));
  EXPECT_EQ(person.boxTexts(),
            (Texts{"Missing input file", "Identify image file associated with\n" + folder + "area.png",
                   "Unable to proceed without matching image"}));
  EXPECT_EQ(person.boxes[1].icon, Icon::question);
  EXPECT_EQ(files().size(), 1U);
}

TEST_F(DriverTest, AnOpenThatEndsBeforeAFileIsReadKeepsTheOpenMap) {
  preferences.warnOverwrite = false;
  fs::create_directory(folder + "other");
  writeTestFile(folder + "other/a.xyz", "\xE9");
  ASSERT_TRUE(convert("\xC3\xA4.map", map));
  EXPECT_TRUE(run(writeCalibrations));
  const auto before = files();
  for (const std::string& picked : {std::string(), folder + "none.map", folder + "other/a.xyz"}) {
    person.pickedFiles = {picked};
    EXPECT_FALSE(run(openCalibration));
    EXPECT_TRUE(person.menuStates.calibratedImage) << picked;
    EXPECT_TRUE(run(writeCalibrations));
    EXPECT_EQ(files(), before) << picked;
    EXPECT_EQ(driver.inputPath, folder + "\xC3\xA4.map") << picked;
  }
}

TEST_F(DriverTest, PanelTellsWhatIsOddAboutAMap) {
  const auto threeAt = [](const std::string& west, const std::string& east) {
    return mapOn("WGS 84", "Point01,xy,0,0,in,deg,10,0,N," + west + "\nPoint02,xy,9,0,in,deg,10,0,N," + east +
                               "\nPoint03,xy,9,9,in,deg,9,0,N," + east + "\n");
  };
  std::string manyPoints = gmi;
  std::string pastTheCorners = map + "MMPXY,1,7,7\nMMPLL,1,0,0\n";
  for (int i = 4; i <= 33; ++i) {
    manyPoints += "399;299;-2;50.5\n";
    pastTheCorners += "Point" + formatNumber(i, "00") + ",xy,390,290,in,deg,50,5,N,2,45,W\n";
  }
  pastTheCorners += "MMPXY,2,7,7\nMMPLL,2,0,0\n";
  fs::create_directory(folder + "sub");
  makeImage("b.PNG", 400, 300);
  // clang-format off
  const std::tuple<const char*, std::string, std::string> rows[] = {
      {"a.map", map + "Point00,xy,10,290,in,deg,50,5,N,3,15,W", "Points missing or without a readable position: 0"},
      {"a.map", map + "Point02,xy,390,10,in,deg,50,30,N,2,45,W", "Points given more than once, the last one counts: 2"},
      {"a.map", threeAt("9,0,E", "8,0,E"), "The map comes out mirrored: check the points"},
      {"a.map", map, "The calibrations name the image a.png, the map's image is area.png"},
      {"sub/b.map", map, "name the image " + folder + "sub/b.PNG, the map's image is " + folder + "b.PNG"},
      {"a.gmi", manyPoints, "Points 31 to 33 took part in the fit and are not written"},
      {"a.map", pastTheCorners, "Points 31 to 33 took part in the fit and are not written"},
      {"a.map", threeAt("179,0,E", "179,0,W"), "The map lies across 180 degrees: longitudes go on past 180"},
  };
  // clang-format on
  preferences.warnOverwrite = false;
  for (const auto& [file, content, told] : rows) {
    calibration.message.clear();
    person.pickedFiles = {folder + "b.PNG"};
    EXPECT_TRUE(convert(file, content)) << told;
    EXPECT_TRUE(panelHas(told + "\r\n")) << told << "\n" << calibration.message;
    if (file == std::string("a.gmi")) continue;
    const std::string border = "Border and Scale\r\n" + formatNumber(calibration.y0, "###0.00000000") + ";";
    EXPECT_NE(written(replaceToken(file, ".map", ".gmi")).find(border), std::string::npos)
        << told << ": a tie point or the corner of the file";
  }
  EXPECT_NEAR(calibration.tf1, 2.0 / 9, 1e-9);
  EXPECT_NEAR(calibration.points[2].longitude, 181, 1e-9);
}

TEST_F(DriverTest, OpeningWritesNothingAndWritingFollows) {
  writeTestFile(folder + "area.map", map);
  const auto before = files();
  person.pickedFiles = {folder + "AREA.MAP"};  // as a case-blind system would give it
  EXPECT_TRUE(run(openCalibration));
  EXPECT_EQ(files(), before);
  EXPECT_TRUE(driver.calibrationPending);
  EXPECT_TRUE(person.menuStates.calibratedImage);

  EXPECT_TRUE(run(writeCalibrations));
  EXPECT_FALSE(driver.calibrationPending);
  EXPECT_TRUE(fs::exists(folder + "area.tfw"));
  EXPECT_TRUE(person.panel.starts_with(
      "area.map:\r\nImage wide 400 high 300\r\nInput datum is WGS 84\r\nProjection lat\r\ny0 =50.514880952"));
  EXPECT_TRUE(panelHas("Average error per calibration point=.0000\r\nAll points: root mean square 0.00 pixels"));
  EXPECT_TRUE(panelHas("Fourth point added\r\nOutput datum is WGS84\r\n"));
  EXPECT_TRUE(person.panel.ends_with("\r\ndone\r\n"));
  const std::string path = folder + "area.png\r\n";
  for (const std::string& text :
       Texts{"send this file by e-mail", ":Point01,xy,   10,   10,in, deg,  50,  30.0,N,   3,  15.0,W\r\n",
             ":finddatum WGS 84 ", ":points = 3\r\n", ":Ipath " + path, ":getidata " + path,
             ":50.500000 -3.250000 10 10"}) {
    EXPECT_TRUE(logHas(text)) << text;
  }
}

TEST_F(DriverTest, ExistingOutputsAreKeptUnlessThePersonAgrees) {
  Texts questions;
  for (const char* ending : {".tfw", ".js", ".jpr", ".map", "_png.cal", ".mcd", ".txt"}) {  // in the writers' order
    questions.push_back("OK to overwrite " + folder + "area" + ending);
    writeTestFile(folder + "area" + ending, "mine");
  }
  ASSERT_TRUE(convert("area.gmi", gmi));
  EXPECT_EQ(person.boxTexts(), questions);
  EXPECT_EQ(written("area.gmi"), gmi) << "an input is not written over";
  const auto isMine = [](const auto& file) { return file.second == "mine"; };
  EXPECT_EQ(std::ranges::count_if(files(), isMine), 7);
  person.boxAnswers.assign(questions.size(), Answer::ok);
  ASSERT_TRUE(convert("area.gmi", gmi));
  const auto replaced = files();
  EXPECT_EQ(std::ranges::count_if(replaced, isMine), 0);

  person.boxes.clear();
  preferences.warnOverwrite = false;
  EXPECT_TRUE(convert("area.gmi", gmi));
  EXPECT_TRUE(person.boxes.empty());
  EXPECT_EQ(files(), replaced) << "a second conversion changes something";
}

TEST_F(DriverTest, ClipboardImageIsSavedBeforeTheCalibrationsNameIt) {
  EXPECT_TRUE(convert("area.map", map));
  mapImage.bitmap = allocate24Bits(400, 300);
  const auto writeWith = [this](const std::string& picked) {
    calibration.imagePath = "clip.board";
    driver.inputFormat = nullptr;
    person.pickedFiles = {picked};
    return run(writeCalibrations);
  };
  EXPECT_FALSE(writeWith(""));
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
  EXPECT_TRUE(convert("area.map", map));
  EXPECT_EQ(calibration.imagePath, folder + "AREA.Png");

  fs::remove(folder + "AREA.Png");
  ASSERT_TRUE(SaveImage(ImageFormat::jpeg, allocate24Bits(410, 300), folder + "area.jpg"));
  writeTestFile(folder + "area.tif", "no image");
  EXPECT_TRUE(convert("area.map", map + "IWH,Map Image Width/Height,400,299\r\n"));
  EXPECT_EQ(calibration.imagePath, folder + "area.jpg");
  EXPECT_EQ(calibration.imageWidth, 410);
  EXPECT_EQ(person.boxTexts(), (Texts{"Image width=410\n input file width=400\nusing image width",
                                      "Image height=300\n input file height=299\nusing image height"}));
  EXPECT_NE(written("area_jpg.cal").find("\r\nfname = 10 = area.jpg\r\n"), std::string::npos);
  EXPECT_TRUE(written("area.jpr").starts_with("nm=area.jpg\r\n"));

  fs::remove(folder + "area.jpg");
  EXPECT_FALSE(convert("area.map", map));  // area.tif is no image
  EXPECT_EQ(person.boxes[2].text, "Unable to read image " + folder + "area.tif");
  fs::rename(folder + "area.tif", folder + "area.TIFF");
  person.pickedFiles = {folder + "area.TIFF"};
  EXPECT_FALSE(convert("area.map", map));
  EXPECT_EQ(person.boxes[6].text,
            "Unable to read image " + folder + "area.TIFF\nRename it: its name has to end in .tif");
}

TEST_F(DriverTest, ImageTooWideForTheRecordIsRefusedFromItsHeader) {
  std::string png = written("area.png");
  png.replace(16, 8, std::string("\0\0\x9C\x40\0\0\0\1", 8));  // IHDR: 40000 by 1
  png.replace(29, 4, std::string("\x32\x02\x5C\xD3", 4));      // its checksum
  writeTestFile(folder + "area.png", png);
  EXPECT_FALSE(convert("area.map", map));
  EXPECT_TRUE(panelHas("***** Error *****\r\nOverflow\r\nthe image " + folder + "area.png has 40000 by 1 pixels"))
      << log();
}

// The world file, which is written first, stops the run.
TEST_F(DriverTest, FailedWriteKeepsWhatWasThere) {
  preferences.warnOverwrite = false;
  writeTestFile(folder + "area.tfw", "mine");
  writeTestFile(folder + "area.map", map);
  {
    const FileSizeLimit limit(10);
    EXPECT_EQ(runBatch(folder + "area.map"), 1);
  }
  EXPECT_EQ(written("area.tfw"), "mine");

  const std::string image = written("area.png");
  fs::remove(folder + "area.tfw");
  fs::create_symlink("area.png", folder + "area.tfw");
  EXPECT_EQ(runBatch(folder + "area.map"), 1);
  EXPECT_EQ(written("area.png"), image);
  fs::remove(folder + "area.tfw");
  fs::create_directories(folder + "area.jpr/a folder of that name");
  EXPECT_EQ(runBatch(folder + "area.map"), 1);
  EXPECT_EQ(person.boxTexts(),
            (Texts{"unable to write " + folder + "area.tfw", "unable to write " + folder + "area.tfw",
                   "unable to write " + folder + "area.jpr"}));
  EXPECT_TRUE(driver.calibrationPending) << "two files of seven count as written";
  EXPECT_EQ(files().size(), 5U);
}

TEST(CommandLine, IsAPathBehindAtMostOneOption) {
  using Task = CommandLine::Task;
  const std::string here = fs::current_path().string() + "/";
  const std::tuple<Texts, Task, std::string> rows[] = {
      {{}, Task::window, ""},
      {{"--help"}, Task::help, ""},
      {{"my", "map.map"}, Task::batch, here + "my map.map"},
      {{"\"/my", "map.map\""}, Task::batch, "/my map.map"},
      {{"\"\"x\"\""}, Task::batch, here + "\"x\""},
      {{"\""}, Task::batch, here + "\""},
      {{"--open"}, Task::window, ""},  // as the desktop starts the program without a file
      {{"--open", "my", "map.map"}, Task::window, here + "my map.map"},
      {{"--folder", "/my", "maps"}, Task::folder, "/my maps"},
      {{"--folder", ""}, Task::folder, ""},
  };
  for (const auto& [arguments, task, path] : rows) {
    const CommandLine read = readCommandLine(arguments);
    EXPECT_EQ(std::pair(read.task, read.path), std::pair(task, path)) << path;
  }
}

}  // namespace
}  // namespace vellandra
