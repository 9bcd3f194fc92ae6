#include "raster/tiff_header.h"

#include <array>
#include <cmath>
#include <span>
#include <utility>

namespace vellandra {
namespace {

enum Tag : std::int64_t {
  widthTag = 256,
  heightTag = 257,
  bitsTag = 258,
  compressionTag = 259,
  samplesTag = 277,
  rowsPerStripTag = 278,
  planesTag = 284,
  tileWidthTag = 322,
  tileHeightTag = 323,
};

/// Reads the numbers of one file.
class Reader {
 public:
  explicit Reader(ImageFile& file) : file_(file) {}

  /// To the first directory; false when the file is no TIFF.
  bool start() {
    const std::array<int, 2> order{file_.byteAt(0), file_.byteAt(1)};
    if (order[0] != order[1] || (order[0] != 'I' && order[0] != 'M')) return false;
    isLittleEndian_ = order[0] == 'I';
    constexpr std::int64_t classic = 42, big = 43;
    const std::int64_t version = number(2, 2);
    isBig_ = version == big && number(4, 2) == 8;
    directory_ = isBig_ ? number(8, 8) : number(4, 4);
    return (isBig_ || version == classic) && directory_ > 0 && directory_ < file_.size();
  }

  /// Calls `take(tag, value)` with the first value of each entry that holds whole numbers.
  template <typename Take>
  void forEachEntry(const Take& take) {
    const int countLength = isBig_ ? 8 : 2, entryLength = isBig_ ? 20 : 12;
    constexpr std::int64_t mostEntries = 65535;
    const std::int64_t count = number(directory_, countLength);
    for (std::int64_t i = 0; i < count && i < mostEntries; ++i) {
      const std::int64_t entry = directory_ + countLength + i * entryLength;
      if (entry + entryLength > file_.size()) return;
      if (const int length = lengthOfType(number(entry + 2, 2)); length > 0) {
        take(number(entry, 2), valueOf(entry, length));
      }
    }
  }

 private:
  /// 0 for a type that is not used for whole numbers from 0 on.
  static int lengthOfType(std::int64_t type) {
    constexpr std::array<std::pair<int, int>, 4> types{{{1, 1}, {3, 2}, {4, 4}, {16, 8}}};  // BYTE, SHORT, LONG, LONG8
    for (const auto& [number, length] : types) {
      if (number == type) return length;
    }
    return 0;
  }

  std::int64_t valueOf(std::int64_t entry, int length) {
    const int word = isBig_ ? 8 : 4;
    const std::int64_t values = number(entry + 4, word), place = entry + 4 + word;
    return number(values <= word / length ? place : number(place, word), length);
  }

  /// -1 for one that is not in the file, or past 63 bits.
  std::int64_t number(std::int64_t position, int length) {
    std::array<unsigned char, 8> bytes{};
    if (!file_.fill(position, std::span(bytes).first(static_cast<std::size_t>(length)))) return -1;
    std::uint64_t value = 0;
    for (int i = 0; i < length; ++i) {
      value = value << 8 | bytes[static_cast<std::size_t>(isLittleEndian_ ? length - 1 - i : i)];
    }
    return value >> 63 == 0 ? static_cast<std::int64_t>(value) : -1;
  }

  ImageFile& file_;
  bool isLittleEndian_ = true, isBig_ = false;
  std::int64_t directory_ = 0;
};

/// How many pieces of at most `piece` make up `whole`.
double pieces(std::int64_t whole, std::int64_t piece) {
  return piece < 1 || piece >= whole ? 1 : std::ceil(static_cast<double>(whole) / static_cast<double>(piece));
}

}  // namespace

std::optional<TiffHeader> readTiffHeader(ImageFile& file) {
  Reader reader(file);
  if (!reader.start()) return std::nullopt;
  TiffHeader header;
  std::int64_t rowsPerStrip = 0, planes = 1, tileWidth = 0, tileHeight = 0;
  reader.forEachEntry([&](std::int64_t tag, std::int64_t value) {
    switch (tag) {
      case widthTag:
        header.width = value;
        break;
      case heightTag:
        header.height = value;
        break;
      case bitsTag:
        header.bits = value;
        break;
      case compressionTag:
        header.compression = value;
        break;
      case samplesTag:
        header.samples = value;
        break;
      case rowsPerStripTag:
        rowsPerStrip = value;
        break;
      case planesTag:
        planes = value;
        break;
      case tileWidthTag:
        tileWidth = value;
        break;
      case tileHeightTag:
        tileHeight = value;
        break;
      default:
        break;
    }
  });
  constexpr std::int64_t most16Bits = 65535, most32Bits = 0xFFFFFFFF, separate = 2;
  const bool sane = header.width > 0 && header.width <= most32Bits && header.height > 0 &&
                    header.height <= most32Bits && header.bits > 0 && header.bits <= most16Bits && header.samples > 0 &&
                    header.samples <= most16Bits;
  if (!sane) return std::nullopt;
  double listed = tileWidth > 0 ? pieces(header.width, tileWidth) * pieces(header.height, tileHeight)
                                : pieces(header.height, rowsPerStrip);
  if (planes == separate) listed *= static_cast<double>(header.samples);
  constexpr double listEntry = 4;  // bytes: an offset and a length, of two each
  if (listed > 1 && listed * listEntry > static_cast<double>(file.size())) return std::nullopt;
  return header;
}

}  // namespace vellandra
