#pragma once

#include <QString>
#include <string_view>

#include "support/text.h"

namespace vellandra {

/// Text as the core holds it (UTF-8 or Windows-1252), for showing.
inline QString shownText(std::string_view bytes) {
  return QString::fromStdString(toUtf8(bytes));
}

}  // namespace vellandra
