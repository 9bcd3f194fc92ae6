#pragma once

#include <QDialog>
#include <QEventLoop>
#include <QImage>

#include "imaging/merge_question.h"

class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace vellandra {

/// "Merge Maps". Stays open from one question to the next, until its owner deletes it.
class MergeDialog : public QDialog {
 public:
  static constexpr const char* name = "merge";
  explicit MergeDialog(QWidget* parent);
  MergeAnswer ask(const MergeQuestion& question);

 protected:
  void resizeEvent(QResizeEvent* event) override;
  void reject() override { finish(MergeAnswer::Action::close); }

 private:
  void finish(MergeAnswer::Action action);
  void checkPercentage();
  void showPreview();

  QLabel* preview_;
  QLabel* caption_;
  QLineEdit* percentage_;
  QLabel* reason_;
  QCheckBox* expand_;
  QPushButton *merge_, *save_;
  QImage picture_;
  QEventLoop loop_;
  MergeAnswer::Action action_ = MergeAnswer::Action::close;
};

}  // namespace vellandra
