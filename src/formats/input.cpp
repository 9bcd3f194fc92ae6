#include "formats/input.h"

#include "calibration/datum_matching.h"
#include "support/paths.h"
#include "support/text.h"

namespace vellandra {

int matchFileDatum(std::string_view name) {
  return matchDatum(upperCase(name) == "WGS84" ? "WGS 84" : name);
}

std::string imageBeside(const std::string& path, std::string_view name) {
  const PathParts parts = splitPath(path);
  const std::string_view image = fileName(name);
  return image.empty() ? parts.folder + parts.base + ".png" : parts.folder + std::string(image);
}

}  // namespace vellandra
