#include "console/console.h"

#include <gtest/gtest.h>

#include <sstream>

#include "imaging/tile_grid.h"

namespace vellandra {
namespace {

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
  EXPECT_EQ(t.console.askWorldFile("", zones).datum, WorldFileAnswer::Datum::none);
  EXPECT_EQ(t.err.str(),
            "T: OK to overwrite x - nobody to ask: Cancel\nReally - nobody to ask: No\n"
            "Open image file - nobody to ask: no file\nChoose to match : X - nobody to ask: no datum\n"
            "TFW Parameters - nobody to ask: no zone\n");
}

TEST(Console, AnswersAreTakenFromTheTerminal) {
  EXPECT_EQ(Terminal("ok\n").console.messageBox({"?", "T", Buttons::okCancel}), Answer::ok);
  EXPECT_EQ(Terminal("\n").console.messageBox({"?", "T", Buttons::okCancel}), Answer::cancel);
  EXPECT_EQ(Terminal("").console.messageBox({"?", "T", Buttons::okCancel}), Answer::cancel);
  EXPECT_EQ(Terminal("Y\r\n").console.messageBox({"?", "T", Buttons::yesNo}), Answer::yes);
  EXPECT_EQ(Terminal(" /a b.png \n").console.askSaveFile({"Save", "", ""}), "/a b.png");
  EXPECT_EQ(Terminal("4\n").console.chooseDatum("?", datums), 4);
  EXPECT_EQ(Terminal("european\n99\nadin\n").console.chooseDatum("?", datums), 1);
  EXPECT_EQ(Terminal("european 1979\n").console.chooseDatum("?", datums), 3);
  EXPECT_EQ(Terminal("european\n").console.chooseDatum("?", datums), 0);  // the input ends
}

TEST(Console, WorldFileQuestions) {
  const auto ask = [](const std::string& typed) { return Terminal(typed).console.askWorldFile("1\r\n", zones); };
  using Datum = WorldFileAnswer::Datum;
  EXPECT_EQ(ask("\n").datum, Datum::none);
  EXPECT_EQ(ask("0\n").datum, Datum::wgs84);
  const WorldFileAnswer south = ask("61\n-1\n33\nyes\nno\n");
  EXPECT_EQ(south.zone, 33);
  EXPECT_TRUE(south.southern);
  EXPECT_EQ(south.datum, Datum::notWgs84);
  EXPECT_EQ(ask("33\nno\n\n").datum, Datum::none);
}

TEST(Console, GarminTileQuestions) {
  GarminTileControls closed(3000, 2000, {1024, 1024});
  Terminal("4 2\n\n").console.askGarminTiles(closed);
  EXPECT_FALSE(closed.isConfirmed());
  GarminTileControls chosen(3000, 2000, {1024, 1024});
  Terminal t("2\n0 3\n4 x\n4 5 6\n4 2\nok\n");
  t.console.askGarminTiles(chosen);
  EXPECT_TRUE(chosen.isConfirmed());
  EXPECT_EQ(chosen.caption(), "Tiles 751 x 1000");
  EXPECT_NE(t.err.str().find("Tiles 751 x 1000, 4 across, 2 down (ok"), std::string::npos) << t.err.str();
  Terminal nobody("ok\n", false);
  nobody.console.askGarminTiles(closed);
  EXPECT_FALSE(closed.isConfirmed());
  EXPECT_EQ(nobody.err.str(), "Garmin Tile controls - nobody to ask: closed\n");
}

TEST(Console, PanelPrintsEveryLineOnceInUtf8) {
  Terminal t("");
  t.console.showPanel("one\r\n");
  t.console.showPanel("one\r\n\xE5sen\r\n");
  t.console.showPanel("one\r\n\xE5sen\r\n");
  EXPECT_EQ(t.out.str(), "one\n\xC3\xA5sen\n");
}

}  // namespace
}  // namespace vellandra
