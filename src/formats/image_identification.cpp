#include "formats/image_identification.h"

#include "calibration/log.h"
#include "calibration/pickers.h"
#include "raster/image_header.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

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
    tell("Unable to read image " + path);
    path.clear();
    return;
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
