#include "calibration/messages.h"
#include "raster/bitmap.h"
#include "raster/decoders.h"
#include "raster/image_header.h"
#include "raster/library_messages.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

constexpr std::int64_t largestSide = 32767;

DecodedImage decode(ImageFormat format, ImageFile& file, const ImageSize& size) {
  try {
    if (format == ImageFormat::tiff) return decodeTiff(file, size);
    if (format == ImageFormat::bmp) return decodeBmp(file);
    return decodeByLibrary(format, file);
  } catch (const std::bad_alloc&) {
    return {{}, "not enough memory"};
  }
}

/// Why nothing was loaded, to the panel.
Bitmap noImage(const std::string& path, const std::string& reason) {
  showMessage(path + ": " + reason);
  return {};
}

}  // namespace

Bitmap LoadImageByExtension(const std::string& path) {
  const ImageType* type = imageTypeOf(path);
  if (type == nullptr) return noImage(path, "no image type has this ending");
  ImageFile file(path);
  if (!file) return noImage(path, "no such file");
  const std::optional<ImageHeader> header = readHeader(type->format, file);
  if (const std::string problem = headerProblem(*type, header, file); !problem.empty()) return noImage(path, problem);
  const ImageSize& size = header->size;
  if (size.width > largestSide || size.height > largestSide) {
    throw Overflow("image " + path + " is " + sizeText(size.width, size.height) + ", past 32767 pixels");
  }
  DecodedImage decoded = runWork("Loading " + std::string(fileName(path)), [&] {
    const LibraryMessages messages(path);
    return decode(type->format, file, size);
  });
  if (!decoded.bitmap) {
    return noImage(path, "the image cannot be decoded" + (decoded.reason.empty() ? "" : ": " + decoded.reason));
  }
  if (!decoded.isWhole) showMessage(path + ": damaged or cut off; the image is loaded as far as it goes");
  return std::move(decoded.bitmap);
}

}  // namespace vellandra
