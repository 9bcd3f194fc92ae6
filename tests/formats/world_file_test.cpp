#include "formats/world_file.h"

#include "formats/reader_test.h"

namespace vellandra {
namespace {

class WorldFile : public ReaderTest {
 protected:
  WorldFile() { makeImage("area.png", 101, 51); }
};

TEST_F(WorldFile, DegreesAndMetresAreToldApartBySize) {
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
    EXPECT_EQ(read("tfw", row.numbers).stopped, *row.box != '\0') << row.name;
    EXPECT_EQ(lastBox(), row.box) << row.name;
    EXPECT_EQ(person.boxes.empty() ? "TFW Input" : person.boxes.back().title, "TFW Input") << row.name;
  }
  std::filesystem::remove(folder + "area.png");
  EXPECT_TRUE(read("tfw", rows[0].numbers).stopped);
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");
}

TEST_F(WorldFile, PointsAndCornersLieOnThePixelCentres) {
  ASSERT_FALSE(read("pgw", " 0.1 \r\n0.01\r\n0.02\r\n-0.1\r\n-5\r\n52\r\n").stopped);
  EXPECT_EQ(points(), "0,0 52.0 -5.0; 100,0 53.0 5.0; 100,50 48.0 6.0; 0,50 47.0 -4.0");
  EXPECT_EQ(points(firstCornerSlot, calibration.cornerCount), points());
  EXPECT_TRUE(logHas(":using " + folder + "area.png as image file"));
  EXPECT_TRUE(logHas(":lat 52 lon -5"));
}

TEST_F(WorldFile, GridIsWhatThePersonSays) {
  using Datum = WorldFileAnswer::Datum;
  struct Row {
    const char* name;
    WorldFileAnswer answer;
    const char *datum, *position;
    double latitude, longitude;
  };
  const char* const utm = "10\r\n0\r\n0\r\n-10\r\n430000\r\n5800000\r\n";
  const char* const british = "10\n0\n0\n-10\n430000\n180000\n";
  // cs2cs -f %.8f from +proj=utm +zone=33 [+south] +datum=WGS84, the British grid as in the .map tests, and
  // +proj=utm +zone=33 +ellps=intl.
  const Row rows[] = {
      {"British, where the hemisphere does not matter",
       {Datum::notWgs84, 0, true},
       "WGS 84",
       british,
       51.51807913,
       -1.56904403},
      {"UTM north", {Datum::wgs84, 33, false}, "WGS 84", utm, 52.34582506, 13.97239194},
      {"UTM south", {Datum::wgs84, 33, true}, "WGS 84", utm, -37.94489230, 14.20331136},
      {"not WGS 84", {Datum::notWgs84, 33, false}, "EUROPEAN 1950", utm, 52.34473578, 13.97246679},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.name);
    person.worldFileAnswers = {row.answer};
    person.datums = {datumNumber(row.datum)};
    const ReadResult result = read("tfw", row.position);
    ASSERT_FALSE(result.stopped);
    EXPECT_EQ(result.datumIndex, datumNumber(row.datum));
    EXPECT_EQ(inputDatumName, row.datum);
    expectPosition(1, row.latitude, row.longitude);
  }
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : TFW file datum"});
  EXPECT_EQ(person.worldFileLines.back(), utm);
  const std::vector<std::string>& zones = person.worldFileZones;
  ASSERT_EQ(zones.size(), 61U);
  EXPECT_EQ(zones[0] + zones[29] + zones[30] + zones[60], " 1 : 174-180W 30 : 0-6W 31 : 6-0EGB-OrdSvy");

  // The answer for one file must not be taken for the next one.
  person.datums.clear();
  person.worldFileAnswers = {rows[3].answer};
  EXPECT_EQ(read("tfw", utm).datumIndex, 0);
  EXPECT_EQ(inputDatumName, "TFW file datum");
}

}  // namespace
}  // namespace vellandra
