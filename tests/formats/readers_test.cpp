// What the readers make of the points, the images and the image sizes that calibration files hold.

#include "map_fixture.h"

namespace vellandra {
namespace {

using CalFile = MapTest;
using TiePoints = MapTest;
using WorldFile = MapTest;
using Datum = WorldFileAnswer::Datum;
using Texts = std::vector<std::string>;

std::string lat(const std::string& lines) {
  return mapOn("WGS 84", lines);
}

/// A point of an OziExplorer map on the grid of this projection.
std::string grid(const std::string& projection, const std::string& point) {
  return mapOn("WGS 84", "Point01,xy,12,34,in,deg,,,N,,,W,grid," + point, projection);
}

TEST_F(TiePoints, ArePlacedFromEveryForm) {
  struct Row {
    const char* extension;
    std::string content;
    double latitude, longitude;
  };
  const std::string point = "Point01,xy,12,34,in,deg,";
  // Grid positions from PROJ 9: utm with ellps=WGS84 or intl, the British grid as tmerc on airy with
  // towgs84=375,-111,431, the Irish one as tmerc on a=6377340.189, rf=299.3249646. The degree sign is B0 in Latin-1,
  // C2 B0 in UTF-8.
  const Row rows[] = {
      {"gux", "S CalPoint1 = DM = S0\xB0 30.0' W23\xB0 15.0' = 12 34", -0.5, -23.25},
      {"gux", "S CalPoint1  =  DMS =  N 35 \xC2\xB0 30'36.0\" E 23\xC2\xB0 15'18.0\"  =  12  34 ", 35.51, 23.255},
      {"gux", "S CalPoint1 = DM = -35 30 -0 15 = 12 34", -35.5, -0.25},
      {"gux", "S CalPoint1 = UTM 23 K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"gux", "S CalPoint1 = UTM 33C = 500000 1500000 12 34", -76.580849518, 15},
      {"gux", "S CalPoint1 = UTM 33M = 500000 9999000 12 34", -0.009047314, 15},
      {"gux", "S CalPoint1 = UTM 33N = 500000 1000 12 34", 0.009047314, 15},
      {"imp", "Coordinates=1\n<Header>\nP0=12,34,A,23.25,-35.5\nPROJECTION=2,utm,30,\n", -35.5, 23.25},
      {"imp", "Projection=1, Automatic ,\nP0=12,34,,23.25,-35.5\n", -35.5, 23.25},
      {"imp", "Coordinates=\np0=12,34,,23.25,-35.5\nprojection=1,Transversal Mercator", -35.5, 23.25},
      {"imp", "Coordinates=0\nProjection=1,Automatic\nP0=12,34,30,443000,4474000", 40.414671358, -3.671841533},
      {"imp", "Coordinates=2\nP0=12,34,23K,682000,7466000\n", -22.904092550, -43.225520626},
      {"imp", "P0=12,34,33S,285482,4265890\nProjection=2,UTM,33\nDatum= European 1950", 38.514925369, 12.539645163},
      {"gmi", "title\nmap.png\n100\n200\n\n 12 ; 34 ; 23.25 ; -35.5\nBorder\n1;2;3;4", -35.5, 23.25},
      {"gmi", "title\nmap.png\n\n\n12;34;23.25;-35.5", -35.5, 23.25},
      {"map", lat(point + "50,50000000,N,1,25,W"), 50.5, -1.00000025},
      {"map", lat(point + "50,500000,N,1,123456789012,W"), 50.005, -1.12345678},
      {"map", lat("Point01 , xy,  12, 34 , in, deg,  44, 40.0000,N,  0, 30.0 ,W"), 44.6666666667, -0.5},
      {"map", lat(point + "-33,30.0,N,-70,30.0,E"), -33.5, -70.5},
      {"map", lat(point + "0,30.0,S,0,30.0,W"), -0.5, -0.5},
      {"map", grid("Latitude/Longitude", "33,600000,6000000,S"), -36.13956045, 16.11147803},
      {"map", grid("(UTM)", "30,430000,5800000,N\n" + point + "50,30.0,N,1,15.0,W"), 50.5, -1.25},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.content);
    EXPECT_GT(read(row.extension, row.content).datumIndex, 0);
    ASSERT_EQ(calibration.pointCount, 1);
    expectPosition(1, row.latitude, row.longitude);
    EXPECT_EQ(points().substr(0, 6), "12,34 ");
    EXPECT_EQ(lastBox(), "");
    EXPECT_FALSE(panelHas("readable position")) << calibration.message;
  }
}

TEST_F(TiePoints, WithoutAReadablePositionAreLeftOutAndNamed) {
  struct Row {
    const char* extension;
    std::string content;
    std::string missing;  ///< empty: the line itself is not understood
    const char* box = "";
  };
  const std::string point = "Point04,xy,1,2,in,deg,";
  const std::string qv = "c1_x = 7 = 0\nc1_y = 7 = 0\nc1_lat = 7 = 50\nc1_lon = 7 = 1\n";
  const Row rows[] = {
      {"gux", "S CalPoint1 = DEG = Nnorth E23.25 = 12 34", "1"},
      {"gux", "S CalPoint1 = DEG = E23.25 N35.5 = 12 34", "1"},
      {"gux", "S CalPoint1 = DM = N35 E23 15 = 12 34", "1"},
      {"gux", "S CalPoint1 = DM = N35 61 E23 15 = 12 34", "1"},
      {"gux", "S CalPoint1 = DEG = N35.5 E23.25 = 12", "1"},
      {"gux", "S CalPoint1 = UTM 0 = 285482 4265890 12 34", "1"},
      {"gux", "S CalPoint1 = UTM 61 = 285482 4265890 12 34", "1"},
      {"gux", "S CalPoint1 = UTM = 285482", "1"},
      {"gux", "S CalPoint1 = BRITISH S1 = 5000 9000 = 12 34", "1"},
      {"gux", "S CalPoint1 = GRID 1 2 3 4", ""},
      {"imp", "Coordinates=1\nP0=1,2,A,3,north", "1"},
      {"imp", "Coordinates=1\nP0=1,2,A,3,4\nP0=1,2,A,3,north", "1"},
      {"imp", "Projection=8,Mercator,\nP0=0,0,A,1,2\nP1=9,0,A,2,2\n", "1, 2", "Unknown IMP Projection/Coordinates"},
      {"gmi", "title\nmap.png\n1\n1\n1;2;3;4\n1;2;3;north", "2"},
      {"map", lat(point + "x,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", lat(point + "50,30,N,,15,W"), "1, 2, 3, 4"},
      {"map", lat(point + "50,61,N,1,15,W"), "1, 2, 3, 4"},
      {"map", lat(point + "50,30,N,1,15,W\nPoint04,xy,a,2,in,deg,50,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", lat("Point04,xy,a,2,in,deg,50,30,N,1,15,W"), "1, 2, 3, 4"},
      {"map", lat("Point01,xy,1,2,in,deg,50,500000,N,1,0,E\nPoint02,xy,3,4,in,deg,50,36.3,N,1,0,E"), "2"},
      {"map", grid("(UTM)", ",430000,5800000,N"), "1"},
      {"map", grid("(UTM)", "61,430000,5800000,N"), "1"},
      {"map", grid("(BNG)", "SI,30000,80000,N"), "1"},
      {"map", grid("(IG)", "O,15000,,"), "1"},
      {"map", grid("(SUI) Swiss Grid", ",600000,200000,N"), "1", "unknown projection"},
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
    EXPECT_EQ(lastBox(), row.box);
  }
}

TEST_F(TiePoints, KeepTheirNumbersInOrderAndLoseNoneWithoutAWord) {
  std::string gux;
  for (int i = 1; i <= 11; ++i) gux += "S CalPoint" + std::to_string(i) + "=DEG N3 E4 1 " + std::to_string(i) + "\n";
  read("gux", gux);
  EXPECT_EQ(points(1, 1) + points(10, 1), "1,11 3.0 4.01,10 3.0 4.0");
  EXPECT_TRUE(panelHas("given more than once, the last one counts: 1"));

  const std::tuple<const char*, std::string, const char*> rows[] = {
      {"imp", "\xEF\xBB\xBFMap\r\nCoordinates=1\r\nP0=1,2,A,3,4\r\nP9=5,6,A,7,8\r\nP10=9,9,A,9,9\r\nPX=9,9,A,9,9\r\n",
       "1,2 4.0 3.0; 5,6 8.0 7.0"},  // the gap is closed
      {"jpr", " rp3 = 49 , 3 ,200,100px\nrp=9,9,9,9\nrpx=9,9,9,9\nvp31=9,9\n\n=,\nxx\nrp1=50,1,0,0,7,8\nrp2=50,3,200,0",
       "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0"},
      {"map",  // decimals of a degree go on to the end of the file
       lat("Point01,xy,1,2,in,deg,50,5.0,N,1,15.0,E\nPoint02,xy,2,2,in,deg,50,500000,N,1,0,E\n"
           "Point03,xy,3,3,in,deg,50,50,N,1,0,E\n"),
       "1,2 50.083333 1.25; 2,2 50.005 1.0; 3,3 50.000001 1.0"},
  };
  for (const auto& [extension, content, expected] : rows) {
    read(extension, content);
    EXPECT_EQ(points(), expected);
  }
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
  ASSERT_TRUE(convert("area.gux", "M E    European 1950\n" + britishPoint + other));
  expectPosition(1, 53.385473509, -4.256880033);
  EXPECT_NEAR(calibration.points[2].latitude, 38.498946416, 2e-7);  // PROJ: intl with towgs84=-87,-98,-121
  EXPECT_NEAR(calibration.points[2].longitude, 13.249135085, 2e-7);
  EXPECT_GT(read("gux", "M E Nowhere\n" + britishPoint).datumIndex, 0);
  EXPECT_EQ(person.datumPrompts.size(), 0U) << "the datum of a file of British points alone does not matter";
  EXPECT_EQ(read("gux", britishPoint + other + "M E   Nowhere").datumIndex, 0);
  preferences.warnOverwrite = false;
  preferences.writeWgs84 = true;
  EXPECT_EQ(person.datumPrompts, Texts{"Choose to match : NOWHERE"});

  ASSERT_TRUE(convert(
      "area.map", mapOn("Ord Srvy Grt Britn",
                        "Point01,xy,1,2,in,deg,,,N,,,W,grid,SU,30000,80000,N\nPoint02,xy,5,5,in,deg,51,30,N,1,30,W\n"
                        "Point03,xy,9,2,in,deg,51,0,N,1,0,W\nMMPXY,1,0,0\nMMPLL,1,-1.5,51.5\n",
                        "(BNG) British National Grid")));
  EXPECT_TRUE(fileExists(folder + "areawgs84.map")) << "the file names another datum";
  // cs2cs +proj=longlat +ellps=airy +towgs84=375,-111,431 +to +proj=longlat +datum=WGS84: -1.5 51.5
  for (const int slot : {2, firstCornerSlot}) expectPosition(slot, 51.50043954, -1.50145658);
  expectPosition(1, 51.51807913, -1.56904403);
}

TEST_F(TiePoints, OfAMapWithHeaderLinesMissingAndTooMany) {
  read("map",
       "\xEF\xBB\xBFtitle\rD:\\maps\\scan\rD:\\maps\\scan.jpg\r\rwgs 84 ,x\rextra\rextra\rextra\rextra\r"
       "Map Projection, Mercator,\rPoint01,xy,1,2,in,deg,50,30,N,1,15,W\rIWH,Map Image Width/Height, 0400,300");
  EXPECT_EQ(calibration.imagePath, folder + "scan.jpg");
  EXPECT_EQ(calibration.projection, " mercator");
  EXPECT_TRUE(calibration.isMercator());
  EXPECT_EQ(inputDatumName, "WGS 84");
  EXPECT_EQ(calibration.imageWidth, 400);
  EXPECT_EQ(points(), "1,2 50.5 -1.25");
}

TEST_F(TiePoints, CornerOfAMapWithoutBothHalvesIsNotHeld) {
  read("map", lat("MMPXY,1,0,0\nMMPXY,2,99,0\nMMPLL,1,-1.5,51.5\n"));
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
      {"map", "t\nC:\\secret\\scan.png\n\nMap Projection,", "scan.png", "0 0"},
      {"map", "t\n../../etc/scan.png\n\nIWH,Map Image Width/Height, 0100,200\nMap Projection,", "scan.png", "100 200"},
      {"map", "t\nscan\nD:\\maps\\scan.jpg\nMap Projection,", "scan.jpg", "0 0"},
      {"map", "Map Projection,", "x.x", "0 0"},
  };
  for (const auto& [extension, content, name, size] : rows) {
    read(extension, content);
    EXPECT_EQ(calibration.imagePath, folder + name) << content;
    EXPECT_EQ(std::to_string(calibration.imageWidth) + " " + std::to_string(calibration.imageHeight), size) << content;
  }
}

constexpr const char* qv =
    "c3_lon = 7 =  3\nc3_lat = 7 =  49\nc3_x = 7 =  200.000000\nc3_y = 7 =  100.4\nc1_x = 7 = 0\nc1_y = 7 = 0\n"
    " C1_Lat = 7 = 50\nC1_LON = 7 = 1\nc2_x = 7 = 200\nc2_y = 7 = 0\nc2_lat = 7 = 50\nc2_lon = 7 = 3\n";

TEST_F(CalFile, HasTheLayoutOfItsLastTellingLine) {
  const std::string edges = "$GPML,1\n$GPMT,50\n$GPMR,4\n$GPMB,48.5\n";
  const std::string corners = "$GPMBR,a.png,5,48\n$GPMTL, a.png, 1, 50\n$GPMTR,a.png,5,50\n$GPMBL,a.png,1,48\n";
  const std::string ofQv = "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0";
  const std::string ofCorners = "0,0 50.0 1.0; 400,0 50.0 5.0; 0,300 48.0 1.0; 400,300 48.0 5.0";
  const std::tuple<std::string, int, std::string> rows[] = {
      {qv, 1, ofQv},
      {edges, 2, "0,0 50.0 1.0; 400,0 50.0 4.0; 0,300 48.5 1.0; 400,300 48.5 4.0"},
      {corners, 3, ofCorners},
      {qv + corners, 3, ofCorners},
      {corners + qv, 1, ofQv},
      {"; c1_x = 7 = 1\nxc1_x = 7 = 1\n$GPM,\n", 0, ""},
      {"", 0, ""},
  };
  preferences.warnOverwrite = false;
  for (const auto& [content, layout, expected] : rows) {
    EXPECT_EQ(convert("area.cal", content), layout != 0) << content;
    EXPECT_EQ(points(), expected) << content;
    EXPECT_TRUE(logHas("Calform = " + std::to_string(layout)));
  }
  EXPECT_EQ(person.boxTexts(), Texts(2, "Unsupported CAL format"));
  EXPECT_EQ(person.boxes.back().title, "No support");
}

TEST_F(CalFile, HeaderOfQvIsReadInAnyOrder) {
  const char* const rows[][3] = {
      {"", "", "area.png"},
      {"projparams = 10 =  proj=merc lon_0=-3\nPROJ_MODE = 10 = Proj\nfname = 10 = C:\\maps\\Other=1.PNG\n", "mercator",
       "Other=1.png"},
      {"datum1 = 10 = WGS84#1#2\nmap_w = 4 = 999\nproj_mode = 10 =  Frei\nprojparams = 10 = proj=tmerc\nfname = 10 "
       "=\n",
       "frei", "area.png"},
  };
  preferences.warnOverwrite = false;
  makeImage("Other=1.png", 300, 150);
  for (const auto& [header, projection, image] : rows) {
    ASSERT_TRUE(convert("area.cal", std::string(header) + qv)) << header;
    EXPECT_EQ(calibration.projection, projection);
    EXPECT_EQ(calibration.imagePath, folder + image);
    EXPECT_EQ(inputDatumName, "WGS 84");
  }
  EXPECT_EQ(lastBox(), "");
}

TEST_F(WorldFile, DegreesAndMetresAreToldApartBySize) {
  const char* const rows[][3] = {
      {"degrees", "0.1\n0\n0\n-0.1\n-5\n52\n", ""},
      {"at the limits of degrees", "-0.1\n0\n0\n-0.1\n180\n90\n", ""},
      {"grid past 180", "1\n0\n0\n-1\n180.5\n90\n", "No zone chosen"},
      {"largest easting", "1\n0\n0\n-1\n1000000\n5000000\n", "No zone chosen"},
      {"easting too large", "1\n0\n0\n-1\n1000000.5\n5000000\n", "Invalid UTM TFW file"},
      {"easting negative", "1\n0\n0\n-1\n-200\n5000000\n", "Invalid UTM TFW file"},
      {"northing negative", "1\n0\n0\n-1\n500000\n-100\n", "Invalid UTM TFW file"},
      {"no number", "1\n0\nx\n-1\n500000\n100\n", "Line 3 of the world file holds no number"},
  };
  for (const auto& [name, numbers, box] : rows) {
    EXPECT_EQ(read("tfw", numbers).stopped, *box != '\0') << name;
    EXPECT_EQ(lastBox(), box) << name;
    EXPECT_TRUE(person.boxes.empty() || person.boxes.back().title == "TFW Input") << name;
  }
  std::filesystem::remove(folder + "area.png");
  EXPECT_TRUE(read("tfw", rows[0][1]).stopped);
  EXPECT_EQ(lastBox(), "Unable to proceed without matching image");
}

TEST_F(WorldFile, GridIsAskedForEveryFileAnew) {
  const char* const utm = "10\r\n0\r\n0\r\n-10\r\n430000\r\n5800000\r\n";
  const WorldFileAnswer north{Datum::notWgs84, 33, false};
  person.worldFileAnswers = {north};
  person.datums = {datumNumber("EUROPEAN 1950")};
  EXPECT_EQ(read("tfw", utm).datumIndex, datumNumber("EUROPEAN 1950"));
  EXPECT_EQ(inputDatumName, "EUROPEAN 1950");
  EXPECT_EQ(person.datumPrompts, Texts{"Choose to match : TFW file datum"});
  EXPECT_EQ(person.worldFileLines.back(), utm);
  const Texts& zones = person.worldFileZones;
  ASSERT_EQ(zones.size(), 61U);
  EXPECT_EQ(zones[0] + zones[29] + zones[30] + zones[60], " 1 : 174-180W 30 : 0-6W 31 : 6-0EGB-OrdSvy");
  person.datums.clear();
  person.worldFileAnswers = {north};
  EXPECT_EQ(read("tfw", utm).datumIndex, 0);
  EXPECT_EQ(inputDatumName, "TFW file datum");
}

}  // namespace
}  // namespace vellandra
