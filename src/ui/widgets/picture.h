#pragma once

#include <QImage>

#include "support/user_interface.h"

namespace vellandra {

/// A copy of `picture` for the screen.
inline QImage imageOf(const Picture& picture) {
  return QImage(picture.pixels.data(), picture.width, picture.height, qsizetype{3} * picture.width,
                QImage::Format_BGR888)
      .convertToFormat(QImage::Format_RGB32);
}

}  // namespace vellandra
