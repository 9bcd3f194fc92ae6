#pragma once

#include <cstdint>

#include "calibration/calibration.h"
#include "raster/bitmap.h"

namespace vellandra {

/// A base pixel of this colour is empty: it takes the merge map's colour whatever the weight.
inline constexpr PixelColor markerColor{253, 253, 253, 0};

/// What pixels get that come out in the marker colour without being empty.
inline constexpr PixelColor besideMarkerColor{252, 252, 252, 0};

/// Of a pixel of 24 bits: blue, green, red.
inline bool isMarkerColor(const std::uint8_t* pixel) {
  return pixel[0] == markerColor.blue && pixel[1] == markerColor.green && pixel[2] == markerColor.red;
}

/// A place this close to the edge of a map, in pixels, counts as on it: neighbouring maps meet without a gap although
/// their calibrations are written with few digits.
inline constexpr double edgeTolerance = 0.01;

/// The calibrations of the two maps of a merge: a is the base map, b the map that is painted into it. Pixels are real
/// numbers, positions decimal degrees.
struct MergeSides {
  Calibration a, b;

  void xy2lla(double x, double y, double& latitude, double& longitude) const;
  void xy2llb(double x, double y, double& latitude, double& longitude) const;
  void ll2xya(double latitude, double longitude, double& x, double& y) const;
  void ll2xyb(double latitude, double longitude, double& x, double& y) const;
};

/// Turns the longitudes of `sides.b` by whole circles to where they are nearest to those of `sides.a`, so that maps on
/// both sides of 180 degrees meet.
void bringLongitudesTogether(MergeSides& sides);

/// The base map enlarged: its size, and the columns and rows added at the left and at the top.
struct Canvas {
  int width = 0, height = 0;
  int left = 0, top = 0;
};

/// The smallest canvas, in whole pixels of the base map, that holds both maps. Neither side is longer than 32767
/// pixels: what lies beyond, at the right and bottom first, is cut from the merge map, never from the base map.
Canvas proposedCanvas(const MergeSides& sides);

/// The map as it is.
Canvas wholeMap(const Calibration& map);

/// How much of the merge map lies on a canvas of the base map, to a pixel. Maps that only touch are partly on each
/// other.
enum class MergeMapOn { outside, partly, inside };
MergeMapOn mergeMapOn(const MergeSides& sides, const Canvas& canvas);

/// An image of `canvas` size, in the marker colour where `base` does not lie. Empty when there is no memory.
Bitmap enlarge(const Bitmap& base, const Canvas& canvas, unsigned threads);

}  // namespace vellandra
