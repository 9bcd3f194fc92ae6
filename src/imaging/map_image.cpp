#include "imaging/map_image.h"

#include "support/user_interface.h"

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

bool saveMapImage(const std::string& path) {
  return mapImage.bitmap && SaveImage(ImageFormat::png, mapImage.bitmap, path);
}

}  // namespace vellandra
