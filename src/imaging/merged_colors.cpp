#include "imaging/merged_colors.h"

#include <cstdint>
#include <vector>

#include "imaging/merge_sides.h"
#include "support/threads.h"

namespace vellandra {

Bitmap reduceMerged(Bitmap& merged, unsigned threads) {
  constexpr int markerEntry = reducedColors - 1;
  constexpr int bandRows = 64;
  Bitmap reduced = ColorQuantizeEx(merged, QuantizeMethod::neuQuant, false, markerEntry, 0);
  if (!reduced) return reduced;
  std::vector<PixelColor> palette;
  for (int i = 0; i < markerEntry; ++i) {
    const PixelColor entry = reduced.paletteEntry(i);
    palette.push_back(entry == markerColor ? besideMarkerColor : entry);
  }
  palette.push_back(markerColor);
  setPalette(reduced, palette, palette.front());
  forEachNumber((merged.height() + bandRows - 1) / bandRows, threads, [&](int band) {
    for (int y = band * bandRows; y < Min((band + 1) * bandRows, merged.height()); ++y) {
      const std::uint8_t* pixel = merged.row(y).data();
      for (std::uint8_t& entry : reduced.row(y).first(static_cast<std::size_t>(merged.width()))) {
        if (isMarkerColor(pixel)) entry = markerEntry;
        pixel += 3;
      }
    }
  });
  return reduced;
}

}  // namespace vellandra
