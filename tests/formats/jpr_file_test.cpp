#include "formats/jpr_file.h"

#include "formats/conversion_test.h"

namespace vellandra {
namespace {

using JprFile = ConversionTest;

constexpr const char* threePoints = "rp1=50,1,0,0\nrp2=50,3,200,0\nrp3=49,3,200,100\n";
constexpr const char* missing = "Points missing or without a readable position: ";

TEST_F(JprFile, ReadsEveryRecordThatCanBeReadAndReportsTheOthers) {
  struct Row {
    const char* name;
    std::string lines;
    const char* points;
    std::string panel;
  };
  const Row rows[] = {
      {"in any order, blanks, junk behind a number", " rp2 = 50 , 3 ,200,0px\nrp3=49,3,200,100\nrp1=50,1,0,0,7,8",
       "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0; 133,33 49.67 2.33", "Projection \r\n"},
      {"other records, and keys that are almost points",
       std::string("rp=9,9,9,9\nrpx=9,9,9,9\nvp3=300,150\nvp31=9,9\n\n=,\nxx\npr= Equi\n") + threePoints,
       "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0; 133,33 49.67 2.33", "Projection equi\r\n"},
      {"a latitude that is no number is not the equator", std::string(threePoints) + "rp4=,1,0,100",
       "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0; 133,33 49.67 2.33", missing + std::string("4\r\n")},
      {"gap, and a last point of which nothing can be read", "rp2=50,1,0,0\nrp12=49,3,200,100\nrp3=50,3,200,0\nrp14=",
       "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0; 133,33 49.67 2.33",
       missing + std::string("1, 4, 5, 6, 7, 8, 9, 10, 11, 13, 14\r\n")},
  };
  preferences.warnOverwrite = false;
  makeImage("area.png", 300, 150);
  for (const Row& row : rows) {
    calibration.message.clear();
    EXPECT_TRUE(convert("area.jpr", row.lines)) << row.name;
    EXPECT_EQ(points(), row.points) << row.name;
    EXPECT_NE(calibration.message.find(row.panel), std::string::npos) << row.name << "\n" << calibration.message;
  }
  EXPECT_TRUE(person.boxes.empty()) << person.boxes[0].text;
}

TEST_F(JprFile, ShiftsItsDatumAndWritesItselfOnlyThen) {
  makeImage("sicily.png", 680, 480);
  const std::string lines =
      "rp1=38.514923,12.539643,30,40\nrp2=38.416308,15.921669,645,25\nrp3=36.580012,15.793837,655,450";
  preferences.writeWgs84 = true;
  ASSERT_TRUE(convert("sicily.jpr", "dm=WGS84\n" + lines));
  EXPECT_FALSE(fileExists(folder + "sicilywgs84.jpr"));
  preferences.warnOverwrite = false;
  ASSERT_TRUE(convert("sicily.jpr", "dm=European 1950\n" + lines));
  // PROJ, with the three parameters of the datum table
  EXPECT_NE(written("sicilywgs84.jpr")
                .find("\r\nrp1=38.513864,12.538763,30,40\r\nrp2=38.415272,15.920863,645,25\r\n"
                      "rp3=36.578942,15.793048,655,450\r\n"),
            std::string::npos);
}

TEST_F(JprFile, RefusesPointNumbersThatHaveNoSlot) {
  for (const char* lines : {"rp51=1,2,3,4", "rp-1=1,2,3,4", "rp99999999999=1,2,3,4"}) {
    writeTestFile(folder + "area.jpr", lines);
    EXPECT_THROW(readJpr(folder + "area.jpr"), SubscriptOutOfRange) << lines;
  }
}

}  // namespace
}  // namespace vellandra
