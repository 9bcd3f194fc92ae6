#include "geodesy/position_entry.h"

#include <gtest/gtest.h>

#include <cmath>

#include "geodesy/datum.h"

namespace vellandra {
namespace {

TEST(PositionEntry, AngleInEveryWayItIsTyped) {
  struct Row {
    EntryField (*parse)(std::string_view);
    const char* text;
    double angle;
  };
  const Row rows[] = {
      {parseLatitude, "51.5074", 51.5074},
      {parseLongitude, " -0.1278 ", -0.1278},
      {parseLongitude, "0.1278W", -0.1278},
      {parseLatitude, "s 33.5", -33.5},
      {parseLatitude, "51 30.444", 51 + 30.444 / 60},
      {parseLatitude, "0 30 S", -0.5},
      {parseLongitude, "-0 30", -0.5},
      {parseLatitude, "N 51\u00B0 30' 26.64\"", 51 + 30 / 60.0 + 26.64 / 3600},
      {parseLongitude, "0\u00B07\u203240.08\u2033 W", -(7 / 60.0 + 40.08 / 3600)},
      {parseLatitude, "51:30:00", 51.5},
      {parseLatitude, "90 0 0 N", 90},
      {parseLongitude, "180", 180},
  };
  for (const Row& row : rows) {
    const EntryField field = row.parse(row.text);
    ASSERT_TRUE(field.value.has_value()) << row.text << ": " << field.problem;
    EXPECT_DOUBLE_EQ(*field.value, row.angle) << row.text;
    EXPECT_EQ(field.problem, "") << row.text;
  }
}

TEST(PositionEntry, ReasonSaysWhatIsWrong) {
  struct Row {
    EntryField (*parse)(std::string_view);
    const char* text;
    const char* reason;
  };
  const auto square = [](std::string_view text) { return parseMetres(text, 0, 99999.999); };
  const auto utmNorthing = [](std::string_view text) { return parseMetres(text, 0, 10000000); };
  const Row rows[] = {
      {parseLatitude, "", ""},
      {parseLatitude, "51,5", "decimals are written with \".\""},
      {parseLatitude, "51.5 30", "only the last number can have decimals"},
      {parseLatitude, "51 60", "minutes end at 59"},
      {parseLongitude, "1 2 60", "seconds end at 59"},
      {parseLatitude, "90 0 0.1", "a latitude ends at 90"},
      {parseLongitude, "180.1 W", "a longitude ends at 180"},
      {parseLatitude, "5 E", "a latitude has N or S"},
      {parseLongitude, "-5 W", "either a sign or a letter"},
      {parseLatitude, "N", "a number is missing"},
      {parseLatitude, "1 2 3 4", "more than degrees, minutes and seconds"},
      {parseLatitude, "5-3", "\"5-3\" is no number"},
      {parseLatitude, "1e1", "\"1e1\" is no number"},
      {parseLatitude, "1.2.3", "\"1.2.3\" is no number"},
      {square, "", ""},
      {square, "12a", "metres are needed"},
      {square, "100000", "metres end at 99999.999"},
      {utmNorthing, "10000000.1", "metres end at 10000000"},
      {square, "-1", "metres begin at 0"},
      {square, "nan", "metres are needed"},
  };
  for (const Row& row : rows) {
    const EntryField field = row.parse(row.text);
    EXPECT_FALSE(field.value.has_value()) << row.text;
    EXPECT_EQ(field.problem, row.reason) << row.text;
  }
}

TEST(PositionEntry, GridReferences) {
  // cs2cs from the grid's projection with +towgs84=375,-111,431, and from +proj=utm +zone=33 +south +datum=WGS84.
  const auto letters = britishPosition("su", 30000, 80000);
  const auto metres = britishPosition(" ", 430000, 180000);
  const auto south = utmPosition(33, true, 600000, 6000000, 0);
  ASSERT_TRUE(letters && metres && south);
  EXPECT_NEAR(letters->latitude, 51.51807913, 2e-8);
  EXPECT_DOUBLE_EQ(metres->latitude, letters->latitude);
  EXPECT_NEAR(south->latitude, -36.13956045, 2e-8);
  // cs2cs from tmerc on a=6377340.189, rf=299.3249646, without a shift.
  const auto irish = irishPosition("o", 15000, 34000);
  const auto irishMetres = irishPosition("", 315000, 234000);
  ASSERT_TRUE(irish && irishMetres);
  EXPECT_NEAR(irish->latitude, 53.34372914, 2e-8);
  EXPECT_NEAR(irish->longitude, -6.27310280, 2e-8);
  EXPECT_DOUBLE_EQ(irishMetres->longitude, irish->longitude);
  EXPECT_FALSE(britishPosition("ZZ", 0, 0)) << "a square outside the grid's area";
  for (const char* good : {"tq", ""}) EXPECT_EQ(britishLettersProblem(good), "") << good;
  EXPECT_EQ(britishLettersProblem("TI"), "letters from A to Z without I");
  EXPECT_EQ(britishLettersProblem("T"), "two letters, or none for full metres");
  EXPECT_EQ(irishLetterProblem("O"), "");
  EXPECT_EQ(irishLetterProblem("SU"), "one letter, or none for full metres");

  datumTable = DatumTable();
  datumTable.count = 1;
  datumTable.dA[1] = -251;
  datumTable.dF[1] = -0.000014192702;
  const auto international = utmPosition(30, false, 430000, 5800000, 1);
  const auto wgs84 = utmPosition(30, false, 430000, 5800000, 0);
  ASSERT_TRUE(international && wgs84);
  EXPECT_GT(std::abs(international->latitude - wgs84->latitude), 1e-4) << "the datum's ellipsoid is not used";
}

}  // namespace
}  // namespace vellandra
