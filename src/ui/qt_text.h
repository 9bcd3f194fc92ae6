#pragma once

#include <QFile>
#include <QString>
#include <string>

#include "support/text.h"

namespace vellandra {

/// Text of the core, UTF-8 or Windows-1252, as it is shown.
inline QString shown(const std::string& text) {
  return QString::fromStdString(toUtf8(text));
}

/// Paths are bytes in the core.
inline std::string pathBytes(const QString& path) {
  return QFile::encodeName(path).toStdString();
}
inline QString shownPath(const std::string& path) {
  return QFile::decodeName(path.c_str());
}

}  // namespace vellandra
