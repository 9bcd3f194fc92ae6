#include "ui/viewer/map_canvas_crop.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vellandra {
namespace {

bool near(double a, double b, double reach) {
  return std::abs(a - b) <= reach;
}

int whole(double value, int most) {
  return static_cast<int>(std::clamp(std::round(value), 0.0, static_cast<double>(most)));
}

/// In order, inside 0 to `most`, and at least one pixel long.
void settle(int& low, int& high, int most) {
  if (low > high) std::swap(low, high);
  low = std::clamp(low, 0, most - 1);
  high = std::clamp(high, low + 1, most);
}

}  // namespace

void CropRectangle::set(const PixelRectangle& wanted) {
  pixels_ = wanted;
  settle(pixels_.left, pixels_.right, imageWidth_);
  settle(pixels_.top, pixels_.bottom, imageHeight_);
}

CropGrip CropRectangle::gripAt(double x, double y, double reach) const {
  CropGrip grip;
  if (pixels_.isEmpty()) return grip;
  const bool withinX = x >= pixels_.left - reach && x <= pixels_.right + reach;
  const bool withinY = y >= pixels_.top - reach && y <= pixels_.bottom + reach;
  if (!withinX || !withinY) return grip;
  grip.left = near(x, pixels_.left, reach);
  grip.right = !grip.left && near(x, pixels_.right, reach);
  grip.top = near(y, pixels_.top, reach);
  grip.bottom = !grip.top && near(y, pixels_.bottom, reach);
  grip.whole = !grip.any();
  return grip;
}

void CropRectangle::draw(double fromX, double fromY, double toX, double toY) {
  set({whole(fromX, imageWidth_), whole(fromY, imageHeight_), whole(toX, imageWidth_), whole(toY, imageHeight_)});
}

void CropRectangle::drag(const PixelRectangle& start, const CropGrip& grip, double dx, double dy) {
  if (grip.whole) {
    const int width = start.right - start.left;
    const int height = start.bottom - start.top;
    const int left = whole(start.left + dx, imageWidth_ - width);
    const int top = whole(start.top + dy, imageHeight_ - height);
    set({left, top, left + width, top + height});
    return;
  }
  PixelRectangle moved = start;
  if (grip.left) moved.left = whole(start.left + dx, imageWidth_);
  if (grip.right) moved.right = whole(start.right + dx, imageWidth_);
  if (grip.top) moved.top = whole(start.top + dy, imageHeight_);
  if (grip.bottom) moved.bottom = whole(start.bottom + dy, imageHeight_);
  set(moved);
}

}  // namespace vellandra
