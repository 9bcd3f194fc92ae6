#pragma once

#include <optional>
#include <string>

#include "calibration/calibration.h"
#include "calibration/journal.h"

namespace vellandra {

/// The two calibration points that scale, rotation and central longitude are taken from.
struct ReferencePair {
  int i = 0, j = 0;
  /// Two points share a column and a longitude, or a row and a latitude: the map lies straight on the grid.
  bool alignedWithGrid = false;
};

/// The pair that `fixed` names when there are so many points; else the pair with the largest |difference in longitude|
/// times |difference in latitude| of points 1 to 30, the earlier on a tie, and without such a pair the one furthest
/// apart in pixels. Nothing when no two points have distinct pixels.
std::optional<ReferencePair> chooseReferencePair(const Calibration& map, const std::optional<ReferencePair>& fixed,
                                                 const Journal& journal);

/// Ground distance of the pair on the UTM plane of its mean longitude, over its distance in pixels.
double metresPerPixel(const Calibration& map, const ReferencePair& pair);

/// Sets the six coefficients from the pair alone, where the fit cannot serve: turned and scaled for a linear map,
/// stretched when the map is aligned with the grid or `stretchNotRotate` asks for it; always stretched, in Mercator
/// ordinates, for a Mercator map. Logs each quantity on the way.
void deriveTransform(Calibration& map, const ReferencePair& pair, bool stretchNotRotate, const Journal& journal);

/// The terms of a world file in its order: X = A x + B y + C, Y = D x + E y + F.
struct WorldFileTerms {
  double A = 0, D = 0, B = 0, E = 0, C = 0, F = 0;
};

/// The six coefficients, or, for a linear map that is rotated while `stretchNotRotate` is on, those of the stretched
/// transform through the pair.
WorldFileTerms worldFileTerms(const Calibration& map, const ReferencePair& pair, bool stretchNotRotate);

}  // namespace vellandra
