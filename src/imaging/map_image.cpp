#include "imaging/map_image.h"

#include <algorithm>

#include "support/numbers.h"

namespace vellandra {

MapImage mapImage;

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

bool saveMapImage(const std::string& path) {
  return mapImage.bitmap && SaveImage(ImageFormat::png, mapImage.bitmap, path);
}

}  // namespace vellandra
