#pragma once

#include <tiffio.h>

#include <cstdint>
#include <string>

namespace vellandra {

/// What a TIFF says of its pixels.
struct TiffLayout {
  std::uint32_t width = 0, height = 0;
  std::uint16_t bits = 1, samples = 1, planes = PLANARCONFIG_CONTIG, photometric = PHOTOMETRIC_MINISBLACK;
  std::uint16_t compression = COMPRESSION_NONE, format = SAMPLEFORMAT_UINT;
  int alpha = -1;  ///< its sample; -1 for none
  bool isAssociated = false;
  std::uint32_t pieceWidth = 0, pieceHeight = 0;  ///< of a tile, or of a strip
  bool isTiled = false;

  bool isSeparate() const { return planes == PLANARCONFIG_SEPARATE && samples > 1; }
  int colors() const {
    const int before = alpha < 0 ? samples : alpha;
    if (photometric == PHOTOMETRIC_SEPARATED) return 4;
    return photometric == PHOTOMETRIC_PALETTE || before < 3 ? 1 : 3;
  }
  bool isInverted() const { return photometric == PHOTOMETRIC_MINISWHITE; }
};

TiffLayout layoutOf(TIFF* tiff);

/// Colours that libtiff brings to RGB itself.
bool isConvertedByLibrary(const TiffLayout& layout);

/// Why these pixels do not become colours; empty when they do.
std::string problemOf(TIFF* tiff, const TiffLayout& layout);

}  // namespace vellandra
