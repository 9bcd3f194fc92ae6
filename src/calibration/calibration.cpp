#include "calibration/calibration.h"

#include <algorithm>

#include "calibration/messages.h"
#include "support/text.h"

namespace vellandra {

Calibration calibration;

bool Calibration::isMercator() const {
  return trim(projection) == "mercator";
}

int Calibration::numberOf(int slot) const {
  int number = slot;
  for (const OffPoint& off : offPoints) number += off.number <= number ? 1 : 0;
  return number;
}

void CalibrationPoint::setPixel(std::int32_t x, std::int32_t y) {
  pixelX = x;
  pixelY = y;
  hasPixel = true;
}

void CalibrationPoint::setPosition(double lat, double lon, const PointGrid& givenIn) {
  latitude = lat;
  longitude = lon;
  grid = givenIn;
  hasPosition = true;
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
    if (!c.points[slot].isEmpty()) last = std::max(last, slot);
  }
  int count = 0;
  std::string missing;
  std::string repeated;
  const auto add = [](std::string& list, int slot) { list += (list.empty() ? "" : ", ") + std::to_string(slot); };
  if (!c.points[0].isEmpty()) add(missing, 0);  // points count from 1
  for (int slot = 1; slot <= last; ++slot) {
    if (c.points[slot].givenTwice) add(repeated, slot);
    c.points[slot].givenTwice = false;
    if (!c.points[slot].isComplete()) {
      add(missing, slot);
      continue;
    }
    ++count;
    c.points[count] = c.points[slot];
  }
  c.points[0].hasPixel = c.points[0].hasPosition = false;
  for (int slot = count + 1; slot <= last; ++slot) c.points[slot].hasPixel = c.points[slot].hasPosition = false;
  c.pointCount = static_cast<std::int16_t>(count);
  if (!repeated.empty()) showMessage("Points given more than once, the last one counts: " + repeated);
  if (!missing.empty()) showMessage("Points missing or without a readable position: " + missing);
}

void dropIncompleteCorners() {
  Calibration& c = calibration;
  for (int k = 0; k < c.cornerCount; ++k) {
    if (!c.points[firstCornerSlot + k].isComplete()) c.cornerCount = 0;
  }
}

}  // namespace vellandra
