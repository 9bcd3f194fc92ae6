#include "ui/viewer/point_list.h"

#include <QHeaderView>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <algorithm>
#include <numeric>

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
  if (listed.point.off) return "off";
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
         "\nPixel " + pixelText(listed) +
         (listed.point.off ? "\nSwitched off: in no fit and no file. Tick it to use it"
                           : "\nTake the tick away to leave the point out of the fit and of the files");
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

constexpr int numberRole = Qt::UserRole;

int numberOf(const QTreeWidgetItem& item) {
  return item.data(0, numberRole).toInt();
}

/// The numbers of the points from the top of the list on; those without a residual are last.
std::vector<int> orderOf(const PointList::Residuals& residuals, bool worstFirst) {
  std::vector<int> numbers(residuals.size());
  std::iota(numbers.begin(), numbers.end(), 1);
  const auto residual = [&](int number) { return residuals[static_cast<std::size_t>(number - 1)].value_or(-1); };
  if (worstFirst) std::ranges::stable_sort(numbers, std::ranges::greater(), residual);
  return numbers;
}

void fill(QTreeWidgetItem& item, const ListedPoint& listed) {
  const QString tip = toolTipOf(listed);
  const QVariant color =
      listed.point.off ? QVariant(item.treeWidget()->palette().brush(QPalette::Disabled, QPalette::Text)) : QVariant();
  item.setData(0, numberRole, listed.number);
  item.setCheckState(0, listed.point.off ? Qt::Unchecked : Qt::Checked);
  int place = 0;
  for (const Column& column : columns) {
    item.setText(place, column.text(listed));
    item.setTextAlignment(place, column.alignment);
    item.setToolTip(place, tip);
    item.setData(place, Qt::ForegroundRole, color);
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
  header()->setSectionsClickable(true);
  connect(header(), &QHeaderView::sectionClicked, this,
          [this](int place) { Q_EMIT orderAsked(columns[place].text == residualText); });
  connect(this, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem* item) {
    if (!filling_ && item != nullptr) Q_EMIT chosen(numberOf(*item));
  });
  connect(this, &QTreeWidget::itemChanged, this, [this](QTreeWidgetItem* item) {
    if (!filling_) Q_EMIT switched(numberOf(*item), item->checkState(0) == Qt::Unchecked);
  });
}

void PointList::setWorstFirst(bool worstFirst) {
  worstFirst_ = worstFirst;
  header()->setSortIndicatorShown(worstFirst);
  header()->setSortIndicator(static_cast<int>(std::size(columns)) - 1, Qt::DescendingOrder);
}

void PointList::setPoints(const std::vector<TiePoint>& points, const Residuals& residuals, int selected) {
  filling_ = true;
  const auto count = static_cast<int>(points.size());
  while (topLevelItemCount() > count) delete takeTopLevelItem(count);
  while (topLevelItemCount() < count) addTopLevelItem(new QTreeWidgetItem);
  QTreeWidgetItem* current = nullptr;
  for (int row = 0; const int number : orderOf(residuals, worstFirst_)) {
    QTreeWidgetItem* item = topLevelItem(row++);
    const auto index = static_cast<std::size_t>(number - 1);
    fill(*item, {number, points[index], residuals[index]});
    if (number == selected) current = item;
  }
  headerItem()->setText(positionColumn, positionHeading(points));
  setCurrentItem(current);
  filling_ = false;
}

int PointList::widthOfRows() const {
  QStringList longest;
  for (const Column& column : columns) longest << column.longest;
  const QFontMetrics metrics(font());
  return metrics.horizontalAdvance(" " + longest.join("  ") + " ") + verticalScrollBar()->sizeHint().width() +
         style()->pixelMetric(QStyle::PM_IndicatorWidth) + 4 * metrics.averageCharWidth();
}

}  // namespace vellandra
