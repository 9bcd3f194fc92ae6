#pragma once

#include <string>

#include "imaging/bitmap.h"
#include "support/user_interface.h"

namespace vellandra {

/// The map on show, 24 bits per pixel, and the file it came from; "clip.board" for a picture from the clipboard.
struct MapImage {
  Bitmap bitmap;
  std::string path;
};
extern MapImage mapImage;

/// Loads `path` as the map on show. False, with the person told, when it cannot be loaded.
bool loadMapImage(const std::string& path);

/// Takes a picture of 24 bits, rows from the top, as the map on show, under the path "clip.board". False when there is
/// no picture. Throws Overflow past 32767 pixels.
bool takeMapImage(const Picture& picture);

/// `bitmap`, of 24 bits, as a picture whose longer side is at most `longestSide` pixels.
Picture pictureOf(const Bitmap& bitmap, int longestSide);

/// Saves the map on show as PNG; false on failure and when there is none.
bool saveMapImage(const std::string& path);

}  // namespace vellandra
