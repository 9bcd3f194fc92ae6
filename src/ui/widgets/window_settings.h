#pragma once

#include <QSettings>
#include <QString>

#include "support/paths.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {

/// What the windows remember from run to run (size and place, folder, recent files); kept beside the preferences.
inline QSettings windowSettings() {
  return QSettings(shownPath(settingsFolder()) + "windows.ini", QSettings::IniFormat);
}

}  // namespace vellandra
