#include "calibration/clipboard_points.h"

#include <algorithm>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/messages.h"
#include "geodesy/datum.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

bool isNumber(std::string_view text) {
  return beginsWithNumber(text) && trim(text).find_first_not_of("0123456789+-.eE") == std::string_view::npos;
}

bool isPoint(const std::vector<std::string_view>& fields) {
  return fields.size() == 4 && std::all_of(fields.begin(), fields.end(), isNumber);
}

}  // namespace

void readClipboardPoints(std::string_view text) {
  Calibration& c = calibration;
  c.pointCount = 0;
  for (const std::string_view untrimmed : splitFields(text, "\r\n", text.size() + 1)) {
    const std::string line(trim(untrimmed));
    if (line.empty()) continue;
    const std::vector<std::string_view> fields = splitFields(line, ",");
    if (!isPoint(fields)) {
      showMessage(line + " : not four numbers, skipped");
      continue;
    }
    showMessage(line);
    if (c.pointCount == maxTiePoints) throw SubscriptOutOfRange("point " + std::to_string(maxTiePoints + 1));
    const int slot = c.pointCount + 1;
    c.points[slot].setPixel(parseInt32(fields[0]), parseInt32(fields[1]));
    c.points[slot].setPosition(parseNumber(fields[2]), parseNumber(fields[3]));
    c.points[slot].datumName = wgs84Name;
    ++c.pointCount;
  }
}

}  // namespace vellandra
