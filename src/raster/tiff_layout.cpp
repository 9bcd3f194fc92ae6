#include "raster/tiff_layout.h"

#include <algorithm>
#include <array>

namespace vellandra {
namespace {

/// A row or a tile of more than this no program writes.
constexpr std::uint64_t largestPiece = 256U << 20;

template <typename Value>
void get(TIFF* tiff, std::uint32_t tag, Value& value) {
  TIFFGetFieldDefaulted(tiff, tag, &value);
}

void findAlpha(TIFF* tiff, TiffLayout& layout) {
  std::uint16_t count = 0;
  const std::uint16_t* kinds = nullptr;
  if (TIFFGetField(tiff, TIFFTAG_EXTRASAMPLES, &count, &kinds) == 0 || count >= layout.samples) return;
  for (int i = 0; i < count; ++i) {
    if (kinds[i] != EXTRASAMPLE_ASSOCALPHA && kinds[i] != EXTRASAMPLE_UNASSALPHA) continue;
    layout.alpha = layout.samples - count + i;
    layout.isAssociated = kinds[i] == EXTRASAMPLE_ASSOCALPHA;
    return;
  }
}

}  // namespace

TiffLayout layoutOf(TIFF* tiff) {
  TiffLayout layout;
  get(tiff, TIFFTAG_IMAGEWIDTH, layout.width);
  get(tiff, TIFFTAG_IMAGELENGTH, layout.height);
  get(tiff, TIFFTAG_BITSPERSAMPLE, layout.bits);
  get(tiff, TIFFTAG_SAMPLESPERPIXEL, layout.samples);
  get(tiff, TIFFTAG_PLANARCONFIG, layout.planes);
  get(tiff, TIFFTAG_COMPRESSION, layout.compression);
  get(tiff, TIFFTAG_SAMPLEFORMAT, layout.format);
  if (TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.photometric) == 0) {
    const bool isFax = layout.compression >= COMPRESSION_CCITTRLE && layout.compression <= COMPRESSION_CCITTFAX4;
    layout.photometric = isFax                 ? PHOTOMETRIC_MINISWHITE
                         : layout.samples >= 3 ? PHOTOMETRIC_RGB
                                               : PHOTOMETRIC_MINISBLACK;
  }
  findAlpha(tiff, layout);
  layout.isTiled = TIFFIsTiled(tiff) != 0;
  layout.pieceWidth = layout.width;
  if (layout.isTiled) {
    get(tiff, TIFFTAG_TILEWIDTH, layout.pieceWidth);
    get(tiff, TIFFTAG_TILELENGTH, layout.pieceHeight);
  } else {
    get(tiff, TIFFTAG_ROWSPERSTRIP, layout.pieceHeight);
    layout.pieceHeight = std::min(layout.pieceHeight, layout.height);
  }
  return layout;
}

bool isConvertedByLibrary(const TiffLayout& layout) {
  constexpr std::array<std::uint16_t, 6> kinds{PHOTOMETRIC_YCBCR,  PHOTOMETRIC_CIELAB, PHOTOMETRIC_ICCLAB,
                                               PHOTOMETRIC_ITULAB, PHOTOMETRIC_LOGL,   PHOTOMETRIC_LOGLUV};
  return layout.compression == COMPRESSION_OJPEG || std::ranges::find(kinds, layout.photometric) != kinds.end();
}

std::string problemOf(TIFF* tiff, const TiffLayout& layout) {
  if (TIFFIsCODECConfigured(layout.compression) == 0) {
    return "its compression, number " + std::to_string(layout.compression) + ", is not known";
  }
  const std::uint64_t piece = layout.isTiled ? TIFFTileSize64(tiff) : TIFFScanlineSize64(tiff);
  if (piece == 0 || piece > largestPiece || layout.pieceWidth == 0 || layout.pieceHeight == 0) {
    return "its pixels lie in pieces of no sensible size";
  }
  if (isConvertedByLibrary(layout)) return "";
  switch (layout.format) {
    case SAMPLEFORMAT_INT:
      return "its pixels are signed numbers, no colours";
    case SAMPLEFORMAT_IEEEFP:
      return "its pixels are floating-point numbers, no colours";
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
      return "its pixels are complex numbers, no colours";
    default:
      break;
  }
  const bool isPalette = layout.photometric == PHOTOMETRIC_PALETTE;
  if (layout.bits < 1 || layout.bits > (isPalette ? 8 : 32)) {
    return std::to_string(layout.bits) + " bits are too many for " + (isPalette ? "a palette" : "a colour");
  }
  if (layout.photometric == PHOTOMETRIC_SEPARATED && (layout.alpha < 0 ? layout.samples : layout.alpha) < 4) {
    return "its inks are not the four of CMYK";
  }
  if (layout.photometric > PHOTOMETRIC_PALETTE && layout.photometric != PHOTOMETRIC_SEPARATED) {
    return "its kind of colours, number " + std::to_string(layout.photometric) + ", is not known";
  }
  return "";
}

}  // namespace vellandra
