#include "imaging/saved_map.h"

#include "calibration/open_map.h"
#include "calibration/pickers.h"
#include "calibration/preferences.h"
#include "formats/map_file.h"
#include "imaging/map_image.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {

std::optional<std::string> askWhereToSave() {
  const std::string path = putpfile();
  if (path.empty()) return std::nullopt;
  if (fileExists(path) && !askOkCancel("OK to overwrite " + path)) return std::nullopt;
  const std::string mapPath = mapPathBeside(path);
  // Without its PNG it is the calibration of another image of that name: asked whatever the preference says.
  const bool asks = preferences.warnOverwrite || !fileExists(path);
  if (asks && fileExists(mapPath) && !askOkCancel("OK to overwrite " + mapPath)) {
    return std::nullopt;
  }
  return path;
}

bool saveAndOpen(const Bitmap& image, const Calibration& map, const std::string& path) {
  OpenMapKeeper previous;
  openDerivedMap(map, path);
  const EncodedImage encoded = encodeImage(ImageFormat::png, image);
  logMessages(encoded, path);
  const std::string content = mapContentBeside(path);
  const std::string failed =
      encoded.bytes.empty() ? path : writeWithCompanion({path, encoded.bytes}, {mapPathBeside(path), content});
  if (!failed.empty()) {
    tell((failed == path ? "unable to save " : "unable to write ") + failed);
    return false;
  }
  if (mapImage.path == path) mapImage = MapImage();  // what is on show is not in that file any more
  previous.keepNew();
  return true;
}

std::optional<double> percentageFrom(const std::string& text, double lowest, double highest) {
  try {
    const double value = parseNumber(text);
    if (beginsWithNumber(text) && value >= lowest && value <= highest) return value;
  } catch (const Overflow&) {
    return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace vellandra
