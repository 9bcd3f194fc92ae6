#include "calibration/datum_matching.h"

#include "map_fixture.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

using DatumMatching = MapTest;

TEST_F(DatumMatching, PositionsOnAnotherDatumAreShifted) {
  struct Row {
    const char *datum, *point;
    double latitude, longitude;  ///< of the point
    const char* logged;
  };
  // cs2cs +proj=longlat +ellps=intl +towgs84=-87,-98,-121 +to +proj=longlat +datum=WGS84, for the others
  // +ellps=bessel +towgs84=-128,481,664 and +ellps=airy +towgs84=375,-111,431
  // clang-format off
  const Row rows[] = {
    {"European 1950",      "50,30,N,3,15,W", 50.49906529, -3.25144852, "50.500000 -3.250000 >> 50.499065 -3.251449"},
    {"Tokyo",              "36,0,N,90,30,E", 36.00285680, 90.50137307, "36.000000 90.500000 >> 36.002857 90.501373"},
    {"Ord Srvy Grt Britn", "51,30,N,1,30,W", 51.50043954, -1.50145658,
     "51.500000 -1.500000 >> 51.500440 -1.501457 (OS)"}
  };
  // clang-format on
  preferences.warnOverwrite = false;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.datum);
    ASSERT_TRUE(
        convert("area.map", mapOn(row.datum, std::string(threePoints) + "Point04,xy,20,150,in,deg," + row.point +
                                                 "\nMMPXY,1,20,30\nMMPXY,2,380,30\nMMPXY,3,380,280\n"
                                                 "MMPLL,1,-3.25,50.5\nMMPLL,2,-2.75,50.5\nMMPLL,3,-3,50.5\n")));
    expectPosition(4, row.latitude, row.longitude);
    EXPECT_TRUE(logHas(":" + std::string(row.logged) + " 20 150\r\n")) << log();
    EXPECT_EQ(calibration.cornerCount, 3) << "the held corner is replaced";
    EXPECT_EQ(points(firstCornerSlot, 1).substr(6), points(1, 1).substr(6)) << "the held corner stays on the old datum";
    const std::string before = points();
    driver.inputFormat = nullptr;
    EXPECT_TRUE(run(recalculate));
    EXPECT_EQ(points(), before) << "shifted twice";
  }
}

TEST_F(DatumMatching, ShiftKeepsLongitudesOnTheirTurn) {
  for (const double lon : {-179.0, -89.0, 91.0, 179.0}) {
    double lat = 36, expected = lon;
    shiftToWgs84(datumNumber("Tokyo"), lat, expected);
    EXPECT_NEAR(expected, lon, 0.01);
    for (const double turn : {-360.0, 360.0}) {
      double sameLat = 36, sameLon = lon + turn;
      shiftToWgs84(datumNumber("Tokyo"), sameLat, sameLon);
      EXPECT_NEAR(sameLat, lat, 1e-12) << lon + turn;
      EXPECT_NEAR(sameLon, expected + turn, 1e-11);
    }
  }
}

TEST_F(DatumMatching, UnknownDatumIsMatchedByHandOnceAndKeptForTheNextRun) {
  const std::string content = mapOn("European 50", threePoints);
  person.datums = {datumNumber("European 1950")};
  EXPECT_TRUE(convert("area.map", content));
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : EUROPEAN 50"});
  EXPECT_EQ(person.datumNames.size(), 123U);
  EXPECT_EQ(points(1, 1), "10,10 50.499065 -3.251449");
  EXPECT_TRUE(panelHas("Kept in calconv.ini: datum EUROPEAN 50 is read as EUROPEAN 1950\r\n"));

  readPreferences();  // the next run, which finds its datum table elsewhere
  preferences.datumsPath = folder + "none.txt";
  fs::copy_file(SOURCE_FOLDER "/data/datums.txt", folder + "Elsewhere.txt");
  person.pickedFiles = {"Elsewhere.txt"};  // as typed on a terminal
  const fs::path here = fs::current_path();
  fs::current_path(folder);
  EXPECT_TRUE(convert("area.map", content));
  fs::current_path(here);
  EXPECT_TRUE(panelHas("Input datum is EUROPEAN 1950"));
  EXPECT_TRUE(panelHas("Kept in calconv.ini: datums.txt is read from " + folder + "Elsewhere.txt\r\n"));
  readPreferences();
  fs::remove(folder + "calconv.ini");
  EXPECT_TRUE(convert("area.map", content));
  EXPECT_EQ(person.datumPrompts.size(), 1U);
  EXPECT_EQ(person.pickers.size(), 1U);
  EXPECT_FALSE(fileExists(folder + "calconv.ini")) << "written without an answer to keep";
}

TEST_F(DatumMatching, DatumRowThatIsNoShiftIsTold) {
  const std::pair<const char*, bool> rows[] = {
      {"X 0 0 0 0 0", false},
      {"Bessel 739.845 1e-5 -1 +2 .5 remark", false},
      {"Sphere 0 .0034 0 0 0", false},
      {"X\t-112\t0\t1\t2\t3", true},
      {"X -112 0 1 2", true},
      {"", true},
      {"X -112,5 0,1 1,5 2 3", true},
      {"X -112 none 1 2 3", true},
      {"Clarke 1880 -112 0 1 2 3", true},
  };
  const std::string told =
      "Positions on this datum are not reliable: the row of MY DATUM in datums.txt does not hold five numbers parted "
      "by blanks behind the ellipsoid\r\n";
  preferences.warnOverwrite = false;
  preferences.datumsPath = folder + "d.txt";
  for (const auto& [fields, doubtful] : rows) {
    calibration.message.clear();
    writeTestFile(folder + "d.txt",
                  "M E WGS 84               X 0 0 0 0 0\nM E Other\nM E My datum             " + std::string(fields));
    EXPECT_TRUE(convert("area.map", mapOn("My datum", threePoints))) << fields;
    EXPECT_EQ(panelHas(told), doubtful) << fields;
    EXPECT_EQ(calibration.message.rfind(told), calibration.message.find(told)) << "told for every point";
    EXPECT_FALSE(panelHas("OTHER")) << "a row that is not used";
  }
}

}  // namespace
}  // namespace vellandra
