#include "ui/viewer/shown_position.h"

#include "calibration/preferences.h"
#include "geodesy/angle_format.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

template <typename TextOf>
QString shownBy(const TextOf& textOf, double latitude, double longitude) {
  try {
    return shown(textOf(latitude, withinHalfTurn(longitude)));
  } catch (const RunTimeError&) {
    return {};
  }
}

}  // namespace

QString shownPosition(double latitude, double longitude) {
  const auto format = DegreeFormat(preferences.degreeFormat);
  return shownBy([=](double lat, double lon) { return positionText(lat, lon, format); }, latitude, longitude);
}

QString shownDegrees(double latitude, double longitude) {
  const auto textOf = [](double lat, double lon) {
    return formatNumber(lat, "##0.00000") + " " + formatNumber(lon, "##0.00000");
  };
  return shownBy(textOf, latitude, longitude);
}

QString shownGrid(double latitude, double longitude) {
  // 180 E is 180 W: there is no zone behind 60.
  return shownBy([](double lat, double lon) { return gridText(lat, lon == 180 ? -180 : lon); }, latitude, longitude);
}

}  // namespace vellandra
