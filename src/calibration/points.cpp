#include "calibration/points.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

#include "calibration/calibration.h"
#include "calibration/messages.h"
#include "calibration/transform.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

void placeByTransform(int slot, std::int32_t x, std::int32_t y) {
  double lat = 0;
  double lon = 0;
  pixelToLatLon(x, y, lat, lon);
  calibration.points[slot].setPixel(x, y);
  calibration.points[slot].setPosition(lat, lon);
  calibration.points[slot].datumName = "WGS 84";
}

std::int32_t centroid(std::int32_t CalibrationPoint::*pixel) {
  std::int32_t sum = 0;
  for (int i = 1; i <= 3; ++i) {
    if (__builtin_add_overflow(sum, calibration.points[i].*pixel, &sum)) throw Overflow("sum of pixels");
  }
  return roundToInt32(sum / 3.0);
}

void unwrapSlots(int first, int count) {
  for (int slot = first; slot < first + count; ++slot) {
    if (calibration.points[slot].longitude < 0) calibration.points[slot].longitude += 360;
  }
}

}  // namespace

bool unwrapLongitudes() {
  Calibration& c = calibration;
  double low = 360, high = -360, sumX = 0, sumLon = 0, sumProduct = 0, shiftedLow = 720, shiftedHigh = -720;
  for (int i = 1; i <= c.pointCount; ++i) {
    const double lon = c.points[i].longitude;
    const double shifted = lon < 0 ? lon + 360 : lon;
    low = std::min(low, lon), high = std::max(high, lon);
    shiftedLow = std::min(shiftedLow, shifted), shiftedHigh = std::max(shiftedHigh, shifted);
    sumX += c.points[i].pixelX, sumLon += lon, sumProduct += lon * c.points[i].pixelX;
  }
  const bool westward = sumProduct * c.pointCount < sumX * sumLon;
  if (!westward || high - low <= 180 || shiftedHigh - shiftedLow >= 180) return false;
  unwrapSlots(1, c.pointCount);
  unwrapSlots(firstCornerSlot, c.cornerCount);
  return true;
}

void interpolateThirdPoint() {
  Calibration& c = calibration;
  if (c.pointCount != 2) return;
  c.pointCount = 3;
  placeByTransform(3, c.points[2].pixelX, c.points[1].pixelY);
  addToMessage("Third point interpolated");
}

void addFourthPoint() {
  Calibration& c = calibration;
  if (c.pointCount != 3) return;
  c.pointCount = 4;
  placeByTransform(4, centroid(&CalibrationPoint::pixelX), centroid(&CalibrationPoint::pixelY));
  addToMessage("Fourth point added");
}

void fillImageCorners() {
  Calibration& c = calibration;
  if (c.pointCount > maxTiePoints) {
    showMessage("Points " + std::to_string(maxTiePoints + 1) + " to " + std::to_string(c.pointCount) +
                " took part in the fit and are not written");
    c.pointCount = maxTiePoints;
  }
  const std::int32_t right = c.imageWidth - 1;
  const std::int32_t bottom = c.imageHeight - 1;
  placeByTransform(firstCornerSlot, 0, 0);
  placeByTransform(firstCornerSlot + 1, right, 0);
  placeByTransform(firstCornerSlot + 2, right, bottom);
  placeByTransform(firstCornerSlot + 3, 0, bottom);
  c.cornerCount = 4;
}

void reportFit() {
  Calibration& c = calibration;
  double sum = 0;
  for (int pass = 1; pass <= c.pointCount; ++pass) {
    // Every pass takes the last point: the figure is that point's residual.
    std::int32_t x = 0;
    std::int32_t y = 0;
    latLonToPixel(c.points[c.pointCount].latitude, c.points[c.pointCount].longitude, x, y);
    sum += std::hypot(static_cast<double>(c.points[c.pointCount].pixelY) - y,
                      static_cast<double>(c.points[c.pointCount].pixelX) - x);
  }
  c.averageError = static_cast<float>(sum / c.pointCount);
  showMessage("Average error per calibration point=" + formatNumber(static_cast<double>(c.averageError), "####.0000"));

  double squares = 0;
  double worst = -1;
  int worstPoint = 0;
  for (int i = 1; i <= c.pointCount; ++i) {
    const Pixel pixel = pixelAt(c, c.points[i].latitude, c.points[i].longitude);
    const double residual = std::hypot(pixel.x - c.points[i].pixelX, pixel.y - c.points[i].pixelY);
    squares += residual * residual;
    if (residual > worst) {
      worst = residual;
      worstPoint = i;
    }
  }
  showMessage("All points: root mean square " + formatNumber(std::sqrt(squares / c.pointCount), "###0.00") +
              " pixels, worst is point " + std::to_string(worstPoint) + " with " + formatNumber(worst, "###0.00"));
}

}  // namespace vellandra
