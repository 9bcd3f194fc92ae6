#include "formats/mcd_file.h"

#include <cstring>
#include <limits>
#include <vector>

#include "core_fixture.h"

namespace vellandra {
namespace {

/// What a file holds. The machine of the tests is little-endian.
using Numbers = std::vector<double>;

class McdTest : public CoreTest {
 protected:
  McdTest() {
    LoadDatums();
    makeImage("map.png", 100, 200);
    driver.inputFolder = folder;
    driver.inputBase = "map";
  }
  ReadResult read(const Numbers& numbers, const std::string& more = {}) {
    calibration.clear();
    writeTestFile(folder + "map.mcd",
                  std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * 8) + more);
    return readMcd(folder + "map.mcd");
  }
  /// Writes a map of 100 by 200 pixels with these coefficients; nothing without a file.
  Numbers written(double x0, double tf1, double y0, double tf4) {
    calibration.clear();
    calibration.imageWidth = 100;
    calibration.imageHeight = 200;
    calibration.x0 = x0, calibration.tf1 = tf1, calibration.y0 = y0, calibration.tf4 = tf4;
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

TEST_F(McdTest, ReadsARectangleOnItsOwnGrid) {
  EXPECT_FALSE(read({5, 189, 160000, 390000, 95, 19, 350000, 170000, -3}).stopped);
  EXPECT_EQ(calibration.pointCount, 4);
  // PROJ 9: tmerc on airy with towgs84=375,-111,431.
  expectPoint(1, 5, 10, 53.352260777, -5.607734935);
  expectPoint(2, 95, 10, 53.404429314, -2.753558691);
  expectPoint(3, 5, 180, 51.378141410, -5.450224984);
  expectPoint(4, 95, 180, 51.426739133, -2.720581170);
  EXPECT_EQ(calibration.imagePath, folder + "map.png");

  EXPECT_FALSE(read({0, 199, 178, -16, 99, 0, -179, -18, 0}).stopped);  // across the end of longitudes
  expectPoint(2, 99, 0, -16, 181);
  expectPoint(4, 99, 199, -18, 181);
  read({0, 199, -180, 90, 99, 0, 180, -90, 0});  // the whole world is not
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
    EXPECT_TRUE(read(row).stopped);
    EXPECT_TRUE(person.boxes.back().text.starts_with("This is not an MCD calibration: "));
  }
  EXPECT_EQ(person.boxes.size(), rows.size());
  EXPECT_TRUE(read({0, 199, 1, 50, 99, 0, 2, 49, 0}, "x").stopped);
  std::filesystem::remove(folder + "map.png");
  EXPECT_TRUE(read({0, 199, 1, 50, 99, 0, 2, 49, 0}).stopped);
  EXPECT_EQ(person.boxes.back().text, "Unable to proceed without matching image");
}

TEST_F(McdTest, WritesDegreesOutsideTheBritishGrid) {
  EXPECT_EQ(written(10, 0.015625, 45, -0.0078125), (Numbers{0, 199, 10, 45, 99, 0, 11.546875, 43.4453125, 0}));
  EXPECT_EQ(contentOf(folder + "map.mcd").substr(32, 8), std::string("\0\0\0\0\0\xC0\x58\x40", 8));  // 99
  EXPECT_EQ(written(179.5, 0.015625, 45, -0.0078125)[6], -178.953125);
  EXPECT_EQ(written(-4.5, 1 / 99.0, 61.25, -0.5 / 199)[3], 61.25);  // partly outside
  EXPECT_TRUE(person.panel.empty()) << person.panel;
  EXPECT_TRUE(written(10, 0.01, 90.5, -0.01).empty());
  EXPECT_NE(person.panel.find("beyond a pole"), std::string::npos);
}

TEST_F(McdTest, WritesBritishMetresAndSaysWhatARectangleLeavesOut) {
  const Numbers numbers = written(-4.5, 1 / 99.0, 53, -0.5 / 199);
  const Numbers proj = {0, 199, 232335.0371, 347667.9421, 99, 0, 298275.3091, 290182.6442, 0};  // as above
  ASSERT_EQ(numbers.size(), proj.size());
  for (std::size_t i = 0; i < proj.size(); ++i) EXPECT_NEAR(numbers[i], proj[i], 2e-3) << i;
  EXPECT_NE(person.panel.find("cannot hold the rotation"), std::string::npos) << person.panel;
}

TEST_F(McdTest, SurvivesARoundTrip) {
  read({0, 199, 250000, 390000, 99, 0, 252000, 386000, 0});
  const double latitude = calibration.latitude[4];
  ASSERT_EQ(runBatch(folder + "map.mcd"), 0);
  std::filesystem::remove(folder + "map.mcd");
  ASSERT_EQ(runBatch(folder + "map.gmi"), 0);
  readMcd(folder + "map.mcd");
  EXPECT_NEAR(calibration.latitude[4], latitude, 1e-5);  // a fit in degrees leaves over a twentieth of a pixel
}

}  // namespace
}  // namespace vellandra
