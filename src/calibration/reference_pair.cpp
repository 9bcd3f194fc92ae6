#include "calibration/reference_pair.h"

#include <algorithm>
#include <cmath>

#include "calibration/transform.h"
#include "geodesy/constants.h"
#include "geodesy/degree_length.h"
#include "geodesy/mercator.h"
#include "geodesy/position.h"
#include "geodesy/utm.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

/// From point i of the pair to point j.
struct Difference {
  double dx, dy;      ///< pixels, y downwards
  double dLon, dLat;  ///< degrees
};

Difference differenceOf(const Calibration& c, const ReferencePair& pair) {
  return {static_cast<double>(c.points[pair.j].pixelX) - c.points[pair.i].pixelX,
          static_cast<double>(c.points[pair.j].pixelY) - c.points[pair.i].pixelY,
          c.points[pair.j].longitude - c.points[pair.i].longitude,
          c.points[pair.j].latitude - c.points[pair.i].latitude};
}

double pixelDistance(const Calibration& map, const ReferencePair& pair) {
  const Difference d = differenceOf(map, pair);
  return std::hypot(d.dx, d.dy);
}

bool sharesGridLine(const Difference& d) {
  return (d.dx == 0 && d.dLon == 0 && d.dLat != 0) || (d.dy == 0 && d.dLat == 0 && d.dLon != 0);
}

/// The writers name the pair, and points past 30 give way to the image corners before they run.
int lastCandidate(const Calibration& map) {
  return std::min<int>(map.pointCount, maxTiePoints);
}

ReferencePair searchPair(const Calibration& map, const Journal& journal) {
  ReferencePair best;
  double largest = 0;
  const int last = lastCandidate(map);
  for (int i = 1; i <= last; ++i) {
    for (int j = i + 1; j <= last; ++j) {
      const Difference d = differenceOf(map, {i, j});
      if (sharesGridLine(d)) best.alignedWithGrid = true;
      const double product = std::abs(d.dLon) * std::abs(d.dLat);
      if (product > largest && (d.dx != 0 || d.dy != 0)) {
        largest = product;
        best.i = i;
        best.j = j;
        journal.log(std::to_string(i) + " " + std::to_string(j) + " " + formatGeneral(product));
      }
    }
  }
  return best;
}

void furthestApart(const Calibration& map, ReferencePair& pair) {
  double largest = 0;
  const int last = lastCandidate(map);
  for (int i = 1; i <= last; ++i) {
    for (int j = i + 1; j <= last; ++j) {
      const double distance = pixelDistance(map, {i, j});
      if (distance > largest) {
        largest = distance;
        pair.i = i;
        pair.j = j;
      }
    }
  }
}

/// The pair on the UTM plane of its mean longitude.
struct UtmPlane {
  double meanLon, meanLat;
  std::int16_t zone;
  double dEast, dNorth;  ///< metres, northings counted from the equator on both sides
};

/// The northing counts from the equator.
GridPosition onPlane(const CalibrationPoint& point, std::int16_t zone) {
  const double lat = point.latitude;
  GridPosition position{};
  LatLongToUtm(lat, point.longitude, zone, position.easting, position.northing);
  if (lat < 0) position.northing -= southernFalseNorthing;
  return position;
}

UtmPlane utmPlaneOf(const Calibration& c, const ReferencePair& pair) {
  UtmPlane plane{};
  plane.meanLon = (c.points[pair.i].longitude + c.points[pair.j].longitude) / 2;
  plane.meanLat = (c.points[pair.i].latitude + c.points[pair.j].latitude) / 2;
  plane.zone = toInt16(static_cast<std::int64_t>(std::floor((plane.meanLon + 186) / 6)));
  const GridPosition first = onPlane(c.points[pair.i], plane.zone);
  const GridPosition second = onPlane(c.points[pair.j], plane.zone);
  plane.dEast = second.easting - first.easting;
  plane.dNorth = second.northing - first.northing;
  return plane;
}

void logValue(const Journal& journal, const char* label, double value) {
  journal.log(label + formatGeneral(value));
}

void stretchLinear(Calibration& c, const ReferencePair& pair, const Difference& d) {
  c.tf1 = d.dLon / d.dx;
  c.tf4 = d.dLat / d.dy;
  c.tf2 = c.tf3 = 0;
  c.x0 = c.points[pair.i].longitude - c.tf1 * c.points[pair.i].pixelX;
  c.y0 = c.points[pair.i].latitude - c.tf4 * c.points[pair.i].pixelY;
}

/// Both points and the ordinates of the top and bottom rows come out exact. Where the points share a row or a column,
/// the scale of the other direction serves: the projection is conformal.
void stretchMercator(Calibration& c, const ReferencePair& pair, const Difference& d) {
  const double dM = MercatorY(c.points[pair.j].latitude) - MercatorY(c.points[pair.i].latitude);
  const double k = d.dy != 0 ? dM / d.dy : -d.dLon / d.dx * degToRad;
  c.tf1 = d.dx != 0 ? d.dLon / d.dx : -k / degToRad;
  c.tf2 = c.tf3 = 0;
  c.x0 = c.points[pair.i].longitude - c.tf1 * c.points[pair.i].pixelX;
  const double m0 = MercatorY(c.points[pair.i].latitude) - k * c.points[pair.i].pixelY;
  c.y0 = latitudeOfMercatorY(m0);
  c.tf4 = c.imageHeight != 0 ? (latitudeOfMercatorY(m0 + k * c.imageHeight) - c.y0) / c.imageHeight : d.dLat / d.dy;
}

/// The way from one point of the pair to the other, on the ground and on the map.
struct Rotation {
  double t1, t2;  ///< radians, anticlockwise from east: on the ground, on the map
  double scale;   ///< metres a pixel
};

Rotation rotationOf(const Difference& d, const DegreeLength& metres) {
  const double east = d.dLon * metres.longitude;
  const double north = d.dLat * metres.latitude;
  return {std::atan2(north, east), std::atan2(-d.dy, d.dx), std::hypot(east, north) / std::hypot(d.dx, d.dy)};
}

void logRotation(const Journal& journal, const Rotation& rotation, const Difference& d) {
  const double t3 = rotation.t1 - rotation.t2;
  logValue(journal, "t1= ", rotation.t1 / degToRad);
  logValue(journal, "t2= ", rotation.t2 / degToRad);
  journal.log("t3= " + formatGeneral(t3 / degToRad) + " rotation " + formatNumber(t3 / degToRad, "##0.000") +
              " degrees");
  logValue(journal, "w7-w5= ", d.dLon);
  logValue(journal, "w2= ", d.dx);
  logValue(journal, "w8-w6= ", d.dLat);
  logValue(journal, "w1= ", d.dy);
  logValue(journal, "cost3 ", std::cos(t3));
  logValue(journal, "sint3 ", std::sin(t3));
}

void turnAndScale(Calibration& c, const ReferencePair& pair, const Rotation& rotation, const DegreeLength& metres) {
  const double t3 = rotation.t1 - rotation.t2;
  const double scale = rotation.scale;
  c.tf1 = scale * std::cos(t3) / metres.longitude;
  c.tf3 = scale * std::sin(t3) / metres.longitude;
  c.tf2 = scale * std::sin(t3) / metres.latitude;
  c.tf4 = -scale * std::cos(t3) / metres.latitude;
  c.x0 = c.points[pair.i].longitude - c.tf1 * c.points[pair.i].pixelX - c.tf3 * c.points[pair.i].pixelY;
  c.y0 = c.points[pair.i].latitude - c.tf2 * c.points[pair.i].pixelX - c.tf4 * c.points[pair.i].pixelY;
}

/// Two points cannot tell a map that is turned from one whose degrees are stretched.
void reportTurn(const Rotation& rotation, const Journal& journal) {
  const double degrees = std::remainder((rotation.t1 - rotation.t2) / degToRad, 360);
  constexpr double shownAsNone = 0.005;
  if (std::abs(degrees) < shownAsNone) return;
  journal.show("The points leave open how the map is turned: it is taken as turned by " +
               formatNumber(degrees, "##0.00") +
               " degrees. If it is not turned, switch on the preference stretchnotrotate and open it again");
}

void logCheck(const Calibration& c, const ReferencePair& pair, const Journal& journal) {
  const bool rows = !c.isMercator() || c.imageHeight != 0;
  const auto calculated = [&](int slot) {
    return rows ? pixelAt(c, c.points[slot].latitude, c.points[slot].longitude) : Pixel{0, 0};
  };
  const Pixel second = calculated(pair.j);
  const Pixel first = calculated(pair.i);
  journal.log(" xy " + std::to_string(c.points[pair.j].pixelX) + " " + std::to_string(c.points[pair.j].pixelY) +
              " x2calc " + formatGeneral(second.x) + " y2calc " + formatGeneral(second.y));
  journal.log(" xy " + std::to_string(c.points[pair.i].pixelX) + " " + std::to_string(c.points[pair.i].pixelY) +
              " x0calc " + formatGeneral(first.x) + " y0calc " + formatGeneral(first.y));
  logValue(journal, "tf1=", c.tf1);
  logValue(journal, "tf2=", c.tf2);
  logValue(journal, "tf3=", c.tf3);
  logValue(journal, "tf4=", c.tf4);
}

}  // namespace

std::optional<ReferencePair> chooseReferencePair(const Calibration& map, const std::optional<ReferencePair>& fixed,
                                                 const Journal& journal) {
  ReferencePair pair = fixed && map.pointCount >= fixed->j ? *fixed : searchPair(map, journal);
  if (pair.i == 0 || pixelDistance(map, pair) == 0) furthestApart(map, pair);
  if (pair.i == 0 || pixelDistance(map, pair) == 0) return std::nullopt;
  return pair;
}

double metresPerPixel(const Calibration& map, const ReferencePair& pair) {
  const UtmPlane plane = utmPlaneOf(map, pair);
  return std::hypot(plane.dEast, plane.dNorth) / pixelDistance(map, pair);
}

void deriveTransform(Calibration& map, const ReferencePair& pair, bool stretchNotRotate, const Journal& journal) {
  const Difference d = differenceOf(map, pair);
  if (pair.alignedWithGrid) journal.show("Map is aligned with grid so stretched for TFW");
  journal.log("la1=" + std::to_string(pair.i) + " la2=" + std::to_string(pair.j));

  const UtmPlane plane = utmPlaneOf(map, pair);
  const DegreeLength metres = degreeLength(plane.meanLat);
  logValue(journal, "ulon = ", plane.meanLon);
  logValue(journal, "uzone = ", plane.zone);
  journal.log("ulat = " + formatGeneral(plane.meanLat) + " mpd " + formatGeneral(metres.latitude));
  logValue(journal, "aspect ratio= ", metres.latitude / metres.longitude);
  logValue(journal, "cos lat=", std::cos(plane.meanLat * degToRad));
  logValue(journal, "d1= ", plane.dEast);
  logValue(journal, "d2= ", plane.dNorth);
  journal.log("d3= " + formatGeneral(std::hypot(plane.dEast, plane.dNorth)) + " metres/pixel" +
              formatGeneral(metresPerPixel(map, pair)));
  const Rotation rotation = rotationOf(d, metres);
  logRotation(journal, rotation, d);

  const bool stretchLinearMap = (pair.alignedWithGrid || stretchNotRotate) && d.dx != 0 && d.dy != 0;
  if (map.isMercator() || stretchLinearMap) {
    journal.log("stretching");
    map.isMercator() ? stretchMercator(map, pair, d) : stretchLinear(map, pair, d);
  } else {
    turnAndScale(map, pair, rotation, metres);
    reportTurn(rotation, journal);
  }
  setMercatorOrdinates(map);
  logCheck(map, pair, journal);
}

WorldFileTerms worldFileTerms(const Calibration& map, const ReferencePair& pair, bool stretchNotRotate) {
  WorldFileTerms terms{map.tf1, map.tf2, map.tf3, map.tf4, map.x0, map.y0};
  constexpr double smallestWritten = 5e-10;  // degrees a pixel: what the file's nine decimals can show
  const bool rotated = std::abs(map.tf2) >= smallestWritten || std::abs(map.tf3) >= smallestWritten;
  const Difference d = differenceOf(map, pair);
  if (!stretchNotRotate || map.isMercator() || !rotated || d.dx == 0 || d.dy == 0) return terms;
  terms = {d.dLon / d.dx, 0, 0, d.dLat / d.dy, 0, 0};
  terms.C = map.points[pair.i].longitude - terms.A * map.points[pair.i].pixelX;
  terms.F = map.points[pair.i].latitude - terms.E * map.points[pair.i].pixelY;
  return terms;
}

}  // namespace vellandra
