#include "calibration/messages.h"

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

/// The panel keeps its newest lines; a long session must not make every new line dearer.
constexpr std::size_t longestMessage = 200'000;

class RunJournal : public Journal {
 public:
  void log(std::string_view text) const override { writeLog(text); }
  void show(std::string_view text) const override { showMessage(text); }
};

}  // namespace

void showMessage(std::string_view text) {
  writeLog(text);
  addToMessage(text);
  showPanel();
  flushLog();
}

void addToMessage(std::string_view text) {
  std::string& message = calibration.message;
  message.append(text).append("\r\n");
  if (message.size() > longestMessage) {
    const std::size_t lineEnd = message.find('\n', message.size() - longestMessage / 2);
    message.erase(0, lineEnd == std::string::npos ? 0 : lineEnd + 1);
  }
}

void beginMapOnPanel(const std::string& path) {
  if (!calibration.message.empty()) addToMessage("");
  showMessage(std::string(fileName(path)) + ":");
}

void showPanel() {
  userInterface().showPanel(calibration.message);
}

const Journal& runJournal() {
  static const RunJournal journal;
  return journal;
}

}  // namespace vellandra
