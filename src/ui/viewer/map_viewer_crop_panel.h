#pragma once

#include <QWidget>
#include <array>

#include "ui/viewer/map_canvas_crop.h"

class QLabel;
class QSpinBox;

namespace vellandra {

/// The edges of the crop rectangle as numbers, for the keyboard and for exactness.
class CropPanel : public QWidget {
  Q_OBJECT

 public:
  CropPanel(int imageWidth, int imageHeight, QWidget* parent);
  void setPixels(const PixelRectangle& pixels);

 Q_SIGNALS:
  void edited(const vellandra::PixelRectangle& pixels);

 private:
  void takeFields();

  std::array<QSpinBox*, 4> edges_{};  ///< left, top, right, bottom
  QLabel* size_;
  bool showing_ = false;
};

}  // namespace vellandra
