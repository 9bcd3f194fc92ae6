#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/files.h"

namespace vellandra {

inline constexpr int maxDatums = 200;
inline constexpr std::size_t datumNameColumns = 20;
inline constexpr const char* wgs84Name = "WGS 84";  ///< trimmed, as names are shown and compared

/// Named datums with what sets them apart from WGS 84; entries 1 to `count`, 0 means no datum.
struct DatumTable {
  std::int16_t count = 0;
  std::array<std::string, maxDatums + 1> name;  ///< upper case, up to 20 characters, trailing blanks as in the file
  std::array<double, maxDatums + 1> dA{};       ///< metres: local a = 6378137 - dA
  std::array<double, maxDatums + 1> dF{};       ///< local f = WGS 84's f - dF
  std::array<double, maxDatums + 1> dX{}, dY{}, dZ{};  ///< metres, added to local X, Y, Z to give WGS 84
  std::array<bool, maxDatums + 1> doubtful{};  ///< a field was no number, or dF is that of no ellipsoid of the earth
};
extern DatumTable datumTable;

/// The table in the rows of `file` that begin with "M E" (in any case): name in columns 5 to 24,
/// from column 26 the fields ellipsoid (not read), dA, dF, dX, dY, dZ, parted by blanks; a field that is no number is
/// 0, and the row is marked as doubtful. Throws SubscriptOutOfRange at row 201, Overflow for a number past the range of
/// a double.
DatumTable readDatumTable(TextFile& file);

/// The shape in which the table holds a name: trimmed, upper case, cut or padded with blanks to 20 columns.
std::string datumColumnName(std::string_view name);

/// Position of `name` in the table, compared whole and without regard to case; the last of equal names. 0: not there.
int findDatumByName(std::string_view name);

/// Local datum to WGS 84 by a three-parameter geocentric shift: `lat`, `lon` (degrees) and `h` (metres) are replaced.
/// `dA`, `dF`, `dX`, `dY`, `dZ` as in `DatumTable`. A longitude that jumps by more than 170 degrees is brought back by
/// 180 once: a point east of 90 E comes out 360 degrees low.
void DatumToWgs84(double dA, double dF, double& lat, double& lon, double& h, double dX, double dY, double dZ);

/// The reverse of `DatumToWgs84`, with the same longitude rule.
void Wgs84ToDatum(double dA, double dF, double& lat, double& lon, double& h, double dX, double dY, double dZ);

/// The same shifts for row `index` of the table, 0 being WGS 84 itself. The longitude comes out within 180 degrees of
/// the one that went in.
void shiftToWgs84(int index, double& lat, double& lon);
void shiftFromWgs84(int index, double& lat, double& lon);

/// `a` in metres, `invF` = 1/f, `lat`/`lon` in degrees, `h` in metres; X, Y, Z out in metres.
void GeodeticToGeocentric(double a, double invF, double lat, double lon, double h, double& X, double& Y, double& Z);

/// The reverse by Bowring's formula (Survey Review 181, 1976). `lon` comes from the one-argument arctangent: it lies
/// within 90 degrees of 0, the callers correct it.
void GeocentricToGeodetic(double a, double invF, double& lat, double& lon, double& h, double X, double Y, double Z);

}  // namespace vellandra
