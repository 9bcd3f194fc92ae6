#include "imaging/merge_pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "geodesy/mercator.h"
#include "imaging/row_bands.h"

namespace vellandra {
namespace {

constexpr std::ptrdiff_t channels = 3;
constexpr int bandRows = 32;
constexpr int blockColumns = 128;

/// Rounds 0 to 255 half to even: behind this number a float has no room for a fraction.
inline float toWhole(float value) {
  constexpr float shift = 12582912;  // 1.5 · 2^23
  return (value + shift) - shift;
}

inline float lerpChannel(float c0, float c1, float t) {
  return toWhole(c1 * t + c0 * (1 - t));
}

std::uint8_t lerpByte(std::uint8_t c0, std::uint8_t c1, float t) {
  return static_cast<std::uint8_t>(lerpChannel(c0, c1, t));
}

struct Line {
  double start = 0, step = 0;
  double at(int x) const { return start + step * x; }
};

/// The place on the merge map of the pixels of one row of the canvas, and the columns that can lie on it.
struct RowPath {
  Line x, y;
  bool curved = false;  ///< `y` is a latitude, which runs along the row of a turned map and has to be projected
  int first = 0, last = -1;
};

/// Narrows `path` to the columns whose value on `line` can be within 0 to `size`, with one to spare at both ends.
void narrow(const Line& line, int size, RowPath& path) {
  if (line.step == 0) {
    if (!(line.start >= -1 && line.start <= size + 1)) path.last = path.first - 1;
    return;
  }
  const double from = -line.start / line.step;
  const double to = (size - line.start) / line.step;
  if (std::isnan(from) || std::isnan(to)) {
    path.last = path.first - 1;
    return;
  }
  const double low = path.first;
  const double high = path.last;
  path.first = static_cast<int>(std::clamp(std::floor(std::min(from, to)) - 1, low, high + 1));
  path.last = static_cast<int>(std::clamp(std::ceil(std::max(from, to)) + 1, low - 1, high));
}

/// What the pixels of a block of one row need, channel by channel, so that one plain loop does the arithmetic.
struct Block {
  template <typename T>
  using Values = std::array<T, static_cast<std::size_t>(channels* blockColumns)>;
  Values<float> fx, fy, t;
  Values<std::uint8_t> topLeft, topRight, bottomLeft, bottomRight;
};

class Painter {
 public:
  Painter(const MergeSides& sides, Bitmap& canvas, const Bitmap& merge, const Bitmap& opacity, float t)
      : sides_(sides),
        t_(t),
        width_(canvas.width()),
        mergeWidth_(merge.width()),
        mergeHeight_(merge.height()),
        curved_(!sides.a.isMercator() && sides.b.isMercator() && sides.a.tf2 != 0) {
    for (int y = 0; y < canvas.height(); ++y) canvasRows_.push_back(canvas.row(y).data());
    for (int y = 0; y < merge.height(); ++y) mergeRows_.push_back(merge.row(y).data());
    for (int y = 0; y < opacity.height(); ++y) opacityRows_.push_back(opacity.row(y).data());
  }

  /// In blocks of columns over all rows of the band: neighbouring rows meet the same part of a turned merge map.
  void paintRows(int firstRow, int lastRow) const {
    std::array<RowPath, bandRows> paths;
    int first = width_;
    int last = -1;
    for (int y = firstRow; y < lastRow; ++y) {
      const RowPath& path = paths[static_cast<std::size_t>(y - firstRow)] = pathOf(y);
      if (path.first > path.last) continue;
      first = std::min(first, path.first);
      last = std::max(last, path.last);
    }
    Block block;
    for (int x = first; x <= last; x += blockColumns) {
      for (int y = firstRow; y < lastRow; ++y) {
        const RowPath& path = paths[static_cast<std::size_t>(y - firstRow)];
        paintBlock(path, std::max(x, path.first), std::min(x + blockColumns - 1, path.last),
                   canvasRows_[static_cast<std::size_t>(y)], block);
      }
    }
  }

 private:
  /// On the merge map; not a number where there is no earth.
  void place(double x, double y, double& xm, double& ym) const {
    double latitude = 0;
    double longitude = 0;
    sides_.xy2lla(x, y, latitude, longitude);
    sides_.ll2xyb(latitude, longitude, xm, ym);
    if (std::abs(latitude) > 90) ym = std::numeric_limits<double>::quiet_NaN();
  }

  RowPath pathOf(int row) const {
    RowPath path;
    path.curved = curved_;
    path.last = width_ - 1;
    double startX = 0, startY = 0, endX = 0, endY = 0;
    place(0, row, startX, startY);
    place(width_, row, endX, endY);
    path.x = {startX, (endX - startX) / width_};
    narrow(path.x, mergeWidth_, path);
    if (curved_) {
      path.y = {sides_.a.y0 + sides_.a.tf4 * row, sides_.a.tf2};
    } else {
      path.y = {startY, (endY - startY) / width_};
      narrow(path.y, mergeHeight_, path);
    }
    return path;
  }

  double mergeRowAt(const RowPath& path, int x) const {
    const double along = path.y.at(x);
    if (!path.curved) return along;
    if (std::abs(along) > 90) return std::numeric_limits<double>::quiet_NaN();
    const Calibration& b = sides_.b;
    return (MercatorY(along) - b.mercatorTop) * b.imageHeight / (b.mercatorBottom - b.mercatorTop);
  }

  bool isOnMergeMap(const RowPath& path, int x) const {
    const double xm = path.x.at(x);
    const double ym = mergeRowAt(path, x);
    return xm >= -edgeTolerance && xm < mergeWidth_ - edgeTolerance && ym >= -edgeTolerance &&
           ym < mergeHeight_ - edgeTolerance;
  }

  void paintBlock(const RowPath& path, int first, int last, std::uint8_t* canvasRow, Block& block) const {
    while (first <= last && !isOnMergeMap(path, first)) ++first;
    while (first <= last && !isOnMergeMap(path, last)) --last;
    if (first > last) return;
    std::uint8_t* const pixels = canvasRow + channels * first;
    const int count = last - first + 1;
    for (int i = 0; i < count; ++i) gather(path, first + i, pixels + channels * i, channels * i, block);
    blend(block, channels * count, pixels);
    for (std::ptrdiff_t at = 0; at < channels * count; at += channels) {
      if (isMarkerColor(pixels + at) && block.t[static_cast<std::size_t>(at)] > 0) {
        std::fill_n(pixels + at, channels, besideMarkerColor.red);
      }
    }
  }

  const std::uint8_t* mergePixel(int column, int row) const {
    return mergeRows_[static_cast<std::size_t>(row)] + channels * column;
  }

  bool isClear(int column, int row) const {
    return !opacityRows_.empty() && opacityRows_[static_cast<std::size_t>(row)][column] == 0;
  }

  /// The four neighbours of column `x` and their weights, to `block` from `at` on.
  void gather(const RowPath& path, int x, const std::uint8_t* basePixel, std::ptrdiff_t at, Block& block) const {
    const double xm = std::max(path.x.at(x), 0.0);
    const double ym = std::max(mergeRowAt(path, x), 0.0);
    const int xi = static_cast<int>(xm);
    const int yi = static_cast<int>(ym);
    const auto fx = static_cast<float>(xm - xi);
    const auto fy = static_cast<float>(ym - yi);
    const float painted = isMarkerColor(basePixel) ? 1 : t_;
    const float t = isClear(xi, yi) ? 0 : painted;
    const int right = std::min(xi + 1, mergeWidth_ - 1);
    const int bottom = std::min(yi + 1, mergeHeight_ - 1);
    const std::uint8_t* const self = mergePixel(xi, yi);
    const auto neighbour = [&](int column, int row) { return isClear(column, row) ? self : mergePixel(column, row); };
    std::memcpy(block.topLeft.data() + at, self, channels);
    std::memcpy(block.topRight.data() + at, neighbour(right, yi), channels);
    std::memcpy(block.bottomLeft.data() + at, neighbour(xi, bottom), channels);
    std::memcpy(block.bottomRight.data() + at, neighbour(right, bottom), channels);
    std::fill_n(block.fx.data() + at, channels, fx);
    std::fill_n(block.fy.data() + at, channels, fy);
    std::fill_n(block.t.data() + at, channels, t);
  }

  static void blend(const Block& block, std::ptrdiff_t count, std::uint8_t* pixels) {
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
      const float top = lerpChannel(block.topLeft[i], block.topRight[i], block.fx[i]);
      const float bottom = lerpChannel(block.bottomLeft[i], block.bottomRight[i], block.fx[i]);
      const float sampled = lerpChannel(top, bottom, block.fy[i]);
      pixels[i] = static_cast<std::uint8_t>(lerpChannel(pixels[i], sampled, block.t[i]));
    }
  }

  const MergeSides& sides_;
  const float t_;
  const int width_, mergeWidth_, mergeHeight_;
  const bool curved_;
  std::vector<std::uint8_t*> canvasRows_;
  std::vector<const std::uint8_t*> mergeRows_;
  std::vector<const std::uint8_t*> opacityRows_;  ///< none when the merge map is opaque throughout
};

}  // namespace

void Lerp(const PixelColor& c0, const PixelColor& c1, float t, PixelColor& out) {
  out = {lerpByte(c0.red, c1.red, t), lerpByte(c0.green, c1.green, t), lerpByte(c0.blue, c1.blue, t), 0};
}

void mergePixels(const MergeSides& sides, Bitmap& canvas, const Bitmap& merge, float t, unsigned threads,
                 const Bitmap& mergeOpacity) {
  const Painter painter(sides, canvas, merge, mergeOpacity, t);
  forRowBands(canvas.height(), bandRows, threads, [&painter](int first, int last) { painter.paintRows(first, last); });
}

}  // namespace vellandra
