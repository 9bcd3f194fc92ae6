#include "calibration/folder_run.h"

#include "formats/calibrations_in_folder.h"
#include "map_fixture.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

using FolderRunTest = MapTest;
using Texts = std::vector<std::string>;

TEST_F(FolderRunTest, EachCalibrationIsConvertedAsByItself) {
  const std::string map = mapOn("WGS 84", std::string(threePoints) + "Point04,xy,10,290,in,deg,50,5,N,3,15,W\r\n");
  const std::string gux =
      "M E European 1950\nS CalPoint1 = DEG = N50.5 E11 = 10 10\nS CalPoint2 = DEG = N50.5 E13 = 390 10\n"
      "S CalPoint3 = DEG = N50 E13 = 390 290\nS CalPoint4 = DEG = N50 E11 = 10 295\n";
  makeImage("Z.png", 400, 300);
  const std::pair<const char*, std::string> given[] = {
      {"area.map", map}, {"Z.gux", gux}, {"\xC3\x84.gux", gux}, {"Bad.MAP", mapOn("Atlantis", threePoints)}};
  ASSERT_TRUE(convert("area.map", map) && convert("Z.gux", gux));
  const auto alone = files();
  for (const auto& entry : fs::directory_iterator(folder)) {
    if (entry.path().extension() != ".png" && entry.path().extension() != ".log") fs::remove(entry.path());
  }
  for (const auto& [name, content] : given) writeTestFile(folder + name, content);
  for (const char* name : {"area.gmi", "area_png.cal", "bitmap", "._Z.map", "Z.jpr"}) writeTestFile(folder + name, "");
  fs::create_directory(folder + "sub.map");
  const std::optional<Texts> list = calibrationsIn(folder);
  ASSERT_EQ(list, (Texts{folder + "area.map", folder + "Bad.MAP", folder + "Z.gux", folder + "\xC3\x84.gux"}));

  for (const char* name : {"area.gmi", "area_png.cal", "Z.jpr"}) fs::remove(folder + name);
  EXPECT_EQ(runFolder(folder, list), 1);
  // The fourth point of Z.gux is 5 pixels too low, of which every corner of the rectangle takes a quarter.
  EXPECT_EQ(person.panel,
            "file      datum          points  root mean square  written  kept  why not\r\n"
            "area.map  WGS 84         4       0.00              7        0\r\n"
            "Bad.MAP   ATLANTIS       3       -                 0        0     unable to match input datum ATLANTIS\r\n"
            "Z.gux     EUROPEAN 1950  4       1.25              8        0\r\n"
            "\xC3\x84.gux     EUROPEAN 1950  4       -                 0        0     Unable to proceed without "
            "matching image\r\n");
  for (const auto& [name, content] : alone) EXPECT_EQ(written(name), content) << name;

  EXPECT_EQ(runFolder(folder, Texts{folder + "area.map"}), 0) << "kept files";
  EXPECT_EQ(runFolder(folder + "sub.map", calibrationsIn(folder + "sub.map")), 0);
  EXPECT_EQ(runFolder(folder + "none", calibrationsIn(folder + "none")), 1);
  EXPECT_EQ(lastBox(), "Unable to read folder " + folder + "none");
}

}  // namespace
}  // namespace vellandra
