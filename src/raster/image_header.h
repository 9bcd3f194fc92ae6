#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "raster/image_file.h"

namespace vellandra {

struct ImageSize {
  std::int64_t width = 0, height = 0;
};

/// The size of the image in `path`, from its header alone, which takes no library; the type goes by the last three
/// characters as in `LoadImageByExtension`. Nothing for a file that is no image of that type, or whose header claims
/// more pixels than the file can hold; why is in the log. Sizes past 32767 are returned as they are.
std::optional<ImageSize> imageSize(const std::string& path);

struct ImageHeader {
  ImageSize size;
  int bitsPerPixel = 0;  ///< all channels together, as they are in the file
  bool isCompressed = true;
};

/// Nothing when the file is no image of this type, also when a side is 0.
std::optional<ImageHeader> readHeader(ImageFormat format, ImageFile& file);

/// Why `file` cannot be an image with this header, in a few words; empty when it can.
std::string headerProblem(const ImageType& type, const std::optional<ImageHeader>& header, ImageFile& file);

/// A piece of a JPEG file. Layout: ITU T.81, annex B.
struct JpegSegment {
  int marker = 0;             ///< the byte behind FF
  std::int64_t position = 0;  ///< of its FF
  std::int64_t length = 0;    ///< with the marker
};
constexpr std::int64_t firstJpegSegment = 2;  ///< behind the start of the image

/// The segment at `position`, or the next one when there are other bytes; nothing at the end of the file.
std::optional<JpegSegment> jpegSegmentAt(ImageFile& file, std::int64_t position);
bool isStartOfFrame(const JpegSegment& segment);

/// Where the first image of a GIF is, which is the one that gets loaded. Layout: Graphics Interchange Format 89a,
/// CompuServe 1990.
struct GifImage {
  std::int64_t screenEnd = 0;       ///< of the screen descriptor and its colours, with which a GIF begins
  std::int64_t graphicControl = 0;  ///< position of the extension that names the transparent colour; 0 for none
  std::int64_t descriptor = 0;      ///< position of the image's own descriptor
};
constexpr std::int64_t gifDescriptorLength = 10, gifGraphicControlLength = 8;

std::optional<GifImage> firstGifImage(ImageFile& file);
/// Bytes that the colours behind a descriptor with these `flags` take.
std::int64_t gifColorsLength(int flags);
/// Where the chain of sub-blocks that begins at `position` ends; -1 when the file ends before.
std::int64_t endOfGifBlocks(ImageFile& file, std::int64_t position);

}  // namespace vellandra
