#include "imaging/merge.h"

#include <sys/resource.h>

#include "core_fixture.h"
#include "imaging/made_maps.h"
#include "imaging/merge_pixels.h"
#include "imaging/merged_colors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr PixelColor grey(int value) {
  const auto channel = static_cast<std::uint8_t>(value);
  return {channel, channel, channel, 0};
}

TEST(Lerp, RoundsEveryChannelHalfToEven) {
  PixelColor out;
  Lerp({0, 10, 255, 9}, {255, 20, 0, 9}, 0.25F, out);
  EXPECT_EQ(out, (PixelColor{64, 12, 191, 0}));  // 63.75, 12.5, 191.25
}

/// Merges images of pixels of one degree; the first pixel of the canvas lies at (x, y) of the merge map.
class MergePixelsTest : public CoreTest {
 protected:
  Bitmap merge(const Bitmap& base, const Bitmap& other, double x, double y, float t, const Bitmap& opacity = {}) {
    const MergeSides sides{linearMap(base.width(), base.height(), 10, 50, 1),
                           linearMap(other.width(), other.height(), 10 - x, 50 + y, 1)};
    Bitmap canvas = clone(base);
    mergePixels(sides, canvas, other, t, 1, opacity);
    return canvas;
  }

  /// 2 x 2 pixels, row by row.
  static Bitmap fourGreys(const std::array<int, 4>& greys) {
    Bitmap image = allocate24Bits(2, 2);
    for (int i = 0; i < 4; ++i) SetPixelColor(image, i % 2, i / 2, grey(greys[static_cast<std::size_t>(i)]));
    return image;
  }
};

TEST_F(MergePixelsTest, ColoursReckonedByHand) {
  const std::array<int, 4> greys{0, 100, 200, 40};
  const std::tuple<const char*, std::array<int, 4>, double, double, int, float, int> rows[] = {
      // Top 0 + 100/4 = 25, bottom 200 - 160/4 = 160, between them 92.5, which is 92.
      {"weight 100", greys, 0.25, 0.5, 10, 1, 92},
      {"weight 50", greys, 0.25, 0.5, 10, 0.5F, 51},
      {"weight 0", greys, 0.25, 0.5, 10, 0, 10},
      {"marker, weight 0", greys, 0.25, 0.5, 253, 0, 92},
      {"nearly the marker, weight 0", greys, 0.25, 0.5, 252, 0, 252},
      {"in the marker's colour, not empty", {253, 253, 253, 253}, 0.25, 0.5, 10, 1, 252},
      // Top 0.5 is 0, bottom 1.5 is 2, between them 0.5 is 0; in one step it would be 0.75.
      {"every step is rounded", {0, 1, 0, 3}, 0.5, 0.25, 10, 1, 0},
      {"on a pixel", greys, 1, 0, 10, 1, 100}};
  for (const auto& [name, fourOthers, x, y, base, t, expected] : rows) {
    const Bitmap canvas = merge(allocate24Bits(1, 1, grey(base)), fourGreys(fourOthers), x, y, t);
    EXPECT_EQ(colorAt(canvas, 0, 0), grey(expected)) << name;
  }
}

TEST_F(MergePixelsTest, OnlyPlacesThatRoundDownToAPixelAreCovered) {
  // The place on a merge map of the greys 20 and 60, from left to right and from top to bottom; 100 is the base.
  const std::pair<double, int> rows[] = {{-1, 100}, {-0.5, 100}, {-0.02, 100}, {-0.005, 20}, {0, 20},  {0.5, 40},
                                         {1, 60},   {1.5, 60},   {1.98, 60},   {1.995, 100}, {2, 100}, {2.5, 100}};
  const Bitmap base = allocate24Bits(1, 1, grey(100));
  for (const auto& [place, expected] : rows) {
    EXPECT_EQ(colorAt(merge(base, fourGreys({20, 60, 20, 60}), place, 0, 1), 0, 0), grey(expected)) << place;
    EXPECT_EQ(colorAt(merge(base, fourGreys({20, 20, 60, 60}), 0, place, 1), 0, 0), grey(expected)) << place;
  }
}

TEST_F(MergePixelsTest, ClearPixelsOfTheMergeMapAreOutsideIt) {
  const Bitmap other = fourGreys({0, 100, 200, 40});
  const std::tuple<std::array<int, 4>, double, double, int> rows[] = {
      {{0, 255, 255, 255}, 0, 0, 10},        // clear itself
      {{255, 0, 255, 255}, 0.25, 0, 0},      // its neighbour to the right
      {{255, 255, 0, 0}, 0.25, 0.5, 12},     // top 25, bottom 0: 12.5
      {{1, 255, 255, 255}, 0.25, 0.5, 92}};  // hardly to be seen, but there
  for (const auto& [opaque, x, y, expected] : rows) {
    Bitmap opacity = allocateBitmap(Pixels::index8, 2, 2);
    for (int i = 0; i < 4; ++i) {
      opacity.row(i / 2)[static_cast<std::size_t>(i % 2)] =
          static_cast<std::uint8_t>(opaque[static_cast<std::size_t>(i)]);
    }
    const Bitmap canvas = merge(allocate24Bits(1, 1, grey(10)), other, x, y, 1, opacity);
    EXPECT_EQ(colorAt(canvas, 0, 0), grey(expected)) << x << " " << expected;
  }
}

TEST_F(MergePixelsTest, LastColumnsOfWideMapsAreCopiedExactly) {
  const Bitmap other = picture(401, 77, 1);  // more than two blocks and two bands, and not a whole number of them
  EXPECT_EQ(bytesOf(merge(allocate24Bits(401, 77), other, 0, 0, 1)), bytesOf(other));
  const Bitmap shifted = merge(picture(401, 77, 2), other, -3, -2, 1);
  for (const auto& [x, y] : {std::pair{3, 2}, {130, 34}, {131, 35}, {400, 76}}) {
    EXPECT_EQ(colorAt(shifted, x, y), colorAt(other, x - 3, y - 2)) << x << " " << y;
  }
  EXPECT_EQ(colorAt(shifted, 2, 50), colorAt(picture(401, 77, 2), 2, 50));
}

TEST_F(MergePixelsTest, ThreadsDoNotShow) {
  const Calibration turned = linearMap(300, 200, -10, 60, 0.1, 17);
  const Calibration mercator = mercatorMap(280, 210, -5, 61, 0.1);
  for (const MergeSides& sides : {MergeSides{turned, mercator}, MergeSides{mercator, turned}}) {
    const Bitmap other = picture(sides.b.imageWidth, sides.b.imageHeight, 3);
    std::string bytes;
    for (const unsigned threads : {1U, 2U, 7U}) {
      Bitmap canvas = picture(sides.a.imageWidth, sides.a.imageHeight, 4);
      runWork("Merging", [&] { mergePixels(sides, canvas, other, 0.3F, threads); });
      if (bytes.empty()) bytes = bytesOf(canvas);
      EXPECT_TRUE(bytes == bytesOf(canvas)) << threads;
      EXPECT_TRUE(std::is_sorted(person.progress.begin(), person.progress.end()));
      EXPECT_EQ(person.progress.back(), canvas.height());
    }
  }
}

TEST_F(MergePixelsTest, WhereThereIsNoEarthNothingIsPainted) {
  const MergeSides sides{linearMap(40, 60, 0, 100, 0.5), mercatorMap(40, 600, 0, 89, 0.5)};
  Bitmap canvas = allocate24Bits(40, 60, grey(7));
  mergePixels(sides, canvas, allocate24Bits(40, 600, grey(9)), 1, 2);
  EXPECT_EQ(colorAt(canvas, 3, 18), grey(7));  // latitude 91, which has the ordinate of 89
  EXPECT_EQ(colorAt(canvas, 3, 23), grey(9));
}

TEST(MergeCanvas, HoldsBothMapsAndNoMore) {
  const Calibration base = linearMap(100, 80, 5, 50, 0.01), small = linearMap(100, 80, 5, 50, 0.0001);
  // clang-format off
  const struct {
    const char* name;
    Calibration base, merge;
    std::vector<int> canvas;  ///< width, height, left, top
    std::string on = "pi";    ///< how the merge map lies on the base map and on the canvas: inside, partly, outside
  } rows[] = {
      {"inside",           base, linearMap(50, 40, 5.1, 49.9, 0.01), {100, 80, 0, 0}, "ii"},
      {"same but for the last digits", base, linearMap(100, 80, 5 - 3e-5, 50 + 3e-5, 0.01), {100, 80, 0, 0}, "ii"},
      {"right and below",  base, linearMap(100, 80, 5.2, 49.5, 0.01),    {120, 130, 0, 0}},
      {"left and above",   base, linearMap(10, 10, 4.799, 50.205, 0.01), {121, 101, 21, 21}, "oi"},
      {"coarser pixels",   base, linearMap(60, 50, 5, 50, 0.02),         {120, 100, 0, 0}},
      // A square of 100 turned by 45 degrees about its first pixel: 70.7 to each side, 141.4 high.
      {"turned merge map", base, linearMap(100, 100, 5, 50, 0.01, 45),   {142, 151, 0, 71}},
      {"turned both",      linearMap(100, 80, 5, 50, 0.01, 30), linearMap(100, 120, 5, 50, 0.01, 30), {100, 120, 0, 0}},
      // 60 to 70 N is 0.418 in Mercator ordinates, 24 rows of a degree (M(70) - M(60) = 1.73542 - 1.31696).
      {"Mercator",         mercatorMap(10, 10, 5, 60, 1), linearMap(10, 10, 5, 70, 1), {10, 34, 0, 24}},
      {"beyond 32767",     small, linearMap(10, 10, 120, 20, 0.01),      {32767, 32767, 0, 0}, "oo"},
      {"beyond 32767 at the left", small, linearMap(10, 10, -120, 50, 0.01), {32767, 1000, 32667, 0}, "oo"},
      {"beyond 32767 on all sides", small, linearMap(100, 100, 0, 60, 0.2), {32767, 32767, 32667, 32687}, "pp"},
      {"touching",         base, linearMap(100, 80, 6, 50, 0.01), {200, 80, 0, 0}},
      {"a gap",            base, linearMap(100, 80, 6.01, 50, 0.01), {201, 80, 0, 0}, "oi"},
      // Its box covers the base map's corner, its edge runs past it.
      {"turned past a corner", base, linearMap(50, 50, 5.98, 49.14, 0.01, 45), {169, 122, 0, 0}, "oi"},
      {"across 180 degrees", linearMap(100, 80, 179.5, 50, 0.01), linearMap(100, 80, -180, 50, 0.01), {150, 80, 0, 0}}};
  // clang-format on
  for (const auto& row : rows) {
    MergeSides sides{row.base, row.merge};
    bringLongitudesTogether(sides);
    const Canvas canvas = proposedCanvas(sides);
    EXPECT_EQ((std::vector{canvas.width, canvas.height, canvas.left, canvas.top}), row.canvas) << row.name;
    std::string on;
    for (const Canvas& part : {wholeMap(sides.a), canvas}) on += "opi"[static_cast<int>(mergeMapOn(sides, part))];
    EXPECT_EQ(on, row.on) << row.name;
  }
}

/// The command, with two maps of which the merge map reaches over the right and lower edges of the base map.
class MergeMapsTest : public CoreTest {
 protected:
  void writeMaps(const Calibration& base, const Calibration& other) {
    writeMap(folder + "base.png", base, allocate24Bits(base.imageWidth, base.imageHeight, grey(100)));
    writeMap(folder + "other.png", other, allocate24Bits(other.imageWidth, other.imageHeight, grey(200)));
    person.pickedFiles = {folder + "base.map", folder + "other.map"};
  }
  static MergeAnswer merge(const std::string& percentage, bool enlarged) {
    return {MergeAnswer::Action::merge, percentage, enlarged};
  }
  const MergeAnswer save{MergeAnswer::Action::save, "70", false}, close{MergeAnswer::Action::close, "", false};
};

TEST_F(MergeMapsTest, EnlargedMapIsSavedWithItsCalibrationAndOpen) {
  const std::tuple<const char*, Calibration, Calibration> rows[] = {
      {"north-up", linearMap(60, 40, 5, 50, 0.001), linearMap(50, 50, 4.98, 50.03, 0.001)},
      {"turned", linearMap(60, 40, 5, 50, 0.001, 20), linearMap(50, 50, 4.98, 50.03, 0.001, -30)},
      {"Mercator", mercatorMap(60, 40, 5, 50, 0.1), linearMap(50, 50, 4, 52, 0.1, 10)},
      {"small base map", mercatorMap(6, 4, 5, 50, 0.001), linearMap(500, 500, 4.8, 50.2, 0.001)}};
  preferences.warnOverwrite = false;
  for (const auto& [name, base, other] : rows) {
    SCOPED_TRACE(name);
    writeMaps(base, other);
    person.pickedFiles.push_back(folder + name);
    person.mergeAnswers = {merge("100", true), save, close};
    EXPECT_TRUE(mergeMaps());
    const std::string path = folder + name + ".png";
    EXPECT_EQ(calibration.imagePath, path);
    EXPECT_FALSE(driver.calibrationPending);
    EXPECT_EQ(driver.pickerTitle, "Open calibration file for map");

    const Canvas canvas = proposedCanvas({base, other});
    EXPECT_EQ(person.mergeQuestions.back().expandCaption,
              "Expand base map to " + std::to_string(canvas.width) + " x " + std::to_string(canvas.height));
    EXPECT_EQ(person.mergeQuestions.back().percentage, "70") << "as it was typed";
    EXPECT_EQ(person.pickers.back().copyOf, folder + "base.png");
    EXPECT_TRUE(panelHas("Merged map saved as " + path + ", with its calibration beside it\r\n"));
    const Bitmap image = LoadImageByExtension(path);
    EXPECT_EQ(image.bitsPerPixel(), 8);
    EXPECT_NEAR(colorAt(convertTo24Bits(image), image.width() / 2 - 3, image.height() / 2 - 3).red, 200, 3);

    driver.stage = batch;
    driver.inputPath = folder + name + ".map";
    ASSERT_TRUE(do_it());
    EXPECT_EQ(calibration.imageWidth, canvas.width);
    EXPECT_EQ(calibration.imageHeight, canvas.height);
    for (const auto& [x, y] : {std::pair{0, 0}, {base.imageWidth - 1, 7}, {30, base.imageHeight - 1}}) {
      const Position position = positionAt(base, x, y);
      const Pixel pixel = pixelAt(calibration, position.latitude, position.longitude);
      EXPECT_NEAR(pixel.x, x + canvas.left, 0.01);
      EXPECT_NEAR(pixel.y, y + canvas.top, 0.01);
    }
  }
  std::size_t at = 0;
  for (const char* line : {"Expanding", "Exapnded", "Merging", "Merged", "Quantize for save"}) {
    at = log().find(line, at);
    EXPECT_NE(at, std::string::npos) << line;
  }
}

TEST_F(MergeMapsTest, WhatIsNotSavedLeavesEverythingAsItWas) {
  const std::string abandon = "Calibrations not written : OK to abandon them else cancel";
  const std::string exit = "Merged file not written : OK to exit procedure else cancel";
  const std::string nowhere = folder + "none/x.png", other = folder + "other.png";
  const std::string noFile = "No input file specified", range = "Transparency must be 0 to 100";
  const std::string unable = "unable to save ", own = "\nIt belongs to an open map, which stays as it is";
  const std::string apart = "The maps do not meet, only an expanded base map shows both : OK to go on else cancel";
  const std::string beyond =
      "The merge map lies outside the base map, even expanded to 32767 x 40 : OK to go on else cancel";
  const std::string nothing = "Nothing of the merge map lies on the base map", unloadable = "Unable to load map";
  const Calibration meeting = linearMap(50, 50, 5.03, 49.99, 0.001), next = linearMap(50, 40, 5.07, 50, 0.001);
  const Calibration far = linearMap(50, 40, 38, 50, 0.001);
  const MergeAnswer merged = merge("50", false), over = merge("101", true), under = merge("-0.1", true);
  const Answer ok = Answer::ok, cancel = Answer::cancel;
  // clang-format off
  const struct {  // of the two maps, `picked` are; `saved` answers the picker of the file to save in
    const char* name;
    bool pending;
    std::size_t picked;
    std::deque<MergeAnswer> dialog;
    std::string saved;
    std::deque<Answer> boxes;
    Texts texts;
    std::optional<Calibration> other = std::nullopt;  ///< its image has a head only
  } rows[] = {
      {"pending",               true,  0, {},                     "",      {cancel},     {abandon}},
      {"no base map",           true,  0, {},                     "",      {ok},         {abandon, noFile}},
      {"no merge map",          false, 1, {},                     "",      {},           {noFile}},
      {"closed at once",        false, 2, {close},                "",      {},           {}},
      {"closed without saving", false, 2, {merged, close, close}, "",      {cancel, ok}, {exit, exit}},
      {"no such folder",        false, 2, {merged, save, close},  nowhere, {ok},         {unable + nowhere, exit}},
      {"over the merge map",    false, 2, {merged, save, close},  other,   {ok},         {unable + other + own, exit}},
      {"no percentage", false, 2, {over, under, merge("all", true), save, close}, "", {}, {range, range, range}},
      {"apart",                 false, 2, {},                     "",      {cancel},     {apart}, next},
      {"apart, gone on",        false, 2, {},                     "",      {ok},         {apart, unloadable}, next},
      {"beyond all canvases",   false, 2, {},                     "",      {cancel},     {beyond}, far}};
  // clang-format on
  for (const auto& row : rows) {
    writeMaps(linearMap(60, 40, 5, 50, 0.001), row.other.value_or(meeting));
    if (row.other) writeTestFile(folder + "other.png", contentOf(folder + "other.png").substr(0, 33));
    calibration = linearMap(10, 10, 1, 2, 3);
    calibration.imagePath = "open.png";
    driver = Driver();
    driver.inputBase = "open";
    driver.transformValid = true;
    driver.calibrationPending = row.pending;
    inputDatumName = "ED 50";
    person.pickedFiles.resize(row.picked);
    person.pickedFiles.push_back(row.saved);
    person.mergeAnswers = row.dialog;
    person.boxAnswers = row.boxes;
    person.boxes.clear();
    SCOPED_TRACE(row.name);
    EXPECT_FALSE(mergeMaps());
    EXPECT_EQ(person.boxTexts(), row.texts);
    EXPECT_TRUE(person.mergeAnswers.empty());
    EXPECT_EQ(calibration.imagePath + " " + driver.inputBase + " " + inputDatumName, "open.png open ED 50");
    EXPECT_EQ(calibration.tf1, 3);
    EXPECT_EQ(driver.calibrationPending, row.pending);
    EXPECT_TRUE(person.menuStates.calibratedImage || row.name == rows[0].name);
  }
  writeMaps(linearMap(60, 40, 5, 50, 0.001), next);
  person.boxes.clear();
  person.boxAnswers = {ok};
  person.mergeAnswers = {merged, close};
  EXPECT_FALSE(mergeMaps());
  EXPECT_EQ(person.boxTexts(), (Texts{apart, nothing}));
  EXPECT_EQ(person.pickers[1].title, "Open calibration file for base map");
  EXPECT_EQ(person.pickers[2].title, "Open calibration file for merge map");
}

TEST_F(MergeMapsTest, EveryMergeStartsFromTheBaseMapAsItWas) {
  // The merge map covers columns -20 to 29 and rows -10 to 39 of the base map.
  const MergeSides sides{linearMap(60, 40, 5, 50, 0.001), linearMap(50, 50, 4.98, 50.01, 0.001)};
  const MergeMaps maps{sides, picture(60, 40, 1), allocate24Bits(50, 50, grey(200)), {}};
  const Bitmap base = clone(maps.base);
  PixelColor half;
  Lerp(colorAt(base, 20, 10), grey(200), 0.5F, half);
  const MergedMap enlarged = mergedMap(maps, proposedCanvas(maps.sides), 0.5F, 2);
  EXPECT_EQ(enlarged.map.imagePath, "$merge$");
  EXPECT_EQ(colorAt(enlarged.image, 40, 20), half);
  EXPECT_EQ(colorAt(enlarged.image, 70, 45), colorAt(base, 50, 35));
  EXPECT_EQ(colorAt(enlarged.image, 5, 5), grey(200));  // beyond the base map: not blended
  EXPECT_EQ(colorAt(enlarged.image, 70, 5), markerColor);
  const MergedMap kept = mergedMap(maps, std::nullopt, 0.5F, 2);
  EXPECT_EQ(colorAt(kept.image, 20, 10), half);
  EXPECT_EQ(kept.image.width(), 60);
  EXPECT_EQ(bytesOf(maps.base), bytesOf(base));
}

TEST_F(MergeMapsTest, EmptyPixelsAndNoOthersHaveTheMarkerColorWhenColorsAreReduced) {
  const auto channel = [](int value) { return static_cast<std::uint8_t>(value); };
  for (const int side : {300, 2100}) {  // the palette is made from all pixels, and from a sample
    Bitmap merged = allocate24Bits(side, side, markerColor);
    for (int y = 0; y < side; ++y) {  // a quarter is empty, the rest whitish and colourful
      for (int x = side / 4; x < side; ++x) {
        const auto near = [&](int number) { return channel(251 + number % 5); };
        const PixelColor whitish{near(x * 7 + y * 3), near(x + y * 11), near(x * 5 + y), 0};
        SetPixelColor(merged, x, y,
                      x % 2 == 0 ? whitish : PixelColor{channel(x * 37), channel(y * 59), channel(x + y)});
      }
    }
    const Bitmap colors = convertTo24Bits(reduceMerged(merged, 2));
    for (int y = 0; y < side; ++y) {
      for (int x = 0; x < side; ++x) {
        ASSERT_EQ(colorAt(colors, x, y) == markerColor, colorAt(merged, x, y) == markerColor) << x << " " << y;
      }
    }
  }
}

TEST_F(MergeMapsTest, NoMemoryForTheCanvasEndsTheCommandUnlessAResultWaitsToBeSaved) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "its address space cannot be limited";
#endif
  writeMaps(linearMap(60, 40, 5, 50, 0.0001), linearMap(50, 50, 5, 50, 0.1));
  rlimit before{};
  getrlimit(RLIMIT_AS, &before);
  rlimit tight = before;
  tight.rlim_cur = 2'000'000'000;  // the canvas takes 3.2 GB
  ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
  person.mergeAnswers = {merge("50", true), save};
  EXPECT_FALSE(mergeMaps());
  EXPECT_EQ(person.mergeAnswers.size(), 1U);
  person.pickedFiles = {folder + "base.map", folder + "other.map", folder + "merged.png"};
  person.mergeAnswers = {merge("50", false), merge("50", true), save, close};
  EXPECT_TRUE(mergeMaps());
  setrlimit(RLIMIT_AS, &before);
  EXPECT_EQ(person.boxTexts(), Texts(2, "Unable to allocate memory for merged map"));
  EXPECT_EQ(sizeOf(folder + "merged.png").width, 60);
}

}  // namespace
}  // namespace vellandra
