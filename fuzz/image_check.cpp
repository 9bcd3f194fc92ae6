#include "image_check.h"

#include <algorithm>
#include <array>
#include <exception>
#include <optional>

#include "raster/bitmap.h"
#include "raster/image_header.h"
#include "raster/large_images.h"
#include "support/errors.h"
#include "support/files.h"

namespace vellandra {
namespace {

/// Larger images say nothing new, and take most of the time.
constexpr std::int64_t mostPixels = 1'000'000, mostSavedPixels = 10'000;

const char* endingOf(std::string_view input) {
  switch (input.empty() ? '\0' : input.front()) {
    case 'B':
      return "bmp";
    case 'G':
      return "gif";
    case '\x89':
      return "png";
    case '\xFF':
      return "jpg";
    default:
      return "tif";
  }
}

/// What a copy of the image takes along besides its pixels.
std::string strangerIn(const Bitmap& image) {
  constexpr std::array<std::string_view, 6> pixels{"IHDR", "pHYs", "PLTE", "tRNS", "IDAT", "IEND"};
  const std::string copy = encodeImage(ImageFormat::png, image).bytes;
  if (copy.empty() && canSave(ImageFormat::png, image)) return "a copy cannot be saved";
  for (std::size_t chunk = 8; chunk + 8 <= copy.size();) {  // length, type, data, check sum
    const std::string type = copy.substr(chunk + 4, 4);
    if (std::ranges::find(pixels, type) == pixels.end()) return "a copy with " + type;
    chunk += 12 + bigEndian32(reinterpret_cast<const unsigned char*>(&copy[chunk]));
  }
  return "";
}

}  // namespace

std::string checkImage(std::string_view input, const std::string& folder, bool& loaded) {
  const std::string path = folder + "area." + endingOf(input);
  if (!writeWholeFile(path, input)) return "the input cannot be written";
  try {
    const std::optional<ImageSize> size = imageSize(path);
    if (size && size->width * size->height > mostPixels) return "";
    const Bitmap image = LoadImageByExtension(path);
    loaded = static_cast<bool>(image);
    if (!loaded) return "";
    if (!size || image.width() != size->width || image.height() != size->height) return "not the size of its header";
    if (!convertTo24Bits(image)) return "pixels that are no colours";
    const Bitmap alpha = opacity(image);
    if (alpha && alpha.width() != image.width()) return "opacity of another size";
    return size->width * size->height > mostSavedPixels ? "" : strangerIn(image);
  } catch (const Overflow&) {
    return "";
  } catch (const std::exception& error) {
    return std::string("unexpected exception: ") + error.what();
  }
}

}  // namespace vellandra
