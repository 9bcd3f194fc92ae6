#include "imaging/saved_map.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <utility>

#include "calibration/format_row.h"
#include "calibration/messages.h"
#include "calibration/open_map.h"
#include "calibration/pickers.h"
#include "calibration/preferences.h"
#include "formats/map_file.h"
#include "imaging/map_image.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {

namespace {

bool isOneOf(const MapFiles& files, const std::string& path) {
  return std::any_of(files.begin(), files.end(), [&path](const std::string& file) {
    std::error_code error;
    return std::filesystem::equivalent(path, file, error) && !error;
  });
}

/// The calibrations beside an image that are named after it, but for its ".map".
std::string otherCalibrationsOf(const std::string& path) {
  const PathParts image = splitPath(path);
  const FormatRow* saved = formatOf(mapPathBeside(path));
  std::string names;
  for (const FormatRow& format : formatTable().rows) {
    if (&format == saved) continue;
    for (const Ending& ending : format.endings) {
      for (const std::string tail : {".", "_png."}) {
        const std::string file = findFile(image.folder + image.base + tail + ending.extension);
        if (!file.empty()) names += (names.empty() ? "" : ", ") + std::string(fileName(file));
      }
    }
  }
  return names;
}

/// Flags for a PNG: large ones in colours are packed at a level that takes a third of the usual one's time for a sixth
/// more bytes. With a palette there is less time to save, and more bytes to lose.
int pngFlags(const Bitmap& image) {
  constexpr std::int64_t large = 10'000'000;  // pixels
  constexpr int quickLevel = 3;
  return image.bitsPerPixel() > 8 && std::int64_t{image.width()} * image.height() > large ? quickLevel : 0;
}

}  // namespace

std::optional<std::string> askWhereToSave(const MapFiles& inUse) {
  const std::string path = putpfile(inUse.empty() ? std::string() : inUse.front());
  if (path.empty()) return std::nullopt;
  const std::string mapPath = mapPathBeside(path);
  if (isOneOf(inUse, path) || isOneOf(inUse, mapPath)) {
    tell("unable to save " + path + "\nIt belongs to an open map, which stays as it is");
    return std::nullopt;
  }
  if (fileExists(path) && !askOkCancel("OK to overwrite " + path)) return std::nullopt;
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
  const std::string title = "Saving " + std::string(fileName(path));
  EncodedImage encoded = runWork(title, [&image] { return encodeImage(ImageFormat::png, image, pngFlags(image)); });
  logMessages(encoded, path);
  const std::string content = mapContentBeside(path);
  const std::string others = fileExists(path) ? otherCalibrationsOf(path) : "";
  const std::string failed = encoded.bytes.empty() ? path : runWork(title, [&] {
    const std::string bytes = std::move(encoded.bytes);  // given back here, not where the window waits for it
    return writeWithCompanion({path, bytes}, {mapPathBeside(path), content});
  });
  if (!failed.empty()) {
    tell((failed == path ? "unable to save " : "unable to write ") + failed);
    return false;
  }
  if (!others.empty()) showMessage("Made for the picture that was there before, and not for this one: " + others);
  if (mapImage.path == path) mapImage = MapImage();  // what is on show is not in that file any more
  previous.keepNew();
  return true;
}

}  // namespace vellandra
