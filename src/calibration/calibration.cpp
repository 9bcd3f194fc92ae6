#include "calibration/calibration.h"

#include <algorithm>

#include "calibration/messages.h"
#include "support/text.h"

namespace vellandra {

Calibration calibration;

bool Calibration::isMercator() const {
  return trim(projection) == "mercator";
}

void Calibration::setPixel(int slot, std::int32_t x, std::int32_t y) {
  pixelX[slot] = x;
  pixelY[slot] = y;
  hasPixel[slot] = true;
}

void Calibration::setPosition(int slot, double lat, double lon) {
  latitude[slot] = lat;
  longitude[slot] = lon;
  hasPosition[slot] = true;
}

void Calibration::clear() {
  std::string kept = std::move(message);
  *this = Calibration();
  message = std::move(kept);
}

void closePointGaps() {
  Calibration& c = calibration;
  int last = c.pointCount;
  for (int slot = 1; slot <= maxTiePoints; ++slot) {
    if (c.hasPixel[slot] || c.hasPosition[slot]) last = std::max(last, slot);
  }
  int count = 0;
  std::string missing;
  std::string repeated;
  const auto add = [](std::string& list, int slot) { list += (list.empty() ? "" : ", ") + std::to_string(slot); };
  if (c.hasPixel[0] || c.hasPosition[0]) add(missing, 0);  // points count from 1
  for (int slot = 1; slot <= last; ++slot) {
    if (c.givenTwice[slot]) add(repeated, slot);
    c.givenTwice[slot] = false;
    if (!c.hasPixel[slot] || !c.hasPosition[slot]) {
      add(missing, slot);
      continue;
    }
    ++count;
    c.setPixel(count, c.pixelX[slot], c.pixelY[slot]);
    c.setPosition(count, c.latitude[slot], c.longitude[slot]);
  }
  c.hasPixel[0] = c.hasPosition[0] = false;
  for (int slot = count + 1; slot <= last; ++slot) c.hasPixel[slot] = c.hasPosition[slot] = false;
  c.pointCount = static_cast<std::int16_t>(count);
  if (!repeated.empty()) showMessage("Points given more than once, the last one counts: " + repeated);
  if (!missing.empty()) showMessage("Points missing or without a readable position: " + missing);
}

void dropIncompleteCorners() {
  Calibration& c = calibration;
  for (int k = 0; k < c.cornerCount; ++k) {
    if (!c.hasPixel[firstCornerSlot + k] || !c.hasPosition[firstCornerSlot + k]) c.cornerCount = 0;
  }
}

}  // namespace vellandra
