#include "raster/bitmap.h"

#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <set>
#include <tuple>

#include "core_fixture.h"
#include "imaging/made_maps.h"
#include "imaging/map_image.h"
#include "raster/large_images.h"
#include "support/errors.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

const std::string images = FIXTURES "/images/";
constexpr PixelColor red{255, 0, 0}, blue{0, 0, 255}, white{255, 255, 255};

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

/// A TIFF of two rows, in a strip each, of `bits` a sample, whose directory also has `entries`: tags and values.
std::string tiffOf(std::map<int, int> entries, int width, int bits, const std::string& pixels) {
  entries.insert({{256, width}, {257, 2}, {258, bits}, {259, 1}, {273, 0}, {278, 1}, {279, 0}});
  const int strip = static_cast<int>(pixels.size()) / 2, data = 8 + 2 + 12 * static_cast<int>(entries.size()) + 4;
  std::string tiff("II*\0\x08\0\0\0", 8);
  const auto add = [&tiff](int value) { tiff += {static_cast<char>(value & 255), static_cast<char>(value >> 8)}; };
  add(static_cast<int>(entries.size()));
  for (const auto& [tag, value] : entries) {
    const int count = tag == 273 || tag == 279 ? 2 : 1;  // offsets and lengths of the strips
    const int first = tag == 273 ? data : tag == 279 ? strip : value;
    for (const int part : {tag, 3, count, 0, first, tag == 273 ? data + strip : count == 2 ? strip : 0}) add(part);
  }
  return tiff + std::string(4, '\0') + pixels;
}

/// A BMP of 2 x 1 pixels of 32 bits: red with 0 in its fourth byte, and green with 255 in it.
std::string bmpOf32Bits(bool namesAlpha) {
  std::string bmp("BM\0\0\0\0\0\0\0\0\x7A\0\0\0\x6C\0\0\0\2\0\0\0\1\0\0\0\1\0\x20\0", 30);
  bmp += std::string(1, namesAlpha ? '\3' : '\0').append(23, '\0');
  bmp.append("\0\0\xFF\0\0\xFF\0\0\xFF\0\0\0\0\0\0\xFF", 16).resize(0x7A, '\0');
  return bmp.append("\0\0\xFF\0\0\xFF\0\xFF", 8);
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

TEST_F(BitmapTest, SizesAreThoseOfTheFirstImageAlsoWhereTheFileEndsBehindTheHeader) {
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
  EXPECT_TRUE(panelHas("text.tif: no image of type TIF, or damaged")) << log();
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

TEST_F(BitmapTest, BandsDoNotShow) {
  Bitmap colors = noise(1301, 907);
  Bitmap indices = ColorQuantizeEx(colors, QuantizeMethod::neuQuant, false, 64);
  ASSERT_TRUE(indices);
  EXPECT_TRUE(bytesOf(colorsOf(indices)) == bytesOf(convertTo24Bits(indices)));
  // Rows first, and columns first.
  for (const auto& [width, height] :
       {std::pair(650, 454), std::pair(1170, 816), std::pair(400, 800), std::pair(1171, 90)}) {
    EXPECT_TRUE(bytesOf(rescaled(colors, width, height)) == bytesOf(rescale(colors, width, height))) << width;
  }
}

TEST_F(BitmapTest, NothingButPixelsIsLoaded) {
  using namespace std::string_literals;
  // What other programs put behind so many bytes of a file.
  const std::tuple<std::string, std::size_t, std::string> rows[] = {
      {"png", 33, "\0\0\0\x9tEXtComment\0b*\x96\x8Dr\0\0\0\1eXIf!sum?"s},
      {"jpg", 2, "\xFF\xE1\0\x0A\105xif\0\0II\xFF\xE2\0\4ab\xFF\xFE\0\4hi"s},
      {"gif", 13 + 12, "!\xFE\2hi\0!\xFF\3XMP\1x\0"s}};
  for (const auto& [type, place, strange] : rows) {
    const std::string path = images + "quadrants." + type, plain = contentOf(path);
    writeTestFile(folder + "with." + type, plain.substr(0, place) + strange + plain.substr(place));
    const EncodedImage copy = encodeImage(ImageFormat::png, LoadImageByExtension(folder + "with." + type));
    EXPECT_EQ(copy.bytes, encodeImage(ImageFormat::png, LoadImageByExtension(path)).bytes) << type;
    EXPECT_EQ(copy.bytes.find("tEXt"), std::string::npos) << type;
  }
  EXPECT_EQ(calibration.message, "");
}

TEST_F(BitmapTest, OnlyAlphaThatIsNamedSoIsOpacity) {
  const std::string twoByTwo("\xFF\0\x80\x80\xFF\0\x80\x80", 8);
  const std::tuple<const char*, std::string, int> rows[] = {// the opacity of the first pixel
                                                            {"unused.bmp", bmpOf32Bits(false), 255},
                                                            {"named.bmp", bmpOf32Bits(true), 0},
                                                            {"samples.tif", tiffOf({{262, 1}}, 4, 8, twoByTwo), 255}};
  for (const auto& [name, content, expected] : rows) {
    writeTestFile(folder + name, content);
    const Bitmap image = LoadImageByExtension(folder + name), alpha = opacity(image);
    ASSERT_TRUE(image) << name;
    EXPECT_EQ(alpha ? alpha.row(0)[0] : 255, expected) << name;
    EXPECT_EQ(colorAt(convertTo24Bits(image), 0, 0).red, 255) << name;
  }
}

TEST_F(BitmapTest, ImagesThatEndEarlyAreLoadedAsFarAsTheyGo) {
  ASSERT_TRUE(SaveImage(ImageFormat::png, noise(60, 40), folder + "cut.png"));
  ASSERT_TRUE(SaveImage(ImageFormat::jpeg, noise(60, 40), folder + "cut.jpg"));
  writeTestFile(folder + "cut.gif", contentOf(images + "quadrants.gif"));
  writeTestFile(folder + "cut.bmp", contentOf(images + "quadrants.bmp"));
  writeTestFile(folder + "cut.tif", tiffOf({{262, 1}}, 200, 8, std::string(400, '\x7F')));
  for (const std::string name : {"cut.png", "cut.jpg", "cut.gif", "cut.bmp", "cut.tif"}) {
    const std::string whole = contentOf(folder + name);
    const Bitmap before = convertTo24Bits(LoadImageByExtension(folder + name));
    EXPECT_FALSE(panelHas(name)) << name;
    writeTestFile(folder + name, whole.substr(0, whole.size() * 9 / 10));
    const Bitmap cut = convertTo24Bits(LoadImageByExtension(folder + name));
    ASSERT_EQ(cut.height(), before.height()) << name;
    // A BMP begins with its last row.
    const int row = name == "cut.bmp" ? cut.height() - 1 : 0;
    EXPECT_EQ(colorAt(cut, 0, row), colorAt(before, 0, row)) << name;
    EXPECT_TRUE(panelHas(name + ": damaged or cut off; the image is loaded as far as it goes")) << name;
  }
  // A progressive JPEG whose scans go on and on.
  const std::string jpeg = contentOf(images + "quadrants.jpg"), scan = jpeg.substr(jpeg.find("\xFF\xDA"));
  std::string scans = jpeg.substr(0, jpeg.size() - scan.size());
  for (int i = 0; i < 101; ++i) scans += scan.substr(0, scan.size() - 2);
  writeTestFile(folder + "scans.jpg", scans + "\xFF\xD9");
  EXPECT_FALSE(LoadImageByExtension(folder + "scans.jpg"));
  EXPECT_TRUE(panelHas("its pixels come in 101 scans"));
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

TEST_F(BitmapTest, CallsOfTheLibraryThatAreCancelledKeepNoMemory) {
  struct CancelledAtItsFirstStep : Work {
    void show(std::int64_t, std::int64_t) override { cancel(); }
  };
  const Bitmap image = noise(400, 300);
  for (const auto& [format, name] : {std::pair(ImageFormat::png, "map.png"), {ImageFormat::jpeg, "map.jpg"}}) {
    ASSERT_TRUE(SaveImage(format, image, folder + name));
    std::size_t before = 0;
    for (int i = 0; i < 20; ++i) {
      if (i == 2) before = mallinfo2().uordblks;
      CancelledAtItsFirstStep work;
      const AtWork atWork(&work);
      EXPECT_THROW(LoadImageByExtension(folder + name), Cancelled);
      EXPECT_THROW(encodeImage(format, image), Cancelled);
    }
    EXPECT_LT(mallinfo2().uordblks, before + 16'000) << name;
  }
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
  writeTestFile(folder + "float.tif", tiffOf({{262, 1}, {339, 3}}, 1, 32, std::string(8, '?')));
  EXPECT_FALSE(loadMapImage(folder + "no.png"));
  EXPECT_FALSE(loadMapImage(folder + "float.tif"));
  EXPECT_EQ(person.boxTexts(), (Texts{"file load error 1", "file load error 1"}));
  EXPECT_TRUE(panelHas("float.tif: the image cannot be decoded: its pixels are floating-point numbers, no colours"));
  EXPECT_EQ(mapImage.path, folder + "map.png");
  EXPECT_EQ(mapImage.bitmap.width(), 4);
}

}  // namespace
}  // namespace vellandra
