#pragma once

#include <cmath>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "calibration/driver.h"
#include "calibration/open_map.h"
#include "calibration/transform.h"
#include "geodesy/constants.h"
#include "geodesy/mercator.h"
#include "imaging/saved_map.h"
#include "raster/bitmap.h"
#include "raster/image_header.h"

namespace vellandra {

using Texts = std::vector<std::string>;

/// Texts between `open` and `close`, in order.
inline Texts between(const std::string& content, const std::string& open, const std::string& close) {
  Texts found;
  for (std::size_t at = content.find(open); at != std::string::npos; at = content.find(open, at)) {
    at += open.size();
    found.push_back(content.substr(at, content.find(close, at) - at));
  }
  return found;
}

using TiePixel = std::pair<int, int>;

inline void placeTiePoints(Calibration& map, const std::vector<TiePixel>& points) {
  map.pointCount = 0;
  for (const auto& [x, y] : points) {
    const int slot = ++map.pointCount;
    const Position position = positionAt(map, x, y);
    map.points[slot].setPixel(x, y);
    map.points[slot].setPosition(position.latitude, position.longitude);
    map.points[slot].datumName = "WGS 84";
  }
}

inline void placeCorners(Calibration& map) {
  const int right = map.imageWidth - 1, bottom = map.imageHeight - 1;
  placeTiePoints(map, {{0, 0}, {right, 0}, {right, bottom}, {0, bottom}});
}

/// Pixels of `pixel` degrees, the first one at (`longitude`, `latitude`), turned by `degrees`; corners as tie points.
inline Calibration linearMap(int width, int height, double longitude, double latitude, double pixel,
                             double degrees = 0) {
  Calibration map;
  map.imageWidth = static_cast<std::int16_t>(width);
  map.imageHeight = static_cast<std::int16_t>(height);
  map.x0 = longitude;
  map.y0 = latitude;
  map.tf1 = pixel * std::cos(degrees * degToRad);
  map.tf4 = -map.tf1;
  map.tf2 = map.tf3 = pixel * std::sin(degrees * degToRad);
  placeCorners(map);
  return map;
}

inline Calibration mercatorMap(int width, int height, double longitude, double latitude, double pixel) {
  Calibration map = linearMap(width, height, longitude, latitude, pixel);
  map.projection = "mercator";
  map.mercatorTop = MercatorY(latitude);
  map.mercatorBottom = map.mercatorTop - pixel * degToRad * height;
  map.tf4 = (latitudeOfMercatorY(map.mercatorBottom) - latitude) / height;
  placeCorners(map);
  return map;
}

/// A picture in which no two neighbours are alike, without the colour of empty pixels.
inline Bitmap picture(int width, int height, int seed) {
  Bitmap image = allocate24Bits(width, height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const auto channel = [&](int a, int b) { return static_cast<std::uint8_t>((a * x + b * y + seed * 31) % 250); };
      SetPixelColor(image, x, y, {channel(7, 3), channel(11, 5), channel(2, 13), 0});
    }
  }
  return image;
}

/// A picture that cannot be made smaller.
inline Bitmap noise(int width, int height) {
  std::mt19937 random(1);
  Bitmap image = allocate24Bits(width, height);
  for (int y = 0; y < height; ++y) {
    for (std::uint8_t& byte : image.row(y)) byte = static_cast<std::uint8_t>(random());
  }
  return image;
}

/// Writes the image and its ".map" without opening the map.
inline void writeMap(const std::string& path, const Calibration& map, const Bitmap& image) {
  const OpenMapKeeper openMap;
  ASSERT_TRUE(saveAndOpen(image, map, path));
}

inline PixelColor colorAt(const Bitmap& image, int x, int y) {
  PixelColor color;
  EXPECT_TRUE(GetPixelColor(image, x, y, color)) << x << " " << y;
  return color;
}

/// 0 by 0 when there is no such image.
inline ImageSize sizeOf(const std::string& path) {
  return imageSize(path).value_or(ImageSize{});
}

/// The bytes of the pixels, row by row, of an image of whole bytes a pixel.
inline std::string bytesOf(const Bitmap& image) {
  std::string bytes;
  const auto length = static_cast<std::size_t>(image.width()) * static_cast<std::size_t>(image.bitsPerPixel()) / 8;
  for (int y = 0; y < image.height(); ++y) bytes.append(reinterpret_cast<const char*>(image.row(y).data()), length);
  return bytes;
}

}  // namespace vellandra
