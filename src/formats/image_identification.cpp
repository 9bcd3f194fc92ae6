#include "formats/image_identification.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/pickers.h"
#include "raster/image_header.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr int largestSide = std::numeric_limits<std::int16_t>::max();  // pixels, as calibrations hold them

std::string stemOf(const std::string& path) {
  return path.substr(0, path.size() - fileName(path).size()) + splitPath(path).base;
}

struct FoundImage {
  std::string path;
  ImageSize size;
};

/// The image at `path`, or with another extension in its place; `unreadable` gets the path of a file that is none.
std::optional<FoundImage> findImageAt(const std::string& path, std::string& unreadable) {
  const std::string stem = stemOf(path);
  for (const std::string& tried : {path, stem + ".png", stem + ".jpg", stem + ".bmp", stem + ".tif", stem + ".gif"}) {
    const std::string found = findFile(tried);
    if (found.empty()) continue;
    if (const std::optional<ImageSize> size = imageSize(found)) return FoundImage{found, *size};
    if (imageTypeOf(found) != nullptr) unreadable = found;
  }
  return std::nullopt;
}

/// What to do about an image that cannot be read for the ending of its name, on a line of its own.
std::string endingAdvice(const std::string& path) {
  if (imageTypeOf(path) != nullptr) return {};
  const std::string name = lowerCase(path);
  for (const auto& [longEnding, ending] : {std::pair(".tiff", ".tif"), std::pair(".jpeg", ".jpg")}) {
    if (name.ends_with(longEnding)) return std::string("\nRename it: its name has to end in ") + ending;
  }
  return "\nSave it as one of .png, .jpg, .bmp, .tif or .gif";
}

std::optional<FoundImage> findImage(const std::string& path, const std::vector<std::string>& others) {
  std::string unreadable;
  if (std::optional<FoundImage> image = findImageAt(path, unreadable)) return image;
  for (const std::string& other : others) {
    std::optional<FoundImage> image = findImageAt(other, unreadable);
    if (!image) continue;
    showMessage("There is no image " + path + ", taken is " + std::string(fileName(image->path)));
    return image;
  }
  if (!unreadable.empty()) tell("Unable to read image " + unreadable);
  userInterface().messageBox(
      {"Identify image file associated with\n" + stemOf(path) + ".png", "Vellandra", Buttons::ok, Icon::question});
  const std::string chosen = findFile(getifile());
  if (chosen.empty()) return std::nullopt;
  if (const std::optional<ImageSize> size = imageSize(chosen)) return FoundImage{chosen, *size};
  tell("Unable to read image " + chosen + endingAdvice(chosen));
  return std::nullopt;
}

/// `side` is "width" or "height".
void compareSize(const char* side, std::int16_t stated, std::int16_t actual) {
  if (stated == 0 || stated == actual) return;
  tell("Image " + std::string(side) + "=" + std::to_string(actual) + "\n input file " + side + "=" +
       std::to_string(stated) + "\nusing image " + side);
}

}  // namespace

void getidata(std::string& path, std::int16_t& width, std::int16_t& height, const std::vector<std::string>& others) {
  writeLog("getidata " + path);
  const std::int16_t statedWidth = std::exchange(width, std::int16_t{0});
  const std::int16_t statedHeight = std::exchange(height, std::int16_t{0});
  const std::optional<FoundImage> image = findImage(std::exchange(path, {}), others);
  if (!image) return;
  path = image->path;
  if (std::max(image->size.width, image->size.height) > largestSide) {
    throw Overflow("the image " + path + " has " + std::to_string(image->size.width) + " by " +
                   std::to_string(image->size.height) + " pixels, at most " + std::to_string(largestSide) +
                   " a side can be calibrated: scale it down or cut it into sheets");
  }
  width = toInt16(image->size.width);
  height = toInt16(image->size.height);
  compareSize("width", statedWidth, width);
  compareSize("height", statedHeight, height);
}

std::string imageBeside(const std::string& calibrationPath, std::string_view name) {
  const PathParts parts = splitPath(calibrationPath);
  name = trim(fileName(trim(name)));
  return parts.folder + (name.empty() ? parts.base + ".png" : toUtf8(name));
}

}  // namespace vellandra
