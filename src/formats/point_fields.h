#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "calibration/calibration.h"

namespace vellandra {

// What the readers share: texts of a calibration file become tie points of `calibration`. A text that is no number
// leaves its half of the slot empty, so that the point is reported and does not take part.

/// Pixel of `slot`. Throws Overflow for a number past 32 bits, SubscriptOutOfRange for a slot that does not exist.
void readPixel(int slot, std::string_view x, std::string_view y);

/// Position of `slot` in signed decimal degrees.
void readDegrees(int slot, std::string_view latitude, std::string_view longitude);

/// A tie point number as a file gives it; a number that is no slot for a tie point (1 to `most`) throws
/// SubscriptOutOfRange, 0 gives 0, which is never used.
int pointNumber(std::string_view text, int most);

/// The same for the number within a key, such as "12" of "rp12"; nothing when `text` is not a whole number, which is to
/// say that the key is another one.
std::optional<int> pointNumberInKey(std::string_view text, int most);

/// True for full metres on the squares of the British grid that two letters can name.
bool fitsBritishGrid(double easting, double northing);

/// Position of `slot` from UTM on datum `datumIndex` of the table. `zone` is a number from 1 to 60,
/// `easting` 1000 to 1000000, `northing` within `southernFalseNorthing`; anything else leaves the position empty.
void readUtm(int slot, int datumIndex, std::string_view zone, bool southern, std::string_view easting,
             std::string_view northing);

/// Position of `slot`, on WGS 84, from the British grid. `letters` is a two-letter square, or empty for full grid
/// metres.
void readBritishGrid(int slot, std::string_view letters, std::string_view easting, std::string_view northing);

/// Position of `slot`, on the Irish grid's own ellipsoid. `letter` is a square, or empty for full grid metres.
void readIrishGrid(int slot, std::string_view letter, std::string_view easting, std::string_view northing);

/// Shifts the positions of all slots but those that are on WGS 84 already from datum `datumIndex` of the table to it.
/// For files that hold British grid points, which come out on WGS 84, beside others.
void shiftOthersToWgs84(const Slots<bool>& onWgs84, int datumIndex);

/// Logs how many points the reader has found.
void logPointCount();

/// True for a UTM band letter south of the equator, C to M.
bool isSouthernBand(char letter);

}  // namespace vellandra
