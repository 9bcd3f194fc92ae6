#pragma once

#include <QDialog>
#include <string>
#include <vector>

class QLineEdit;
class QListWidget;

namespace vellandra {

/// "Match datums": the datums of the table in their order, with a box that narrows the list to names that hold what is
/// typed.
class MatchDialog : public QDialog {
 public:
  MatchDialog(QWidget* parent, const std::string& prompt, const std::vector<std::string>& names);
  /// Position of the selected datum counted from 1; 0 when none is selected.
  int chosen() const;

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void narrow(const QString& part);

  QLineEdit* filter_;
  QListWidget* list_;
};

}  // namespace vellandra
