#include "raster/large_images.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "raster/library_messages.h"
#include "support/threads.h"
#include "support/work.h"

namespace vellandra {
namespace {

constexpr int bandSize = 128;                                 // rows or columns
constexpr std::int64_t largestWhole = std::int64_t{1} << 20;  // pixels; smaller images are done before one can cancel

/// Calls `make` for each band of `size` rows or columns, as its first and the one behind its last. False when one
/// cannot be made.
bool forBands(int size, const std::function<bool(int, int)>& make) {
  std::atomic<bool> made = true;
  const int bands = (size + bandSize - 1) / bandSize;
  forEachNumber(
      bands, coreCount(),
      [&](int band) {
        std::vector<std::string> said;  // not to the log, which belongs to one thread
        const LibraryMessages messages(said);
        if (!make(band * bandSize, std::min((band + 1) * bandSize, size))) made = false;
      },
      [&](int done) { showProgress(done, bands); });
  return made;
}

/// Copies `band`, of 24 bits, into `image` from (left, top) on. False when there is none.
bool put(const Bitmap& band, Bitmap& image, int left, int top) {
  for (int y = 0; y < band.height(); ++y) {
    std::memcpy(image.row(top + y).data() + std::ptrdiff_t{3} * left, band.row(y).data(),
                std::size_t{3} * static_cast<std::size_t>(band.width()));
  }
  return static_cast<bool>(band);
}

/// Each row by itself.
Bitmap withWidth(const Bitmap& bitmap, int width) {
  Bitmap result = allocateBitmap(Pixels::color24, width, bitmap.height());
  const bool made =
      result && forBands(bitmap.height(), [&](int top, int bottom) {
        return put(rescale(copyRectangle(bitmap, 0, top, bitmap.width(), bottom), width, bottom - top), result, 0, top);
      });
  return made ? std::move(result) : Bitmap();
}

/// Each column by itself.
Bitmap withHeight(const Bitmap& bitmap, int height) {
  Bitmap result = allocateBitmap(Pixels::color24, bitmap.width(), height);
  const bool made = result && forBands(bitmap.width(), [&](int left, int right) {
                      return put(rescale(copyRectangle(bitmap, left, 0, right, bitmap.height()), right - left, height),
                                 result, left, 0);
                    });
  return made ? std::move(result) : Bitmap();
}

}  // namespace

Bitmap copied(const Bitmap& bitmap, int left, int top, int right, int bottom) {
  const int bits = bitmap.bitsPerPixel();
  const bool isInside = left >= 0 && top >= 0 && right <= bitmap.width() && bottom <= bitmap.height();
  const bool whole = std::int64_t{right - left} * (bottom - top) <= largestWhole;
  if (whole || !isInside || (bits != 24 && bits != 32)) return copyRectangle(bitmap, left, top, right, bottom);
  Bitmap copy = allocateBitmap(bits == 24 ? Pixels::color24 : Pixels::color32, right - left, bottom - top);
  const std::ptrdiff_t bytes = bits / 8;
  const bool made =
      copy && forBands(bottom - top, [&](int first, int end) {
        for (int y = first; y < end; ++y) {
          std::copy_n(bitmap.row(top + y).begin() + bytes * left, bytes * copy.width(), copy.row(y).begin());
        }
        return true;
      });
  return made ? std::move(copy) : Bitmap();
}

Bitmap opacity(const Bitmap& bitmap) {
  if (!isTransparent(bitmap)) return {};
  if (std::int64_t{bitmap.width()} * bitmap.height() <= largestWhole) return alphaOf(bitmap);
  Bitmap alpha = allocateBitmap(Pixels::index8, bitmap.width(), bitmap.height());
  const bool made = alpha && forBands(bitmap.height(), [&](int top, int bottom) {
                      const Bitmap band = alphaOf(copyRectangle(bitmap, 0, top, bitmap.width(), bottom));
                      for (int y = 0; y < band.height(); ++y) {
                        std::copy_n(band.row(y).begin(), band.width(), alpha.row(top + y).begin());
                      }
                      return static_cast<bool>(band);
                    });
  return made ? std::move(alpha) : Bitmap();
}

Bitmap colorsOf(const Bitmap& bitmap) {
  if (std::int64_t{bitmap.width()} * bitmap.height() <= largestWhole) return convertTo24Bits(bitmap);
  Bitmap colors = allocateBitmap(Pixels::color24, bitmap.width(), bitmap.height());
  const bool made =
      colors && forBands(bitmap.height(), [&](int top, int bottom) {
        return put(convertTo24Bits(copyRectangle(bitmap, 0, top, bitmap.width(), bottom)), colors, 0, top);
      });
  return made ? std::move(colors) : Bitmap();
}

Bitmap rescaled(const Bitmap& bitmap, int width, int height) {
  const bool whole = std::int64_t{bitmap.width()} * bitmap.height() <= largestWhole;
  if (whole || bitmap.bitsPerPixel() != 24 || width == bitmap.width() || height == bitmap.height()) {
    return rescale(bitmap, width, height);
  }
  // In the library's order: rounding in between shows in the pixels.
  return withHeight(withWidth(bitmap, width), height);
}

}  // namespace vellandra
