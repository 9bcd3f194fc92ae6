#include "formats/mcd_file.h"

#include <cstring>
#include <limits>
#include <vector>

#include "map_fixture.h"

namespace vellandra {
namespace {

/// What a file holds. The machine of the tests is little-endian.
using Numbers = std::vector<double>;

std::string bytesOf(const Numbers& numbers) {
  return {reinterpret_cast<const char*>(numbers.data()), numbers.size() * 8};
}

class McdFile : public MapTest {
 protected:
  McdFile() { makeImage("area.png", 100, 200); }

  /// Writes a map of 100 by 200 pixels with these coefficients; nothing without a file.
  Numbers write(double x0, double tf1, double y0, double tf4) {
    calibration.clear();
    calibration.imageWidth = 100, calibration.imageHeight = 200;
    calibration.x0 = x0, calibration.tf1 = tf1, calibration.y0 = y0, calibration.tf4 = tf4;
    std::filesystem::remove(folder + "area.mcd");
    writeMcd(folder + "area");
    const std::string bytes = written("area.mcd");
    Numbers numbers(bytes.size() / 8);
    if (!numbers.empty()) std::memcpy(numbers.data(), bytes.data(), numbers.size() * 8);
    return numbers;
  }
};

TEST_F(McdFile, ReadsARectangleAcrossTheEndOfLongitudes) {
  const std::pair<Numbers, const char*> rows[] = {
      {{0, 199, 178, -16, 99, 0, -179, -18, 0},
       "0,0 -16.0 178.0; 99,0 -16.0 181.0; 0,199 -18.0 178.0; 99,199 -18.0 181.0"},
      {{0, 199, -180, 90, 99, 0, 180, -90, 0},  // the whole world is not
       "0,0 90.0 -180.0; 99,0 90.0 180.0; 0,199 -90.0 -180.0; 99,199 -90.0 180.0"},
  };
  for (const auto& [numbers, expected] : rows) {
    EXPECT_FALSE(read("mcd", bytesOf(numbers)).stopped);
    EXPECT_EQ(points(), expected);
  }
}

TEST_F(McdFile, StopsAtWhatIsNoCalibration) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::string corners = "its two points are not opposite corners";
  const std::string units = "its positions are neither degrees nor British grid metres";
  const std::pair<std::string, std::string> rows[] = {
      {"", "it has 0 bytes instead of 72"},
      {bytesOf({0, 199, 1, 50, 99, 0, 2, 49}), "it has 64 bytes instead of 72"},
      {bytesOf({0, 199, 1, 50, 99, 0, 2, 49, 0}) + "x", "it has 73 bytes instead of 72"},
      {bytesOf({0, 199, 1, 50, 99, 0, 2, nan, 0}), "a number in it is not finite"},
      {bytesOf({0, 199, 1, 50, 1e9, 0, 2, 49, 0}), "a pixel position in it is too large"},
      {bytesOf({0, 199, 1, 50, 99, 0, 2e6, 49, 0}), units},
      {bytesOf({0, 199, 1, 50, 99, 0, 2, -1e300, 0}), units},
      {bytesOf({0, 199, 1, 50, 0, 0, 2, 49, 0}), corners},
      {bytesOf({0, 199, 1, 50, 99, 0, 1, 49, 0}), corners},
      {bytesOf(Numbers(9, 0.0)), corners},
  };
  for (const auto& [content, fault] : rows) {
    EXPECT_TRUE(read("mcd", content).stopped) << fault;
    EXPECT_EQ(person.boxes.back().title + ": " + lastBox(), "MCD Input: This is not an MCD calibration: " + fault);
  }
  std::filesystem::remove(folder + "area.png");
  EXPECT_TRUE(read("mcd", bytesOf({0, 199, 1, 50, 99, 0, 2, 49, 0})).stopped);
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");
}

TEST_F(McdFile, WritesDegreesOutsideTheBritishGrid) {
  EXPECT_EQ(write(179.5, 0.015625, 45, -0.0078125)[6], -178.953125);
  EXPECT_EQ(write(-4.5, 1 / 99.0, 61.25, -0.5 / 199)[3], 61.25);  // partly outside
  EXPECT_TRUE(person.panel.empty()) << person.panel;
  EXPECT_TRUE(write(10, 0.01, 90.5, -0.01).empty());
  EXPECT_TRUE(panelHas("No .mcd file is written: a corner of the image lies beyond a pole\r\n"));
  write(-4.5, 1 / 99.0, 53, -0.5 / 199);  // on the British grid
  EXPECT_TRUE(panelHas("The .mcd file cannot hold the rotation of this map: corners are up to "));
}

}  // namespace
}  // namespace vellandra
