#include <QImage>
#include <QPaintEngine>
#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <optional>

#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_canvas_line.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

constexpr int stripRows = 256;       ///< device pixels: enough for every core, little enough for the cache
constexpr double gridSpacing = 110;  ///< window units between lines at the least
constexpr double markArm = 13;       ///< window units from a mark's middle
constexpr double selectedArm = 16;
constexpr double longestArrow = 60;

/// Colours over a map are the same in every palette: the map does not change with it.
const QColor markColor(200, 0, 40);
const QColor selectedColor(0, 90, 220);
const QColor waitingColor(190, 0, 190);
const QColor offColor(95, 95, 95);
const QColor arrowColor(150, 75, 0);
const QColor haloColor(255, 255, 255, 215);
const QColor gridColor(20, 50, 140);
const QColor trackColor(255, 150, 0), trackEdge(30, 20, 0);  ///< light in dark, to be seen on any map
const QColor soughtColor(0, 120, 50);

void strokeTwice(QPainter& painter, const QPainterPath& path, const QColor& color, double width, bool dashed) {
  painter.strokePath(path, QPen(haloColor, width + 2.5, Qt::SolidLine, Qt::FlatCap));
  painter.strokePath(path, QPen(color, width, dashed ? Qt::DashLine : Qt::SolidLine, Qt::FlatCap));
}

QPainterPath crosshair(QPointF middle, double gap, double arm) {
  QPainterPath path;
  for (const QPointF& way : {QPointF(1, 0), QPointF(-1, 0), QPointF(0, 1), QPointF(0, -1)}) {
    path.moveTo(middle + way * gap);
    path.lineTo(middle + way * arm);
  }
  return path;
}

/// The ground of `text` at `corner`, or as near to it as leaves it whole inside `room`.
QRectF tagBox(const QPainter& painter, QPointF corner, const QString& text, const QRectF& room) {
  const QFontMetricsF metrics(painter.font());
  QRectF box(corner, QSizeF(metrics.horizontalAdvance(text) + 6, metrics.height()));
  box.moveLeft(std::max(room.left(), std::min(box.left(), room.right() - box.width())));
  box.moveTop(std::max(room.top(), std::min(box.top(), room.bottom() - box.height())));
  return box;
}

void drawTag(QPainter& painter, const QRectF& box, const QString& text, const QColor& color) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(haloColor);
  painter.drawRoundedRect(box, 3, 3);
  painter.setPen(color);
  painter.drawText(box, Qt::AlignCenter, text);
}

QPointF numberCorner(const QPainter& painter, QPointF middle) {
  return middle + QPointF(8, -8 - QFontMetricsF(painter.font()).height());
}

/// A line with a head, none for a line that is too short to have a direction.
QPainterPath arrow(QPointF from, QPointF way) {
  QPainterPath path(from);
  path.lineTo(from + way);
  const double length = std::hypot(way.x(), way.y());
  if (length < 2) return path;
  const QPointF back = way * (-std::min(7.0, length) / length), side(-back.y() / 2, back.x() / 2);
  path.moveTo(from + way + back + side);
  path.lineTo(from + way);
  path.lineTo(from + way + back - side);
  return path;
}

/// 1, 2 or 5 with zeros behind it, not above `most`; 1 at the least.
double roundFactor(double most) {
  const double power = std::pow(10, std::floor(std::log10(std::max(most, 1.0))));
  return power * (most >= 5 * power ? 5 : most >= 2 * power ? 2 : 1);
}

Frame frameOf(QImage& image, const QRect& part) {
  const auto stride = static_cast<std::ptrdiff_t>(image.bytesPerLine() / 4);
  auto* pixels = reinterpret_cast<std::uint32_t*>(image.bits());
  return {pixels + part.top() * stride + part.left(), part.width(), part.height(), stride};
}

/// What `painter` paints on, from its origin on, when these are `size` pixels of 32 bits that can be reached.
std::optional<Frame> pixelsOf(const QPainter& painter, const QSize& size) {
  auto* image = dynamic_cast<QImage*>(painter.paintEngine()->paintDevice());
  if (image == nullptr) return std::nullopt;
  const bool fits = image->format() == QImage::Format_RGB32 || image->format() == QImage::Format_ARGB32_Premultiplied;
  const QPointF origin = painter.deviceTransform().map(QPointF());
  const QRect part(origin.toPoint(), size);
  if (!fits || QPointF(part.topLeft()) != origin || !image->rect().contains(part)) return std::nullopt;
  return frameOf(*image, part);
}

}  // namespace

/// The map and its grid: into the window's own pixels, or strip by strip, each still in the cache when the painter
/// copies it. `whole`: all of the canvas is painted.
void MapCanvas::drawMap(QPainter& painter, bool whole) {
  const double ratio = devicePixelRatioF();
  const QSize size = (QSizeF(this->size()) * ratio).toSize();
  findGridLines();
  findTracks();
  if (const auto pixels = whole ? pixelsOf(painter, size) : std::nullopt) {
    drawMap(*pixels, ratio, 0);
    return;
  }
  QImage strip(size.width(), stripRows, QImage::Format_RGB32);
  painter.save();
  painter.scale(1 / ratio, 1 / ratio);
  for (int top = 0; top < size.height(); top += stripRows) {
    const int height = std::min(stripRows, size.height() - top);
    drawMap(frameOf(strip, QRect(0, 0, size.width(), height)), ratio, top);
    painter.drawImage(QPointF(0, top), strip, QRectF(0, 0, size.width(), height));
  }
  painter.restore();
}

/// `top` is the frame's first row in the window, in device pixels.
void MapCanvas::drawMap(const Frame& frame, double ratio, int top) const {
  const ViewPoint corner = view_.toWindow(0, 0);
  pyramid_.draw({corner.x * ratio, corner.y * ratio - top, view_.scale() * ratio}, frame,
                palette().color(QPalette::Dark).rgb(), [&](const Frame& band, int bandTop) {
                  drawGridLines(band, ratio, top + bandTop);
                  drawTracks(band, ratio, top + bandTop);
                });
}

void MapCanvas::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  drawMap(painter, event->region() == QRegion(rect()));
  painter.setRenderHint(QPainter::Antialiasing);
  drawGridLabels(painter);
  if (crop_ != nullptr) drawCrop(painter);
  drawWaypoints(painter);
  drawMarks(painter);
  if (arrows_) drawArrows(painter);
  if (aiming_ && hasFocus()) drawAim(painter);
}

void MapCanvas::findGridLines() {
  gridLines_.clear();
  if (!gridMap_) return;
  constexpr double tolerance = 0.2;  // window units
  const ViewPoint topLeft = view_.toImage(0, 0), bottomRight = view_.toImage(width(), height());
  const ImagePart seen{std::max(topLeft.x, 0.0), std::max(topLeft.y, 0.0),
                       std::min<double>(bottomRight.x, gridMap_->imageWidth),
                       std::min<double>(bottomRight.y, gridMap_->imageHeight)};
  gridLines_ = gridLines(*gridMap_, grid_, seen, gridSpacing / view_.scale(), tolerance / view_.scale(), gridFormat_);
}

void MapCanvas::drawGridLines(const Frame& frame, double ratio, int top) const {
  for (const LineStyle& style : {LineStyle{2.6 * ratio, 0xffffff, 0.4}, LineStyle{ratio, gridColor.rgb(), 0.8}}) {
    for (const GridLine& line : gridLines_) {
      for (const auto& [start, end] : line.pieces) {
        const ViewPoint from = view_.toWindow(start.x, start.y), to = view_.toWindow(end.x, end.y);
        drawLine(frame, {from.x * ratio, from.y * ratio - top}, {to.x * ratio, to.y * ratio - top}, style);
      }
    }
  }
}

void MapCanvas::drawGridLabels(QPainter& painter) const {
  const QFontMetricsF metrics(painter.font());
  const double height = metrics.height();
  std::vector<QRectF> taken;
  for (const CanvasMark& mark : marks_) {
    const QPointF middle = markMiddle(mark);
    taken.push_back(QRectF(middle - QPointF(markArm, markArm), middle + QPointF(markArm, markArm))
                        .united(tagBox(painter, numberCorner(painter, middle), mark.number, rect())));
  }
  for (const GridLine& line : gridLines_) {
    const ViewPoint from = view_.toWindow(line.pieces.front()[0].x, line.pieces.front()[0].y);
    const ViewPoint to = view_.toWindow(line.pieces.back()[1].x, line.pieces.back()[1].y);
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const double textWidth = metrics.horizontalAdvance(shown(line.label)) + 6;
    if (length < textWidth + height) continue;
    const QPointF way((to.x - from.x) / length, (to.y - from.y) / length);
    // Northings are named a little inside their western end, eastings inside their northern one; further on where
    // a mark or another name stands there, which must stay readable.
    const double step = line.isNorthing ? textWidth : height;
    double inside = line.isNorthing ? textWidth / 2 + height * 2 : height;
    for (int tries = 0; tries < 6 && inside < length; ++tries, inside += step) {
      const QPointF place = QPointF(from.x, from.y) + way * inside;
      const QRectF box = tagBox(painter, place - QPointF(textWidth / 2, height / 2), shown(line.label), rect());
      if (std::ranges::any_of(taken, [&box](const QRectF& other) { return other.intersects(box); })) continue;
      drawTag(painter, box, shown(line.label), gridColor.darker());
      taken.push_back(box);
      break;
    }
  }
}

/// Lines of the overlay as the pieces that can be seen, no finer than the screen is.
void MapCanvas::findTracks() {
  constexpr double finest = 1, edge = 4;  // window units
  trackPieces_.clear();
  for (const std::vector<ViewPoint>& line : overlay_.lines) {
    ViewPoint last{};
    bool begun = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
      const ViewPoint place = view_.toWindow(line[i].x, line[i].y);
      if (!std::isfinite(place.x + place.y)) {
        begun = false;
        continue;
      }
      if (begun && i + 1 < line.size() && std::abs(place.x - last.x) + std::abs(place.y - last.y) < finest) continue;
      const bool seen = begun && std::max(place.x, last.x) > -edge && std::min(place.x, last.x) < width() + edge &&
                        std::max(place.y, last.y) > -edge && std::min(place.y, last.y) < height() + edge;
      if (seen) trackPieces_.push_back({last, place});
      last = place;
      begun = true;
    }
  }
}

void MapCanvas::drawTracks(const Frame& frame, double ratio, int top) const {
  constexpr double reach = 4;  // window units: more than half a line, and its slope's part
  const double low = top / ratio - reach, high = (top + frame.height) / ratio + reach;
  for (const LineStyle& style :
       {LineStyle{5 * ratio, trackEdge.rgb(), 1}, LineStyle{2.6 * ratio, trackColor.rgb(), 1}}) {
    for (const auto& [from, to] : trackPieces_) {
      if (std::max(from.y, to.y) < low || std::min(from.y, to.y) > high) continue;
      drawLine(frame, {from.x * ratio, from.y * ratio - top}, {to.x * ratio, to.y * ratio - top}, style);
    }
  }
}

void MapCanvas::drawWaypoints(QPainter& painter) const {
  constexpr int mostNames = 200;
  constexpr double radius = 5, soughtRadius = 11;
  int names = 0;
  for (const CanvasOverlay::Waypoint& waypoint : overlay_.waypoints) {
    const ViewPoint at = view_.toWindow(waypoint.place.x, waypoint.place.y);
    if (!(at.x >= 0 && at.y >= 0 && at.x < width() && at.y < height())) continue;
    painter.setPen(QPen(trackEdge, 1.5));
    painter.setBrush(trackColor);
    painter.drawEllipse(QPointF(at.x, at.y), radius, radius);
    if (waypoint.name.isEmpty() || ++names > mostNames) continue;
    drawTag(painter, tagBox(painter, QPointF(at.x + radius + 2, at.y), waypoint.name, rect()), waypoint.name,
            trackEdge);
  }
  if (!overlay_.sought) return;
  const ViewPoint at = view_.toWindow(overlay_.sought->x, overlay_.sought->y);
  QPainterPath path = crosshair(QPointF(at.x, at.y), 4, soughtRadius + 8);
  path.addEllipse(QPointF(at.x, at.y), soughtRadius, soughtRadius);
  painter.setBrush(Qt::NoBrush);
  strokeTwice(painter, path, soughtColor, 2.4, false);
}

QPointF MapCanvas::markMiddle(const CanvasMark& mark) const {
  const ViewPoint place = view_.toWindow(mark.x + 0.5, mark.y + 0.5);
  // On whole window units the arms are sharp at any zoom.
  return {std::floor(place.x) + 0.5, std::floor(place.y) + 0.5};
}

void MapCanvas::drawMarks(QPainter& painter) const {
  for (const CanvasMark& mark : marks_) {
    const bool waiting = mark.look == CanvasMark::Look::waiting;
    const bool selected = mark.look == CanvasMark::Look::selected;
    const QColor color = waiting ? waitingColor : selected ? selectedColor : mark.off ? offColor : markColor;
    const QPointF middle = markMiddle(mark);
    if (!QRectF(rect()).adjusted(-40, -40, 40, 40).contains(middle)) continue;
    QPainterPath path = crosshair(middle, 2, selected ? selectedArm : markArm);
    path.addEllipse(middle, 6, 6);
    painter.setBrush(Qt::NoBrush);
    strokeTwice(painter, path, color, selected ? 2 : 1.4, waiting || mark.off);
    if (!rect().contains(middle.toPoint())) continue;  // its number alone, held in the window, would mislead
    drawTag(painter, tagBox(painter, numberCorner(painter, middle), mark.number, rect()), mark.number, color);
  }
}

void MapCanvas::drawArrows(QPainter& painter) const {
  constexpr double shown = 0.005;  // pixels: what is called 0.00 has no direction
  double longest = 0;
  for (const CanvasMark& mark : marks_) {
    if (mark.fitted) longest = std::max(longest, std::hypot(mark.fitted->x - mark.x, mark.fitted->y - mark.y));
  }
  if (!(longest >= shown) || !std::isfinite(longest)) return;
  const double factor = roundFactor(longestArrow / (longest * view_.scale()));
  const double length = factor * view_.scale();
  painter.setBrush(Qt::NoBrush);
  for (const CanvasMark& mark : marks_) {
    if (!mark.fitted) continue;
    const QPointF way = QPointF(mark.fitted->x - mark.x, mark.fitted->y - mark.y) * length;
    strokeTwice(painter, arrow(markMiddle(mark), way), arrowColor, 2, false);
  }
  const QString text = QString("Arrows: residual \u00D7 %1").arg(factor, 0, 'f', 0);
  drawTag(painter, tagBox(painter, QPointF(8, height()), text, rect().adjusted(8, 8, -8, -8)), text, arrowColor);
}

void MapCanvas::drawCrop(QPainter& painter) const {
  const PixelRectangle& pixels = crop_->pixels();
  if (pixels.isEmpty()) return;
  const ViewPoint topLeft = view_.toWindow(pixels.left, pixels.top);
  const ViewPoint bottomRight = view_.toWindow(pixels.right, pixels.bottom);
  const QRectF kept(QPointF(topLeft.x, topLeft.y), QPointF(bottomRight.x, bottomRight.y));
  QPainterPath beside;
  beside.addRect(QRectF(rect()));
  beside.addRect(kept);
  painter.fillPath(beside, QColor(0, 0, 0, 110));
  QPainterPath frame;
  frame.addRect(kept);
  strokeTwice(painter, frame, selectedColor, 1.5, false);
  painter.setPen(QPen(haloColor, 1));
  painter.setBrush(selectedColor);
  for (const double x : {kept.left(), kept.center().x(), kept.right()}) {
    for (const double y : {kept.top(), kept.center().y(), kept.bottom()}) {
      if (QPointF(x, y) != kept.center()) painter.drawRect(QRectF(x - 4, y - 4, 8, 8));
    }
  }
}

void MapCanvas::drawAim(QPainter& painter) const {
  const QPointF middle(std::floor(width() / 2.0) + 0.5, std::floor(height() / 2.0) + 0.5);
  strokeTwice(painter, crosshair(middle, 4, 24), Qt::black, 1, false);
}

}  // namespace vellandra
