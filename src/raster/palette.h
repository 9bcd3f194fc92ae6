#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "raster/bitmap.h"

namespace vellandra {

/// Finds the entry of a palette with the smallest sum of absolute channel differences, of equals the first.
class NearestEntries {
 public:
  /// Of 1 to 256 entries.
  explicit NearestEntries(std::span<const PixelColor> palette);

  std::uint8_t of(const PixelColor& color) const;

  /// The same for all 2^24 colours, cell by cell of 8 x 8 x 8 colours, in both by red, green, blue.
  std::vector<std::uint8_t> table(unsigned threads) const;

 private:
  struct Entry {
    PixelColor color;
    std::uint8_t index = 0;
  };
  struct Cell {
    std::uint32_t begin = 0, end = 0;
  };
  std::vector<Entry> entries_;  ///< that can be the nearest one somewhere in a cell, in their order, cell by cell
  std::vector<Cell> cells_;     ///< of the colour cube
};

/// Gives every pixel of `reduced`, of 8 bits, the entry of `palette` that is nearest to the colour of the same pixel of
/// `image`, of any depth. The same for any number of `threads`. Throws std::bad_alloc.
void mapToPalette(const Bitmap& image, std::span<const PixelColor> palette, Bitmap& reduced, unsigned threads);

}  // namespace vellandra
