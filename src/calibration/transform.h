#pragma once

#include <array>
#include <cstdint>

#include "calibration/calibration.h"
#include "calibration/journal.h"
#include "geodesy/position.h"

namespace vellandra {

/// Square work matrix with indices 0 to 20; index 0 is not used.
using WorkMatrix = std::array<std::array<double, 21>, 21>;

/// Determinant of rows and columns 1 to `n` (at most 20), by expansion along the first row, exact for a matrix of whole
/// numbers such as pixel sums. Throws SubscriptOutOfRange for a larger `n`.
double determinant(const WorkMatrix& matrix, int n);

/// Copies the n x n block of `source` without row `skipRow` and column `skipColumn` to rows and columns 1 to n - 1 of
/// `target`.
void minorOf(const WorkMatrix& source, int skipRow, int skipColumn, int n, WorkMatrix& target);

/// Fits the six coefficients of `map` to its points 1 to `pointCount` by least squares, latitude and longitude
/// each for itself: the normal equations, solved by Cramer's rule. Sets `fitFailed`. Throws Overflow for a pixel of
/// 46341 or more, whose square does not fit 32 bits.
void fitTransform(Calibration& map, const Journal& journal);

/// Sets the Mercator ordinates of the top and bottom rows from the latitude coefficients; both 0 in the linear model.
void setMercatorOrdinates(Calibration& map);

struct Pixel {
  double x, y;
};

/// Pixel to position and back in real numbers, for any calibration. The reverse of a transform that cannot be reversed
/// is not finite.
Position positionAt(const Calibration& map, double x, double y);
Pixel pixelAt(const Calibration& map, double latitude, double longitude);

/// The same on `calibration`, in whole pixels: `latLonToPixel` rounds half to even and throws Overflow past 32 bits.
void pixelToLatLon(std::int32_t x, std::int32_t y, double& latitude, double& longitude);
void latLonToPixel(double latitude, double longitude, std::int32_t& x, std::int32_t& y);

/// True when every pixel has one finite position and the other way round.
bool isReversible(const Calibration& map);

}  // namespace vellandra
