#include "raster/bitmap.h"

#include <FreeImage.h>
#include <sys/mman.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string_view>
#include <vector>

#include "calibration/log.h"
#include "raster/decoders.h"
#include "raster/image_parts.h"
#include "raster/library_messages.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/threads.h"

namespace vellandra {

/// Hands the library's image out of and into a `Bitmap`.
struct BitmapAccess {
  /// The library reads through pointers that are not const; it changes nothing where it is handed a const `Bitmap`.
  static FIBITMAP* image(const Bitmap& bitmap) { return bitmap.image_.get(); }
  static Bitmap own(FIBITMAP* image, int paletteEntriesUsed = 0) {
    Bitmap bitmap;
    bitmap.image_.reset(image);
    bitmap.paletteEntriesUsed_ = paletteEntriesUsed;
    return bitmap;
  }
  static int paletteEntriesUsed(const Bitmap& bitmap) { return bitmap.paletteEntriesUsed_; }
  static void setPaletteEntriesUsed(Bitmap& bitmap, int count) { bitmap.paletteEntriesUsed_ = count; }
};

namespace {

using Access = BitmapAccess;

FREE_IMAGE_FORMAT identifier(ImageFormat format) {
  return static_cast<FREE_IMAGE_FORMAT>(format);
}

void freeImageMessage(FREE_IMAGE_FORMAT, const char* message) {
  LibraryMessages::add(message);
}

void divertMessages() {
  static const bool diverted = [] {
    FreeImage_SetOutputMessage(freeImageMessage);
    return true;
  }();
  static_cast<void>(diverted);
}

/// Runs `call`; what it yields is null or empty when it fails, also when memory runs out inside the library.
template <typename Call>
auto guarded(const Call& call) -> decltype(call()) {
  divertMessages();
  try {
    return call();
  } catch (const Cancelled&) {
    throw;
  } catch (const std::exception& error) {
    LibraryMessages::add(error.what());
  } catch (const char* text) {
    LibraryMessages::add(text);
  }
  return {};
}

/// Ends a call of the library in the way in which its own plug-ins do, which then take away what they have begun.
[[noreturn]] void giveUp(const char* why) {
  throw why;
}

// The library puts the names of files it opens itself into a message buffer of fixed size, which long paths overflow.
// So it is given files that are open already.
unsigned readProc(void* buffer, unsigned size, unsigned count, fi_handle parts) {
  auto& stream = *static_cast<ImageParts*>(parts);
  if (isCancelled()) giveUp("Cancelled");
  showProgress(stream.tell(), stream.size());
  const std::size_t wanted = std::size_t{size} * count;
  const std::size_t length = stream.read(buffer, wanted);
  // At the end of a file that is cut off the library goes on with what its buffer holds.
  std::memset(static_cast<char*>(buffer) + length, 0, wanted - length);
  return size == 0 ? 0 : static_cast<unsigned>(length / size);
}
int seekProc(fi_handle parts, long offset, int origin) {
  return static_cast<ImageParts*>(parts)->seek(offset, origin) ? 0 : -1;
}
long tellProc(fi_handle parts) {
  return static_cast<ImageParts*>(parts)->tell();
}
/// The plug-in for JPEG keeps memory when it is left, or told of a fault, and the one for PNG the palette's. So what
/// takes them a moment, as tiles do, goes on to its end for nothing.
bool encodingCanBeLeft(ImageFormat format, const Bitmap& bitmap) {
  constexpr std::int64_t aMoment = 1'000'000;  // pixels
  const bool small = std::int64_t{bitmap.width()} * bitmap.height() <= aMoment;
  return format != ImageFormat::jpeg && !(small && bitmap.bitsPerPixel() <= 8);
}

/// Where an image that is encoded goes.
struct Output {
  bool canBeLeft;
  std::string bytes;
  const char* fault = nullptr;
};
unsigned writeProc(void* buffer, unsigned size, unsigned count, fi_handle handle) {
  auto& output = *static_cast<Output*>(handle);
  if (isCancelled()) output.fault = "Cancelled";
  try {
    if (output.fault == nullptr) output.bytes.append(static_cast<const char*>(buffer), std::size_t{size} * count);
  } catch (const std::exception&) {
    output.fault = "no memory for the encoded image";
  }
  if (output.fault != nullptr && output.canBeLeft) giveUp(output.fault);
  return count;
}

/// Takes away what is not pixels.
void strip(FIBITMAP* image) {
  constexpr unsigned dotsPerMetre = 2835;  // 72 an inch, which the library gives to images of its own
  if (image == nullptr) return;
  for (int model = FIMD_COMMENTS; model <= FIMD_EXIF_RAW; ++model) {
    FreeImage_SetMetadata(static_cast<FREE_IMAGE_MDMODEL>(model), image, nullptr, nullptr);
  }
  FreeImage_DestroyICCProfile(image);
  FreeImage_SetThumbnail(image, nullptr);
  FreeImage_SetBackgroundColor(image, nullptr);
  FreeImage_SetDotsPerMeterX(image, dotsPerMetre);
  FreeImage_SetDotsPerMeterY(image, dotsPerMetre);
}

Bitmap decode(ImageFormat format, ImageParts& parts) {
  FreeImageIO io{readProc, nullptr, seekProc, tellProc};
  parts.seek(0, SEEK_SET);
  FIBITMAP* image = guarded([&] { return FreeImage_LoadFromHandle(identifier(format), &io, &parts, 0); });
  strip(image);
  Bitmap bitmap = Access::own(image);
  endIfCancelled();
  return bitmap;
}

PixelColor fromLibrary(const RGBQUAD& color) {
  return {color.rgbRed, color.rgbGreen, color.rgbBlue, color.rgbReserved};
}

RGBQUAD toLibrary(const PixelColor& color) {
  RGBQUAD quad{};
  quad.rgbRed = color.red;
  quad.rgbGreen = color.green;
  quad.rgbBlue = color.blue;
  quad.rgbReserved = color.reserved;
  return quad;
}

/// `reserved` are the last entries.
Bitmap reduceByLibrary(const Bitmap& colors, QuantizeMethod method, int paletteSize, std::vector<RGBQUAD>& reserved) {
  FIBITMAP* reduced =
      FreeImage_ColorQuantizeEx(Access::image(colors), static_cast<FREE_IMAGE_QUANTIZE>(method), paletteSize,
                                static_cast<int>(reserved.size()), reserved.empty() ? nullptr : reserved.data());
  // A palette always has 256 places; the library leaves shades of grey in those it does not use.
  if (reduced != nullptr) {
    RGBQUAD* palette = FreeImage_GetPalette(reduced);
    std::fill(palette + paletteSize, palette + FreeImage_GetColorsUsed(reduced), palette[0]);
  }
  return Access::own(reduced, paletteSize);
}

std::size_t pixelBytes(FIBITMAP* image) {
  return std::size_t{FreeImage_GetPitch(image)} * FreeImage_GetHeight(image);
}

/// What takes the system a while to hand out and to take back.
bool isLarge(std::size_t bytes) {
  return bytes > std::size_t{64} << 20;
}

void release(FIBITMAP* image) {
  // While it takes memory back the system gives none to any thread, so it gets the pages of the pixels bit by bit.
  constexpr std::size_t page = 4096, piece = std::size_t{8} << 20;
  std::size_t bytes = pixelBytes(image);
  void* pixels = FreeImage_GetBits(image);
  if (isLarge(bytes) && std::align(page, page, pixels, bytes) != nullptr) {
    bytes -= bytes % page;
    for (std::size_t at = 0; at < bytes; at += piece) {
      (void)::madvise(static_cast<unsigned char*>(pixels) + at, std::min(piece, bytes - at), MADV_DONTNEED);
    }
  }
  FreeImage_Unload(image);
}

unsigned char* rowAddress(FIBITMAP* image, int y, int height) {
  if (y < 0 || y >= height) {
    throw SubscriptOutOfRange("row " + std::to_string(y) + " of an image of " + std::to_string(height) + " rows");
  }
  return FreeImage_GetScanLine(image, height - 1 - y);
}

}  // namespace

void Bitmap::Release::operator()(FIBITMAP* image) const {
  // Giving back a gigabyte takes the system a tenth of a second, in which a window would stand still.
  const bool waits = currentWork() == nullptr && isLarge(pixelBytes(image));
  if (!waits || !startLeavable([image] { release(image); })) release(image);
}

int Bitmap::width() const {
  return image_ ? static_cast<int>(FreeImage_GetWidth(image_.get())) : 0;
}
int Bitmap::height() const {
  return image_ ? static_cast<int>(FreeImage_GetHeight(image_.get())) : 0;
}
int Bitmap::bitsPerPixel() const {
  return image_ ? static_cast<int>(FreeImage_GetBPP(image_.get())) : 0;
}
int Bitmap::pitch() const {
  return image_ ? static_cast<int>(FreeImage_GetPitch(image_.get())) : 0;
}

int Bitmap::paletteEntryCount() const {
  if (!image_) return 0;
  return paletteEntriesUsed_ > 0 ? paletteEntriesUsed_ : static_cast<int>(FreeImage_GetColorsUsed(image_.get()));
}

PixelColor Bitmap::paletteEntry(int index) const {
  if (index < 0 || index >= paletteEntryCount()) throw SubscriptOutOfRange("palette entry " + std::to_string(index));
  return fromLibrary(FreeImage_GetPalette(image_.get())[index]);
}

std::span<std::uint8_t> Bitmap::row(int y) {
  return {rowAddress(image_.get(), y, height()), static_cast<std::size_t>(pitch())};
}

std::span<const std::uint8_t> Bitmap::row(int y) const {
  return {rowAddress(image_.get(), y, height()), static_cast<std::size_t>(pitch())};
}

DecodedImage decodeByLibrary(ImageFormat format, ImageFile& file) {
  PixelParts pixels = pixelParts(format, file);
  // One scan of a progressive JPEG takes as long for all pixels as for none.
  constexpr int mostScans = 100;
  if (pixels.scans > mostScans) {
    return {{}, "its pixels come in " + std::to_string(pixels.scans) + " scans, which would take too long"};
  }
  Bitmap bitmap = decode(format, pixels.parts);
  bool isWhole = !pixels.endsEarly;
  if (!bitmap && format == ImageFormat::png) {
    isWhole = false;
    const auto mended = guarded([&] { return std::make_unique<ImageParts>(mendedPng(file, pixels)); });
    if (mended && mended->size() > 0) bitmap = decode(format, *mended);
  }
  if (!bitmap) return {{}, LibraryMessages::last()};
  return {std::move(bitmap), "", isWhole};
}

Bitmap quantizeByLibrary(const Bitmap& colors, QuantizeMethod method, int paletteSize,
                         std::span<const PixelColor> reserved) {
  std::vector<RGBQUAD> last;
  for (const PixelColor& color : reserved) last.push_back(toLibrary(color));
  if (currentWork() == nullptr) return guarded([&] { return reduceByLibrary(colors, method, paletteSize, last); });
  // The library's call cannot be ended: a person who cancels leaves it behind with a copy of its own.
  const auto copy = std::make_shared<Bitmap>(clone(colors));
  if (!*copy) return {};
  return guarded([&] {
    return leavable([copy, method, paletteSize, last]() mutable {
      std::vector<std::string> said;  // not to the log, which belongs to one thread
      const LibraryMessages messages(said);
      return reduceByLibrary(*copy, method, paletteSize, last);
    });
  });
}

bool canSave(ImageFormat format, const Bitmap& bitmap) {
  if (!bitmap) return false;
  const FREE_IMAGE_TYPE type = FreeImage_GetImageType(Access::image(bitmap));
  return type == FIT_BITMAP ? FreeImage_FIFSupportsExportBPP(identifier(format), bitmap.bitsPerPixel()) != FALSE
                            : FreeImage_FIFSupportsExportType(identifier(format), type) != FALSE;
}

EncodedImage encodeImage(ImageFormat format, const Bitmap& bitmap, int flags) {
  EncodedImage encoded;
  if (!bitmap) return encoded;
  const LibraryMessages messages(encoded.messages);
  encoded.bytes = guarded([&] {
    Output output{encodingCanBeLeft(format, bitmap), {}, nullptr};
    FreeImageIO io{nullptr, writeProc, nullptr, [](fi_handle written) {
                     return static_cast<long>(static_cast<const Output*>(written)->bytes.size());
                   }};
    const bool whole = FreeImage_SaveToHandle(identifier(format), Access::image(bitmap), &io, &output, flags) != FALSE;
    if (whole && output.fault != nullptr) LibraryMessages::add(output.fault);
    return whole && output.fault == nullptr ? std::move(output.bytes) : std::string();
  });
  endIfCancelled();
  return encoded;
}

void logMessages(const EncodedImage& image, const std::string& path) {
  for (const std::string& message : image.messages) writeLog(std::string(path).append(": ").append(message));
}

bool saveEncodedImage(const EncodedImage& image, const std::string& path) {
  logMessages(image, path);
  return !image.bytes.empty() && writeWholeFile(path, image.bytes);
}

// Through memory, because the library does not notice a disk that is full.
bool SaveImage(ImageFormat format, const Bitmap& bitmap, const std::string& path, int flags) {
  return saveEncodedImage(encodeImage(format, bitmap, flags), path);
}

// A coordinate below 0 becomes one past the image, which the library refuses.
bool GetPixelColor(const Bitmap& bitmap, int x, int y, PixelColor& color) {
  RGBQUAD quad{};
  const auto row = static_cast<unsigned>(bitmap.height() - 1 - y);
  if (FreeImage_GetPixelColor(Access::image(bitmap), static_cast<unsigned>(x), row, &quad) == FALSE) return false;
  color = fromLibrary(quad);
  return true;
}

bool SetPixelColor(Bitmap& bitmap, int x, int y, const PixelColor& color) {
  RGBQUAD quad = toLibrary(color);
  const auto row = static_cast<unsigned>(bitmap.height() - 1 - y);
  return FreeImage_SetPixelColor(Access::image(bitmap), static_cast<unsigned>(x), row, &quad) != FALSE;
}

bool Paste(Bitmap& destination, const Bitmap& source, int left, int top, int alpha) {
  divertMessages();
  return destination && source &&
         FreeImage_Paste(Access::image(destination), Access::image(source), left, top, alpha) != FALSE;
}

Bitmap copyRectangle(const Bitmap& bitmap, int left, int top, int right, int bottom) {
  if (!bitmap || left >= right || top >= bottom) return {};
  return Access::own(guarded([&] { return FreeImage_Copy(Access::image(bitmap), left, top, right, bottom); }),
                     Access::paletteEntriesUsed(bitmap));
}

Bitmap rescale(const Bitmap& bitmap, int width, int height) {
  if (!bitmap || width < 1 || height < 1) return {};
  return Access::own(
      guarded([&] { return FreeImage_Rescale(Access::image(bitmap), width, height, FILTER_CATMULLROM); }));
}

Bitmap allocateBitmap(Pixels kind, int width, int height) {
  struct Form {
    FREE_IMAGE_TYPE type;
    int bits;
  };
  static constexpr std::array<Form, 8> forms{{{FIT_BITMAP, 1},
                                              {FIT_BITMAP, 4},
                                              {FIT_BITMAP, 8},
                                              {FIT_BITMAP, 24},
                                              {FIT_BITMAP, 32},
                                              {FIT_UINT16, 16},
                                              {FIT_RGB16, 48},
                                              {FIT_RGBA16, 64}}};
  if (width < 1 || height < 1) return {};
  const Form form = forms[static_cast<std::size_t>(kind)];
  const auto allocate = [=] {
    std::vector<std::string> said;  // not to the log, which belongs to one thread
    const LibraryMessages messages(said);
    return Access::own(guarded([=] { return FreeImage_AllocateT(form.type, width, height, form.bits); }));
  };
  const std::int64_t bits = std::int64_t{width} * height * form.bits;
  return isLarge(static_cast<std::size_t>(bits / 8)) ? leavable(allocate) : allocate();
}

void setPalette(Bitmap& bitmap, std::span<const PixelColor> colors, const PixelColor& behind) {
  const auto places = static_cast<std::size_t>(FreeImage_GetColorsUsed(Access::image(bitmap)));
  RGBQUAD* palette = FreeImage_GetPalette(Access::image(bitmap));
  for (std::size_t i = 0; i < places; ++i) palette[i] = toLibrary(i < colors.size() ? colors[i] : behind);
  Access::setPaletteEntriesUsed(bitmap, static_cast<int>(std::min(places, colors.size())));
}

Bitmap allocate24Bits(int width, int height, const PixelColor& fill) {
  if (width < 1 || height < 1) return {};
  const RGBQUAD color = toLibrary(fill);
  return Access::own(guarded([&] { return FreeImage_AllocateEx(width, height, 24, &color); }));
}

Bitmap convertTo24Bits(const Bitmap& bitmap) {
  if (!bitmap) return {};
  FIBITMAP* image = Access::image(bitmap);
  if (FreeImage_GetImageType(image) != FIT_UINT16) {
    return Access::own(guarded([&] { return FreeImage_ConvertTo24Bits(image); }));
  }
  const Bitmap grey = Access::own(guarded([&] { return FreeImage_ConvertTo8Bits(image); }));
  return convertTo24Bits(grey);
}

bool isTransparent(const Bitmap& bitmap) {
  return bitmap && FreeImage_IsTransparent(Access::image(bitmap)) != FALSE;
}

Bitmap alphaOf(const Bitmap& bitmap) {
  if (!bitmap) return {};
  const Bitmap colors = Access::own(guarded([&] { return FreeImage_ConvertTo32Bits(Access::image(bitmap)); }));
  if (!colors) return {};
  return Access::own(guarded([&] { return FreeImage_GetChannel(Access::image(colors), FICC_ALPHA); }));
}

Bitmap clone(const Bitmap& bitmap) {
  if (!bitmap) return {};
  return Access::own(guarded([&] { return FreeImage_Clone(Access::image(bitmap)); }),
                     Access::paletteEntriesUsed(bitmap));
}

}  // namespace vellandra
