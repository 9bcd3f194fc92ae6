#include "formats/cal_file.h"

#include "formats/conversion_test.h"

namespace vellandra {
namespace {

using CalFile = ConversionTest;

constexpr const char* qvPoints =
    "c3_lon = 7 =  3\nc3_lat = 7 =  49\nc3_x = 7 =  200.000000\nc3_y = 7 =  100.4\nc1_x = 7 = 0\nc1_y = 7 = 0\n"
    " C1_Lat = 7 = 50\nC1_LON = 7 = 1\nc2_x = 7 = 200\nc2_y = 7 = 0\nc2_lat = 7 = 50\nc2_lon = 7 = 3\n";
constexpr const char* triangle = "0,0 50.0 1.0; 200,0 50.0 3.0; 200,100 49.0 3.0; 133,33 49.67 2.33";
constexpr const char* edges = "$GPML,1\n$GPMT,50\n$GPMR,4\n$GPMB,48.5\n";
constexpr const char* edgePoints = "0,0 50.0 1.0; 300,0 50.0 4.0; 0,150 48.5 1.0; 300,150 48.5 4.0";
constexpr const char* corners = "$GPMBR,a.png,4,48.5\n$GPMTL, a.png, 1, 50\n$GPMTR,a.png,4,50\n$GPMBL,a.png,1,48.5\n";

TEST_F(CalFile, TellsTheLayoutByItsLastTellingLine) {
  struct Row {
    const char* name;
    std::string content;
    int layout;
    const char* points;
  };
  const Row rows[] = {
      {"QV", qvPoints, 1, triangle},
      {"edges", edges, 2, edgePoints},
      {"corners", corners, 3, edgePoints},
      {"QV before corners", std::string(qvPoints) + corners, 3, edgePoints},
      {"corners before QV", std::string(corners) + qvPoints, 1, triangle},
      {"comment and a key that only holds the mark", "; c1_x = 7 = 1\nxc1_x = 7 = 1\n$GPM,\n", 0, ""},
      {"empty", "", 0, ""},
  };
  preferences.warnOverwrite = false;
  makeImage("area.png", 300, 150);
  for (const Row& row : rows) {
    EXPECT_EQ(convert("area.cal", row.content), row.layout != 0) << row.name;
    EXPECT_EQ(points(), row.points) << row.name;
    const std::string logged = log();
    EXPECT_EQ(logged.substr(logged.rfind("Calform = ") + 10, 1), std::to_string(row.layout)) << row.name;
  }
  EXPECT_EQ(person.boxTexts(), std::vector<std::string>(2, "Unsupported CAL format"));
}

TEST_F(CalFile, ReportsWhatIsMissingInsteadOfTakingZero) {
  struct Row {
    const char* name;
    std::string content;
    const char* missing;
  };
  const Row rows[] = {
      {"QV latitude that is no number",
       std::string(qvPoints) + "c4_x = 7 = 5\nc4_y = 7 = 9\nc4_lat = 7 = N\nc4_lon = 7 = 1", "4"},
      {"QV keys that are almost points",
       std::string(qvPoints) + "c_x = 7 = 5\ncx_lat = 7 = 5\nc1e1_y = 7 = 5\ncalc_lon = 7 = 1\nc_ = 1\nc=\nc6_x",
       "4, 5, 6"},
      {"edge", "$GPML,1\n$GPMT,50\n$GPMR,4\n", "3, 4"},
      {"corner", "$GPMTL,a,1,50\n$GPMTR,a,4,50\n$GPMBR,a,4\n$GPMBL,a,1,48.5\n", "4"},
  };
  preferences.warnOverwrite = false;
  makeImage("area.png", 300, 150);
  for (const Row& row : rows) {
    calibration.message.clear();
    convert("area.cal", row.content);
    const std::string line = std::string("readable position: ") + row.missing + "\r\n";
    EXPECT_NE(calibration.message.find(line), std::string::npos) << row.name << "\n" << calibration.message;
  }
  for (const char* lines : {"c1_x = 7 = 1\nc51_lat = 7 = 1", "c1_x = 7 = 1\nc4294967297_x = 7 = 1"}) {
    writeTestFile(folder + "area.cal", lines);
    EXPECT_THROW(readCal(folder + "area.cal"), SubscriptOutOfRange) << lines;
  }
}

TEST_F(CalFile, ReadsTheHeaderOfQvInAnyOrder) {
  struct Row {
    const char* header;
    const char* projection;
    const char* image;
  };
  const Row rows[] = {
      {"", "", "area.png"},
      {"projparams = 10 =  proj=merc lon_0=-3\nPROJ_MODE = 10 = Proj\nfname = 10 = C:\\maps\\Other=1.PNG\n", "mercator",
       "Other=1.png"},
      {"datum1 = 10 = WGS84#1#2\nmap_w = 4 = 999\nproj_mode = 10 =  Frei\nprojparams = 10 = proj=LatLong\nfname = 10 "
       "=\n",
       "frei", "area.png"},
  };
  preferences.warnOverwrite = false;
  makeImage("area.png", 300, 150);
  makeImage("Other=1.png", 300, 150);
  for (const Row& row : rows) {
    ASSERT_TRUE(convert("area.cal", std::string(row.header) + qvPoints)) << row.header;
    EXPECT_EQ(calibration.projection, row.projection);
    EXPECT_EQ(calibration.imagePath, folder + row.image);
    EXPECT_EQ(inputDatumName, "WGS 84");
  }
  EXPECT_TRUE(person.boxes.empty()) << person.boxes[0].text;
}

}  // namespace
}  // namespace vellandra
