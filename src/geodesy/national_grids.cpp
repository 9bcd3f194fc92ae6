#include "geodesy/national_grids.h"

#include "geodesy/datum.h"
#include "geodesy/transverse_mercator.h"
#include "support/errors.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

/// Squares of a block of 5 by 5, from west to east and row by row northwards.
constexpr std::string_view gridLetters = "VWXYZQRSTULMNOPFGHJKABCDE";
constexpr std::int32_t squareSize = 100000;

/// Airy 1830, scale 0.9996012717.
constexpr TransverseMercator britishGrid{.n = 21306.486 / 12733820.306,
                                         .e2 = 271312964076.29688 / 40673314869999.05,
                                         .aF0 = 6375020.480988971,
                                         .bF0 = 6353722.490487913,
                                         .lat0 = 49,
                                         .lon0 = -2,
                                         .E0 = 400000,
                                         .N0 = -100000};

/// Modified Airy, scale 1.000035.
constexpr TransverseMercator irishGrid{.n = 21305.742 / 12733374.636,
                                       .e2 = 271293994783.96875 / 40670467886234.56,
                                       .aF0 = 6377563.395906615,
                                       .bF0 = 6356256.908205645,
                                       .lat0 = 53.5,
                                       .lon0 = -8,
                                       .E0 = 200000,
                                       .N0 = 250000};

/// The British grid's datum, in the terms of a row of the datum table.
constexpr double britishDA = 573.604, britishDF = 0.00001196002;
constexpr double britishDX = 375, britishDY = -111, britishDZ = 431;

/// Place of the letter at `index` in the block, counted from 0; -1 when there is no such letter.
std::int32_t placeOf(std::string_view letters, std::size_t index) {
  const std::size_t place = index < letters.size() ? gridLetters.find(letters[index]) : std::string_view::npos;
  return place == std::string_view::npos ? -1 : static_cast<std::int32_t>(place);
}

char letterAt(std::int32_t column, std::int32_t row) {
  if (column < 0 || column > 4 || row < 0 || row > 4) throw SubscriptOutOfRange("outside the British grid's letters");
  const std::int32_t place = 5 * row + column;
  return gridLetters[static_cast<std::size_t>(place)];
}

}  // namespace

bool areGridLetters(std::string_view letters) {
  return letters.find_first_not_of(gridLetters) == std::string_view::npos;
}

void OsLettersToOffset(std::string_view letters, std::int32_t& eastingOffset, std::int32_t& northingOffset) {
  const std::int32_t block = placeOf(letters, 0);
  const std::int32_t square = placeOf(letters, 1);
  // The false origin lies in block "S", two columns east and one row north of the first.
  eastingOffset = (5 * (block % 5 - 2) + square % 5) * squareSize;
  northingOffset = (5 * (block / 5 - 1) + square / 5) * squareSize;
}

void IrishLetterToOffset(std::string_view letter, std::int32_t& eastingOffset, std::int32_t& northingOffset) {
  const std::int32_t square = placeOf(letter, 0);
  eastingOffset = square % 5 * squareSize;
  northingOffset = square / 5 * squareSize;
}

void OffsetToOsLetters(std::int32_t easting, std::int32_t northing, std::string& letters) {
  const std::int32_t column = easting / squareSize;
  const std::int32_t row = northing / squareSize;
  letters = {letterAt(column / 5 + 2, row / 5 + 1), letterAt(column % 5, row % 5)};
}

void OsGridToLatLong(std::string_view letters, double northing, double easting, double& lat, double& lon) {
  std::int32_t eastingOffset = 0, northingOffset = 0;
  OsLettersToOffset(letters, eastingOffset, northingOffset);
  fromGrid(britishGrid, eastingOffset + easting, northingOffset + northing, lat, lon);
  double height = 0;
  DatumToWgs84(britishDA, britishDF, lat, lon, height, britishDX, britishDY, britishDZ);
}

void latLongToOsMetres(double lat, double lon, double& easting, double& northing) {
  double height = 0;
  Wgs84ToDatum(britishDA, britishDF, lat, lon, height, britishDX, britishDY, britishDZ);
  toGrid(britishGrid, lat, lon, easting, northing);
}

void LatLongToOsGrid(double lat, double lon, std::string& letters, double& easting, double& northing) {
  latLongToOsMetres(lat, lon, easting, northing);
  const std::int32_t wholeEasting = roundToInt32(easting);
  const std::int32_t wholeNorthing = roundToInt32(northing);
  OffsetToOsLetters(wholeEasting, wholeNorthing, letters);
  easting = wholeEasting % squareSize;
  northing = wholeNorthing % squareSize;
}

void IrishGridToLatLong(std::string_view letter, double easting, double northing, double& lat, double& lon) {
  std::int32_t eastingOffset = 0, northingOffset = 0;
  IrishLetterToOffset(letter, eastingOffset, northingOffset);
  fromGrid(irishGrid, eastingOffset + easting, northingOffset + northing, lat, lon);
}

void latLongToIrishMetres(double lat, double lon, double& easting, double& northing) {
  toGrid(irishGrid, lat, lon, easting, northing);
}

bool InGbGridArea(double lat, double lon) {
  return lat > 49.6 && lat < 61 && lon > -9 && lon < 2;
}

}  // namespace vellandra
