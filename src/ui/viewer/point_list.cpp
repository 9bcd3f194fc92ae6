#include "ui/viewer/point_list.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>
#include <optional>

#include "support/numbers.h"
#include "ui/viewer/point_grids.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

struct ListedPoint {
  int number;
  const TiePoint& point;
  std::optional<double> residual;
};

/// With latitude and longitude one above the other.
QString stackedPosition(const ListedPoint& listed) {
  QString text = shownInItsGrid(listed.point);
  if (listed.point.grid.grid != EntryGrid::degrees) return text;
  const QString gap = text.contains("  ") ? "  " : " ";
  const auto at = text.indexOf(gap);
  return at < 0 ? text : text.replace(at, gap.size(), '\n');
}

QString pixelText(const ListedPoint& listed) {
  return QString("%1, %2").arg(listed.point.x).arg(listed.point.y);
}

QString residualText(const ListedPoint& listed) {
  return listed.residual ? shown(formatNumber(*listed.residual, "0.00")) : QString();
}

constexpr Qt::Alignment leftAligned = Qt::AlignLeft | Qt::AlignVCenter;
constexpr Qt::Alignment rightAligned = Qt::AlignRight | Qt::AlignVCenter;

struct Column {
  const char* heading;
  QString (*text)(const ListedPoint& listed);
  const char* longest;  ///< line that it has to hold
  Qt::Alignment alignment;
  bool stretches = false;
};

constexpr Column columns[] = {
    {"Point", [](const ListedPoint& listed) { return QString::number(listed.number); }, "Point", leftAligned},
    {"Position", stackedPosition, "33U 000000 0000000", leftAligned, true},
    {"Pixel", pixelText, "00000, 00000", leftAligned},
    {"Residual", residualText, "Residual", rightAligned},
};

constexpr int positionColumn = 1;

QString toolTipOf(const ListedPoint& listed) {
  const GridName name = nameOf(listed.point.grid);
  return stackedPosition(listed) + '\n' + name.kind + (name.datum.isEmpty() ? "" : "\nDatum " + name.datum) +
         "\nPixel " + pixelText(listed);
}

/// The grid and the datum of all points, or that they differ.
QString positionHeading(const std::vector<TiePoint>& points) {
  const GridName name = nameOf(gridOfMost(points, {}));
  const auto isOther = [&name](const TiePoint& point) {
    const GridName its = nameOf(point.grid);
    return its.kind != name.kind || its.datum != name.datum;
  };
  if (points.empty()) return "Position";
  if (std::ranges::any_of(points, isOther)) return "Position\neach as it was given";
  return name.datum.isEmpty() ? name.kind : name.kind + '\n' + name.datum;
}

void fill(QTreeWidgetItem& item, const ListedPoint& listed) {
  const QString tip = toolTipOf(listed);
  int place = 0;
  for (const Column& column : columns) {
    item.setText(place, column.text(listed));
    item.setTextAlignment(place, column.alignment);
    item.setToolTip(place, tip);
    ++place;
  }
}

/// Rows of two lines with a little room around them.
class TwoLineRows : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    constexpr int room = 6;
    const QSize text = QStyledItemDelegate::sizeHint(option, index);
    return {text.width(), std::max(text.height(), 2 * option.fontMetrics.lineSpacing() + room)};
  }
};

}  // namespace

PointList::PointList(QWidget* parent) : QTreeWidget(parent) {
  setAccessibleName("Calibration points");
  setRootIsDecorated(false);
  setUniformRowHeights(true);
  setItemDelegate(new TwoLineRows(this));
  setTextElideMode(Qt::ElideNone);
  QStringList headings;
  for (const Column& column : columns) headings << column.heading;
  setHeaderLabels(headings);
  header()->setStretchLastSection(false);
  for (int place = 0; const Column& column : columns) {
    header()->setSectionResizeMode(place++, column.stretches ? QHeaderView::Stretch : QHeaderView::ResizeToContents);
  }
  connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
    if (!filling_ && item != nullptr) Q_EMIT chosen(indexOfTopLevelItem(item) + 1);
  });
}

void PointList::setPoints(const std::vector<TiePoint>& points, const std::vector<double>& residuals, int selected) {
  filling_ = true;
  const auto count = static_cast<int>(points.size());
  while (topLevelItemCount() > count) delete takeTopLevelItem(count);
  while (topLevelItemCount() < count) addTopLevelItem(new QTreeWidgetItem);
  for (int i = 0; i < count; ++i) {
    const auto index = static_cast<std::size_t>(i);
    const bool fitted = index < residuals.size();
    fill(*topLevelItem(i), {i + 1, points[index], fitted ? std::optional(residuals[index]) : std::nullopt});
  }
  headerItem()->setText(positionColumn, positionHeading(points));
  setCurrentItem(selected > 0 ? topLevelItem(selected - 1) : nullptr);
  filling_ = false;
}

int PointList::widthOfRows() const {
  QStringList longest;
  for (const Column& column : columns) longest << column.longest;
  const QFontMetrics metrics(font());
  return metrics.horizontalAdvance(" " + longest.join("  ") + " ") + verticalScrollBar()->sizeHint().width() +
         4 * metrics.averageCharWidth();
}

}  // namespace vellandra
