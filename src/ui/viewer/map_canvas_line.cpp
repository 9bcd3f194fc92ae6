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

}  // namespace

void drawLine(const Frame& frame, ViewPoint from, ViewPoint to, const LineStyle& style) {
  const bool steep = std::abs(to.y - from.y) > std::abs(to.x - from.x);
  // Along the longer direction u, one pixel at a time, the line covers a few pixels of v.
  double u1 = steep ? from.y : from.x, v1 = steep ? from.x : from.y;
  double u2 = steep ? to.y : to.x, v2 = steep ? to.x : to.y;
  if (u1 > u2) {
    std::swap(u1, u2);
    std::swap(v1, v2);
  }
  if (!(u2 > u1) || !std::isfinite(u2 - u1) || !std::isfinite(v2 - v1)) return;
  const double slope = (v2 - v1) / (u2 - u1);
  const int endOfU = steep ? frame.height : frame.width;
  const int endOfV = steep ? frame.width : frame.height;
  const double half = style.width / 2 * std::hypot(1.0, slope);
  // Where it crosses the frame's own range of v, so that a line beside a low frame costs nothing.
  double start = u1, stop = u2;
  const double lowest = -half - 1, highest = endOfV + half + 1;
  if (slope != 0) {
    const double a = u1 + (lowest - v1) / slope, b = u1 + (highest - v1) / slope;
    start = std::max(start, std::min(a, b) - 1);
    stop = std::min(stop, std::max(a, b) + 1);
  } else if (v1 < lowest || v1 > highest) {
    return;
  }
  const int first = static_cast<int>(std::clamp(std::floor(start), 0.0, static_cast<double>(endOfU)));
  const int end = static_cast<int>(std::clamp(std::ceil(stop), 0.0, static_cast<double>(endOfU)));
  for (int u = first; u < end; ++u) {
    const double middle = v1 + (u + 0.5 - u1) * slope;
    if (middle < lowest || middle > highest) continue;
    const int low = std::max(0, static_cast<int>(std::floor(middle - half)));
    const int high = std::min(endOfV - 1, static_cast<int>(std::floor(middle + half)));
    for (int v = low; v <= high; ++v) {
      const double covered = std::min(v + 1.0, middle + half) - std::max(static_cast<double>(v), middle - half);
      std::uint32_t& pixel = frame.pixels[steep ? u * frame.stride + v : v * frame.stride + u];
      pixel = mixed(pixel, style.color, static_cast<unsigned>(std::clamp(covered, 0.0, 1.0) * style.opacity * 256));
    }
  }
}

}  // namespace vellandra
