#include "ui/viewer/map_canvas.h"

#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr double keyZoom = 1.25;
constexpr double cropReach = 8;  ///< window units from an edge within which it is taken hold of
constexpr int panParts = 8;
constexpr double fitMargin = 18;  ///< window units around a fitted map, for marks at its edge

}  // namespace

MapCanvas::MapCanvas(const Bitmap& image, QWidget* parent)
    : QWidget(parent), image_(image), pyramid_(runWork("Preparing the map", [&image] { return ImagePyramid(image); })) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMouseTracking(true);
  setFocusPolicy(Qt::StrongFocus);
  setMinimumSize(200, 150);
  setAccessibleName("Map");
  setAccessibleDescription(
      "Arrow keys move the map, plus and minus zoom, F fits it to the window, 1 "
      "shows it at full size, Enter aims at the middle and then takes the place there");
  view_.setFitMargin(fitMargin);
  view_.setImageSize(image.width(), image.height());
  updateCursor({});
}

void MapCanvas::fit() {
  view_.fit();
  changeView();
}

void MapCanvas::full() {
  view_.full();
  changeView();
}

void MapCanvas::zoomBy(double factor) {
  view_.zoomAt(width() / 2.0, height() / 2.0, factor);
  changeView();
}

void MapCanvas::panSteps(int right, int down) {
  view_.panBy(-right * std::round(width() / static_cast<double>(panParts)),
              -down * std::round(height() / static_cast<double>(panParts)));
  changeView();
}

void MapCanvas::centreOnPixel(int x, int y) {
  view_.bringToMiddle(x + 0.5, y + 0.5);
  changeView();
}

void MapCanvas::closeUp(int x, int y) {
  constexpr double closeScale = 4;
  if (view_.scale() < closeScale) view_.zoomAt(width() / 2.0, height() / 2.0, closeScale / view_.scale());
  view_.centreOn(x + 0.5, y + 0.5);
  changeView();
}

void MapCanvas::setView(const MapView& view) {
  view_ = view;
  view_.setWindowSize(width(), height());
  changeView();
}

void MapCanvas::setMarks(std::vector<CanvasMark> marks) {
  marks_ = std::move(marks);
  update();
}

void MapCanvas::setGrid(std::optional<Calibration> map, const PointGrid& grid, DegreeFormat format) {
  gridMap_ = std::move(map);
  grid_ = GridProjection(grid);
  gridFormat_ = format;
  update();
}

void MapCanvas::setOverlay(CanvasOverlay overlay) {
  overlay_ = std::move(overlay);
  update();
}

void MapCanvas::setCrop(CropRectangle* crop) {
  crop_ = crop;
  updateCursor({});
}

void MapCanvas::setPlacing(bool placing) {
  placing_ = placing;
  updateCursor({});
}

void MapCanvas::setArrows(bool arrows) {
  arrows_ = arrows;
  update();
}

void MapCanvas::letGo() {
  hold_ = Hold::nothing;
  dragging_ = false;
}

void MapCanvas::changeView() {
  update();
  if (aiming_) pointAt(QPointF(width() / 2.0, height() / 2.0));
  Q_EMIT viewChanged();
}

bool MapCanvas::pixelAtWindow(QPointF place, int& x, int& y) const {
  const ViewPoint image = view_.toImage(place.x(), place.y());
  x = static_cast<int>(std::floor(image.x));
  y = static_cast<int>(std::floor(image.y));
  return x >= 0 && y >= 0 && x < image_.width() && y < image_.height();
}

void MapCanvas::pointAt(QPointF place) {
  int x = 0;
  int y = 0;
  if (pixelAtWindow(place, x, y)) {
    Q_EMIT pointedAt(x, y);
  } else {
    Q_EMIT pointedBeside();
  }
}

void MapCanvas::resizeEvent(QResizeEvent*) {
  view_.setWindowSize(width(), height());
  changeView();
}

void MapCanvas::wheelEvent(QWheelEvent* event) {
  constexpr double notch = 120;
  const int delta = event->angleDelta().y();
  if (delta != 0) {
    view_.zoomAt(event->position().x(), event->position().y(), std::pow(keyZoom, delta / notch));
    aiming_ = false;
    changeView();
    pointAt(event->position());
  }
  event->accept();
}

void MapCanvas::mousePressEvent(QMouseEvent* event) {
  if (hold_ != Hold::nothing) return;
  pressed_ = last_ = event->position();
  dragging_ = aiming_ = false;
  hold_ = Hold::map;
  if (event->button() != Qt::LeftButton) return;
  if (crop_ != nullptr) {
    holdForCrop(pressed_);
    return;
  }
  heldMark_ = hitTest_ ? hitTest_(pressed_.x(), pressed_.y()) : 0;
  if (heldMark_ == 0) return;
  hold_ = Hold::mark;
  const CanvasMark& mark = marks_.at(static_cast<std::size_t>(heldMark_ - 1));
  const ViewPoint place = view_.toWindow(mark.x + 0.5, mark.y + 0.5);
  markOffset_ = QPointF(place.x, place.y) - pressed_;
}

void MapCanvas::holdForCrop(QPointF place) {
  const ViewPoint image = view_.toImage(place.x(), place.y());
  grip_ = crop_->gripAt(image.x, image.y, cropReach / view_.scale());
  cropStart_ = crop_->pixels();
  hold_ = grip_.any() ? Hold::cropGrip : Hold::cropNew;
}

void MapCanvas::mouseMoveEvent(QMouseEvent* event) {
  if (aiming_) {
    aiming_ = false;
    update();
  }
  if (event->buttons() == Qt::NoButton) letGo();  // a dialog that came up has seen the button let go
  if (hold_ == Hold::nothing) {
    updateCursor(event->position());
  } else {
    if (!dragging_ && (event->position() - pressed_).manhattanLength() >= QApplication::startDragDistance()) {
      dragging_ = true;
      if (hold_ == Hold::mark) Q_EMIT markGrabbed(heldMark_);
    }
    if (dragging_) dragTo(event->position());
  }
  pointAt(event->position());
}

void MapCanvas::dragTo(QPointF place) {
  const QPointF moved = place - last_;
  last_ = place;
  const ViewPoint from = view_.toImage(pressed_.x(), pressed_.y());
  const ViewPoint to = view_.toImage(place.x(), place.y());
  switch (hold_) {
    case Hold::map:
      view_.panBy(moved.x(), moved.y());
      changeView();
      break;
    case Hold::mark: {
      const ViewPoint image = view_.toImage(place.x() + markOffset_.x(), place.y() + markOffset_.y());
      Q_EMIT markDragged(heldMark_, static_cast<int>(std::floor(image.x)), static_cast<int>(std::floor(image.y)));
      break;
    }
    case Hold::cropNew:
      crop_->draw(from.x, from.y, to.x, to.y);
      break;
    case Hold::cropGrip:
      crop_->drag(cropStart_, grip_, to.x - from.x, to.y - from.y);
      break;
    case Hold::nothing:
      break;
  }
  if (hold_ == Hold::cropNew || hold_ == Hold::cropGrip) {
    update();
    Q_EMIT cropChanged();
  }
}

void MapCanvas::mouseReleaseEvent(QMouseEvent* event) {
  const Hold held = hold_;
  const bool clicked = !dragging_ && event->button() == Qt::LeftButton;
  letGo();
  updateCursor(event->position());
  if (!clicked) return;
  int x = 0;
  int y = 0;
  if (held == Hold::mark) {
    Q_EMIT markClicked(heldMark_);
  } else if (held == Hold::map && pixelAtWindow(event->position(), x, y)) {
    Q_EMIT mapClicked(x, y);
  }
}

void MapCanvas::leaveEvent(QEvent*) {
  if (!aiming_) Q_EMIT pointedBeside();
}

void MapCanvas::focusOutEvent(QFocusEvent* event) {
  aiming_ = false;
  QWidget::focusOutEvent(event);
  update();
}

void MapCanvas::useArrow(int right, int down, Qt::KeyboardModifiers modifiers) {
  if (modifiers.testFlag(Qt::AltModifier)) {
    Q_EMIT nudged(right, down);
    return;
  }
  aiming_ = crop_ == nullptr;
  if (modifiers.testFlag(Qt::ShiftModifier)) {
    view_.panBy(-right * view_.scale(), -down * view_.scale());
    changeView();
  } else {
    panSteps(right, down);
  }
}

/// The first Enter shows where the next one takes the place: one too many after other work takes none.
void MapCanvas::takeAim() {
  const QPointF middle(width() / 2.0, height() / 2.0);
  int x = 0;
  int y = 0;
  if (!aiming_) {
    aiming_ = true;
    update();
    pointAt(middle);
  } else if (pixelAtWindow(middle, x, y)) {
    aiming_ = false;
    Q_EMIT mapClicked(x, y);
  }
}

void MapCanvas::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
      return useArrow(-1, 0, event->modifiers());
    case Qt::Key_Right:
      return useArrow(1, 0, event->modifiers());
    case Qt::Key_Up:
      return useArrow(0, -1, event->modifiers());
    case Qt::Key_Down:
      return useArrow(0, 1, event->modifiers());
    case Qt::Key_Plus:
    case Qt::Key_Equal:
      return zoomBy(keyZoom);
    case Qt::Key_Minus:
      return zoomBy(1 / keyZoom);
    case Qt::Key_F:
    case Qt::Key_Home:
      return fit();
    case Qt::Key_1:
      return full();
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (crop_ != nullptr) {
        Q_EMIT confirmed();
      } else if (!event->isAutoRepeat()) {
        takeAim();
      }
      return;
    default:
      QWidget::keyPressEvent(event);
  }
}

void MapCanvas::updateCursor(QPointF place) {
  if (crop_ != nullptr) {
    const ViewPoint image = view_.toImage(place.x(), place.y());
    const CropGrip grip = crop_->gripAt(image.x, image.y, cropReach / view_.scale());
    const bool across = grip.left || grip.right;
    const bool down = grip.top || grip.bottom;
    const bool falling = (grip.left && grip.top) || (grip.right && grip.bottom);
    setCursor(across && down ? (falling ? Qt::SizeFDiagCursor : Qt::SizeBDiagCursor)
              : across       ? Qt::SizeHorCursor
              : down         ? Qt::SizeVerCursor
              : grip.whole   ? Qt::SizeAllCursor
                             : Qt::CrossCursor);
  } else if (hitTest_ && hitTest_(place.x(), place.y()) > 0) {
    setCursor(Qt::PointingHandCursor);
  } else {
    setCursor(placing_ ? Qt::CrossCursor : Qt::OpenHandCursor);
  }
}

}  // namespace vellandra
