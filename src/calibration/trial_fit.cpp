#include "calibration/trial_fit.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "calibration/datum_matching.h"
#include "calibration/log.h"
#include "calibration/points.h"
#include "calibration/reference_pair.h"
#include "calibration/transform.h"
#include "geodesy/datum.h"

namespace vellandra {
namespace {

/// Puts `map` in the place of the process-wide record, and the record back at the end.
class Stand {
 public:
  explicit Stand(Calibration& map) : map_(map) { std::swap(calibration, map_); }
  ~Stand() { std::swap(calibration, map_); }
  Stand(const Stand&) = delete;
  Stand& operator=(const Stand&) = delete;

 private:
  Calibration& map_;
};

bool bringToWgs84(Calibration& map) {
  for (int slot = 1; slot <= map.pointCount; ++slot) {
    if (!(std::abs(map.points[slot].latitude) <= 90 && std::abs(map.points[slot].longitude) <= 360)) return false;
    if (map.points[slot].datumName == "WGS 84") continue;
    const int index = datumIndexOf(map.points[slot].datumName);
    if (index == 0) return false;
    shiftToWgs84(index, map.points[slot].latitude, map.points[slot].longitude);
    map.points[slot].datumName = "WGS 84";
  }
  return true;
}

bool fitOnTrial(Calibration& map, const std::optional<ReferencePair>& fixed) {
  const LogPause pause;
  const Stand stand(map);
  unwrapLongitudes();
  const std::optional<ReferencePair> pair = chooseReferencePair(fixed);
  if (!pair) return false;
  fitTransform();
  if (calibration.isMercator() || calibration.fitFailed) deriveTransform(*pair);
  setMercatorOrdinates();
  return isReversible(calibration) && !(calibration.isMercator() && calibration.imageHeight == 0);
}

void measureResiduals(TrialFit& fit) {
  const Calibration& c = fit.map;
  double squares = 0;
  double worst = -1;
  double next = -1;
  for (int i = 1; i <= c.pointCount; ++i) {
    const Pixel pixel = pixelAt(c, c.points[i].latitude, c.points[i].longitude);
    const double residual = std::hypot(pixel.x - c.points[i].pixelX, pixel.y - c.points[i].pixelY);
    fit.residuals.push_back(residual);
    squares += residual * residual;
    if (residual > worst) {
      next = std::exchange(worst, residual);
      fit.worstPoint = i;
    } else {
      next = std::max(next, residual);
    }
  }
  // Four points of a rectangle share one residual: which is a hair larger is chance.
  constexpr double shown = 0.005;
  if (worst < shown || worst <= 1.01 * next) fit.worstPoint = 0;
  fit.rootMeanSquare = std::sqrt(squares / c.pointCount);
}

}  // namespace

TrialFit tryFit(const Calibration& map, const std::optional<ReferencePair>& fixed) {
  TrialFit fit;
  fit.map = map;
  fit.map.message.clear();
  try {
    fit.valid = bringToWgs84(fit.map) && fitOnTrial(fit.map, fixed);
  } catch (const RunTimeError&) {
    fit.valid = false;  // the driver says why when it comes to the same points
  }
  if (fit.valid) measureResiduals(fit);
  return fit;
}

}  // namespace vellandra
