#include "ui/application.h"

#include <QTimer>
#include <chrono>
#include <utility>

#include "calibration/session.h"
#include "support/user_interface.h"
#include "support/work.h"
#include "ui/dialogs/work_dialog.h"

namespace vellandra {

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
    constexpr std::chrono::milliseconds later{100};
    if (!thrown_) QTimer::singleShot(later, this, [this] { report(std::exchange(thrown_, nullptr)); });
    if (!thrown_) thrown_ = thrown;
    return;
  }
  const std::string before = lastTold;  // of the command that this may be a part of
  (void)runCommand([&thrown]() -> bool { std::rethrow_exception(thrown); });
  if (lastTold != Cancelled().what()) showOnce(lastTold);
  lastTold = before;
}

void Application::showOnce(const std::string& text) {
  if (text == shown_) return;
  shown_ = text;
  // When the handler is left: a box in the middle of a drawing would draw again.
  QTimer::singleShot(0, this, [text] {
    userInterface().messageBox({text, "***** Error *****", Buttons::ok, Icon::error});
  });
}

}  // namespace vellandra
