#include "console/console.h"

#include <istream>
#include <ostream>

#include "support/errors.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

/// UTF-8 with LF for a terminal, which a file's bytes must not steer.
std::string forTerminal(std::string text) {
  std::erase(text, '\r');
  return withoutControls(text);
}

bool meansYes(const std::string& answer) {
  const std::string lower = lowerCase(answer);
  return lower == "y" || lower == "yes" || lower == "o" || lower == "ok";
}

/// The whole number that `answer` is; -1 when it is none.
int wholeNumber(const std::string& answer) {
  const bool digits =
      !answer.empty() && answer.size() < 6 && answer.find_first_not_of("0123456789") == std::string::npos;
  return digits ? parseInt32(answer) : -1;
}

/// Position, from 1, of the one name that holds `part`, or is `part`; 0 when there is none or more than one.
int nameLike(const std::string& part, const std::vector<std::string>& names) {
  const std::string wanted = upperCase(part);
  int found = 0;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string name = upperCase(names[i]);
    if (name == wanted) return static_cast<int>(i) + 1;
    if (name.find(wanted) == std::string::npos) continue;
    if (found != 0) return 0;
    found = static_cast<int>(i) + 1;
  }
  return found;
}

}  // namespace

Console::Console(std::istream& in, std::ostream& out, std::ostream& err, bool somebodyToAsk)
    : in_(in), out_(out), err_(err), somebodyToAsk_(somebodyToAsk) {}

void Console::print(const std::string& text) {
  err_ << forTerminal(text) << std::flush;
}

std::string Console::ask(const std::string& question) {
  print(question + " ");
  std::string answer;
  if (!std::getline(in_, answer)) {
    in_.clear();
    print("\n");
    return {};
  }
  std::erase(answer, '\r');
  return std::string(trim(answer));
}

Answer Console::messageBox(const MessageBox& box) {
  const std::string text = (box.title == MessageBox().title ? "" : box.title + ": ") + box.text;
  if (box.buttons == Buttons::ok) {
    print(text + "\n");
    return Answer::ok;
  }
  const bool yesNo = box.buttons == Buttons::yesNo;
  if (!somebodyToAsk_) {
    print(text + (yesNo ? " - nobody to ask: No\n" : " - nobody to ask: Cancel\n"));
    return yesNo ? Answer::no : Answer::cancel;
  }
  const bool agreed = meansYes(ask(text + (yesNo ? " [yes/No]" : " [ok/Cancel]")));
  if (yesNo) return agreed ? Answer::yes : Answer::no;
  return agreed ? Answer::ok : Answer::cancel;
}

std::string Console::askOpenFile(const FilePicker& picker) {
  const std::string title(trim(picker.title));
  if (!somebodyToAsk_) {
    print(title + " - nobody to ask: no file\n");
    return {};
  }
  return ask(title + " (path; empty to cancel):");
}

std::string Console::askSaveFile(const FilePicker& picker) {
  return askOpenFile(picker);
}

int Console::chooseDatum(const std::string& prompt, const std::vector<std::string>& names) {
  if (!somebodyToAsk_) {
    print(prompt + " - nobody to ask: no datum\n");
    return 0;
  }
  for (std::size_t i = 0; i < names.size(); ++i) print(std::to_string(i + 1) + "  " + names[i] + "\n");
  while (true) {
    const std::string answer = ask(prompt + " (number or part of a name; empty for none):");
    if (answer.empty()) return 0;
    const int number = wholeNumber(answer);
    if (number >= 1 && number <= static_cast<int>(names.size())) return number;
    const int like = nameLike(answer, names);
    if (like > 0) return like;
    print("There is not exactly one datum like that.\n");
  }
}

WorldFileAnswer Console::askWorldFile(const std::string& lines, const std::vector<std::string>& zones) {
  if (!somebodyToAsk_) {
    print("TFW Parameters - nobody to ask: no zone\n");
    return {};
  }
  print("TFW Parameters\n" + lines);
  const int most = static_cast<int>(zones.size()) - 1;
  WorldFileAnswer answer;
  while (true) {
    const std::string text =
        ask("UTM zone 1-" + std::to_string(most) + ", or 0 for " + zones.back() + " (empty for none):");
    if (text.empty()) return {};
    const int zone = wholeNumber(text);
    if (zone >= 0 && zone <= most) {
      answer.zone = static_cast<std::int16_t>(zone);
      break;
    }
    print("There is no such zone.\n");
  }
  answer.datum = WorldFileAnswer::Datum::wgs84;
  if (answer.zone == 0) return answer;
  answer.southern = meansYes(ask("Southern Hemisphere? [yes/No]"));
  const std::string wgs84 = ask("Is the datum WGS84? [yes/no; empty for none]");
  if (wgs84.empty()) return {};
  if (!meansYes(wgs84)) answer.datum = WorldFileAnswer::Datum::notWgs84;
  return answer;
}

void Console::showPanel(const std::string& message) {
  const bool grown = message.starts_with(shownPanel_);
  out_ << forTerminal(grown ? message.substr(shownPanel_.size()) : message) << std::flush;
  shownPanel_ = message;
}

}  // namespace vellandra
