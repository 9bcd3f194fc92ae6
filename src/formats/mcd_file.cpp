#include "formats/mcd_file.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/messages.h"
#include "calibration/transform.h"
#include "formats/image_identification.h"
#include "formats/output.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

static_assert(std::numeric_limits<double>::is_iec559);

constexpr std::size_t doubles = 9;
constexpr std::size_t fileSize = doubles * 8;
constexpr double largestPixel = 32767;  // of an image

struct GridPoint {
  double x, y;
  GridPosition position;  ///< in British metres, or longitude and latitude
};

/// Two opposite corners of a rectangle that lies straight on its grid.
struct Rectangle {
  GridPoint first, opposite;
  bool inDegrees;
};

void appendDouble(std::string& bytes, double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  for (int shift = 0; shift < 64; shift += 8) bytes.push_back(static_cast<char>(bits >> shift & 0xFFU));
}

double doubleAt(std::string_view bytes, std::size_t index) {
  std::uint64_t bits = 0;
  for (std::size_t i = 8; i-- > 0;) bits = bits << 8 | static_cast<unsigned char>(bytes[index * 8 + i]);
  return std::bit_cast<double>(bits);
}

bool fitsDegrees(const GridPosition& p) {
  return std::abs(p.easting) <= 180 && std::abs(p.northing) <= 90;
}

bool fitsBritish(const GridPosition& p) {
  return fitsBritishGrid(p.easting, p.northing);
}

/// What is wrong with `bytes` as a ".mcd" file, empty when nothing is; `rectangle` is filled then.
std::string parse(std::string_view bytes, Rectangle& rectangle) {
  if (bytes.size() != fileSize) {
    return "it has " + std::to_string(bytes.size()) + " bytes instead of " + std::to_string(fileSize);
  }
  std::array<double, doubles> v{};
  for (std::size_t i = 0; i < doubles; ++i) v[i] = doubleAt(bytes, i);
  if (!std::all_of(v.begin(), v.end(), [](double value) { return std::isfinite(value); })) {
    return "a number in it is not finite";
  }
  const GridPoint a{v[0], v[1], {v[2], v[3]}};
  const GridPoint b{v[4], v[5], {v[6], v[7]}};
  for (const double pixel : {a.x, a.y, b.x, b.y}) {
    if (std::abs(pixel) > largestPixel) return "a pixel position in it is too large";
  }
  if (a.x == b.x || a.y == b.y || a.position.easting == b.position.easting ||
      a.position.northing == b.position.northing) {
    return "its two points are not opposite corners";
  }
  rectangle = {a, b, fitsDegrees(a.position) && fitsDegrees(b.position)};
  if (rectangle.inDegrees || (fitsBritish(a.position) && fitsBritish(b.position))) return {};
  return "its positions are neither degrees nor British grid metres";
}

/// Longitudes in the file end at 180 degrees. A map across them has its points more than half a turn apart, in the
/// wrong direction.
void unwrapLongitude(Rectangle& r) {
  const double turn = r.opposite.position.easting - r.first.position.easting;
  const bool eastward = r.opposite.x > r.first.x;
  if (r.inDegrees && std::abs(turn) > 180 && eastward != (turn > 0))
    r.opposite.position.easting += eastward ? 360 : -360;
}

Position onEarth(const GridPosition& p, bool inDegrees) {
  Position position{p.northing, p.easting};
  if (!inDegrees) OsGridToLatLong("SV", p.northing, p.easting, position.latitude, position.longitude);
  return position;
}

/// The other two corners: x of the opposite one with y of the first, then the other way round.
std::array<GridPoint, 2> completed(const Rectangle& r) {
  const GridPoint& a = r.first;
  const GridPoint& b = r.opposite;
  return {GridPoint{b.x, a.y, {b.position.easting, a.position.northing}},
          GridPoint{a.x, b.y, {a.position.easting, b.position.northing}}};
}

void placePoints(const Rectangle& r) {
  Calibration& c = calibration;
  const std::array<GridPoint, 2> others = completed(r);
  int slot = 0;
  for (const GridPoint& point : {r.first, others[0], others[1], r.opposite}) {
    const Position position = onEarth(point.position, r.inDegrees);
    c.points[++slot].setPixel(roundToInt32(point.x), roundToInt32(c.imageHeight - 1 - point.y));
    c.points[slot].setPosition(position.latitude, position.longitude,
                               {.grid = r.inDegrees ? EntryGrid::degrees : EntryGrid::british});
  }
  c.pointCount = 4;
}

/// The image's corners from the fit, rows counted from the top as in the transform.
Rectangle imageRectangle() {
  const double right = calibration.imageWidth - 1;
  const double bottom = calibration.imageHeight - 1;
  const auto cornerAt = [](double x, double y, bool inDegrees) {
    const Position p = positionAt(calibration, x, y);
    GridPoint point{x, y, {p.longitude, p.latitude}};
    if (!inDegrees) latLongToOsMetres(p.latitude, p.longitude, point.position.easting, point.position.northing);
    return point;
  };
  bool british = true;
  for (const Pixel corner : {Pixel{0, 0}, Pixel{right, 0}, Pixel{right, bottom}, Pixel{0, bottom}}) {
    const Position p = positionAt(calibration, corner.x, corner.y);
    british = british && InGbGridArea(p.latitude, p.longitude);
  }
  return {cornerAt(0, 0, !british), cornerAt(right, bottom, !british), !british};
}

/// How far the rectangle's other corners lie from where the map has them, in pixels.
double deviation(const Rectangle& r) {
  double most = 0;
  for (const GridPoint& point : completed(r)) {
    const Position position = onEarth(point.position, r.inDegrees);
    const Pixel pixel = pixelAt(calibration, position.latitude, position.longitude);
    most = std::max(most, std::hypot(pixel.x - point.x, pixel.y - point.y));
  }
  return most;
}

bool reachesPoleAtMost(const GridPoint& point) {
  constexpr double rounding = 1e-9;  // degrees
  return std::abs(point.position.northing) <= 90 + rounding;
}

std::string mcdContent(const Rectangle& r) {
  std::string bytes;
  for (const GridPoint& point : {r.first, r.opposite}) {
    double easting = point.position.easting;
    if (r.inDegrees && std::abs(easting) > 180) easting -= std::copysign(360, easting);
    appendDouble(bytes, point.x);
    appendDouble(bytes, calibration.imageHeight - 1 - point.y);
    appendDouble(bytes, easting);
    appendDouble(bytes, r.inDegrees ? std::clamp(point.position.northing, -90.0, 90.0) : point.position.northing);
  }
  appendDouble(bytes, 0);
  return bytes;
}

}  // namespace

ReadResult readMcd(const std::string& path) {
  constexpr const char* title = "MCD Input";
  ReadResult result;
  result.stopped = true;
  Rectangle rectangle{};
  const std::string fault = parse(TextFile(path).content(), rectangle);
  if (!fault.empty()) {
    tell("This is not an MCD calibration: " + fault, title);
    return result;
  }
  calibration.imagePath = imageBeside(path);
  getidata(calibration.imagePath, calibration.imageWidth, calibration.imageHeight);
  if (calibration.imageHeight == 0) {
    tell("Unable to proceed without matching image");
    return result;
  }
  unwrapLongitude(rectangle);
  placePoints(rectangle);
  logPointCount();
  return {matchDatum(wgs84Name)};
}

WriteOutcome writeMcd(const std::string& stem) {
  const Rectangle rectangle = imageRectangle();
  if (rectangle.inDegrees && !(reachesPoleAtMost(rectangle.first) && reachesPoleAtMost(rectangle.opposite))) {
    showMessage("No .mcd file is written: a corner of the image lies beyond a pole");
    return WriteOutcome::skipped;
  }
  reportLostProjection(".mcd");
  const double off = deviation(rectangle);
  if (off >= 1) {
    showMessage("The .mcd file cannot hold the rotation of this map: corners are up to " + formatNumber(off, "###0.0") +
                " pixels off");
  }
  return writeCalibrationFile(stem + ".mcd", mcdContent(rectangle));
}

}  // namespace vellandra
