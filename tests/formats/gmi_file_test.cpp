#include "formats/gmi_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

class GmiTest : public CoreTest {
 protected:
  GmiTest() {
    LoadDatums();
    driver.inputFolder = folder;
    driver.inputBase = "map";
  }
  void read(const std::string& content) {
    calibration.clear();
    writeTestFile(folder + "map.gmi", content);
    readGmi(folder + "map.gmi");
  }
  std::string written() {
    EXPECT_EQ(writeGmi(), WriteOutcome::written);
    return contentOf(folder + "map.gmi");
  }
};

const std::string header = "Map Calibration data file v3.0\r\nC:\\maps\\my.old map.png\r\n 100 \r\n200\r\n";

TEST_F(GmiTest, ReadsPointsUpToTheBorder) {
  read(header +
       "1;2;-3.5;44.25\r\n\r\n  30 ; 40 ; -3.25 ; north\r\n5;6;-3;44\r\nBorder and Scale\r\n7;8;9;10\r\n11;12\r\n");
  ASSERT_EQ(calibration.pointCount, 2);
  EXPECT_EQ(calibration.longitude[1], -3.5);
  EXPECT_EQ(calibration.latitude[1], 44.25);
  EXPECT_EQ(calibration.pixelX[2], 5);
  EXPECT_EQ(calibration.pixelY[2], 6);
  EXPECT_EQ(calibration.imageWidth, 100);
  EXPECT_EQ(calibration.imageHeight, 200);
  EXPECT_EQ(calibration.imagePath, folder + "my.old map.png");
  EXPECT_NE(person.panel.find("without a readable position: 2\r\n"), std::string::npos);
}

TEST_F(GmiTest, ReadsToTheEndWithoutABorderAndRefusesThe51stPoint) {
  std::string content = header;
  for (int i = 1; i <= 50; ++i) content += std::to_string(i) + ";2;3;4\n";
  read(content);
  EXPECT_EQ(calibration.pointCount, 50);
  EXPECT_THROW(read(content + "51;2;3;4"), SubscriptOutOfRange);
  read("Map Calibration data file v3.0\n");
  EXPECT_EQ(calibration.pointCount, 0);
}

TEST_F(GmiTest, WritesToTheLetter) {
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
  driver.worldFile = {0.0001, 0, 0, -0.0002, 0, 0};
  const std::string body =
      "Map Calibration data file v3.0\r\nmap.jpg\r\n100\r\n20000\r\n0;0;-0.00000001;50.50000000\r\n"
      "99;12345;100.00000000;-9.12345679\r\nBorder and Scale\r\n51.00000000;-1.00000000;49.00000000;1.00000000\r\n";
  EXPECT_EQ(written(), body + "10000.0000000;5000.0000000\r\n");

  preferences.warnOverwrite = false;
  driver.worldFile.E = 0;
  EXPECT_EQ(written(), body);
  EXPECT_NE(person.panel.find("without its scale"), std::string::npos);
}

TEST_F(GmiTest, SurvivesARoundTrip) {
  makeImage("map.png", 100, 200);
  const std::string text =
      "map.jpg\r\n100\r\n200\r\n1;2;-3.50000000;44.25000000\r\n90;3;-3.25000000;44.26000000\r\n7;190;-3.49000000;44."
      "00000000\r\n";
  writeTestFile(folder + "map.gmi", "title\r\n" + text);
  ASSERT_EQ(runBatch(folder + "map.gmi"), 0);
  EXPECT_EQ(contentOf(folder + "map.gmi"), "title\r\n" + text);  // an input is not written over

  std::filesystem::remove(folder + "map.gmi");
  ASSERT_EQ(runBatch(folder + "map.map"), 0);
  EXPECT_NE(contentOf(folder + "map.gmi").find(text), std::string::npos);
}

}  // namespace
}  // namespace vellandra
