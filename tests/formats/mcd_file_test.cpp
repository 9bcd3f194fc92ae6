#include "formats/mcd_file.h"

#include <cstring>
#include <limits>
#include <vector>

#include "calibration/transform.h"
#include "core_fixture.h"

namespace vellandra {
namespace {

using Numbers = std::vector<double>;

class McdTest : public CoreTest {
 protected:
  McdTest() {
    LoadDatums();
    makeImage("map.png", 100, 200);
    driver.inputFolder = folder;
    driver.inputBase = "map";
  }
  /// The machine of the tests is little-endian.
  ReadResult read(const Numbers& numbers) {
    std::string bytes(numbers.size() * 8, '\0');
    if (!numbers.empty()) std::memcpy(bytes.data(), numbers.data(), bytes.size());
    return readBytes(bytes);
  }
  ReadResult readBytes(const std::string& bytes) {
    calibration.clear();
    writeTestFile(folder + "map.mcd", bytes);
    return readMcd(folder + "map.mcd");
  }
  /// Writes a map of 100 by 200 pixels with these coefficients; the nine numbers of the file, none without a file.
  Numbers written(double x0, double tf1, double tf3, double y0, double tf2, double tf4) {
    calibration.clear();
    calibration.imageWidth = 100;
    calibration.imageHeight = 200;
    calibration.x0 = x0, calibration.tf1 = tf1, calibration.tf3 = tf3;
    calibration.y0 = y0, calibration.tf2 = tf2, calibration.tf4 = tf4;
    std::filesystem::remove(folder + "map.mcd");
    writeMcd();
    const std::string bytes = contentOf(folder + "map.mcd");
    Numbers numbers(bytes.size() / 8);
    if (!numbers.empty()) std::memcpy(numbers.data(), bytes.data(), numbers.size() * 8);
    return numbers;
  }
  void expectPoint(int slot, int x, int y, double latitude, double longitude) {
    EXPECT_EQ(calibration.pixelX[slot], x);
    EXPECT_EQ(calibration.pixelY[slot], y);
    EXPECT_NEAR(calibration.latitude[slot], latitude, 1e-8);
    EXPECT_NEAR(calibration.longitude[slot], longitude, 1e-8);
  }
};

TEST_F(McdTest, ReadsBritishMetresAndCompletesTheRectangleOnTheGrid) {
  EXPECT_FALSE(read({5, 189, 160000, 390000, 95, 19, 350000, 170000, -3}).stopped);
  EXPECT_EQ(calibration.pointCount, 4);
  // PROJ 9: tmerc on airy with towgs84=375,-111,431.
  expectPoint(1, 5, 10, 53.352260777, -5.607734935);
  expectPoint(2, 95, 10, 53.404429314, -2.753558691);
  expectPoint(3, 5, 180, 51.378141410, -5.450224984);
  expectPoint(4, 95, 180, 51.426739133, -2.720581170);
  EXPECT_EQ(calibration.imagePath, folder + "map.png");
  EXPECT_EQ(calibration.imageHeight, 200);
}

TEST_F(McdTest, ReadsDegreesAlsoAcrossTheEndOfLongitudes) {
  EXPECT_FALSE(read({0, 199, 178, -16, 99, 0, -179, -18, 0}).stopped);
  expectPoint(1, 0, 0, -16, 178);
  expectPoint(2, 99, 0, -16, 181);
  expectPoint(4, 99, 199, -18, 181);
  read({0, 199, -180, 90, 99, 0, 180, -90, 0});  // the whole world is no such map
  expectPoint(4, 99, 199, -90, 180);
}

TEST_F(McdTest, StopsAtWhatIsNoCalibration) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::vector<Numbers> rows = {
      {},
      {0, 199, 1, 50, 99, 0, 2, 49},
      {0, 199, 1, 50, 99, 0, 2, 49, 0, 0},
      {0, 199, 1, 50, 99, 0, 2, nan, 0},
      {0, 199, 1, 50, 1e9, 0, 2, 49, 0},
      {0, 199, 1, 50, 99, 0, 2e6, 49, 0},
      {0, 199, 1, 50, 99, 0, 2, -1e300, 0},
      {0, 199, 1, 50, 0, 0, 2, 49, 0},
      {0, 199, 1, 50, 99, 0, 1, 49, 0},
      Numbers(9, 0.0),
  };
  for (const Numbers& row : rows) {
    person.boxes.clear();
    EXPECT_TRUE(read(row).stopped);
    ASSERT_EQ(person.boxes.size(), 1U);
    EXPECT_TRUE(person.boxes[0].text.starts_with("This is not an MCD calibration: "));
  }
  EXPECT_TRUE(readBytes("\xEF\xBB\xBF" + std::string(71, '5')).stopped);
  std::filesystem::remove(folder + "map.png");
  EXPECT_TRUE(read({0, 199, 1, 50, 99, 0, 2, 49, 0}).stopped);
  EXPECT_EQ(person.boxes.back().text, "Unable to proceed without matching image");
}

TEST_F(McdTest, WritesDegreesOutsideTheBritishGrid) {
  EXPECT_EQ(written(10, 0.015625, 0, 45, 0, -0.0078125), (Numbers{0, 199, 10, 45, 99, 0, 11.546875, 43.4453125, 0}));
  EXPECT_EQ(contentOf(folder + "map.mcd").substr(32, 8), std::string("\0\0\0\0\0\xC0\x58\x40", 8));  // 99
  EXPECT_TRUE(person.panel.empty()) << person.panel;
  EXPECT_EQ(written(179.5, 0.015625, 0, 45, 0, -0.0078125)[6], -178.953125);
  EXPECT_TRUE(written(10, 0.01, 0, 90.5, 0, -0.01).empty());
  EXPECT_NE(person.panel.find("beyond a pole"), std::string::npos);
}

TEST_F(McdTest, WritesBritishMetresAndSaysWhatARectangleLeavesOut) {
  // PROJ 9 as above, towards the grid.
  const Numbers numbers = written(-4.5, 1 / 99.0, 0, 53, 0, -0.5 / 199);
  ASSERT_EQ(numbers.size(), 9U);
  EXPECT_NEAR(numbers[2], 232335.0371, 2e-3);
  EXPECT_NEAR(numbers[3], 347667.9421, 2e-3);
  EXPECT_NEAR(numbers[6], 298275.3091, 2e-3);
  EXPECT_NEAR(numbers[7], 290182.6442, 2e-3);
  // A corner at 299434, 345797 instead of 298275, 347668: 1.7 columns of 676 m, 6.5 rows of 279 m.
  EXPECT_NE(person.panel.find("cannot hold the rotation"), std::string::npos) << person.panel;
  EXPECT_EQ(written(-4.5, 1 / 99.0, 0, 61.25, 0, -0.5 / 199)[3], 61.25);  // partly outside
}

TEST_F(McdTest, SurvivesARoundTrip) {
  read({0, 199, 250000, 390000, 99, 0, 252000, 386000, 0});
  // What a fit in degrees leaves over of 20 m a pixel is a metre.
  const Position before{calibration.latitude[4], calibration.longitude[4]};
  ASSERT_EQ(runBatch(folder + "map.mcd"), 0);
  EXPECT_FALSE(std::filesystem::exists(folder + "mapwgs84.mcd"));
  std::filesystem::remove(folder + "map.mcd");
  ASSERT_EQ(runBatch(folder + "map.gmi"), 0);
  readMcd(folder + "map.mcd");
  EXPECT_NEAR(calibration.latitude[4], before.latitude, 1e-5);
  EXPECT_NEAR(calibration.longitude[4], before.longitude, 1e-5);
}

}  // namespace
}  // namespace vellandra
