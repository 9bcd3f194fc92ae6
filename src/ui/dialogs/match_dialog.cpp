#include "ui/dialogs/match_dialog.h"

#include <QApplication>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/widgets/qt_text.h"

namespace vellandra {

MatchDialog::MatchDialog(QWidget* parent, const std::string& prompt, const std::vector<std::string>& names)
    : QDialog(parent), filter_(new QLineEdit), list_(new QListWidget) {
  setObjectName("frmMatch");
  setWindowTitle("Match datums");
  auto* text = new QLabel(shown(prompt));
  text->setObjectName("Text1");
  text->setTextFormat(Qt::PlainText);
  text->setWordWrap(true);
  filter_->setObjectName("filter");
  filter_->setPlaceholderText("Type a part of the name to shorten the list");
  filter_->setAccessibleName("Part of the datum's name");
  filter_->setClearButtonEnabled(true);
  filter_->installEventFilter(this);
  list_->setObjectName("List1");
  list_->setAccessibleName("Datums");
  for (const std::string& name : names) list_->addItem(shown(name));

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setObjectName("Command1");
  buttons->button(QDialogButtonBox::Ok)->setEnabled(false);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(text);
  layout->addWidget(filter_);
  layout->addWidget(list_);
  layout->addWidget(buttons);
  resize(sizeHint().expandedTo({fontMetrics().averageCharWidth() * 56, fontMetrics().height() * 26}));

  connect(filter_, &QLineEdit::textChanged, this, &MatchDialog::narrow);
  connect(list_, &QListWidget::itemDoubleClicked, this, &QDialog::accept);
  connect(list_, &QListWidget::itemSelectionChanged, this,
          [=, this] { buttons->button(QDialogButtonBox::Ok)->setEnabled(!list_->selectedItems().isEmpty()); });
  connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

int MatchDialog::chosen() const {
  const QList<QListWidgetItem*> selected = list_->selectedItems();
  return selected.isEmpty() ? 0 : list_->row(selected.constFirst()) + 1;
}

void MatchDialog::narrow(const QString& part) {
  QListWidgetItem* only = nullptr;
  int left = 0;
  for (int row = 0; row < list_->count(); ++row) {
    QListWidgetItem* item = list_->item(row);
    item->setHidden(!item->text().contains(part.trimmed(), Qt::CaseInsensitive));
    if (item->isHidden()) {
      item->setSelected(false);
    } else {
      ++left;
      only = item;
    }
  }
  if (left == 1) list_->setCurrentItem(only);
}

/// Up and down move in the list while one types.
bool MatchDialog::eventFilter(QObject* watched, QEvent* event) {
  if (watched == filter_ && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown) {
      QApplication::sendEvent(list_, event);
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

}  // namespace vellandra
