#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellandra {

enum class ImageFormat { bmp = 0, jpeg = 2, png = 13, tiff = 18, gif = 25 };

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

/// An image file open for reading, at any position. What is read lies in a window of memory for the reads that follow,
/// which in pictures are small ones, close together.
class ImageFile {
 public:
  /// Empty for anything but a regular file: a folder has no bytes, a pipe might never give any.
  explicit ImageFile(const std::string& path);
  ImageFile(const ImageFile&) = delete;
  ImageFile& operator=(const ImageFile&) = delete;
  ~ImageFile();
  explicit operator bool() const { return descriptor_ >= 0; }

  /// Bytes on disk.
  std::int64_t size() const { return size_; }
  /// Returns the count of bytes read, less than `length` where the file ends.
  std::size_t read(std::int64_t position, void* buffer, std::size_t length);
  /// Whether all of `bytes` could be filled.
  bool fill(std::int64_t position, std::span<unsigned char> bytes);
  /// -1 behind the end.
  int byteAt(std::int64_t position);
  /// Of the next byte of this value from `position` on; `size()` when there is none. Throws Cancelled.
  std::int64_t find(unsigned char value, std::int64_t position);

 private:
  /// What of the file lies in memory from `position` on; empty behind the end.
  std::span<const unsigned char> window(std::int64_t position);

  int descriptor_ = -1;
  std::int64_t size_ = 0;
  std::vector<unsigned char> window_;
  std::int64_t windowStart_ = 0;
};

/// What a decoder is to see of an image file: pieces of it, and bytes that are not in it, one behind the other.
class ImageParts {
 public:
  explicit ImageParts(ImageFile& file) : file_(&file) {}

  void add(std::int64_t position, std::int64_t length);
  void add(std::string bytes);

  /// As a file is read; `origin` is SEEK_SET, SEEK_CUR or SEEK_END.
  std::size_t read(void* buffer, std::size_t length);
  bool seek(std::int64_t offset, int origin);
  std::int64_t tell() const { return position_; }
  std::int64_t size() const { return length_; }

 private:
  struct Part {
    std::int64_t start;     ///< as the decoder counts
    std::int64_t position;  ///< in the file
    std::int64_t length;
    std::string bytes;  ///< in place of the file's when it is not empty
  };
  void add(Part part);

  ImageFile* file_;
  std::vector<Part> parts_;
  std::int64_t length_ = 0, position_ = 0;
};

inline unsigned littleEndian16(const unsigned char* bytes) {
  return bytes[0] | unsigned{bytes[1]} << 8;
}
inline std::uint32_t littleEndian32(const unsigned char* bytes) {
  return littleEndian16(bytes) | std::uint32_t{littleEndian16(bytes + 2)} << 16;
}
inline unsigned bigEndian16(const unsigned char* bytes) {
  return unsigned{bytes[0]} << 8 | bytes[1];
}
inline std::uint32_t bigEndian32(const unsigned char* bytes) {
  return std::uint32_t{bigEndian16(bytes)} << 16 | bigEndian16(bytes + 2);
}

}  // namespace vellandra
