#include "console/console.h"

#include <gtest/gtest.h>

#include <sstream>

namespace vellandra {
namespace {

using Datum = WorldFileAnswer::Datum;

struct Terminal {
  explicit Terminal(const std::string& typed, bool somebody = true) : in(typed), console(in, out, err, somebody) {}
  std::istringstream in;
  std::ostringstream out, err;
  Console console;
};

const std::vector<std::string> datums = {"ADINDAN", "EUROPEAN 1950", "EUROPEAN 1979", "WGS 84"};
const std::vector<std::string> zones(61, "GB-OrdSvy");

TEST(Console, NobodyToAskTakesTheHarmlessAnswerAndSaysSo) {
  Terminal t("ok\nok\nok\nok\n1\n", false);
  EXPECT_EQ(t.console.messageBox({"OK to overwrite x", "T", Buttons::okCancel}), Answer::cancel);
  EXPECT_EQ(t.console.messageBox({"Really", "Vellandra", Buttons::yesNo}), Answer::no);
  EXPECT_EQ(t.console.askOpenFile({"Open image file", "", ""}), "");
  EXPECT_EQ(t.console.chooseDatum("Choose to match : X", datums), 0);
  EXPECT_EQ(t.console.askWorldFile("", zones).datum, Datum::none);
  EXPECT_EQ(t.err.str(),
            "T: OK to overwrite x - nobody to ask: Cancel\nReally - nobody to ask: No\n"
            "Open image file - nobody to ask: no file\nChoose to match : X - nobody to ask: no datum\n"
            "TFW Parameters - nobody to ask: no zone\n");
}

TEST(Console, AnswersAreTakenFromTheTerminal) {
  const auto box = [](const char* typed, Buttons buttons) {
    return Terminal(typed).console.messageBox({"?", "T", buttons});
  };
  EXPECT_EQ(box("ok\n", Buttons::okCancel), Answer::ok);
  EXPECT_EQ(box("\n", Buttons::okCancel), Answer::cancel);
  EXPECT_EQ(box("", Buttons::okCancel), Answer::cancel);
  EXPECT_EQ(box("Y\r\n", Buttons::yesNo), Answer::yes);
  EXPECT_EQ(Terminal(" /a b.png \n").console.askSaveFile({"Save", "", ""}), "/a b.png");
  // The last input ends before there is an answer.
  const std::pair<const char*, int> names[] = {
      {"4\n", 4}, {"european\n99\nadin\n", 1}, {"european 1979\n", 3}, {"european\n", 0}};
  for (const auto& [typed, datum] : names) EXPECT_EQ(Terminal(typed).console.chooseDatum("?", datums), datum) << typed;
}

TEST(Console, WorldFileQuestions) {
  const auto ask = [](const std::string& typed) { return Terminal(typed).console.askWorldFile("1\r\n", zones); };
  EXPECT_EQ(ask("\n").datum, Datum::none);
  EXPECT_EQ(ask("0\n").datum, Datum::wgs84);
  const WorldFileAnswer south = ask("61\n-1\n33\nyes\nno\n");
  EXPECT_EQ(south.zone, 33);
  EXPECT_TRUE(south.southern);
  EXPECT_EQ(south.datum, Datum::notWgs84);
  EXPECT_EQ(ask("33\nno\n\n").datum, Datum::none);
}

TEST(Console, PanelPrintsEveryLineOnceInUtf8WithoutControls) {
  const std::pair<std::string, std::string> rows[] = {
      {"one", "one"},
      {"\xE5sen", "\xC3\xA5sen"},          // Windows-1252 beside
      {"\xC3\xA5\tsen", "\xC3\xA5\tsen"},  // UTF-8
      {"\x1B[2J\a\x7F", "?[2J??"},
      {"\x81\x9B", "?\xE2\x80\xBA"},             // the first is a control in Windows-1252, too
      {"\xC2\x85\xC2\x9BJ", "??J"},              // NEL, CSI
      {"\xE2\x80\xAEgpj\xE2\x81\xA9", "?gpj?"},  // right-to-left override, end of an isolate
  };
  Terminal t("");
  std::string panel, printed;
  for (const auto& [text, shown] : rows) {
    t.console.showPanel(panel += text + "\r\n");
    t.console.showPanel(panel);
    t.console.messageBox({text, "T", Buttons::ok});
    EXPECT_EQ(t.out.str(), printed += shown + "\n");
    EXPECT_TRUE(t.err.str().ends_with("T: " + shown + "\n")) << t.err.str();
  }
}

}  // namespace
}  // namespace vellandra
