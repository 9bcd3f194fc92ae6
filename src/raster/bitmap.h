#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "raster/image_file.h"

struct FIBITMAP;

namespace vellandra {

/// A pixel's or palette entry's colour, each part 0 to 255. `reserved` is the alpha where the image has one, else 0.
struct PixelColor {
  std::uint8_t red = 0, green = 0, blue = 0, reserved = 0;
  bool operator==(const PixelColor&) const = default;
};

enum class QuantizeMethod { neuQuant = 1 };

/// Flags of `SaveImage` for a JPEG; 0 leaves the quality to the library. For PNG the flags are how much work is put
/// into compression, 1 to 9, or 0 for the library's choice.
enum JpegFlags : int { jpegSuperb = 128, jpegGood = 256, jpegNormal = 512, jpegAverage = 1024, jpegBad = 2048 };

/// An image in memory and its owner: released with its owner, moved but never copied by accident (see `clone`). Default
/// constructed or moved from it is empty: no image, all sizes 0. Rows count from the top, as everywhere in the program.
class Bitmap {
 public:
  Bitmap() = default;
  explicit operator bool() const { return image_ != nullptr; }
  void reset() { *this = Bitmap(); }

  int width() const;
  int height() const;
  int bitsPerPixel() const;
  /// Bytes from one row to the next in memory: a row's bytes, filled up to a multiple of four.
  int pitch() const;
  /// Palette entries in use; 0 for an image without palette.
  int paletteEntryCount() const;
  /// Throws SubscriptOutOfRange for an entry outside 0 to `paletteEntryCount()` - 1.
  PixelColor paletteEntry(int index) const;

  /// The `pitch()` bytes of row `y`; pixels of 24 bits are blue, green, red in memory.
  /// Throws SubscriptOutOfRange for a row outside 0 to `height()` - 1.
  std::span<std::uint8_t> row(int y);
  std::span<const std::uint8_t> row(int y) const;

 private:
  friend struct BitmapAccess;
  struct Release {
    void operator()(FIBITMAP* image) const;
  };
  std::unique_ptr<FIBITMAP, Release> image_;
  int paletteEntriesUsed_ = 0;  ///< 0: the whole palette
};

/// Loads "TIF", "JPG", "PNG", "BMP" or "GIF", told by the last three characters of `path` without regard to case. Empty
/// for any other ending, and for a file that is no such image or whose pixels are no colours; the panel says why. A
/// file that ends early or is damaged loads as far as it goes, which the panel says too. Nothing but pixels is loaded,
/// and transparency only where the file has a channel or colours for it. Throws Overflow for an image past 32767
/// pixels, before its pixels are decoded.
Bitmap LoadImageByExtension(const std::string& path);

/// Colours of the maps that are reduced before they are written: tiles, and merged maps.
inline constexpr int reducedColors = 128;

/// Loads as above and reduces the image to `reducedColors`, with the hourglass and a line in the message panel. The
/// image as loaded when it cannot be reduced, which the panel says.
Bitmap LoadQuantized(const std::string& path);

/// `bitmap` with a palette of `paletteSize` colours (brought to 2 to 256), of which the last `reserveSize` come from
/// `reservePalette`; empty when that fails. `bitmap` keeps its pixels, or is released when `unloadSource`, in any case.
/// Above four million pixels the palette is made from a sample, on all cores, to the same bytes for any number of them.
Bitmap ColorQuantizeEx(Bitmap& bitmap, QuantizeMethod method, bool unloadSource, int paletteSize = 256,
                       int reserveSize = 0, std::span<const PixelColor> reservePalette = {});

/// `colors`, of 24 bits, with a palette of `paletteSize` colours, 2 to 256, that the library makes by a look at every
/// pixel, which takes long; the last ones are `reserved`, at most as many. Empty when that fails.
Bitmap quantizeByLibrary(const Bitmap& colors, QuantizeMethod method, int paletteSize,
                         std::span<const PixelColor> reserved);

/// An image as the bytes of a file, and what the library said while it was made; `bytes` is empty when it failed.
struct EncodedImage {
  std::string bytes;
  std::vector<std::string> messages;
};

/// Whether files of `format` hold the kind of pixels that `bitmap` has, with their full depth.
bool canSave(ImageFormat format, const Bitmap& bitmap);

/// `bitmap` as the bytes that `SaveImage` writes. Can be called from several threads at once, also for one bitmap.
EncodedImage encodeImage(ImageFormat format, const Bitmap& bitmap, int flags = 0);

/// What the library said, to the log, behind the `path` that the image is for.
void logMessages(const EncodedImage& image, const std::string& path);

/// Writes what `encodeImage` made, as `SaveImage` does.
bool saveEncodedImage(const EncodedImage& image, const std::string& path);

/// Writes `bitmap` so that the file appears whole or not at all. False on failure, with an old file intact. JPEGs are
/// baseline. A JPEG takes 8-bit and 24-bit images only.
bool SaveImage(ImageFormat format, const Bitmap& bitmap, const std::string& path, int flags = 0);

/// For images without palette, of at most 8 bits a channel (see `convertTo24Bits`); false for others, and outside the
/// image.
bool GetPixelColor(const Bitmap& bitmap, int x, int y, PixelColor& color);
bool SetPixelColor(Bitmap& bitmap, int x, int y, const PixelColor& color);

/// Draws `source` into `destination` with its top-left corner at (left, top); `alpha` 0 to 255 blends, above it
/// replaces. False when it does not fit inside.
bool Paste(Bitmap& destination, const Bitmap& source, int left, int top, int alpha);

/// The rectangle from (left, top) to (right, bottom), the latter exclusive; empty when it is not inside `bitmap`.
Bitmap copyRectangle(const Bitmap& bitmap, int left, int top, int right, int bottom);

/// Resampled with the Catmull-Rom filter; a palette image becomes a colour image. Empty on failure.
Bitmap rescale(const Bitmap& bitmap, int width, int height);

/// How the pixels of a row lie in memory: numbers of palette entries of 1, 4 or 8 bits, the leftmost in the highest
/// bits; blue, green, red and alpha of 8 bits; words of 16 bits, in colours red, green, blue and alpha.
enum class Pixels { index1, index4, index8, color24, color32, grey16, color48, color64 };

/// A new image of zeros; empty when there is no memory or a side is below 1.
Bitmap allocateBitmap(Pixels kind, int width, int height);

/// Sets the palette to `colors`, which are then its entries in use; `behind` is in the places behind them.
void setPalette(Bitmap& bitmap, std::span<const PixelColor> colors, const PixelColor& behind = {});

/// A new image of 24 bits in one colour; empty when there is no memory or a side is below 1.
Bitmap allocate24Bits(int width, int height, const PixelColor& fill = {});

/// Empty when the pixels are no colours (floating-point numbers).
Bitmap convertTo24Bits(const Bitmap& bitmap);

/// Whether some pixel can be seen through.
bool isTransparent(const Bitmap& bitmap);

/// How opaque each pixel is, from 0 to 255 in 8 bits.
Bitmap alphaOf(const Bitmap& bitmap);

Bitmap clone(const Bitmap& bitmap);

/// The smaller of two; clips tile rectangles at the image's right and bottom edges.
constexpr std::int32_t Min(std::int32_t a, std::int32_t b) {
  return b < a ? b : a;
}

}  // namespace vellandra
