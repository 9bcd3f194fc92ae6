#include "raster/image_file.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "support/paths.h"
#include "support/text.h"

namespace vellandra {
namespace {

std::uint32_t littleEndian32(const unsigned char* bytes) {
  return static_cast<std::uint32_t>(bytes[0] | bytes[1] << 8 | bytes[2] << 16) | static_cast<std::uint32_t>(bytes[3])
                                                                                     << 24;
}

void putLittleEndian32(unsigned char* bytes, std::uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[i] = static_cast<unsigned char>(value >> (8 * i));
}

bool skipSubBlocks(ImageFile& file) {
  unsigned char length = 0;
  while (file.read(&length, 1) == 1) {
    if (length == 0) return true;
    file.seek(length, SEEK_CUR);
  }
  return false;
}

}  // namespace

const ImageType* imageTypeOf(const std::string& path) {
  const std::string ending = upperCase(extensionAsGiven(path));
  const auto type = std::ranges::find(imageTypes, ending, &ImageType::ending);
  return type == imageTypes.end() ? nullptr : type;
}

ImageFile::ImageFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error) return;
  size_ = static_cast<std::int64_t>(size);
  if (file_.open(path, std::ios::in | std::ios::binary) != nullptr) shortenBmpHeader();
}

void ImageFile::shortenBmpHeader() {
  // File header: "BM", file size, 4 bytes, offset of the pixels. Info header: its own size first, compression at 16.
  constexpr std::size_t fileHeader = 14, infoHeader = 40, masks = 12;
  constexpr std::uint32_t bitFields = 3, largestHeader = 124;
  std::vector<unsigned char> head(fileHeader + infoHeader + masks);
  const std::size_t count = read(head.data(), head.size());
  seek(0, SEEK_SET);
  if (count != head.size() || head[0] != 'B' || head[1] != 'M') return;
  const std::uint32_t pixels = littleEndian32(&head[10]), header = littleEndian32(&head[fileHeader]);
  // The channel masks, when there are any, stand behind the 40 bytes in every version.
  const std::size_t kept = littleEndian32(&head[fileHeader + 16]) == bitFields ? infoHeader + masks : infoHeader;
  if (header <= infoHeader || header < kept || header > largestHeader || pixels < fileHeader + header) return;
  head.resize(fileHeader + kept);
  cut_ = static_cast<long>(header - kept);
  putLittleEndian32(&head[10], pixels - static_cast<std::uint32_t>(cut_));
  putLittleEndian32(&head[fileHeader], infoHeader);
  head_ = std::move(head);
}

std::size_t ImageFile::read(void* buffer, std::size_t length) {
  auto* bytes = static_cast<char*>(buffer);
  const auto position = static_cast<std::size_t>(tell());
  std::size_t count = 0;
  if (position < head_.size()) {
    count = std::min(length, head_.size() - position);
    std::memcpy(bytes, &head_[position], count);
    seek(static_cast<long>(count), SEEK_CUR);
  }
  const std::streamsize rest = file_.sgetn(bytes + count, static_cast<std::streamsize>(length - count));
  return count + static_cast<std::size_t>(rest);
}

bool ImageFile::seek(long offset, int origin) {
  const std::streamoff failed = -1;
  if (origin == SEEK_END) return file_.pubseekoff(offset, std::ios::end, std::ios::in) != failed;
  const long target = origin == SEEK_CUR ? tell() + offset : offset;
  const bool inHead = target < static_cast<long>(head_.size());
  return file_.pubseekoff(inHead ? target : target + cut_, std::ios::beg, std::ios::in) != failed;
}

long ImageFile::tell() {
  const auto position = static_cast<long>(file_.pubseekoff(0, std::ios::cur, std::ios::in));
  return position < static_cast<long>(head_.size()) ? position : position - cut_;
}

std::optional<ImageSize> gifSize(ImageFile& file) {
  constexpr unsigned char extension = 0x21, imageDescriptor = 0x2C, colorTable = 0x80;
  std::array<unsigned char, 13> screen{};
  file.seek(0, SEEK_SET);
  if (file.read(screen.data(), screen.size()) != screen.size()) return std::nullopt;
  const std::string_view signature(reinterpret_cast<const char*>(screen.data()), 6);
  if (signature != "GIF87a" && signature != "GIF89a") return std::nullopt;
  if ((screen[10] & colorTable) != 0) file.seek(3L << ((screen[10] & 7) + 1), SEEK_CUR);
  std::array<unsigned char, 2> block{};
  while (file.read(block.data(), 1) == 1) {
    if (block[0] == imageDescriptor) {
      std::array<unsigned char, 9> image{};
      if (file.read(image.data(), image.size()) != image.size()) return std::nullopt;
      return ImageSize{image[4] | image[5] << 8, image[6] | image[7] << 8};
    }
    if (block[0] != extension || file.read(&block[1], 1) != 1 || !skipSubBlocks(file)) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace vellandra
