#include "formats/image_identification.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "calibration/log.h"
#include "calibration/pickers.h"
#include "raster/image_file.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr int largestSide = std::numeric_limits<std::int16_t>::max();  // pixels, as calibrations hold them

std::string findImage(const std::string& path) {
  std::string found = findFile(path);
  const std::string stem = path.substr(0, path.size() - fileName(path).size()) + splitPath(path).base;
  for (const char* extension : {".png", ".jpg", ".bmp", ".tif", ".gif"}) {
    if (!found.empty()) break;
    found = findFile(stem + extension);
  }
  if (!found.empty()) return found;
  userInterface().messageBox(
      {"Identify image file associated with\n" + stem + ".png", "Vellandra", Buttons::ok, Icon::question});
  return findFile(getifile());
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

/// `side` is "width" or "height".
void compareSize(const char* side, std::int16_t stated, std::int16_t actual) {
  if (stated == 0 || stated == actual) return;
  tell("Image " + std::string(side) + "=" + std::to_string(actual) + "\n input file " + side + "=" +
       std::to_string(stated) + "\nusing image " + side);
}

}  // namespace

void getidata(std::string& path, std::int16_t& width, std::int16_t& height) {
  writeLog("getidata " + path);
  const std::int16_t statedWidth = width;
  const std::int16_t statedHeight = height;
  width = height = 0;
  path = findImage(path);
  if (path.empty()) return;
  const std::optional<ImageSize> size = imageSize(path);
  if (!size) {
    tell("Unable to read image " + path + endingAdvice(path));
    path.clear();
    return;
  }
  if (std::max(size->width, size->height) > largestSide) {
    throw Overflow("the image " + path + " has " + std::to_string(size->width) + " by " + std::to_string(size->height) +
                   " pixels, at most " + std::to_string(largestSide) +
                   " a side can be calibrated: scale it down or cut it into sheets");
  }
  width = toInt16(size->width);
  height = toInt16(size->height);
  compareSize("width", statedWidth, width);
  compareSize("height", statedHeight, height);
}

std::string imageBeside(const std::string& calibrationPath, std::string_view name) {
  const PathParts parts = splitPath(calibrationPath);
  name = trim(fileName(trim(name)));
  return parts.folder + (name.empty() ? parts.base + ".png" : toUtf8(name));
}

}  // namespace vellandra
