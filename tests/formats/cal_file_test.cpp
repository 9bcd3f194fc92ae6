#include "formats/cal_file.h"

#include "core_fixture.h"

namespace vellandra {
namespace {

using CalFile = CoreTest;

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
  EXPECT_EQ(person.boxes.back().title, "No support");
}

TEST_F(CalFile, ReadsTheHeaderOfQvInAnyOrder) {
  const char* const rows[][3] = {
      {"", "", "area.png"},
      {"projparams = 10 =  proj=merc lon_0=-3\nPROJ_MODE = 10 = Proj\nfname = 10 = C:\\maps\\Other=1.PNG\n", "mercator",
       "Other=1.png"},
      {"datum1 = 10 = WGS84#1#2\nmap_w = 4 = 999\nproj_mode = 10 =  Frei\nprojparams = 10 = proj=LatLong\n"
       "fname = 10 =\n",
       "frei", "area.png"},
  };
  preferences.warnOverwrite = false;
  makeImage("area.png", 300, 150);
  makeImage("Other=1.png", 300, 150);
  for (const auto& [header, projection, image] : rows) {
    ASSERT_TRUE(convert("area.cal", std::string(header) + qvPoints)) << header;
    EXPECT_EQ(calibration.projection, projection);
    EXPECT_EQ(calibration.imagePath, folder + image);
    EXPECT_EQ(inputDatumName, "WGS 84");
  }
  EXPECT_TRUE(person.boxes.empty()) << person.boxes[0].text;
}

}  // namespace
}  // namespace vellandra
