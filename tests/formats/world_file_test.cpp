#include "formats/world_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

class WorldFileTest : public CoreTest {
 protected:
  WorldFileTest() {
    LoadDatums();
    makeImage("area.png", 101, 51);
  }
  ReadResult read(const std::string& numbers) {
    calibration = Calibration();
    person.boxes.clear();
    writeTestFile(folder + "area.tfw", numbers);
    return readWorldFile(folder + "area.tfw");
  }
  std::string lastBox() const { return person.boxes.empty() ? "" : person.boxes.back().text; }
};

TEST_F(WorldFileTest, DegreesAndMetresAreToldApartBySize) {
  struct Row {
    const char* name;
    const char* numbers;
    const char* box;  ///< empty: read as degrees
  };
  const Row rows[] = {
      {"degrees", "0.1\n0\n0\n-0.1\n-5\n52\n", ""},
      {"at the limits of degrees", "-0.1\n0\n0\n-0.1\n180\n90\n", ""},
      {"grid past 180", "1\n0\n0\n-1\n180.5\n90\n", "No zone chosen"},
      {"largest easting", "1\n0\n0\n-1\n1000000\n5000000\n", "No zone chosen"},
      {"easting too large", "1\n0\n0\n-1\n1000000.5\n5000000\n", "Invalid UTM TFW file"},
      {"easting negative", "1\n0\n0\n-1\n-200\n5000000\n", "Invalid UTM TFW file"},
      {"northing negative", "1\n0\n0\n-1\n500000\n-100\n", "Invalid UTM TFW file"},
      {"no number", "1\n0\nx\n-1\n500000\n100\n", "Line 3 of the world file holds no number"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(read(row.numbers).stopped, *row.box != '\0') << row.name;
    EXPECT_EQ(lastBox(), row.box) << row.name;
    EXPECT_EQ(person.boxes.empty() ? "TFW Input" : person.boxes.back().title, "TFW Input") << row.name;
  }
}

TEST_F(WorldFileTest, PointsAndCornersLieOnThePixelCentres) {
  ASSERT_FALSE(read(" 0.1 \r\n0.01\r\n0.02\r\n-0.1\r\n-5\r\n52\r\n").stopped);
  ASSERT_EQ(calibration.pointCount, 4);
  ASSERT_EQ(calibration.cornerCount, 4);
  EXPECT_EQ(calibration.pixelX[3], 100);
  EXPECT_EQ(calibration.pixelY[3], 50);
  EXPECT_DOUBLE_EQ(calibration.longitude[3], -5 + 10 + 1);
  EXPECT_DOUBLE_EQ(calibration.latitude[3], 52 + 1 - 5);
  EXPECT_EQ(calibration.pixelY[34], 50);
  EXPECT_DOUBLE_EQ(calibration.longitude[34], -4);
  EXPECT_NE(log().find(":using " + folder + "area.png as image file"), std::string::npos);
  EXPECT_NE(log().find(":lat 52 lon -5"), std::string::npos);
}

TEST_F(WorldFileTest, GridIsWhatThePersonSays) {
  using Datum = WorldFileAnswer::Datum;
  struct Row {
    const char* name;
    WorldFileAnswer answer;
    int datum;
    const char* datumName;
    double latitude, longitude;
  };
  // cs2cs -f %.8f from +proj=utm +zone=33 [+south] +datum=WGS84, the British grid as in the .map tests, and
  // +proj=utm +zone=33 +ellps=intl for the last, at 430000 5800000.
  const Row rows[] = {
      {"UTM north", {Datum::wgs84, 33, false}, 0, "WGS 84", 52.34582506, 13.97239194},
      {"UTM south", {Datum::wgs84, 33, true}, 0, "WGS 84", -37.94489230, 14.20331136},
      {"not WGS 84",
       {Datum::notWgs84, 33, false},
       datumNumber("European 1950"),
       "EUROPEAN 1950",
       52.34473578,
       13.97246679},
  };
  for (const Row& row : rows) {
    person.worldFileAnswers = {row.answer};
    person.datums = {row.datum};
    const ReadResult result = read("10\n0\n0\n-10\n430000\n5800000\n");
    ASSERT_FALSE(result.stopped) << row.name;
    EXPECT_GT(result.datumIndex, 0) << row.name;
    EXPECT_EQ(inputDatumName, row.datumName) << row.name;
    EXPECT_NEAR(calibration.latitude[1], row.latitude, 3e-8) << row.name;
    EXPECT_NEAR(calibration.longitude[1], row.longitude, 3e-8) << row.name;
  }
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : TFW file datum"});
  EXPECT_EQ(person.worldFileLines.back(), "10\r\n0\r\n0\r\n-10\r\n430000\r\n5800000\r\n");
  ASSERT_EQ(person.worldFileZones.size(), 61U);
  EXPECT_EQ(person.worldFileZones[0], " 1 : 174-180W");
  EXPECT_EQ(person.worldFileZones[29], " 30 : 0-6W");
  EXPECT_EQ(person.worldFileZones[30], " 31 : 6-0E");
  EXPECT_EQ(person.worldFileZones[60], "GB-OrdSvy");

  // The answer for one file must not be taken for the next one.
  person.worldFileAnswers = {{Datum::notWgs84, 33, false}};
  EXPECT_EQ(read("10\n0\n0\n-10\n430000\n5800000\n").datumIndex, 0);
  EXPECT_EQ(inputDatumName, "TFW file datum");
}

TEST_F(WorldFileTest, BritishGridFile) {
  person.worldFileAnswers = {{WorldFileAnswer::Datum::notWgs84, 0, true}};  // the hemisphere does not matter
  read("10\n0\n0\n-10\n430000\n180000\n");
  EXPECT_NEAR(calibration.latitude[1], 51.51807913, 2e-8);  // cs2cs, as in the .map tests
  EXPECT_NEAR(calibration.longitude[1], -1.56904403, 2e-8);
}

TEST_F(WorldFileTest, WithoutAnImageThereIsNoCalibration) {
  std::filesystem::remove(folder + "area.png");
  EXPECT_TRUE(read("0.1\n0\n0\n-0.1\n-5\n52\n").stopped);
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");
}

TEST_F(WorldFileTest, WrittenToTheLetterAndOnlyForOtherInputs) {
  driver.inputFolder = folder;
  driver.inputBase = "out";
  driver.worldFile = {0.0001, -1e-10, 0.25, -0.0001, -3.25, 50.123456789};
  for (const char* type : {"map", "tfw"}) {
    driver.inputType = type;
    inputDatumName = "TOKYO";
    EXPECT_EQ(writeWorldFile(), std::string(type) == "tfw" ? WriteOutcome::skipped : WriteOutcome::written);
  }
  const std::string text = "0.000100000\r\n0.000000000\r\n0.250000000\r\n-0.000100000\r\n-3.2500000\r\n50.1234568\r\n";
  EXPECT_EQ(contentOf(folder + "out.tfw"), text);
  preferences.writeWgs84 = true;
  EXPECT_EQ(writeWorldFile(), WriteOutcome::written);
  EXPECT_EQ(contentOf(folder + "outwgs84.tfw"), text);
}

}  // namespace
}  // namespace vellandra
