#include "calibration/messages.h"

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

/// The panel keeps its newest lines; a long session must not make every new line dearer.
constexpr std::size_t longestMessage = 200'000;

}  // namespace

void showMessage(std::string_view text) {
  writeLog(text);
  addToMessage(text);
  showPanel();
  flushLog();
}

void addToMessage(std::string_view text) {
  if (logPaused()) return;
  std::string& message = calibration.message;
  message.append(text).append("\r\n");
  if (message.size() > longestMessage) {
    const std::size_t lineEnd = message.find('\n', message.size() - longestMessage / 2);
    message.erase(0, lineEnd == std::string::npos ? 0 : lineEnd + 1);
  }
}

void showPanel() {
  if (logPaused()) return;
  userInterface().showPanel(calibration.message);
}

}  // namespace vellandra
