#include <algorithm>
#include <bit>
#include <utility>

#include "raster/bmp_header.h"
#include "raster/decoders.h"
#include "support/work.h"

namespace vellandra {
namespace {

Pixels kindOf(const BmpHeader& header) {
  switch (header.bits) {
    case 1:
      return Pixels::index1;
    case 4:
      return Pixels::index4;
    case 8:
      return Pixels::index8;
    default:
      return header.masks[3] == 0 ? Pixels::color24 : Pixels::color32;
  }
}

/// Why these pixels cannot be decoded; empty when they can.
std::string problemOf(const BmpHeader& header) {
  using enum BmpHeader::Compression;
  const int bits = header.bits;
  const bool isPlain = header.compression == none && (bits == 1 || bits == 4 || bits == 8 || bits == 24);
  const bool hasMasks = (header.compression == none || header.compression == bitFields) && (bits == 16 || bits == 32);
  const bool isPacked =
      (header.compression == runLength8 && bits == 8) || (header.compression == runLength4 && bits == 4);
  if (isPlain || hasMasks || isPacked) return "";
  return header.compression == other ? "a compression that is not known"
                                     : "no BMP has " + std::to_string(bits) + " bits a pixel in this form";
}

/// A channel inside a pixel of 16 or 32 bits.
class Channel {
 public:
  explicit Channel(std::uint32_t mask) : shift_(mask == 0 ? 0 : std::countr_zero(mask)), most_(mask >> shift_) {}
  std::uint8_t of(std::uint32_t pixel) const {
    if (most_ == whole) return static_cast<std::uint8_t>(pixel >> shift_);
    if (most_ == 0) return 0;
    return static_cast<std::uint8_t>(std::uint64_t{pixel >> shift_ & most_} * whole / most_);
  }

 private:
  static constexpr std::uint32_t whole = 255;
  int shift_;
  std::uint32_t most_;
};

class Decoder {
 public:
  Decoder(ImageFile& file, const BmpHeader& header, Bitmap& bitmap) : file_(file), header_(header), bitmap_(bitmap) {}

  void readPalette() {
    std::vector<PixelColor> palette;
    std::array<unsigned char, 4> color{};
    for (int i = 0; i < header_.paletteEntries; ++i) {
      const std::int64_t position = header_.palette + std::int64_t{i} * header_.paletteEntryLength;
      file_.read(position, color.data(), static_cast<std::size_t>(header_.paletteEntryLength));
      palette.push_back({color[2], color[1], color[0]});
    }
    setPalette(bitmap_, palette);
  }

  /// False when rows are missing.
  bool readRows() {
    const auto length = static_cast<std::size_t>((header_.width * header_.bits + 31) / 32 * 4);
    std::vector<unsigned char> line(length);
    for (int y = 0; y < bitmap_.height(); ++y) {
      beginRow(y);
      const std::int64_t position = header_.pixels + static_cast<std::int64_t>(length) * y;
      const std::size_t count = file_.read(position, line.data(), length);
      std::fill(line.begin() + static_cast<std::ptrdiff_t>(count), line.end(), std::uint8_t{0});
      takeRow(line, row(y));
      if (count < length) return false;
    }
    return true;
  }

  /// False when the file ends before the picture does.
  bool unpack() {
    for (position_ = header_.pixels; y_ < header_.height;) {
      const int count = next(), value = next();
      if (value < 0) return y_ + 1 == header_.height && x_ >= header_.width;
      if (count > 0) {
        for (int i = 0; i < count; ++i) put(half(value, i));
      } else if (value == endOfPicture) {
        return true;
      } else if (value == endOfLine) {
        x_ = 0;
        beginRow(++y_);
      } else if (value == delta) {
        x_ += std::max(next(), 0);
        y_ += std::max(next(), 0);
      } else {
        takeAbsolute(value);
      }
    }
    return true;
  }

 private:
  static constexpr int endOfLine = 0, endOfPicture = 1, delta = 2;

  /// Rows as they come in the file.
  std::span<std::uint8_t> row(std::int64_t y) {
    return bitmap_.row(static_cast<int>(header_.isTopDown ? y : header_.height - 1 - y));
  }

  void beginRow(std::int64_t y) const {
    endIfCancelled();
    showProgress(y, header_.height);
  }

  void takeRow(const std::vector<unsigned char>& line, std::span<std::uint8_t> pixels) {
    if (header_.bits <= 8 || header_.bits == 24) {
      std::copy_n(line.begin(), std::min(line.size(), pixels.size()), pixels.begin());
      return;
    }
    const int bytes = header_.bits / 8, channels = bitmap_.bitsPerPixel() / 8;
    const std::array<Channel, 4> order{Channel(header_.masks[2]), Channel(header_.masks[1]), Channel(header_.masks[0]),
                                       Channel(header_.masks[3])};
    std::uint8_t* to = pixels.data();
    for (const unsigned char* from = line.data(); to < pixels.data() + header_.width * channels; from += bytes) {
      const std::uint32_t pixel = bytes == 2 ? littleEndian16(from) : littleEndian32(from);
      for (int i = 0; i < channels; ++i) *to++ = order[static_cast<std::size_t>(i)].of(pixel);
    }
  }

  int next() { return file_.byteAt(position_++); }

  /// Of a byte that holds one pixel or, with 4 bits, two that take turns.
  int half(int value, int i) const {
    if (header_.bits == 8) return value;
    return i % 2 == 0 ? value >> 4 : value & 0xF;
  }

  void put(int index) {
    if (x_ < header_.width && y_ < header_.height) {
      std::uint8_t& byte = row(y_)[static_cast<std::size_t>(header_.bits == 8 ? x_ : x_ / 2)];
      if (header_.bits == 8) {
        byte = static_cast<std::uint8_t>(index);
      } else {
        byte = static_cast<std::uint8_t>(x_ % 2 == 0 ? (byte & 0x0F) | index << 4 : (byte & 0xF0) | index);
      }
    }
    ++x_;
  }

  void takeAbsolute(int count) {
    const int aByte = header_.bits == 8 ? 1 : 2, bytes = (count + aByte - 1) / aByte;
    int value = 0;
    for (int i = 0; i < count; ++i) {
      if (i % aByte == 0) value = std::max(next(), 0);
      put(half(value, i));
    }
    position_ += bytes % 2;  // filled up to whole words
  }

  ImageFile& file_;
  const BmpHeader& header_;
  Bitmap& bitmap_;
  std::int64_t position_ = 0, x_ = 0, y_ = 0;
};

}  // namespace

DecodedImage decodeBmp(ImageFile& file) {
  DecodedImage decoded;
  const std::optional<BmpHeader> header = readBmpHeader(file);
  decoded.reason = header ? problemOf(*header) : "no BMP";
  if (!decoded.reason.empty()) return decoded;
  decoded.bitmap = allocateBitmap(kindOf(*header), static_cast<int>(header->width), static_cast<int>(header->height));
  if (!decoded.bitmap) {
    decoded.reason = "not enough memory";
    return decoded;
  }
  Decoder decoder(file, *header, decoded.bitmap);
  if (header->bits <= 8) decoder.readPalette();
  decoded.isWhole = isRunLength(*header) ? decoder.unpack() : decoder.readRows();
  return decoded;
}

}  // namespace vellandra
