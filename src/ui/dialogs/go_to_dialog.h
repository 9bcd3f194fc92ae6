#pragma once

#include <QDialog>
#include <string>
#include <vector>

class QComboBox;
class QLabel;
class QLineEdit;

namespace vellandra {

/// "Go to a position": asks for positions, one after the other, and shows the caller's answer to each.
class GoToDialog : public QDialog {
  Q_OBJECT

 public:
  /// `datums`: those on which degrees and UTM can be, the usual one first.
  GoToDialog(const std::vector<std::string>& datums, QWidget* parent);
  void setAnswer(const QString& text);

 Q_SIGNALS:
  void asked(const QString& position, const std::string& datum);

 private:
  std::vector<std::string> names_;
  QLineEdit* position_;
  QComboBox* datums_;
  QLabel* answer_;
};

}  // namespace vellandra
