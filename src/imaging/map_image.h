#pragma once

#include <string>

#include "imaging/bitmap.h"

namespace vellandra {

/// The map on show, 24 bits per pixel, and the file it came from; "clip.board" for a picture from the clipboard.
struct MapImage {
  Bitmap bitmap;
  std::string path;
};
extern MapImage mapImage;

/// Loads `path` as the map on show. False, with the person told, when it cannot be loaded.
bool loadMapImage(const std::string& path);

/// Saves the map on show as PNG; false on failure and when there is none.
bool saveMapImage(const std::string& path);

}  // namespace vellandra
