#pragma once

#include "raster/pixel_rectangle.h"

namespace vellandra {

/// What of a rectangle a hand takes hold of.
struct CropGrip {
  bool left = false, top = false, right = false, bottom = false;
  bool whole = false;  ///< inside: the rectangle moves as it is
  bool any() const { return left || top || right || bottom || whole; }
};

/// A rectangle drawn on an image of the given size: it never leaves the image, and has at least one pixel once drawn.
class CropRectangle {
 public:
  CropRectangle(int imageWidth, int imageHeight) : imageWidth_(imageWidth), imageHeight_(imageHeight) {}

  const PixelRectangle& pixels() const { return pixels_; }
  /// Brings `wanted` inside the image; corners in the wrong order are swapped.
  void set(const PixelRectangle& wanted);
  /// The edges within `reach` pixels of (x, y), its inside, or nothing.
  CropGrip gripAt(double x, double y, double reach) const;
  /// A new rectangle between two places on the map.
  void draw(double fromX, double fromY, double toX, double toY);
  /// `start` with the edges of `grip` moved by (dx, dy) pixels.
  void drag(const PixelRectangle& start, const CropGrip& grip, double dx, double dy);

 private:
  int imageWidth_, imageHeight_;
  PixelRectangle pixels_;
};

}  // namespace vellandra
