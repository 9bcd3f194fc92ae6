#include "formats/imp_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

class ImpTest : public CoreTest {
 protected:
  ImpTest() { LoadDatums(); }
  ReadResult read(const std::string& content) {
    calibration.clear();
    writeTestFile(folder + "map.imp", content);
    return readImp(folder + "map.imp");
  }
};

TEST_F(ImpTest, TakesTheKindOfPointsFromCoordinatesElseFromTheProjection) {
  struct Row {
    const char* name;
    const char* content;
    double latitude, longitude;
  };
  // UTM positions from PROJ 9, ellps=WGS84 and ellps=intl.
  const Row rows[] = {
      {"1 behind utm", "Projection=2,UTM,30,\nCoordinates= 1\nP0= 12, 34 ,A, 23.25, -35.5\n", -35.5, 23.25},
      {"1 before utm", "Coordinates=1\n<Header>\nP0=12,34,A,23.25,-35.5\nPROJECTION=2,utm,30,\n", -35.5, 23.25},
      {"automatic", "Projection=1, Automatic ,\nP0=12,34,,23.25,-35.5\n", -35.5, 23.25},
      {"transversal", "Coordinates=\np0=12,34,,23.25,-35.5\nprojection=1,Transversal Mercator", -35.5, 23.25},
      {"utm, northern band", "Projection=2,UTM,30,\nP0=12,34,30T,443000,4474000", 40.414671358, -3.671841533},
      {"0 against automatic", "Coordinates=0\nProjection=1,Automatic\nP0=12,34,30,443000,4474000", 40.414671358,
       -3.671841533},
      {"southern band", "Coordinates=0\nP0=12,34,23K,682000,7466000\n", -22.904092550, -43.225520626},
      {"datum and projection last", "P0=12,34,33S,285482,4265890\nProjection=2,UTM,33,\nDatum= European 1950\n",
       38.514925369, 12.539645163},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    read(row.content);
    ASSERT_EQ(calibration.pointCount, 1);
    EXPECT_NEAR(calibration.latitude[1], row.latitude, 2e-9);
    EXPECT_NEAR(calibration.longitude[1], row.longitude, 2e-9);
    EXPECT_EQ(calibration.pixelX[1], 12);
    EXPECT_EQ(calibration.pixelY[1], 34);
  }
  EXPECT_TRUE(person.boxes.empty());
}

TEST_F(ImpTest, SaysOnceThatNothingTellsTheKind) {
  read("Projection=8,Mercator,\nP0=0,0,A,1,2\nP1=9,0,A,2,2\nP2=9,9,A,2,1\n");
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"Unknown IMP Projection/Coordinates"});
  EXPECT_EQ(calibration.pointCount, 0);
  EXPECT_EQ(calibration.projection, "mercator");
}

TEST_F(ImpTest, NumbersPointsFromOneAndTakesNoOtherKeyForOne) {
  const ReadResult result = read(
      "\xEF\xBB\xBF"
      "CompeGPS MAP File\r\nDatum=WGS84\r\nBitmap=other.gif\r\nBitmapWidth= 800\r\nBitmapHeight=700\r\n"
      "Coordinates=1\r\nP0=1,2,A,3,4\r\nP9=5,6,A,7,8\r\nP10=9,9,A,9,9\r\nPX=9,9,A,9,9\r\nP1=9,9,A,9,north\r\n");
  EXPECT_EQ(result.datumIndex, findDatumByName(datumColumnName("WGS 84")));
  ASSERT_EQ(calibration.pointCount, 2);  // the gap is closed
  EXPECT_EQ(calibration.pixelY[2], 6);
  EXPECT_EQ(calibration.latitude[2], 8);
  EXPECT_NE(person.panel.find("without a readable position: 2, 3, 4"), std::string::npos) << person.panel;
  EXPECT_EQ(calibration.imageWidth, 800);
  EXPECT_EQ(calibration.imageHeight, 700);
  EXPECT_EQ(calibration.imagePath, folder + "map.png");
}

}  // namespace
}  // namespace vellandra
