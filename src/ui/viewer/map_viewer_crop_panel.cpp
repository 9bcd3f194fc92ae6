#include "ui/viewer/map_viewer_crop_panel.h"

#include <QFormLayout>
#include <QLabel>
#include <QSpinBox>

#include "ui/widgets/qt_text.h"

namespace vellandra {

CropPanel::CropPanel(int imageWidth, int imageHeight, QWidget* parent) : QWidget(parent), size_(new QLabel) {
  auto* layout = new QFormLayout(this);
  constexpr std::array<const char*, 4> names = {"L&eft", "&Top", "&Right", "&Bottom"};
  for (std::size_t i = 0; i < edges_.size(); ++i) {
    edges_[i] = new QSpinBox;
    edges_[i]->setRange(0, i % 2 == 0 ? imageWidth : imageHeight);
    edges_[i]->setKeyboardTracking(false);
    edges_[i]->setAccessibleName(plainCaption(names[i]));
    layout->addRow(names[i], edges_[i]);
    connect(edges_[i], &QSpinBox::valueChanged, this, &CropPanel::takeFields);
  }
  layout->addRow(size_);
}

void CropPanel::setPixels(const PixelRectangle& pixels) {
  showing_ = true;
  const std::array<int, 4> values = {pixels.left, pixels.top, pixels.right, pixels.bottom};
  for (std::size_t i = 0; i < edges_.size(); ++i) edges_[i]->setValue(values[i]);
  size_->setText(pixels.isEmpty()
                     ? "No rectangle yet"
                     : QString("%1 x %2 pixels").arg(pixels.right - pixels.left).arg(pixels.bottom - pixels.top));
  showing_ = false;
}

void CropPanel::takeFields() {
  if (showing_) return;
  // Before a rectangle is drawn, an edge that is not given is the image's.
  const auto far = [this](std::size_t i) { return edges_[i]->value() > 0 ? edges_[i]->value() : edges_[i]->maximum(); };
  Q_EMIT edited({edges_[0]->value(), edges_[1]->value(), far(2), far(3)});
}

}  // namespace vellandra
