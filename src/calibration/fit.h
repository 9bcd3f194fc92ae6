#pragma once

#include <optional>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/journal.h"
#include "calibration/reference_pair.h"

namespace vellandra {

/// Brings the positions of `count` slots from `first` on to WGS 84; those that are there already stay as they are.
/// Returns why that cannot be done, for the person: a position that is not on the earth, a datum that is not in the
/// table; empty when all is well.
std::string convertToWgs84(Calibration& map, int first, int count, const Journal& journal);

/// A map astride 180 degrees has its eastern points on negative longitudes: they go on past 180, in tie points and
/// corners. False, with nothing changed, for every other map.
bool unwrapLongitudes(Calibration& map);

/// Fits the transform of `map`, whose points are on WGS 84: longitudes unwrapped, coefficients and Mercator ordinates
/// set, from the reference pair where least squares cannot serve. `fixedPair` as in
/// `chooseReferencePair`. Returns the
/// reference pair; nothing when the points make no transform that can be reversed. Throws Overflow as `fitTransform`.
std::optional<ReferencePair> fitMap(Calibration& map, const std::optional<ReferencePair>& fixedPair,
                                    bool stretchNotRotate, const Journal& journal);

/// How far the tie points lie from where the transform puts them.
struct Residuals {
  std::vector<double> pixels;  ///< of points 1 to `pointCount`, in this order
  double rootMeanSquare = 0;   ///< pixels
  int worst = 0;               ///< the point with the largest, the first of equals; counted from 1
  double ofWorst() const { return worst == 0 ? 0 : pixels[static_cast<std::size_t>(worst - 1)]; }
  /// The worst point is really worse than all others, and not by chance as one of four points of a rectangle.
  bool worstStandsOut() const;
};
Residuals residualsOf(const Calibration& map);

/// The residual, in whole pixels of the inverse transform, of the last point. Throws Overflow when it does not fit 32
/// bits.
float averageErrorOf(const Calibration& map);

/// What the driver would make of the points of a map, found without touching the map, the log or the panel.
struct TrialFit {
  bool valid = false;   ///< there is a transform, and it can be reversed
  Calibration map;      ///< after the fit: positions on WGS 84, coefficients, Mercator ordinates
  Residuals residuals;  ///< none when not valid
};

/// Not valid with too few points, a point that is not on the earth, a datum that is not in the table, or a number that
/// does not fit.
TrialFit tryFit(const Calibration& map, const std::optional<ReferencePair>& fixedPair, bool stretchNotRotate);

}  // namespace vellandra
