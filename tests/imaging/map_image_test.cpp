#include "imaging/map_image.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

/// A TIFF of one pixel that is a floating-point number.
std::string floatTiff() {
  const auto little = [](std::uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) text.push_back(static_cast<char>(value >> 8 * i & 0xFF));
    return text;
  };
  // Width, height, bits, compression, photometric, offset, samples, rows, bytes, format: IEEE floating point.
  const std::pair<int, int> entries[] = {{256, 1},   {257, 1}, {258, 32}, {259, 1}, {262, 1},
                                         {273, 134}, {277, 1}, {278, 1},  {279, 4}, {339, 3}};
  std::string tiff = "II" + little(42, 2) + little(8, 4) + little(std::size(entries), 2);
  for (const auto& [tag, value] : entries) {
    tiff += little(static_cast<std::uint32_t>(tag), 2) + little(4, 2) + little(1, 4) +
            little(static_cast<std::uint32_t>(value), 4);
  }
  return tiff + little(0, 4) + std::string("\0\0\x80\x3F", 4);
}

using MapImageTest = CoreTest;

TEST_F(MapImageTest, ImageThatCannotBeShownIsToldAndTheOpenOneStays) {
  makeImage("map.png", 4, 3);
  ASSERT_TRUE(loadMapImage(folder + "map.png"));
  writeTestFile(folder + "no.png", "no image");
  writeTestFile(folder + "float.tif", floatTiff());
  EXPECT_FALSE(loadMapImage(folder + "no.png"));
  EXPECT_FALSE(loadMapImage(folder + "float.tif"));
  EXPECT_EQ(person.boxTexts(), (std::vector<std::string>{"file load error 1", "File convert error 1"}));
  EXPECT_EQ(mapImage.path, folder + "map.png");
  EXPECT_EQ(mapImage.bitmap.width(), 4);
}

}  // namespace
}  // namespace vellandra
