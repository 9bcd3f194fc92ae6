#include "calibration/map_grid.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr int mostLines = 400;  ///< of either kind: a map with absurd points must not hang the window
constexpr int edgeParts = 8;    ///< of an edge, between which the grid is straight enough to find its extent

/// A map and a grid, either to the other.
class GridOnMap {
 public:
  GridOnMap(const Calibration& map, const GridProjection& grid, const ImagePart& part)
      : map_(map),
        grid_(grid),
        middleLongitude_(
            positionAt(map, (part.left + part.right) / 2 - 0.5, (part.top + part.bottom) / 2 - 0.5).longitude) {}

  GridPosition onGrid(double x, double y) const {
    return grid_.toGrid(grid_.fromWgs84(positionAt(map_, x - 0.5, y - 0.5)));
  }
  /// A map across 180 degrees goes on past them.
  Pixel inImage(const GridPosition& place) const {
    const Position position = grid_.toWgs84(grid_.fromGrid(place));
    const double turns = std::round((middleLongitude_ - position.longitude) / 360);
    const Pixel pixel = pixelAt(map_, position.latitude, position.longitude + (grid_.isInMetres() ? 360 * turns : 0));
    return {pixel.x + 0.5, pixel.y + 0.5};
  }

 private:
  const Calibration& map_;
  const GridProjection& grid_;
  double middleLongitude_;
};

struct Extent {
  double south = INFINITY, north = -INFINITY, west = INFINITY, east = -INFINITY;
};

/// The extremes lie on the edges, as neither way has any inside.
Extent extentOf(const GridOnMap& grid, const ImagePart& part) {
  Extent extent;
  const auto take = [&](double x, double y) {
    const GridPosition place = grid.onGrid(x, y);
    extent.south = std::min(extent.south, place.northing);
    extent.north = std::max(extent.north, place.northing);
    extent.west = std::min(extent.west, place.easting);
    extent.east = std::max(extent.east, place.easting);
  };
  for (int i = 0; i <= edgeParts; ++i) {
    const double x = part.left + (part.right - part.left) * i / edgeParts;
    const double y = part.top + (part.bottom - part.top) * i / edgeParts;
    take(x, part.top);
    take(x, part.bottom);
    take(part.left, y);
    take(part.right, y);
  }
  return extent;
}

/// Further out the series of the projections lead astray.
bool isOnGrid(const Extent& extent, EntryGrid grid) {
  const bool utm = grid == EntryGrid::utm;
  const double west = utm ? -2000000 : -600000, east = utm ? 3000000 : 1300000;
  const double south = utm ? -9000000 : -600000, north = utm ? 19000000 : 1800000;
  return extent.west > west && extent.east < east && extent.south > south && extent.north < north;
}

double decimalStep(double least) {
  const double power = std::pow(10, std::floor(std::log10(least)));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power >= least) return factor * power;
  }
  return 10 * power;
}

/// The smallest step of printed maps of at least `least` degrees.
double degreeStep(double least) {
  constexpr std::array<double, 17> seconds = {
      1, 2, 5, 10, 30, 60, 120, 300, 600, 1800, 3600, 7200, 5 * 3600, 10 * 3600, 30 * 3600, 45 * 3600, 90 * 3600};
  if (least * 3600 <= 0.5) return decimalStep(least);
  for (const double step : seconds) {
    if (step >= least * 3600) return step / 3600;
  }
  return 90;
}

std::string zeros(int count) {
  return std::string(static_cast<std::size_t>(std::max(count, 0)), '0');
}

/// "51.25° N", "51° 30' N" or "51° 30' 15" N", with no more parts and decimals than the step needs.
std::string labelOf(double angle, double step, bool isLatitude, DegreeFormat format) {
  const char* hemisphere = isLatitude ? (angle < 0 ? " S" : " N") : (angle < 0 ? " W" : " E");
  const double size = std::abs(angle);
  const auto decimals = [](double smallest) { return static_cast<int>(std::ceil(-std::log10(smallest) - 1e-9)); };
  constexpr double halfDegree = 0.5, second = 1.0 / 3600;
  if (format == DegreeFormat::decimalDegrees && (step >= halfDegree || step < second)) {
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

/// "355 km N", with as many decimals as the step needs.
std::string kilometreLabel(double metres, double step, bool isNorthing) {
  constexpr double kilometre = 1000;
  const int places = static_cast<int>(std::ceil(-std::log10(step / kilometre) - 1e-9));
  return formatNumber(metres / kilometre, places > 0 ? "0." + zeros(places) : "0") + (isNorthing ? " km N" : " km E");
}

/// The part of the segment inside `box` (Liang and Barsky's method).
std::optional<std::array<Pixel, 2>> clipped(const Pixel& from, const Pixel& to, const ImagePart& box) {
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
  return std::array<Pixel, 2>{Pixel{from.x + enter * dx, from.y + enter * dy},
                              Pixel{from.x + leave * dx, from.y + leave * dy}};
}

double distanceFromLine(const Pixel& point, const Pixel& from, const Pixel& to) {
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  const double area = (to.x - from.x) * (point.y - from.y) - (to.y - from.y) * (point.x - from.x);
  return length > 0 ? std::abs(area) / length : std::hypot(point.x - from.x, point.y - from.y);
}

/// A grid line as straight pieces inside a part of the image.
struct Tracer {
  const GridOnMap& grid;
  const ImagePart& part;
  double tolerance;
  bool isNorthing;
  double value;
  std::vector<std::array<Pixel, 2>> pieces;

  Pixel at(double along) const {
    return grid.inImage(isNorthing ? GridPosition{along, value} : GridPosition{value, along});
  }
  void trace(double from, const Pixel& start, double to, const Pixel& end, int depth) {
    constexpr int deepest = 8;
    const double middle = (from + to) / 2;
    const Pixel half = at(middle);
    const double bend =
        std::max({distanceFromLine(half, start, end), distanceFromLine(at((from + middle) / 2), start, end),
                  distanceFromLine(at((middle + to) / 2), start, end)});
    if (bend > tolerance && depth < deepest) {
      trace(from, start, middle, half, depth + 1);
      trace(middle, half, to, end, depth + 1);
    } else if (const auto inside = clipped(start, end, part)) {
      pieces.push_back(*inside);
    }
  }
};

}  // namespace

std::vector<GridLine> gridLines(const Calibration& map, const GridProjection& projection, const ImagePart& part,
                                double spacing, double tolerance, DegreeFormat format) {
  std::vector<GridLine> lines;
  if (!isReversible(map) || part.left >= part.right || part.top >= part.bottom) return lines;
  const GridOnMap grid(map, projection, part);
  const Extent extent = extentOf(grid, part);
  const bool metres = projection.isInMetres();
  if (metres && !isOnGrid(extent, projection.grid().grid)) {
    return gridLines(map, GridProjection({.datum = projection.grid().datum}), part, spacing, tolerance, format);
  }
  const double x = (part.left + part.right) / 2, y = (part.top + part.bottom) / 2;
  const GridPosition middle = grid.onGrid(x, y), right = grid.onGrid(x + 1, y), below = grid.onGrid(x, y + 1);

  const auto addLines = [&](bool isNorthing, double low, double high, double from, double to) {
    const double perPixel = isNorthing ? std::hypot(right.northing - middle.northing, below.northing - middle.northing)
                                       : std::hypot(right.easting - middle.easting, below.easting - middle.easting);
    const double least = perPixel * spacing;
    if (!(std::isfinite(low) && std::isfinite(high) && least > 1e-10)) return;
    const double step = metres ? decimalStep(least) : degreeStep(least);
    const double first = std::ceil(low / step);
    for (int i = 0; i < mostLines && (first + i) * step <= high; ++i) {
      const double value = (first + i) * step;
      Tracer tracer{grid, part, tolerance, isNorthing, value, {}};
      tracer.trace(from, tracer.at(from), to, tracer.at(to), 0);
      if (tracer.pieces.empty()) continue;
      const double angle = isNorthing ? value : withinHalfTurn(value);
      lines.push_back({isNorthing, value, std::move(tracer.pieces),
                       metres ? kilometreLabel(value, step, isNorthing) : labelOf(angle, step, isNorthing, format)});
    }
  };
  // A curved edge may reach a little further between the places looked at.
  const double margin = metres ? 0.01 : 0;
  const double across = margin * (extent.east - extent.west), up = margin * (extent.north - extent.south);
  addLines(true, extent.south - up, extent.north + up, extent.west - across, extent.east + across);
  addLines(false, extent.west - across, extent.east + across, extent.north + up, extent.south - up);
  return lines;
}

}  // namespace vellandra
