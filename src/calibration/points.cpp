#include "calibration/points.h"

#include <cstdint>
#include <string>

#include "calibration/messages.h"
#include "calibration/transform.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

void placeByTransform(Calibration& map, int slot, std::int32_t x, std::int32_t y) {
  const Position position = positionAt(map, x, y);
  CalibrationPoint& point = map.points[slot];
  point.setPixel(x, y);
  point.setPosition(position.latitude, position.longitude);
  point.datumName = "WGS 84";
}

std::int32_t centroid(const Calibration& map, std::int32_t CalibrationPoint::*pixel) {
  std::int32_t sum = 0;
  for (int i = 1; i <= 3; ++i) {
    if (__builtin_add_overflow(sum, map.points[i].*pixel, &sum)) throw Overflow("sum of pixels");
  }
  return roundToInt32(sum / 3.0);
}

}  // namespace

void interpolateThirdPoint(Calibration& map) {
  if (map.pointCount != 2) return;
  map.pointCount = 3;
  placeByTransform(map, 3, map.points[2].pixelX, map.points[1].pixelY);
  addToMessage("Third point interpolated");
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
  const std::int32_t right = map.imageWidth - 1;
  const std::int32_t bottom = map.imageHeight - 1;
  placeByTransform(map, firstCornerSlot, 0, 0);
  placeByTransform(map, firstCornerSlot + 1, right, 0);
  placeByTransform(map, firstCornerSlot + 2, right, bottom);
  placeByTransform(map, firstCornerSlot + 3, 0, bottom);
  map.cornerCount = 4;
}

}  // namespace vellandra
