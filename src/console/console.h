#pragma once

#include <iosfwd>
#include <string>

#include "support/user_interface.h"

namespace vellandra {

/// The port on a terminal: panel lines on `out`, boxes and questions on `err`, answers from `in`. Without somebody to
/// ask, every question takes its harmless answer (Cancel, nothing chosen) and says so on `err`.
class Console : public UserInterface {
 public:
  Console(std::istream& in, std::ostream& out, std::ostream& err, bool somebodyToAsk);

  Answer messageBox(const MessageBox& box) override;
  std::string askOpenFile(const FilePicker& picker) override;
  std::string askSaveFile(const FilePicker& picker) override;
  int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) override;
  WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) override;
  void showPanel(const std::string& message) override;

 private:
  /// One line from the person, trimmed; empty at the end of the input.
  std::string ask(const std::string& question);
  void print(const std::string& text);

  std::istream& in_;
  std::ostream& out_;
  std::ostream& err_;
  bool somebodyToAsk_;
  std::string shownPanel_;
};

}  // namespace vellandra
