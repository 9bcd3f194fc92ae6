// The files that a conversion leaves, to the letter.

#include "formats/map_file.h"
#include "map_fixture.h"
#include "support/text.h"

namespace vellandra {
namespace {

using WrittenFiles = MapTest;

std::string withCrLf(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '\n' ? std::string("\r\n") : std::string(1, c);
  return result;
}

// Every file of fixtures/written, which holds LF for CR LF and "FOLDER/" for the folder, is written to the letter.
TEST_F(WrittenFiles, OfARotatedAndOfATurnedMap) {
  makeImage("cape.png", 640, 480);
  makeImage("turn.png", 201, 101);
  ASSERT_TRUE(convert("cape.jpr", "pr=X\nrp1=-33.5,-3.25,0,0\nrp2=-32.9,2.75,600,0\nrp3=-34.9,3.55,600,400"));
  EXPECT_TRUE(panelHas("Projection x\r\n"));
  ASSERT_TRUE(convert("turn.gmi", "t\nturn.png\n201\n101\n0;0;1;50\n200;0;1;48\n200;100;4;48"));
  for (const auto& entry : std::filesystem::directory_iterator(FIXTURES "/written")) {
    const std::string name = entry.path().filename();
    EXPECT_TRUE(name == "area.map" || written(name) == withCrLf(contentOf(entry.path()))) << written(name);
  }
  ASSERT_TRUE(convert("turn.jpr", written("turn.jpr")));
  EXPECT_TRUE(panelHas("The .gmi file is written without its scale, which cannot be computed for this map\r\n"));
}

TEST_F(WrittenFiles, OfAMapWithHalfADegreeSouthAndMinutesThatRoundUp) {
  calibration.imagePath = folder + "area.png";
  calibration.imageWidth = 1024, calibration.imageHeight = 768;
  calibration.pointCount = 2;
  calibration.points[1].setPixel(3, 4);
  calibration.points[1].setPosition(-0.5, 179.9999999999);
  calibration.points[2].setPixel(1000, 700);
  calibration.points[2].setPosition(50.508333333, -1.25);
  calibration.x0 = 10, calibration.tf1 = 0.001, calibration.y0 = 50, calibration.tf4 = -0.001;
  driver.metresPerPixel = 7.25;
  std::filesystem::create_directory(folder + "tiles");
  ASSERT_EQ(putmap(folder + "tiles"), WriteOutcome::written);
  EXPECT_EQ(written("tiles/area.map"),
            replaceToken(withCrLf(contentOf(FIXTURES "/written/area.map")), "FOLDER/", folder));
  EXPECT_EQ(putmap(folder + "none"), WriteOutcome::failed);
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
  const std::pair<const char*, const char*> rows[] = {
      {"Mön.js", "tf1=0.002000000\ntf2=0.000000000\ntf3=0.000000000\ntf4=-0.001041667\n"},
      {"Mön.js", "proj='M'\nmy0=1.124177216\nmy1=1.109418828\n"},
      {"Mön.map", "Version 2.2\nM\xF6n.png\n"},
      {"Mön.map", "\nMap Projection, Mercator, Polycal, No, AutoCalOnly, No, BSBUseWPX, No\n"},
      {"again_png.cal", "proj_mode = 10 = proj\nprojparams = 10 = proj=merc lon_0=-3\n"},
  };
  EXPECT_FALSE(fileExists(folder + "Mön_png.cal"));
  const std::string two = "0,0 54.0 -3.2; 650,480 53.5 -1.9", three = two + "; 650,0 54.0 -1.9";
  EXPECT_EQ(points(), two) << "points made up for the writers stay";

  // Each of the two formats reads what it wrote back to the same points.
  preferences.warnOverwrite = false;
  makeImage("again.png", 650, 480);
  ASSERT_TRUE(convert("again.jpr", jpr));
  EXPECT_EQ(points(), three);
  ASSERT_TRUE(convert("again.cal", written("again_png.cal")));
  EXPECT_EQ(points(), three + "; 433,160 53.833994 -2.334");
  EXPECT_EQ(calibration.projection, "mercator");
  for (const auto& [file, text] : rows) EXPECT_NE(written(file).find(withCrLf(text)), std::string::npos) << text;

  // A file of numbers alone has no encoding, and leaves none behind.
  ASSERT_TRUE(convert("Mön.mcd", written("Mön.mcd")));
  EXPECT_TRUE(written("Mön.jpr").starts_with("nm=Mön.png\r\n"));
  ASSERT_TRUE(convert("Mön.cal", input));
  EXPECT_TRUE(written("Mön.jpr").starts_with("nm=M\xF6n.png\r\n"));
}

TEST_F(WrittenFiles, OfTheInputsOwnFormatOnlyWhenTheDatumChanges) {
  const std::string jpr = "rp1=50,1,0,0\nrp2=50,3,399,0\nrp3=49,3,399,299\n";
  // clang-format off
  const std::tuple<std::string, std::string, bool> rows[] = {
      {"map", mapOn("Tokyo", threePoints),                true},
      {"map", mapOn("WGS 84", threePoints),               false},
      {"jpr", jpr + "dm=Tokyo",                           true},
      {"jpr", jpr,                                        false},
      {"tfw", "10\n0\n0\n-10\n430000\n5800000\n",   true},
      {"tfw", "0.1\n0\n0\n-0.1\n5\n52\n",           false},
  };
  // clang-format on
  preferences.warnOverwrite = false;
  for (const auto& [type, content, changes] : rows) {
    for (const bool writeWgs84 : {false, true}) {
      SCOPED_TRACE(type + std::to_string(changes) + std::to_string(writeWgs84));
      preferences.writeWgs84 = writeWgs84;
      person.worldFileAnswers = {{WorldFileAnswer::Datum::notWgs84, 33, false}};
      person.datums = {datumNumber("Tokyo")};
      ASSERT_TRUE(convert("area." + type, content)) << calibration.message;
      EXPECT_EQ(written("area." + type), content);
      EXPECT_EQ(std::filesystem::remove(folder + "areawgs84." + type), changes && writeWgs84);
      EXPECT_TRUE(std::filesystem::remove(folder + "area.js")) << "the others are written";
    }
  }
}

}  // namespace
}  // namespace vellandra
