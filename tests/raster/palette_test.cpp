#include "raster/palette.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "core_fixture.h"
#include "imaging/made_maps.h"
#include "raster/palette_refinement.h"
#include "raster/palette_sample.h"

namespace vellandra {
namespace {

using PaletteTest = CoreTest;
using Palette = std::vector<PixelColor>;

/// Colours of `lowest` and up to `span` - 1 more in each channel.
Palette randomColors(std::size_t count, unsigned lowest, unsigned span) {
  std::mt19937 random(1);
  const auto channel = [&] { return static_cast<std::uint8_t>(lowest + random() % span); };
  Palette colors(count);
  for (PixelColor& color : colors) color = {channel(), channel(), channel(), 0};
  return colors;
}

int distance(const PixelColor& a, const PixelColor& b) {
  return std::abs(a.red - b.red) + std::abs(a.green - b.green) + std::abs(a.blue - b.blue);
}

std::size_t nearest(const Palette& palette, const PixelColor& color) {
  const auto nearer = [&](const PixelColor& a, const PixelColor& b) { return distance(a, color) < distance(b, color); };
  return static_cast<std::size_t>(std::min_element(palette.begin(), palette.end(), nearer) - palette.begin());
}

TEST_F(PaletteTest, EveryColorTakesTheFirstOfTheNearestEntries) {
  Palette greys(256), twice = randomColors(64, 0, 256);
  for (std::size_t i = 0; i < greys.size(); ++i) greys[i] = {std::uint8_t(i), std::uint8_t(i), std::uint8_t(i), 0};
  for (std::size_t i = 0; i < 64; ++i) twice.push_back(twice[i]);
  const std::pair<const char*, Palette> rows[] = {
      {"scattered", randomColors(128, 0, 256)}, {"all in a corner", randomColors(200, 200, 9)},
      {"greys, with many ties", greys},         {"each entry twice", twice},
      {"two", {{255, 255, 255}, {0, 0, 0}}},    {"one", {{9, 9, 9}}}};
  for (const auto& [name, palette] : rows) {
    Palette colors = randomColors(5000, 0, 256);
    for (const PixelColor& entry : palette) {  // near entries, and at the edges of cells
      for (int i = 0; i < 8; ++i) {
        colors.push_back({entry.red, std::uint8_t(entry.green + i), std::uint8_t(entry.blue - i), 0});
      }
    }
    Bitmap image = allocate24Bits(static_cast<int>(colors.size()), 1);
    for (std::size_t i = 0; i < colors.size(); ++i) SetPixelColor(image, static_cast<int>(i), 0, colors[i]);
    const NearestEntries entries(palette);
    Bitmap reduced = allocateBitmap(Pixels::index8, image.width(), 1);
    mapToPalette(image, palette, reduced, 2);
    for (std::size_t i = 0; i < colors.size(); ++i) {
      const std::size_t expected = nearest(palette, colors[i]);
      ASSERT_EQ(entries.of(colors[i]), expected) << name << " " << i;
      ASSERT_EQ(reduced.row(0)[i], expected) << name << " " << i;
    }
  }
}

TEST_F(PaletteTest, SamplePaletteAndPixelsAreTheSameForAnyThreadsAndDepth) {
  const Bitmap colors = picture(1501, 1103, 1);
  Bitmap copy = clone(colors);
  const Bitmap eightBits = ColorQuantizeEx(copy, QuantizeMethod::neuQuant, true, 200);
  const Bitmap eightBitColors = convertTo24Bits(eightBits);
  std::string results[4];
  const std::pair<const Bitmap*, unsigned> rows[] = {
      {&colors, 1}, {&colors, 3}, {&eightBits, 2}, {&eightBitColors, 20}};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto& [image, threads] = rows[i];
    const Bitmap sample = paletteSample(*image, threads);
    Palette palette = randomColors(64, 0, 256);
    refinePalette(sample, palette, 60, threads);
    Bitmap reduced = allocateBitmap(Pixels::index8, image->width(), image->height());
    mapToPalette(*image, palette, reduced, threads);
    setPalette(reduced, palette);
    results[i] = bytesOf(sample) + bytesOf(convertTo24Bits(reduced));
  }
  EXPECT_TRUE(results[0] == results[1]);
  EXPECT_TRUE(results[2] == results[3]);
}

TEST_F(PaletteTest, ASampleIsEvenAlsoWhereAPatternIsInStepWithIt) {
  // Every third column is a stripe, in one colour in the upper third, and blocks have 3 x 3 pixels.
  Bitmap image = allocate24Bits(3000, 3000, {10, 10, 10, 0});
  for (int y = 0; y < 3000; ++y) {
    for (std::size_t x = 1; x < 3000; x += 3) image.row(y)[3 * x] = y < 1000 ? 250 : 200;
  }
  const std::string sample = bytesOf(paletteSample(image, 2));
  const auto upper = std::count(sample.begin(), sample.end(), '\xFA');
  const auto lower = std::count(sample.begin(), sample.end(), '\xC8');
  EXPECT_NEAR(static_cast<double>(sample.size()), 3e6, 3e4);
  EXPECT_NEAR(static_cast<double>(upper), 111'111, 1500);
  EXPECT_NEAR(static_cast<double>(lower), 222'222, 2000);
}

/// Mean square of what the channels of `reduced` are off by.
double meanSquare(const Bitmap& image, const Bitmap& reduced) {
  double sum = 0;
  const std::string pixels = bytesOf(image), others = bytesOf(convertTo24Bits(reduced));
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const double off = static_cast<std::uint8_t>(pixels[i]) - static_cast<std::uint8_t>(others[i]);
    sum += off * off;
  }
  return sum / static_cast<double>(pixels.size());
}

TEST_F(PaletteTest, ALargeImageKeepsThinLinesAndIsAsGoodAsASmallOne) {
  // Smooth tints, and on them four lines of 1e-5 of the pixels each.
  Bitmap image = allocate24Bits(2100, 2000);
  for (int y = 0; y < 2000; ++y) {
    for (int x = 0; x < 2100; ++x) {
      const int light = x * 120 / 2100 + (x * 7 + y * 13) % 5;
      const auto tint = [&](int least) { return static_cast<std::uint8_t>(least + light + y * 40 / 2000); };
      SetPixelColor(image, x, y, {tint(60), tint(80), tint(30), 0});
    }
  }
  Bitmap part = copyRectangle(image, 0, 0, 1900, 2000);
  const PixelColor lines[] = {{230, 0, 126}, {150, 0, 220}, {0, 200, 250}, {255, 120, 0}};
  for (int i = 0; i < 4; ++i) {
    for (int along = 0; along < 42; ++along) SetPixelColor(image, 300 * (i + 1) + along, 1000 + along / 3, lines[i]);
  }
  const Bitmap reduced = ColorQuantizeEx(image, QuantizeMethod::neuQuant, false, 128);
  const Bitmap colors = convertTo24Bits(reduced);
  for (int i = 0; i < 4; ++i) {
    const PixelColor color = colorAt(colors, 300 * (i + 1) + 20, 1006);
    EXPECT_LE(distance(color, lines[i]), 3) << i;
  }
  const Bitmap reducedPart = ColorQuantizeEx(part, QuantizeMethod::neuQuant, false, 128);
  EXPECT_EQ(reduced.paletteEntryCount(), 128);
  EXPECT_LT(meanSquare(image, reduced), 1.02 * meanSquare(part, reducedPart));  // 0.1 dB

  const Palette reserve{{1, 2, 3}, {253, 253, 253}};
  const Bitmap reserved = ColorQuantizeEx(image, QuantizeMethod::neuQuant, true, 16, 2, reserve);
  EXPECT_TRUE(reserved.paletteEntry(14) == reserve[0] && reserved.paletteEntry(15) == reserve[1]);
  EXPECT_FALSE(image);
}

}  // namespace
}  // namespace vellandra
