#include "ui/dialogs/go_to_dialog.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/widgets/qt_text.h"

namespace vellandra {

GoToDialog::GoToDialog(const std::vector<std::string>& datums, QWidget* parent)
    : QDialog(parent), names_(datums), position_(new QLineEdit), datums_(new QComboBox), answer_(new QLabel) {
  constexpr int answerLines = 3, characters = 44;
  setWindowTitle("Go to a position");
  position_->setPlaceholderText("35.5 26.25 or SH 60000 55000");
  position_->setAccessibleName("Position");
  position_->setMinimumWidth(characters * fontMetrics().averageCharWidth());
  for (const std::string& name : names_) datums_->addItem(shown(name));
  datums_->setAccessibleName("Datum of degrees and UTM");
  datums_->setToolTip("Of degrees and UTM; the national grids have their own");
  answer_->setWordWrap(true);
  answer_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
  answer_->setMinimumHeight(answerLines * answer_->fontMetrics().lineSpacing());
  answer_->setTextInteractionFlags(Qt::TextSelectableByMouse);

  auto* form = new QFormLayout;
  form->addRow("&Position:", position_);
  form->addRow("&Datum:", datums_);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
  auto* show = buttons->addButton("&Show", QDialogButtonBox::ActionRole);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(form);
  layout->addWidget(answer_);
  layout->addWidget(buttons);
  buttons->button(QDialogButtonBox::Close)->setAutoDefault(false);
  show->setDefault(true);
  connect(show, &QPushButton::clicked, this, [this] {
    Q_EMIT asked(position_->text(), names_.at(static_cast<std::size_t>(datums_->currentIndex())));
    position_->setFocus();
    position_->selectAll();
  });
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  position_->setFocus();
}

void GoToDialog::setAnswer(const QString& text) {
  answer_->setText(text);
  answer_->setAccessibleName(text);
}

}  // namespace vellandra
