#include "calibration/reference_pair.h"

#include <algorithm>
#include <cmath>

#include "calibration/calibration.h"
#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "geodesy/constants.h"
#include "geodesy/mercator.h"
#include "geodesy/utm.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

/// From point i of the pair to point j.
struct Difference {
  double dx, dy;      ///< pixels, y downwards
  double dLon, dLat;  ///< degrees
};

Difference differenceOf(const ReferencePair& pair) {
  const Calibration& c = calibration;
  return {static_cast<double>(c.points[pair.j].pixelX) - c.points[pair.i].pixelX,
          static_cast<double>(c.points[pair.j].pixelY) - c.points[pair.i].pixelY,
          c.points[pair.j].longitude - c.points[pair.i].longitude,
          c.points[pair.j].latitude - c.points[pair.i].latitude};
}

double pixelDistance(int i, int j) {
  const Difference d = differenceOf({i, j});
  return std::hypot(d.dx, d.dy);
}

bool sharesGridLine(const Difference& d) {
  return (d.dx == 0 && d.dLon == 0 && d.dLat != 0) || (d.dy == 0 && d.dLat == 0 && d.dLon != 0);
}

/// The writers name the pair, and points past 30 give way to the image corners before they run.
int lastCandidate() {
  return std::min<int>(calibration.pointCount, maxTiePoints);
}

ReferencePair searchPair() {
  ReferencePair best;
  double largest = 0;
  const int last = lastCandidate();
  for (int i = 1; i <= last; ++i) {
    for (int j = i + 1; j <= last; ++j) {
      const Difference d = differenceOf({i, j});
      if (sharesGridLine(d)) best.alignedWithGrid = true;
      const double product = std::abs(d.dLon) * std::abs(d.dLat);
      if (product > largest && (d.dx != 0 || d.dy != 0)) {
        largest = product;
        best.i = i;
        best.j = j;
        writeLog(std::to_string(i) + " " + std::to_string(j) + " " + formatGeneral(product));
      }
    }
  }
  return best;
}

void furthestApart(ReferencePair& pair) {
  double largest = 0;
  const int last = lastCandidate();
  for (int i = 1; i <= last; ++i) {
    for (int j = i + 1; j <= last; ++j) {
      const double distance = pixelDistance(i, j);
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

struct GroundPosition {
  double easting, northing;  ///< metres, the northing from the equator
};

GroundPosition onPlane(int slot, std::int16_t zone) {
  const double lat = calibration.points[slot].latitude;
  GroundPosition position{};
  LatLongToUtm(lat, calibration.points[slot].longitude, zone, position.easting, position.northing);
  if (lat < 0) position.northing -= 10000000;
  return position;
}

UtmPlane utmPlaneOf(const ReferencePair& pair) {
  const Calibration& c = calibration;
  UtmPlane plane{};
  plane.meanLon = (c.points[pair.i].longitude + c.points[pair.j].longitude) / 2;
  plane.meanLat = (c.points[pair.i].latitude + c.points[pair.j].latitude) / 2;
  plane.zone = toInt16(static_cast<std::int64_t>(std::floor((plane.meanLon + 186) / 6)));
  const GroundPosition first = onPlane(pair.i, plane.zone);
  const GroundPosition second = onPlane(pair.j, plane.zone);
  plane.dEast = second.easting - first.easting;
  plane.dNorth = second.northing - first.northing;
  return plane;
}

void logValue(const char* label, double value) {
  writeLog(label + formatGeneral(value));
}

/// Metres per degree of latitude and of longitude on WGS 84 at latitude `lat` (meridian and prime-vertical radii).
struct DegreeLength {
  double latitude, longitude;
};

DegreeLength degreeLength(double lat) {
  const double e2 = wgs84Flattening * (2 - wgs84Flattening);
  const double s = std::sin(lat * degToRad);
  const double w = std::sqrt(1 - e2 * s * s);
  return {wgs84A * (1 - e2) / (w * w * w) * degToRad, wgs84A / w * std::cos(lat * degToRad) * degToRad};
}

void stretchLinear(const ReferencePair& pair, const Difference& d) {
  Calibration& c = calibration;
  c.tf1 = d.dLon / d.dx;
  c.tf4 = d.dLat / d.dy;
  c.tf2 = c.tf3 = 0;
  c.x0 = c.points[pair.i].longitude - c.tf1 * c.points[pair.i].pixelX;
  c.y0 = c.points[pair.i].latitude - c.tf4 * c.points[pair.i].pixelY;
}

/// Both points and the ordinates of the top and bottom rows come out exact. Where the points share a row or a column,
/// the scale of the other direction serves: the projection is conformal.
void stretchMercator(const ReferencePair& pair, const Difference& d) {
  Calibration& c = calibration;
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

void logRotation(const Rotation& rotation, const Difference& d) {
  const double t3 = rotation.t1 - rotation.t2;
  logValue("t1= ", rotation.t1 / degToRad);
  logValue("t2= ", rotation.t2 / degToRad);
  writeLog("t3= " + formatGeneral(t3 / degToRad) + " rotation " + formatNumber(t3 / degToRad, "##0.000") + " degrees");
  logValue("w7-w5= ", d.dLon);
  logValue("w2= ", d.dx);
  logValue("w8-w6= ", d.dLat);
  logValue("w1= ", d.dy);
  logValue("cost3 ", std::cos(t3));
  logValue("sint3 ", std::sin(t3));
}

void turnAndScale(const ReferencePair& pair, const Rotation& rotation, const DegreeLength& metres) {
  Calibration& c = calibration;
  const double t3 = rotation.t1 - rotation.t2;
  const double scale = rotation.scale;
  c.tf1 = scale * std::cos(t3) / metres.longitude;
  c.tf3 = scale * std::sin(t3) / metres.longitude;
  c.tf2 = scale * std::sin(t3) / metres.latitude;
  c.tf4 = -scale * std::cos(t3) / metres.latitude;
  c.x0 = c.points[pair.i].longitude - c.tf1 * c.points[pair.i].pixelX - c.tf3 * c.points[pair.i].pixelY;
  c.y0 = c.points[pair.i].latitude - c.tf2 * c.points[pair.i].pixelX - c.tf4 * c.points[pair.i].pixelY;
}

void logCheck(const ReferencePair& pair) {
  Calibration& c = calibration;
  setMercatorOrdinates();
  const bool rows = !c.isMercator() || c.imageHeight != 0;
  const auto calculated = [&](int slot) {
    return rows ? pixelAt(c, c.points[slot].latitude, c.points[slot].longitude) : Pixel{0, 0};
  };
  const Pixel second = calculated(pair.j);
  const Pixel first = calculated(pair.i);
  writeLog(" xy " + std::to_string(c.points[pair.j].pixelX) + " " + std::to_string(c.points[pair.j].pixelY) +
           " x2calc " + formatGeneral(second.x) + " y2calc " + formatGeneral(second.y));
  writeLog(" xy " + std::to_string(c.points[pair.i].pixelX) + " " + std::to_string(c.points[pair.i].pixelY) +
           " x0calc " + formatGeneral(first.x) + " y0calc " + formatGeneral(first.y));
  logValue("tf1=", c.tf1);
  logValue("tf2=", c.tf2);
  logValue("tf3=", c.tf3);
  logValue("tf4=", c.tf4);
}

}  // namespace

std::optional<ReferencePair> chooseReferencePair(const std::optional<ReferencePair>& fixed) {
  ReferencePair pair = fixed && calibration.pointCount >= fixed->j ? *fixed : searchPair();
  if (pair.i == 0 || pixelDistance(pair.i, pair.j) == 0) furthestApart(pair);
  if (pair.i == 0 || pixelDistance(pair.i, pair.j) == 0) return std::nullopt;
  return pair;
}

double metresPerPixel(const ReferencePair& pair) {
  const UtmPlane plane = utmPlaneOf(pair);
  return std::hypot(plane.dEast, plane.dNorth) / pixelDistance(pair.i, pair.j);
}

void deriveTransform(const ReferencePair& pair) {
  const Calibration& c = calibration;
  const Difference d = differenceOf(pair);
  if (pair.alignedWithGrid) showMessage("Map is aligned with grid so stretched for TFW");
  writeLog("la1=" + std::to_string(pair.i) + " la2=" + std::to_string(pair.j));

  const UtmPlane plane = utmPlaneOf(pair);
  const DegreeLength metres = degreeLength(plane.meanLat);
  logValue("ulon = ", plane.meanLon);
  logValue("uzone = ", plane.zone);
  writeLog("ulat = " + formatGeneral(plane.meanLat) + " mpd " + formatGeneral(metres.latitude));
  logValue("aspect ratio= ", metres.latitude / metres.longitude);
  logValue("cos lat=", std::cos(plane.meanLat * degToRad));
  logValue("d1= ", plane.dEast);
  logValue("d2= ", plane.dNorth);
  writeLog("d3= " + formatGeneral(std::hypot(plane.dEast, plane.dNorth)) + " metres/pixel" +
           formatGeneral(metresPerPixel(pair)));
  const Rotation rotation = rotationOf(d, metres);
  logRotation(rotation, d);

  const bool stretchLinearMap = (pair.alignedWithGrid || preferences.stretchNotRotate) && d.dx != 0 && d.dy != 0;
  if (c.isMercator() || stretchLinearMap) {
    writeLog("stretching");
    c.isMercator() ? stretchMercator(pair, d) : stretchLinear(pair, d);
  } else {
    turnAndScale(pair, rotation, metres);
  }
  logCheck(pair);
}

WorldFileTerms worldFileTerms(const ReferencePair& pair) {
  const Calibration& c = calibration;
  WorldFileTerms terms{c.tf1, c.tf2, c.tf3, c.tf4, c.x0, c.y0};
  constexpr double smallestWritten = 5e-10;  // degrees a pixel: what the file's nine decimals can show
  const bool rotated = std::abs(c.tf2) >= smallestWritten || std::abs(c.tf3) >= smallestWritten;
  const Difference d = differenceOf(pair);
  if (!preferences.stretchNotRotate || c.isMercator() || !rotated || d.dx == 0 || d.dy == 0) return terms;
  terms = {d.dLon / d.dx, 0, 0, d.dLat / d.dy, 0, 0};
  terms.C = c.points[pair.i].longitude - terms.A * c.points[pair.i].pixelX;
  terms.F = c.points[pair.i].latitude - terms.E * c.points[pair.i].pixelY;
  return terms;
}

}  // namespace vellandra
