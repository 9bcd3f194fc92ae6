#include "core_fixture.h"
#include "formats/gmi_file.h"
#include "formats/gux_file.h"
#include "formats/imp_file.h"

namespace vellandra {
namespace {

/// The formats that hold a tie point a line.
class PointReaders : public CoreTest {
 protected:
  PointReaders() { LoadDatums(); }
  ReadResult read(const std::string& extension, const std::string& content) {
    calibration = Calibration();
    const std::string path = folder + "map." + extension;
    writeTestFile(path, content);
    return extension == "gux" ? readGux(path) : extension == "imp" ? readImp(path) : readGmi(path);
  }
};

TEST_F(PointReaders, PlaceAPointOfEveryForm) {
  struct Row {
    const char *extension, *content;
    double latitude, longitude;
  };
  // Grid positions from PROJ 9: utm with ellps=WGS84 or intl, the British grid as tmerc on airy with
  // towgs84=375,-111,431. The degree sign is B0 in Latin-1, C2 B0 in UTF-8.
  const Row rows[] = {
      {"gux", "M E European 1950\nS CalPoint1 = DEG = N35.5 E23.25 = 12 34", 35.5, 23.25},
      {"gux", "S CalPoint1 = DM = S0\xB0 30.0' W23\xB0 15.0' = 12 34", -0.5, -23.25},
      {"gux", "S CalPoint1  =  DMS =  N 35 \xC2\xB0 30'36.0\" E 23\xC2\xB0 15'18.0\"  =  12  34 ", 35.51, 23.255},
      {"gux", "S CalPoint1 = DM = -35 30 -0 15 = 12 34", -35.5, -0.25},
      {"gux", "S CalPoint1 = UTM 33 = 285482 4265890 12 34\nM E  European 1950", 38.514925369, 12.539645163},
      {"gux", "S CalPoint1 = UTM 23K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"gux", "S CalPoint1 = UTM 23 K = 682000 7466000 12 34", -22.904092550, -43.225520626},
      {"gux", "S CalPoint1 = UTM 30T = 443000 4474000 12 34", 40.414671358, -3.671841533},
      {"gux", "S CalPoint1 = BRITISH = 250000 390000 = 12 34", 53.385473509, -4.256880033},
      {"gux", "S CalPoint1 = BRITISH SH = 50000 90000 = 12 34", 53.385473509, -4.256880033},
      {"imp", "Projection=2,UTM,30,\nCoordinates= 1\nP0= 12, 34 ,A, 23.25, -35.5\n", -35.5, 23.25},
      {"imp", "Coordinates=1\n<Header>\nP0=12,34,A,23.25,-35.5\nPROJECTION=2,utm,30,\n", -35.5, 23.25},
      {"imp", "Projection=1, Automatic ,\nP0=12,34,,23.25,-35.5\n", -35.5, 23.25},
      {"imp", "Coordinates=\np0=12,34,,23.25,-35.5\nprojection=1,Transversal Mercator", -35.5, 23.25},
      {"imp", "Projection=2,UTM,30,\nP0=12,34,30T,443000,4474000", 40.414671358, -3.671841533},
      {"imp", "Coordinates=0\nProjection=1,Automatic\nP0=12,34,30,443000,4474000", 40.414671358, -3.671841533},
      {"imp", "Coordinates=0\nP0=12,34,23K,682000,7466000\n", -22.904092550, -43.225520626},
      {"imp", "P0=12,34,33S,285482,4265890\nProjection=2,UTM,33\nDatum= European 1950", 38.514925369, 12.539645163},
      {"gmi", "title\nmap.png\n100\n200\n\n 12 ; 34 ; 23.25 ; -35.5\nBorder\n1;2;3;4", -35.5, 23.25},
      {"gmi", "title\nmap.png\n\n\n12;34;23.25;-35.5", -35.5, 23.25},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.content);
    EXPECT_GT(read(row.extension, row.content).datumIndex, 0);
    ASSERT_EQ(calibration.pointCount, 1);
    EXPECT_NEAR(calibration.latitude[1], row.latitude, 2e-9);
    EXPECT_NEAR(calibration.longitude[1], row.longitude, 2e-9);
    EXPECT_EQ(calibration.pixelX[1], 12);
    EXPECT_EQ(calibration.pixelY[1], 34);
    EXPECT_TRUE(calibration.message.empty()) << calibration.message;
  }
  EXPECT_TRUE(person.boxes.empty());
}

TEST_F(PointReaders, LeaveOutAndReportWhatIsNoPosition) {
  const char* const rows[][2] = {
      {"gux", "S CalPoint1 = DEG = Nnorth E23.25 = 12 34"},
      {"gux", "S CalPoint1 = DEG = E23.25 N35.5 = 12 34"},
      {"gux", "S CalPoint1 = DM = N35 E23 15 = 12 34"},
      {"gux", "S CalPoint1 = DEG = N35.5 E23.25 = 12"},
      {"gux", "S CalPoint1 = UTM 61 = 285482 4265890 12 34"},
      {"gux", "S CalPoint1 = UTM = 285482"},
      {"gux", "S CalPoint1 = BRITISH S1 = 5000 9000 = 12 34"},
      {"gux", "S CalPoint1 = GRID 1 2 3 4"},
      {"imp", "Coordinates=1\nP0=1,2,A,3,north"},
      {"imp", "Coordinates=1\nP0=1,2,A,3,4\nP0=1,2,A,3,north"},
      {"gmi", "title\nmap.png\n1\n1\n1;2;3;north"},
  };
  for (const auto& [extension, content] : rows) {
    read(extension, content);
    EXPECT_EQ(calibration.pointCount, 0) << content;
    EXPECT_NE(calibration.message.find("Point"), std::string::npos) << content;
  }
  read("imp", "Projection=8,Mercator,\nP0=0,0,A,1,2\nP1=9,0,A,2,2\n");
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>{"Unknown IMP Projection/Coordinates"});
  EXPECT_EQ(calibration.pointCount, 0);
}

TEST_F(PointReaders, MixBritishPointsWithOthersAndAskForADatumOnlyThen) {
  const std::string britishPoint = "S CalPoint1 = BRITISH = 250000 390000 = 0 0\n";
  const std::string other = "S CalPoint2 = DEG = N38.5 E13.25 = 9 9\n";
  EXPECT_EQ(read("gux", "M E    European 1950\n" + britishPoint + other).datumIndex, matchDatum("WGS 84"));
  EXPECT_NEAR(calibration.latitude[1], 53.385473509, 2e-9);
  EXPECT_NEAR(calibration.latitude[2], 38.498946416, 2e-7);  // PROJ: intl with towgs84=-87,-98,-121
  EXPECT_NEAR(calibration.longitude[2], 13.249135085, 2e-7);
  EXPECT_GT(read("gux", "M E Nowhere\n" + britishPoint).datumIndex, 0);
  EXPECT_EQ(person.datumPrompts.size(), 0U);
  EXPECT_EQ(read("gux", britishPoint + other + "M E   Nowhere").datumIndex, 0);
  EXPECT_EQ(person.datumPrompts, std::vector<std::string>{"Choose to match : NOWHERE"});
}

TEST_F(PointReaders, LoseNoPointNumberWithoutAWord) {
  std::string gux;
  std::string gmi = "title\nmap.png\n1\n1\n";
  for (int i = 1; i <= 11; ++i) gux += "S CalPoint" + std::to_string(i) + "=DEG N3 E4 1 " + std::to_string(i) + "\n";
  read("gux", gux);
  EXPECT_EQ(calibration.pointCount, 10);
  EXPECT_EQ(calibration.pixelY[10], 10);
  EXPECT_EQ(calibration.pixelY[1], 11);
  EXPECT_NE(calibration.message.find("given more than once, the last one counts: 1"), std::string::npos);

  read("imp", "\xEF\xBB\xBFMap\r\nCoordinates=1\r\nP0=1,2,A,3,4\r\nP9=5,6,A,7,8\r\nP10=9,9,A,9,9\r\nPX=9,9,A,9,9\r\n");
  ASSERT_EQ(calibration.pointCount, 2);  // the gap is closed
  EXPECT_EQ(calibration.pixelY[2], 6);

  for (int i = 1; i <= 50; ++i) gmi += "1;2;3;4\n";
  read("gmi", gmi);
  EXPECT_EQ(calibration.pointCount, 50);
  EXPECT_THROW(read("gmi", gmi + "1;2;3;4"), SubscriptOutOfRange);
}

TEST_F(PointReaders, TakeImageAndSizeFromTheFileButNoFolder) {
  const char* const rows[][3] = {
      {"gux", "S Image = C:\\maps\\My old map.v2.png", "My old map.v2.png"},
      {"gux", "S Image=../other/a.jpg ", "a.jpg"},
      {"gux", "S Image plain map.png", "plain map.png"},
      {"gux", "U S Image = no.png", "map.png"},
      {"gmi", "title\nC:\\maps\\my.old map.png \n 100 \n200\n", "my.old map.png"},
      {"imp", "Bitmap=other.gif\nBitmapWidth= 100\nBitmapHeight=200", "map.png"},
  };
  for (const auto& [extension, content, name] : rows) {
    read(extension, content);
    EXPECT_EQ(calibration.imagePath, folder + name) << content;
    EXPECT_EQ(calibration.imageWidth, *extension == 'g' && extension[1] == 'u' ? 0 : 100);
    EXPECT_EQ(calibration.imageHeight, calibration.imageWidth * 2);
  }
}

}  // namespace
}  // namespace vellandra
