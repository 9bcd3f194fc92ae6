#include "ui/application.h"

#include <QTimer>

#include "calibration/session.h"
#include "support/user_interface.h"
#include "support/work.h"
#include "ui/dialogs/work_dialog.h"

namespace vellandra {

bool Application::notify(QObject* receiver, QEvent* event) {
  try {
    return QApplication::notify(receiver, event);
  } catch (...) {
    const std::string before = lastTold;  // of the command that this may be a part of
    reportThrown();
    if (lastTold != Cancelled().what()) showOnce(lastTold);
    lastTold = before;
  }
  return false;
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
    constexpr int nextLook = 100;  // ms
    if (isWorkUnderWay()) return showAfter(nextLook, text);
    userInterface().messageBox({text, "***** Error *****", Buttons::ok, Icon::error});
  });
}

}  // namespace vellandra
