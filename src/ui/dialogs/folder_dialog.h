#pragma once

#include <QDialog>
#include <string>

#include "calibration/folder_run.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace vellandra {

/// The run over a folder: how far it is, and a list of what became of each calibration, which can be copied.
class FolderDialog : public QDialog {
 public:
  FolderDialog(QWidget* parent, const std::string& folder, int count);

  /// The calibration `name` is begun. False when the person has ended the run.
  bool begin(const std::string& name);
  void add(const FolderRow& row);
  /// The list stays, to be read and copied, until the person closes it.
  void end();

 protected:
  /// Ends the run or, behind its end, closes.
  void reject() override;

 private:
  void copy() const;

  QLabel* step_;
  QProgressBar* bar_;
  QTreeWidget* list_;
  QPushButton *copy_, *cancel_;
  bool cancelled_ = false, ended_ = false;
};

}  // namespace vellandra
