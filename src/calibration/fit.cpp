#include "calibration/fit.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "calibration/datum_matching.h"
#include "calibration/transform.h"
#include "geodesy/constants.h"
#include "geodesy/datum.h"
#include "geodesy/degree_length.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

bool isOnEarth(const CalibrationPoint& point) {
  constexpr double rounding = 1e-9;
  return std::abs(point.latitude) <= 90 + rounding && std::abs(point.longitude) <= 360 + rounding;
}

std::string notOnEarth(const Calibration& map, int slot, int first) {
  const CalibrationPoint& point = map.points[slot];
  const bool corner = slot >= firstCornerSlot && first == firstCornerSlot;
  return (corner ? "Corner " : "Point ") + std::to_string(corner ? slot - first + 1 : map.numberOf(slot)) +
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

std::optional<ReferencePair> fitAsGiven(Calibration& map, const std::optional<ReferencePair>& fixedPair,
                                        bool stretchNotRotate, const Journal& journal) {
  const std::optional<ReferencePair> pair = chooseReferencePair(map, fixedPair, journal);
  if (!pair) return std::nullopt;
  fitTransform(map, journal);
  if (map.isMercator() || map.fitFailed) deriveTransform(map, *pair, stretchNotRotate, journal);
  setMercatorOrdinates(map);
  return isReversible(map) ? pair : std::nullopt;
}

/// Longitudes span more than half the earth, and less with the western ones past 180.
bool mayLieAcross180(const Calibration& map) {
  double low = 720, high = -720, joinedLow = 720, joinedHigh = -720;
  for (int i = 1; i <= map.pointCount; ++i) {
    const double lon = map.points[i].longitude;
    const double joined = lon < 0 ? lon + 360 : lon;
    low = std::min(low, lon), high = std::max(high, lon);
    joinedLow = std::min(joinedLow, joined), joinedHigh = std::max(joinedHigh, joined);
  }
  return high - low > 180 && joinedHigh - joinedLow < high - low;
}

void unwrapSlots(Calibration& map, int first, int count) {
  for (int slot = first; slot < first + count; ++slot) {
    if (map.points[slot].longitude < 0) map.points[slot].longitude += 360;
  }
}

void unwrapLongitudes(Calibration& map) {
  unwrapSlots(map, 1, map.pointCount);
  unwrapSlots(map, firstCornerSlot, map.cornerCount);
}

/// Root mean square of what the transform leaves of the positions, in degrees of a great circle: in pixels a reading
/// that spreads the map around the earth would look the better one.
double degreesLeft(const Calibration& map) {
  double squares = 0;
  for (int i = 1; i <= map.pointCount; ++i) {
    const CalibrationPoint& point = map.points[i];
    const Position position = positionAt(map, point.pixelX, point.pixelY);
    const double east = (position.longitude - point.longitude) * std::cos(point.latitude * degToRad);
    squares += east * east + (position.latitude - point.latitude) * (position.latitude - point.latitude);
  }
  return std::sqrt(squares / map.pointCount);
}

/// How the transform shows the ground at the middle of the tie points.
struct GroundShape {
  double distortion;  ///< the largest scale in any direction over the smallest; 1 where all are alike
  double turn;        ///< degrees, from rows that run east
};

GroundShape groundShapeOf(const Calibration& map) {
  double latitude = 0;
  for (int i = 1; i <= map.pointCount; ++i) latitude += map.points[i].latitude / map.pointCount;
  const DegreeLength metres = degreeLength(latitude);
  const double a = map.tf1 * metres.longitude, b = map.tf3 * metres.longitude;
  const double c = map.tf2 * metres.latitude, d = map.tf4 * metres.latitude;
  // Largest and smallest scale are half the sum and half the difference of these two lengths.
  const double same = std::hypot(a - d, b + c), opposite = std::hypot(a + d, b - c);
  return {(same + opposite) / std::abs(same - opposite), std::abs(std::atan2(c, a)) / degToRad};
}

/// `map` and `other` are two readings of the same points, each with its fit.
bool isBetterFit(const Calibration& map, const Calibration& other) {
  const double left = degreesLeft(map), leftByOther = degreesLeft(other);
  constexpr double exact = 1e-6;  // the last digit of most formats
  constexpr double clearlyMore = 1.5;
  if (leftByOther > exact && leftByOther > clearlyMore * left) return true;
  if (left > exact && left > clearlyMore * leftByOther) return false;
  const GroundShape shape = groundShapeOf(map), shapeOfOther = groundShapeOf(other);
  // Two points make a map without distortion either way: one of the whole world lies straight.
  constexpr double straight = 30, turned = 45;  // degrees
  if (std::abs(shape.distortion - shapeOfOther.distortion) < 1e-6) {
    return !(shapeOfOther.turn < straight && shape.turn > turned);
  }
  return shape.distortion < shapeOfOther.distortion;
}

}  // namespace

std::string convertToWgs84(Calibration& map, int first, int count, const Journal& journal) {
  for (int slot = first; slot < first + count; ++slot) {
    CalibrationPoint& point = map.points[slot];
    if (!isOnEarth(point)) return notOnEarth(map, slot, first);
    if (point.datumName == wgs84Name) continue;
    const int index = datumIndexOf(point.datumName);
    if (index == 0) return "unable to match input datum " + point.datumName;
    const CalibrationPoint before = point;
    shiftToWgs84(index, point.latitude, point.longitude);
    point.grid.datum = point.datumName;
    point.datumName = wgs84Name;
    logShift(before, point, journal);
  }
  return {};
}

std::optional<ReferencePair> fitMap(Calibration& map, const std::optional<ReferencePair>& fixedPair,
                                    bool stretchNotRotate, const Journal& journal) {
  if (mayLieAcross180(map)) {
    const Journal nobody;
    Calibration split = map;
    Calibration joined = map;
    unwrapLongitudes(joined);
    const bool splitFits = fitAsGiven(split, fixedPair, stretchNotRotate, nobody).has_value();
    const bool joinedFits = fitAsGiven(joined, fixedPair, stretchNotRotate, nobody).has_value();
    if (joinedFits && (!splitFits || isBetterFit(joined, split))) {
      unwrapLongitudes(map);
      journal.show("The map lies across 180 degrees: longitudes go on past 180");
    }
  }
  return fitAsGiven(map, fixedPair, stretchNotRotate, journal);
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
