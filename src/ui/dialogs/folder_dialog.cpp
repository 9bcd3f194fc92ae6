#include "ui/dialogs/folder_dialog.h"

#include <QApplication>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QScreen>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <algorithm>

#include "ui/widgets/qt_text.h"

namespace vellandra {
namespace {

QStringList textsOf(const FolderCells& cells) {
  QStringList texts;
  for (const std::string& cell : cells) texts << shown(cell);
  return texts;
}

}  // namespace

FolderDialog::FolderDialog(QWidget* parent, const std::string& folder, int count)
    : QDialog(parent), step_(new QLabel), bar_(new QProgressBar), list_(new QTreeWidget) {
  setObjectName("folder");
  setWindowTitle("Convert a folder");
  setModal(true);
  step_->setObjectName("step");
  step_->setTextFormat(Qt::PlainText);
  bar_->setObjectName("progress");
  bar_->setAccessibleName("Progress");
  bar_->setRange(0, count);
  bar_->setValue(0);
  list_->setObjectName("list");
  list_->setAccessibleName("Calibrations of " + shownPath(folder));
  list_->setRootIsDecorated(false);
  list_->setUniformRowHeights(true);
  list_->setAlternatingRowColors(true);
  list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  list_->setHeaderLabels(textsOf(folderCaptions));
  list_->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
  list_->header()->setSectionResizeMode(0, QHeaderView::Interactive);
  list_->header()->setStretchLastSection(false);

  auto* buttons = new QDialogButtonBox;
  copy_ = buttons->addButton("Co&py the list", QDialogButtonBox::ActionRole);
  copy_->setObjectName("copy");
  copy_->setEnabled(false);
  cancel_ = buttons->addButton(QDialogButtonBox::Cancel);
  connect(copy_, &QPushButton::clicked, this, &FolderDialog::copy);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

  auto* layout = new QVBoxLayout(this);
  auto* place = new QLabel(breakable(shownPath(folder)));
  place->setTextFormat(Qt::PlainText);
  place->setWordWrap(true);
  layout->addWidget(place);
  layout->addWidget(list_, 1);
  layout->addWidget(step_);
  layout->addWidget(bar_);
  layout->addWidget(buttons);
  resize(QSize(fontMetrics().averageCharWidth() * 110, fontMetrics().height() * 28)
             .boundedTo(screen()->availableSize() * 9 / 10));
}

void FolderDialog::begin(const std::string& name) {
  if (isCancelled()) return;
  step_->setText(QString("%1 of %2: ").arg(bar_->value() + 1).arg(bar_->maximum()) + shown(name));
}

void FolderDialog::add(const FolderRow& row) {
  auto* item = new QTreeWidgetItem(list_, textsOf(folderCells(row)));
  for (int column = 2; column < 6; ++column) item->setTextAlignment(column, Qt::AlignRight | Qt::AlignVCenter);
  for (int column = 0; column < item->columnCount(); ++column) item->setToolTip(column, item->text(column));
  // Long names leave room for what became of them.
  list_->resizeColumnToContents(0);
  list_->setColumnWidth(0, std::min(list_->columnWidth(0), list_->viewport()->width() * 2 / 5));
  list_->scrollToItem(item);
  if (row.stopped) ++stopped_;
  bar_->setValue(bar_->value() + 1);
}

void FolderDialog::end() {
  ended_ = true;
  const int count = bar_->maximum(), rest = count - bar_->value();
  QString text = "All are done";
  if (rest > 0) text = QString("Cancelled: %1 of %2 are left as they were").arg(rest).arg(count);
  if (stopped_ > 0) text += QString("; %1 could not be converted").arg(stopped_);
  step_->setText(text);
  bar_->hide();
  copy_->setEnabled(true);
  cancel_->setText("&Close");
  cancel_->setFocus();
  exec();
}

void FolderDialog::reject() {
  if (ended_) return QDialog::reject();
  cancel();
  step_->setText("Ending...");
}

void FolderDialog::copy() const {
  QStringList lines{textsOf(folderCaptions).join('\t')};
  for (int i = 0; i < list_->topLevelItemCount(); ++i) {
    QStringList cells;
    for (int column = 0; column < list_->columnCount(); ++column) cells << list_->topLevelItem(i)->text(column);
    lines << cells.join('\t');
  }
  QApplication::clipboard()->setText(lines.join('\n') + '\n');
}

}  // namespace vellandra
