#include "imaging/merge_sides.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration/transform.h"

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
  double low, high;
};

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

Canvas proposedCanvas(const MergeSides& sides) {
  // Both models are monotone in latitude and longitude, so the corners reach furthest also where edges are curved.
  Range columns{0, 0};
  Range rows{0, 0};
  for (const double x : {0.0, static_cast<double>(sides.b.imageWidth)}) {
    for (const double y : {0.0, static_cast<double>(sides.b.imageHeight)}) {
      double latitude = 0, longitude = 0, column = 0, row = 0;
      sides.xy2llb(x, y, latitude, longitude);
      sides.ll2xya(latitude, longitude, column, row);
      columns = {std::fmin(columns.low, column), std::fmax(columns.high, column)};
      rows = {std::fmin(rows.low, row), std::fmax(rows.high, row)};
    }
  }
  Canvas canvas;
  grow(sides.a.imageWidth, columns, canvas.left, canvas.width);
  grow(sides.a.imageHeight, rows, canvas.top, canvas.height);
  return canvas;
}

Bitmap enlarge(const Bitmap& base, const Canvas& canvas) {
  Bitmap image = allocate24Bits(canvas.width, canvas.height, markerColor);
  if (!image) return {};
  // The canvas is shifted by whole pixels, so the way through positions and back leads from row to row.
  const auto bytes = static_cast<std::ptrdiff_t>(3) * base.width();
  for (int y = 0; y < base.height(); ++y) {
    std::copy_n(base.row(y).begin(), bytes, image.row(y + canvas.top).begin() + std::ptrdiff_t{3} * canvas.left);
  }
  return image;
}

}  // namespace vellandra
