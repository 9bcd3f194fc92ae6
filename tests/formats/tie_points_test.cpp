// What the readers make of the points, the images and the image sizes that calibration files hold.

#include "formats/reader_test.h"

namespace vellandra {
namespace {

using TiePoints = ReaderTest;

TEST_F(TiePoints, ArePlacedFromEveryForm) {
  struct Row {
    const char* extension;
    std::string content;
    double latitude, longitude;
  };
  const std::string toGrid = "Point01,xy,12,34,in,deg,,,N,,,W,grid,";
  const std::string toDegrees = "Point01,xy,12,34,in,deg,";
  // Grid positions from PROJ 9: utm with ellps=WGS84 or intl, the British grid as tmerc on airy with
  // towgs84=375,-111,431, the Irish one as tmerc on a=6377340.189, rf=299.3249646. The degree sign is B0 in Latin-1,
  // C2 B0 in UTF-8.
  const Row rows[] = {
      {"gux", "M E European 1950\nS CalPoint1 = DEG = N35.5 E23.25 = 12 34", 35.5, 23.25},
      {"gux", "S CalPoint1 = DM = S0\xB0 30.0' W23\xB0 15.0' = 12 34", -0.5, -23.25},
      {"gux", "S CalPoint1  =  DMS =  N 35 \xC2\xB0 30'36.0\" E 23\xC2\xB0 15'18.0\"  =  12  34 ", 35.51, 23.255},
      {"gux", "S CalPoint1 = DM = -35 30 -0 15 = 12 34", -35.5, -0.25},
      {"gux", "S CalPoint1 = UTM 33 = 285482 4265890 12 34\nM E  European 1950", 38.514925369, 12.539645163},
      {"gux", "S CalPoint1 = UTM 23K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"gux", "S CalPoint1 = UTM 23 K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"gux", "S CalPoint1 = UTM 33C = 500000 1500000 12 34", -76.580849518, 15},
      {"gux", "S CalPoint1 = UTM 33M = 500000 9999000 12 34", -0.009047314, 15},
      {"gux", "S CalPoint1 = UTM 33N = 500000 1000 12 34", 0.009047314, 15},
      {"gux", "S CalPoint1 = UTM 33X = 500000 9100000 12 34", 81.956740238, 15},
      {"gux", "S CalPoint1 = BRITISH = 250000 390000 = 12 34", 53.385473509, -4.256880033},
      {"gux", "S CalPoint1 = BRITISH SH = 50000 90000 = 12 34", 53.385473509, -4.256880033},
      {"imp", "Projection=2,UTM,30,\nCoordinates= 1\nP0= 12, 34 ,A, 23.25, -35.5\n", -35.5, 23.25},
      {"imp", "Coordinates=1\n<Header>\nP0=12,34,A,23.25,-35.5\nPROJECTION=2,utm,30,\n", -35.5, 23.25},
      {"imp", "Projection=1, Automatic ,\nP0=12,34,,23.25,-35.5\n", -35.5, 23.25},
      {"imp", "Coordinates=\np0=12,34,,23.25,-35.5\nprojection=1,Transversal Mercator", -35.5, 23.25},
      {"imp", "Projection=2,UTM,30,\nP0=12,34,30T,443000,4474000", 40.414671358, -3.671841533},
      {"imp", "Coordinates=0\nProjection=1,Automatic\nP0=12,34,30,443000,4474000", 40.414671358, -3.671841533},
      {"imp", "Coordinates=2\nP0=12,34,23K,682000,7466000\n", -22.904092550, -43.225520626},
      {"imp", "P0=12,34,33S,285482,4265890\nProjection=2,UTM,33\nDatum= European 1950", 38.514925369, 12.539645163},
      {"gmi", "title\nmap.png\n100\n200\n\n 12 ; 34 ; 23.25 ; -35.5\nBorder\n1;2;3;4", -35.5, 23.25},
      {"gmi", "title\nmap.png\n\n\n12;34;23.25;-35.5", -35.5, 23.25},
      {"map", ozi("Lat", toDegrees + "50,30.5,N,1,15.25,W"), 50.508333333, -1.254166667},
      {"map", ozi("Lat", toDegrees + "50,50000000,N,1,25,W"), 50.5, -1.00000025},
      {"map", ozi("Lat", toDegrees + "50,500000,N,1,123456789012,W"), 50.005, -1.12345678},
      {"map", ozi("Lat", toDegrees + "50,30,S,1,15,E"), -50.5, 1.25},
      {"map", ozi("Lat", "Point01 , xy,  12, 34 , in, deg,  44, 40.0000,N,  0, 30.0 ,W"), 44.6666666667, -0.5},
      {"map", ozi("Lat", toDegrees + "-33,30.0,S,-70,30.0,W"), -33.5, -70.5},
      {"map", ozi("Lat", toDegrees + "0,30.0,S,0,30.0,W"), -0.5, -0.5},
      {"map", ozi("(UTM) Universal", toGrid + "30,430000,5800000,N"), 52.34582506, -4.02760806},
      {"map", ozi("Latitude/Longitude", toGrid + "33,600000,6000000,S"), -36.13956045, 16.11147803},
      {"map", ozi("(BNG) British", toGrid + "SU,30000,80000,N"), 51.51807913, -1.56904403},
      {"map", ozi("(BNG) British", toGrid + ",430000,180000,N"), 51.51807913, -1.56904403},
      {"map", ozi("(IG) Irish Grid", toGrid + "O,15000,34000,"), 53.34372914, -6.27310280},
      {"map", ozi("(UTM)", toGrid + "30,430000,5800000,N\n" + toDegrees + "50,30.0,N,1,15.0,W"), 50.5, -1.25},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.content);
    EXPECT_GT(read(row.extension, row.content).datumIndex, 0);
    ASSERT_EQ(calibration.pointCount, 1);
    expectPosition(1, row.latitude, row.longitude);
    EXPECT_EQ(points().substr(0, 6), "12,34 ");
    EXPECT_TRUE(person.boxes.empty());
    EXPECT_FALSE(panelHas("readable position")) << calibration.message;
  }
}

TEST_F(TiePoints, WithoutAReadablePositionAreLeftOutAndNamed) {
  struct Row {
    const char* extension;
    std::string content;
    std::string missing;  ///< empty: the line itself is not understood
  };
  const std::string toGrid = "Point04,xy,1,2,in,deg,,,N,,,W,grid,";
  const std::string qv = "c1_x = 7 = 0\nc1_y = 7 = 0\nc1_lat = 7 = 50\nc1_lon = 7 = 1\n";
  const Row rows[] = {
      {"gux", "S CalPoint1 = DEG = Nnorth E23.25 = 12 34", "1"},
      {"gux", "S CalPoint1 = DEG = E23.25 N35.5 = 12 34", "1"},
      {"gux", "S CalPoint1 = DM = N35 E23 15 = 12 34", "1"},
      {"gux", "S CalPoint1 = DEG = N35.5 E23.25 = 12", "1"},
      {"gux", "S CalPoint1 = UTM 61 = 285482 4265890 12 34", "1"},
      {"gux", "S CalPoint1 = UTM = 285482", "1"},
      {"gux", "S CalPoint1 = BRITISH S1 = 5000 9000 = 12 34", "1"},
      {"gux", "S CalPoint1 = GRID 1 2 3 4", ""},
      {"imp", "Coordinates=1\nP0=1,2,A,3,north", "1"},
      {"imp", "Coordinates=1\nP0=1,2,A,3,4\nP0=1,2,A,3,north", "1"},
      {"imp", "Projection=8,Mercator,\nP0=0,0,A,1,2\nP1=9,0,A,2,2\n", "1, 2"},
      {"gmi", "title\nmap.png\n1\n1\n1;2;3;4\n1;2;3;north", "2"},
      {"map", ozi("Lat", "Point04,xy,1,2,in,deg,x,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", ozi("Lat", "Point04,xy,1,2,in,deg,50,30,N,,15,W"), "1, 2, 3, 4"},
      {"map", ozi("Lat", "Point04,xy,1,2,in,deg,50,30,N,1,15,W\nPoint04,xy,a,2,in,deg,50,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", ozi("Lat", "Point04,xy,a,2,in,deg,50,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", ozi("Lat", "Point01,xy,1,2,in,deg,50,500000,N,1,0,E\nPoint02,xy,3,4,in,deg,50,36.3,N,1,0,E"), "2"},
      {"map", ozi("(UTM)", toGrid + ",430000,5800000,N"), "1, 2, 3, 4"},
      {"map", ozi("(UTM)", toGrid + "61,430000,5800000,N"), "1, 2, 3, 4"},
      {"map", ozi("(BNG)", toGrid + "SI,30000,80000,N"), "1, 2, 3, 4"},
      {"map", ozi("(IG)", toGrid + "O,15000,,"), "1, 2, 3, 4"},
      {"map", ozi("(SUI) Swiss Grid", toGrid + ",600000,200000,N"), "1, 2, 3, 4"},
      {"jpr", "rp2=50,1,0,0\nrp12=49,3,200,100\nrp3=50,3,200,0\nrp14=", "1, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14"},
      {"jpr", "rp1=,1,0,100", "1"},
      {"cal", qv + "c4_x = 7 = 5\nc4_y = 7 = 9\nc4_lat = 7 = N\nc4_lon = 7 = 1", "2, 3, 4"},
      {"cal", qv + "c_x = 7 = 5\ncx_lat = 7 = 5\nc1e1_y = 7 = 5\ncalc_lon = 7 = 1\nc_ = 1\nc=\nc3_x", "2, 3"},
      {"cal", "$GPML,1\n$GPMT,50\n$GPMR,4\n", "3, 4"},
      {"cal", "$GPMTL,a,1,50\n$GPMTR,a,4,50\n$GPMBR,a,4\n$GPMBL,a,1,48.5\n", "4"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.content);
    read(row.extension, row.content);
    closePointGaps();
    EXPECT_TRUE(panelHas(row.missing.empty() ? "Point lines not understood: 1\r\n"
                                             : "readable position: " + row.missing + "\r\n"))
        << calibration.message;
    const bool swiss = row.content.find("SUI") != std::string::npos;
    const bool mercator = row.content.find("=8,Mercator") != std::string::npos;
    EXPECT_EQ(lastBox(), swiss ? "unknown projection" : mercator ? "Unknown IMP Projection/Coordinates" : "");
  }
}

TEST_F(TiePoints, KeepTheirNumbersInOrderAndLoseNoneWithoutAWord) {
  std::string gux;
  for (int i = 1; i <= 11; ++i) gux += "S CalPoint" + std::to_string(i) + "=DEG N3 E4 1 " + std::to_string(i) + "\n";
  read("gux", gux);
  EXPECT_EQ(calibration.pointCount, 10);
  EXPECT_EQ(calibration.pixelY[10], 10);
  EXPECT_EQ(calibration.pixelY[1], 11);
  EXPECT_TRUE(panelHas("given more than once, the last one counts: 1"));

  read("imp", "\xEF\xBB\xBFMap\r\nCoordinates=1\r\nP0=1,2,A,3,4\r\nP9=5,6,A,7,8\r\nP10=9,9,A,9,9\r\nPX=9,9,A,9,9\r\n");
  EXPECT_EQ(points(), "1,2 4.0 3.0; 5,6 8.0 7.0");  // the gap is closed

  read("jpr",
       " rp3 = 49 , 3 ,200,100px\nrp=9,9,9,9\nrpx=9,9,9,9\nvp31=9,9\n\n=,\nxx\nrp1=50,1,0,0,7,8\nrp2=50,3,200,0");
  EXPECT_EQ(points(), "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0");

  // Decimals of a degree go on to the end of the file.
  read("map", ozi("Lat",
                  "Point01,xy,1,2,in,deg,50,5.0,N,1,15.0,E\nPoint02,xy,2,2,in,deg,50,500000,N,1,0,E\n"
                  "Point03,xy,3,3,in,deg,50,50,N,1,0,E\n"));
  EXPECT_EQ(points(), "1,2 50.083333 1.25; 2,2 50.005 1.0; 3,3 50.000001 1.0");
}

TEST_F(TiePoints, PastTheLastSlotEndTheReading) {
  std::string gmi = "title\nmap.png\n1\n1\n";
  for (int i = 1; i <= 50; ++i) gmi += "1;2;3;4\n";
  read("gmi", gmi);
  EXPECT_EQ(calibration.pointCount, 50);
  const std::pair<const char*, std::string> rows[] = {
      {"gmi", gmi + "1;2;3;4"},
      {"jpr", "rp51=1,2,3,4"},
      {"jpr", "rp-1=1,2,3,4"},
      {"jpr", "rp99999999999=1,2,3,4"},
      {"cal", "c1_x = 7 = 1\nc51_lat = 7 = 1"},
      {"cal", "c1_x = 7 = 1\nc4294967297_x = 7 = 1"},
  };
  for (const auto& [extension, content] : rows) EXPECT_THROW(read(extension, content), SubscriptOutOfRange) << content;
}

TEST_F(TiePoints, OfTheBritishGridBringTheWholeFileToWgs84) {
  const std::string britishPoint = "S CalPoint1 = BRITISH = 250000 390000 = 0 0\n";
  const std::string other = "S CalPoint2 = DEG = N38.5 E13.25 = 9 9\n";
  EXPECT_EQ(read("gux", "M E    European 1950\n" + britishPoint + other).datumIndex, matchDatum("WGS 84"));
  expectPosition(1, 53.385473509, -4.256880033);
  EXPECT_NEAR(calibration.latitude[2], 38.498946416, 2e-7);  // PROJ: intl with towgs84=-87,-98,-121
  EXPECT_NEAR(calibration.longitude[2], 13.249135085, 2e-7);
  EXPECT_GT(read("gux", "M E Nowhere\n" + britishPoint).datumIndex, 0);
  EXPECT_EQ(person.datumPrompts.size(), 0U) << "the datum of a file of British points alone does not matter";
  EXPECT_EQ(read("gux", britishPoint + other + "M E   Nowhere").datumIndex, 0);
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : NOWHERE"});

  read("map", ozi("(BNG) British National Grid",
                  "Point01,xy,1,2,in,deg,,,N,,,W,grid,SU,30000,80000,N\nPoint02,xy,5,5,in,deg,51,30,N,1,30,W\n"
                  "Point03,xy,9,2,in,deg,51,0,N,1,0,W\nMMPXY,1,0,0\nMMPLL,1,-1.5,51.5\n",
                  "Ord Srvy Grt Britn"));
  EXPECT_EQ(inputDatumName, "WGS 84");
  // cs2cs +proj=longlat +ellps=airy +towgs84=375,-111,431 +to +proj=longlat +datum=WGS84: -1.5 51.5
  for (const int slot : {2, firstCornerSlot}) expectPosition(slot, 51.50043954, -1.50145658);
  expectPosition(1, 51.51807913, -1.56904403);
}

TEST_F(TiePoints, OfAMapWithHeaderLinesMissingAndTooMany) {
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

TEST_F(TiePoints, TwoOfAMapStandForTheirRectangle) {
  read("map", ozi("Lat", "Point01,xy,0,0,in,deg,50,0,N,2,0,W\nPoint03,xy,90,80,in,deg,49,0,N,1,0,W\n"));
  EXPECT_EQ(points(), "0,0 50.0 -2.0; 90,80 49.0 -1.0; 90,0 50.0 -1.0; 0,80 49.0 -2.0");
}

TEST_F(TiePoints, CornerOfAMapWithoutBothHalvesIsNotHeld) {
  read("map", ozi("Lat", "MMPXY,1,0,0\nMMPXY,2,99,0\nMMPLL,1,-1.5,51.5\n"));
  EXPECT_EQ(calibration.cornerCount, 2);
  dropIncompleteCorners();
  EXPECT_EQ(calibration.cornerCount, 0);
}

TEST_F(TiePoints, ImageAndSizeComeFromTheFileButNoFolder) {
  const char* const rows[][4] = {
      {"gux", "S Image = C:\\maps\\My old map.v2.png", "My old map.v2.png", "0 0"},
      {"gux", "S Image=../other/a.jpg ", "a.jpg", "0 0"},
      {"gux", "S Image plain map.png", "plain map.png", "0 0"},
      {"gux", "U S Image = no.png", "area.png", "0 0"},
      {"gmi", "title\nC:\\maps\\my.old map.png \n 100 \n200\n", "my.old map.png", "100 200"},
      {"imp", "Bitmap=other.gif\nBitmapWidth= 100\nBitmapHeight=200", "area.png", "100 200"},
      {"jpr", "nm=other.gif\nvp3=100,200", "area.png", "100 200"},
      {"map", "t\nC:\\secret\\scan.png\n\n", "scan.png", "0 0"},
      {"map", "t\n../../etc/scan.png\n\nIWH,Map Image Width/Height, 0100,200", "scan.png", "100 200"},
      {"map", "t\nscan\nD:\\maps\\scan.jpg", "scan.jpg", "0 0"},
      {"map", "", "x.x", "0 0"},
  };
  for (const auto& [extension, content, name, size] : rows) {
    read(extension, content);
    EXPECT_EQ(calibration.imagePath, folder + name) << content;
    EXPECT_EQ(std::to_string(calibration.imageWidth) + " " + std::to_string(calibration.imageHeight), size) << content;
  }
}

}  // namespace
}  // namespace vellandra
