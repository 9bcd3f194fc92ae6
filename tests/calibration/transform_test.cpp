#include "calibration/transform.h"

#include <cmath>

#include "calibration/points.h"
#include "calibration/reference_pair.h"
#include "core_fixture.h"

namespace vellandra {
namespace {

struct TiePoint {
  std::int32_t x, y;
  double lat, lon;
};

class TransformTest : public CoreTest {
 protected:
  static void setPoints(const std::vector<TiePoint>& points) {
    calibration = Calibration();
    for (const TiePoint& point : points) {
      const int slot = ++calibration.pointCount;
      calibration.setPixel(slot, point.x, point.y);
      calibration.setPosition(slot, point.lat, point.lon);
    }
  }

  /// Largest distance in pixels from a point to where the transform puts its position.
  static double largestResidual() {
    double largest = 0;
    for (int i = 1; i <= calibration.pointCount; ++i) {
      const Pixel pixel = pixelAt(calibration, calibration.latitude[i], calibration.longitude[i]);
      largest = std::max(largest, std::hypot(pixel.x - calibration.pixelX[i], pixel.y - calibration.pixelY[i]));
    }
    return largest;
  }

  static void derive(const std::string& type = "map") { deriveTransform(*chooseReferencePair(type)); }
};

TEST_F(TransformTest, ThreePointsComeOutExactAndRoundTrip) {
  setPoints({{10, 20, 50.1, -3.2}, {4010, 120, 50.2, -2.1}, {300, 3020, 49.5, -3.3}});
  fitTransform();
  ASSERT_FALSE(calibration.fitFailed);
  EXPECT_LT(largestResidual(), 1e-6);
  for (int i = 1; i <= 3; ++i) {
    double lat = 0, lon = 0;
    pixelToLatLon(calibration.pixelX[i], calibration.pixelY[i], lat, lon);
    EXPECT_NEAR(lat, calibration.latitude[i], 1e-11);
    EXPECT_NEAR(lon, calibration.longitude[i], 1e-11);
    std::int32_t x = 0, y = 0;
    latLonToPixel(lat, lon, x, y);
    EXPECT_EQ(x, calibration.pixelX[i]);
    EXPECT_EQ(y, calibration.pixelY[i]);
  }
}

// Least squares of the points below and their residuals, from numpy.linalg.lstsq on [1, x, y].
TEST_F(TransformTest, MorePointsAreFittedByLeastSquares) {
  setPoints({{0, 0, 10, 20}, {1000, 0, 10, 21}, {1000, 800, 9.2, 21}, {0, 800, 9.2, 20.04}, {500, 400, 9.61, 20.5}});
  fitTransform();
  EXPECT_NEAR(calibration.y0, 10.002, 1e-12);
  EXPECT_NEAR(calibration.tf2, 0, 1e-15);
  EXPECT_NEAR(calibration.tf4, -0.001, 1e-15);
  EXPECT_NEAR(calibration.x0, 20.008, 1e-12);
  EXPECT_NEAR(calibration.tf1, 0.00098, 1e-15);
  EXPECT_NEAR(calibration.tf3, 0.000025, 1e-15);
  // The first figure is the residual of the last point alone, 8 whole pixels across and 8 down.
  reportFit();
  EXPECT_TRUE(logHas("calibration point=11.3137\r\n"));
  EXPECT_TRUE(logHas("root mean square 10.73 pixels, worst is point"));
}

TEST_F(TransformTest, PointsOnOneLineFailAlsoWhereDoublesWouldRound) {
  const std::vector<std::vector<TiePoint>> lines = {
      {{0, 0, 1, 1}, {10, 10, 2, 2}, {30, 30, 4, 4}},
      {{46337, 46331, 1, 1}, {46303, 46295, 2, 2}, {46269, 46259, 3, 3}, {46235, 46223, 4, 4}},
      {{1, 1, 1, 1}, {100, 100, 2, 2}},
  };
  for (const auto& points : lines) {
    setPoints(points);
    fitTransform();
    EXPECT_TRUE(calibration.fitFailed);
  }
  EXPECT_TRUE(logHas("determinant lat 0\r\n"));
  EXPECT_FALSE(logHas("determinant lon"));
}

TEST_F(TransformTest, PixelWhoseSquareDoesNotFitEndsTheFit) {
  setPoints({{46340, 0, 1, 1}, {0, 46340, 2, 2}, {46340, 46340, 3, 3}});
  EXPECT_NO_THROW(fitTransform());
  calibration.pixelX[1] = 46341;
  EXPECT_THROW(fitTransform(), Overflow);
}

TEST_F(TransformTest, DeterminantAndMinor) {
  WorkMatrix m{}, minor{};
  m[1] = {0, 2, 0, 1, 3};
  m[2] = {0, 1, 4, 0, 2};
  m[3] = {0, 5, 1, 1, 0};
  m[4] = {0, 0, 2, 3, 1};
  // numpy.linalg.det of the upper left blocks, then of rows 1, 3, 4 and columns 1, 2, 4
  for (const auto& [n, expected] : {std::pair{1, 2}, {2, 8}, {3, -11}, {4, 190}})
    EXPECT_EQ(determinant(m, n), expected);
  minorOf(m, 2, 3, 4, minor);
  EXPECT_EQ(determinant(minor, 3), 32);
  EXPECT_THROW(determinant(m, 21), SubscriptOutOfRange);
}

TEST_F(TransformTest, MercatorMapIsMadeFromTwoPoints) {
  const std::vector<TiePoint> pairs[] = {{{0, 0, 60, 0}, {999, 1000, 40, 20}},
                                         {{0, 0, 50, 10}, {1000, 0, 50, 30}},   // on one row
                                         {{0, 0, 50, 10}, {0, 1000, 30, 10}}};  // in one column
  for (const auto& pair : pairs) {
    setPoints(pair);
    calibration.projection = " mercator";
    calibration.imageWidth = calibration.imageHeight = 1000;
    derive();
    setMercatorOrdinates();
    ASSERT_TRUE(isReversible(calibration));
    EXPECT_LT(largestResidual(), 1e-6);
    EXPECT_EQ(calibration.tf2, 0);
    const double perPixel = (calibration.mercatorTop - calibration.mercatorBottom) / 1000;
    const bool conformal = std::abs(perPixel - calibration.tf1 * 3.14159265358979 / 180) < 1e-12;
    EXPECT_EQ(conformal, &pair != pairs) << "one row or column leaves the other scale open";
    if (&pair != pairs) continue;
    // From 60 N to 40 N: the middle row lies at 2 atan(exp((ln tan 75 + ln tan 65) / 2)) - 90 degrees.
    EXPECT_NEAR(positionAt(calibration, 0, 500).latitude, 51.06522892, 1e-8);
    EXPECT_NEAR(positionAt(calibration, 0, 1000).latitude, 40, 1e-11);
  }
}

TEST_F(TransformTest, TwoPointsOfALinearMapGiveATurnedOrStretchedTransform) {
  // A map turned by 30 degrees at 50 N: 111229 m and 71696 m a degree there (WGS 84).
  setPoints({{100, 100, 50, 10}, {1100, 100, 50.04495, 10.12079}});
  derive();
  EXPECT_LT(largestResidual(), 1e-6);
  EXPECT_NEAR(std::atan2(calibration.tf2 * 111229, calibration.tf1 * 71696) * 180 / M_PI, 30, 0.05);

  setPoints({{100, 100, 50, 10}, {1100, 900, 49.95, 10.3}});
  derive();
  EXPECT_LT(largestResidual(), 1e-6);
  EXPECT_LT(calibration.tf1 * calibration.tf4 - calibration.tf2 * calibration.tf3, 0) << "mirrored";
  std::size_t at = 0;
  for (const char* label : {"la1=1 la2=2",    "ulon = 10.15",  "uzone = 32", "ulat = 49.975 mpd ",
                            "aspect ratio= ", "cos lat=",      "d1= ",       "d2= ",
                            "d3= ",           " metres/pixel", "t1= ",       "t2= ",
                            "t3= ",           " rotation ",    " degrees",   "w7-w5= 0.3",
                            "w2= 1000",       "w8-w6= -0.0",   "w1= 800",    "cost3 ",
                            "sint3 ",         " xy 1100 900",  " x2calc ",   " y2calc ",
                            " xy 100 100",    " x0calc ",      " y0calc ",   "tf1=",
                            "tf2=",           "tf3=",          "tf4="}) {
    const std::size_t found = log().find(label, at);
    ASSERT_NE(found, std::string::npos) << label;
    at = found;
  }

  setPoints({{0, 0, 50, 10}, {1000, 800, 49, 12}, {500, 0, 50, 11}});  // points 1 and 3 share a row and a latitude
  calibration.pointCount = 2;
  EXPECT_FALSE(chooseReferencePair("map")->alignedWithGrid);
  calibration.pointCount = 3;
  derive();
  EXPECT_EQ(calibration.tf2, 0);
  EXPECT_TRUE(logHas(":stretching"));
  EXPECT_TRUE(panelHas("Map is aligned with grid so stretched for TFW"));

  calibration.pointCount = 2;
  calibration.latitude[2] = 49;
  preferences.stretchNotRotate = true;
  derive();
  EXPECT_EQ(calibration.tf2, 0);
  EXPECT_DOUBLE_EQ(calibration.tf1, 0.002);
  EXPECT_DOUBLE_EQ(calibration.tf4, -0.00125);
}

TEST_F(TransformTest, ReferencePair) {
  setPoints({{0, 0, 10, 10}, {0, 0, 0, 0}, {100, 100, 9, 11}, {100, 0, 10, 11}, {0, 100, 9, 10}});
  const ReferencePair pair = *chooseReferencePair("map");
  EXPECT_EQ(pair.i, 2);  // with point 4: 110 square degrees; points 1 and 2 share a pixel
  EXPECT_EQ(pair.j, 4);
  EXPECT_TRUE(pair.alignedWithGrid);
  EXPECT_EQ(chooseReferencePair("tfw")->j, 3);
  EXPECT_EQ(chooseReferencePair("mcd")->j, 4);

  setPoints({{0, 0, 10, 10}, {50, 0, 10, 11}, {90, 0, 10, 12}});  // one parallel: the pair furthest apart in pixels
  EXPECT_EQ(chooseReferencePair("map")->j, 3);
  setPoints({{5, 5, 10, 10}, {5, 5, 11, 11}});
  EXPECT_FALSE(chooseReferencePair("map"));
  setPoints({});
  EXPECT_FALSE(chooseReferencePair("map"));
}

TEST_F(TransformTest, WorldFileTermsStretchOnlyARotatedLinearMap) {
  const std::vector<TiePoint> turned = {
      {0, 0, 50, 10}, {1000, 0, 49.9, 11}, {1000, 1000, 49, 10.8}, {0, 1000, 49.1, 9.8}};
  setPoints(turned);
  fitTransform();
  const ReferencePair pair = *chooseReferencePair("map");
  EXPECT_NE(worldFileTerms(pair).D, 0);
  preferences.stretchNotRotate = true;
  const WorldFileTerms stretched = worldFileTerms(pair);
  EXPECT_EQ(stretched.D, 0);
  EXPECT_DOUBLE_EQ(stretched.A * calibration.pixelX[pair.j] + stretched.C, calibration.longitude[pair.j]);
  EXPECT_DOUBLE_EQ(stretched.E * calibration.pixelY[pair.j] + stretched.F, calibration.latitude[pair.j]);
  EXPECT_NE(calibration.tf2, 0) << "the map itself stays as fitted";
}

// Distance from (50, 10) to (50.09, 10) by geod +ellps=WGS84: 10011.0 m; UTM scale at 1 degree from the meridian
// 0.99971.
TEST_F(TransformTest, MetresPerPixelIsTakenOnTheUtmPlane) {
  setPoints({{0, 1000, 50, 10}, {0, 0, 50.09, 10}});
  EXPECT_NEAR(metresPerPixel({1, 2}), 10.011 * 0.99968, 0.001);
  setPoints({{0, 0, 0.045, 9}, {0, 1000, -0.045, 9}});  // across the equator
  EXPECT_NEAR(metresPerPixel({1, 2}), 9.9517 * 0.9996, 0.002);
}

TEST_F(TransformTest, MissingPointsAreCompleted) {
  setPoints({{0, 0, 50, 10}, {1000, 800, 49, 12}});
  calibration.imageWidth = calibration.imageHeight = 1001;
  preferences.stretchNotRotate = true;
  derive();
  interpolateThirdPoint();
  addFourthPoint();
  addFourthPoint();
  EXPECT_EQ(points(), "0,0 50.0 10.0; 1000,800 49.0 12.0; 1000,0 50.0 12.0; 667,267 49.66625 11.334");
  EXPECT_TRUE(calibration.message.ends_with("Third point interpolated\r\nFourth point added\r\n"));
  fillImageCorners();
  EXPECT_EQ(points(firstCornerSlot, 4), "0,0 50.0 10.0; 1000,0 50.0 12.0; 1000,1000 48.75 12.0; 0,1000 48.75 10.0");
}

}  // namespace
}  // namespace vellandra
