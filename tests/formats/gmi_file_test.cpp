#include "formats/gmi_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

using GmiTest = CoreTest;

TEST_F(GmiTest, WritesToTheLetter) {
  driver.inputFolder = folder;
  driver.inputBase = "map";
  calibration.setPixel(1, 0, 0);
  calibration.setPosition(1, 50.5, -0.00000001);
  calibration.setPixel(2, 99, 12345);
  calibration.setPosition(2, -9.123456785, 100);
  calibration.pointCount = 2;
  calibration.cornerCount = 4;
  calibration.setPosition(31, 51, -1);
  calibration.setPosition(33, 49, 1);
  calibration.imageWidth = 100;
  calibration.imageHeight = 20000;
  calibration.imagePath = folder + "map.png";
  const std::string body =
      "Map Calibration data file v3.0\r\nmap.jpg\r\n100\r\n20000\r\n0;0;-0.00000001;50.50000000\r\n"
      "99;12345;100.00000000;-9.12345679\r\nBorder and Scale\r\n51.00000000;-1.00000000;49.00000000;1.00000000\r\n";
  driver.worldFile = {0.0001, 0, 0, 0, 0, 0};
  EXPECT_EQ(writeGmi(), WriteOutcome::written);
  EXPECT_EQ(contentOf(folder + "map.gmi"), body);
  EXPECT_NE(person.panel.find("without its scale"), std::string::npos);

  driver.worldFile.E = -0.0002;
  EXPECT_EQ(writeGmi(), WriteOutcome::declined);
  person.boxAnswers = {Answer::ok};
  EXPECT_EQ(writeGmi(), WriteOutcome::written);
  EXPECT_EQ(contentOf(folder + "map.gmi"), body + "10000.0000000;5000.0000000\r\n");
}

TEST_F(GmiTest, UnreadablePointBehindTheLastGoodOneIsNamed) {
  writeTestFile(folder + "map.gmi", "title\nmap.jpg\n100\n200\n1;2;-3.5;44.25\n90;x;-3.25;oops\n");
  readGmi(folder + "map.gmi");
  EXPECT_EQ(calibration.pointCount, 1);
  EXPECT_NE(person.panel.find("position: 2\r\n"), std::string::npos);
}

TEST_F(GmiTest, SurvivesARoundTrip) {
  makeImage("map.png", 100, 200);
  const std::string text =
      "map.jpg\r\n100\r\n200\r\n1;2;-3.50000000;44.25000000\r\n90;3;-3.25000000;44.26000000\r\n"
      "7;190;-3.49000000;44.00000000\r\n";
  writeTestFile(folder + "map.gmi", "title\r\n" + text);
  ASSERT_EQ(runBatch(folder + "map.gmi"), 0);
  EXPECT_EQ(contentOf(folder + "map.gmi"), "title\r\n" + text);  // an input is not written over
  std::filesystem::remove(folder + "map.gmi");
  ASSERT_EQ(runBatch(folder + "map.map"), 0);
  EXPECT_NE(contentOf(folder + "map.gmi").find(text), std::string::npos);
}

}  // namespace
}  // namespace vellandra
