#pragma once

#include <QString>

namespace vellandra {

// A position as the viewer shows it, its longitude brought within 180 degrees. Empty where no text can show it.

/// In the format of the preferences.
QString shownPosition(double latitude, double longitude);
/// In decimal degrees, whatever the format in use.
QString shownDegrees(double latitude, double longitude);
/// As a reference of the grid that is used there.
QString shownGrid(double latitude, double longitude);

}  // namespace vellandra
