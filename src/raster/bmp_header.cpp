#include "raster/bmp_header.h"

#include <algorithm>
#include <cstdlib>

namespace vellandra {
namespace {

// Lengths of the file's header and of the versions of the picture's. The field of the compression was given other
// meanings by OS/2, whose headers have other lengths.
constexpr std::uint32_t fileHeader = 14, coreHeader = 12, infoHeader = 40, maskHeader = 52, alphaHeader = 56,
                        largestHeader = 124;
constexpr std::array<std::uint32_t, 5> windowsHeaders{infoHeader, maskHeader, alphaHeader, 108, largestHeader};
constexpr std::array<std::uint32_t, 4> defaultMasks16{0x7C00, 0x03E0, 0x001F, 0};
constexpr std::array<std::uint32_t, 4> defaultMasks32{0xFF0000, 0xFF00, 0xFF, 0};

using Head = std::array<unsigned char, fileHeader + largestHeader>;

BmpHeader::Compression compressionOf(std::uint32_t number, std::uint32_t headerLength) {
  using enum BmpHeader::Compression;
  constexpr std::uint32_t bitFieldsNumber = 3, alphaBitFieldsNumber = 6;
  if (number <= 2) return static_cast<BmpHeader::Compression>(number);
  const bool isWindows = std::ranges::find(windowsHeaders, headerLength) != windowsHeaders.end();
  return isWindows && (number == bitFieldsNumber || number == alphaBitFieldsNumber) ? bitFields : other;
}

/// The masks stand behind the 40 bytes in every version, in the header or after it.
void readMasks(const Head& head, std::uint32_t headerLength, std::uint32_t number, BmpHeader& header) {
  if (header.compression != BmpHeader::Compression::bitFields) {
    header.masks = header.bits == 16 ? defaultMasks16 : defaultMasks32;
    return;
  }
  constexpr std::uint32_t alphaBitFieldsNumber = 6;
  const bool alpha = headerLength >= alphaHeader || number == alphaBitFieldsNumber;
  for (std::size_t i = 0; i < (alpha ? 4U : 3U); ++i) {
    header.masks[i] = littleEndian32(&head[fileHeader + infoHeader + 4 * i]);
  }
  if (headerLength == infoHeader) header.palette += alpha ? 16 : 12;
}

}  // namespace

std::optional<BmpHeader> readBmpHeader(ImageFile& file) {
  Head head{};
  const std::size_t count = file.read(0, head.data(), head.size());
  if (count < fileHeader + coreHeader || head[0] != 'B' || head[1] != 'M') return std::nullopt;
  const std::uint32_t length = littleEndian32(&head[fileHeader]);
  if (length > largestHeader || (length != coreHeader && length < 16) || count < fileHeader + length) {
    return std::nullopt;
  }
  BmpHeader header;
  header.palette = fileHeader + length;
  std::uint32_t compression = 0, entries = 0;
  if (length == coreHeader) {
    header.width = littleEndian16(&head[18]);
    header.height = littleEndian16(&head[20]);
    header.bits = static_cast<int>(littleEndian16(&head[24]));
    header.paletteEntryLength = 3;
  } else {
    const auto field = [&](std::uint32_t at) {
      return at + 4 <= fileHeader + length ? littleEndian32(&head[at]) : std::uint32_t{0};
    };
    header.width = static_cast<std::int32_t>(field(18));
    header.height = static_cast<std::int32_t>(field(22));
    header.bits = static_cast<int>(littleEndian16(&head[28]));
    compression = field(30);
    entries = field(46);
  }
  header.isTopDown = header.height < 0;
  header.height = std::abs(header.height);
  header.compression = compressionOf(compression, length);
  readMasks(head, length, compression, header);
  if (header.bits <= 8) {
    const std::uint32_t most = std::uint32_t{1} << header.bits;
    header.paletteEntries = static_cast<int>(entries == 0 ? most : std::min(entries, most));
  }
  header.pixels = littleEndian32(&head[10]);
  const std::int64_t behindPalette = header.palette + std::int64_t{header.paletteEntries} * header.paletteEntryLength;
  if (header.pixels < header.palette || header.pixels >= file.size()) header.pixels = behindPalette;
  // A file of OS/2 may have fewer colours than its depth allows, without a word about it.
  const auto room = static_cast<int>((header.pixels - header.palette) / header.paletteEntryLength);
  header.paletteEntries = std::min(header.paletteEntries, room);
  return header;
}

bool isRunLength(const BmpHeader& header) {
  return header.compression == BmpHeader::Compression::runLength8 ||
         header.compression == BmpHeader::Compression::runLength4;
}

}  // namespace vellandra
