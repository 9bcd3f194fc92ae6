#include "geodesy/national_grids.h"

#include <gtest/gtest.h>

#include <tuple>

#include "fixture_rows.h"
#include "support/errors.h"

namespace vellandra {
namespace {

// The series' term in the fifth power of the easting leaves out eta squared: 5.75 degrees west of the central meridian
// (rows of 7.75 W) this costs the way back up to 3.7 mm, and nothing to speak of over Great Britain itself.
TEST(BritishGrid, AgreesWithProjBothWays) {
  Largest forward{"British grid forward"}, back{"British grid back"};
  for (const FixtureRow& row : fixtureRows("british_grid.txt", 6)) {
    double easting = 0, northing = 0, lat = 0, lon = 0;
    latLongToOsMetres(row.number[0], row.number[1], easting, northing);
    EXPECT_LT(forward.add(std::hypot(easting - row.number[2], northing - row.number[3])), 0.002) << row.line;

    std::string letters;
    OffsetToOsLetters(static_cast<std::int32_t>(easting), static_cast<std::int32_t>(northing), letters);
    OsGridToLatLong(letters, std::fmod(row.number[3], 100000), std::fmod(row.number[2], 100000), lat, lon);
    const double tolerance = row.number[1] < -7 ? 0.004 : 0.002;
    EXPECT_LT(back.add(metresBetween(lat, lon, row.number[4], row.number[5])), tolerance) << row.line;
  }
}

TEST(IrishGrid, AgreesWithProj) {
  Largest back{"Irish grid back"};
  for (const FixtureRow& row : fixtureRows("irish_grid.txt", 4)) {
    for (const auto& [letter, offset] : {std::pair("V", 0), std::pair("N", 200000)}) {
      double lat = 0, lon = 0;
      IrishGridToLatLong(letter, row.number[0] - offset, row.number[1] - offset, lat, lon);
      EXPECT_LT(back.add(metresBetween(lat, lon, row.number[2], row.number[3])), 0.001) << row.line;
    }
  }
}

// As the Ordnance Survey's index of the 100 km squares shows them.
TEST(BritishGrid, LettersNameTheirSquare) {
  const std::tuple<const char*, std::int32_t, std::int32_t> rows[] = {
      {"SV", 0, 0},      {"TQ", 500000, 100000}, {"NT", 300000, 600000},  {"HP", 400000, 1200000},
      {"NA", 0, 900000}, {"OV", 500000, 500000}, {"JM", 600000, 1200000}, {"EE", 1400000, 1900000}};
  for (const auto& [square, squareEasting, squareNorthing] : rows) {
    std::int32_t easting = 1, northing = 1;
    OsLettersToOffset(square, easting, northing);
    EXPECT_EQ(std::pair(easting, northing), std::pair(squareEasting, squareNorthing)) << square;
    std::string letters;
    OffsetToOsLetters(squareEasting + 99999, squareNorthing + 99999, letters);
    EXPECT_EQ(letters, square);
  }
}

TEST(BritishGrid, UnknownLettersAreNotFound) {
  for (const char* letters : {"v", "I", ""}) {
    std::int32_t easting = 1, northing = 1;
    IrishLetterToOffset(letters, easting, northing);
    EXPECT_EQ(std::pair(easting, northing), std::pair(-100000, 0)) << letters;
    OsLettersToOffset(letters, easting, northing);
    EXPECT_EQ(std::pair(easting, northing), std::pair(-1600000, -500000)) << letters;
  }
}

TEST(BritishGrid, NoLettersAreReadOutsideTheGrid) {
  constexpr std::int32_t lowest = INT32_MIN, highest = INT32_MAX;
  const std::pair<std::int32_t, std::int32_t> rows[] = {{-100000, 0}, {0, -100000}, {-100000, 100000}, {1500000, 0},
                                                        {0, 2000000}, {lowest, 0},  {0, lowest},       {0, highest}};
  std::string letters;
  for (const auto& [easting, northing] : rows) {
    EXPECT_THROW(OffsetToOsLetters(easting, northing, letters), SubscriptOutOfRange) << easting << " " << northing;
  }
}

TEST(BritishGrid, AreaLeavesOutItsBounds) {
  EXPECT_TRUE(InGbGridArea(49.6001, 1.9999));
  EXPECT_TRUE(InGbGridArea(60.9999, -8.9999));
  const std::pair<double, double> bounds[] = {{49.6, -3}, {61, -3}, {55, -9}, {55, 2}};
  for (const auto& [lat, lon] : bounds) EXPECT_FALSE(InGbGridArea(lat, lon)) << lat << " " << lon;
}

}  // namespace
}  // namespace vellandra
