#pragma once

#include <cstdint>

#include "ui/viewer/map_canvas_pyramid.h"
#include "ui/viewer/map_canvas_view.h"

namespace vellandra {

struct LineStyle {
  double width = 1;         ///< frame pixels
  std::uint32_t color = 0;  ///< 0xRRGGBB
  double opacity = 1;       ///< 0 to 1
};

/// Draws a straight line with soft edges straight into the frame's pixels; what lies outside is left out. A window
/// system's painter takes many times as long for the long thin lines of a grid.
void drawLine(const Frame& frame, ViewPoint from, ViewPoint to, const LineStyle& style);

}  // namespace vellandra
