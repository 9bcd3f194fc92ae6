#include "ui/dialogs/garmin_dialog.h"

#include <QDialog>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMouseEvent>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <algorithm>
#include <functional>
#include <utility>

#include "support/paths.h"
#include "ui/widgets/picture.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

QPixmap mark(const char* name) {
  return QPixmap(shownPath(programFolder()) + name);
}

/// Into how many tiles the map is cut, and how many of them are written.
QString countsText(const TileControls& controls) {
  const std::int64_t count = controls.tileCount();
  const QString cut = QString("%1 x %2 tiles, ").arg(controls.tilesAcross()).arg(controls.tilesDown());
  if (count > TileControls::mostTiles) {
    return cut + QString("too many: at most %1 can be written").arg(TileControls::mostTiles);
  }
  std::int64_t written = 0;
  for (std::int64_t number = 1; number <= count; ++number) written += controls.isTicked(number) ? 1 : 0;
  return cut + QString("%1 will be written").arg(written);
}

/// The map with its tiles.
class TilePicture : public QWidget {
 public:
  TilePicture(const Picture& map, TileControls& controls, std::function<void()> toggled)
      : map_(imageOf(map)),
        controls_(controls),
        toggled_(std::move(toggled)),
        tick_(mark("tick.png")),
        cross_(mark("cross.png")) {
    setObjectName("picture");
    setAccessibleName("Tiles of the map");
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(fontMetrics().averageCharWidth() * 40, fontMetrics().height() * 16);
  }
  QSize sizeHint() const override { return map_.size().boundedTo({800, 640}).expandedTo(minimumSize()); }

  void countsChanged() {
    current_ = std::min(current_, controls_.tileCount());
    update();
  }

 protected:
  void paintEvent(QPaintEvent*) override;
  void mousePressEvent(QMouseEvent* event) override {
    const QRectF place = picturePlace();
    const QPointF at = event->position() - place.topLeft();
    const std::int64_t tile = tileAt(at);
    if (event->button() != Qt::LeftButton || tile == 0) return;
    current_ = tile;
    toggleAt(at);
    update();
  }
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent*) override { update(); }
  void focusOutEvent(QFocusEvent*) override { update(); }

 private:
  /// Where the map lies in the widget.
  QRectF picturePlace() const {
    const QSizeF size = QSizeF(map_.size()).scaled(QSizeF(this->size()), Qt::KeepAspectRatio);
    return {QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size};
  }
  std::int64_t tileAt(const QPointF& at) const {
    const QRectF place = picturePlace();
    return controls_.tileAt(at.x(), at.y(), place.width(), place.height());
  }
  void toggleAt(const QPointF& at) {
    const QRectF place = picturePlace();
    controls_.click(at.x(), at.y(), place.width(), place.height());
    toggled_();
  }
  QSizeF wholeMap() const {
    const PixelRectangle last = controls_.tile(controls_.tileCount());
    return {static_cast<qreal>(last.right), static_cast<qreal>(last.bottom)};
  }
  QRectF tilePlace(std::int64_t number) const {
    const QRectF place = picturePlace();
    const QSizeF whole = wholeMap();
    const PixelRectangle tile = controls_.tile(number);
    const qreal scaleX = place.width() / whole.width();
    const qreal scaleY = place.height() / whole.height();
    return {place.left() + tile.left * scaleX, place.top() + tile.top * scaleY, (tile.right - tile.left) * scaleX,
            (tile.bottom - tile.top) * scaleY};
  }

  QImage map_;
  TileControls& controls_;
  std::function<void()> toggled_;
  QPixmap tick_, cross_;
  std::int64_t current_ = 1;  ///< the tile that the keyboard toggles
};

void TilePicture::paintEvent(QPaintEvent*) {
  constexpr qreal largestMark = 48;
  QPainter painter(this);
  painter.setRenderHint(QPainter::SmoothPixmapTransform);
  painter.drawImage(picturePlace(), map_);
  const std::int64_t count = controls_.tileCount();
  painter.setPen(QPen(QColor(0, 0, 0, 160), 0));
  for (std::int64_t number = 1; number <= std::min<std::int64_t>(count, TileControls::mostTiles); ++number) {
    const QRectF place = tilePlace(number);
    painter.drawRect(place);
    const qreal side = std::min({place.width(), place.height(), largestMark});
    QRectF marked(0, 0, side, side);
    marked.moveCenter(place.center());
    const QPixmap& drawn = controls_.isTicked(number) ? tick_ : cross_;
    if (!drawn.isNull()) {
      painter.drawPixmap(marked, drawn, QRectF(drawn.rect()));
    } else if (!controls_.isTicked(number)) {
      // The program folder holds no marks: what is left out is to be seen all the same.
      painter.fillRect(place, QColor(200, 0, 0, 110));
    }
  }
  if (hasFocus()) {
    painter.setPen(QPen(palette().color(QPalette::Highlight), 3));
    painter.drawRect(tilePlace(current_));
  }
}

void TilePicture::keyPressEvent(QKeyEvent* event) {
  const std::int64_t down = controls_.tilesDown();
  const auto move = [&](std::int64_t step, bool allowed) {
    if (allowed) current_ += step;
  };
  switch (event->key()) {
    case Qt::Key_Up:
      move(-1, (current_ - 1) % down != 0);
      break;
    case Qt::Key_Down:
      move(1, current_ % down != 0);
      break;
    case Qt::Key_Left:
      move(-down, current_ > down);
      break;
    case Qt::Key_Right:
      move(down, current_ + down <= controls_.tileCount());
      break;
    case Qt::Key_Space:
      toggleAt(tilePlace(current_).center() - picturePlace().topLeft());
      break;
    default:
      QWidget::keyPressEvent(event);
      return;
  }
  update();
}

class GarminDialog : public QDialog {
 public:
  GarminDialog(QWidget* parent, const Picture& map, TileControls& controls);

 private:
  QPushButton* addButton(const char* name, const char* caption, const char* hint, const std::function<void()>& action);
  void refresh();

  TileControls& controls_;
  TilePicture* picture_;
  QLabel* caption_;
  QLabel* counts_;
};

GarminDialog::GarminDialog(QWidget* parent, const Picture& map, TileControls& controls)
    : QDialog(parent),
      controls_(controls),
      picture_(new TilePicture(map, controls, [this] { refresh(); })),
      caption_(new QLabel),
      counts_(new QLabel) {
  setObjectName("garmin");
  setWindowTitle("Garmin Tile controls");
  caption_->setObjectName("caption");
  counts_->setObjectName("counts");
  auto* buttons = new QHBoxLayout;
  for (QPushButton* button :
       {addButton("acrossUp", "&Across +1", "One more tile across", [this] { controls_.raiseAcross(); }),
        addButton("acrossDown", "A&cross -1", "One tile less across", [this] { controls_.lowerAcross(); }),
        addButton("downUp", "&Down +1", "One more tile down", [this] { controls_.raiseDown(); }),
        addButton("downDown", "Do&wn -1", "One tile less down", [this] { controls_.lowerDown(); }),
        addButton("ok", "OK", "Writes the ticked tiles",
                  [this] {
                    controls_.confirm();
                    accept();
                  }),
        addButton("cancel", "Ca&ncel", "Writes no tiles", [this] { reject(); })}) {
    buttons->addWidget(button);
  }
  auto* hint = new QLabel("Click on a tile to leave it out, or move with the arrow keys and press the space bar.");
  hint->setWordWrap(true);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(buttons);
  layout->addWidget(caption_);
  layout->addWidget(counts_);
  layout->addWidget(picture_, 1);
  layout->addWidget(hint);
  findChild<QPushButton*>("ok")->setDefault(true);
  refresh();
}

QPushButton* GarminDialog::addButton(const char* name, const char* caption, const char* hint,
                                     const std::function<void()>& action) {
  auto* button = new QPushButton(caption, this);
  button->setObjectName(name);
  button->setToolTip(hint);
  button->setAccessibleName(hint);
  connect(button, &QPushButton::clicked, this, [this, action] {
    action();
    refresh();
  });
  return button;
}

void GarminDialog::refresh() {
  caption_->setText(shown(controls_.caption()));
  counts_->setText(countsText(controls_));
  picture_->countsChanged();
}

}  // namespace

void showGarminTileControls(QWidget* parent, const Picture& map, TileControls& controls) {
  GarminDialog dialog(parent, map, controls);
  dialog.exec();
}

}  // namespace vellandra
