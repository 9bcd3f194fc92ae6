#include "geodesy/angle_format.h"

#include <gtest/gtest.h>

#include <tuple>

namespace vellandra {
namespace {

TEST(AngleFormat, RoundsOverSixtyIntoTheNextPart) {
  // clang-format off
  const std::tuple<const char*, double, double, const char*, const char*> rows[] = {
      {"plain",          51.5074, -0.1278,                  "N 51° 30.4440'  W 0° 07.6680'",    "N 51° 30' 26.64\"  W 0° 07' 40.08\""},
      {"south and east", -33.856784, 151.215297,            "S 33° 51.4070'  E 151° 12.9178'",  "S 33° 51' 24.42\"  E 151° 12' 55.07\""},
      {"59.99999'",      50 + 59.99999 / 60, -1.9999998333, "N 51° 00.0000'  W 2° 00.0000'",    "N 51° 00' 00.00\"  W 2° 00' 00.00\""},
      {"59.996\"",       50.5 - 0.004 / 3600, 9.9999988889, "N 50° 29.9999'  E 9° 59.9999'",    "N 50° 30' 00.00\"  E 10° 00' 00.00\""},
      {"59.994\"",       50.5 - 0.006 / 3600, 0.9999,       "N 50° 29.9999'  E 0° 59.9940'",    "N 50° 29' 59.99\"  E 0° 59' 59.64\""},
      {"no sign is left", -0.0000000001, -0.000004,         "N 0° 00.0000'  W 0° 00.0002'",     "N 0° 00' 00.00\"  W 0° 00' 00.01\""},
  };
  // clang-format on
  for (const auto& [what, lat, lon, minutes, seconds] : rows) {
    EXPECT_EQ(positionText(lat, lon, DegreeFormat::degreesMinutes), minutes) << what;
    EXPECT_EQ(positionText(lat, lon, DegreeFormat::degreesMinutesSeconds), seconds) << what;
  }
  EXPECT_EQ(positionText(-33.856784, -0.000004, DegreeFormat::decimalDegrees), "-33.85678 0.00000");
}

// cs2cs -f %.3f +proj=longlat +datum=WGS84 +to +proj=utm +zone=ZONE [+south] +datum=WGS84, and british_grid.txt's
// command. "NV" lies west of the false origin, "29U" in the grid's area, but west of the lettered squares.
TEST(AngleFormat, GridTextChoosesTheGridOfThePlace) {
  const std::tuple<double, double, const char*> rows[] = {{51.503937058, -0.128334346, "TQ 30000 80000"},
                                                          {60.75, -1.25, "HP 40980 07656"},
                                                          {54.5, -8.5, "NV -20561 31090"},
                                                          {47.5, 8.25, "32T 443515 5261002"},
                                                          {-34.6, -58.5, "21H 362454 6170291"},
                                                          {81.5, 3, "31x 500000 9049016"},
                                                          {-83, -59, "21 472793 0783070"},
                                                          {49.65, -8.95, "29U 503609 5499718"}};
  for (const auto& [lat, lon, text] : rows) EXPECT_EQ(gridText(lat, lon), text);
}

}  // namespace
}  // namespace vellandra
