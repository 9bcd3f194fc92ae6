#pragma once

#include <gtest/gtest.h>

#include <QApplication>
#include <QFileDialog>
#include <QInputDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <deque>
#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace vellandra {

/// The part of a window with this name; an exception, which fails the test, where there is none.
template <typename Widget>
Widget* part(const QWidget* window, const char* name) {
  auto* found = window->findChild<Widget*>(name);
  if (found == nullptr) throw std::runtime_error(std::string("there is no ") + name);
  return found;
}

/// The button with this name or, with its blanks and without its mnemonic, this text.
inline QPushButton* buttonOf(const QWidget* window, const char* name) {
  for (auto* button : window->findChildren<QPushButton*>()) {
    if (button->objectName() == name || button->text().remove('&') == name) return button;
  }
  throw std::runtime_error(std::string("there is no button ") + name);
}

inline void click(const QWidget* window, const char* button) {
  QTest::mouseClick(buttonOf(window, button), Qt::LeftButton);
}

/// Whoever sits at the windows: answers the modal dialogs one by one as they come up, and remembers what they said. A
/// dialog for which no answer is left fails the test and is cancelled.
class WindowPerson : public QObject {
 public:
  using Step = std::function<void(QDialog*)>;

  WindowPerson() { look(); }
  ~WindowPerson() override { EXPECT_TRUE(steps_.empty()) << steps_.size() << " dialogs did not come up"; }

  /// "title|text" of the message boxes, titles of the other dialogs.
  std::vector<std::string> seen;

  void use(Step step) { steps_.push_back(std::move(step)); }
  /// "" closes the dialog; in a box "Enter" presses that key, else the button of this text; in a picker or a question
  /// for text gives it.
  void answer(const std::string& text) {
    use([text](QDialog* dialog) {
      if (text.empty()) {
        dialog->reject();
      } else if (text == "Enter") {
        QTest::keyClick(dialog, Qt::Key_Return);
      } else if (qobject_cast<QMessageBox*>(dialog) != nullptr) {
        click(dialog, text.c_str());
      } else if (auto* question = qobject_cast<QInputDialog*>(dialog)) {
        question->setTextValue(QString::fromStdString(text));
        dialog->accept();
      } else {
        part<QLineEdit>(dialog, "fileNameEdit")->setText(QString::fromStdString(text));
        dialog->accept();
      }
    });
  }

 private:
  void look() {
    QTimer::singleShot(2, this, [this] {
      look();
      auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr || !dialog->isVisible() || !dialog->isEnabled()) return;
      const auto* copy = dialog->findChild<QPushButton*>("copy");
      if (copy != nullptr && !copy->isEnabled()) return;  // a run that is under way
      const auto* box = qobject_cast<const QMessageBox*>(dialog);
      seen.push_back((dialog->windowTitle() + (box != nullptr ? "|" + box->text() : QString())).toStdString());
      if (steps_.empty()) {
        ADD_FAILURE() << "nobody expects " << seen.back();
        dialog->reject();
        return;
      }
      const Step step = std::move(steps_.front());
      steps_.pop_front();
      try {
        step(dialog);
      } catch (const std::exception& error) {
        ADD_FAILURE() << seen.back() << ": " << error.what();
        dialog->reject();
      }
      if (testing::Test::HasFatalFailure()) dialog->reject();
    });
  }

  std::deque<Step> steps_;
};

}  // namespace vellandra
