#include "imaging/garmin_overlay.h"

#include <algorithm>
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

/// Degrees to add to the longitudes of a box that lies beyond 180 degrees altogether; across them it may reach over.
double turnOntoEarth(double west, double east) {
  if (west >= 180) return -360 * std::floor((west + 180) / 360);
  return east <= -180 ? 360 * std::floor((180 - east) / 360) : 0;
}

}  // namespace

double mapRotation() {
  const double a = calibration.tf1;
  const double b = calibration.tf3 + 0.0;  // never -0, which would turn by the other half
  if (a != 0) return std::atan2(b, a) * 180 / pi;
  return b == 0 ? 0 : std::copysign(90, b);
}

OverlayBox overlayBox(const Tile& tile, double rotation) {
  const Position p1 = corner(tile.left, tile.top);
  const Position p2 = corner(tile.right, tile.bottom);
  const Position p3 = corner(tile.right, tile.top);
  const double latitude = (p1.latitude + p2.latitude) / 2;
  const double longitude = (p1.longitude + p2.longitude) / 2;
  const double shortening = std::cos(latitude * degToRad);
  const double cosine = std::cos(rotation * pi / 180);
  const double sine = std::sin(rotation * pi / 180);
  // Of a map turned by about a quarter, the upper edge hardly leads east and the right one hardly south.
  constexpr double hardly = 0.01;
  const bool onItsSide = std::abs(cosine) < hardly;
  const double height = onItsSide ? (p2.longitude - p3.longitude) * shortening / sine : p3.latitude - p2.latitude;
  const double width = onItsSide ? (p3.latitude - p1.latitude) / (shortening * sine) : p3.longitude - p1.longitude;
  const double part = onItsSide ? 2 : 2 * cosine;
  const double halfHeight = std::abs(height / part);
  const double halfWidth = std::abs(width / part);
  const double turn = turnOntoEarth(longitude - halfWidth, longitude + halfWidth);
  return {latitude + halfHeight, latitude - halfHeight, longitude + halfWidth + turn, longitude - halfWidth + turn,
          rotation};
}

double placementError(const Tile& tile, const OverlayBox& box) {
  const double latitude = (box.north + box.south) / 2;
  const double shortening = std::cos(latitude * degToRad);
  const double cosine = std::cos(box.rotation * degToRad);
  const double sine = std::sin(box.rotation * degToRad);
  const Position middle = positionAt(calibration, (tile.left + tile.right) / 2.0, (tile.top + tile.bottom) / 2.0);
  double longitude = (box.east + box.west) / 2;
  longitude += 360 * std::nearbyint((middle.longitude - longitude) / 360);
  double worst = 0;
  for (const double across : {0.0, 0.5, 1.0}) {
    for (const double down : {0.0, 0.5, 1.0}) {
      const double up = (0.5 - down) * (box.north - box.south);
      const double right = (across - 0.5) * (box.east - box.west) * shortening;
      const Pixel pixel = pixelAt(calibration, latitude + up * cosine + right * sine,
                                  longitude + (right * cosine - up * sine) / shortening);
      const double error = std::hypot(pixel.x - (tile.left + across * (tile.right - tile.left)),
                                      pixel.y - (tile.top + down * (tile.bottom - tile.top)));
      worst = std::isnan(error) ? std::numeric_limits<double>::infinity() : std::max(worst, error);
    }
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
