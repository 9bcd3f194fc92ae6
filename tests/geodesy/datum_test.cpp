#include "geodesy/datum.h"

#include <gtest/gtest.h>

#include <tuple>

#include "fixture_rows.h"
#include "support/errors.h"
#include "test_folder.h"

namespace vellandra {
namespace {

void readTableFile(const std::string& path) {
  TextFile file(path);
  datumTable = readDatumTable(file);
}

void readTable(const std::string& content) {
  const TestFolder folder;
  ASSERT_TRUE(writeWholeFile(folder.path() + "datums.txt", content));
  readTableFile(folder.path() + "datums.txt");
}

std::string firstRow() {
  std::ostringstream text;
  const DatumTable& t = datumTable;
  text << t.name[1] << "|" << t.dA[1] << " " << t.dF[1] << " " << t.dX[1] << " " << t.dY[1] << " " << t.dZ[1];
  return text.str();
}

TEST(DatumTable, KeepsTheColumnsOfARow) {
  // clang-format off
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"lower case",       "m e wgs 84               wgs_84 0 0 0 0 0",              "WGS 84              |0 0 0 0 0"},
      {"21 columns",       "M E Australian Geod 1984? X 1 .5 2 3 4", "AUSTRALIAN GEOD 1984|1 0.5 2 3 4"},
      {"leading blanks",   "M E    Cape              X 1 2 3 4 5",                   "CAPE             |1 2 3 4 5"},
      {"runs of blanks",   "M E Cape                   X  -1.5  -5e-5  -1  2.5 -.5",
       "CAPE                |-1.5 -5e-05 -1 2.5 -0.5"},
      {"no numbers",       "M E Cape                 X 7 a - 3m",                    "CAPE                |7 0 0 3 0"},
      {"ends in the name", "M E Cape",                                               "CAPE|0 0 0 0 0"},
      {"ends in the mark", "M E",                                                    "|0 0 0 0 0"},
  };
  // clang-format on
  for (const auto& [what, line, row] : rows) {
    readTable("# M E remark\n M E Indented\r\nM  E Apart\r\n\r\n" + std::string(line) + "\r\n");
    EXPECT_EQ(datumTable.count, 1) << what;
    EXPECT_EQ(firstRow(), row) << what;
  }
}

TEST(DatumTable, HoldsTwoHundredRowsAndNoMore) {
  std::string content;
  for (int i = 0; i < maxDatums; ++i) content += "M E Cape                 X " + std::to_string(i) + "\n";
  readTable(content);
  EXPECT_EQ(datumTable.count, 200);
  EXPECT_EQ(datumTable.dA[200], 199);
  EXPECT_EQ(findDatumByName(datumColumnName("cape")), 200) << "of equal names the last one counts";
  EXPECT_THROW(readTable(content + "M E"), SubscriptOutOfRange);
  readTable("no row\nMEE\n");
  EXPECT_EQ(datumTable.count, 0);
  EXPECT_EQ(findDatumByName(datumColumnName("cape")), 0) << "of the table read before";
}

TEST(DatumTable, NamesOfCalibrationFilesMeetTheirRow) {
  readTableFile(SOURCE_FOLDER "/data/datums.txt");
  ASSERT_EQ(datumTable.count, 123);
  for (int i = 1; i <= datumTable.count; ++i) {
    const std::string& name = datumTable.name[static_cast<std::size_t>(i)];
    EXPECT_EQ(findDatumByName(datumColumnName(name)), i) << name;
  }
  const auto found = [](const char* name) {
    return datumTable.name[static_cast<std::size_t>(findDatumByName(datumColumnName(name)))];
  };
  EXPECT_EQ(found(" European 1950 (Mean France)"), "EUROPEAN 1950 (MEAN ");
  EXPECT_EQ(found("Wgs 84\t"), "WGS 84              ");
  EXPECT_EQ(findDatumByName("WGS 84"), 0) << "names are compared with their trailing blanks";
  EXPECT_EQ(findDatumByName(datumColumnName("Australian Geodetic 1966")), 0)
      << "equal to the one of 1984 in 20 columns";
}

TEST(DatumShift, EveryDatumAgreesWithProj) {
  readTableFile(SOURCE_FOLDER "/data/datums.txt");
  for (const FixtureRow& row : fixtureRows("datum_shift.txt", 4)) {
    const auto i = static_cast<std::size_t>(findDatumByName(datumColumnName(row.name)));
    ASSERT_NE(i, 0U) << row.line;
    const DatumTable& t = datumTable;
    double lat = row.number[0], lon = row.number[1], h = 0;
    DatumToWgs84(t.dA[i], t.dF[i], lat, lon, h, t.dX[i], t.dY[i], t.dZ[i]);
    EXPECT_LT(metresBetween(lat, lon, row.number[2], row.number[3]), 0.001) << row.line;
    Wgs84ToDatum(t.dA[i], t.dF[i], lat, lon, h, t.dX[i], t.dY[i], t.dZ[i]);
    EXPECT_LT(metresBetween(lat, lon, row.number[0], row.number[1]), 1e-5) << row.line;
  }
}

TEST(DatumShift, CorrectsTheQuadrantWestwardsOnly) {
  const std::pair<double, double> rows[] = {{0, 0},       {-89, -89},  {89, 89},    {-100, -100},
                                            {-179, -179}, {100, -260}, {179, -181}, {180, -180}};
  for (const auto& [before, after] : rows) {
    for (const auto shift : {DatumToWgs84, Wgs84ToDatum}) {
      double lat = 51.5, lon = before, h = 0;
      shift(0, 0, lat, lon, h, 0, 0, 0);
      EXPECT_NEAR(lat, 51.5, 1e-11);
      EXPECT_NEAR(lon, after, 1e-11);
    }
  }
}

}  // namespace
}  // namespace vellandra
