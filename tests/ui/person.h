#pragma once

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QApplication>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QTimer>
#include <deque>
#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace vellandra {

/// Whoever sits at the windows: answers the modal dialogs one by one as they come up, and remembers what they said. A
/// dialog for which no answer is left fails the test and is cancelled.
class WindowPerson : public QObject {
 public:
  using Step = std::function<void(QDialog*)>;

  WindowPerson() { look(); }
  ~WindowPerson() override { EXPECT_TRUE(steps.empty()) << steps.size() << " dialogs did not come up"; }

  /// "title|text" of the message boxes, titles of the other dialogs.
  std::vector<std::string> seen;
  std::deque<Step> steps;

  void press(QMessageBox::StandardButton button) {
    steps.push_back([button](QDialog* dialog) {
      auto* box = qobject_cast<QMessageBox*>(dialog);
      ASSERT_TRUE(box != nullptr && box->button(button) != nullptr) << dialog->windowTitle().toStdString();
      box->button(button)->click();
    });
  }
  void pick(const std::string& path) {
    steps.push_back([path](QDialog* dialog) {
      ASSERT_NE(qobject_cast<QFileDialog*>(dialog), nullptr) << dialog->windowTitle().toStdString();
      dialog->findChild<QLineEdit*>("fileNameEdit")->setText(QString::fromStdString(path));
      dialog->accept();
    });
  }
  void cancel() {
    steps.push_back([](QDialog* dialog) { dialog->reject(); });
  }
  void use(Step step) { steps.push_back(std::move(step)); }

 private:
  void look() {
    QTimer::singleShot(2, this, [this] {
      look();
      auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr || !dialog->isVisible() || !dialog->isEnabled()) return;
      remember(*dialog);
      if (steps.empty()) {
        ADD_FAILURE() << "nobody expects " << seen.back();
        dialog->reject();
        return;
      }
      const Step step = std::move(steps.front());
      steps.pop_front();
      try {
        step(dialog);
      } catch (const std::exception& error) {
        ADD_FAILURE() << seen.back() << ": " << error.what();
        dialog->reject();
      }
      if (testing::Test::HasFatalFailure()) dialog->reject();
    });
  }

  void remember(const QDialog& dialog) {
    const auto* box = qobject_cast<const QMessageBox*>(&dialog);
    const QString text = dialog.windowTitle() + (box != nullptr ? "|" + box->text() : QString());
    seen.push_back(text.toStdString());
    if (qobject_cast<const QFileDialog*>(&dialog) == nullptr) expectNames(dialog);
  }

  /// Every field says to a screen reader what it is for.
  static void expectNames(const QDialog& dialog) {
    for (const QWidget* field : dialog.findChildren<QWidget*>()) {
      const bool isField =
          field->focusPolicy() != Qt::NoFocus &&
          (qobject_cast<const QLineEdit*>(field) || qobject_cast<const QComboBox*>(field) ||
           qobject_cast<const QAbstractItemView*>(field) || qobject_cast<const QPlainTextEdit*>(field));
      const bool ownPart =
          field->parentWidget() != nullptr && !field->objectName().isEmpty() && !field->objectName().startsWith("qt_");
      if (isField && ownPart) {
        EXPECT_FALSE(field->accessibleName().isEmpty()) << field->objectName().toStdString();
      }
    }
  }
};

}  // namespace vellandra
