#pragma once

#include <deque>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "imaging/merge_question.h"
#include "imaging/tile_controls.h"
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
  std::deque<MergeAnswer> mergeAnswers;
  std::deque<std::function<void(TileControls&)>> tileChoices;
  std::deque<std::optional<std::string>> typedTexts;     ///< to questions for a line of text
  std::deque<std::optional<PixelRectangle>> rectangles;  ///< to questions for a part of an image

  std::vector<MessageBox> boxes;
  std::vector<FilePicker> pickers;
  std::vector<std::string> datumPrompts, datumNames, worldFileLines, worldFileZones, textInitials;
  std::vector<MergeQuestion> mergeQuestions;
  std::vector<std::string> works;      ///< titles of the pieces of work
  std::vector<std::int64_t> progress;  ///< steps done of the last one, of `progressTotal`
  std::int64_t progressTotal = 0;
  std::string panel;
  std::vector<bool> busyStates;
  MenuStates menuStates;

  ScriptedInterface() { setUserInterface(*this); }

  Answer messageBox(const MessageBox& box) override {
    boxes.push_back(box);
    if (boxes.size() > 1000) throw std::logic_error("the same box again and again: " + box.text);
    if (box.buttons == Buttons::ok) return Answer::ok;
    return take(boxAnswers, box.buttons == Buttons::yesNo ? Answer::no : Answer::cancel);
  }
  std::string askOpenFile(const FilePicker& picker) override {
    pickers.push_back(picker);
    return take(pickedFiles);
  }
  std::string askSaveFile(const FilePicker& picker) override { return askOpenFile(picker); }
  int chooseDatum(const std::string& prompt, const std::vector<std::string>& names) override {
    datumPrompts.push_back(prompt);
    datumNames = names;
    return take(datums);
  }
  WorldFileAnswer askWorldFile(const std::string& lines, const std::vector<std::string>& zones) override {
    worldFileLines.push_back(lines);
    worldFileZones = zones;
    return take(worldFileAnswers);
  }
  void askMerge(MergeQuestion& question) override {
    mergeQuestions.push_back(question);
    question.answer = take(mergeAnswers);
  }
  void askGarminTiles(TileControls& controls) override {
    if (const auto choose = take(tileChoices)) choose(controls);
  }
  std::optional<std::string> askText(const std::string&, const std::string& initial) override {
    textInitials.push_back(initial);
    return take(typedTexts);
  }
  void askRectangle(PixelRectangle& part) override { part = take(rectangles).value_or(part); }
  void showPanel(const std::string& message) override { panel = message; }
  void doWork(const std::string& title, const std::function<void()>& work) override {
    works.push_back(title);
    progress.clear();
    ScriptedWork scripted(*this);
    const AtWork atWork(&scripted);
    work();
    if (!scripted.settle()) throw Cancelled();
  }
  /// May cancel the work, or throw.
  virtual void showProgress(Work& /*work*/, std::int64_t done, std::int64_t total) {
    progress.push_back(done);
    progressTotal = total;
  }
  void showBusy(bool busy) override { busyStates.push_back(busy); }
  void setMenuStates(const MenuStates& states) override { menuStates = states; }

  /// Texts of the boxes shown so far.
  std::vector<std::string> boxTexts() const {
    std::vector<std::string> texts;
    for (const MessageBox& box : boxes) texts.push_back(box.text);
    return texts;
  }

 private:
  struct ScriptedWork : Work {
    explicit ScriptedWork(ScriptedInterface& shown) : person(shown) {}
    void show(std::int64_t done, std::int64_t total) override { person.showProgress(*this, done, total); }
    ScriptedInterface& person;
  };

  template <typename T>
  static T take(std::deque<T>& answers, T otherwise = {}) {
    if (answers.empty()) return otherwise;
    T answer = answers.front();
    answers.pop_front();
    return answer;
  }
};

}  // namespace vellandra
