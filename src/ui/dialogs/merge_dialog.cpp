#include "ui/dialogs/merge_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>

#include "imaging/merge.h"
#include "ui/widgets/picture.h"
#include "ui/widgets/qt_text.h"

namespace vellandra {

MergeDialog::MergeDialog(QWidget* parent)
    : QDialog(parent),
      preview_(new QLabel),
      caption_(new QLabel),
      percentage_(new QLineEdit),
      reason_(new QLabel),
      expand_(new QCheckBox("Expand base map")) {
  setObjectName(name);
  setWindowTitle("Merge Maps");
  setModal(true);
  preview_->setObjectName("preview");
  preview_->setAccessibleName("Preview");
  preview_->setAlignment(Qt::AlignCenter);
  preview_->setMinimumSize(fontMetrics().averageCharWidth() * 50, fontMetrics().height() * 16);
  preview_->setFrameShape(QFrame::StyledPanel);
  percentage_->setObjectName("transparency");
  percentage_->setAccessibleName("Transparency, percent");
  percentage_->setMaximumWidth(fontMetrics().averageCharWidth() * 8);
  reason_->setObjectName("reason");
  expand_->setObjectName("expand");
  auto* label = new QLabel("&Transparency %");
  label->setBuddy(percentage_);

  auto* buttons = new QDialogButtonBox;
  merge_ = buttons->addButton("&Merge", QDialogButtonBox::ActionRole);
  merge_->setObjectName("mergeButton");
  merge_->setDefault(true);
  save_ = buttons->addButton("&Save...", QDialogButtonBox::ActionRole);
  save_->setObjectName("saveButton");
  buttons->addButton(QDialogButtonBox::Close);

  auto* row = new QHBoxLayout;
  row->addWidget(label);
  row->addWidget(percentage_);
  row->addWidget(reason_, 1);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(caption_);
  layout->addWidget(preview_, 1);
  layout->addLayout(row);
  layout->addWidget(expand_);
  layout->addWidget(buttons);

  connect(percentage_, &QLineEdit::textChanged, this, &MergeDialog::checkPercentage);
  connect(merge_, &QPushButton::clicked, this, [this] { finish(MergeAnswer::Action::merge); });
  connect(save_, &QPushButton::clicked, this, [this] { finish(MergeAnswer::Action::save); });
  connect(buttons, &QDialogButtonBox::rejected, this, &MergeDialog::reject);
}

MergeAnswer MergeDialog::ask(const MergeQuestion& question) {
  percentage_->setText(shown(question.percentage));
  expand_->setText(shown(question.expandCaption));
  expand_->setChecked(question.enlarge);
  save_->setEnabled(question.merged);
  caption_->setText(question.merged ? "The merged map" : "The base map, before merging");
  picture_ = imageOf(question.preview);
  checkPercentage();
  setEnabled(true);
  show();
  showPreview();
  percentage_->setFocus();
  percentage_->selectAll();
  loop_.exec();
  setEnabled(false);  // while the command works
  MergeAnswer answer;
  answer.action = action_;
  answer.percentage = textBytes(percentage_->text());
  answer.enlarge = expand_->isChecked();
  return answer;
}

void MergeDialog::finish(MergeAnswer::Action action) {
  if (!loop_.isRunning()) return;
  action_ = action;
  loop_.quit();
}

void MergeDialog::checkPercentage() {
  const bool allowed = numberIn(textBytes(percentage_->text()), mergeWeights).has_value();
  reason_->setText(allowed ? "0 keeps the base map, 100 shows only the merge map" : "must be 0 to 100");
}

void MergeDialog::showPreview() {
  if (picture_.isNull()) return;
  const qreal ratio = devicePixelRatioF();
  QPixmap scaled = QPixmap::fromImage(
      picture_.scaled(preview_->contentsRect().size() * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation));
  scaled.setDevicePixelRatio(ratio);
  preview_->setPixmap(scaled);
}

void MergeDialog::resizeEvent(QResizeEvent* event) {
  QDialog::resizeEvent(event);
  showPreview();
}

}  // namespace vellandra
