#include "formats/map_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

class MapFileTest : public CoreTest {
 protected:
  MapFileTest() {
    LoadDatums();
    driver.inputFolder = folder;
    driver.inputBase = "area";
    driver.inputType = "gmi";
  }

  /// Reads a map of the given projection and lines, on WGS 84 unless `datum` says otherwise.
  ReadResult read(const std::string& projection, const std::string& lines, const std::string& datum = "WGS 84") {
    calibration = Calibration();
    writeTestFile(folder + "in.map", "title\nscan.png\nC:\\x\\scan.png\n1 ,Map Code,\n" + datum +
                                         ",,0,0,\nReserved 1\nReserved 2\nMagnetic\nMap Projection," + projection +
                                         ",PolyCal\n" + lines);
    return readMap(folder + "in.map");
  }
};

TEST_F(MapFileTest, PositionsOfEveryKindOfPoint) {
  struct Row {
    const char* name;
    const char* projection;
    const char* line;
    double latitude, longitude;
  };
  // Grid rows: cs2cs from +proj=utm +zone=.. +datum=WGS84, from +proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717
  // +x_0=400000 +y_0=-100000 +ellps=airy +towgs84=375,-111,431, and from +proj=tmerc +lat_0=53.5 +lon_0=-8 +k=1.000035
  // +x_0=200000 +y_0=250000 +a=6377340.189 +rf=299.3249646 without a shift.
  const Row rows[] = {
      {"minutes with a point", "Lat", "Point01,xy,1,2,in,deg,50,30.5,N,1,15.25,W", 50.508333333, -1.254166667},
      {"decimals of a degree", "Lat", "Point01,xy,1,2,in,deg,50,50000000,N,1,25,W", 50.5, -1.00000025},
      {"whole minutes", "Lat", "Point01,xy,1,2,in,deg,50,30,S,1,15,E", -50.5, 1.25},
      {"blanks around every field", "Lat", "Point01 , xy,  1, 2 , in, deg,  44, 40.0000,N,  0, 30.0 ,W", 44.6666666667,
       -0.5},
      {"sign and hemisphere", "Lat", "Point01,xy,1,2,in,deg,-33,30.0,S,-70,30.0,W", -33.5, -70.5},
      {"half a degree south of the equator", "Lat", "Point01,xy,1,2,in,deg,0,30.0,S,0,30.0,W", -0.5, -0.5},
      {"UTM", "(UTM) Universal Transverse Mercator", "Point01,xy,1,2,in,deg,,,N,,,W,grid,30,430000,5800000,N",
       52.34582506, -4.02760806},
      {"UTM, southern", "Latitude/Longitude", "Point01,xy,1,2,in,deg,,,N,,,W,grid,33,600000,6000000,S", -36.13956045,
       16.11147803},
      {"British letters", "(BNG) British National Grid", "Point01,xy,1,2,in,deg,,,N,,,W,grid,SU,30000,80000,N",
       51.51807913, -1.56904403},
      {"British metres", "(BNG) British National Grid", "Point01,xy,1,2,in,deg,,,N,,,W,grid,,430000,180000,N",
       51.51807913, -1.56904403},
      {"given again in degrees", "(UTM)",
       "Point01,xy,8,9,in,deg,,,N,,,W,grid,30,430000,5800000,N\nPoint01,xy,1,2,in,deg,50,30.0,N,1,15.0,W", 50.5, -1.25},
      {"Irish letter", "(IG) Irish Grid", "Point01,xy,1,2,in,deg,,,N,,,W,grid,O,15000,34000,", 53.34372914,
       -6.27310280},
  };
  for (const Row& row : rows) {
    read(row.projection, row.line);
    ASSERT_EQ(calibration.pointCount, 1) << row.name;
    EXPECT_NEAR(calibration.latitude[1], row.latitude, 2e-8) << row.name;
    EXPECT_NEAR(calibration.longitude[1], row.longitude, 2e-8) << row.name;
    EXPECT_EQ(calibration.pixelX[1], 1) << row.name;
    EXPECT_EQ(calibration.pixelY[1], 2) << row.name;
  }
}

TEST_F(MapFileTest, FractionModeStaysOnForTheRestOfTheFile) {
  read("Lat",
       "Point01,xy,1,2,in,deg,50,5.0,N,1,15.0,E\nPoint02,xy,2,2,in,deg,50,500000,N,1,0,E\n"
       "Point03,xy,3,3,in,deg,50,50,N,1,123456789012,E\n");
  EXPECT_NEAR(calibration.latitude[1], 50.0833333333, 1e-10);
  EXPECT_NEAR(calibration.latitude[2], 50.005, 1e-12);
  EXPECT_NEAR(calibration.latitude[3], 50.0000005, 1e-12);
  EXPECT_NEAR(calibration.longitude[3], 1.12345678, 1e-12);  // cut to eight digits
}

TEST_F(MapFileTest, PointThatCannotBePlacedIsLeftOutAndNamed) {
  const std::string good = "Point01,xy,1,2,in,deg,50,30,N,1,15,W\nPoint06,xy,9,9,in,deg,51,30,N,1,45,W\n";
  struct Row {
    const char* name;
    const char* projection;
    const char* line;
  };
  const Row rows[] = {
      {"latitude no number", "Lat", "Point04,xy,1,2,in,deg,x,30,N,1,15,W"},
      {"longitude missing", "Lat", "Point04,xy,1,2,in,deg,50,30,N,,15,W"},
      {"given again without a pixel", "Lat",
       "Point04,xy,1,2,in,deg,50,30,N,1,15,W\nPoint04,xy,a,2,in,deg,50,30,N,1,15,W"},
      {"pixel no number", "Lat", "Point04,xy,a,2,in,deg,50,30,N,1,15,W"},
      {"zone missing", "(UTM)", "Point04,xy,1,2,in,deg,,,N,,,W,grid,,430000,5800000,N"},
      {"zone 61", "(UTM)", "Point04,xy,1,2,in,deg,,,N,,,W,grid,61,430000,5800000,N"},
      {"no such square", "(BNG)", "Point04,xy,1,2,in,deg,,,N,,,W,grid,SI,30000,80000,N"},
      {"northing missing", "(IG)", "Point04,xy,1,2,in,deg,,,N,,,W,grid,O,15000,,"},
      {"unknown grid", "(SUI) Swiss Grid", "Point04,xy,1,2,in,deg,,,N,,,W,grid,,600000,200000,N"},
  };
  for (const Row& row : rows) {
    person.boxes.clear();
    read(row.projection, good + row.line);
    EXPECT_EQ(calibration.pointCount, 4) << row.name;  // two points stand for four
    EXPECT_EQ(calibration.pixelX[2], 9) << row.name;
    EXPECT_NE(calibration.message.find("position: 2, 3, 4, 5\r\n"), std::string::npos) << row.name;
    const bool unknown = std::string(row.name) == "unknown grid";
    EXPECT_EQ(person.boxTexts(), unknown ? std::vector<std::string>{"unknown projection"} : std::vector<std::string>{});
  }
}

TEST_F(MapFileTest, HeaderLinesMayBeMissingOrTooMany) {
  writeTestFile(
      folder + "in.map",
      "\xEF\xBB\xBFtitle\rD:\\maps\\scan\rD:\\maps\\scan.jpg\r\rwgs 84 ,x\rextra\rextra\rextra\rextra\r"
      "Map Projection, Mercator,\rPoint01,xy,1,2,in,deg,50,30,N,1,15,W\rIWH,Map Image Width/Height, 0400,300");
  const ReadResult result = readMap(folder + "in.map");
  EXPECT_EQ(calibration.imagePath, folder + "scan.jpg");
  EXPECT_EQ(calibration.projection, " mercator");
  EXPECT_TRUE(calibration.isMercator());
  EXPECT_EQ(inputDatumName, "WGS 84");
  EXPECT_GT(result.datumIndex, 0);
  EXPECT_EQ(calibration.imageWidth, 400);
}

TEST_F(MapFileTest, ImageNamedWithAPathIsUsedByItsNameInTheOwnFolder) {
  for (const char* name : {"C:\\secret\\scan.png", "../../etc/scan.png", "scan.png"}) {
    writeTestFile(folder + "in.map", std::string("t\n") + name + "\n\n");
    readMap(folder + "in.map");
    EXPECT_EQ(calibration.imagePath, folder + "scan.png");
  }
}

TEST_F(MapFileTest, TwoPointsStandForTheirRectangle) {
  read("Lat", "Point01,xy,0,0,in,deg,50,0,N,2,0,W\nPoint02,xy,90,80,in,deg,49,0,N,1,0,W\n");
  ASSERT_EQ(calibration.pointCount, 4);
  EXPECT_EQ(calibration.pixelX[3], 90);
  EXPECT_EQ(calibration.pixelY[3], 0);
  EXPECT_EQ(calibration.latitude[3], 50);
  EXPECT_EQ(calibration.longitude[3], -1);
  EXPECT_EQ(calibration.pixelX[4], 0);
  EXPECT_EQ(calibration.pixelY[4], 80);
  EXPECT_EQ(calibration.latitude[4], 49);
  EXPECT_EQ(calibration.longitude[4], -2);
}

// British points bring the file to WGS 84; what else it holds has to follow.
TEST_F(MapFileTest, BritishGridMapIsOnWgs84Throughout) {
  const std::string lines =
      "Point01,xy,1,2,in,deg,,,N,,,W,grid,SU,30000,80000,N\nPoint02,xy,5,5,in,deg,51,30,N,1,30,W\n"
      "Point03,xy,9,2,in,deg,51,0,N,1,0,W\nMMPXY,1,0,0\nMMPLL,1,-1.5,51.5\n";
  read("(BNG) British National Grid", lines, "Ord Srvy Grt Britn");
  EXPECT_EQ(inputDatumName, "WGS 84");
  // cs2cs +proj=longlat +ellps=airy +towgs84=375,-111,431 +to +proj=longlat +datum=WGS84: -1.5 51.5
  for (const int slot : {2, firstCornerSlot}) {
    EXPECT_NEAR(calibration.latitude[slot], 51.50043954, 2e-8);
    EXPECT_NEAR(calibration.longitude[slot], -1.50145658, 2e-8);
  }
  EXPECT_NEAR(calibration.latitude[1], 51.51807913, 2e-8);
}

TEST_F(MapFileTest, CornerWithoutBothHalvesIsNotHeld) {
  read("Lat", "MMPXY,1,0,0\nMMPXY,2,99,0\nMMPLL,1,-1.5,51.5\n");
  EXPECT_EQ(calibration.cornerCount, 2);
  dropIncompleteCorners();
  EXPECT_EQ(calibration.cornerCount, 0);
}

TEST_F(MapFileTest, WrittenToTheLetter) {
  calibration.imagePath = folder + "area.png";
  calibration.imageWidth = 1024;
  calibration.imageHeight = 768;
  calibration.pointCount = 2;
  calibration.setPixel(1, 3, 4);
  calibration.setPosition(1, -0.5, 179.9999999999);
  calibration.setPixel(2, 1000, 700);
  calibration.setPosition(2, 50.508333333, -1.25);
  calibration.x0 = 10, calibration.tf1 = 0.001, calibration.y0 = 50, calibration.tf4 = -0.001;
  driver.metresPerPixel = 7.25;
  ASSERT_EQ(putmap(), WriteOutcome::written);

  std::string expected =
      "OziExplorer Map Data File Version 2.2\r\narea.png\r\n" + folder +
      "area.png\r\n1 ,Map Code,\r\n"
      "WGS 84,WGS 84,   0.0000,   0.0000,WGS 84\r\nReserved 1\r\nReserved 2\r\nMagnetic Variation, , , E\r\n"
      "Map Projection, Latitude / Longitude, Polycal, No, AutoCalOnly, No, BSBUseWPX, No\r\n"
      "Point01,xy,  3,  4,in, deg,  0 ,30.000000 ,S,  180, 00.000000 ,E, grid,   ,           ,           ,N\r\n"
      "Point02,xy,  1000,  700,in, deg,  50 ,30.500000 ,N,  1, 15.000000 ,W, grid,   ,           ,           ,N\r\n";
  for (int i = 3; i <= 30; ++i) {
    expected += std::string("Point") + (i < 10 ? "0" : "") + std::to_string(i) +
                ",xy,  ,  ,in, deg,   , ,N, ,  ,W, grid,   ,           ,           ,N\r\n";
  }
  expected +=
      "Projection Setup,,,,,,,,,,\r\n"
      "Map Feature = MF ; Map Comment = MC     These follow if they exist\r\n"
      "Track File = TF      These follow if they exist\r\n"
      "Moving Map Parameters = MM?    These follow if they exist\r\n"
      "MM0 , Yes\r\nMMPNUM,4\r\n"
      "MMPXY , 1, 000000, 000000\r\nMMPXY , 2, 001023, 000000\r\nMMPXY , 3, 001023, 000767\r\n"
      "MMPXY , 4, 000000, 000767\r\n"
      "MMPLL , 1, 10.000000, 50.000000\r\nMMPLL , 2, 11.023000, 50.000000\r\nMMPLL , 3, 11.023000, 49.233000\r\n"
      "MMPLL , 4, 10.000000, 49.233000\r\n"
      "MM1B , 007.250000\r\nMOP,Map Open Position,0,0\r\nIWH,Map Image Width/Height,01024,00768\r\n";
  EXPECT_EQ(contentOf(folder + "area.map"), expected);
}

TEST_F(MapFileTest, WhereItIsWritten) {
  struct Row {
    const char* type;
    const char* datum;
    bool writeWgs84;
    const char* file;  ///< empty: nothing
  };
  const Row rows[] = {
      {"gmi", "WGS 84", false, "area.map"},
      {"map", "WGS 84", false, ""},
      {"map", "WGS 84", true, ""},
      {"map", "TOKYO", false, ""},
      {"map", "TOKYO", true, "areawgs84.map"},
      {"gmi", "TOKYO", true, "area.map"},
  };
  calibration.imagePath = folder + "area.png";
  calibration.cornerCount = 1;
  for (const Row& row : rows) {
    driver.inputType = row.type;
    inputDatumName = row.datum;
    preferences.writeWgs84 = row.writeWgs84;
    EXPECT_EQ(putmap(), *row.file == '\0' ? WriteOutcome::skipped : WriteOutcome::written);
    for (const char* name : {"area.map", "areawgs84.map"}) {
      EXPECT_EQ(std::filesystem::remove(folder + name), std::string(name) == row.file) << row.type << row.datum;
    }
  }
  std::filesystem::create_directory(folder + "tiles");
  driver.inputType = "map";
  EXPECT_EQ(putmap(folder + "tiles"), WriteOutcome::written);
  EXPECT_TRUE(std::filesystem::exists(folder + "tiles/area.map"));
  EXPECT_EQ(putmap(folder + "none"), WriteOutcome::failed);
}

TEST_F(MapFileTest, NamesKeepTheInputsEncoding) {
  driver.inputBase = "\xC3\xA5sen";  // "åsen" in UTF-8, as on disk
  calibration.imagePath = folder + "\xC3\xA5sen.png";
  calibration.cornerCount = 1;
  driver.inputIsWindows1252 = true;
  ASSERT_EQ(putmap(), WriteOutcome::written);
  EXPECT_NE(contentOf(folder + "\xC3\xA5sen.map").find("\r\n\xE5sen.png\r\n"), std::string::npos);

  writeTestFile(folder + "in.map", "t\n\xC5SEN.PNG\n\n");  // "ÅSEN.PNG" in Windows-1252
  makeImage("\xC3\xA5sen.png", 4, 4);
  readMap(folder + "in.map");
  std::string path = calibration.imagePath;
  std::int16_t width = 0, height = 0;
  getidata(path, width, height);
  EXPECT_EQ(path, folder + "\xC3\xA5sen.png");
}

}  // namespace
}  // namespace vellandra
