#include "imaging/garmin_overlay.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "calibration/calibration.h"
#include "calibration/preferences.h"
#include "calibration/transform.h"
#include "formats/output.h"
#include "geodesy/constants.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

Position corner(std::int32_t x, std::int32_t y) {
  Position position{};
  pixelToLatLon(x, y, position.latitude, position.longitude);
  return position;
}

std::string element(const std::string& name, const std::string& text) {
  return "<" + name + ">" + text + "</" + name + ">";
}

std::string angle(const std::string& name, double degrees) {
  return line(element(name, formatNumber(degrees, "###0.0000000000")));
}

}  // namespace

double mapRotation() {
  const double a = calibration.tf1;
  const double b = calibration.tf3;
  if (a != 0) return std::atan(b / a) * 180 / pi + 0.0;  // never -0
  return b == 0 ? 0 : std::copysign(90, b);
}

OverlayBox overlayBox(const Tile& tile, double rotation) {
  const Position p1 = corner(tile.left, tile.top);
  const Position p2 = corner(tile.right, tile.bottom);
  const Position p3 = corner(tile.right, tile.top);
  const double k = std::cos(rotation * pi / 180);
  const double latitude = (p1.latitude + p2.latitude) / 2;
  const double longitude = (p1.longitude + p2.longitude) / 2;
  const double halfHeight = (p3.latitude - p2.latitude) / (2 * k);
  const double halfWidth = (p3.longitude - p1.longitude) / (2 * k);
  return {latitude + halfHeight, latitude - halfHeight, longitude + halfWidth, longitude - halfWidth, rotation};
}

double placementError(const Tile& tile, const OverlayBox& box) {
  const double latitude = (box.north + box.south) / 2;
  const double longitude = (box.east + box.west) / 2;
  const double shortening = std::cos(latitude * degToRad);
  const double cosine = std::cos(box.rotation * degToRad);
  const double sine = std::sin(box.rotation * degToRad);
  struct Corner {
    int x, y;
    double north, east;
  };
  const std::array<Corner, 4> corners{{{tile.left, tile.top, box.north, box.west},
                                       {tile.right, tile.top, box.north, box.east},
                                       {tile.right, tile.bottom, box.south, box.east},
                                       {tile.left, tile.bottom, box.south, box.west}}};
  double worst = 0;
  for (const Corner& c : corners) {
    const double up = c.north - latitude;
    const double right = (c.east - longitude) * shortening;
    const Pixel pixel = pixelAt(calibration, latitude + up * cosine + right * sine,
                                longitude + (right * cosine - up * sine) / shortening);
    const double error = std::hypot(pixel.x - c.x, pixel.y - c.y);
    worst = std::isnan(error) ? std::numeric_limits<double>::infinity() : std::max(worst, error);
  }
  return worst;
}

std::string kmlHead(const std::string& base) {
  return line(R"(<?xml version="1.0" encoding="UTF-8"?>)") +
         line(R"(<kml xmlns="http://www.opengis.net/kml/2.2" xmlns:gx="http://www.google.com/kml/ext/2.2")"
              R"( xmlns:kml="http://www.opengis.net/kml/2.2" xmlns:atom="http://www.w3.org/2005/Atom">)") +
         (preferences.gisPrograms ? line("<Document>") : "") + line("<Folder>") +
         line(" " + element("name", escapeXml(base)));
}

std::string kmlOverlay(const std::string& name, const OverlayBox& box) {
  const std::string text = escapeXml(name);
  const std::string order = line(element("drawOrder", std::to_string(preferences.garminDrawOrder)));
  const std::string color = line(element("color", preferences.kmzTransparency != 0 ? "80ffffff" : "ffffffff"));
  const std::string href = "files/" + (preferences.gisPrograms ? percentEncode(name) : text) + ".jpg";
  return line("<GroundOverlay> " + element("name", text)) + (preferences.gisPrograms ? color + order : order + color) +
         line("<Icon> " + element("href", href)) + line("</Icon> ") + line("<LatLonBox> ") + angle("north", box.north) +
         angle("south", box.south) + angle("east", box.east) + angle("west", box.west) +
         angle("rotation", box.rotation) + line("</LatLonBox> ") + line("</GroundOverlay> ");
}

std::string kmlEnd() {
  return line("</Folder>") + (preferences.gisPrograms ? line("</Document>") : "") + line("</kml>");
}

}  // namespace vellandra
