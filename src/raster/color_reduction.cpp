#include <algorithm>
#include <new>

#include "raster/bitmap.h"
#include "raster/palette.h"
#include "raster/palette_refinement.h"
#include "raster/palette_sample.h"
#include "support/threads.h"

namespace vellandra {
namespace {

constexpr std::int64_t largestWhole = 4'000'000;  // pixels of an image that the library sees all of for its palette

/// `image`, of any depth, with a palette that the library makes of a sample.
Bitmap quantizeBySample(const Bitmap& image, QuantizeMethod method, int paletteSize,
                        std::span<const PixelColor> reserved) {
  const unsigned threads = coreCount();
  const Bitmap sample = paletteSample(image, threads);
  const Bitmap reducedSample = sample ? quantizeByLibrary(sample, method, paletteSize, reserved) : Bitmap();
  Bitmap reduced = reducedSample ? allocateBitmap(Pixels::index8, image.width(), image.height()) : Bitmap();
  if (!reduced) return {};
  std::vector<PixelColor> palette;
  palette.reserve(static_cast<std::size_t>(paletteSize));
  for (int i = 0; i < paletteSize; ++i) palette.push_back(reducedSample.paletteEntry(i));
  refinePalette(sample, palette, palette.size() - reserved.size(), threads);
  mapToPalette(image, palette, reduced, threads);
  setPalette(reduced, palette, palette.front());
  return reduced;
}

}  // namespace

Bitmap ColorQuantizeEx(Bitmap& bitmap, QuantizeMethod method, bool unloadSource, int paletteSize, int reserveSize,
                       std::span<const PixelColor> reservePalette) {
  if (!bitmap) return {};
  paletteSize = std::clamp(paletteSize, 2, 256);
  reserveSize = std::clamp(reserveSize, 0, Min(paletteSize, static_cast<int>(reservePalette.size())));
  const auto reserved = reservePalette.first(static_cast<std::size_t>(reserveSize));
  Bitmap released;
  const Bitmap& source = unloadSource ? released : bitmap;
  if (unloadSource) released = std::move(bitmap);
  if (std::int64_t{source.width()} * source.height() > largestWhole) {
    try {
      return quantizeBySample(source, method, paletteSize, reserved);
    } catch (const std::bad_alloc&) {
      return {};
    }
  }
  if (source.bitsPerPixel() == 24) return quantizeByLibrary(source, method, paletteSize, reserved);
  const Bitmap colors = convertTo24Bits(source);
  released.reset();
  return colors ? quantizeByLibrary(colors, method, paletteSize, reserved) : Bitmap();
}

}  // namespace vellandra
