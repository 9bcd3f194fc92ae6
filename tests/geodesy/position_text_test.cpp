#include "geodesy/position_text.h"

#include <gtest/gtest.h>

#include "fixture_rows.h"
#include "support/text.h"

namespace vellandra {
namespace {

PointGrid useOf(EntryGrid kind) {
  return {.grid = kind, .datum = wgs84Name, .zone = 33};
}

// PROJ 9.1, cs2cs: +proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000 +ellps=airy
// +towgs84=375,-111,431; tmerc on a=6377340.189 b=6356034.447 without a shift; +proj=utm +zone=.. +datum=WGS84.
TEST(PositionText, FormsThatPeopleHaveFillAllFieldsAndComeBackAsShown) {
  const struct {
    const char* text;
    double latitude, longitude;
    const char* shown;  ///< again, in the grid of the text
    EntryGrid inUse = EntryGrid::degrees;
    std::optional<bool> southern = {};
  } rows[] = {
      {"35.0, 26.0", 35, 26, "35.00000 26.00000"},
      {"35.0 26.0", 35, 26, "35.00000 26.00000", EntryGrid::british},
      {"-35.25,+26.5", -35.25, 26.5, "-35.25000 26.50000"},
      {"\u221235.25;\u00A026.5\n", -35.25, 26.5, "-35.25000 26.50000"},
      {"35\u00B000'00.0\"N 26\u00B000'00.0\"E", 35, 26, "35.00000 26.00000"},
      {"35\u00BA30\u203236\u2033 N, 26\u00B015\u201936\u201D\u202FW", 35.51, -26.26, "35.51000 -26.26000"},
      {"35\u00B030' 26\u00B015'", 35.5, 26.25, "35.50000 26.25000"},
      {"N 35 00.000 E 26 30.000", 35, 26.5, "35.00000 26.50000"},
      {"n35.5, w26.25", 35.5, -26.25, "35.50000 -26.25000"},
      {"26 E 35 30 N", 35.5, 26, "35.50000 26.00000"},
      {"-35 30 0 26 15 0", -35.5, 26.25, "-35.50000 26.25000"},
      {"35, 26", 35, 26, "35.00000 26.00000"},
      {"SH 60000 55000", 53.073816551, -4.091251667, "SH 60000 55000"},
      {"sh600550", 53.073816551, -4.091251667, "SH 60000 55000"},
      {"SH 61 55", 53.074077844, -4.076335337, "SH 61000 55000"},
      {"SH 60012.5, 55099.25", 53.074711416, -4.091108427, "SH 60013 55099"},
      {"260000, 355000", 53.073816551, -4.091251667, "SH 60000 55000", EntryGrid::british},
      {"O 15904 34671", 53.349558874, -6.259289188, "O 15904 34671"},
      {"O159346", 53.348922031, -6.259375217, "O 15900 34600"},
      {"N 35 26", 53.283180367, -7.475186473, "N 35000 26000", EntryGrid::irish},
      {"33T 448251 5411932", 48.858193838, 14.294489245, "33U 448251 5411932"},
      {"UTM 33 U 448251mE, 5411932mN", 48.858193838, 14.294489245, "33U 448251 5411932"},
      {"33 north -400000 7400000", 65.441518774, -4.662658847, "33W -400000 7400000"},
      {"33 north 740000 9000000", 80.808133749, 28.578290116, "33x 740000 9000000"},  // far in the north
      {"448251 5411932", 48.858193838, 14.294489245, "33U 448251 5411932", EntryGrid::utm},
      {"33S 448251 3900000", 35.241741233, 14.431223251, "33S 448251 3900000", EntryGrid::utm},
      {"35S 448251 3900000", 35.241741233, 26.431223251, "35S 448251 3900000", EntryGrid::degrees, false},
      {"35S 448251 3900000", -55.044112534, 26.190126109, "35F 448251 3900000", EntryGrid::degrees, true},
      {"35S 600000 7100000", -26.216083426, 28.001031160, "35J 600000 7100000"},
  };
  datumTable = DatumTable();
  datumTable.count = 1;
  datumTable.name[1] = irishDatumName;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    const PositionReading reading = readPositionText(row.text, useOf(row.inUse), row.southern);
    ASSERT_TRUE(reading.fields) << reading.problem;
    const std::optional<Position> position = positionOf(*reading.fields);
    ASSERT_TRUE(position);
    EXPECT_LT(metresBetween(position->latitude, position->longitude, row.latitude, row.longitude), 0.005);
    const GridProjection projection(reading.fields->grid);
    EXPECT_EQ(positionText(projection, *position, DegreeFormat::decimalDegrees), row.shown);
    for (const DegreeFormat format :
         {DegreeFormat::decimalDegrees, DegreeFormat::degreesMinutes, DegreeFormat::degreesMinutesSeconds}) {
      const std::optional<Position> again = positionOf(fieldsOf(projection, *position, format));
      ASSERT_TRUE(again);
      EXPECT_LT(metresBetween(again->latitude, again->longitude, row.latitude, row.longitude), 0.02);
    }
  }
}

TEST(PositionText, TextThatIsNoneOrCouldBeTwoIsRefusedWithWords) {
  const std::string longText(1000, '3');
  const struct {
    const char* text;
    const char* says;
    EntryGrid inUse = EntryGrid::degrees;
  } rows[] = {
      {"", "Positions look like"},
      {"the church", "Positions look like"},
      {longText.c_str(), "Positions look like"},
      {"35.0 26.0 12.0", "Positions look like"},
      {"35\u00B026'", "Positions look like"},  // one angle, not two
      {"35 30 N 26 15", "Positions look like"},
      {"35-26", "Positions look like"},
      {"35,5 26,5", "Decimals are written with"},
      {"35,26", "Decimals are written with"},
      {"35\u00B0 26\" N 12\u00B0 E", "degrees, minutes, seconds in this order"},
      {"151.2, -33.5", "a latitude ends at 90"},
      {"448251 5411932", "Metres need the letters"},
      {"60 55", "degrees or metres", EntryGrid::british},
      {"N 35 26", "one angle or an Irish"},
      {"SH 600 55000", "as many figures"},
      {"SH60055", "as many figures"},
      {"SI 600 550", "A to Z without I"},
      {"33 448251 5411932", "33 may be in the north or in the south"},
      {"35S 448251 3900000", "35S may be the band S or the south"},
      {"33U 448251 541193", "does not lie in the band U"},
      {"33I 448251 5411932", "letter of its band"},
  };
  for (const auto& row : rows) {
    const PositionReading reading = readPositionText(row.text, useOf(row.inUse));
    EXPECT_FALSE(reading.fields) << row.text;
    EXPECT_NE(reading.problem.find(row.says), std::string::npos) << row.text << ": " << reading.problem;
  }
}

}  // namespace
}  // namespace vellandra
