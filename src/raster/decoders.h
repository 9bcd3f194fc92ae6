#pragma once

#include <string>

#include "raster/bitmap.h"
#include "raster/image_file.h"
#include "raster/image_header.h"

namespace vellandra {

/// What came of decoding a file.
struct DecodedImage {
  Bitmap bitmap;         ///< empty when there are no pixels to be had
  std::string reason;    ///< why it is empty
  bool isWhole = false;  ///< all its pixels are the file's; what is missing of others is 0
};

/// A BMP of any version, 1 to 32 bits a pixel, also run lengths. Pixels of 16 and 32 bits become 24, or 32 when the
/// header names a channel for alpha.
DecodedImage decodeBmp(ImageFile& file);

/// A TIFF of any layout whose samples are whole numbers from 0 on: grey, palette, RGB, CMYK, YCbCr or CIE L*a*b*.
/// - Grey and palette of 1, 4 and 8 bits keep their depth, 16 bits do in grey and RGB; any other depth becomes 8 bits.
/// - Three or more channels of grey are taken as RGB, further channels are left out.
/// - Alpha is what the file declares as such, divided out where colours were multiplied by it.
/// None when libtiff finds another size than `size`, which the header was checked with.
DecodedImage decodeTiff(ImageFile& file, const ImageSize& size);

/// A PNG, JPEG or GIF.
DecodedImage decodeByLibrary(ImageFormat format, ImageFile& file);

}  // namespace vellandra
