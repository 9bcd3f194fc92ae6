#include "geodesy/position_entry.h"

#include <gtest/gtest.h>

#include <tuple>

#include "geodesy/angle_format.h"
#include "geodesy/datum.h"

namespace vellandra {
namespace {

TEST(AngleFormat, RoundsOverSixtyIntoTheNextPart) {
  // clang-format off
  const std::tuple<double, double, const char*, const char*> rows[] = {
      {51.5074, -0.1278, "N 51° 30.4440'  W 0° 07.6680'", "N 51° 30' 26.64\"  W 0° 07' 40.08\""},
      {-33.856784, 151.215297, "S 33° 51.4070'  E 151° 12.9178'", "S 33° 51' 24.42\"  E 151° 12' 55.07\""},
      {50 + 59.99999 / 60, -1.9999998333, "N 51° 00.0000'  W 2° 00.0000'", "N 51° 00' 00.00\"  W 2° 00' 00.00\""},
      {50.5 - 0.004 / 3600, 9.9999988889, "N 50° 29.9999'  E 9° 59.9999'", "N 50° 30' 00.00\"  E 10° 00' 00.00\""},
      {50.5 - 0.006 / 3600, 0.9999, "N 50° 29.9999'  E 0° 59.9940'", "N 50° 29' 59.99\"  E 0° 59' 59.64\""},
      {-0.0000000001, -0.000004, "N 0° 00.0000'  W 0° 00.0002'", "N 0° 00' 00.00\"  W 0° 00' 00.01\""},
  };
  // clang-format on
  for (const auto& [lat, lon, minutes, seconds] : rows) {
    EXPECT_EQ(positionText(lat, lon, DegreeFormat::degreesMinutes), minutes);
    EXPECT_EQ(positionText(lat, lon, DegreeFormat::degreesMinutesSeconds), seconds);
  }
  EXPECT_EQ(positionText(-33.856784, -0.000004, DegreeFormat::decimalDegrees), "-33.85678 0.00000");
}

// cs2cs -f %.3f +proj=longlat +datum=WGS84 +to +proj=utm +zone=ZONE [+south] +datum=WGS84, and british_grid.txt's
// command. "29U" lies in the grid's area, but west of its squares.
TEST(AngleFormat, GridTextChoosesTheGridOfThePlace) {
  const std::tuple<double, double, const char*> rows[] = {{51.503937058, -0.128334346, "TQ 30000 80000"},
                                                          {60.75, -1.25, "HP 40980 07656"},
                                                          {54.5, -8.5, "29U 532381 6039269"},
                                                          {47.5, 8.25, "32T 443515 5261002"},
                                                          {-34.6, -58.5, "21H 362454 6170291"},
                                                          {81.5, 3, "31x 500000 9049016"},
                                                          {-83, -59, "21 472793 0783070"},
                                                          {49.65, -8.95, "29U 503609 5499718"}};
  for (const auto& [lat, lon, text] : rows) EXPECT_EQ(gridText(lat, lon), text);
}

using Parse = EntryField (*)(std::string_view);

TEST(PositionEntry, AngleInEveryWayItIsTyped) {
  const std::tuple<Parse, const char*, double> rows[] = {
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
      {parseLongitude, "180", 180}};
  for (const auto& [parse, text, angle] : rows) {
    const EntryField field = parse(text);
    ASSERT_TRUE(field.value.has_value()) << text << ": " << field.problem;
    EXPECT_DOUBLE_EQ(*field.value, angle) << text;
    EXPECT_EQ(field.problem, "") << text;
  }
}

TEST(PositionEntry, ReasonSaysWhatIsWrong) {
  const auto square = [](std::string_view text) { return parseMetres(text, 0, 99999.999); };
  const auto utmNorthing = [](std::string_view text) { return parseMetres(text, 0, 10000000); };
  const std::tuple<Parse, const char*, const char*> rows[] = {
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
      {square, "nan", "metres are needed"}};
  for (const auto& [parse, text, reason] : rows) {
    const EntryField field = parse(text);
    EXPECT_FALSE(field.value.has_value()) << text;
    EXPECT_EQ(field.problem, reason) << text;
  }
}

TEST(PositionEntry, LettersThatNameNoSquareAreExplained) {
  EXPECT_EQ(britishLettersProblem("tq") + britishLettersProblem("") + irishLetterProblem("O"), "");
  EXPECT_EQ(britishLettersProblem("TI"), "letters from A to Z without I");
  EXPECT_EQ(britishLettersProblem("T"), "two letters, or none for full metres");
  EXPECT_EQ(irishLetterProblem("SU"), "one letter, or none for full metres");
}

TEST(PositionEntry, GridReferencesWithLettersAndInFullMetres) {
  datumTable = DatumTable();
  datumTable.count = 1;
  datumTable.dA[1] = -251;
  datumTable.dF[1] = -0.000014192702;
  const std::tuple<std::optional<Position>, double, double> rows[] = {
      // cs2cs from the grid's projection with +towgs84=375,-111,431, and from +proj=utm +zone=33 +south +datum=WGS84.
      {britishPosition("su", 30000, 80000), 51.51807913, -1.56904403},
      {britishPosition(" ", 430000, 180000), 51.51807913, -1.56904403},
      {utmPosition(33, true, 600000, 6000000, 0), -36.13956045, 16.11147803},
      {utmPosition(30, false, 430000, 5800000, 1), 52.34473578, -4.02753321},  // +proj=utm +zone=30 +ellps=intl
      // cs2cs from tmerc on a=6377340.189, rf=299.3249646, without a shift.
      {irishPosition("o", 15000, 34000), 53.34372914, -6.27310280},
      {irishPosition("", 315000, 234000), 53.34372914, -6.27310280}};
  for (const auto& [position, latitude, longitude] : rows) {
    ASSERT_TRUE(position) << latitude;
    EXPECT_NEAR(position->latitude, latitude, 2e-8);
    EXPECT_NEAR(position->longitude, longitude, 2e-8) << latitude;
  }
  EXPECT_FALSE(britishPosition("ZZ", 0, 0)) << "a square outside the grid's area";
  EXPECT_FALSE(britishPosition("RU", 30000, 30000)) << "a square in the sea, west of the origin";
}

}  // namespace
}  // namespace vellandra
