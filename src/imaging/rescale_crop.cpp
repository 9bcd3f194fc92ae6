#include "imaging/rescale_crop.h"

#include <algorithm>
#include <optional>
#include <string>

#include "calibration/derived_map.h"
#include "calibration/driver.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "formats/map_file.h"
#include "imaging/map_image.h"
#include "imaging/saved_map.h"
#include "raster/large_images.h"
#include "raster/pixel_rectangle.h"
#include "support/numbers.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

/// The open map's image: the one on show when it is the clipboard's, in no file yet, else read into `loaded`. Empty,
/// with the person told, when it is not to be had in the size that the calibration is for.
const Bitmap& openImage(Bitmap& loaded) {
  const bool shown = calibration.imagePath == clipboardImage && mapImage.path == calibration.imagePath;
  if (!shown) loaded = LoadImageByExtension(calibration.imagePath);
  const Bitmap& image = shown ? mapImage.bitmap : loaded;
  if (image.width() == calibration.imageWidth && image.height() == calibration.imageHeight && image) return image;
  tell("Unable to load map");
  loaded.reset();
  return loaded;
}

bool calibrated() {
  if (driver.transformValid) return true;
  tell("Insufficient points to proceed");
  return false;
}

/// The files of the open map, which a copy does not replace.
MapFiles filesOfOpenMap() {
  return {calibration.imagePath, mapPathBeside(calibration.imagePath), driver.inputPath};
}

/// Saves `image` with the calibration that `mapping` makes of the open one, which stays open.
bool saveCopy(const Bitmap& image, const PixelMapping& mapping, PointsKept points, const std::string& path,
              const char* done) {
  const OpenMapKeeper openMap;
  const Calibration map = derivedCalibration(calibration, mapping, image.width(), image.height(), points);
  if (!saveAndOpen(image, map, path)) return false;
  showMessage(done);
  return true;
}

int scaledSide(int side, double scale) {
  return std::max(1, roundToInt32(side * scale));
}

bool isInside(const PixelRectangle& part, const Bitmap& image) {
  return part.left >= 0 && part.top >= 0 && part.left < part.right && part.top < part.bottom &&
         part.right <= image.width() && part.bottom <= image.height();
}

}  // namespace

bool rescaleMap() {
  if (!calibrated()) return false;
  const std::optional<std::string> text = userInterface().askText("Scale percentage, 10 to 90", "50");
  if (!text) return false;
  const std::optional<double> percentage = numberIn(*text, {10, 90});
  if (!percentage) {
    tell("scale percentage must be 10 to 90");
    return false;
  }
  const std::optional<std::string> path = askWhereToSave(filesOfOpenMap());
  if (!path) return false;
  Bitmap loaded;
  const Bitmap& image = openImage(loaded);
  if (!image) return false;
  const Bitmap scaled = runWork("Rescaling", [&] {
    const Bitmap colors = image.bitsPerPixel() == 24 ? Bitmap() : colorsOf(image);
    return rescaled(colors ? colors : image, scaledSide(image.width(), *percentage / 100),
                    scaledSide(image.height(), *percentage / 100));
  });
  if (!scaled) {
    tell("Unable to allocate memory for rescaled map");
    return false;
  }
  PixelMapping mapping;
  mapping.perX = static_cast<double>(image.width()) / scaled.width();
  mapping.perY = static_cast<double>(image.height()) / scaled.height();
  // Resampling brings edge to edge, positions belong to the middle of pixels.
  mapping.fromX = mapping.perX / 2 - 0.5;
  mapping.fromY = mapping.perY / 2 - 0.5;
  return saveCopy(scaled, mapping, PointsKept::all, *path, "Done rescaling");
}

bool cropMap() {
  if (!calibrated()) return false;
  PixelRectangle part;
  userInterface().askRectangle(part);
  if (part == PixelRectangle()) return false;
  Bitmap loaded;
  const Bitmap& image = openImage(loaded);
  if (!image) return false;
  if (!isInside(part, image)) {
    tell("The part to keep must lie inside the map");
    return false;
  }
  const std::optional<std::string> path = askWhereToSave(filesOfOpenMap());
  if (!path) return false;
  const Bitmap cropped = runWork("Cropping", [&] {
    Bitmap cut = copied(image, part.left, part.top, part.right, part.bottom);
    return canSave(ImageFormat::png, cut) ? std::move(cut) : colorsOf(cut);
  });
  if (!cropped) {
    tell("Unable to allocate memory for cropped map");
    return false;
  }
  PixelMapping mapping;
  mapping.fromX = part.left;
  mapping.fromY = part.top;
  return saveCopy(cropped, mapping, PointsKept::onImage, *path, "Done cropping");
}

}  // namespace vellandra
