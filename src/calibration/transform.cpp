#include "calibration/transform.h"

#include <cfloat>
#include <cmath>
#include <string>
#include <vector>

#include "geodesy/mercator.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

// A determinant of pixel sums has up to 79 bits: rounded to a double, points on one line would not give zero.
#if LDBL_MANT_DIG >= 106
using Wide = long double;
#else
__extension__ using Wide = __float128;
#endif

Wide expand(const WorkMatrix& matrix, std::size_t row, const std::vector<std::size_t>& columns) {
  if (columns.size() == 1) return matrix[row][columns[0]];
  Wide sum = 0;
  int sign = 1;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    std::vector<std::size_t> rest = columns;
    rest.erase(rest.begin() + static_cast<std::ptrdiff_t>(i));
    sum += sign * static_cast<Wide>(matrix[row][columns[i]]) * expand(matrix, row + 1, rest);
    sign = -sign;
  }
  return sum;
}

std::int32_t product(std::int32_t a, std::int32_t b) {
  std::int32_t result = 0;
  if (__builtin_mul_overflow(a, b, &result)) {
    throw Overflow("pixel " + std::to_string(a) + " times " + std::to_string(b));
  }
  return result;
}

/// The normal equations of value = a + b x + c y over the points, with the right-hand side negated in column 4.
WorkMatrix normalEquations(const Calibration& map, double CalibrationPoint::*value) {
  WorkMatrix m{};
  for (int i = 1; i <= map.pointCount; ++i) {
    const std::int32_t x = map.points[i].pixelX;
    const std::int32_t y = map.points[i].pixelY;
    const double v = map.points[i].*value;
    const std::int32_t xy = product(x, y);
    m[1][1] += 1, m[1][2] += x, m[1][3] += y, m[1][4] -= v;
    m[2][1] += x, m[2][2] += product(x, x), m[2][3] += xy, m[2][4] -= x * v;
    m[3][1] += y, m[3][2] += xy, m[3][3] += product(y, y), m[3][4] -= y * v;
  }
  return m;
}

struct Plane {
  double constant, perX, perY;
};

/// Solves by Cramer's rule; false when the determinant is zero. `name` is that of the log lines: "lat" or "lon".
bool solve(const WorkMatrix& m, const char* name, const Journal& journal, Plane& plane) {
  const double d = -determinant(m, 3);
  journal.log("determinant " + std::string(name) + " " + formatGeneral(d == 0 ? 0 : d));
  if (d == 0) return false;
  std::array<double, 4> quotient{};
  for (int k = 1; k <= 3; ++k) {
    WorkMatrix minor{};
    minorOf(m, 4, k, 4, minor);
    quotient[static_cast<std::size_t>(k)] = determinant(minor, 3) / d;
  }
  plane = {0.0 + quotient[1], 0.0 - quotient[2], 0.0 + quotient[3]};
  return true;
}

}  // namespace

double determinant(const WorkMatrix& matrix, int n) {
  if (n < 1 || n >= static_cast<int>(matrix.size())) throw SubscriptOutOfRange("matrix of " + std::to_string(n));
  std::vector<std::size_t> columns;
  for (int i = 1; i <= n; ++i) columns.push_back(static_cast<std::size_t>(i));
  return static_cast<double>(expand(matrix, 1, columns));
}

void minorOf(const WorkMatrix& source, int skipRow, int skipColumn, int n, WorkMatrix& target) {
  std::size_t row = 0;
  for (int r = 1; r <= n; ++r) {
    if (r == skipRow) continue;
    ++row;
    std::size_t column = 0;
    for (int c = 1; c <= n; ++c) {
      if (c == skipColumn) continue;
      target[row][++column] = source[static_cast<std::size_t>(r)][static_cast<std::size_t>(c)];
    }
  }
}

void fitTransform(Calibration& map, const Journal& journal) {
  map.fitFailed = true;
  Plane plane{};
  if (!solve(normalEquations(map, &CalibrationPoint::latitude), "lat", journal, plane)) return;
  map.y0 = plane.constant;
  map.tf2 = plane.perX;
  map.tf4 = plane.perY;
  journal.show("y0 =" + formatGeneral(map.y0));
  journal.log("tf2 =" + formatGeneral(map.tf2));
  journal.log("tf4 =" + formatGeneral(map.tf4));

  if (!solve(normalEquations(map, &CalibrationPoint::longitude), "lon", journal, plane)) return;
  map.x0 = plane.constant;
  map.tf1 = plane.perX;
  map.tf3 = plane.perY;
  journal.show("x0 =" + formatGeneral(map.x0));
  journal.log("tf1 =" + formatGeneral(map.tf1));
  journal.log("tf3 =" + formatGeneral(map.tf3));
  map.fitFailed = false;
}

void setMercatorOrdinates(Calibration& map) {
  map.mercatorTop = map.isMercator() ? MercatorY(map.y0) : 0;
  map.mercatorBottom = map.isMercator() ? MercatorY(map.imageHeight * map.tf4 + map.y0) : 0;
}

Position positionAt(const Calibration& map, double x, double y) {
  if (map.isMercator()) {
    const double m = y / map.imageHeight * (map.mercatorBottom - map.mercatorTop) + map.mercatorTop;
    return {latitudeOfMercatorY(m), x * map.tf1 + map.x0};
  }
  return {x * map.tf2 + map.y0 + y * map.tf4, x * map.tf1 + map.x0 + y * map.tf3};
}

Pixel pixelAt(const Calibration& map, double latitude, double longitude) {
  if (map.isMercator()) {
    const double m = MercatorY(latitude);
    return {(longitude - map.x0) / map.tf1,
            (m - map.mercatorTop) * map.imageHeight / (map.mercatorBottom - map.mercatorTop)};
  }
  const double det = map.tf4 * map.tf1 - map.tf3 * map.tf2;
  return {((map.y0 - latitude) * map.tf3 - (map.x0 - longitude) * map.tf4) / det,
          ((map.x0 - longitude) * map.tf2 - (map.y0 - latitude) * map.tf1) / det};
}

void pixelToLatLon(std::int32_t x, std::int32_t y, double& latitude, double& longitude) {
  const Position position = positionAt(calibration, x, y);
  latitude = position.latitude;
  longitude = position.longitude;
}

void latLonToPixel(double latitude, double longitude, std::int32_t& x, std::int32_t& y) {
  const Pixel pixel = pixelAt(calibration, latitude, longitude);
  x = roundToInt32(pixel.x);
  y = roundToInt32(pixel.y);
}

bool isReversible(const Calibration& map) {
  const double scale = map.isMercator() ? map.tf1 * map.tf4 : map.tf1 * map.tf4 - map.tf2 * map.tf3;
  return std::isfinite(scale) && scale != 0 && std::isfinite(map.x0) && std::isfinite(map.y0);
}

}  // namespace vellandra
