#include "imaging/rescale_crop.h"

#include "calibration/derived_map.h"
#include "core_fixture.h"
#include "imaging/made_maps.h"

namespace vellandra {
namespace {

/// A map open from its file, and the map saved from it read back.
class SavedCopyTest : public CoreTest {
 protected:
  SavedCopyTest() { preferences.warnOverwrite = false; }

  void open(const std::string& path) {
    driver.stage = openCalibration;
    person.pickedFiles = {path};
    ASSERT_TRUE(do_it()) << person.panel;
  }
  void openMade(const Calibration& map, const Bitmap& image = {}) {
    writeMap(folder + "open.png", map, image ? clone(image) : allocate24Bits(map.imageWidth, map.imageHeight));
    open(folder + "open.map");
  }

  /// To "copy.png", in place of an earlier copy.
  bool rescaleTo(const std::string& percentage) {
    person.typedTexts = {percentage};
    person.pickedFiles = {folder + "copy.png"};
    person.boxAnswers = {Answer::ok};
    return rescaleMap();
  }
  bool cropTo(const PixelRectangle& part) {
    person.rectangles = {part};
    person.pickedFiles = {folder + "copy.png"};
    person.boxAnswers = {Answer::ok};
    return cropMap();
  }

  /// The place on the map that is open now of the place (x, y) on `map`.
  static Pixel placeOf(const Calibration& map, double x, double y) {
    const Position position = positionAt(map, x, y);
    return pixelAt(calibration, position.latitude, position.longitude);
  }
};

TEST_F(SavedCopyTest, EveryPlaceKeepsItsPosition) {
  // With points in place of the corners, when there are any.
  const std::tuple<const char*, Calibration, std::vector<TiePixel>> rows[] = {
      {"north-up", linearMap(1001, 777, 5, 50, 1e-5), {}},
      {"turned, southern", linearMap(1001, 777, -70, -40, 1e-4, 35), {{10, 10}, {900, 33}, {15, 770}}},
      {"Mercator of half the world", mercatorMap(1001, 777, -80, 80, 0.18), {}},
      {"Mercator, two points", mercatorMap(1001, 777, 5, 60, 1e-4), {{100, 100}, {900, 700}}},
      {"points on a speck", linearMap(1001, 777, 5, 50, 1e-4, 20), {{500, 300}, {503, 300}, {500, 304}}},
      {"Mercator, points on a speck", mercatorMap(1001, 777, 5, 50, 0.01), {{500, 300}, {503, 304}}},
      {"points outside", linearMap(1001, 777, 5, 50, 1e-4, -5), {{-40000, 0}, {900, 46340}, {46340, 700}}}};
  for (const auto& [name, map, points] : rows) {
    SCOPED_TRACE(name);
    Calibration made = map;
    if (!points.empty()) placeTiePoints(made, points);
    openMade(made);
    // The files give a few millimetres; the map as opened is what its copies are held to.
    const Calibration original = calibration;
    const auto expectPlace = [&original](double x, double y, double expectedX, double expectedY) {
      const Pixel place = placeOf(original, x, y);
      EXPECT_NEAR(place.x, expectedX, 0.02) << "in " << calibration.imageWidth;
      EXPECT_NEAR(place.y, expectedY, 0.02) << "in " << calibration.imageWidth;
    };
    for (const char* percentage : {"10", "33.3", "50", "90"}) {
      ASSERT_TRUE(rescaleTo(percentage)) << person.boxTexts().back();
      open(folder + "copy.map");
      EXPECT_EQ(calibration.points[firstCornerSlot + 2].pixelX, calibration.imageWidth - 1);
      const double perX = 1001.0 / calibration.imageWidth, perY = 777.0 / calibration.imageHeight;
      for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1000.0, 0.0}, {500.0, 390.0}, {1000.0, 776.0}, {0.0, 776.0}}) {
        expectPlace(x, y, (x + 0.5) / perX - 0.5, (y + 0.5) / perY - 0.5);
      }
      open(folder + "open.map");
    }
    ASSERT_TRUE(cropTo({333, 222, 850, 777}));
    open(folder + "copy.map");
    EXPECT_EQ(calibration.imageWidth, 850 - 333);
    EXPECT_EQ(calibration.imageHeight, 777 - 222);
    for (const auto& [x, y] : {std::pair{333.0, 222.0}, {849.0, 222.0}, {500.0, 776.0}}) {
      expectPlace(x, y, x - 333, y - 222);
    }
  }
}

TEST_F(SavedCopyTest, WhatTheImageShowsKeepsItsPosition) {
  Bitmap image = allocate24Bits(100, 80);
  ASSERT_TRUE(Paste(image, allocate24Bits(20, 10, {255, 255, 255, 0}), 40, 20, 256));
  openMade(linearMap(100, 80, 5, 50, 1e-4), image);
  const Calibration original = calibration;
  for (const bool rescaled : {true, false}) {
    open(folder + "open.map");
    ASSERT_TRUE(rescaled ? rescaleTo("50") : cropTo({30, 15, 70, 40}));
    open(folder + "copy.map");
    const Bitmap copy = LoadImageByExtension(calibration.imagePath);
    double sum = 0, sumX = 0, sumY = 0;
    for (int y = 0; y < copy.height(); ++y) {
      for (int x = 0; x < copy.width(); ++x) {
        const double light = colorAt(copy, x, y).green;
        sum += light, sumX += light * x, sumY += light * y;
      }
    }
    const Pixel middle = placeOf(original, 49.5, 24.5);
    EXPECT_NEAR(sumX / sum, middle.x, 0.02) << rescaled;
    EXPECT_NEAR(sumY / sum, middle.y, 0.02) << rescaled;
  }
}

TEST_F(SavedCopyTest, PointsAndMetresPerPixelGoAlong) {
  Calibration map = linearMap(100, 80, 5, 50, 1e-4);
  placeTiePoints(map, {{0, 0}, {99, 79}, {99, 0}, {31, 79}, {-7, 200}});
  openMade(map);
  const auto metresPerPixel = [](const std::string& path) {
    return std::stod(between(contentOf(path), "MM1B , ", "\r")[0]);
  };
  ASSERT_TRUE(rescaleTo("50"));
  EXPECT_NEAR(metresPerPixel(folder + "copy.map"), 2 * metresPerPixel(folder + "open.map"), 0.1);
  open(folder + "copy.map");
  const auto pixels = [] {
    std::string text;
    for (int i = 1; i <= calibration.pointCount; ++i) {
      text += std::to_string(calibration.points[i].pixelX) + "," + std::to_string(calibration.points[i].pixelY) + " ";
    }
    return text;
  };
  EXPECT_EQ(pixels(), "0,0 49,39 49,0 15,39 -4,100 ");  // -7: (-7 + 0.5) / 2 - 0.5 = -3.75 lies nearest to -4
  const std::tuple<PixelRectangle, const char*, const char*> crops[] = {
      {{10, 20, 90, 60}, "0,0 79,0 79,39 0,39 ", "1, 2, 3, 4, 5"},
      {{0, 0, 100, 79}, "0,0 99,0 99,78 0,78 ", "2, 4, 5"},  // a corner that is a point is not added again
      {{1, 0, 100, 80}, "98,79 98,0 30,79 ", "1, 5"}};
  for (const auto& [part, kept, leftOut] : crops) {
    open(folder + "open.map");
    ASSERT_TRUE(cropTo(part));
    EXPECT_NE(person.panel.find(std::string("outside the new map: ") + leftOut + "\r\n"), std::string::npos);
    open(folder + "copy.map");
    EXPECT_EQ(pixels(), kept);
  }
  open(folder + "open.map");
  calibration.points[5].pixelX = -46340;  // can be fitted here, but not a column further out
  calibration = derivedCalibration(calibration, {1, 0, 1, 1}, 99, 80);
  EXPECT_EQ(pixels(), "-1,0 98,79 98,0 30,79 ");
  EXPECT_NE(person.panel.find("Points left out, they lie too far outside the map: 5"), std::string::npos);
}

TEST_F(SavedCopyTest, TheOpenMapStaysAsItIs) {
  openMade(linearMap(100, 80, 5, 50, 1e-4, 12), picture(100, 80, 1));
  preferences.warnOverwrite = true;
  for (const char* name : {"a.png", "a.map", "b.png", "c.map", "dot.tfw", "dot_png.cal"}) {
    writeTestFile(folder + name, "old");
  }
  for (const char* name : {"b.map", "c.png"}) std::filesystem::create_directory(folder + name);  // no file gets there
  const std::string scale = "scale percentage must be 10 to 90", inside = "The part to keep must lie inside the map";
  const std::string own = "\nIt belongs to an open map, which stays as it is", over = "OK to overwrite " + folder;
  const std::string unable = "unable to save " + folder, unableMap = "unable to write " + folder;
  const std::string others =
      "Made for the picture that was there before, and not for this one: dot.tfw, dot_png.cal\r\n";
  const Answer ok = Answer::ok, cancel = Answer::cancel;
  const PixelRectangle dot{99, 79, 100, 80};
  using Part = PixelRectangle;
  // clang-format off
  const struct {
    const char* name;
    std::optional<std::string> percentage;
    std::optional<Part> part;
    std::string file;
    std::deque<Answer> boxes;
    Texts texts;
    std::string done = "";
  } rows[] = {
      {"cancelled",         {},      {},                    "",           {},           {}},
      {"too small",         "9.9",   {},                    "",           {},           {scale}},
      {"too large",         "91",    {},                    "",           {},           {scale}},
      {"past all numbers",  "1e999", {},                    "",           {},           {scale}},
      {"no name",           "50",    {},                    "",           {},           {}},
      {"past the right",    {},      Part{1, 1, 101, 80},   "",           {},           {inside}},
      {"left of the map",   {},      Part{-1, 1, 50, 50},   "",           {},           {inside}},
      {"empty",             {},      Part{10, 10, 10, 50},  "",           {},           {inside}},
      {"picture kept",      "50",    {},                    "a.png",      {cancel},     {over + "a.png"}},
      {"calibration kept",  "50",    {},                    "a", {ok, cancel}, {over + "a.png", over + "a.map"}},
      {"no such folder",    "50",    {},                    "none/x.png", {},           {unable + "none/x.png"}},
      {"calibration stuck", {}, dot, "b.png", {ok, ok}, {over + "b.png", over + "b.map", unableMap + "b.map"}},
      {"picture stuck",     {}, dot, "c.png", {ok, ok}, {over + "c.png", over + "c.map", unable + "c.png"}},
      {"itself",            {},      dot,                   "open",       {},           {unable + "open.png" + own}},
      {"rescaled",          "50",    {},                    "small",      {},           {}, "Done rescaling\r\n"},
      {"cropped",           {},      dot,                   "dot.png",    {},           {}, "Done cropping\r\n"},
      {"replaced", "50", {}, "dot.png", {ok, ok}, {over + "dot.png", over + "dot.map"}, others + "Done rescaling\r\n"}};
  // clang-format on
  const auto state = [this] {
    std::ostringstream text;
    text << calibration.imagePath << driver.inputPath << points() << calibration.tf2 << " " << driver.metresPerPixel;
    for (const char* file : {"open.png", "open.map", "a.png", "a.map", "b.png", "c.map"})
      text << contentOf(folder + file);
    return text.str();
  };
  const std::string before = state();
  for (const auto& row : rows) {
    person.typedTexts = {row.percentage};
    person.rectangles = {row.part};
    person.pickedFiles = {row.file.empty() ? "" : folder + row.file};
    person.boxAnswers = row.boxes;
    person.boxes.clear();
    EXPECT_EQ(row.percentage ? rescaleMap() : cropMap(), !row.done.empty()) << row.name;
    EXPECT_EQ(person.boxTexts(), row.texts) << row.name;
    EXPECT_TRUE(person.panel.ends_with(row.done)) << row.name;
    EXPECT_TRUE(state() == before) << row.name;
    EXPECT_TRUE(person.menuStates.calibratedImage) << row.name;
  }
  EXPECT_EQ(person.textInitials.back(), "50");
  preferences.warnOverwrite = false;
  writeTestFile(folder + "lone.map", "old");
  person.typedTexts = {"50"};
  person.pickedFiles = {folder + "lone"};
  person.boxAnswers = {cancel};
  EXPECT_FALSE(rescaleMap());
  EXPECT_EQ(lastBox(), over + "lone.map") << "it is the calibration of another image";
  EXPECT_EQ(sizeOf(folder + "small.png").width, 50);
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    EXPECT_FALSE(entry.path().filename().string().starts_with(".")) << "left over: " << entry.path();
  }
}

TEST_F(SavedCopyTest, OnlyThePictureFromTheClipboardIsTakenFromMemory) {
  openMade(linearMap(100, 80, 5, 50, 1e-4), picture(100, 80, 1));
  mapImage = {picture(100, 80, 2), calibration.imagePath};  // what the file held when it was shown
  const PixelRectangle part{10, 20, 50, 60};
  ASSERT_TRUE(cropTo(part));
  EXPECT_EQ(colorAt(LoadImageByExtension(folder + "copy.png"), 3, 4), colorAt(picture(100, 80, 1), 13, 24));
  calibration.imagePath = "clip.board";
  EXPECT_FALSE(cropTo(part));
  EXPECT_EQ(person.boxTexts().back(), "Unable to load map");
  mapImage.path = "clip.board";
  ASSERT_TRUE(cropTo(part));
  EXPECT_EQ(colorAt(LoadImageByExtension(folder + "copy.png"), 3, 4), colorAt(mapImage.bitmap, 13, 24));
  EXPECT_EQ(calibration.imagePath, "clip.board");
}

TEST_F(SavedCopyTest, CroppingKeepsTheDepthThatAPngCanHold) {
  for (const auto& [name, bits] : {std::pair("grey16.png", 16), {"quadrants.png", 24}, {"rgb565.bmp", 24}}) {
    calibration = linearMap(16, 12, 5, 50, 1e-4);
    calibration.imagePath = FIXTURES "/images/" + std::string(name);
    driver.transformValid = true;
    ASSERT_TRUE(cropTo({4, 3, 16, 12})) << name;
    const Bitmap copy = LoadImageByExtension(folder + "copy.png");
    const Bitmap part = copyRectangle(LoadImageByExtension(calibration.imagePath), 4, 3, 16, 12);
    EXPECT_EQ(copy.bitsPerPixel(), bits) << name;
    EXPECT_EQ(bytesOf(convertTo24Bits(copy)), bytesOf(convertTo24Bits(part))) << name;
  }
}

}  // namespace
}  // namespace vellandra
