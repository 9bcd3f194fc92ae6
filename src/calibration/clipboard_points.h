#pragma once

#include <string_view>

namespace vellandra {

/// Fills the points of `calibration` from text of the clipboard, one a line: pixel x, pixel y, latitude, longitude,
/// parted by commas; decimal degrees on WGS 84, north and east positive; pixels are rounded half to even. Every line
/// goes to the panel; one that is not four numbers is skipped there. Throws SubscriptOutOfRange at the 31st point,
/// Overflow for a pixel past 32 bits.
void readClipboardPoints(std::string_view text);

}  // namespace vellandra
