#include "ui/application.h"

#include <QTimer>
#include <exception>

#include "calibration/session.h"
#include "support/user_interface.h"
#include "support/work.h"

namespace vellandra {

bool Application::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (...) {
    const std::string before = lastTold;  // of the command that this may be a part of
    (void)runCommand([thrown = std::current_exception()]() -> bool { std::rethrow_exception(thrown); });
    if (lastTold != Cancelled().what()) showOnce(lastTold);
    lastTold = before;
  }
  return false;
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
