#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "raster/bitmap.h"
#include "support/user_interface.h"

namespace vellandra {

/// By which a file is known again: bytes and the time of the last change.
struct FileStamp {
  std::uintmax_t size = 0;
  std::filesystem::file_time_type time;
  bool operator==(const FileStamp&) const = default;
};

/// The map on show, 24 bits per pixel, and the file it came from; `clipboardImage` for a picture from the clipboard.
struct MapImage {
  Bitmap bitmap;
  std::string path;
  std::optional<FileStamp> file = {};  ///< as it was read; nothing for the clipboard's
};
extern MapImage mapImage;

/// `image` with 24 bits per pixel, in which every step here works; empty when its pixels are no colours.
Bitmap asColors(Bitmap image);

/// Loads `path` as the map on show. False, with the person told, when it cannot be loaded.
bool loadMapImage(const std::string& path);

/// Whether the map on show is what `path` holds: the file has not changed since it was read. The clipboard's picture is
/// in no file that could.
bool isOnShow(const std::string& path);

/// What tells `image` from the one that the open calibration was made for: a sentence with both sizes, empty when they
/// are equal.
std::string sizeProblem(const Bitmap& image);

/// Takes a picture of 24 bits, rows from the top, as the map on show, under the path `clipboardImage`. False when there
/// is no picture. Throws Overflow past 32767 pixels.
bool takeMapImage(const Picture& picture);

/// `bitmap`, of 24 bits, as a picture whose longer side is at most `longestSide` pixels.
Picture pictureOf(const Bitmap& bitmap, int longestSide);

/// Saves the map on show as PNG; false on failure and when there is none.
bool saveMapImage(const std::string& path);

}  // namespace vellandra
