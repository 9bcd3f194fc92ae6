#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/fit.h"
#include "ui/viewer/map_canvas_view.h"
#include "ui/viewer/map_viewer.h"

namespace vellandra {

/// A calibration point as the viewer holds it.
struct TiePoint {
  int x = 0, y = 0;
  double latitude = 0, longitude = 0;
  std::string datum;  ///< of latitude and longitude
  PointGrid grid;     ///< in which it was given
  bool operator==(const TiePoint&) const = default;
};

/// What the viewer's text box asks for.
enum class Instruction { start, clickMap, finish };
const char* instructionText(Instruction instruction);

/// What the panel beside the map says about the fit of `count` points.
std::string fitReport(const TrialFit& fit, std::size_t count);

/// Two or three points that fit exactly, as they always do: their residuals of 0.00 would read as perfect.
bool fitsAnyway(const TrialFit& fit, std::size_t count);

/// The work on the points of a map, from opening the viewer to closing it: which step the person is at, the mark that
/// waits for its coordinates, every step back, and the fit that the points give. Works on a copy; `commit` brings it
/// into a record. Points are counted from 1, as they are shown.
class CalibrationSession {
 public:
  static constexpr double reach = 10;  ///< window units from a mark within which it is taken hold of

  /// `fixedPair` is that of the calibration on show, see `Driver`.
  CalibrationSession(ViewerMode mode, const Calibration& start, const std::optional<ReferencePair>& fixedPair);

  Instruction instruction() const;
  /// The settings have been chosen: clicks on the map place points from now on.
  void startPlacing() { placing_ = true; }
  bool isPlacing() const { return placing_; }
  bool isFull() const { return static_cast<int>(points_.size()) >= maxTiePoints; }

  const std::vector<TiePoint>& points() const { return points_; }
  const TrialFit& fit() const { return fit_; }
  bool changed() const { return points_ != before_; }

  /// The mark at pixel (x, y), brought inside the image, waits for its coordinates; one that waits already moves there.
  /// False, with nothing done, while points are not placed or when there are 30.
  bool wait(int x, int y);
  std::optional<ViewPoint> waiting() const { return waiting_; }
  void dropWaiting() { waiting_.reset(); }
  /// The waiting mark becomes a point, its degrees on the grid's datum.
  void giveCoordinates(double latitude, double longitude, const PointGrid& grid);
  /// New coordinates for a point.
  void correct(int number, double latitude, double longitude, const PointGrid& grid);

  /// The point whose mark is nearest to the window's (x, y), within `reach`; 0 for none.
  int pointAt(const MapView& view, double x, double y) const;
  /// Moves a point to a pixel inside the image. All moves from one `beginMove` to the next count as one step.
  void beginMove() { moveBegun_ = true; }
  void moveTo(int number, int x, int y);
  void remove(int number);

  bool canUndo() const { return !steps_.empty(); }
  void undo();
  std::size_t stepCount() const { return steps_.size(); }

  /// Puts the points into `map`; corners held for the old points are given up.
  void commit(Calibration& map) const;

 private:
  void keepStep() { steps_.push_back(points_); }
  void refit();
  TiePoint& point(int number) { return points_.at(static_cast<std::size_t>(number - 1)); }

  ViewerMode mode_;
  Calibration map_;
  std::optional<ReferencePair> fixedPair_;
  bool placing_ = false;
  bool moveBegun_ = true;
  std::vector<TiePoint> points_, before_;
  std::vector<std::vector<TiePoint>> steps_;
  std::optional<ViewPoint> waiting_;
  TrialFit fit_;
};

}  // namespace vellandra
