#pragma once

namespace vellandra {

/// Columns `left` to `right` - 1 and rows `top` to `bottom` - 1 of an image.
struct PixelRectangle {
  int left = 0, top = 0, right = 0, bottom = 0;
  bool isEmpty() const { return left >= right || top >= bottom; }
  bool operator==(const PixelRectangle&) const = default;
};

}  // namespace vellandra
