#include "ui/application.h"

#include <QTimer>
#include <utility>

#include "calibration/session.h"
#include "support/user_interface.h"
#include "support/work.h"
#include "ui/dialogs/work_dialog.h"

namespace vellandra {
namespace {

constexpr int nextLook = 100;  // ms

}  // namespace

bool Application::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (...) {
    report(std::current_exception());
  }
  return false;
}

void Application::report(const std::exception_ptr& thrown) {
  if (isWorkBeside()) {  // to which panel and log belong
    if (!thrown_) QTimer::singleShot(nextLook, this, [this] { report(std::exchange(thrown_, nullptr)); });
    if (!thrown_) thrown_ = thrown;
    return;
  }
  const std::string before = lastTold;  // of the command that this may be a part of
  try {
    std::rethrow_exception(thrown);
  } catch (...) {
    reportThrown();
  }
  if (lastTold != Cancelled().what()) showOnce(lastTold);
  lastTold = before;
}

void Application::showOnce(const std::string& text) {
  if (text == shown_) return;
  shown_ = text;
  // When the handler is left: a box in the middle of a drawing would draw again.
  showAfter(0, text);
}

void Application::showAfter(int milliseconds, const std::string& text) {
  QTimer::singleShot(milliseconds, this, [this, text] {
    // Beside work a box could not be answered.
    if (isWorkBeside()) return showAfter(nextLook, text);
    userInterface().messageBox({text, "***** Error *****", Buttons::ok, Icon::error});
  });
}

}  // namespace vellandra
