#include "calibration/trial_fit.h"

#include <cmath>

#include "calibration/transform.h"
#include "core_fixture.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

class TrialFitTest : public CoreTest {
 protected:
  static void givePoints(const std::string& datum, const std::string& projection, int count, double west = 8) {
    const int pixels[][2] = {{10, 20}, {790, 35}, {770, 580}, {25, 560}};
    calibration = Calibration();
    calibration.imageWidth = 800;
    calibration.imageHeight = 600;
    calibration.projection = projection;
    calibration.pointCount = static_cast<std::int16_t>(count);
    for (int i = 1; i <= count; ++i) {
      const int x = pixels[i - 1][0], y = pixels[i - 1][1];
      calibration.setPixel(i, x + (i == 2 ? 3 : 0), y);
      calibration.setPosition(i, 47 - y * 1e-3, std::remainder(west + x * 1.5e-3, 360));
      calibration.datumName[i] = datum;
    }
  }
};

TEST_F(TrialFitTest, GivesWhatTheDriverGivesAndTouchesNothing) {
  LoadDatums();
  const struct {
    const char *datum, *projection;
    int count;
    double west;
  } rows[] = {{"WGS 84", "latitude/longitude", 4, 8},
              {"EUROPEAN 1979", "latitude/longitude", 4, 8},
              {"EUROPEAN 1979", "latitude/longitude", 2, 8},
              {"WGS 84", "latitude/longitude", 4, 179.5},
              {"WGS 84", "mercator ", 3, 8}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.datum + std::string(row.projection));
    givePoints(row.datum, row.projection, row.count, row.west);
    const std::string logBefore = log();
    calibration.message = "text of the panel";
    const std::string before = points();
    const TrialFit fit = tryFit(calibration, "zzz");
    ASSERT_TRUE(fit.valid);
    EXPECT_EQ(log(), logBefore);
    EXPECT_EQ(calibration.message, "text of the panel");
    EXPECT_EQ(points(), before);
    EXPECT_EQ(calibration.tf1, 0);

    driver = Driver();
    driver.inputType = "zzz";
    driver.stage = recalculate;
    ASSERT_TRUE(do_it());
    for (double Calibration::*term : {&Calibration::tf1, &Calibration::tf2, &Calibration::tf3, &Calibration::tf4,
                                      &Calibration::x0, &Calibration::y0, &Calibration::mercatorBottom}) {
      EXPECT_EQ(fit.map.*term, calibration.*term);
    }
    ASSERT_EQ(static_cast<int>(fit.residuals.size()), row.count);
    const Pixel pixel = pixelAt(calibration, calibration.latitude[2], calibration.longitude[2]);
    EXPECT_DOUBLE_EQ(fit.residuals[1], std::hypot(pixel.x - calibration.pixelX[2], pixel.y - calibration.pixelY[2]));
    EXPECT_TRUE(panelHas("root mean square " + formatNumber(fit.rootMeanSquare, "###0.00")));
  }
}

TEST_F(TrialFitTest, WorstPointIsNamedOnlyWhenOneIsWorse) {
  LoadDatums();
  const int pixels[][2] = {{10, 10}, {780, 10}, {10, 580}, {780, 580}, {300, 200}, {500, 450}};
  givePoints("WGS 84", "latitude/longitude", 4);
  const struct {
    const char* name;
    int count, moved, worst;  // `moved` is three pixels off
  } rows[] = {{"a rectangle shares its error", 4, 2, 0}, {"more points tell", 6, 5, 5}, {"no error", 6, 0, 0}};
  for (const auto& row : rows) {
    calibration.pointCount = static_cast<std::int16_t>(row.count);
    for (int i = 1; i <= row.count; ++i) {
      const auto [x, y] = pixels[i - 1];
      calibration.setPixel(i, x + (i == row.moved ? 3 : 0), y);
      calibration.setPosition(i, 47 - y * 1e-3, 8 + x * 1.5e-3);
      calibration.datumName[i] = "WGS 84";
    }
    EXPECT_EQ(tryFit(calibration, "zzz").worstPoint, row.worst) << row.name;
  }
}

TEST_F(TrialFitTest, PointsThatMakeNoMapAreNoFit) {
  LoadDatums();
  givePoints("WGS 84", "", 1);
  EXPECT_FALSE(tryFit(calibration, "").valid) << "one point";
  givePoints("NO SUCH DATUM", "", 4);
  EXPECT_FALSE(tryFit(calibration, "").valid);
  givePoints("WGS 84", "", 4);
  Calibration offEarth = calibration;
  offEarth.latitude[3] = 91;
  EXPECT_FALSE(tryFit(offEarth, "").valid);
  calibration.setPixel(3, 50000, 1);  // its square does not fit
  EXPECT_FALSE(tryFit(calibration, "").valid);
  EXPECT_EQ(calibration.pixelX[3], 50000) << "the record is not back in its place";
  EXPECT_FALSE(logPaused());
}

}  // namespace
}  // namespace vellandra
