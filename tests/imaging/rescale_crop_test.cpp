#include "imaging/rescale_crop.h"

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
  void openMade(const Calibration& map, const Bitmap& image) {
    writeMap(folder + "open.png", map, image);
    open(folder + "open.map");
  }
  void openMade(const Calibration& map) { openMade(map, allocate24Bits(map.imageWidth, map.imageHeight)); }

  bool rescaleTo(const std::string& percentage, const std::string& path) {
    person.typedTexts = {percentage};
    person.pickedFiles = {path};
    person.boxAnswers = {Answer::ok};  // to replace an earlier copy
    return rescaleMap();
  }
  bool cropTo(const PixelRectangle& part, const std::string& path) {
    person.rectangles = {part};
    person.pickedFiles = {path};
    person.boxAnswers = {Answer::ok};
    return cropMap();
  }

  /// The place on the map that is open now of the place (x, y) on `map`.
  static Pixel placeOf(const Calibration& map, double x, double y) {
    const Position position = positionAt(map, x, y);
    return pixelAt(calibration, position.latitude, position.longitude);
  }
};

struct MadeMap {
  const char* name;
  Calibration map;
  std::vector<TiePixel> points;  ///< in place of the corners
};

std::vector<MadeMap> madeMaps() {
  return {{"north-up", linearMap(1001, 777, 5, 50, 1e-5), {}},
          {"turned, southern", linearMap(1001, 777, -70, -40, 1e-4, 35), {{10, 10}, {900, 33}, {15, 770}}},
          {"Mercator of half the world", mercatorMap(1001, 777, -80, 80, 0.18), {}},
          {"Mercator, two points", mercatorMap(1001, 777, 5, 60, 1e-4), {{100, 100}, {900, 700}}},
          {"points on a speck", linearMap(1001, 777, 5, 50, 1e-4, 20), {{500, 300}, {503, 300}, {500, 304}}},
          {"Mercator, points on a speck", mercatorMap(1001, 777, 5, 50, 0.01), {{500, 300}, {503, 304}}},
          {"points outside", linearMap(1001, 777, 5, 50, 1e-4, -5), {{-40000, 0}, {900, 46340}, {46340, 700}}}};
}

TEST_F(SavedCopyTest, EveryPlaceKeepsItsPosition) {
  const PixelRectangle part{333, 222, 850, 777};
  for (const MadeMap& row : madeMaps()) {
    Calibration made = row.map;
    if (!row.points.empty()) placeTiePoints(made, row.points);
    openMade(made);
    // The files give a few millimetres; the map as opened is what its copies are held to.
    const Calibration original = calibration;
    for (const char* percentage : {"10", "33.3", "50", "90"}) {
      ASSERT_TRUE(rescaleTo(percentage, folder + "copy.png")) << row.name << person.boxTexts().back();
      open(folder + "copy.map");
      EXPECT_EQ(calibration.pixelX[firstCornerSlot + 2], calibration.imageWidth - 1);
      const double perX = 1001.0 / calibration.imageWidth;
      const double perY = 777.0 / calibration.imageHeight;
      for (const auto& [x, y] : {std::pair{0.0, 0.0}, {1000.0, 0.0}, {500.0, 390.0}, {1000.0, 776.0}, {0.0, 776.0}}) {
        const Pixel place = placeOf(original, x, y);
        EXPECT_NEAR(place.x, (x + 0.5) / perX - 0.5, 0.02) << row.name << " " << percentage;
        EXPECT_NEAR(place.y, (y + 0.5) / perY - 0.5, 0.02) << row.name << " " << percentage;
      }
      open(folder + "open.map");
    }
    ASSERT_TRUE(cropTo(part, folder + "copy.png")) << row.name;
    open(folder + "copy.map");
    EXPECT_EQ(calibration.imageWidth, part.right - part.left);
    EXPECT_EQ(calibration.imageHeight, part.bottom - part.top);
    for (const auto& [x, y] : {std::pair{333.0, 222.0}, {849.0, 222.0}, {500.0, 776.0}}) {
      const Pixel place = placeOf(original, x, y);
      EXPECT_NEAR(place.x, x - part.left, 0.02) << row.name;
      EXPECT_NEAR(place.y, y - part.top, 0.02) << row.name;
    }
  }
}

TEST_F(SavedCopyTest, WhatTheImageShowsKeepsItsPosition) {
  constexpr int left = 40, right = 60, top = 20, bottom = 30;  // a white block on black
  Bitmap image = allocate24Bits(100, 80);
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) SetPixelColor(image, x, y, {255, 255, 255, 0});
  }
  openMade(linearMap(100, 80, 5, 50, 1e-4), image);
  const Calibration original = calibration;
  ASSERT_TRUE(rescaleTo("50", folder + "copy.png"));
  ASSERT_TRUE(cropTo({30, 15, 70, 40}, folder + "part.png"));
  for (const char* name : {"copy", "part"}) {
    open(folder + name + ".map");
    const Bitmap copy = LoadImageByExtension(calibration.imagePath);
    double sum = 0, sumX = 0, sumY = 0;
    for (int y = 0; y < copy.height(); ++y) {
      for (int x = 0; x < copy.width(); ++x) {
        const double light = colorAt(copy, x, y).green;
        sum += light, sumX += light * x, sumY += light * y;
      }
    }
    const Pixel middle = placeOf(original, (left + right - 1) / 2.0, (top + bottom - 1) / 2.0);
    EXPECT_NEAR(sumX / sum, middle.x, 0.02) << name;
    EXPECT_NEAR(sumY / sum, middle.y, 0.02) << name;
  }
}

TEST_F(SavedCopyTest, MetresPerPixelGrowAsPixelsDo) {
  openMade(linearMap(1000, 800, 5, 50, 1e-3));
  const auto written = [](const std::string& path) {
    const std::string text = contentOf(path);
    return std::stod(text.substr(text.find("MM1B , ") + 7));
  };
  ASSERT_TRUE(rescaleTo("50", folder + "copy.png"));
  EXPECT_NEAR(written(folder + "copy.map"), 2 * written(folder + "open.map"), 0.1);
}

TEST_F(SavedCopyTest, PointsGoAlong) {
  Calibration map = linearMap(100, 80, 5, 50, 1e-4);
  placeTiePoints(map, {{0, 0}, {99, 79}, {99, 0}, {31, 79}, {-7, 200}});
  openMade(map);
  ASSERT_TRUE(rescaleTo("50", folder + "copy.png"));
  open(folder + "copy.map");
  const auto pixels = [] {
    std::string text;
    for (int i = 1; i <= calibration.pointCount; ++i) {
      text += std::to_string(calibration.pixelX[i]) + "," + std::to_string(calibration.pixelY[i]) + " ";
    }
    return text;
  };
  EXPECT_EQ(pixels(), "0,0 49,39 49,0 15,39 -4,100 ");  // -7: (-7 + 0.5) / 2 - 0.5 = -3.75 lies nearest to -4
  open(folder + "open.map");
  ASSERT_TRUE(cropTo({10, 20, 90, 60}, folder + "copy.png"));
  open(folder + "copy.map");
  EXPECT_EQ(pixels(), "-10,-20 89,59 89,-20 21,59 -17,180 ");

  open(folder + "open.map");
  calibration.pixelX[5] = -46340;  // can be fitted here, but not a column further out
  ASSERT_TRUE(cropTo({1, 0, 100, 80}, folder + "copy.png"));
  open(folder + "copy.map");
  EXPECT_EQ(pixels(), "-1,0 98,79 98,0 30,79 ");
  EXPECT_NE(person.panel.find("Points left out, they lie too far outside the map: 5"), std::string::npos);
}

TEST_F(SavedCopyTest, TheOpenMapStaysAsItIs) {
  openMade(linearMap(100, 80, 5, 50, 1e-4, 12), picture(100, 80, 1));
  preferences.warnOverwrite = true;
  writeTestFile(folder + "there.png", "picture");
  writeTestFile(folder + "there.map", "calibration");
  const std::string openFiles = contentOf(folder + "open.png") + contentOf(folder + "open.map");
  const std::string there = folder + "there.png";
  const std::string scale = "scale percentage must be 10 to 90";
  const std::string inside = "The part to keep must lie inside the map";
  const std::string belongs = "\nIt belongs to the open map, which stays as it is";
  struct Row {
    const char* name;
    std::optional<std::string> percentage;
    std::optional<PixelRectangle> part;
    std::string path;
    std::vector<Answer> boxes;
    std::vector<std::string> texts;
    std::string done;
  };
  const Row rows[] = {
      {"cancelled", {}, {}, "", {}, {}, ""},
      {"too small", "9.9", {}, "", {}, {scale}, ""},
      {"too large", "91", {}, "", {}, {scale}, ""},
      {"no number", "half", {}, "", {}, {scale}, ""},
      {"past all numbers", "1e999", {}, "", {}, {scale}, ""},
      {"no name", "50", {}, "", {}, {}, ""},
      {"past the right edge", {}, PixelRectangle{1, 1, 101, 80}, "", {}, {inside}, ""},
      {"left of the map", {}, PixelRectangle{-1, 1, 50, 50}, "", {}, {inside}, ""},
      {"empty", {}, PixelRectangle{10, 10, 10, 50}, "", {}, {inside}, ""},
      {"picture kept", "50", {}, there, {Answer::cancel}, {"OK to overwrite " + there}, ""},
      {"calibration kept",
       "50",
       {},
       there,
       {Answer::ok, Answer::cancel},
       {"OK to overwrite " + there, "OK to overwrite " + folder + "there.map"},
       ""},
      {"no such folder", "50", {}, folder + "none/x.png", {}, {"unable to save " + folder + "none/x.png"}, ""},
      {"itself",
       {},
       PixelRectangle{0, 0, 9, 9},
       folder + "open.png",
       {Answer::ok, Answer::ok},
       {"OK to overwrite " + folder + "open.png", "OK to overwrite " + folder + "open.map",
        "unable to save " + folder + "open.png" + belongs},
       ""},
      {"rescaled", "50", {}, folder + "small", {}, {}, "Done rescaling\r\n"},
      {"cropped", {}, PixelRectangle{99, 79, 100, 80}, folder + "dot.png", {}, {}, "Done cropping\r\n"},
  };
  for (const Row& row : rows) {
    const Calibration before = calibration;
    const Driver driverBefore = driver;
    person.typedTexts = {row.percentage};
    person.rectangles = {row.part};
    person.pickedFiles = {row.path};
    person.boxAnswers.assign(row.boxes.begin(), row.boxes.end());
    person.boxes.clear();
    EXPECT_EQ(row.percentage ? rescaleMap() : cropMap(), !row.done.empty()) << row.name;
    EXPECT_EQ(person.boxTexts(), row.texts) << row.name;
    EXPECT_TRUE(person.panel.ends_with(row.done)) << row.name;
    EXPECT_EQ(calibration.imagePath, before.imagePath) << row.name;
    EXPECT_EQ(calibration.imageWidth, before.imageWidth) << row.name;
    EXPECT_EQ(calibration.pointCount, before.pointCount) << row.name;
    EXPECT_EQ(calibration.pixelX[3], before.pixelX[3]) << row.name;
    EXPECT_EQ(calibration.tf2, before.tf2) << row.name;
    EXPECT_EQ(driver.inputPath, driverBefore.inputPath) << row.name;
    EXPECT_EQ(driver.metresPerPixel, driverBefore.metresPerPixel) << row.name;
    EXPECT_EQ(driver.calibrationPending, driverBefore.calibrationPending) << row.name;
    EXPECT_TRUE(person.menuStates.calibratedImage) << row.name;
    EXPECT_EQ(contentOf(there) + contentOf(folder + "there.map"), "picturecalibration") << row.name;
    EXPECT_TRUE(contentOf(folder + "open.png") + contentOf(folder + "open.map") == openFiles) << row.name;
  }
  EXPECT_EQ(person.textInitials.back(), "50");
  EXPECT_EQ(imageSize(folder + "small.png")->width, 50);
}

TEST_F(SavedCopyTest, PictureFromTheClipboardIsTakenFromMemory) {
  calibration = linearMap(100, 80, 5, 50, 1e-4);
  calibration.imagePath = "clip.board";
  driver.transformValid = true;
  EXPECT_FALSE(cropTo({10, 20, 50, 60}, folder + "copy.png"));
  EXPECT_EQ(person.boxTexts().back(), "Unable to load map");
  mapImage = {picture(100, 80, 1), "clip.board"};
  ASSERT_TRUE(cropTo({10, 20, 50, 60}, folder + "copy.png"));
  EXPECT_EQ(colorAt(LoadImageByExtension(folder + "copy.png"), 3, 4), colorAt(mapImage.bitmap, 13, 24));
  EXPECT_EQ(calibration.imagePath, "clip.board");
}

}  // namespace
}  // namespace vellandra
