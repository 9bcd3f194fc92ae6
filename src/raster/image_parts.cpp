#include "raster/image_parts.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "raster/image_header.h"

namespace vellandra {
namespace {

constexpr std::int64_t pngSignature = 8;
constexpr std::array<std::string_view, 6> pngChunks{"IHDR", "gAMA", "PLTE", "tRNS", "IDAT", "IEND"};

void takePng(ImageFile& file, PixelParts& kept) {
  constexpr std::int64_t lengthAndType = 8, checkSum = 4, longestTable = 768;
  kept.parts.add(0, pngSignature);
  kept.endsEarly = true;
  std::array<unsigned char, lengthAndType> head{};
  for (std::int64_t position = pngSignature; file.fill(position, head);) {
    const std::int64_t length = bigEndian32(head.data());
    const std::string_view type(reinterpret_cast<const char*>(&head[4]), 4);
    const std::int64_t data = position + lengthAndType, end = data + length + checkSum;
    const bool isData = type == "IDAT";
    if (isData && kept.pngData.empty()) kept.pngHead = kept.parts;
    if (isData) kept.pngData.emplace_back(data, std::min(length, file.size() - data));
    if (end > file.size()) return;
    const bool isPart = std::ranges::find(pngChunks, type) != pngChunks.end();
    if (isPart && (isData || length <= longestTable)) kept.parts.add(position, end - position);
    if (type == "IEND") {
      kept.endsEarly = false;
      return;
    }
    position = end;
  }
}

bool makesJpegPixels(const JpegSegment& segment) {
  // The JFIF and the Adobe segment say how colours are coded; the other application segments and comments do not.
  constexpr int jfif = 0xE0, adobe = 0xEE, lastApplication = 0xEF, comment = 0xFE;
  const bool isApplication = segment.marker >= jfif && segment.marker <= lastApplication;
  return segment.marker == jfif || segment.marker == adobe || (!isApplication && segment.marker != comment);
}

void takeJpeg(ImageFile& file, PixelParts& kept) {
  constexpr int startOfScan = 0xDA, endOfImage = 0xD9;
  kept.parts.add(0, firstJpegSegment);
  kept.scans = 0;
  kept.endsEarly = true;
  std::int64_t firstScan = -1, end = file.size();
  for (auto segment = jpegSegmentAt(file, firstJpegSegment); segment;
       segment = jpegSegmentAt(file, segment->position + segment->length)) {
    if (segment->marker == endOfImage) {
      kept.endsEarly = false;
      end = segment->position + segment->length;
      break;
    }
    if (segment->marker == startOfScan) {
      ++kept.scans;
      if (firstScan < 0) firstScan = segment->position;
    }
    if (firstScan < 0 && makesJpegPixels(*segment)) kept.parts.add(segment->position, segment->length);
  }
  if (firstScan >= 0) kept.parts.add(firstScan, end - firstScan);
}

void takeGif(ImageFile& file, PixelParts& kept) {
  const std::optional<GifImage> image = firstGifImage(file);
  if (!image) return;
  kept.parts.add(0, image->screenEnd);
  if (image->graphicControl > 0) kept.parts.add(image->graphicControl, gifGraphicControlLength);
  // Behind the descriptor and its colours a byte with the length of the codes, then the sub-blocks.
  const std::int64_t blocks = image->descriptor + gifDescriptorLength +
                              gifColorsLength(file.byteAt(image->descriptor + gifDescriptorLength - 1)) + 1;
  std::int64_t end = blocks;
  int length = file.byteAt(end);
  while (length > 0 && end + 1 + length <= file.size()) {
    end += 1 + length;
    length = file.byteAt(end);
  }
  kept.parts.add(image->descriptor, end - image->descriptor);
  kept.endsEarly = length != 0;
  if (const std::int64_t rest = file.size() - end - 1; kept.endsEarly && rest > 0) {
    kept.parts.add(std::string(1, static_cast<char>(rest)));
    kept.parts.add(end + 1, rest);
  }
  kept.parts.add(std::string("\0;", 2));
}

}  // namespace

PixelParts pixelParts(ImageFormat format, ImageFile& file) {
  PixelParts kept(file);
  if (format == ImageFormat::png) takePng(file, kept);
  if (format == ImageFormat::jpeg) takeJpeg(file, kept);
  if (format == ImageFormat::gif) takeGif(file, kept);
  return kept;
}

}  // namespace vellandra
