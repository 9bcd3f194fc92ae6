#pragma once

namespace vellandra {

/// A map astride 180 degrees has its eastern points on negative longitudes: they go on past 180, in tie points and
/// corners. False, with nothing changed, for every other map.
bool unwrapLongitudes();

/// Two points become three: the pixel of (x of point 2, y of point 1), placed by the transform. Nothing for another
/// count.
void interpolateThirdPoint();

/// Three points become four: their centroid, placed by the transform. Nothing for another count.
void addFourthPoint();

/// Fills slots 31 to 34 with the image's corners (top left, top right, bottom right, bottom left), placed by the
/// transform. Tie points that stood in those slots are given up, with a line on the panel.
void fillImageCorners();

/// Sets `averageError` and puts it on the panel, with the root mean square of all residuals and the worst point behind
/// it. Throws Overflow when a point's pixel does not fit 32 bits.
void reportFit();

}  // namespace vellandra
