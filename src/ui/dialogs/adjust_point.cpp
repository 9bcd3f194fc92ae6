#include "ui/dialogs/adjust_point.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace vellandra {
namespace {

constexpr int longestStep = 100;

}  // namespace

AdjustPointDialog::AdjustPointDialog(int number, QWidget* parent)
    : QDialog(parent), report_(new QLabel), step_(new QSpinBox) {
  setWindowTitle("Adjust calibration Point");
  report_->setMinimumWidth(36 * report_->fontMetrics().averageCharWidth());
  step_->setRange(1, longestStep);
  step_->setSuffix(" px");
  step_->setAccessibleName("Pixels moved at a time");
  auto* stepLabel = new QLabel("&Step:");
  stepLabel->setBuddy(step_);

  auto* cross = new QGridLayout;
  const auto addMove = [&](const char* text, int row, int column, int right, int down) {
    auto* button = new QPushButton(text);
    button->setAutoRepeat(true);
    button->setAutoDefault(false);
    cross->addWidget(button, row, column);
    connect(button, &QPushButton::clicked, this,
            [this, right, down] { Q_EMIT moved(right * step_->value(), down * step_->value()); });
    return button;
  };
  QPushButton* left = addMove("&Left", 1, 0, -1, 0);
  addMove("&Right", 1, 2, 1, 0);
  addMove("&Up", 0, 1, 0, -1);
  addMove("&Down", 2, 1, 0, 1);

  auto* keep = new QPushButton("&OK");
  auto* remove = new QPushButton("D&elete");
  auto* cancel = new QPushButton("&Cancel");
  keep->setDefault(true);
  for (QPushButton* button : {remove, cancel}) button->setAutoDefault(false);
  auto* buttons = new QHBoxLayout;
  buttons->addWidget(remove);
  buttons->addStretch();
  buttons->addWidget(keep);
  buttons->addWidget(cancel);
  auto* stepRow = new QHBoxLayout;
  stepRow->addWidget(stepLabel);
  stepRow->addWidget(step_);
  stepRow->addStretch();
  auto* layout = new QVBoxLayout(this);
  auto* heading = new QLabel(QString("Point %1").arg(number));
  QFont bold = heading->font();
  bold.setBold(true);
  heading->setFont(bold);
  layout->addWidget(heading);
  layout->addWidget(report_);
  layout->addLayout(cross);
  layout->addLayout(stepRow);
  layout->addLayout(buttons);

  connect(keep, &QPushButton::clicked, this, &QDialog::accept);
  connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
  connect(remove, &QPushButton::clicked, this, [this] {
    deletes_ = true;
    accept();
  });
  for (QPushButton* button : findChildren<QPushButton*>()) button->installEventFilter(this);
  left->setFocus();
}

void AdjustPointDialog::setReport(const QString& text) {
  report_->setText(text);
  report_->setAccessibleName(text);
}

/// On a button too the arrow keys move the point, not the focus.
bool AdjustPointDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress) {
    auto* key = static_cast<QKeyEvent*>(event);
    if (key->key() >= Qt::Key_Left && key->key() <= Qt::Key_Down) {
      keyPressEvent(key);
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

void AdjustPointDialog::keyPressEvent(QKeyEvent* event) {
  const int step = step_->value();
  switch (event->key()) {
    case Qt::Key_Left:
      Q_EMIT moved(-step, 0);
      return;
    case Qt::Key_Right:
      Q_EMIT moved(step, 0);
      return;
    case Qt::Key_Up:
      Q_EMIT moved(0, -step);
      return;
    case Qt::Key_Down:
      Q_EMIT moved(0, step);
      return;
    default:
      QDialog::keyPressEvent(event);
  }
}

}  // namespace vellandra
