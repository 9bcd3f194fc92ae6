#include "formats/gux_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

class GuxTest : public CoreTest {
 protected:
  GuxTest() { LoadDatums(); }
  ReadResult read(const std::string& content) {
    calibration.clear();
    writeTestFile(folder + "map.gux", content);
    return readGux(folder + "map.gux");
  }
};

TEST_F(GuxTest, PlacesAPointOfEveryFormat) {
  struct Row {
    const char* name;
    const char* line;
    double latitude, longitude;
  };
  // Grid positions from PROJ 9: utm with ellps=intl or ellps=WGS84; the British grid as tmerc on airy with
  // towgs84=375,-111,431.
  const Row rows[] = {
      {"degrees", "M E European 1950\nS CalPoint1 = DEG = N35.5 E23.25 = 12 34", 35.5, 23.25},
      {"degrees and minutes, Latin-1",
       "S CalPoint1 = DM = S0\xB0"
       "30.0' W23\xB0"
       "15.0' = 12 34",
       -0.5, -23.25},
      {"seconds, UTF-8, letters apart, many blanks",
       "S CalPoint1  =  DMS  =  N 35\xC2\xB0"
       "30'36.0\" E 23 \xC2\xB0"
       "15'18.0\"   =   12   34  ",
       35.51, 23.255},
      {"signs instead of letters", "S CalPoint1 = DM = -35 30 -0 15 = 12 34", -35.5, -0.25},
      {"UTM on another ellipsoid", "S CalPoint1 = UTM 33 = 285482 4265890 12 34\nM E  European 1950", 38.514925369,
       12.539645163},
      {"UTM, southern band", "S CalPoint1 = UTM 23K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"UTM, band apart", "S CalPoint1 = UTM 23 K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"UTM, northern band", "S CalPoint1 = UTM 30T = 443000 4474000 12 34", 40.414671358, -3.671841533},
      {"British grid, full metres", "S CalPoint1 = BRITISH = 250000 390000 = 12 34", 53.385473509, -4.256880033},
      {"British grid, square", "S CalPoint1 = BRITISH SH = 50000 90000 = 12 34", 53.385473509, -4.256880033},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    const ReadResult result = read(row.line);
    EXPECT_GT(result.datumIndex, 0);
    ASSERT_EQ(calibration.pointCount, 1);
    EXPECT_NEAR(calibration.latitude[1], row.latitude, 2e-9);
    EXPECT_NEAR(calibration.longitude[1], row.longitude, 2e-9);
    EXPECT_EQ(calibration.pixelX[1], 12);
    EXPECT_EQ(calibration.pixelY[1], 34);
  }
}

TEST_F(GuxTest, LeavesOutWhatIsNoPosition) {
  for (const char* values : {"DEG = Nnorth E23.25 = 12 34", "DEG = E23.25 N35.5 = 12 34", "DM = N35 E23 15 = 12 34",
                             "DEG = N35.5 E23.25 = 12", "UTM 61 = 285482 4265890 12 34", "UTM = 285482",
                             "BRITISH S1 = 50000 90000 = 12 34", "DEG", "GRID 1 2 3 4"}) {
    read("S CalPoint1 = " + std::string(values));
    EXPECT_EQ(calibration.pointCount, 0) << values;
    EXPECT_NE(person.panel.find("Point"), std::string::npos) << values;
    calibration.message.clear();
  }
}

TEST_F(GuxTest, BringsOtherPointsToWgs84BesideBritishOnes) {
  const ReadResult result = read(
      "M E    European 1950\nS CalPoint1 = BRITISH = 250000 390000 = 0 0\nS CalPoint2 = DEG = N38.5 E13.25 = 9 9\n");
  EXPECT_EQ(result.datumIndex, findDatumByName(datumColumnName("WGS 84")));
  EXPECT_NEAR(calibration.latitude[1], 53.385473509, 2e-9);
  EXPECT_NEAR(calibration.latitude[2], 38.498946416, 2e-7);  // PROJ: intl with towgs84=-87,-98,-121
  EXPECT_NEAR(calibration.longitude[2], 13.249135085, 2e-7);
}

TEST_F(GuxTest, AsksForAnUnknownDatumOnlyWhenItMatters) {
  EXPECT_GT(read("M E Nowhere\nS CalPoint1 = BRITISH = 250000 390000 = 0 0\n").datumIndex, 0);
  EXPECT_TRUE(person.datumPrompts.empty());
  EXPECT_EQ(read("M E   Nowhere\nS CalPoint1 = DEG = N38.5 E13.25 = 9 9\n").datumIndex, 0);
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : NOWHERE"});
}

TEST_F(GuxTest, LosesNoPointWithoutAWord) {
  std::string content;
  for (int i = 1; i <= 11; ++i)
    content += "S CalPoint" + std::to_string(i) + " = DEG = N3 E4 = 1 " + std::to_string(i) + "\n";
  read(content);
  EXPECT_EQ(calibration.pointCount, 10);
  EXPECT_EQ(calibration.pixelY[10], 10);
  EXPECT_EQ(calibration.pixelY[1], 11);
  EXPECT_NE(person.panel.find("Point 1 is given more than once"), std::string::npos);
}

TEST_F(GuxTest, FindsTheImageByItsNameAlone) {
  struct Row {
    const char* line;
    const char* name;
  };
  const Row rows[] = {
      {"S Image = C:\\maps\\My old map.v2.png", "My old map.v2.png"},
      {"S Image=../other/map.jpg ", "map.jpg"},
      {"S Image plain map.png", "plain map.png"},
      {"U S Image = no.png", "map.png"},
  };
  for (const Row& row : rows) {
    read(row.line);
    EXPECT_EQ(calibration.imagePath, folder + row.name) << row.line;
  }
}

}  // namespace
}  // namespace vellandra
