#pragma once

#include <QDialog>
#include <cstdint>
#include <string>

#include "calibration/folder_run.h"
#include "support/work.h"

class QLabel;
class QProgressBar;
class QPushButton;
class QTreeWidget;

namespace vellandra {

/// The run over a folder: how far it is, and a list of what became of each calibration, which can be copied.
class FolderDialog : public QDialog, public Work {
 public:
  FolderDialog(QWidget* parent, const std::string& folder, int count);

  /// The calibration `name` is begun.
  void begin(const std::string& name);
  void add(const FolderRow& row);
  /// The list stays, to be read and copied, until the person closes it.
  void end();

  /// Nothing: the bar counts calibrations.
  void show(std::int64_t /*done*/, std::int64_t /*total*/) override {}
  using QDialog::show;

 protected:
  /// Cancels the run or, behind its end, closes.
  void reject() override;

 private:
  void copy() const;

  QLabel* step_;
  QProgressBar* bar_;
  QTreeWidget* list_;
  QPushButton *copy_, *cancel_;
  int stopped_ = 0;  ///< calibrations that could not be converted
  bool ended_ = false;
};

}  // namespace vellandra
