#pragma once

namespace vellandra {

struct ViewPoint {
  double x = 0, y = 0;
};

/// Which part of an image a window shows. Image coordinates run from 0 to width and height, so the middle of pixel
/// (x, y) is (x + 0.5, y + 0.5); window coordinates count in the window's own units from its top-left corner.
/// However it is moved, the image stays in sight: the middle of the window lies on it, at the least on its edge.
class MapView {
 public:
  static constexpr double largestScale = 32;

  void setImageSize(int width, int height);
  /// Keeps the middle of the window on its place in the map; a view that was fitted stays fitted.
  void setWindowSize(double width, double height);

  double scale() const { return scale_; }  ///< window units per pixel
  bool isFitted() const { return fitted_; }
  ViewPoint toWindow(double x, double y) const;
  ViewPoint toImage(double x, double y) const;

  void setFitMargin(double margin) { fitMargin_ = margin; }  ///< around a fitted image, in window units
  void fit();
  void full();  ///< one window unit per pixel, the middle stays
  /// Zooms by `factor` with the map's place at the window's (x, y) staying there as far as the image stays in sight.
  void zoomAt(double x, double y, double factor);
  void panBy(double dx, double dy);  ///< the map moves by (dx, dy) in the window
  void centreOn(double x, double y);
  /// As `centreOn`, but does not move the map the way in which all of it is in sight: it would make room for nothing.
  void bringToMiddle(double x, double y);
  double fittedScale() const;
  double windowWidth() const { return windowWidth_; }
  double windowHeight() const { return windowHeight_; }

 private:
  void settle();

  int imageWidth_ = 1, imageHeight_ = 1;
  double windowWidth_ = 1, windowHeight_ = 1;
  double fitMargin_ = 0;
  double scale_ = 1;
  double left_ = 0, top_ = 0;  ///< of the image in the window
  bool fitted_ = true;
};

}  // namespace vellandra
