#include "raster/image_header.h"

#include <array>
#include <string_view>

#include "calibration/log.h"
#include "raster/bmp_header.h"
#include "raster/tiff_header.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

/// Portable Network Graphics, second edition, 11.2.2: samples a pixel of each colour type, and its depths as a set of
/// bits.
struct PngColorType {
  int samples = 0;
  unsigned depths = 0;
};
constexpr std::array<PngColorType, 7> pngColorTypes{
    {{1, 1 | 2 | 4 | 8 | 16}, {}, {3, 8 | 16}, {1, 1 | 2 | 4 | 8}, {2, 8 | 16}, {}, {4, 8 | 16}}};

std::optional<ImageHeader> readPng(ImageFile& file) {
  constexpr std::string_view start("\x89PNG\r\n\x1A\n\0\0\0\x0DIHDR", 16);
  std::array<unsigned char, 29> head{};
  if (!file.fill(0, head) || std::string_view(reinterpret_cast<const char*>(head.data()), start.size()) != start) {
    return std::nullopt;
  }
  const unsigned depth = head[24], color = head[25], interlace = head[28];
  const bool known = color < pngColorTypes.size() && (pngColorTypes[color].depths & depth) != 0 &&
                     (depth & (depth - 1)) == 0 && head[26] == 0 && head[27] == 0 && interlace <= 1;
  if (!known) return std::nullopt;
  return ImageHeader{{bigEndian32(&head[16]), bigEndian32(&head[20])},
                     static_cast<int>(depth) * pngColorTypes[color].samples};
}

std::optional<ImageHeader> readJpeg(ImageFile& file) {
  constexpr int startOfScan = 0xDA, endOfImage = 0xD9;
  if (file.byteAt(0) != 0xFF || file.byteAt(1) != 0xD8) return std::nullopt;
  auto segment = jpegSegmentAt(file, firstJpegSegment);
  while (segment && !isStartOfFrame(*segment)) {
    if (segment->marker == startOfScan || segment->marker == endOfImage) return std::nullopt;
    segment = jpegSegmentAt(file, segment->position + segment->length);
  }
  std::array<unsigned char, 10> frame{};
  if (!segment || !file.fill(segment->position, frame)) return std::nullopt;
  return ImageHeader{{bigEndian16(&frame[7]), bigEndian16(&frame[5])}, 8 * frame[9]};
}

std::optional<ImageHeader> readGif(ImageFile& file) {
  const std::optional<GifImage> image = firstGifImage(file);
  std::array<unsigned char, gifDescriptorLength> descriptor{};
  if (!image || !file.fill(image->descriptor, descriptor)) return std::nullopt;
  return ImageHeader{{littleEndian16(&descriptor[5]), littleEndian16(&descriptor[7])}, 8};
}

std::optional<ImageHeader> readBmp(ImageFile& file) {
  const std::optional<BmpHeader> header = readBmpHeader(file);
  if (!header) return std::nullopt;
  return ImageHeader{{header->width, header->height}, header->bits, isRunLength(*header)};
}

std::optional<ImageHeader> readTiff(ImageFile& file) {
  const std::optional<TiffHeader> header = readTiffHeader(file);
  if (!header) return std::nullopt;
  return ImageHeader{{header->width, header->height},
                     static_cast<int>(header->bits * header->samples),
                     header->compression != TiffHeader::uncompressed};
}

std::string typeProblem(const ImageType& named, ImageFile& file) {
  for (const ImageType& type : imageTypes) {
    if (type.format == named.format || !readHeader(type.format, file)) continue;
    return "no image, the file's content is " + std::string(type.ending) + ", not " + std::string(named.ending) +
           " as its name says";
  }
  return "no image of type " + std::string(named.ending) + ", or damaged";
}

}  // namespace

std::optional<JpegSegment> jpegSegmentAt(ImageFile& file, std::int64_t position) {
  constexpr int stuffed = 0, temporary = 1, firstRestart = 0xD0, endOfImage = 0xD9;
  while ((position = file.find(0xFF, position)) < file.size()) {
    const int marker = file.byteAt(position + 1);
    if (marker != stuffed && marker != 0xFF) {
      // Without a length, and without a meaning where segments are looked for.
      if (marker != temporary && (marker < firstRestart || marker >= endOfImage)) {
        if (marker == endOfImage) return JpegSegment{marker, position, 2};
        std::array<unsigned char, 2> length{};
        if (!file.fill(position + 2, length)) return std::nullopt;
        return JpegSegment{marker, position, 2 + std::int64_t{bigEndian16(length.data())}};
      }
      ++position;
    }
    ++position;
  }
  return std::nullopt;
}

bool isStartOfFrame(const JpegSegment& segment) {
  constexpr int huffmanTables = 0xC4, reserved = 0xC8, conditioning = 0xCC;
  return segment.marker >= 0xC0 && segment.marker <= 0xCF && segment.marker != huffmanTables &&
         segment.marker != reserved && segment.marker != conditioning;
}

std::optional<GifImage> firstGifImage(ImageFile& file) {
  constexpr int extension = 0x21, imageDescriptor = 0x2C, graphicControl = 0xF9;
  constexpr std::int64_t screenLength = 13;
  std::array<unsigned char, screenLength> screen{};
  if (!file.fill(0, screen)) return std::nullopt;
  const std::string_view signature(reinterpret_cast<const char*>(screen.data()), 6);
  if (signature != "GIF87a" && signature != "GIF89a") return std::nullopt;
  GifImage image;
  image.screenEnd = screenLength + gifColorsLength(screen[10]);
  for (std::int64_t position = image.screenEnd;;) {
    const int block = file.byteAt(position);
    if (block == imageDescriptor) {
      image.descriptor = position;
      return image;
    }
    if (block != extension) return std::nullopt;
    // Four bytes in one sub-block, or it is none.
    const bool control = file.byteAt(position + 1) == graphicControl && file.byteAt(position + 2) == 4 &&
                         file.byteAt(position + gifGraphicControlLength - 1) == 0;
    if (control) image.graphicControl = position;
    position = endOfGifBlocks(file, position + 2);
    if (position < 0) return std::nullopt;
  }
}

std::int64_t gifColorsLength(int flags) {
  constexpr int hasColors = 0x80;
  return (flags & hasColors) == 0 ? 0 : std::int64_t{3} << ((flags & 7) + 1);
}

std::int64_t endOfGifBlocks(ImageFile& file, std::int64_t position) {
  int length = file.byteAt(position);
  while (length > 0) {
    position += 1 + length;
    length = file.byteAt(position);
  }
  return length == 0 ? position + 1 : -1;
}

std::optional<ImageHeader> readHeader(ImageFormat format, ImageFile& file) {
  std::optional<ImageHeader> header;
  switch (format) {
    case ImageFormat::bmp:
      header = readBmp(file);
      break;
    case ImageFormat::jpeg:
      header = readJpeg(file);
      break;
    case ImageFormat::png:
      header = readPng(file);
      break;
    case ImageFormat::tiff:
      header = readTiff(file);
      break;
    case ImageFormat::gif:
      header = readGif(file);
      break;
  }
  return header && header->size.width > 0 && header->size.height > 0 ? header : std::nullopt;
}

std::string headerProblem(const ImageType& type, const std::optional<ImageHeader>& header, ImageFile& file) {
  if (!header) return typeProblem(type, file);
  const ImageSize& size = header->size;
  const double claimed = static_cast<double>(size.width) * static_cast<double>(size.height) * header->bitsPerPixel / 8;
  constexpr double mostMissing = 16;
  const double held = static_cast<double>(file.size()) * (header->isCompressed ? type.largestExpansion : mostMissing);
  if (claimed <= held) return "";
  return "no image, its header claims " + sizeText(size.width, size.height) + " pixels, more than the file can hold";
}

std::optional<ImageSize> imageSize(const std::string& path) {
  const ImageType* type = imageTypeOf(path);
  if (type == nullptr) return std::nullopt;
  ImageFile file(path);
  if (!file) return std::nullopt;
  const std::optional<ImageHeader> header = readHeader(type->format, file);
  const std::string problem = headerProblem(*type, header, file);
  if (problem.empty()) return header->size;
  writeLog(path + ": " + problem);
  return std::nullopt;
}

}  // namespace vellandra
