#include "ui/viewer/map_canvas_line.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vellandra {
namespace {

std::uint32_t mixed(std::uint32_t under, std::uint32_t over, unsigned weight) {
  const unsigned rest = 256 - weight;
  const std::uint32_t redBlue = ((under & 0xff00ffU) * rest + (over & 0xff00ffU) * weight) >> 8U;
  const std::uint32_t green = ((under & 0xff00U) * rest + (over & 0xff00U) * weight) >> 8U;
  return 0xff000000U | (redBlue & 0xff00ffU) | (green & 0xff00U);
}

/// A line along its longer direction u; of the other one, v, it covers `half` to either side of its middle.
struct Course {
  double u1, v1, slope, half;
  double middleAt(double u) const { return v1 + (u - u1) * slope; }
};

/// A whole number of pixels, within a frame's side.
int wholeWithin(double value, int low, int high) {
  return static_cast<int>(std::clamp(value, static_cast<double>(low), static_cast<double>(high)));
}

/// Pixels of a row between `from` and `to`, the outermost as far as they are covered.
void coverRun(std::uint32_t* row, double from, double to, const LineStyle& style) {
  const auto cover = [&](int x, double part) {
    row[x] = mixed(row[x], style.color, static_cast<unsigned>(part * style.opacity * 256));
  };
  const int first = static_cast<int>(from), last = static_cast<int>(to);
  if (first == last) return cover(first, to - from);
  cover(first, first + 1 - from);
  for (int x = first + 1; x < last; ++x) cover(x, 1);
  if (to > last) cover(last, to - last);
}

/// Rows from `first` to `end` of a line that is steeper than wide.
void drawSteep(const Frame& frame, const Course& line, int first, int end, const LineStyle& style) {
  for (int y = first; y < end; ++y) {
    const double middle = line.middleAt(y + 0.5);
    const double from = std::max(middle - line.half, 0.0);
    const double to = std::min(middle + line.half, static_cast<double>(frame.width));
    if (from < to) coverRun(frame.pixels + y * frame.stride, from, to, style);
  }
}

/// Columns from `first` to `end` of a line that is wider than steep; row by row, as the pixels lie in memory.
void drawFlat(const Frame& frame, const Course& line, int first, int end, const LineStyle& style) {
  const double start = line.middleAt(first), stop = line.middleAt(end);
  const int top = wholeWithin(std::min(start, stop) - line.half - 1, 0, frame.height);
  const int bottom = wholeWithin(std::max(start, stop) + line.half + 1, 0, frame.height);
  const auto half = static_cast<float>(line.half), slope = static_cast<float>(line.slope);
  const auto weight = static_cast<float>(style.opacity * 256);
  for (int y = top; y < bottom; ++y) {
    int left = first, right = end;
    if (line.slope != 0) {
      const double a = line.u1 + (y - line.half - line.v1) / line.slope;
      const double b = line.u1 + (y + 1 + line.half - line.v1) / line.slope;
      left = wholeWithin(std::min(a, b) - 1, first, end);
      right = wholeWithin(std::max(a, b) + 1, first, end);
    }
    std::uint32_t* row = frame.pixels + y * frame.stride + left;
    const auto offset = static_cast<float>(line.middleAt(left + 0.5) - y);
    for (int i = 0; i < right - left; ++i) {
      const float middle = offset + static_cast<float>(i) * slope;
      const float covered = std::min(middle + half, 1.0F) - std::max(middle - half, 0.0F);
      row[i] = mixed(row[i], style.color, static_cast<unsigned>(static_cast<int>(std::max(covered, 0.0F) * weight)));
    }
  }
}

}  // namespace

void drawLine(const Frame& frame, ViewPoint from, ViewPoint to, const LineStyle& style) {
  const bool steep = std::abs(to.y - from.y) > std::abs(to.x - from.x);
  double u1 = steep ? from.y : from.x, v1 = steep ? from.x : from.y;
  double u2 = steep ? to.y : to.x, v2 = steep ? to.x : to.y;
  if (u1 > u2) {
    std::swap(u1, u2);
    std::swap(v1, v2);
  }
  if (!(u2 > u1) || !std::isfinite(u2 - u1) || !std::isfinite(v2 - v1)) return;
  const double slope = (v2 - v1) / (u2 - u1);
  const Course line{u1, v1, slope, style.width / 2 * std::hypot(1.0, slope)};
  // Where it crosses the frame's own range of v, so that a line beside a low frame costs nothing.
  double start = u1, stop = u2;
  const double lowest = -line.half - 1, highest = (steep ? frame.width : frame.height) + line.half + 1;
  if (slope != 0) {
    const double a = u1 + (lowest - v1) / slope, b = u1 + (highest - v1) / slope;
    start = std::max(start, std::min(a, b) - 1);
    stop = std::min(stop, std::max(a, b) + 1);
  } else if (v1 < lowest || v1 > highest) {
    return;
  }
  const int endOfU = steep ? frame.height : frame.width;
  const int first = wholeWithin(std::floor(start), 0, endOfU), end = wholeWithin(std::ceil(stop), 0, endOfU);
  if (first < end) (steep ? drawSteep : drawFlat)(frame, line, first, end, style);
}

}  // namespace vellandra
