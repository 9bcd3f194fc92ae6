#include "ui/map_canvas_view.h"

#include <algorithm>
#include <cmath>

namespace vellandra {
namespace {

/// Where one edge of the image may lie: `size` long, in a window of `room`. The freedom grows from none, where the
/// image just fills the window, to half a window, so that zooming makes no jump.
double settled(double edge, double size, double room) {
  if (size <= room) return std::round((room - size) / 2);
  const double freedom = std::min(room / 2, size - room);
  return std::clamp(edge, room - size - freedom, freedom);
}

}  // namespace

void MapView::setImageSize(int width, int height) {
  imageWidth_ = std::max(width, 1);
  imageHeight_ = std::max(height, 1);
  fit();
}

void MapView::setWindowSize(double width, double height) {
  const ViewPoint middle = toImage(windowWidth_ / 2, windowHeight_ / 2);
  windowWidth_ = std::max(width, 1.0);
  windowHeight_ = std::max(height, 1.0);
  fitted_ ? fit() : centreOn(middle.x, middle.y);
}

ViewPoint MapView::toWindow(double x, double y) const {
  return {left_ + x * scale_, top_ + y * scale_};
}

ViewPoint MapView::toImage(double x, double y) const {
  return {(x - left_) / scale_, (y - top_) / scale_};
}

double MapView::fittedScale() const {
  return std::min({windowWidth_ / imageWidth_, windowHeight_ / imageHeight_, largestScale});
}

void MapView::fit() {
  scale_ = fittedScale();
  settle();
  fitted_ = true;
}

void MapView::full() {
  zoomAt(windowWidth_ / 2, windowHeight_ / 2, 1 / scale_);
}

void MapView::zoomAt(double x, double y, double factor) {
  const ViewPoint held = toImage(x, y);
  scale_ = std::clamp(scale_ * factor, std::min(fittedScale(), 1.0), largestScale);
  left_ = x - held.x * scale_;
  top_ = y - held.y * scale_;
  settle();
  fitted_ = false;
}

void MapView::panBy(double dx, double dy) {
  left_ += dx;
  top_ += dy;
  settle();
  fitted_ = fitted_ && scale_ == fittedScale();
}

void MapView::centreOn(double x, double y) {
  left_ = windowWidth_ / 2 - x * scale_;
  top_ = windowHeight_ / 2 - y * scale_;
  settle();
}

void MapView::settle() {
  left_ = settled(left_, imageWidth_ * scale_, windowWidth_);
  top_ = settled(top_, imageHeight_ * scale_, windowHeight_);
}

}  // namespace vellandra
