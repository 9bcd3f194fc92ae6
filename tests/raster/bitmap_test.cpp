#include "raster/bitmap.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <random>
#include <set>
#include <tuple>

#include "core_fixture.h"
#include "imaging/made_maps.h"
#include "imaging/map_image.h"
#include "support/errors.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

const std::string images = FIXTURES "/images/";
constexpr PixelColor red{255, 0, 0}, green{0, 255, 0}, blue{0, 0, 255}, white{255, 255, 255};

class BitmapTest : public CoreTest {
 protected:
  BitmapTest() { testing::internal::CaptureStderr(); }
  // The image libraries have a habit of talking on the terminal.
  ~BitmapTest() override { EXPECT_EQ(testing::internal::GetCapturedStderr(), ""); }
};

int countColors(const Bitmap& image) {
  const std::string bytes = bytesOf(convertTo24Bits(image));
  std::set<std::string> colors;
  for (std::size_t i = 0; i < bytes.size(); i += 3) colors.insert(bytes.substr(i, 3));
  return static_cast<int>(colors.size());
}

/// A TIFF of one pixel that is a floating-point number.
std::string floatTiff() {
  std::string tiff("II*\0\x08\0\0\0\x0A\0", 10);
  // Width, height, bits, compression, photometric, offset, samples, rows, bytes, format: IEEE floating point.
  const std::pair<int, int> entries[] = {{256, 1},   {257, 1}, {258, 32}, {259, 1}, {262, 1},
                                         {273, 134}, {277, 1}, {278, 1},  {279, 4}, {339, 3}};
  for (const auto& [tag, value] : entries) {
    for (const int part : {tag, 4, 1, 0, value, 0})
      tiff += {static_cast<char>(part & 255), static_cast<char>(part >> 8)};
  }
  return tiff + std::string("\0\0\0\0\0\0\x80\x3F", 8);
}

// The "quadrants" images were made with ImageMagick: 16 x 12 pixels, red and green above blue and white.

TEST_F(BitmapTest, TypeGoesByTheLastThreeCharactersOnly) {
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"tif", "survey.Tif", true},   {"tif", "SURVEYTIF", true},    {"tif", "survey.tiff", false},
      {"png", "survey.pNg", true},   {"jpg", "survey.jpeg", false}, {"gif", "gif", true},
      {"bmp", "survey.bmp ", false}, {"bmp", "b", false},           {"jpg", "jpeg-in.png", false},
      {"png", "png-in.tif", false}};
  for (const auto& [type, name, loads] : rows) {
    fs::copy_file(images + "quadrants." + type, folder + name);
    EXPECT_EQ(static_cast<bool>(LoadImageByExtension(folder + name)), loads) << name;
    EXPECT_EQ(sizeOf(folder + name).width > 0, loads) << name;
  }
  EXPECT_TRUE(logHas("jpeg-in.png: no image, the file's content is JPG, not PNG")) << log();
}

TEST_F(BitmapTest, EveryTypeLoadsTheRightWayUpWithTheSizeOfItsHeader) {
  for (const char* name : {"quadrants.png", "quadrants.jpg", "quadrants.bmp", "quadrants.gif", "quadrants.tif",
                           "palette.bmp", "rgb565.bmp"}) {
    const ImageSize size = sizeOf(images + name);
    const Bitmap bitmap = convertTo24Bits(LoadImageByExtension(images + name));
    ASSERT_EQ(std::pair(bitmap.width(), bitmap.height()), std::pair(16, 12)) << name;
    EXPECT_TRUE(size.width == 16 && size.height == 12) << name;
    const std::tuple<int, int, PixelColor> corners[] = {{0, 0, red}, {15, 0, green}, {0, 11, blue}, {15, 11, white}};
    for (const auto& [x, y, expected] : corners) {
      const PixelColor color = colorAt(bitmap, x, y);
      EXPECT_NEAR(color.red, expected.red, 8) << name;  // JPEG is not exact
      EXPECT_NEAR(color.green, expected.green, 8) << name;
      EXPECT_NEAR(color.blue, expected.blue, 8) << name;
    }
    EXPECT_GE(bitmap.row(0)[2], 247) << name;   // red is the third byte
    EXPECT_GE(bitmap.row(11)[0], 247) << name;  // blue the first
  }
  // The first image, not the screen of 20 x 30 that it stands on.
  EXPECT_EQ(sizeOf(images + "offset.gif").width, 5);
  EXPECT_EQ(LoadImageByExtension(images + "offset.gif").height(), 4);
  EXPECT_EQ(colorAt(convertTo24Bits(LoadImageByExtension(images + "grey16.png")), 15, 11), white);
  for (const std::string type : {"jpg", "gif"}) {  // cut off behind the header
    const std::string whole = contentOf(images + "quadrants." + type);
    writeTestFile(folder + "header." + type, whole.substr(0, whole.size() - 20));
    EXPECT_EQ(sizeOf(folder + "header." + type).height, 12) << type;
  }
}

TEST_F(BitmapTest, WhatIsNoImageIsRefused) {
  // The library puts file names into a buffer of some hundred characters.
  const std::string deep =
      folder + std::string(200, 'd') + "/" + std::string(200, 'e') + "/" + std::string(200, 'f') + "/";
  fs::create_directories(deep);
  writeTestFile(deep + "text.tif", "not an image\r\n");
  writeTestFile(folder + "empty.png", "");
  writeTestFile(folder + "signature.gif", "GIF89a");
  fs::create_directory(folder + "folder.jpg");
  ASSERT_EQ(::mkfifo((folder + "pipe.bmp").c_str(), 0600), 0);
  Texts paths{deep + "text.tif", deep + "absent.png"};
  for (const char* name : {"empty.png", "signature.gif", "folder.jpg", "pipe.bmp"}) paths.push_back(folder + name);
  // Headers that claim 30000 x 30000 pixels in some hundred bytes.
  for (const char* type : {"png", "jpg", "bmp", "gif", "tif"}) paths.push_back(images + "lying." + type);
  for (const std::string& path : paths) {
    EXPECT_FALSE(imageSize(path)) << path;
    EXPECT_FALSE(LoadImageByExtension(path)) << path;
  }
  EXPECT_TRUE(logHas("text.tif: Error while opening TIFF")) << log();
}

TEST_F(BitmapTest, ImagesPast32767PixelsHaveASizeButDoNotLoad) {
  for (const auto& [format, name] : {std::pair(ImageFormat::png, "wide.png"), {ImageFormat::bmp, "wide.bmp"}}) {
    ASSERT_TRUE(SaveImage(format, allocate24Bits(40000, 2), folder + name));
    EXPECT_EQ(sizeOf(folder + name).width, 40000);
    EXPECT_THROW(LoadImageByExtension(folder + name), Overflow);
  }
  EXPECT_THROW(LoadQuantized(folder + "wide.png"), Overflow);
  EXPECT_EQ(person.busyStates, (std::vector{true, false}));
}

TEST_F(BitmapTest, DamagedFilesGiveAnImageOfTheirHeadersSizeOrNone) {
  std::mt19937 random(1);
  for (const std::string type : {"png", "jpg", "bmp", "gif", "tif"}) {
    const std::string whole = contentOf(images + "quadrants." + type);
    const std::string path = folder + "damaged." + type;
    for (std::size_t i = 0; i < 300; ++i) {
      std::string bytes = i < 100 ? whole.substr(0, whole.size() * i / 100) : whole;
      for (std::size_t flips = i < 100 ? 0 : 1 + i % 4; flips > 0; --flips) {
        char& byte = bytes[random() % bytes.size()];
        byte = static_cast<char>(i % 2 == 0 ? byte ^ 1 << random() % 8 : static_cast<int>(random() % 256));
      }
      writeTestFile(path, bytes);
      const ImageSize size = sizeOf(path);
      try {
        const Bitmap bitmap = LoadImageByExtension(path);
        if (!bitmap) continue;
        ASSERT_TRUE(bitmap.width() == size.width && bitmap.height() == size.height) << type << " " << i;
      } catch (const Overflow&) {
        EXPECT_TRUE(size.width > 32767 || size.height > 32767) << type << " " << i;
      }
    }
  }
}

TEST_F(BitmapTest, QuantizingReleasesTheSourceOnlyWhenAsked) {
  const Bitmap colors = picture(40, 30, 1);
  const Bitmap eightBits = LoadImageByExtension(images + "palette.bmp");
  for (const Bitmap* source : {&colors, &eightBits}) {
    Bitmap kept = clone(*source);
    EXPECT_TRUE(ColorQuantizeEx(kept, QuantizeMethod::neuQuant, false));
    ASSERT_EQ(kept.bitsPerPixel(), source->bitsPerPixel());
    EXPECT_EQ(bytesOf(kept), bytesOf(*source));
    EXPECT_EQ(ColorQuantizeEx(kept, QuantizeMethod::neuQuant, true).bitsPerPixel(), 8);
    EXPECT_FALSE(kept);
  }
  Bitmap none;
  EXPECT_FALSE(ColorQuantizeEx(none, QuantizeMethod::neuQuant, true));
}

TEST_F(BitmapTest, PaletteSizeIsBroughtTo2To256AndHoldsTheReservedColors) {
  Bitmap colors = picture(60, 40, 1);
  for (const auto& [asked, entries] : {std::pair(-5, 2), {1, 2}, {128, 128}, {256, 256}, {1000, 256}}) {
    const Bitmap reduced = ColorQuantizeEx(colors, QuantizeMethod::neuQuant, false, asked);
    EXPECT_EQ(reduced.paletteEntryCount(), entries);
    EXPECT_EQ(copyRectangle(reduced, 1, 1, 9, 9).paletteEntryCount(), entries);
    EXPECT_LE(countColors(reduced), entries);
    EXPECT_GT(countColors(reduced), entries / 2);
    EXPECT_THROW(static_cast<void>(reduced.paletteEntry(entries)), SubscriptOutOfRange);
  }
  const std::vector<PixelColor> reserve{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  for (const int reserveSize : {3, 50}) {  // more than there are must not be read
    const Bitmap reduced = ColorQuantizeEx(colors, QuantizeMethod::neuQuant, false, 16, reserveSize, reserve);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(reduced.paletteEntry(13 + i), reserve[static_cast<std::size_t>(i)]);
  }
}

TEST_F(BitmapTest, LoadQuantizedGives128ColorsAndSaysWhenItCannot) {
  ASSERT_TRUE(SaveImage(ImageFormat::png, picture(60, 40, 1), folder + "many.png"));
  EXPECT_EQ(LoadQuantized(folder + "many.png").paletteEntryCount(), 128);
  EXPECT_FALSE(LoadQuantized(folder + "absent.png"));
  EXPECT_TRUE(person.panel.ends_with(folder + "absent.pngalready quantized\r\n")) << person.panel;
}

TEST_F(BitmapTest, SavedImagesReadBackAndFailedSavesLeaveTheOldFile) {
  const Bitmap colors = picture(40, 30, 1);
  ASSERT_TRUE(SaveImage(ImageFormat::png, colors, folder + "map.png"));
  EXPECT_EQ(bytesOf(LoadImageByExtension(folder + "map.png")), bytesOf(colors));
  const std::string before = contentOf(folder + "map.png");
  EXPECT_FALSE(SaveImage(ImageFormat::gif, colors, folder + "map.png"));  // GIF holds 8 bits at most
  EXPECT_FALSE(SaveImage(ImageFormat::png, Bitmap(), folder + "map.png"));
  EXPECT_FALSE(SaveImage(ImageFormat::png, colors, folder + "absent/map.png"));
  EXPECT_EQ(contentOf(folder + "map.png"), before);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2);  // the log and the map
}

TEST_F(BitmapTest, JpegsAreBaselineAndFollowTheQuality) {
  const Bitmap colors = picture(200, 150, 1);
  std::uintmax_t larger = ~std::uintmax_t{0};
  for (const int flags : {jpegSuperb, jpegGood, jpegNormal, jpegAverage, jpegBad}) {
    ASSERT_TRUE(SaveImage(ImageFormat::jpeg, colors, folder + "tile.jpg", flags));
    const std::string bytes = contentOf(folder + "tile.jpg");
    EXPECT_NE(bytes.find("\xFF\xC0"), std::string::npos);  // start of a baseline frame, ITU T.81 table B.1
    EXPECT_LT(bytes.size(), larger) << flags;
    larger = bytes.size();
  }
}

TEST_F(BitmapTest, RectanglesCountFromTheTopLeftAndStayInside) {
  Bitmap canvas = allocate24Bits(10, 8, white);
  EXPECT_TRUE(Paste(canvas, allocate24Bits(3, 2, blue), 1, 2, 256));
  const Bitmap copy = copyRectangle(canvas, 1, 2, 4, 5);
  EXPECT_EQ(std::pair(copy.width(), copy.height()), std::pair(3, 3));
  EXPECT_EQ(colorAt(copy, 2, 1), blue);
  EXPECT_EQ(colorAt(copy, 2, 2), white);
  PixelColor color;
  for (const auto& [x, y] : {std::pair(-1, 0), {0, -1}, {10, 0}, {0, 8}}) {
    EXPECT_FALSE(GetPixelColor(canvas, x, y, color));
    EXPECT_FALSE(SetPixelColor(canvas, x, y, red));
  }
  EXPECT_THROW(canvas.row(8), SubscriptOutOfRange);
  EXPECT_FALSE(Paste(canvas, copy, 8, 0, 256));
  EXPECT_FALSE(copyRectangle(canvas, 0, 0, 11, 8));
  EXPECT_FALSE(copyRectangle(canvas, 6, 0, 4, 8));
  EXPECT_FALSE(rescale(canvas, 0, 5));
  EXPECT_FALSE(allocate24Bits(-10, 8));
}

TEST_F(BitmapTest, ImageThatCannotBeShownIsToldAndTheOpenOneStays) {
  makeImage("map.png", 4, 3);
  ASSERT_TRUE(loadMapImage(folder + "map.png"));
  writeTestFile(folder + "float.tif", floatTiff());
  EXPECT_FALSE(loadMapImage(folder + "no.png"));
  EXPECT_FALSE(loadMapImage(folder + "float.tif"));
  EXPECT_EQ(person.boxTexts(), (Texts{"file load error 1", "File convert error 1"}));
  EXPECT_EQ(mapImage.path, folder + "map.png");
  EXPECT_EQ(mapImage.bitmap.width(), 4);
}

}  // namespace
}  // namespace vellandra
