#include "ui/viewer/map_canvas_view.h"

#include <algorithm>
#include <cmath>

namespace vellandra {
namespace {

/// One edge of the image, `size` long, so that the middle of a window of `room` lies on the image.
double settled(double edge, double size, double room) {
  return std::clamp(edge, room / 2 - size, room / 2);
}

/// Whether an image `size` long from `edge` on lies whole in a window of `room`; a fitted one is off by rounding.
bool isInSight(double edge, double size, double room) {
  constexpr double rounding = 0.51;
  return edge >= -rounding && edge + size <= room + rounding;
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
  const double width = std::max(windowWidth_ - 2 * fitMargin_, windowWidth_ / 2);
  const double height = std::max(windowHeight_ - 2 * fitMargin_, windowHeight_ / 2);
  return std::min({width / imageWidth_, height / imageHeight_, largestScale});
}

void MapView::fit() {
  scale_ = fittedScale();
  left_ = std::round((windowWidth_ - imageWidth_ * scale_) / 2);
  top_ = std::round((windowHeight_ - imageHeight_ * scale_) / 2);
  fitted_ = true;
}

void MapView::full() {
  zoomAt(windowWidth_ / 2, windowHeight_ / 2, 1 / scale_);
}

void MapView::zoomAt(double x, double y, double factor) {
  const ViewPoint held = toImage(x, y);
  scale_ = std::clamp(scale_ * factor, std::min(fittedScale(), 1.0), largestScale);
  if (scale_ == fittedScale()) {
    fit();
    return;
  }
  left_ = x - held.x * scale_;
  top_ = y - held.y * scale_;
  settle();
  fitted_ = false;
}

void MapView::panBy(double dx, double dy) {
  left_ += dx;
  top_ += dy;
  settle();
  fitted_ = false;
}

void MapView::centreOn(double x, double y) {
  left_ = windowWidth_ / 2 - x * scale_;
  top_ = windowHeight_ / 2 - y * scale_;
  settle();
  fitted_ = false;
}

void MapView::bringToMiddle(double x, double y) {
  const bool acrossInSight = isInSight(left_, imageWidth_ * scale_, windowWidth_);
  const bool downInSight = isInSight(top_, imageHeight_ * scale_, windowHeight_);
  if (acrossInSight && downInSight) return;
  const ViewPoint middle = toImage(windowWidth_ / 2, windowHeight_ / 2);
  centreOn(acrossInSight ? middle.x : x, downInSight ? middle.y : y);
}

void MapView::settle() {
  left_ = settled(left_, imageWidth_ * scale_, windowWidth_);
  top_ = settled(top_, imageHeight_ * scale_, windowHeight_);
}

}  // namespace vellandra
