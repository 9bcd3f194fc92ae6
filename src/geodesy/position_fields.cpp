#include "geodesy/position_fields.h"

#include <cmath>
#include <cstdint>

#include "geodesy/national_grids.h"
#include "geodesy/position_entry.h"
#include "geodesy/utm.h"
#include "support/numbers.h"

namespace vellandra {
namespace {

constexpr double squareSize = 100000;  ///< metres

std::string withoutPoint(std::string number) {
  if (number.ends_with('.')) number.pop_back();
  return number;
}

struct SquareMetres {
  std::string letters;
  double easting, northing;
};

/// Letters and metres within their square, without letters where no square has them. `step` is what is shown of a
/// metre.
SquareMetres inSquare(EntryGrid grid, const GridPosition& metres, double step) {
  SquareMetres result{"", std::round(metres.easting / step) * step, std::round(metres.northing / step) * step};
  const bool british = grid == EntryGrid::british;
  const double eastEnd = british ? 700000 : 500000, northEnd = british ? 1300000 : 500000;
  if (!(result.easting >= 0 && result.easting < eastEnd && result.northing >= 0 && result.northing < northEnd)) {
    return result;
  }
  OffsetToOsLetters(static_cast<std::int32_t>(result.easting), static_cast<std::int32_t>(result.northing),
                    result.letters);
  if (!british) result.letters.erase(0, 1);  // a block of the British grid is laid out as the Irish grid is
  result.easting = std::fmod(result.easting, squareSize);
  result.northing = std::fmod(result.northing, squareSize);
  return result;
}

bool hasSquares(EntryGrid grid) {
  return grid == EntryGrid::british || grid == EntryGrid::irish;
}

std::string utmZoneText(const PointGrid& grid, double latitude) {
  const std::string zone = formatNumber(grid.zone, "00");
  // A sheet across the equator keeps one hemisphere: there the letter would name the other.
  if ((latitude < 0) != grid.southern || latitude < -80) return zone + (grid.southern ? " south" : " north");
  return zone + utmBandLetter(latitude);
}

}  // namespace

std::optional<Position> positionOf(const PositionFields& fields) {
  if (fields.grid.grid == EntryGrid::degrees) {
    const EntryField latitude = parseLatitude(fields.first), longitude = parseLongitude(fields.second);
    if (!latitude.value || !longitude.value) return std::nullopt;
    return Position{*latitude.value, *longitude.value};
  }
  const MetresRange range = metresRange(fields.grid, fields.letters.value_or("").empty());
  const EntryField easting = parseMetres(fields.first, range.west, range.east);
  const EntryField northing = parseMetres(fields.second, range.south, range.north);
  if (!easting.value || !northing.value) return std::nullopt;
  return gridPosition(fields.grid, fields.letters.value_or(""), *easting.value, *northing.value);
}

PositionFields fieldsOf(const GridProjection& projection, const Position& position, DegreeFormat format) {
  const PointGrid& grid = projection.grid();
  if (grid.grid == EntryGrid::degrees) {
    return {grid,
            {},
            typedAngle(position.latitude, format, "N", "S"),
            typedAngle(withinHalfTurn(position.longitude), format, "E", "W")};
  }
  constexpr double centimetre = 0.01;
  const auto number = [](double metres) { return withoutPoint(formatNumber(metres, "0.##")); };
  const GridPosition metres = projection.toGrid(position);
  if (!hasSquares(grid.grid)) return {grid, {}, number(metres.easting), number(metres.northing)};
  const SquareMetres square = inSquare(grid.grid, metres, centimetre);
  return {grid, square.letters, number(square.easting), number(square.northing)};
}

std::string positionText(const GridProjection& projection, const Position& position, DegreeFormat format) {
  const PointGrid& grid = projection.grid();
  if (grid.grid == EntryGrid::degrees) {
    return positionText(position.latitude, withinHalfTurn(position.longitude), format);
  }
  const GridPosition metres = projection.toGrid(position);
  if (!hasSquares(grid.grid)) {
    return utmZoneText(grid, position.latitude) + " " + formatNumber(metres.easting, "000000") + " " +
           formatNumber(metres.northing, "0000000");
  }
  const SquareMetres square = inSquare(grid.grid, metres, 1);
  return (square.letters.empty() ? "" : square.letters + " ") + formatNumber(square.easting, "00000") + " " +
         formatNumber(square.northing, "00000");
}

}  // namespace vellandra
