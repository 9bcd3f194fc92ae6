#include "calibration/transform.h"

#include <cmath>

#include "calibration/fit.h"
#include "calibration/messages.h"
#include "calibration/points.h"
#include "calibration/reference_pair.h"
#include "core_fixture.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

struct TiePoint {
  std::int32_t x, y;
  double lat, lon;
};
using TiePoints = std::vector<TiePoint>;

class TransformTest : public CoreTest {
 protected:
  static void setPoints(const TiePoints& points) {
    calibration = Calibration();
    for (const TiePoint& point : points) {
      const int slot = ++calibration.pointCount;
      calibration.points[slot].setPixel(point.x, point.y);
      calibration.points[slot].setPosition(point.lat, point.lon);
    }
  }

  /// The points are where the transform puts them.
  static void expectExact() {
    for (int i = 1; i <= calibration.pointCount; ++i) {
      const Pixel pixel = pixelAt(calibration, calibration.points[i].latitude, calibration.points[i].longitude);
      EXPECT_LT(std::hypot(pixel.x - calibration.points[i].pixelX, pixel.y - calibration.points[i].pixelY), 1e-6) << i;
    }
  }

  static void derive(bool stretchNotRotate = false) {
    deriveTransform(calibration, *chooseReferencePair(calibration, std::nullopt, journal), stretchNotRotate, journal);
    setMercatorOrdinates(calibration);
  }
  static void fit() { fitTransform(calibration, journal); }
  static inline const Journal& journal = runJournal();
};

TEST_F(TransformTest, AverageErrorIsThatOfTheLastPointInWholePixels) {
  setPoints({{0, 0, 10, 20}, {1000, 0, 10, 21}, {1000, 800, 9.2, 21}, {0, 800, 9.2, 20.04}, {500, 400, 9.61, 20.5}});
  fit();
  EXPECT_NEAR(averageErrorOf(calibration), std::sqrt(128), 1e-6);
}

TEST_F(TransformTest, PointsOnOneLineFailAlsoWhereDoublesWouldRound) {
  const TiePoints lines[] = {{{0, 0, 1, 1}, {10, 10, 2, 2}, {30, 30, 4, 4}},
                             {{46337, 46331, 1, 1}, {46303, 46295, 2, 2}, {46269, 46259, 3, 3}, {46235, 46223, 4, 4}},
                             {{1, 1, 1, 1}, {100, 100, 2, 2}}};
  for (const TiePoints& points : lines) {
    setPoints(points);
    fit();
    EXPECT_TRUE(calibration.fitFailed) << points[0].x;
  }
  EXPECT_TRUE(logHas("determinant lat 0\r\n"));
  EXPECT_FALSE(logHas("determinant lon"));
}

TEST_F(TransformTest, MercatorMapOfPointsOnOneRowOrColumnIsConformal) {
  for (const TiePoints& pair : {TiePoints{{0, 0, 50, 10}, {1000, 0, 50, 30}}, {{0, 0, 50, 10}, {0, 1000, 30, 10}}}) {
    setPoints(pair);
    calibration.projection = " mercator";
    calibration.imageWidth = calibration.imageHeight = 1000;
    derive();
    expectExact();
    EXPECT_NEAR((calibration.mercatorTop - calibration.mercatorBottom) / 1000, calibration.tf1 * M_PI / 180, 1e-12);
  }
}

TEST_F(TransformTest, TwoPointsOfALinearMapGiveATurnedOrStretchedTransform) {
  // A map turned by 30 degrees at 50 N: 111229 m and 71696 m a degree there (WGS 84).
  setPoints({{100, 100, 50, 10}, {1100, 100, 50.04495, 10.12079}});
  derive();
  expectExact();
  EXPECT_NEAR(std::atan2(calibration.tf2 * 111229, calibration.tf1 * 71696) * 180 / M_PI, 30, 0.05);

  setPoints({{100, 100, 50, 10}, {1100, 900, 49.95, 10.3}});
  derive();
  expectExact();
  EXPECT_LT(calibration.tf1 * calibration.tf4 - calibration.tf2 * calibration.tf3, 0) << "mirrored";
  std::size_t at = 0;
  // clang-format off
  for (const char* label : {
      "la1=1 la2=2", "ulon = 10.15", "uzone = 32", "ulat = 49.975 mpd ", "aspect ratio= ", "cos lat=", "d1= ", "d2= ",
      "d3= ", " metres/pixel", "t1= ", "t2= ", "t3= ", " rotation ", " degrees", "w7-w5= 0.3", "w2= 1000",
      "w8-w6= -0.0", "w1= 800", "cost3 ", "sint3 ", " xy 1100 900", " x2calc ", " y2calc ", " xy 100 100", " x0calc ",
      " y0calc ", "tf1=", "tf2=", "tf3=", "tf4="}) {
    // clang-format on
    const std::size_t found = log().find(label, at);
    ASSERT_NE(found, std::string::npos) << label;
    at = found;
  }

  setPoints({{0, 0, 50, 10}, {1000, 800, 49, 12}, {500, 0, 50, 11}});  // points 1 and 3 share a row and a latitude
  derive();
  EXPECT_EQ(calibration.tf2, 0);
  EXPECT_TRUE(logHas(":stretching"));
  EXPECT_TRUE(panelHas("Map is aligned with grid so stretched for TFW"));
  calibration.pointCount = 2;
  derive(true);
  EXPECT_EQ(calibration.tf2, 0);
  EXPECT_DOUBLE_EQ(calibration.tf1, 0.002);
  EXPECT_DOUBLE_EQ(calibration.tf4, -0.00125);
}

TEST_F(TransformTest, ReferencePairSpansTheMostGroundOrElseTheMostPixels) {
  const std::tuple<TiePoints, int, int> rows[] = {
      {{{0, 0, 10, 10}, {0, 0, 0, 0}, {100, 100, 9, 11}, {100, 0, 10, 11}}, 2, 4},  // 1 and 2 share a pixel
      {{{0, 0, 10, 10}, {50, 0, 10, 11}, {90, 0, 10, 12}}, 1, 3},                   // on one parallel
      {{{5, 5, 10, 10}, {5, 5, 11, 11}}, 0, 0},
      {{}, 0, 0},
  };
  for (const auto& [given, i, j] : rows) {
    setPoints(given);
    const auto pair = chooseReferencePair(calibration, std::nullopt, journal).value_or(ReferencePair{0, 0});
    EXPECT_EQ(std::pair(pair.i, pair.j), std::pair(i, j)) << given.size();
  }
}

TEST_F(TransformTest, WorldFileTermsStretchOnlyARotatedLinearMap) {
  setPoints({{0, 0, 50, 10}, {1000, 0, 49.9, 11}, {1000, 1000, 49, 10.8}, {0, 1000, 49.1, 9.8}});
  fit();
  const ReferencePair pair = *chooseReferencePair(calibration, std::nullopt, journal);
  EXPECT_NE(worldFileTerms(calibration, pair, false).D, 0);
  const WorldFileTerms stretched = worldFileTerms(calibration, pair, true);
  EXPECT_EQ(stretched.D, 0);
  EXPECT_DOUBLE_EQ(stretched.A * calibration.points[pair.j].pixelX + stretched.C, calibration.points[pair.j].longitude);
  EXPECT_DOUBLE_EQ(stretched.E * calibration.points[pair.j].pixelY + stretched.F, calibration.points[pair.j].latitude);
  EXPECT_NE(calibration.tf2, 0) << "the map itself stays as fitted";
}

// geod +ellps=WGS84 from (50, 10) to (50.09, 10): 10011.0 m; UTM scale at 1 degree from the meridian 0.99971.
TEST_F(TransformTest, MetresPerPixelIsTakenOnTheUtmPlane) {
  setPoints({{0, 1000, 50, 10}, {0, 0, 50.09, 10}});
  EXPECT_NEAR(metresPerPixel(calibration, {1, 2}), 10.011 * 0.99968, 0.001);
  setPoints({{0, 0, 0.045, 9}, {0, 1000, -0.045, 9}});  // across the equator
  EXPECT_NEAR(metresPerPixel(calibration, {1, 2}), 9.9517 * 0.9996, 0.002);
}

class TrialFitTest : public CoreTest {
 protected:
  TrialFitTest() { LoadDatums(); }

  /// Up to six points of a map of a thousandth of a degree a pixel, of which `moved` is three pixels off.
  static void givePoints(int count, int moved, const std::string& datum = "WGS 84", const std::string& projection = "",
                         double west = 8) {
    const int pixels[][2] = {{10, 10}, {780, 10}, {10, 580}, {780, 580}, {300, 200}, {500, 450}};
    calibration = Calibration();
    calibration.imageWidth = 800;
    calibration.imageHeight = 600;
    calibration.projection = projection;
    calibration.pointCount = static_cast<std::int16_t>(count);
    for (int i = 1; i <= count; ++i) {
      const auto [x, y] = pixels[i - 1];
      calibration.points[i].setPixel(x + (i == moved ? 3 : 0), y);
      calibration.points[i].setPosition(47 - y * 1e-3, std::remainder(west + x * 1.5e-3, 360));
      calibration.points[i].datumName = datum;
    }
  }
};

TEST_F(TrialFitTest, TouchesNothing) {
  const struct {
    const char *datum, *projection;
    int count;
    double west;
  } rows[] = {{"WGS 84", "", 5, 8},
              {"EUROPEAN 1979", "", 5, 8},
              {"EUROPEAN 1979", "", 2, 8},
              {"WGS 84", "", 5, 179.5},
              {"WGS 84", "mercator ", 3, 8}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.datum + std::string(row.projection) + std::to_string(row.count));
    givePoints(row.count, 2, row.datum, row.projection, row.west);
    const std::string logBefore = log(), pointsBefore = points();
    calibration.message = "text of the panel";
    const TrialFit fit = tryFit(calibration, std::nullopt, false);
    ASSERT_TRUE(fit.valid);
    EXPECT_EQ(log(), logBefore);
    EXPECT_EQ(calibration.message, "text of the panel");
    EXPECT_EQ(points(), pointsBefore);
    EXPECT_EQ(calibration.tf1, 0);
    EXPECT_EQ(static_cast<int>(fit.residuals.pixels.size()), row.count);
  }
}

TEST_F(TrialFitTest, WorstPointIsNamedOnlyWhenOneIsWorse) {
  const struct {
    const char* name;
    int count, moved, worst;
  } rows[] = {{"a rectangle shares its error", 4, 2, 0}, {"more points tell", 6, 5, 5}, {"no error", 6, 0, 0}};
  for (const auto& row : rows) {
    givePoints(row.count, row.moved);
    const Residuals residuals = tryFit(calibration, std::nullopt, false).residuals;
    EXPECT_EQ(residuals.worstStandsOut() ? residuals.worst : 0, row.worst) << row.name;
  }
}

TEST_F(TrialFitTest, PointsThatMakeNoMapAreNoFit) {
  givePoints(1, 0);
  EXPECT_FALSE(tryFit(calibration, std::nullopt, false).valid) << "one point";
  givePoints(4, 0, "NO SUCH DATUM");
  EXPECT_FALSE(tryFit(calibration, std::nullopt, false).valid) << "datum";
  givePoints(4, 0);
  calibration.points[3].latitude = 91;
  EXPECT_FALSE(tryFit(calibration, std::nullopt, false).valid) << "off the earth";
  givePoints(4, 0);
  calibration.points[3].setPixel(50000, 1);
  EXPECT_FALSE(tryFit(calibration, std::nullopt, false).valid) << "a pixel whose square does not fit";
}

}  // namespace
}  // namespace vellandra
