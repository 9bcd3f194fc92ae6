#include "ui/viewer/map_viewer_session.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "calibration/preferences.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

std::vector<TiePoint> pointsOf(const Calibration& map) {
  std::vector<TiePoint> points;
  for (int i = 1; i <= map.pointCount; ++i) {
    points.push_back({map.points[i].pixelX, map.points[i].pixelY, map.points[i].latitude, map.points[i].longitude,
                      map.points[i].datumName, map.points[i].grid});
  }
  return points;
}

bool isExact(const TrialFit& fit) {
  constexpr double shownAsNone = 0.005;
  return fit.residuals.rootMeanSquare < shownAsNone;
}

}  // namespace

const char* instructionText(Instruction instruction) {
  switch (instruction) {
    case Instruction::start:
      return "Click here to start calibrating";
    case Instruction::clickMap:
      return "Click on the map to calibrate";
    case Instruction::finish:
      return "Click here to finish";
  }
  return "";
}

bool fitsAnyway(const TrialFit& fit, std::size_t count) {
  return count <= 3 && isExact(fit);
}

std::string fitReport(const TrialFit& fit, std::size_t count) {
  if (count == 0) return "No points yet: two at least, far apart, make a calibration";
  if (count == 1) return "One point more makes a calibration";
  if (!fit.valid) return "These points make no calibration: they share a place, or one is wrong";
  if (fitsAnyway(fit, count)) return "Two or three points always fit: take four or more";
  std::string error = "Error of the fit: " + formatNumber(fit.residuals.rootMeanSquare, "0.00") + " pixels (rms)";
  if (isExact(fit)) return error;
  if (count <= 3) return error + "\nFour points or more show how good they are";
  if (!fit.residuals.worstStandsOut()) return error + "\nNo point is worse than all others";
  return error + "\nWorst is point " + std::to_string(fit.residuals.worst) + " with " +
         formatNumber(fit.residuals.ofWorst(), "0.00") + " pixels";
}

CalibrationSession::CalibrationSession(ViewerMode mode, const Calibration& start,
                                       const std::optional<ReferencePair>& fixedPair)
    : mode_(mode), map_(start), fixedPair_(fixedPair), points_(pointsOf(start)), before_(points_) {
  map_.message.clear();
  refit();
}

Instruction CalibrationSession::instruction() const {
  if (!placing_) return Instruction::start;
  return mode_ == ViewerMode::calibrate && points_.size() >= 2 ? Instruction::finish : Instruction::clickMap;
}

bool CalibrationSession::wait(int x, int y) {
  if (!placing_ || isFull()) return false;
  waiting_ = ViewPoint{static_cast<double>(std::clamp(x, 0, std::max(map_.imageWidth - 1, 0))),
                       static_cast<double>(std::clamp(y, 0, std::max(map_.imageHeight - 1, 0)))};
  return true;
}

void CalibrationSession::giveCoordinates(double latitude, double longitude, const PointGrid& grid) {
  if (!waiting_ || isFull()) return;
  keepStep();
  points_.push_back(
      {static_cast<int>(waiting_->x), static_cast<int>(waiting_->y), latitude, longitude, grid.datum, grid});
  waiting_.reset();
  refit();
}

void CalibrationSession::correct(int number, double latitude, double longitude, const PointGrid& grid) {
  keepStep();
  TiePoint& corrected = point(number);
  corrected = {corrected.x, corrected.y, latitude, longitude, grid.datum, grid};
  refit();
}

int CalibrationSession::pointAt(const MapView& view, double x, double y) const {
  int nearest = 0;
  double least = reach;
  for (std::size_t i = 0; i < points_.size(); ++i) {
    const ViewPoint mark = view.toWindow(points_[i].x + 0.5, points_[i].y + 0.5);
    const double distance = std::hypot(mark.x - x, mark.y - y);
    if (distance <= least) {
      least = distance;
      nearest = static_cast<int>(i) + 1;
    }
  }
  return nearest;
}

void CalibrationSession::moveTo(int number, int x, int y) {
  TiePoint moved = point(number);
  moved.x = std::clamp(x, 0, std::max(map_.imageWidth - 1, 0));
  moved.y = std::clamp(y, 0, std::max(map_.imageHeight - 1, 0));
  if (moved == point(number)) return;
  if (moveBegun_) keepStep();
  moveBegun_ = false;
  point(number) = moved;
  refit();
}

void CalibrationSession::remove(int number) {
  keepStep();
  points_.erase(points_.begin() + (number - 1));
  refit();
}

void CalibrationSession::undo() {
  if (steps_.empty()) return;
  points_ = std::move(steps_.back());
  steps_.pop_back();
  moveBegun_ = true;
  refit();
}

void CalibrationSession::refit() {
  commit(map_);
  fit_ = tryFit(map_, changed() ? std::nullopt : fixedPair_, preferences.stretchNotRotate);
}

void CalibrationSession::commit(Calibration& map) const {
  for (int slot = 1; slot <= maxSlot; ++slot) {
    map.points[slot].hasPixel = map.points[slot].hasPosition = false;
    map.points[slot].datumName.clear();
  }
  map.cornerCount = 0;
  map.pointCount = static_cast<std::int16_t>(points_.size());
  int slot = 0;
  for (const TiePoint& given : points_) {
    ++slot;
    map.points[slot].setPixel(given.x, given.y);
    map.points[slot].setPosition(given.latitude, given.longitude, given.grid);
    map.points[slot].datumName = given.datum;
  }
}

}  // namespace vellandra
