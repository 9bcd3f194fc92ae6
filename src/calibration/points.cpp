#include "calibration/points.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <string>

#include "calibration/messages.h"
#include "calibration/transform.h"
#include "geodesy/datum.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

void placeByTransform(Calibration& map, int slot, std::int32_t x, std::int32_t y) {
  const Position position = positionAt(map, x, y);
  CalibrationPoint& point = map.points[slot];
  point.setPixel(x, y);
  point.setPosition(position.latitude, position.longitude);
  point.datumName = wgs84Name;
}

std::int32_t centroid(const Calibration& map, std::int32_t CalibrationPoint::*pixel) {
  std::int32_t sum = 0;
  for (int i = 1; i <= 3; ++i) {
    if (__builtin_add_overflow(sum, map.points[i].*pixel, &sum)) throw Overflow("sum of pixels");
  }
  return roundToInt32(sum / 3.0);
}

struct PixelPlace {
  std::int32_t x, y;
};

/// Top left, top right, bottom right, bottom left.
std::array<PixelPlace, 4> imageCorners(const Calibration& map) {
  const std::int32_t right = map.imageWidth - 1;
  const std::int32_t bottom = map.imageHeight - 1;
  return {{{0, 0}, {right, 0}, {right, bottom}, {0, bottom}}};
}

/// Of the triangle of two points and a pixel.
double twiceTheArea(const CalibrationPoint& a, const CalibrationPoint& b, double x, double y) {
  const double alongX = static_cast<double>(b.pixelX) - a.pixelX;
  const double alongY = static_cast<double>(b.pixelY) - a.pixelY;
  return std::abs(alongX * (y - a.pixelY) - alongY * (x - a.pixelX));
}

/// The image corner farthest from the line through two points, the first of equals.
PixelPlace cornerFarthestFrom(const Calibration& map, const CalibrationPoint& a, const CalibrationPoint& b) {
  PixelPlace farthest{};
  double most = -1;
  for (const PixelPlace& corner : imageCorners(map)) {
    const double area = twiceTheArea(a, b, corner.x, corner.y);
    if (area > most) {
      most = area;
      farthest = corner;
    }
  }
  return farthest;
}

}  // namespace

std::vector<EnteredPoint> enteredPoints(const Calibration& map) {
  std::vector<EnteredPoint> points;
  for (int slot = 1; slot <= map.pointCount; ++slot) points.push_back({map.points[slot]});
  for (const OffPoint& off : map.offPoints) points.insert(points.begin() + (off.number - 1), {off.point, true});
  return points;
}

void setEnteredPoints(Calibration& map, const std::vector<EnteredPoint>& points) {
  map.points = {};
  map.offPoints.clear();
  map.cornerCount = map.pointCount = 0;
  for (int number = 1; const EnteredPoint& entered : points) {
    if (entered.off) {
      map.offPoints.push_back({number, entered.point});
    } else {
      map.points[++map.pointCount] = entered.point;
    }
    ++number;
  }
}

void interpolateThirdPoint(Calibration& map) {
  if (map.pointCount != 2) return;
  map.pointCount = 3;
  const CalibrationPoint& first = map.points[1];
  const CalibrationPoint& second = map.points[2];
  const bool onOneLine = first.pixelX == second.pixelX || first.pixelY == second.pixelY;
  const PixelPlace place = onOneLine ? cornerFarthestFrom(map, first, second) : PixelPlace{second.pixelX, first.pixelY};
  placeByTransform(map, 3, place.x, place.y);
  addToMessage("Third point interpolated");
}

void addPointOffTheLine(Calibration& map) {
  if (map.pointCount < 3 || map.pointCount >= maxTiePoints) return;
  const CalibrationPoint& first = map.points[1];
  const CalibrationPoint* second = &first;
  for (int i = 2; i <= map.pointCount; ++i) {
    const CalibrationPoint& point = map.points[i];
    if (twiceTheArea(first, *second, point.pixelX, point.pixelY) != 0) return;
    if (point.pixelX != first.pixelX || point.pixelY != first.pixelY) second = &point;
  }
  const PixelPlace corner = cornerFarthestFrom(map, first, *second);
  placeByTransform(map, ++map.pointCount, corner.x, corner.y);
  addToMessage("All points lie on one line: a corner of the map added");
}

void addFourthPoint(Calibration& map) {
  if (map.pointCount != 3) return;
  map.pointCount = 4;
  placeByTransform(map, 4, centroid(map, &CalibrationPoint::pixelX), centroid(map, &CalibrationPoint::pixelY));
  addToMessage("Fourth point added");
}

void fillImageCorners(Calibration& map) {
  if (map.pointCount > maxTiePoints) {
    showMessage("Points " + std::to_string(maxTiePoints + 1) + " to " + std::to_string(map.pointCount) +
                " took part in the fit and are not written");
    map.pointCount = maxTiePoints;
  }
  int slot = firstCornerSlot;
  for (const PixelPlace& corner : imageCorners(map)) placeByTransform(map, slot++, corner.x, corner.y);
  map.cornerCount = 4;
}

}  // namespace vellandra
