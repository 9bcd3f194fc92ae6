#include "geodesy/angle_format.h"

#include <gtest/gtest.h>

#include <limits>

#include "support/errors.h"

namespace vellandra {
namespace {

TEST(AngleFormat, RoundsOverSixtyIntoTheNextPart) {
  struct Row {
    const char* what;
    double lat, lon;
    const char *decimal, *minutes, *seconds;
  };
  const Row rows[] = {
      {"plain", 51.5074, -0.1278, "51.50740 -0.12780", "N 51° 30.4440'  W 0° 07.6680'",
       "N 51° 30' 26.64\"  W 0° 07' 40.08\""},
      {"south and east", -33.856784, 151.215297, "-33.85678 151.21530", "S 33° 51.4070'  E 151° 12.9178'",
       "S 33° 51' 24.42\"  E 151° 12' 55.07\""},
      {"59.99999 minutes", 50 + 59.99999 / 60, -(1 + 59.99999 / 60), "51.00000 -2.00000",
       "N 51° 00.0000'  W 2° 00.0000'", "N 51° 00' 00.00\"  W 2° 00' 00.00\""},
      {"59.996 seconds", 50 + 29 / 60.0 + 59.996 / 3600, 9 + 59 / 60.0 + 59.996 / 3600, "50.50000 10.00000",
       "N 50° 29.9999'  E 9° 59.9999'", "N 50° 30' 00.00\"  E 10° 00' 00.00\""},
      {"just less", 50 + 29 / 60.0 + 59.994 / 3600, 0.9999, "50.50000 0.99990", "N 50° 29.9999'  E 0° 59.9940'",
       "N 50° 29' 59.99\"  E 0° 59' 59.64\""},
      {"nothing is left of the sign", -0.0000000001, -0.000004, "0.00000 0.00000", "N 0° 00.0000'  W 0° 00.0002'",
       "N 0° 00' 00.00\"  W 0° 00' 00.01\""},
      {"limits", 90, -180, "90.00000 -180.00000", "N 90° 00.0000'  W 180° 00.0000'",
       "N 90° 00' 00.00\"  W 180° 00' 00.00\""},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.what);
    EXPECT_EQ(positionText(row.lat, row.lon, DegreeFormat::decimalDegrees), row.decimal);
    EXPECT_EQ(positionText(row.lat, row.lon, DegreeFormat::degreesMinutes), row.minutes);
    EXPECT_EQ(positionText(row.lat, row.lon, DegreeFormat::degreesMinutesSeconds), row.seconds);
  }
  const double nan = std::numeric_limits<double>::quiet_NaN();
  EXPECT_THROW(positionText(nan, 0, DegreeFormat::degreesMinutes), Overflow);
}

// cs2cs -f %.3f +proj=longlat +datum=WGS84 +to +proj=utm +zone=ZONE [+south] +datum=WGS84, and british_grid.txt's
// command
TEST(AngleFormat, GridTextChoosesTheGridOfThePlace) {
  const struct {
    double lat, lon;
    const char* text;
  } rows[] = {{51.503937058, -0.128334346, "TQ 30000 80000"},
              {60.75, -1.25, "HP 40980 07656"},
              {47.5, 8.25, "32T 443515 5261002"},
              {-34.6, -58.5, "21H 362454 6170291"},
              {81.5, 3, "31x 500000 9049016"},
              {-83, -59, "21 472793 0783070"},
              {49.65, -8.95, "29U 503609 5499718"}};  // in the area, but west of the lettered squares
  for (const auto& row : rows) EXPECT_EQ(gridText(row.lat, row.lon), row.text);
}

}  // namespace
}  // namespace vellandra
