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
  bool off = false;   ///< kept, but out of the fit and of what is written
  bool operator==(const TiePoint&) const = default;
};

/// What the viewer's text box asks for.
enum class Instruction { start, clickMap, finish };
const char* instructionText(Instruction instruction);

/// What the panel beside the map says about the fit of `count` points, all that are switched on, beside `off` others.
std::string fitReport(const TrialFit& fit, std::size_t count, std::size_t off);

/// How a point lies in the fit.
struct PointFit {
  double residual;  ///< pixels
  double x, y;      ///< the pixel at which the fit has the point's position
};

/// The work on the points of a map, from opening the viewer to closing it: which step the person is at, the mark that
/// waits for its coordinates, every step back, and the fit that the points give. Works on a copy; `commit` brings it
/// into a record. Points are counted from 1, as they are shown.
class CalibrationSession {
 public:
  static constexpr double reach = 10;  ///< window units from a mark within which it is taken hold of

  /// `fixedPair` is that of the calibration on show, see `Driver`. Points with which a map is calibrated further count
  /// as placed here.
  CalibrationSession(ViewerMode mode, const Calibration& start, const std::optional<ReferencePair>& fixedPair);

  Instruction instruction() const;
  /// The settings have been chosen: clicks on the map place points from now on.
  void startPlacing() { placing_ = true; }
  bool isPlacing() const { return placing_; }
  bool isFull() const { return static_cast<int>(points_.size()) >= maxTiePoints; }

  const std::vector<TiePoint>& points() const { return points_; }
  std::size_t pointsOn() const;
  std::size_t pointsOff() const { return points_.size() - pointsOn(); }
  const TrialFit& fit() const { return fit_; }
  /// Nothing for a point that is switched off, while there is no fit, and when so few points always fit.
  std::optional<PointFit> fitOf(int number) const;
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
  void switchPoint(int number, bool off);

  bool canUndo() const { return !steps_.empty(); }
  void undo();
  bool canRedo() const { return !undone_.empty(); }
  void redo();
  std::size_t stepCount() const { return steps_.size(); }
  /// As it was after `count` steps; those behind it are not kept for `redo`.
  void takeBackTo(std::size_t count);

  /// Puts the points into `map`, those that are switched off beside its slots; corners held for the old points are
  /// given up.
  void commit(Calibration& map) const;

 private:
  using Points = std::vector<TiePoint>;

  void keepStep();
  void step(std::vector<Points>& from, std::vector<Points>& to);
  void refit();
  TiePoint& point(int number) { return points_.at(static_cast<std::size_t>(number - 1)); }

  ViewerMode mode_;
  Calibration map_;
  std::optional<ReferencePair> fixedPair_;
  bool placing_ = false;
  bool moveBegun_ = true;
  Points points_, before_;
  std::vector<Points> steps_, undone_;
  std::optional<ViewPoint> waiting_;
  TrialFit fit_;
};

}  // namespace vellandra
