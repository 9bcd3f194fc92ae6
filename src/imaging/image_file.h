#pragma once

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "imaging/bitmap.h"

namespace vellandra {

/// An image file open for reading, its bytes as the image library is to see them: a BMP whose header is of a later
/// version (GIMP and ImageMagick write these; the library takes none past the first) is seen with the header of 40
/// bytes that all versions begin with, and without the bytes the later ones add. Any other file is seen as it is.
class ImageFile {
 public:
  /// Empty for anything but a regular file: a folder has no bytes, a pipe might never give any.
  explicit ImageFile(const std::string& path);
  explicit operator bool() const { return file_.is_open(); }

  /// Bytes on disk.
  std::int64_t size() const { return size_; }
  /// Returns the count of bytes read, less than `length` at the end of the file.
  std::size_t read(void* buffer, std::size_t length);
  /// `origin` is SEEK_SET, SEEK_CUR or SEEK_END.
  bool seek(long offset, int origin);
  long tell();

 private:
  void shortenBmpHeader();

  std::filebuf file_;
  std::int64_t size_ = 0;
  std::vector<unsigned char> head_;  ///< takes the place of the file's first bytes
  long cut_ = 0;                     ///< bytes behind `head_` that are not seen
};

/// The size of the first image of a GIF, which is the one that gets loaded; nothing when the file is no GIF or ends
/// before. Layout: Graphics Interchange Format 89a, CompuServe 1990.
std::optional<ImageSize> gifSize(ImageFile& file);

}  // namespace vellandra
