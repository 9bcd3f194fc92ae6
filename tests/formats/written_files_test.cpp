// The files that a conversion leaves, to the letter.

#include <functional>

#include "core_fixture.h"
#include "formats/jpr_file.h"
#include "formats/map_file.h"
#include "formats/world_file.h"

namespace vellandra {
namespace {

using WrittenFiles = CoreTest;

std::string withCrLf(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return result;
}

TEST_F(WrittenFiles, OfARotatedMapSouthAndWest) {
  makeImage("cape.png", 640, 480);
  ASSERT_TRUE(convert("cape.jpr", "pr=X\nrp1=-33.5,-3.25,0,0\nrp2=-32.9,2.75,600,0\nrp3=-34.9,3.55,600,400"));
  EXPECT_TRUE(panelHas("Projection x\r\n"));
  EXPECT_EQ(written("cape.tfw"),
            withCrLf("0.010000000\n0.001000000\n0.002000000\n-0.005000000\n-3.2500000\n-33.5000000\n"));
  EXPECT_EQ(written("cape.js"), withCrLf("/* parameters for clickable map ex VELLANDRA */\n"
                                         "tf1=0.010000000\ntf2=0.001000000\ntf3=0.002000000\ntf4=-0.005000000\n"
                                         "x0=-3.2500000\ny0=-33.5000000\nproj='X'\nmy0=0.000000000\nmy1=0.000000000\n"
                                         "high=480\nwide=640\n"
                                         "/* end of parameters for clickable map ex VELLANDRA */\n"));
  EXPECT_EQ(written("cape.txt"), withCrLf("width = 000640\nheight = 000480\ngrid = 3\n"
                                          "ref1x = 000000\nref1y = 000000\nlat1 = -33.500000\nlon1 = -3.250000\n"
                                          "ref2x = 000600\nref2y = 000400\nlat2 = -34.900000\nlon2 = 3.550000\n"));
  EXPECT_EQ(
      written("cape_png.cal"),
      withCrLf("; Calibration file for QV map\n; VELLANDRA Conversion program by Corvane\n"
               "name = 10 = cape.png\nfname = 10 = cape.png\nproj_mode = 10 = frei\n"
               "projparams = 10 = proj=LatLong\ndatum1 = 10 = WGS 84# 6378137# 298.257223563# 0# 0# 0#\n"
               "c1_x = 7 = 0\nc1_y = 7 = 0\nc2_x = 7 = 600\nc2_y = 7 = 0\nc3_x = 7 = 600\nc3_y = 7 = 400\n"
               "c4_x = 7 = 400\nc4_y = 7 = 133\n"
               "c1_lat = 7 = -33.500000\nc1_lon = 7 = -3.250000\nc2_lat = 7 = -32.900000\nc2_lon = 7 = 2.750000\n"
               "c3_lat = 7 = -34.900000\nc3_lon = 7 = 3.550000\nc4_lat = 7 = -33.765000\nc4_lon = 7 = 1.016000\n"));
  EXPECT_EQ(written("cape.gmi"),
            withCrLf("Map Calibration data file v3.0\ncape.jpg\n640\n480\n0;0;-3.25000000;-33.50000000\n"
                     "600;0;2.75000000;-32.90000000\n600;400;3.55000000;-34.90000000\n"
                     "400;133;1.01600000;-33.76500000\nBorder and Scale\n"
                     "-33.50000000;-3.25000000;-35.25600000;4.09800000\n100.0000000;200.0000000\n"));
}

TEST_F(WrittenFiles, OfAMapThatIsTurnedByARightAngle) {
  makeImage("turn.png", 201, 101);
  ASSERT_TRUE(convert("turn.gmi", "t\nturn.png\n201\n101\n0;0;1;50\n200;0;1;48\n200;100;4;48"));
  EXPECT_EQ(written("turn.jpr"), withCrLf("nm=turn.png\npr=equirectangular\nit=png\nsr=254\nst=0.000000\nsn=0.000000\n"
                                          "dm=WGS84\nrp1=50.000000,1.000000,0,0\nrp2=48.000000,1.000000,200,0\n"
                                          "rp3=48.000000,4.000000,200,100\n"));
  ASSERT_TRUE(convert("turn.jpr", "rp1=50,1,0,0\nrp2=48,1,200,0\nrp3=48,4,200,100"));
  EXPECT_TRUE(panelHas("The .gmi file is written without its scale, which cannot be computed for this map\r\n"));
}

// Two points: the .jpr gets three, what is written later four. Figures from asinh(tan(latitude)).
TEST_F(WrittenFiles, OfAMercatorMapWithANameInWindows1252) {
  makeImage("Mön.png", 650, 480);
  const std::string input =
      "fname = 10 = M\xF6n.png\nprojparams = 10 = proj=merc\nc1_x = 7 = 0\nc1_y = 7 = 0\nc1_lat = 7 = 54\n"
      "c1_lon = 7 = -3.2\nc2_x = 7 = 650\nc2_y = 7 = 480\nc2_lat = 7 = 53.5\nc2_lon = 7 = -1.9\n";
  ASSERT_TRUE(convert("Mön.cal", input));
  const std::string jpr = written("Mön.jpr");
  EXPECT_EQ(jpr, withCrLf("nm=M\xF6n.png\npr=mercator\nit=png\nsr=254\nst=0.000000\nsn=0.000000\ndm=WGS84\n"
                          "rp1=54.000000,-3.200000,0,0\nrp2=53.500000,-1.900000,650,480\n"
                          "rp3=54.000000,-1.900000,650,0\n"));
  const std::string js = written("Mön.js");
  EXPECT_NE(js.find("tf1=0.002000000\r\ntf2=0.000000000\r\ntf3=0.000000000\r\ntf4=-0.001041667\r\n"),
            std::string::npos);
  EXPECT_NE(js.find("proj='M'\r\nmy0=1.124177216\r\nmy1=1.109418828\r\n"), std::string::npos) << js;
  const std::string map = written("Mön.map");
  EXPECT_EQ(map.find("\r\nM\xF6n.png\r\n"), 37U);
  EXPECT_NE(map.find("\r\nMap Projection, Mercator, Polycal, No, AutoCalOnly, No, BSBUseWPX, No\r\n"),
            std::string::npos);
  EXPECT_FALSE(fileExists(folder + "Mön_png.cal"));
  const std::string four = points();
  EXPECT_EQ(four, "0,0 54.0 -3.2; 650,480 53.5 -1.9; 650,0 54.0 -1.9; 433,160 53.833994 -2.334");

  // Each of the two formats reads what it wrote back to the same points.
  preferences.warnOverwrite = false;
  makeImage("again.png", 650, 480);
  ASSERT_TRUE(convert("again.jpr", jpr));
  EXPECT_EQ(points(), four);
  const std::string cal = written("again_png.cal");
  EXPECT_NE(cal.find("proj_mode = 10 = proj\r\nprojparams = 10 = proj=merc lon_0=-3\r\n"), std::string::npos) << cal;
  ASSERT_TRUE(convert("again.cal", cal));
  EXPECT_EQ(points(), four);
  EXPECT_EQ(calibration.projection, "mercator");

  // A file of numbers alone has no encoding, and leaves none behind.
  ASSERT_TRUE(convert("Mön.mcd", written("Mön.mcd")));
  EXPECT_TRUE(written("Mön.jpr").starts_with("nm=Mön.png\r\n"));
  ASSERT_TRUE(convert("Mön.cal", input));
  EXPECT_TRUE(written("Mön.jpr").starts_with("nm=M\xF6n.png\r\n"));
}

TEST_F(WrittenFiles, OfTheInputsOwnFormatOnlyWhenTheDatumChanges) {
  struct Row {
    bool own;
    const char* datum;
    bool writeWgs84;
    const char* base;  ///< of what is written; empty: nothing
  };
  const Row rows[] = {{false, "WGS 84", false, "area."},   {true, "WGS 84", false, ""},
                      {true, "WGS 84", true, ""},          {true, "TOKYO", false, ""},
                      {true, "TOKYO", true, "areawgs84."}, {false, "TOKYO", true, "area."}};
  const std::pair<std::string, std::function<WriteOutcome()>> writers[] = {
      {"map", [] { return putmap(); }}, {"tfw", writeWorldFile}, {"jpr", writeJpr}};
  driver.inputFolder = folder;
  driver.inputBase = "area";
  calibration.imagePath = folder + "area.png";
  calibration.cornerCount = 1;
  for (const auto& [type, write] : writers) {
    for (const Row& row : rows) {
      driver.inputType = row.own ? type : "gmi";
      inputDatumName = row.datum;
      preferences.writeWgs84 = row.writeWgs84;
      EXPECT_EQ(write(), *row.base == '\0' ? WriteOutcome::skipped : WriteOutcome::written) << type;
      for (const char* base : {"area.", "areawgs84."}) {
        EXPECT_EQ(std::filesystem::remove(folder + base + type), std::string(base) == row.base) << type << row.datum;
      }
    }
  }
}

}  // namespace
}  // namespace vellandra
