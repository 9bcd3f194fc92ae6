#include "calibration/derived_map.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>

#include "calibration/messages.h"
#include "calibration/transform.h"
#include "geodesy/datum.h"
#include "geodesy/mercator.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr int cornerPoints = 4;

void setTransform(const Calibration& source, const PixelMapping& mapping, Calibration& map) {
  const Position origin = positionAt(source, mapping.fromX, mapping.fromY);
  map.x0 = origin.longitude;
  map.y0 = origin.latitude;
  map.tf1 *= mapping.perX;
  map.tf2 *= mapping.perX;
  map.tf3 *= mapping.perY;
  map.tf4 *= mapping.perY;
  if (!source.isMercator()) return;
  const double perRow = (source.mercatorBottom - source.mercatorTop) / source.imageHeight;
  map.mercatorTop = source.mercatorTop + perRow * mapping.fromY;
  map.mercatorBottom = map.mercatorTop + perRow * mapping.perY * map.imageHeight;
  map.tf4 = (latitudeOfMercatorY(map.mercatorBottom) - map.y0) / map.imageHeight;
}

void addPoint(Calibration& map, std::int32_t x, std::int32_t y) {
  const int slot = ++map.pointCount;
  const Position position = positionAt(map, x, y);
  map.points[slot].setPixel(x, y);
  map.points[slot].setPosition(position.latitude, position.longitude);
  map.points[slot].datumName = wgs84Name;
}

/// Within what a fit can take: its products of pixels have to fit 32 bits.
bool fits(double x, double y) {
  constexpr double furthest = 46340;
  return std::abs(x) <= furthest && std::abs(y) <= furthest;
}

bool isOnImage(const Calibration& map, double x, double y) {
  return x >= 0 && y >= 0 && x < map.imageWidth && y < map.imageHeight;
}

void carryPoints(const Calibration& source, const PixelMapping& mapping, PointsKept kept, Calibration& map) {
  const int count = std::min<int>(source.pointCount, maxTiePoints);
  std::string leftOut;
  map.pointCount = 0;
  for (int i = 1; i <= count; ++i) {
    const double x = std::nearbyint((source.points[i].pixelX - mapping.fromX) / mapping.perX);
    const double y = std::nearbyint((source.points[i].pixelY - mapping.fromY) / mapping.perY);
    if (kept == PointsKept::all ? fits(x, y) : isOnImage(map, x, y)) {
      addPoint(map, roundToInt32(x), roundToInt32(y));
    } else {
      leftOut += (leftOut.empty() ? "" : ", ") + std::to_string(source.numberOf(i));
    }
  }
  const std::string where = kept == PointsKept::all ? "too far outside the map: " : "outside the new map: ";
  if (!leftOut.empty()) showMessage("Points left out, they lie " + where + leftOut);
}

double triangleArea(const Calibration& map, int i, int j, int k) {
  const double x = map.points[i].pixelX;
  const double y = map.points[i].pixelY;
  return std::abs((map.points[j].pixelX - x) * (map.points[k].pixelY - y) -
                  (map.points[k].pixelX - x) * (map.points[j].pixelY - y)) /
         2;
}

/// Positions are written to a few millimetres. Three points that span an eighth of the map carry that error to its
/// furthest corner with a factor of twelve at most.
bool pointsHoldMap(const Calibration& map) {
  double largest = 0;
  for (int i = 1; i <= map.pointCount; ++i) {
    for (int j = i + 1; j <= map.pointCount; ++j) {
      for (int k = j + 1; k <= map.pointCount; ++k) largest = std::max(largest, triangleArea(map, i, j, k));
    }
  }
  return largest > 0 && largest >= map.imageWidth * static_cast<double>(map.imageHeight) / 8;
}

bool hasPoint(const Calibration& map, std::int32_t x, std::int32_t y) {
  for (int i = 1; i <= map.pointCount; ++i) {
    if (map.points[i].pixelX == x && map.points[i].pixelY == y) return true;
  }
  return false;
}

void addCorners(Calibration& map) {
  map.pointCount = std::min<std::int16_t>(map.pointCount, maxTiePoints - cornerPoints);
  const std::int32_t right = map.imageWidth - 1;
  const std::int32_t bottom = map.imageHeight - 1;
  for (const auto& [x, y] : {std::pair(0, 0), {right, 0}, {right, bottom}, {0, bottom}}) {
    if (!hasPoint(map, x, y)) addPoint(map, x, y);
  }
  showMessage("Map corners added as points");
}

}  // namespace

Calibration derivedCalibration(const Calibration& source, const PixelMapping& mapping, int width, int height,
                               PointsKept kept) {
  Calibration map = source;
  map.imageWidth = toInt16(width);
  map.imageHeight = toInt16(height);
  map.cornerCount = 0;
  map.offPoints.clear();
  map.averageError = 0;
  setTransform(source, mapping, map);
  carryPoints(source, mapping, kept, map);
  if (!pointsHoldMap(map)) addCorners(map);
  return map;
}

}  // namespace vellandra
