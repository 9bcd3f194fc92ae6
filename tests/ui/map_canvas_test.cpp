#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "ui/viewer/map_canvas_crop.h"
#include "ui/viewer/map_canvas_line.h"
#include "ui/viewer/map_canvas_pyramid.h"
#include "ui/viewer/map_canvas_rows.h"
#include "ui/viewer/map_canvas_view.h"

namespace vellandra {
namespace {

MapView viewOf(int width, int height) {
  MapView view;
  view.setImageSize(width, height);
  view.setWindowSize(400, 300);
  return view;
}

TEST(MapView, ZoomHoldsThePlaceUnderTheCursor) {
  MapView view = viewOf(4000, 3000);
  for (const double factor : {3.0, 1.3, 7.0, 0.8, 1.9}) {
    const ViewPoint before = view.toImage(150, 120);
    view.zoomAt(150, 120, factor);
    const ViewPoint after = view.toImage(150, 120);
    EXPECT_NEAR(before.x, after.x, 1e-9);
    EXPECT_NEAR(before.y, after.y, 1e-9);
  }
  view.zoomAt(0, 0, 1e9);
  EXPECT_EQ(view.scale(), MapView::largestScale);
  view.zoomAt(0, 0, 1e-9);
  EXPECT_EQ(view.scale(), view.fittedScale()) << "smaller than the window is no use";
}

TEST(MapView, ImageNeverLeavesTheWindow) {
  MapView view = viewOf(4000, 3000);
  view.full();
  for (const double way : {1e6, -1e6}) {
    view.panBy(way, way);
    const ViewPoint corner = way > 0 ? view.toWindow(0, 0) : view.toWindow(4000, 3000);
    EXPECT_NEAR(corner.x, 200, 1e-6) << "the corner comes as far as the middle, so that it can be marked";
    EXPECT_NEAR(corner.y, 150, 1e-6);
  }
  view.fit();
  EXPECT_NEAR(view.toWindow(0, 0).x, 0, 1) << "centred";
  EXPECT_NEAR(view.toWindow(4000, 3000).y, 300, 1);
  view.setFitMargin(20);
  view.fit();
  EXPECT_NEAR(view.toWindow(0, 0).y, 20, 1) << "room for a mark at the edge";
  view.setFitMargin(0);
  view.setWindowSize(800, 600);
  EXPECT_DOUBLE_EQ(view.scale(), 0.2) << "a fitted map follows the window";
  view.full();
  const ViewPoint middle = view.toImage(400, 300);
  view.setWindowSize(500, 900);
  EXPECT_NEAR(view.toImage(250, 450).x, middle.x, 1e-9) << "another keeps its middle";
}

TEST(MapView, BringingToTheMiddleMovesOnlyWhatIsNotInSight) {
  const struct {
    const char* name;
    int width, height;
    double zoom, x, y;        // the pixel to bring there
    double acrossAt, downAt;  // where it is then in the window of 400 x 300
  } rows[] = {
      {"the whole map is in sight", 4000, 2000, 1, 400, 200, 40, 70},
      {"smaller than the window", 100, 100, 0.1, 0, 0, 150, 100},
      {"higher and wider than the window", 4000, 2000, 3, 400, 200, 200, 150},
      {"wider only", 4000, 500, 2, 400, 100, 200, 120},
      {"higher only", 500, 4000, 2, 100, 400, 177.5, 150},
  };
  for (const auto& row : rows) {
    MapView view = viewOf(row.width, row.height);
    view.zoomAt(200, 150, row.zoom);
    view.bringToMiddle(row.x, row.y);
    EXPECT_NEAR(view.toWindow(row.x, row.y).x, row.acrossAt, 1) << row.name;
    EXPECT_NEAR(view.toWindow(row.x, row.y).y, row.downAt, 1) << row.name;
  }
}

/// A smooth picture, so that an average over any neighbourhood is about the colour of its middle.
Bitmap ramp(int width, int height) {
  Bitmap image = allocate24Bits(width, height);
  for (int y = 0; y < height; ++y) {
    const auto row = image.row(y);
    for (int x = 0; x < width; ++x) {
      row[static_cast<std::size_t>(3 * x)] = static_cast<std::uint8_t>(255 * x / width);
      row[static_cast<std::size_t>(3 * x + 1)] = static_cast<std::uint8_t>(255 * y / height);
      row[static_cast<std::size_t>(3 * x + 2)] = 77;
    }
  }
  return image;
}

TEST(ImagePyramid, FrameShowsEveryPlaceInItsPlaceAtAnyScale) {
  constexpr int width = 701, height = 503;  // odd sizes: the halves are rounded up
  constexpr std::uint32_t background = 0xff123456;
  const Bitmap image = ramp(width, height);
  const ImagePyramid pyramid(image);
  std::vector<std::uint32_t> pixels(300 * 200), narrow(pixels.size());
  for (const double scale : {0.015, 0.11, 0.25, 0.3, 0.5, 0.77, 0.999, 1.0, 1.7, 20.0}) {
    for (const double left : {0.0, 13.4, -120.7, -410.2, 250.0}) {
      pyramid.draw({left, left / 2, scale}, {pixels.data(), 300, 200, 300}, background);
      const bool had = std::exchange(wideInstructions, false);
      pyramid.draw({left, left / 2, scale}, {narrow.data(), 300, 200, 300}, background);
      wideInstructions = had;
      ASSERT_EQ(pixels, narrow) << scale << " " << left << ": the same on any processor";
      for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 300; ++x) {
          const double u = (x + 0.5 - left) / scale, v = (y + 0.5 - left / 2) / scale;
          const std::uint32_t pixel = pixels[static_cast<std::size_t>(y * 300 + x)];
          if (u < 0 || v < 0 || u >= width || v >= height) {
            ASSERT_EQ(pixel, background) << scale << " " << left << " at " << x << " " << y;
            continue;
          }
          // Towards the edges of a strongly reduced map the outermost average stands for half a level's pixel.
          const double slack = 3 + 1.5 / scale * 255 / height;
          ASSERT_NEAR(pixel & 0xffU, 255 * u / width, slack) << scale << " " << left << " at " << x << " " << y;
          ASSERT_NEAR(pixel >> 8U & 0xffU, 255 * v / height, slack) << scale << " " << left;
          ASSERT_NEAR(pixel >> 16U & 0xffU, 77, 2) << scale << " " << left;
        }
      }
    }
  }
  EXPECT_LT(static_cast<double>(pyramid.extraBytes()), 0.35 * 3 * width * height);
}

TEST(ImagePyramid, EdgeLiesWhereItIsToAFractionOfAPixel) {
  Bitmap image = allocate24Bits(701, 40);
  for (int y = 0; y < image.height(); ++y) {
    const auto row = image.row(y);
    std::fill(row.begin() + 3 * 350, row.end(), std::uint8_t{255});
  }
  const ImagePyramid pyramid(image);
  std::vector<std::uint32_t> pixels(300);
  for (const double scale : {0.3, 0.77, 1.0, 3.0}) {
    double found = 0, expected = 0;
    for (const double part : {0.0, 0.25, 0.5, 0.75}) {
      const double left = 150 + part - 350 * scale;
      pyramid.draw({left, -4, scale}, {pixels.data(), 300, 1, 300}, 0xffffffff);
      for (int x = 100; x < 200; ++x) found += (pixels[static_cast<std::size_t>(x)] & 0xffU) / 255.0 / 4;
      expected += (50 - part) / 4;
    }
    EXPECT_NEAR(found, expected, scale < 1 ? 0.1 : 0.13) << scale;
  }
}

TEST(MapCanvasLine, StaysInsideTheFrameAndOnItsWay) {
  std::vector<std::uint32_t> pixels(22 * 20, 0xff000000);
  const Frame frame{pixels.data() + 1, 20, 20, 22};  // a column more on either side, which must stay as it is
  drawLine(frame, {-50, 10.5}, {70, 10.5}, {1, 0xffffff, 1});
  drawLine(frame, {-5, -30}, {-5, 60}, {3, 0xffffff, 1});
  drawLine(frame, {100, -1e9}, {-1e9, 100}, {3, 0xffffff, 1});
  for (int y = 0; y < 20; ++y) {
    for (int x = -1; x <= 20; ++x) {
      const bool onLine = y == 10 && x >= 0 && x < 20;
      EXPECT_EQ(frame.pixels[y * 22 + x], onLine ? 0xffffffffU : 0xff000000U) << x << " " << y;
    }
  }
}

TEST(CropRectangle, StaysInsideTheImageHoweverItIsDrawn) {
  CropRectangle crop(100, 80);
  crop.draw(60, 70, -20, 300);
  EXPECT_EQ(crop.pixels(), (PixelRectangle{0, 70, 60, 80}));
  crop.draw(99.9, 79.9, 99.9, 79.9);
  EXPECT_EQ(crop.pixels(), (PixelRectangle{99, 79, 100, 80})) << "at least one pixel";
  crop.draw(20, 30, 50, 60);
  const PixelRectangle start = crop.pixels();
  const struct {
    const char* name;
    double x, y, dx, dy;
    PixelRectangle after;
  } rows[] = {
      {"inside moves the whole, up to the edge", 35, 45, -1000, 5, {0, 35, 30, 65}},
      {"left edge", 19, 45, 7, 100, {27, 30, 50, 60}},
      {"corner", 51, 61, 10, 1000, {20, 30, 60, 80}},
      {"edge drawn past the other one", 20, 45, 60, 0, {50, 30, 80, 60}},
  };
  for (const auto& row : rows) {
    crop.set(start);
    crop.drag(start, crop.gripAt(row.x, row.y, 2), row.dx, row.dy);
    EXPECT_EQ(crop.pixels(), row.after) << row.name;
  }
  EXPECT_FALSE(crop.gripAt(5, 5, 2).any());
}

}  // namespace
}  // namespace vellandra
