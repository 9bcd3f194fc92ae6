#include "formats/map_file.h"

#include "formats/reader_test.h"

namespace vellandra {
namespace {

using MapFile = ReaderTest;

TEST_F(MapFile, HeaderLinesMayBeMissingOrTooMany) {
  const ReadResult result =
      read("map",
           "\xEF\xBB\xBFtitle\rD:\\maps\\scan\rD:\\maps\\scan.jpg\r\rwgs 84 ,x\rextra\rextra\rextra\rextra\r"
           "Map Projection, Mercator,\rPoint01,xy,1,2,in,deg,50,30,N,1,15,W\rIWH,Map Image Width/Height, 0400,300");
  EXPECT_EQ(calibration.imagePath, folder + "scan.jpg");
  EXPECT_EQ(calibration.projection, " mercator");
  EXPECT_TRUE(calibration.isMercator());
  EXPECT_EQ(inputDatumName, "WGS 84");
  EXPECT_GT(result.datumIndex, 0);
  EXPECT_EQ(calibration.imageWidth, 400);
  EXPECT_EQ(calibration.pointCount, 1);
}

TEST_F(MapFile, TwoPointsStandForTheirRectangle) {
  read("map", ozi("Lat", "Point01,xy,0,0,in,deg,50,0,N,2,0,W\nPoint03,xy,90,80,in,deg,49,0,N,1,0,W\n"));
  EXPECT_EQ(points(), "0,0 50.0 -2.0; 90,80 49.0 -1.0; 90,0 50.0 -1.0; 0,80 49.0 -2.0");
}

TEST_F(MapFile, CornerWithoutBothHalvesIsNotHeld) {
  read("map", ozi("Lat", "MMPXY,1,0,0\nMMPXY,2,99,0\nMMPLL,1,-1.5,51.5\n"));
  EXPECT_EQ(calibration.cornerCount, 2);
  dropIncompleteCorners();
  EXPECT_EQ(calibration.cornerCount, 0);
}

TEST_F(MapFile, WrittenToTheLetter) {
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
  std::filesystem::create_directory(folder + "tiles");
  ASSERT_EQ(putmap(folder + "tiles"), WriteOutcome::written);

  std::string expected =
      "OziExplorer Map Data File Version 2.2\r\narea.png\r\n" + folder +
      "area.png\r\n1 ,Map Code,\r\n"
      "WGS 84,WGS 84,   0.0000,   0.0000,WGS 84\r\nReserved 1\r\nReserved 2\r\nMagnetic Variation, , , E\r\n"
      "Map Projection, Latitude / Longitude, Polycal, No, AutoCalOnly, No, BSBUseWPX, No\r\n"
      "Point01,xy,  3,  4,in, deg,  0 ,30.000000 ,S,  180, 00.000000 ,E, grid,   ,           ,           ,N\r\n"
      "Point02,xy,  1000,  700,in, deg,  50 ,30.500000 ,N,  1, 15.000000 ,W, grid,   ,           ,           ,N\r\n";
  for (int i = 3; i <= 30; ++i) {
    expected +=
        "Point" + formatNumber(i, "00") + ",xy,  ,  ,in, deg,   , ,N, ,  ,W, grid,   ,           ,           ,N\r\n";
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
  EXPECT_EQ(written("tiles/area.map"), expected);
  EXPECT_EQ(putmap(folder + "none"), WriteOutcome::failed);
}

}  // namespace
}  // namespace vellandra
