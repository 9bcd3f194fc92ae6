#include "ui/viewer/map_canvas_grid.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include "calibration/transform.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr int mostLines = 400;  ///< of either kind: a map with absurd points must not hang the window

struct Rectangle {
  double left, top, right, bottom;
};

struct Extent {
  double south, north, west, east;
};

Rectangle seenPart(const Calibration& map, const MapView& view) {
  const ViewPoint topLeft = view.toImage(0, 0);
  const ViewPoint bottomRight = view.toImage(view.windowWidth(), view.windowHeight());
  return {std::max(topLeft.x, 0.0), std::max(topLeft.y, 0.0),
          std::min(bottomRight.x, static_cast<double>(map.imageWidth)),
          std::min(bottomRight.y, static_cast<double>(map.imageHeight))};
}

/// Both models are straight along the edges, so the corners hold the extremes. Pixel centres are half a pixel in.
Extent extentOf(const Calibration& map, const Rectangle& part) {
  Extent extent{INFINITY, -INFINITY, INFINITY, -INFINITY};
  for (const double x : {part.left, part.right}) {
    for (const double y : {part.top, part.bottom}) {
      const Position position = positionAt(map, x - 0.5, y - 0.5);
      extent.south = std::min(extent.south, position.latitude);
      extent.north = std::max(extent.north, position.latitude);
      extent.west = std::min(extent.west, position.longitude);
      extent.east = std::max(extent.east, position.longitude);
    }
  }
  return extent;
}

/// The smallest round step of at least `least` degrees.
double roundStep(double least, DegreeFormat format) {
  if (format != DegreeFormat::decimalDegrees) {
    constexpr std::array<double, 22> seconds = {
        1,   2,    5,    10,   15,   20,       30,        60,        120,       300,       600,
        900, 1200, 1800, 3600, 7200, 5 * 3600, 10 * 3600, 15 * 3600, 30 * 3600, 45 * 3600, 90 * 3600};
    if (least * 3600 > 0.5) {
      for (const double step : seconds) {
        if (step >= least * 3600) return step / 3600;
      }
      return 90;
    }
  }
  const double power = std::pow(10, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= least) return factor * power;
  }
  return 10 * power;
}

std::string zeros(int count) {
  return std::string(static_cast<std::size_t>(std::max(count, 0)), '0');
}

/// "51.25° N", "51° 30' N" or "51° 30' 15" N", with no more parts and decimals than the step needs.
std::string labelOf(double angle, double step, bool isLatitude, DegreeFormat format) {
  const char* hemisphere = isLatitude ? (angle < 0 ? " S" : " N") : (angle < 0 ? " W" : " E");
  const double size = std::abs(angle);
  const auto decimals = [](double smallest) { return static_cast<int>(std::ceil(-std::log10(smallest) - 1e-9)); };
  if (format == DegreeFormat::decimalDegrees) {
    const int places = decimals(step);
    return formatNumber(size, places > 0 ? "0." + zeros(places) : "0") + "\u00B0" + (size == 0 ? "" : hemisphere);
  }
  const int places = std::max(0, decimals(step * 3600));
  const double unit = std::pow(10, places);
  const double units = std::round(size * 3600 * unit);
  const double degrees = std::floor(units / (3600 * unit));
  const double minutes = std::floor(std::fmod(units, 3600 * unit) / (60 * unit));
  const double seconds = std::fmod(units, 60 * unit) / unit;
  std::string text = formatNumber(degrees, "0") + "\u00B0";
  if (step < 1) text += " " + formatNumber(minutes, "00") + "'";
  if (step * 60 < 1) text += " " + formatNumber(seconds, places > 0 ? "00." + zeros(places) : "00") + "\"";
  return text + (units == 0 ? "" : hemisphere);
}

/// The part of the segment inside `box` (Liang and Barsky's method).
std::optional<std::array<ViewPoint, 2>> clipped(ViewPoint from, ViewPoint to, const Rectangle& box) {
  double enter = 0;
  double leave = 1;
  const double dx = to.x - from.x;
  const double dy = to.y - from.y;
  const std::array<std::array<double, 2>, 4> edges = {
      {{-dx, from.x - box.left}, {dx, box.right - from.x}, {-dy, from.y - box.top}, {dy, box.bottom - from.y}}};
  for (const auto& [towards, distance] : edges) {
    if (towards == 0) {
      if (distance < 0) return std::nullopt;
      continue;
    }
    (towards < 0 ? enter : leave) =
        towards < 0 ? std::max(enter, distance / towards) : std::min(leave, distance / towards);
  }
  if (!(enter < leave)) return std::nullopt;
  return std::array<ViewPoint, 2>{ViewPoint{from.x + enter * dx, from.y + enter * dy},
                                  ViewPoint{from.x + leave * dx, from.y + leave * dy}};
}

ViewPoint middleOfPixel(const Pixel& pixel) {
  return {pixel.x + 0.5, pixel.y + 0.5};
}

}  // namespace

std::vector<GridLine> gridLines(const Calibration& map, const MapView& view, DegreeFormat format, double spacing) {
  std::vector<GridLine> lines;
  const Rectangle part = seenPart(map, view);
  if (!isReversible(map) || part.left >= part.right || part.top >= part.bottom) return lines;
  const Extent extent = extentOf(map, part);

  const auto addLines = [&](bool isLatitude, double low, double high, double from, double to) {
    const double perPixel = isLatitude ? std::hypot(map.tf2, map.tf4) : std::hypot(map.tf1, map.tf3);
    const double least = perPixel / view.scale() * spacing;
    if (!(std::isfinite(low) && std::isfinite(high) && least > 1e-10)) return;
    const double step = roundStep(least, format);
    const double first = std::ceil(low / step);
    for (int i = 0; i < mostLines && (first + i) * step <= high; ++i) {
      const double angle = (first + i) * step;
      const Pixel start = isLatitude ? pixelAt(map, angle, from) : pixelAt(map, from, angle);
      const Pixel end = isLatitude ? pixelAt(map, angle, to) : pixelAt(map, to, angle);
      const auto inside = clipped(middleOfPixel(start), middleOfPixel(end), part);
      if (!inside) continue;
      lines.push_back({isLatitude, angle, view.toWindow((*inside)[0].x, (*inside)[0].y),
                       view.toWindow((*inside)[1].x, (*inside)[1].y),
                       labelOf(isLatitude ? angle : withinHalfTurn(angle), step, isLatitude, format)});
    }
  };
  addLines(true, extent.south, extent.north, extent.west, extent.east);
  addLines(false, extent.west, extent.east, extent.north, extent.south);
  return lines;
}

}  // namespace vellandra
