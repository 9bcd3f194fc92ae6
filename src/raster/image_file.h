#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "raster/bitmap.h"

namespace vellandra {

/// A type of image that can be loaded, by the ending of its files.
struct ImageType {
  std::string_view ending;
  ImageFormat format;
  /// The most bytes of pixels that one byte of such a file can stand for, with room to spare; guards against a header
  /// that claims gigabytes. TIFF: a line of 32767 pixels in a bit (Group 4) and 128 KB in four bytes (Zstandard). JPEG:
  /// 64 pixels of three bytes in a bit. PNG: deflate's 1032, at one bit a pixel. BMP: an empty run-length line in two
  /// bytes. GIF: 4096 pixels in 12 bits.
  double largestExpansion;
};
inline constexpr std::array<ImageType, 5> imageTypes{{{"TIF", ImageFormat::tiff, 32768},
                                                      {"JPG", ImageFormat::jpeg, 1536},
                                                      {"PNG", ImageFormat::png, 8 * 1032},
                                                      {"BMP", ImageFormat::bmp, 16384},
                                                      {"GIF", ImageFormat::gif, 2731}}};

/// By the last three characters of `path`, without regard to case; null for any other ending.
const ImageType* imageTypeOf(const std::string& path);

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
