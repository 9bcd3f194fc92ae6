#include "imaging/map_image.h"

#include <algorithm>
#include <array>

#include "support/numbers.h"

namespace vellandra {

MapImage mapImage;

namespace {

/// Enough to keep thin lines, few enough for any size of map.
constexpr int samplesASide = 3;

/// Mean colour of the cell of `image` that pixel (x, y) of a picture of `width` x `height` shows.
std::array<std::uint8_t, 3> cellColor(const Bitmap& image, int x, int y, int width, int height) {
  const auto place = [](int cell, int sample, int side, int cells) {
    const double at = (cell + (sample + 0.5) / samplesASide) * side / cells;
    return std::min(static_cast<int>(at), side - 1);
  };
  std::array<int, 3> sums{};
  for (int j = 0; j < samplesASide; ++j) {
    const auto row = image.row(place(y, j, image.height(), height));
    for (int i = 0; i < samplesASide; ++i) {
      const auto pixel = static_cast<std::size_t>(place(x, i, image.width(), width)) * 3;
      for (std::size_t part = 0; part < 3; ++part) sums[part] += row[pixel + part];
    }
  }
  std::array<std::uint8_t, 3> color{};
  for (std::size_t part = 0; part < 3; ++part) {
    color[part] = static_cast<std::uint8_t>(sums[part] / (samplesASide * samplesASide));
  }
  return color;
}

}  // namespace

bool loadMapImage(const std::string& path) {
  const Bitmap loaded = LoadImageByExtension(path);
  if (!loaded) {
    tell("file load error 1");
    return false;
  }
  Bitmap converted = convertTo24Bits(loaded);
  if (!converted) {
    tell("File convert error 1");
    return false;
  }
  mapImage = {std::move(converted), path};
  return true;
}

bool takeMapImage(const Picture& picture) {
  Bitmap bitmap = allocate24Bits(toInt16(picture.width), toInt16(picture.height));
  if (!bitmap) return false;
  const auto rowBytes = static_cast<std::size_t>(picture.width) * 3;
  for (int y = 0; y < picture.height; ++y) {
    const auto row = picture.pixels.begin() + static_cast<std::ptrdiff_t>(rowBytes) * y;
    std::copy(row, row + static_cast<std::ptrdiff_t>(rowBytes), bitmap.row(y).begin());
  }
  mapImage = {std::move(bitmap), "clip.board"};
  return true;
}

Picture pictureOf(const Bitmap& bitmap, int longestSide) {
  if (!bitmap) return {};
  const double scale = std::min(1.0, static_cast<double>(longestSide) / std::max(bitmap.width(), bitmap.height()));
  Picture picture;
  picture.width = std::max(1, static_cast<int>(bitmap.width() * scale));
  picture.height = std::max(1, static_cast<int>(bitmap.height() * scale));
  picture.pixels.reserve(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) * 3);
  for (int y = 0; y < picture.height; ++y) {
    for (int x = 0; x < picture.width; ++x) {
      const auto color = cellColor(bitmap, x, y, picture.width, picture.height);
      picture.pixels.insert(picture.pixels.end(), color.begin(), color.end());
    }
  }
  return picture;
}

bool saveMapImage(const std::string& path) {
  return mapImage.bitmap && SaveImage(ImageFormat::png, mapImage.bitmap, path);
}

}  // namespace vellandra
