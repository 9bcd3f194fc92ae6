#include "imaging/merge_sides.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration/transform.h"
#include "support/threads.h"

namespace vellandra {
namespace {

constexpr double longestSide = std::numeric_limits<std::int16_t>::max();

void toPosition(const Calibration& map, double x, double y, double& latitude, double& longitude) {
  const Position position = positionAt(map, x, y);
  latitude = position.latitude;
  longitude = position.longitude;
}

void toPixel(const Calibration& map, double latitude, double longitude, double& x, double& y) {
  const Pixel pixel = pixelAt(map, latitude, longitude);
  x = pixel.x;
  y = pixel.y;
}

struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();

  void add(double value) { *this = {std::fmin(low, value), std::fmax(high, value)}; }
  bool overlaps(double from, double to) const { return low < to + edgeTolerance && high > from - edgeTolerance; }
};

struct Extent {
  Range columns, rows;
};

/// How far the part `canvas` of the map `of` reaches on the map `on`. Both models are monotone in latitude and
/// longitude, so its corners reach furthest also where edges are curved.
Extent extentOn(const Calibration& on, const Calibration& of, const Canvas& canvas) {
  Extent extent;
  for (const int x : {-canvas.left, canvas.width - canvas.left}) {
    for (const int y : {-canvas.top, canvas.height - canvas.top}) {
      const Position position = positionAt(of, x, y);
      const Pixel pixel = pixelAt(on, position.latitude, position.longitude);
      extent.columns.add(pixel.x);
      extent.rows.add(pixel.y);
    }
  }
  return extent;
}

/// Whole pixels that a side of `length` grows by before its start and behind its end to hold `range`.
void grow(int length, const Range& range, int& before, int& total) {
  // Overlapping pixel grids stay as they are, whatever the last digits of two calibrations say.
  const double room = longestSide - length;
  const double first = std::clamp(-std::floor(range.low + edgeTolerance), 0.0, room);
  const double behind = std::clamp(std::ceil(range.high - edgeTolerance) - length, 0.0, room - first);
  before = static_cast<int>(first);
  total = length + static_cast<int>(first + behind);
}

}  // namespace

void MergeSides::xy2lla(double x, double y, double& latitude, double& longitude) const {
  toPosition(a, x, y, latitude, longitude);
}
void MergeSides::xy2llb(double x, double y, double& latitude, double& longitude) const {
  toPosition(b, x, y, latitude, longitude);
}
void MergeSides::ll2xya(double latitude, double longitude, double& x, double& y) const {
  toPixel(a, latitude, longitude, x, y);
}
void MergeSides::ll2xyb(double latitude, double longitude, double& x, double& y) const {
  toPixel(b, latitude, longitude, x, y);
}

void bringLongitudesTogether(MergeSides& sides) {
  const auto centre = [](const Calibration& map) {
    return positionAt(map, map.imageWidth / 2.0, map.imageHeight / 2.0).longitude;
  };
  sides.b.x0 += 360 * std::nearbyint((centre(sides.a) - centre(sides.b)) / 360);
}

Canvas wholeMap(const Calibration& map) {
  return {map.imageWidth, map.imageHeight};
}

Canvas proposedCanvas(const MergeSides& sides) {
  const Extent extent = extentOn(sides.a, sides.b, wholeMap(sides.b));
  Canvas canvas;
  grow(sides.a.imageWidth, extent.columns, canvas.left, canvas.width);
  grow(sides.a.imageHeight, extent.rows, canvas.top, canvas.height);
  return canvas;
}

MergeMapOn mergeMapOn(const MergeSides& sides, const Canvas& canvas) {
  const Extent b = extentOn(sides.a, sides.b, wholeMap(sides.b));
  const Extent a = extentOn(sides.b, sides.a, canvas);
  const double left = -canvas.left, top = -canvas.top;
  const double right = left + canvas.width, bottom = top + canvas.height;
  // Of two four-sided figures that do not meet, an edge of one has them on its two sides.
  const bool meets = b.columns.overlaps(left, right) && b.rows.overlaps(top, bottom) &&
                     a.columns.overlaps(0, sides.b.imageWidth) && a.rows.overlaps(0, sides.b.imageHeight);
  if (!meets) return MergeMapOn::outside;
  const bool held =
      b.columns.low > left - 1 && b.columns.high < right + 1 && b.rows.low > top - 1 && b.rows.high < bottom + 1;
  return held ? MergeMapOn::inside : MergeMapOn::partly;
}

Bitmap enlarge(const Bitmap& base, const Canvas& canvas, unsigned threads) {
  constexpr int bandRows = 64;
  Bitmap image = allocateBitmap(Pixels::color24, canvas.width, canvas.height);
  if (!image) return {};
  // The canvas is shifted by whole pixels, so the way through positions and back leads from row to row.
  const auto bytes = static_cast<std::ptrdiff_t>(3) * base.width();
  forEachNumber((canvas.height + bandRows - 1) / bandRows, threads, [&](int band) {
    for (int y = band * bandRows; y < std::min((band + 1) * bandRows, canvas.height); ++y) {
      const auto row = image.row(y).first(static_cast<std::size_t>(canvas.width) * 3);
      static_assert(markerColor.red == markerColor.green && markerColor.green == markerColor.blue);
      std::ranges::fill(row, markerColor.red);
      const int from = y - canvas.top;
      if (from < 0 || from >= base.height()) continue;
      std::copy_n(base.row(from).begin(), bytes, row.begin() + std::ptrdiff_t{3} * canvas.left);
    }
  });
  return image;
}

}  // namespace vellandra
