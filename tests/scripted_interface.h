#pragma once

#include <deque>
#include <string>
#include <vector>

#include "support/user_interface.h"

namespace vellandra {

/// The port of the tests: answers from lists and records what was asked. A question without an answer left takes the
/// harmless one.
class ScriptedInterface : public UserInterface {
 public:
  std::deque<Answer> boxAnswers;        ///< to boxes with a choice
  std::deque<std::string> pickedFiles;  ///< to file pickers
  std::deque<int> datums;               ///< to the datum match
  std::deque<WorldFileAnswer> worldFileAnswers;

  std::vector<MessageBox> boxes;
  std::vector<FilePicker> pickers;
  std::vector<std::string> datumPrompts;
  std::vector<std::string> datumNames;
  std::vector<std::string> worldFileLines;
  std::vector<std::string> worldFileZones;
  std::string panel;
  MenuStates menuStates;

  ScriptedInterface() { setUserInterface(*this); }

  Answer messageBox(const MessageBox& box) override {
    boxes.push_back(box);
    if (box.buttons == Buttons::ok) return Answer::ok;
    return take(boxAnswers, box.buttons == Buttons::yesNo ? Answer::no : Answer::cancel);
  }
  std::string askOpenFile(const FilePicker& picker) override {
    pickers.push_back(picker);
    return take(pickedFiles, std::string());
  }
  std::string askSaveFile(const FilePicker& picker) override { return askOpenFile(picker); }
  int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) override {
    datumPrompts.push_back(prompt);
    datumNames = names;
    return take(datums, 0);
  }
  WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) override {
    worldFileLines.push_back(lines);
    worldFileZones = zones;
    return take(worldFileAnswers, WorldFileAnswer());
  }
  void showPanel(const std::string& message) override { panel = message; }
  void showProgress(int, int) override {}
  void showBusy(bool) override {}
  void setMenuStates(const MenuStates& states) override { menuStates = states; }

  /// Texts of the boxes shown so far.
  std::vector<std::string> boxTexts() const {
    std::vector<std::string> texts;
    for (const MessageBox& box : boxes) texts.push_back(box.text);
    return texts;
  }

 private:
  template <typename T>
  static T take(std::deque<T>& answers, T otherwise) {
    if (answers.empty()) return otherwise;
    T answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

}  // namespace vellandra
