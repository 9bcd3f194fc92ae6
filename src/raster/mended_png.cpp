#include <zlib.h>

#include <algorithm>
#include <array>
#include <memory>

#include "raster/image_header.h"
#include "raster/image_parts.h"
#include "support/work.h"

namespace vellandra {
namespace {

using Bytes = std::vector<unsigned char>;

constexpr std::size_t portion = std::size_t{64} * 1024;

/// Bytes of all rows, each with the byte of its filter: of the picture or, interlaced, of its seven passes (PNG,
/// second edition, 8.2).
std::size_t rawLength(std::int64_t width, std::int64_t height, int bitsPerPixel, bool isInterlaced) {
  struct Pass {
    int x, y, stepX, stepY;
  };
  static constexpr std::array<Pass, 7> passes{
      {{0, 0, 8, 8}, {4, 0, 8, 8}, {0, 4, 4, 8}, {2, 0, 4, 4}, {0, 2, 2, 4}, {1, 0, 2, 2}, {0, 1, 1, 2}}};
  const auto lengthOf = [&](const Pass& pass) {
    const std::int64_t columns = (width - pass.x + pass.stepX - 1) / pass.stepX;
    const std::int64_t rows = (height - pass.y + pass.stepY - 1) / pass.stepY;
    return columns < 1 || rows < 1 ? 0 : rows * (1 + (columns * bitsPerPixel + 7) / 8);
  };
  std::int64_t length = 0;
  if (!isInterlaced) return static_cast<std::size_t>(lengthOf({0, 0, 1, 1}));
  for (const Pass& pass : passes) length += lengthOf(pass);
  return static_cast<std::size_t>(length);
}

/// Fills `raw` from the pieces of the compressed pixels, as far as they make sense; false when that is nothing.
bool inflateInto(Bytes& raw, ImageFile& file, const PixelParts& damaged) {
  z_stream stream{};
  if (inflateInit(&stream) != Z_OK) return false;
  const std::unique_ptr<z_stream, decltype(&inflateEnd)> end(&stream, &inflateEnd);
  Bytes input(portion);
  std::size_t done = 0;
  int state = Z_OK;
  for (auto [position, length] : damaged.pngData) {
    while (length > 0 && state == Z_OK && done < raw.size()) {
      endIfCancelled();
      const auto wanted = static_cast<std::size_t>(std::min<std::int64_t>(length, portion));
      const std::size_t count = file.read(position, input.data(), wanted);
      if (count == 0) break;
      position += static_cast<std::int64_t>(count);
      length -= static_cast<std::int64_t>(count);
      stream.next_in = input.data();
      stream.avail_in = static_cast<uInt>(count);
      while (stream.avail_in > 0 && state == Z_OK && done < raw.size()) {
        const auto room = static_cast<uInt>(std::min(raw.size() - done, std::size_t{1} << 30));
        stream.next_out = raw.data() + done;
        stream.avail_out = room;
        state = inflate(&stream, Z_NO_FLUSH);
        done += room - stream.avail_out;
      }
    }
  }
  return done > 0;
}

void addBigEndian32(std::string& bytes, std::size_t value) {
  for (const int shift : {24, 16, 8, 0}) bytes += static_cast<char>(value >> shift & 0xFF);
}

void addChunk(ImageParts& png, std::string_view type, const unsigned char* data, std::size_t length) {
  std::string chunk;
  chunk.reserve(length + 12);
  addBigEndian32(chunk, length);
  chunk += type;
  if (length > 0) chunk.append(reinterpret_cast<const char*>(data), length);
  addBigEndian32(chunk, crc32(0, reinterpret_cast<const Bytef*>(&chunk[4]), static_cast<uInt>(length + 4)));
  png.add(std::move(chunk));
}

void deflateInto(ImageParts& png, Bytes& raw) {
  z_stream stream{};
  if (deflateInit(&stream, Z_BEST_SPEED) != Z_OK) return;
  const std::unique_ptr<z_stream, decltype(&deflateEnd)> end(&stream, &deflateEnd);
  Bytes output(portion);
  std::size_t done = 0;
  int state = Z_OK;
  while (state == Z_OK) {
    endIfCancelled();
    const auto count = static_cast<uInt>(std::min(raw.size() - done, std::size_t{1} << 30));
    stream.next_in = raw.data() + done;
    stream.avail_in = count;
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
    state = deflate(&stream, done + count == raw.size() ? Z_FINISH : Z_NO_FLUSH);
    done += count - stream.avail_in;
    addChunk(png, "IDAT", output.data(), output.size() - stream.avail_out);
  }
}

}  // namespace

ImageParts mendedPng(ImageFile& file, const PixelParts& damaged) {
  constexpr std::int64_t interlaceAt = 28;
  const std::optional<ImageHeader> header = readHeader(ImageFormat::png, file);
  if (!header) return ImageParts(file);
  Bytes raw(rawLength(header->size.width, header->size.height, header->bitsPerPixel, file.byteAt(interlaceAt) == 1));
  if (!inflateInto(raw, file, damaged)) return ImageParts(file);
  ImageParts png = damaged.pngHead;
  deflateInto(png, raw);
  addChunk(png, "IEND", nullptr, 0);
  return png;
}

}  // namespace vellandra
