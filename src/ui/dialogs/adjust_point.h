#pragma once

#include <QDialog>

class QLabel;
class QSpinBox;

namespace vellandra {

/// "Adjust calibration Point": moves a point by pixels or deletes it. Every move is reported at once, so that the
/// residual can be watched; the caller takes the moves back when the dialog is rejected.
class AdjustPointDialog : public QDialog {
  Q_OBJECT

 public:
  AdjustPointDialog(int number, QWidget* parent);
  /// What is known of the point now: pixel and residual.
  void setReport(const QString& text);
  bool wantsDeletion() const { return deletes_; }

 Q_SIGNALS:
  void moved(int right, int down);

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  QLabel* report_;
  QSpinBox* step_;
  bool deletes_ = false;
};

}  // namespace vellandra
