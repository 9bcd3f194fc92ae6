#include "position_check.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <vector>

#include "geodesy/grid_projection.h"
#include "geodesy/position_entry.h"
#include "geodesy/position_text.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

constexpr std::array formats = {DegreeFormat::decimalDegrees, DegreeFormat::degreesMinutes,
                                DegreeFormat::degreesMinutesSeconds};

/// Metres by which a grid's two directions may differ, at the western end of the British one.
constexpr double gridError = 0.02;

struct Asked {
  PointGrid inUse;
  std::optional<bool> southern;
};

Asked askedBy(std::string_view answers) {
  const auto answer = [&](std::size_t i) {
    return i < answers.size() ? static_cast<unsigned char>(answers[i]) : static_cast<unsigned char>(0);
  };
  constexpr std::array datums = {wgs84Name, "EUROPEAN 1950", "TOKYO", "No such datum"};
  Asked asked;
  asked.inUse.grid = static_cast<EntryGrid>(answer(0) % 4);
  asked.inUse.zone = static_cast<std::int16_t>(1 + answer(1) % 60);
  asked.inUse.southern = answer(2) % 2 != 0;
  asked.inUse.datum = datums[answer(2) / 2 % datums.size()];
  if (answer(2) / 8 % 4 > 1) asked.southern = answer(2) / 8 % 4 == 3;
  asked.inUse = withOwnDatum(asked.inUse);
  return asked;
}

struct Number {
  std::string digits;
  bool minus;
  double value() const { return (minus ? -1 : 1) * std::strtod(digits.c_str(), nullptr); }
};

std::vector<Number> numbersOf(std::string_view text) {
  constexpr std::string_view figures = "0123456789.";
  std::vector<Number> numbers;
  for (std::size_t at = text.find_first_of(figures); at < text.size(); at = text.find_first_of(figures, at)) {
    const std::size_t end = std::min(text.find_first_not_of(figures, at), text.size());
    numbers.push_back({std::string(text.substr(at, end - at)), at > 0 && text[at - 1] == '-'});
    at = end;
  }
  return numbers;
}

bool isNear(double one, double other, double tolerance) {
  return std::abs(one - other) <= tolerance;
}

/// Degrees, minutes and seconds, whatever their sign.
double magnitude(const Number* begin, const Number* end) {
  double angle = 0, unit = 1;
  for (; begin != end; ++begin, unit /= 60) angle += std::abs(begin->value()) * unit;
  return angle;
}

/// The numbers are those of two angles, and the signs and letters are theirs.
bool areAngles(std::string_view text, const std::vector<Number>& numbers, const Position& position) {
  const auto has = [text](char letter) { return text.find(letter) != std::string_view::npos; };
  const bool letters = has('N') || has('S');
  bool fits = false;
  for (std::size_t i = 1; i < numbers.size(); ++i) {
    const Number *begin = numbers.data(), *middle = begin + i, *end = begin + numbers.size();
    const double first = magnitude(begin, middle), second = magnitude(middle, end);
    const double lat = std::abs(position.latitude), lon = std::abs(position.longitude);
    fits = fits || (isNear(lat, first, 1e-9) && isNear(lon, second, 1e-9)) ||
           (letters && isNear(lat, second, 1e-9) && isNear(lon, first, 1e-9));
  }
  if (letters) {
    return fits && (has('S') ? position.latitude <= 0 : position.latitude >= 0) &&
           (has('W') ? position.longitude <= 0 : position.longitude >= 0);
  }
  const bool minus = std::any_of(numbers.begin() + 1, numbers.end(), [](const Number& n) { return n.minus; });
  return fits && (numbers[0].minus ? position.latitude <= 0 : position.latitude >= 0) &&
         (minus ? position.longitude <= 0 : position.longitude >= 0);
}

/// Where the square of 100 km lies that the letters at the beginning of `text` name.
GridPosition cornerOfSquare(std::string_view text) {
  constexpr std::string_view alphabet = "ABCDEFGHJKLMNOPQRSTUVWXYZ";
  const auto column = [&](std::size_t i) { return static_cast<int>(alphabet.find(text[i]) % 5); };
  const auto row = [&](std::size_t i) { return 4 - static_cast<int>(alphabet.find(text[i]) / 5); };
  if (text.find_first_not_of(alphabet) < 2) return {column(0) * 100e3, row(0) * 100e3};
  // The block S, the lower left one, is in the third column and the second row.
  return {((column(0) - 2) * 5 + column(1)) * 100e3, ((row(0) - 1) * 5 + row(1)) * 100e3};
}

/// The metres that the text's own numbers and letters give.
std::optional<GridPosition> metresIn(std::string_view text, std::vector<Number> numbers, const PointGrid& grid) {
  if (grid.grid == EntryGrid::utm && numbers.size() == 3) {
    if (numbers[0].value() != grid.zone) return std::nullopt;
    numbers.erase(numbers.begin());
  }
  if (grid.grid == EntryGrid::utm || !isLetter(text.front())) {
    return numbers.size() == 2 ? std::optional(GridPosition{numbers[0].value(), numbers[1].value()}) : std::nullopt;
  }
  if (numbers.size() == 1) {
    const std::size_t half = numbers[0].digits.size() / 2;
    numbers.push_back({numbers[0].digits.substr(half), false});
    numbers[0].digits.resize(half);
  }
  const auto metres = [](const Number& number) {
    const auto figures = static_cast<double>(std::min(number.digits.find('.'), number.digits.size()));
    return number.value() * std::pow(10, 5 - figures);
  };
  const GridPosition corner = cornerOfSquare(text);
  return GridPosition{corner.easting + metres(numbers[0]), corner.northing + metres(numbers[1])};
}

bool isOn(const GridProjection& projection, const Position& position, const GridPosition& metres, double tolerance) {
  const GridPosition there = projection.toGrid(position);
  return isNear(there.easting, metres.easting, tolerance) && isNear(there.northing, metres.northing, tolerance);
}

std::string checkNumbers(std::string_view text, const PositionFields& fields, const Position& position) {
  std::string plain = upperCase(withPlainSigns(text));
  plain.erase(0, plain.find_first_not_of(" :"));
  const std::vector<Number> numbers = numbersOf(plain);
  if (fields.grid.grid == EntryGrid::degrees) {
    return areAngles(plain, numbers, position) ? "" : "angles that do not stand there";
  }
  const std::optional<GridPosition> metres = metresIn(plain, numbers, fields.grid);
  return metres && isOn(GridProjection(fields.grid), position, *metres, gridError) ? ""
                                                                                   : "metres that do not stand there";
}

bool isSame(const GridProjection& projection, const std::optional<Position>& one, const Position& other, double degrees,
            double metres) {
  if (!one) return false;
  if (projection.isInMetres()) return isOn(projection, *one, projection.toGrid(other), metres);
  return isNear(one->latitude, other.latitude, degrees) &&
         isNear(std::remainder(one->longitude - other.longitude, 360), 0, degrees);
}

/// What is shown of a position, and what stands in its fields, is the same one again when it is typed.
std::string checkShown(const GridProjection& projection, const Position& position) {
  constexpr std::array halfOfLastFigure = {0.5e-5, 0.5e-4 / 60, 0.5e-2 / 3600};
  for (std::size_t i = 0; i < formats.size(); ++i) {
    const PositionFields fields = fieldsOf(projection, position, formats[i]);
    if (!isSame(projection, positionOf(fields), position, 1.5e-7, 0.005 + gridError)) {
      return "the fields \"" + fields.letters.value_or("") + "\" \"" + fields.first + "\" \"" + fields.second +
             "\" hold another position";
    }
    const std::string shown = positionText(projection, position, formats[i]);
    const PositionReading reading = readPositionText(shown, projection.grid());
    if (!reading.fields || reading.fields->grid != projection.grid() ||
        !isSame(projection, positionOf(*reading.fields), position, halfOfLastFigure[i] * 1.001, 0.5 + gridError)) {
      return "\"" + shown + "\" reads as another position: " + reading.problem;
    }
  }
  return "";
}

}  // namespace

std::string checkPosition(std::string_view text, std::string_view answers, bool& read) {
  const Asked asked = askedBy(answers);
  const PositionReading reading = readPositionText(text, asked.inUse, asked.southern);
  if (reading.fields.has_value() != reading.problem.empty()) return "a position and a problem, or neither";
  if (!reading.fields) return "";
  const std::optional<Position> position = positionOf(*reading.fields);
  const bool isDegrees = reading.fields->grid.grid == EntryGrid::degrees;
  if (!position) return isDegrees ? "fields that hold no position" : "";  // metres may lie outside their grid
  read = true;
  const double most = isDegrees ? 180 : 360;
  if (!(std::abs(position->latitude) <= 90 && std::abs(position->longitude) <= most)) return "not on the earth";
  const GridProjection projection(reading.fields->grid);
  if (projection.grid() != reading.fields->grid) return "";  // its datum is not in the table
  const std::string fault = checkNumbers(text, *reading.fields, *position);
  return fault.empty() ? checkShown(projection, *position) : fault;
}

}  // namespace vellandra
