#include <memory>
#include <string>
#include <vector>

#include "calibration/log.h"
#include "calibration/messages.h"
#include "raster/bitmap.h"
#include "raster/decoders.h"
#include "raster/image_header.h"
#include "raster/library_messages.h"
#include "support/errors.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/threads.h"
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

/// As `decode`, with what the libraries say in the log.
DecodedImage decodeForWork(ImageFormat format, const std::shared_ptr<ImageFile>& file, const ImageSize& size,
                           const std::string& path) {
  // There are steps that nothing can end, such as the last pass over a progressive JPEG; smaller images are done first.
  constexpr std::int64_t large = 16'000'000;  // pixels
  if (size.width * size.height < large) {
    const LibraryMessages messages(path);
    return decode(format, *file, size);
  }
  struct Decoded {
    DecodedImage image;
    std::vector<std::string> said;
  };
  Decoded decoded = leavable([format, file, size] {
    Decoded left;
    {
      const LibraryMessages messages(left.said);
      left.image = decode(format, *file, size);
    }
    return left;
  });
  for (std::string& message : decoded.said) writeLog(message.insert(0, path + ": "));
  return std::move(decoded.image);
}

/// The hourglass, for as long as this lives.
class Busy {
 public:
  Busy() { userInterface().showBusy(true); }
  Busy(const Busy&) = delete;
  Busy& operator=(const Busy&) = delete;
  ~Busy() { userInterface().showBusy(false); }
};

/// Why nothing was loaded, to the panel.
Bitmap noImage(const std::string& path, const std::string& reason) {
  showMessage(path + ": " + reason);
  return {};
}

}  // namespace

Bitmap LoadImageByExtension(const std::string& path) {
  const ImageType* type = imageTypeOf(path);
  if (type == nullptr) return noImage(path, "no image type has this ending");
  const auto file = std::make_shared<ImageFile>(path);
  if (!*file) return noImage(path, "no such file");
  const std::optional<ImageHeader> header = readHeader(type->format, *file);
  if (const std::string problem = headerProblem(*type, header, *file); !problem.empty()) return noImage(path, problem);
  const ImageSize& size = header->size;
  if (size.width > largestSide || size.height > largestSide) {
    throw Overflow("image " + path + " is " + sizeText(size.width, size.height) + ", past 32767 pixels");
  }
  DecodedImage decoded =
      runWork("Loading " + std::string(fileName(path)), [&] { return decodeForWork(type->format, file, size, path); });
  if (!decoded.bitmap) {
    return noImage(path, "the image cannot be decoded" + (decoded.reason.empty() ? "" : ": " + decoded.reason));
  }
  if (!decoded.isWhole) showMessage(path + ": damaged or cut off; the image is loaded as far as it goes");
  return std::move(decoded.bitmap);
}

Bitmap LoadQuantized(const std::string& path) {
  const Busy busy;
  Bitmap loaded = LoadImageByExtension(path);
  showMessage("Rebuilding palette, please wait...");
  Bitmap reduced = runWork("Rebuilding palette", [&loaded] {
    return ColorQuantizeEx(loaded, QuantizeMethod::neuQuant, false, reducedColors, 0);
  });
  if (reduced) return reduced;
  showMessage(path + "already quantized");
  return loaded;
}

}  // namespace vellandra
