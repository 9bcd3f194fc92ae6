#include "imaging/saved_map.h"

#include "calibration/open_map.h"
#include "calibration/pickers.h"
#include "calibration/preferences.h"
#include "formats/map_file.h"
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
  if (preferences.warnOverwrite && fileExists(mapPath) && !askOkCancel("OK to overwrite " + mapPath)) {
    return std::nullopt;
  }
  return path;
}

bool saveAndOpen(const Bitmap& image, const Calibration& map, const std::string& path) {
  if (!SaveImage(ImageFormat::png, image, path)) {
    tell("unable to save " + path);
    return false;
  }
  OpenMapKeeper previous;
  openDerivedMap(map, path);
  if (writeMapBeside(path) != WriteOutcome::written) return false;
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
