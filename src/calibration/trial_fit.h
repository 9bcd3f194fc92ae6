#pragma once

#include <optional>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/reference_pair.h"

namespace vellandra {

/// What the driver would make of a set of points, found without touching the process-wide record, the log or the panel.
struct TrialFit {
  bool valid = false;             ///< there is a transform, and it can be reversed
  Calibration map;                ///< the record after the fit: positions on WGS 84, coefficients, Mercator ordinates
  std::vector<double> residuals;  ///< pixels, of points 1 to `pointCount` in this order; empty when not valid
  double rootMeanSquare = 0;      ///< pixels
  int worstPoint = 0;             ///< counted from 1; 0 when no residual is really larger than all others
};

/// Fits points 1 to `pointCount` of `map` as the driver does for a format that fixes the pair `fixed`. Not valid with
/// too few points, a point that is not on the earth, a datum that is not in the table, or a number that does not fit.
TrialFit tryFit(const Calibration& map, const std::optional<ReferencePair>& fixed);

}  // namespace vellandra
