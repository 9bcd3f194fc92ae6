#include "ui/viewer/map_viewer_session.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "calibration/points.h"
#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

TiePoint tiePoint(const CalibrationPoint& point, bool off) {
  return {point.pixelX, point.pixelY, point.latitude, point.longitude, point.datumName, point.grid, off};
}

CalibrationPoint calibrationPoint(const TiePoint& given) {
  CalibrationPoint point;
  point.setPixel(given.x, given.y);
  point.setPosition(given.latitude, given.longitude, given.grid);
  point.datumName = given.datum;
  return point;
}

std::vector<TiePoint> pointsOf(const Calibration& map) {
  std::vector<TiePoint> points;
  for (const EnteredPoint& entered : enteredPoints(map)) points.push_back(tiePoint(entered.point, entered.off));
  return points;
}

bool isExact(const TrialFit& fit) {
  constexpr double shownAsNone = 0.005;
  return fit.residuals.rootMeanSquare < shownAsNone;
}

/// Two or three points that fit exactly, as they always do: their residuals of 0.00 would read as perfect.
bool fitsAnyway(const TrialFit& fit, std::size_t count) {
  return count <= 3 && isExact(fit);
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

std::string fitReport(const TrialFit& fit, std::size_t count, std::size_t off) {
  if (count == 0 && off > 0) return "All points are off: two at least, far apart, make a calibration";
  if (count == 0) return "No points yet: two at least, far apart, make a calibration";
  if (count == 1) return "One point more makes a calibration";
  if (!fit.valid) return "These points make no calibration: they share a place, or one is wrong";
  if (fitsAnyway(fit, count)) return "Two or three points always fit: take four or more";
  std::string error = "Error of the fit: " + formatNumber(fit.residuals.rootMeanSquare, "0.00") + " pixels (rms)";
  if (off > 0) error += ", " + std::to_string(off) + " off";
  if (isExact(fit)) return error;
  if (count <= 3) return error + "\nFour points or more show how good they are";
  if (!fit.residuals.worstStandsOut()) return error + "\nNo point is worse than all others";
  return error + "\nWorst is point " + std::to_string(fit.map.numberOf(fit.residuals.worst)) + " with " +
         formatNumber(fit.residuals.ofWorst(), "0.00") + " pixels";
}

CalibrationSession::CalibrationSession(ViewerMode mode, const Calibration& start,
                                       const std::optional<ReferencePair>& fixedPair)
    : mode_(mode), map_(start), fixedPair_(fixedPair), points_(pointsOf(start)) {
  if (mode != ViewerMode::calibrate) before_ = points_;
  map_.message.clear();
  refit();
}

Instruction CalibrationSession::instruction() const {
  if (!placing_) return Instruction::start;
  return mode_ == ViewerMode::calibrate && pointsOn() >= 2 ? Instruction::finish : Instruction::clickMap;
}

std::size_t CalibrationSession::pointsOn() const {
  return static_cast<std::size_t>(std::ranges::count(points_, false, &TiePoint::off));
}

std::optional<PointFit> CalibrationSession::fitOf(int number) const {
  const auto end = points_.begin() + number;
  if (!fit_.valid || (end - 1)->off || fitsAnyway(fit_, pointsOn())) return std::nullopt;
  const auto slot = static_cast<int>(std::count_if(points_.begin(), end, [](const TiePoint& p) { return !p.off; }));
  const CalibrationPoint& fitted = fit_.map.points[slot];
  const Pixel pixel = pixelAt(fit_.map, fitted.latitude, fitted.longitude);
  return PointFit{fit_.residuals.pixels.at(static_cast<std::size_t>(slot - 1)), pixel.x, pixel.y};
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
  corrected.latitude = latitude;
  corrected.longitude = longitude;
  corrected.datum = grid.datum;
  corrected.grid = grid;
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

void CalibrationSession::switchPoint(int number, bool off) {
  keepStep();
  point(number).off = off;
  refit();
}

void CalibrationSession::keepStep() {
  steps_.push_back(points_);
  undone_.clear();
}

void CalibrationSession::undo() {
  step(steps_, undone_);
}

void CalibrationSession::redo() {
  step(undone_, steps_);
}

void CalibrationSession::step(std::vector<Points>& from, std::vector<Points>& to) {
  if (from.empty()) return;
  to.push_back(std::exchange(points_, std::move(from.back())));
  from.pop_back();
  moveBegun_ = true;
  refit();
}

void CalibrationSession::takeBackTo(std::size_t count) {
  if (steps_.size() <= count) return;
  points_ = std::move(steps_[count]);
  steps_.resize(count);
  moveBegun_ = true;
  refit();
}

void CalibrationSession::refit() {
  commit(map_);
  fit_ = tryFit(map_, changed() ? std::nullopt : fixedPair_, preferences.stretchNotRotate);
}

void CalibrationSession::commit(Calibration& map) const {
  std::vector<EnteredPoint> entered;
  for (const TiePoint& given : points_) entered.push_back({calibrationPoint(given), given.off});
  setEnteredPoints(map, entered);
}

}  // namespace vellandra
