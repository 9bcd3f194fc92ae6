#include "calibration/map_grid.h"

#include <gtest/gtest.h>

#include <cmath>

#include "geodesy/datum.h"

namespace vellandra {
namespace {

const GridProjection degrees{PointGrid()};

/// Degrees and pixels in simple proportion.
Calibration mapOf(int width, int height, double west, double north, double perX, double perY) {
  Calibration map;
  map.imageWidth = static_cast<std::int16_t>(width);
  map.imageHeight = static_cast<std::int16_t>(height);
  map.x0 = west, map.y0 = north;
  map.tf1 = perX, map.tf4 = -perY;
  return map;
}

TEST(MapGrid, DegreesFollowRotationAndMercator) {
  Calibration turned = mapOf(1000, 800, 5, 45, 0.0013, 0.0009);
  turned.tf3 = 0.0004, turned.tf2 = 0.0003;
  Calibration mercator = mapOf(1000, 800, 5, 45, 0.05, 0.04);  // 45 N to 13 N
  mercator.projection = "mercator";
  mercator.mercatorTop = 0.881373587, mercator.mercatorBottom = 0.228846;
  for (const Calibration& map : {turned, mercator}) {
    for (const ImagePart& part :
         {ImagePart{0, 0, 1000, 800}, ImagePart{300, 300, 366, 350}, ImagePart{320, 330, 326, 335}}) {
      const std::vector<GridLine> lines = gridLines(map, degrees, part, (part.right - part.left) / 5, 0.01, {});
      int latitudes = 0;
      for (const GridLine& line : lines) {
        latitudes += line.isNorthing ? 1 : 0;
        EXPECT_EQ(line.pieces.size(), 1U) << "it is straight";
        for (const Pixel& at : line.pieces[0]) {
          const Position position = positionAt(map, at.x - 0.5, at.y - 0.5);
          EXPECT_NEAR(line.isNorthing ? position.latitude : position.longitude, line.value, 1e-7) << line.label;
          EXPECT_TRUE(at.x > part.left - 1e-6 && at.y > part.top - 1e-6 && at.x < part.right + 1e-6 &&
                      at.y < part.bottom + 1e-6);
        }
      }
      EXPECT_GE(latitudes, 1);
      EXPECT_GE(static_cast<int>(lines.size()) - latitudes, 1);
      EXPECT_LT(lines.size(), 20U);
    }
  }
  turned.tf1 = turned.tf3 = 0;
  EXPECT_TRUE(gridLines(turned, degrees, {0, 0, 1000, 800}, 80, 0.01, {}).empty()) << "no way back";
}

TEST(MapGrid, LabelsAreRoundAndStepsThoseOfPrintedMaps) {
  const PointGrid utm{.grid = EntryGrid::utm, .zone = 31};
  const struct {
    DegreeFormat format;
    double west, perPixel;
    const char *label, *other;
    PointGrid grid = {};
  } rows[] = {
      {DegreeFormat::decimalDegrees, -0.5, 0.004, "|0.5\u00B0 N|", "|0.5\u00B0 W|"},
      {DegreeFormat::decimalDegrees, -0.5, 0.001, "|0\u00B0 10' N|", "|0\u00B0 20' W|"},  // no 0.2 degrees
      {DegreeFormat::degreesMinutes, -0.5, 0.001, "|0\u00B0 30' W|", "|0\u00B0 00'|"},
      {DegreeFormat::degreesMinutesSeconds, -0.5, 0.00002, "|0\u00B0 29' 20\" N|", "|0\u00B0 29' 50\" W|"},
      {DegreeFormat::decimalDegrees, 179.9, 0.004, "|179.5\u00B0 W|", "|180.0\u00B0 E|"},  // longitudes go on past 180
      {DegreeFormat::decimalDegrees, 362.9, 0.0001, "|492 km E|", "|50 km N|", utm},       // 3 E is the zone's middle
      {DegreeFormat::decimalDegrees, 3, 0.000001, "|500.04 km E|", "|55.24 km N|", utm},
      {DegreeFormat::decimalDegrees, -170, 0.4, "|45\u00B0 E|", "|90\u00B0 W|", utm},  // the zone knows no other side
  };
  for (const auto& row : rows) {
    const Calibration map = mapOf(1000, 1000, row.west, 0.5, row.perPixel, row.perPixel);
    std::string labels = "|";
    for (const GridLine& line : gridLines(map, GridProjection(row.grid), {0, 0, 1000, 1000}, 100, 0.1, row.format)) {
      labels += line.label + "|";
    }
    EXPECT_NE(labels.find(row.label), std::string::npos) << row.label << " in " << labels;
    EXPECT_NE(labels.find(row.other), std::string::npos) << row.other << " in " << labels;
  }
}

/// How far a pixel lies from a line, in pixels.
double distanceTo(const GridLine& line, const Pixel& pixel) {
  double nearest = INFINITY;
  for (const auto& [from, to] : line.pieces) {
    const double dx = to.x - from.x, dy = to.y - from.y;
    const double along = ((pixel.x - from.x) * dx + (pixel.y - from.y) * dy) / (dx * dx + dy * dy);
    const double t = std::min(std::max(along, 0.0), 1.0);
    nearest = std::min(nearest, std::hypot(pixel.x - from.x - t * dx, pixel.y - from.y - t * dy));
  }
  return nearest;
}

// Degrees on WGS 84 by PROJ 9.1, cs2cs, from +proj=tmerc +lat_0=49 +lon_0=-2 +k=0.9996012717 +x_0=400000 +y_0=-100000
// +ellps=airy +towgs84=375,-111,431; +proj=tmerc +lat_0=53.5 +lon_0=-8 +k=1.000035 +x_0=200000 +y_0=250000
// +a=6377340.189 +b=6356034.447 +towgs84=506,-122,611; +proj=utm +zone=33 +ellps=intl +towgs84=-87,-98,-121.
TEST(MapGrid, MetreLinesRunWhereThePrintedOnesDo) {
  datumTable = DatumTable();
  datumTable.count = 2;
  datumTable.name = {"", irishDatumName, "EUROPEAN 1950"};
  datumTable.dA = {0, 796.811, -251};
  datumTable.dF = {0, 0.000011960046012, -0.000014192679494};
  datumTable.dX = {0, 506, -87}, datumTable.dY = {0, -122, -98}, datumTable.dZ = {0, 611, -121};
  struct Place {
    int easting, northing;  // km
    double longitude, latitude;
  };
  const struct {
    const char* name;
    PointGrid grid;
    Place places[5];
  } sheets[] = {
      {"British",
       {.grid = EntryGrid::british},
       {{260, 355, -4.09125167, 53.07381655},
        {252, 352, -4.20919427, 53.04471123},
        {268, 352, -3.97068381, 53.04890278},
        {253, 359, -4.19748978, 53.10786559},
        {267, 358, -3.98807469, 53.10255777}}},
      {"Irish",
       withOwnDatum({.grid = EntryGrid::irish}),
       {{310, 230, -6.35051736, 53.30910220},
        {302, 227, -6.47144855, 53.28375564},
        {318, 227, -6.23167394, 53.28044066},
        {303, 234, -6.45419093, 53.34643446},
        {317, 233, -6.24444881, 53.33454654}}},
      {"UTM",
       {.grid = EntryGrid::utm, .datum = "EUROPEAN 1950", .zone = 33},
       {{280, 4180, 12.50245027, 37.73917922},
        {272, 4177, 12.41268405, 37.71020903},
        {288, 4177, 12.59404025, 37.71405179},
        {273, 4184, 12.42183106, 37.77348590},
        {287, 4183, 12.58094572, 37.76785081}}},
  };
  for (const auto& sheet : sheets) {
    // Five metres a pixel, turned by 20 degrees about the first place, which is in the middle.
    const double perLongitude = 111320 * std::cos(sheet.places[0].latitude * 3.14159 / 180), perLatitude = 111200;
    Calibration map;
    map.imageWidth = 4000, map.imageHeight = 3600;
    map.tf1 = 5 * std::cos(0.35) / perLongitude, map.tf3 = 5 * std::sin(0.35) / perLongitude;
    map.tf2 = 5 * std::sin(0.35) / perLatitude, map.tf4 = -5 * std::cos(0.35) / perLatitude;
    map.x0 = sheet.places[0].longitude - 2000 * map.tf1 - 1800 * map.tf3;
    map.y0 = sheet.places[0].latitude - 2000 * map.tf2 - 1800 * map.tf4;
    const std::vector<GridLine> lines = gridLines(map, GridProjection(sheet.grid), {0, 0, 4000, 3600}, 150, 0.1, {});
    for (const Place& place : sheet.places) {
      const Pixel expected = pixelAt(map, place.latitude, place.longitude);
      int through = 0;
      for (const GridLine& line : lines) {
        const std::string label =
            std::to_string(line.isNorthing ? place.northing : place.easting) + (line.isNorthing ? " km N" : " km E");
        const double distance = distanceTo(line, {expected.x + 0.5, expected.y + 0.5});
        EXPECT_EQ(distance < 0.5, line.label == label) << sheet.name << ": " << line.label << " passes at " << distance;
        through += distance < 0.5 ? 1 : 0;
      }
      EXPECT_EQ(through, 2) << sheet.name << " " << place.easting << " " << place.northing;
    }
  }
}

}  // namespace
}  // namespace vellandra
