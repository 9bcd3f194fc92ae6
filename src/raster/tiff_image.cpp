#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

#include "raster/decoders.h"
#include "raster/library_messages.h"
#include "raster/tiff_layout.h"
#include "support/work.h"

namespace vellandra {
namespace {

using Bytes = std::vector<std::uint8_t>;

/// Strips larger than this are read row by row.
constexpr std::uint64_t largestStrip = 64U << 20;

tmsize_t readProc(thandle_t parts, void* buffer, tmsize_t size) {
  if (isCancelled()) return 0;
  return static_cast<tmsize_t>(static_cast<ImageParts*>(parts)->read(buffer, static_cast<std::size_t>(size)));
}
tmsize_t writeProc(thandle_t, void*, tmsize_t) {
  return 0;
}
toff_t seekProc(thandle_t parts, toff_t offset, int origin) {
  auto& stream = *static_cast<ImageParts*>(parts);
  return static_cast<toff_t>(stream.seek(static_cast<std::int64_t>(offset), origin) ? stream.tell() : -1);
}
int closeProc(thandle_t) {
  return 0;
}
toff_t sizeProc(thandle_t parts) {
  return static_cast<toff_t>(static_cast<ImageParts*>(parts)->size());
}

/// Goes over the strips or tiles of all planes, and hands on their rows.
class Pieces {
 public:
  Pieces(TIFF* tiff, const TiffLayout& layout) : tiff_(tiff), layout_(layout) {
    rowLength_ = static_cast<std::size_t>(layout.isTiled ? TIFFTileRowSize64(tiff) : TIFFScanlineSize64(tiff));
    isReadByRows_ = !layout.isTiled && std::uint64_t{rowLength_} * layout.pieceHeight > largestStrip;
    buffer_.resize(layout.isTiled ? static_cast<std::size_t>(TIFFTileSize64(tiff))
                                  : rowLength_ * (isReadByRows_ ? 1 : layout.pieceHeight));
  }

  /// Calls `take(plane, x, y, row, count)` for each row of each piece.
  template <typename Take>
  void forEachRow(int planes, const Take& take) {
    for (int plane = 0; plane < planes; ++plane) {
      for (std::uint32_t y = 0; y < layout_.height; y += layout_.pieceHeight) {
        const std::uint32_t rows = std::min(layout_.pieceHeight, layout_.height - y);
        showProgress(std::int64_t{plane} * layout_.height + y, std::int64_t{planes} * layout_.height);
        for (std::uint32_t x = 0; x < layout_.width; x += layout_.pieceWidth) {
          const std::uint32_t count = std::min(layout_.pieceWidth, layout_.width - x);
          endIfCancelled();
          bool isGood = isReadByRows_ || read(x, y, rows, plane);
          for (std::uint32_t row = 0; row < rows; ++row) {
            if (isReadByRows_) endIfCancelled();
            if (isReadByRows_) isGood = readRow(y + row, plane, isGood);
            take(plane, x, y + row, buffer_.data() + (isReadByRows_ ? 0 : row * rowLength_), count);
          }
        }
      }
    }
  }

  bool areWhole() const { return areWhole_; }
  bool hasAny() const { return hasAny_; }

 private:
  bool note(bool isGood) {
    areWhole_ = areWhole_ && isGood;
    // A piece that ends early is there in part.
    hasAny_ = hasAny_ || isGood || buffer_[0] != 0 ||
              std::memcmp(buffer_.data(), buffer_.data() + 1, buffer_.size() - 1) != 0;
    return isGood;
  }

  bool read(std::uint32_t x, std::uint32_t y, std::uint32_t rows, int plane) {
    std::memset(buffer_.data(), 0, buffer_.size());
    const auto sample = static_cast<std::uint16_t>(plane);
    const auto size = static_cast<tmsize_t>(layout_.isTiled ? buffer_.size() : rows * rowLength_);
    const tmsize_t count =
        layout_.isTiled ? TIFFReadEncodedTile(tiff_, TIFFComputeTile(tiff_, x, y, 0, sample), buffer_.data(), size)
                        : TIFFReadEncodedStrip(tiff_, TIFFComputeStrip(tiff_, y, sample), buffer_.data(), size);
    return note(count == size);
  }

  /// Behind a row that cannot be read, the rest of its strip is left out.
  bool readRow(std::uint32_t y, int plane, bool isGood) {
    std::memset(buffer_.data(), 0, buffer_.size());
    return isGood && note(TIFFReadScanline(tiff_, buffer_.data(), y, static_cast<std::uint16_t>(plane)) == 1);
  }

  TIFF* tiff_;
  const TiffLayout& layout_;
  std::size_t rowLength_;
  bool isReadByRows_;
  Bytes buffer_;
  bool areWhole_ = true, hasAny_ = false;
};

/// A sample of the file, and the bytes or words of a pixel in memory that it goes to.
struct Channel {
  int sample = 0;
  std::vector<int> places;
};

/// Brings rows as libtiff gives them to rows of a bitmap.
class Pixelator {
 public:
  explicit Pixelator(const TiffLayout& layout) : layout_(layout), most_((std::uint64_t{1} << layout.bits) - 1) {
    const bool hasAlpha = layout.alpha >= 0;
    const bool isPacked = (layout.samples == 1 || layout.isSeparate()) && layout.pieceWidth % 8 == 0;
    const bool isWhole = !layout.isTiled && (layout.samples == 1 || layout.isSeparate());
    const int bits = layout.bits;
    if (layout.colors() == 1 && (!hasAlpha || layout.photometric == PHOTOMETRIC_PALETTE)) {
      isCopied_ = (isPacked || isWhole) && (bits == 1 || bits == 4 || bits == 8);
      isIndex_ = bits <= 8;
      kind_ = isCopied_ && bits == 1 ? Pixels::index1 : isCopied_ && bits == 4 ? Pixels::index4 : Pixels::index8;
      if (bits == 16) kind_ = Pixels::grey16;
      channels_ = {{0, {0}}};
    } else if (layout.colors() == 4) {
      kind_ = Pixels::color32;
      channels_ = {{0, {0}}, {1, {1}}, {2, {2}}, {3, {3}}};
    } else {
      const bool isDeep = bits == 16;
      kind_ = hasAlpha ? (isDeep ? Pixels::color64 : Pixels::color32) : isDeep ? Pixels::color48 : Pixels::color24;
      const std::array<int, 3> order = isDeep ? std::array{0, 1, 2} : std::array{2, 1, 0};
      if (layout.colors() == 1) {
        channels_ = {{0, {0, 1, 2}}};
      } else {
        for (int i = 0; i < 3; ++i) channels_.push_back({i, {order[static_cast<std::size_t>(i)]}});
      }
      if (hasAlpha) channels_.push_back({layout.alpha, {3}});
    }
    isDeep_ = kind_ == Pixels::grey16 || kind_ == Pixels::color48 || kind_ == Pixels::color64;
  }

  Pixels kind() const { return kind_; }

  /// Planes that have to be read.
  int planes() const { return layout_.isSeparate() ? 1 + channels_.back().sample : 1; }

  void take(int plane, std::uint32_t x, const std::uint8_t* from, std::uint32_t count, std::span<std::uint8_t> row,
            std::size_t pixelLength) const {
    if (isCopied_) {
      std::memcpy(&row[std::size_t{x} * layout_.bits / 8], from, (std::size_t{count} * layout_.bits + 7) / 8);
      return;
    }
    for (const Channel& channel : channels_) {
      if (layout_.isSeparate() && channel.sample != plane) continue;
      for (const int place : channel.places) {
        const std::size_t offset = x * pixelLength + static_cast<std::size_t>(place) * (isDeep_ ? 2 : 1);
        spread(channel.sample, from, count, &row[offset], pixelLength);
      }
    }
  }

  /// The colours of an image with a palette, from dark to light or as the file has them.
  std::vector<PixelColor> palette(TIFF* tiff) const {
    const std::size_t count = isIndex_ ? std::size_t{1} << layout_.bits : 256;
    std::vector<PixelColor> colors(count);
    std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
    if (layout_.photometric == PHOTOMETRIC_PALETTE) {
      if (TIFFGetField(tiff, TIFFTAG_COLORMAP, &red, &green, &blue) == 0) return {};
      // Some programs write bytes where words belong.
      const auto isByte = [](std::uint16_t value) { return value < 256; };
      const bool areBytes = std::all_of(red, red + count, isByte) && std::all_of(green, green + count, isByte) &&
                            std::all_of(blue, blue + count, isByte);
      const auto part = [&](std::uint16_t value) { return static_cast<std::uint8_t>(areBytes ? value : value >> 8); };
      for (std::size_t i = 0; i < count; ++i) colors[i] = {part(red[i]), part(green[i]), part(blue[i])};
      return colors;
    }
    for (std::size_t i = 0; i < count; ++i) {
      const auto grey = static_cast<std::uint8_t>(255 * i / (count - 1));
      colors[i] = {grey, grey, grey};
    }
    if (isIndex_ && layout_.isInverted()) std::ranges::reverse(colors);
    return colors;
  }

 private:
  void spread(int sample, const std::uint8_t* from, std::uint32_t count, std::uint8_t* to,
              std::size_t pixelLength) const {
    const std::size_t step = layout_.isSeparate() ? 1 : layout_.samples;
    const bool isInverted = layout_.isInverted() && !isIndex_ && sample != layout_.alpha;
    const std::uint64_t flipped = isInverted ? most_ : 0;
    const int bits = layout_.bits;
    const auto copy = [&](const auto& read) {
      std::size_t at = layout_.isSeparate() ? 0 : static_cast<std::size_t>(sample);
      for (std::uint32_t i = 0; i < count; ++i, at += step, to += pixelLength) {
        const std::uint64_t value = read(at) ^ flipped;
        if (isDeep_) {
          const auto word = static_cast<std::uint16_t>(value);
          std::memcpy(to, &word, sizeof word);
        } else if (bits >= 8) {
          *to = static_cast<std::uint8_t>(value >> (bits - 8));
        } else {
          *to = static_cast<std::uint8_t>(isIndex_ ? value : value * 255 / most_);
        }
      }
    };
    const auto word = [from]<typename Word>(std::size_t at, Word value) {
      std::memcpy(&value, from + at * sizeof value, sizeof value);
      return std::uint64_t{value};
    };
    switch (bits) {
      case 8:
        return copy([from](std::size_t at) { return std::uint64_t{from[at]}; });
      case 16:
        return copy([&](std::size_t at) { return word(at, std::uint16_t{0}); });
      case 32:
        return copy([&](std::size_t at) { return word(at, std::uint32_t{0}); });
      case 24:
        return copy([from](std::size_t at) { return std::uint64_t{littleEndian32(from + 3 * at) & 0xFFFFFF}; });
      default:
        return copy([from, bits](std::size_t at) { return bitsAt(from, at * static_cast<std::size_t>(bits), bits); });
    }
  }

  /// Packed from the highest bit on.
  static std::uint64_t bitsAt(const std::uint8_t* from, std::size_t bit, int bits) {
    std::uint64_t value = 0;
    for (int taken = 0; taken < bits;) {
      const int left = 8 - static_cast<int>(bit % 8), some = std::min(left, bits - taken);
      value = value << some | (from[bit / 8] >> (left - some) & ((1U << some) - 1));
      bit += static_cast<std::size_t>(some);
      taken += some;
    }
    return value;
  }

  const TiffLayout& layout_;
  std::uint64_t most_;  ///< of a sample
  Pixels kind_ = Pixels::index8;
  bool isCopied_ = false;  ///< rows are the same in the file and in memory
  bool isIndex_ = false;   ///< samples stay as they are, and mean a colour of the palette
  bool isDeep_ = false;
  std::vector<Channel> channels_;
};

std::uint8_t product(unsigned a, unsigned b) {
  return static_cast<std::uint8_t>((a * b + 127) / 255);
}

/// Ink to light: the four bytes of each pixel of `inks` to 24 bits.
Bitmap withoutInks(Bitmap inks) {
  for (int y = 0; y < inks.height(); ++y) {
    const auto row = inks.row(y);
    for (std::size_t i = 0; i + 4 <= row.size(); i += 4) {
      const unsigned light = 255U - row[i + 3];
      const std::array<std::uint8_t, 3> color{product(255U - row[i], light), product(255U - row[i + 1], light),
                                              product(255U - row[i + 2], light)};
      row[i] = color[2];
      row[i + 1] = color[1];
      row[i + 2] = color[0];
    }
  }
  return convertTo24Bits(inks);
}

/// Divides colours by the alpha that they were multiplied with.
template <typename Word>
void divideByAlpha(Bitmap& bitmap) {
  constexpr std::size_t channels = 4;
  constexpr std::uint32_t most = static_cast<Word>(-1);
  std::array<Word, channels> pixel{};
  for (int y = 0; y < bitmap.height(); ++y) {
    std::uint8_t* at = bitmap.row(y).data();
    for (int x = 0; x < bitmap.width(); ++x, at += sizeof pixel) {
      std::memcpy(pixel.data(), at, sizeof pixel);
      const std::uint32_t alpha = pixel[3];
      for (std::size_t i = 0; i < 3 && alpha > 0; ++i) {
        pixel[i] = static_cast<Word>(std::min(most, (pixel[i] * most + alpha / 2) / alpha));
      }
      std::memcpy(at, pixel.data(), sizeof pixel);
    }
  }
}

DecodedImage decodeSamples(TIFF* tiff, const TiffLayout& layout) {
  DecodedImage decoded;
  const Pixelator pixelator(layout);
  Bitmap bitmap = allocateBitmap(pixelator.kind(), static_cast<int>(layout.width), static_cast<int>(layout.height));
  if (!bitmap) return {{}, "not enough memory"};
  if (bitmap.paletteEntryCount() > 0) {
    const std::vector<PixelColor> palette = pixelator.palette(tiff);
    if (palette.empty()) return {{}, "its palette is missing"};
    setPalette(bitmap, palette);
  }
  Pieces pieces(tiff, layout);
  const auto pixelLength = static_cast<std::size_t>(bitmap.bitsPerPixel() / 8);
  const auto take = [&](int plane, std::uint32_t x, std::uint32_t y, const std::uint8_t* from, std::uint32_t count) {
    pixelator.take(plane, x, from, count, bitmap.row(static_cast<int>(y)), pixelLength);
  };
  pieces.forEachRow(pixelator.planes(), take);
  if (!pieces.hasAny()) return {{}, LibraryMessages::last()};
  if (layout.colors() == 4) bitmap = withoutInks(std::move(bitmap));
  if (layout.isAssociated && pixelator.kind() == Pixels::color32) divideByAlpha<std::uint8_t>(bitmap);
  if (layout.isAssociated && pixelator.kind() == Pixels::color64) divideByAlpha<std::uint16_t>(bitmap);
  return {std::move(bitmap), "", pieces.areWhole()};
}

/// As libtiff shows it, in bands of whole strips or tiles.
DecodedImage decodeByLibtiff(TIFF* tiff, const TiffLayout& layout) {
  std::array<char, 1024> problem{};
  TIFFRGBAImage image{};
  TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
  constexpr int stopAtErrors = 1;
  if (TIFFRGBAImageOK(tiff, problem.data()) == 0 ||
      TIFFRGBAImageBegin(&image, tiff, stopAtErrors, problem.data()) == 0) {
    return {{}, problem.data()};
  }
  const std::unique_ptr<TIFFRGBAImage, decltype([](TIFFRGBAImage* begun) { TIFFRGBAImageEnd(begun); })> end(&image);
  image.req_orientation = ORIENTATION_TOPLEFT;
  DecodedImage decoded;
  decoded.bitmap = allocateBitmap(Pixels::color24, static_cast<int>(layout.width), static_cast<int>(layout.height));
  if (!decoded.bitmap) return {{}, "not enough memory"};
  decoded.isWhole = true;
  bool hasAny = false;
  const std::uint32_t band = std::min(layout.pieceHeight, layout.height);
  std::vector<std::uint32_t> raster(std::size_t{layout.width} * band);
  for (std::uint32_t y = 0; y < layout.height; y += band) {
    endIfCancelled();
    showProgress(y, layout.height);
    const std::uint32_t rows = std::min(band, layout.height - y);
    std::ranges::fill(raster, 0U);
    image.row_offset = static_cast<int>(y);
    const bool isGood = TIFFRGBAImageGet(&image, raster.data(), layout.width, rows) != 0;
    decoded.isWhole = decoded.isWhole && isGood;
    hasAny = hasAny || isGood;
    for (std::uint32_t row = 0; row < rows; ++row) {
      std::uint8_t* to = decoded.bitmap.row(static_cast<int>(y + row)).data();
      for (std::uint32_t x = 0; x < layout.width; ++x) {
        const std::uint32_t pixel = raster[std::size_t{row} * layout.width + x];
        *to++ = static_cast<std::uint8_t>(TIFFGetB(pixel));
        *to++ = static_cast<std::uint8_t>(TIFFGetG(pixel));
        *to++ = static_cast<std::uint8_t>(TIFFGetR(pixel));
      }
    }
  }
  if (!hasAny) return {{}, LibraryMessages::last()};
  return decoded;
}

}  // namespace

DecodedImage decodeTiff(ImageFile& file, const ImageSize& size) {
  divertTiffMessages();
  ImageParts parts(file);
  parts.add(0, file.size());
  constexpr const char* readOnlyThroughCalls = "rm";
  const std::unique_ptr<TIFF, decltype([](TIFF* open) { TIFFClose(open); })> tiff(TIFFClientOpen(
      "", readOnlyThroughCalls, &parts, readProc, writeProc, seekProc, closeProc, sizeProc, nullptr, nullptr));
  if (!tiff) return {{}, LibraryMessages::last()};
  TiffLayout layout = layoutOf(tiff.get());
  if (layout.width != size.width || layout.height != size.height) return {{}, "its header states two sizes"};
  const bool isJpeg = layout.compression == COMPRESSION_JPEG && layout.photometric == PHOTOMETRIC_YCBCR;
  if (isJpeg && !layout.isSeparate()) {
    TIFFSetField(tiff.get(), TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
    layout.photometric = PHOTOMETRIC_RGB;
  }
  if (const std::string problem = problemOf(tiff.get(), layout); !problem.empty()) return {{}, problem};
  DecodedImage decoded =
      isConvertedByLibrary(layout) ? decodeByLibtiff(tiff.get(), layout) : decodeSamples(tiff.get(), layout);
  endIfCancelled();
  return decoded;
}

}  // namespace vellandra
