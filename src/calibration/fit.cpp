#include "calibration/fit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "calibration/datum_matching.h"
#include "calibration/transform.h"
#include "geodesy/datum.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

bool isOnEarth(const CalibrationPoint& point) {
  return std::abs(point.latitude) <= 90 && std::abs(point.longitude) <= 360;
}

std::string notOnEarth(int slot, int first, const CalibrationPoint& point) {
  const bool corner = slot >= firstCornerSlot && first == firstCornerSlot;
  return (corner ? "Corner " : "Point ") + std::to_string(corner ? slot - first + 1 : slot) +
         " is not on the earth: latitude " + formatGeneral(point.latitude) + ", longitude " +
         formatGeneral(point.longitude);
}

void logShift(const CalibrationPoint& before, const CalibrationPoint& after, const Journal& journal) {
  const auto degrees = [](double value) { return formatNumber(value, "##0.000000"); };
  const auto pixels = [](double value) { return formatNumber(value, "####0"); };
  journal.log(degrees(before.latitude) + " " + degrees(before.longitude) + " >> " + degrees(after.latitude) + " " +
              degrees(after.longitude) + (before.datumName == "ORD SRVY GRT BRITN" ? " (OS) " : " ") +
              pixels(after.pixelX) + " " + pixels(after.pixelY));
}

void unwrapSlots(Calibration& map, int first, int count) {
  for (int slot = first; slot < first + count; ++slot) {
    if (map.points[slot].longitude < 0) map.points[slot].longitude += 360;
  }
}

}  // namespace

std::string convertToWgs84(Calibration& map, int first, int count, const Journal& journal) {
  for (int slot = first; slot < first + count; ++slot) {
    CalibrationPoint& point = map.points[slot];
    if (!isOnEarth(point)) return notOnEarth(slot, first, point);
    if (point.datumName == "WGS 84") continue;
    const int index = datumIndexOf(point.datumName);
    if (index == 0) return "unable to match input datum " + point.datumName;
    const CalibrationPoint before = point;
    shiftToWgs84(index, point.latitude, point.longitude);
    point.datumName = "WGS 84";
    logShift(before, point, journal);
  }
  return {};
}

bool unwrapLongitudes(Calibration& map) {
  double low = 360, high = -360, sumX = 0, sumLon = 0, sumProduct = 0, shiftedLow = 720, shiftedHigh = -720;
  for (int i = 1; i <= map.pointCount; ++i) {
    const double lon = map.points[i].longitude;
    const double shifted = lon < 0 ? lon + 360 : lon;
    low = std::min(low, lon), high = std::max(high, lon);
    shiftedLow = std::min(shiftedLow, shifted), shiftedHigh = std::max(shiftedHigh, shifted);
    sumX += map.points[i].pixelX, sumLon += lon, sumProduct += lon * map.points[i].pixelX;
  }
  const bool westward = sumProduct * map.pointCount < sumX * sumLon;
  if (!westward || high - low <= 180 || shiftedHigh - shiftedLow >= 180) return false;
  unwrapSlots(map, 1, map.pointCount);
  unwrapSlots(map, firstCornerSlot, map.cornerCount);
  return true;
}

std::optional<ReferencePair> fitMap(Calibration& map, const std::optional<ReferencePair>& fixedPair,
                                    bool stretchNotRotate, const Journal& journal) {
  if (unwrapLongitudes(map)) journal.show("The map lies across 180 degrees: longitudes go on past 180");
  const std::optional<ReferencePair> pair = chooseReferencePair(map, fixedPair, journal);
  if (!pair) return std::nullopt;
  fitTransform(map, journal);
  if (map.isMercator() || map.fitFailed) deriveTransform(map, *pair, stretchNotRotate, journal);
  setMercatorOrdinates(map);
  return isReversible(map) ? pair : std::nullopt;
}

Residuals residualsOf(const Calibration& map) {
  Residuals residuals;
  double squares = 0;
  double worst = -1;
  for (int i = 1; i <= map.pointCount; ++i) {
    const CalibrationPoint& point = map.points[i];
    const Pixel pixel = pixelAt(map, point.latitude, point.longitude);
    const double residual = std::hypot(pixel.x - point.pixelX, pixel.y - point.pixelY);
    residuals.pixels.push_back(residual);
    squares += residual * residual;
    if (residual > worst) {
      worst = residual;
      residuals.worst = i;
    }
  }
  residuals.rootMeanSquare = std::sqrt(squares / map.pointCount);
  return residuals;
}

bool Residuals::worstStandsOut() const {
  if (worst == 0) return false;
  double next = -1;
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    if (static_cast<int>(i) + 1 != worst) next = std::max(next, pixels[i]);
  }
  constexpr double shown = 0.005;
  return ofWorst() >= shown && ofWorst() > 1.01 * next;
}

float averageErrorOf(const Calibration& map) {
  const CalibrationPoint& last = map.points[map.pointCount];
  const Pixel pixel = pixelAt(map, last.latitude, last.longitude);
  const std::int32_t x = roundToInt32(pixel.x);
  const std::int32_t y = roundToInt32(pixel.y);
  // Every pass takes the last point: the figure is that point's residual.
  double sum = 0;
  for (int pass = 1; pass <= map.pointCount; ++pass) {
    sum += std::hypot(static_cast<double>(last.pixelY) - y, static_cast<double>(last.pixelX) - x);
  }
  return static_cast<float>(sum / map.pointCount);
}

TrialFit tryFit(const Calibration& map, const std::optional<ReferencePair>& fixedPair, bool stretchNotRotate) {
  TrialFit fit;
  fit.map = map;
  fit.map.message.clear();
  const Journal nobody;
  try {
    fit.valid = convertToWgs84(fit.map, 1, fit.map.pointCount, nobody).empty() &&
                fitMap(fit.map, fixedPair, stretchNotRotate, nobody) &&
                !(fit.map.isMercator() && fit.map.imageHeight == 0);
  } catch (const RunTimeError&) {
    fit.valid = false;  // the driver says why when it comes to the same points
  }
  if (fit.valid) fit.residuals = residualsOf(fit.map);
  return fit;
}

}  // namespace vellandra
