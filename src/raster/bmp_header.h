#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "raster/image_file.h"

namespace vellandra {

/// The header of a BMP of any version, Windows and OS/2. Layout: BITMAPINFOHEADER and its successors, Windows GDI.
struct BmpHeader {
  enum class Compression { none, runLength8, runLength4, bitFields, other };

  std::int64_t width = 0, height = 0;
  bool isTopDown = false;
  int bits = 0;  ///< a pixel
  Compression compression = Compression::none;
  /// Of red, green, blue and alpha, in pixels of 16 and 32 bits; 0 for a channel that is not there.
  std::array<std::uint32_t, 4> masks{};
  std::int64_t palette = 0;  ///< position in the file
  int paletteEntries = 0, paletteEntryLength = 4;
  std::int64_t pixels = 0;  ///< position in the file
};

/// Nothing when the file is no BMP.
std::optional<BmpHeader> readBmpHeader(ImageFile& file);

bool isRunLength(const BmpHeader& header);

}  // namespace vellandra
