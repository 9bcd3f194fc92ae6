#include "geodesy/position_entry.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "geodesy/datum.h"
#include "geodesy/national_grids.h"
#include "geodesy/utm.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

struct AngleKind {
  const char* name;
  char positive, negative;
  int most;  ///< degrees
};
constexpr AngleKind latitudeKind{"latitude", 'N', 'S', 90};
constexpr AngleKind longitudeKind{"longitude", 'E', 'W', 180};

EntryField problem(std::string text) {
  return {std::nullopt, std::move(text)};
}

/// Degrees, minutes and seconds have their own signs, if any: "35\u00B0 26"" is no 26 minutes.
bool signsFit(std::string_view text) {
  int numbers = 0;
  bool inNumber = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const bool digit = (text[at] >= '0' && text[at] <= '9') || text[at] == '.';
    if (digit && !inNumber) ++numbers;
    inNumber = digit;
    if (text.substr(at).starts_with(degreeSign) && numbers != 1) return false;
    if ((text[at] == '\'' && numbers != 2) || (text[at] == '"' && numbers != 3)) return false;
  }
  return true;
}

/// The signs of degrees, minutes and seconds, and what parts them, as blanks.
std::string withBlanksForSigns(std::string text) {
  for (const std::string_view sign :
       {degreeSign, std::string_view("'"), std::string_view("\""), std::string_view(":")}) {
    for (std::size_t at = text.find(sign); at != std::string::npos; at = text.find(sign)) {
      text.replace(at, sign.size(), " ");
    }
  }
  return text;
}

/// Takes a letter off either end of `text`; 0 when there is none.
char takeLetter(std::string_view& text) {
  const auto isLetter = [](char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); };
  char letter = 0;
  if (!text.empty() && isLetter(text.front())) {
    letter = text.front();
    text.remove_prefix(1);
  } else if (!text.empty() && isLetter(text.back())) {
    letter = text.back();
    text.remove_suffix(1);
  }
  text = trim(text);
  return upperCase(std::string_view(&letter, 1))[0];
}

bool isPlainNumber(std::string_view text) {
  return text.find_first_not_of("0123456789.") == std::string_view::npos && beginsWithNumber(text) &&
         text.find('.') == text.rfind('.');
}

/// Why the parts of an angle cannot be used; empty when they can.
std::string partsProblem(const std::vector<std::string_view>& parts) {
  if (parts.empty()) return "a number is missing";
  if (parts.size() > 3) return "more than degrees, minutes and seconds";
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts[i].find(',') != std::string_view::npos) return "decimals are written with \".\"";
    if (!isPlainNumber(parts[i])) return "\"" + std::string(parts[i].substr(0, 20)) + "\" is no number";
    if (i + 1 < parts.size() && parts[i].find('.') != std::string_view::npos) {
      return "only the last number can have decimals";
    }
    if (i > 0 && parseNumber(parts[i]) >= 60) return i == 1 ? "minutes end at 59" : "seconds end at 59";
  }
  return "";
}

EntryField parseAngle(std::string_view typed, const AngleKind& kind) {
  const std::string plain = withPlainSigns(typed);
  if (!signsFit(plain)) return problem("degrees, minutes, seconds in this order");
  const std::string blanks = withBlanksForSigns(plain);
  std::string_view text = trim(blanks);
  if (text.empty()) return {};
  const char letter = takeLetter(text);
  if (letter != 0 && letter != kind.positive && letter != kind.negative) {
    return problem(std::string("a ") + kind.name + " has " + kind.positive + " or " + kind.negative);
  }
  const bool minus = !text.empty() && text.front() == '-';
  const bool plus = !text.empty() && text.front() == '+';
  if (letter != 0 && (minus || plus)) return problem("either a sign or a letter");
  if (minus || plus) text.remove_prefix(1);

  const std::vector<std::string_view> parts = splitAtBlanks(text);
  const std::string wrong = partsProblem(parts);
  if (!wrong.empty()) return problem(wrong);
  double value = parseNumber(parts[0]);
  if (parts.size() > 1) value += parseNumber(parts[1]) / 60;
  if (parts.size() > 2) value += parseNumber(parts[2]) / 3600;
  if (value > kind.most) return problem(std::string("a ") + kind.name + " ends at " + std::to_string(kind.most));
  return {minus || letter == kind.negative ? -value : value, ""};
}

std::string lettersProblem(std::string_view letters, std::size_t count, const char* otherCount) {
  const std::string square = upperCase(trim(letters));
  if (square.empty()) return "";
  if (!areGridLetters(square)) return "letters from A to Z without I";
  return square.size() == count ? "" : otherCount;
}

}  // namespace

EntryField parseLatitude(std::string_view text) {
  return parseAngle(text, latitudeKind);
}

EntryField parseLongitude(std::string_view text) {
  return parseAngle(text, longitudeKind);
}

EntryField parseMetres(std::string_view typed, double least, double most) {
  constexpr std::size_t longest = 20;
  std::string_view text = trim(typed);
  if (text.empty()) return {};
  if (text.find(',') != std::string_view::npos) return problem("decimals are written with \".\"");
  const bool minus = text.front() == '-';
  const std::string_view digits = minus ? text.substr(1) : text;
  if (digits.size() > longest || !isPlainNumber(digits)) return problem("metres are needed");
  const double value = parseNumber(text);
  if (value < least) return problem("metres begin at " + formatGeneral(least));
  if (value > most) return problem("metres end at " + formatGeneral(most));
  return {value, ""};
}

std::string britishLettersProblem(std::string_view letters) {
  return lettersProblem(letters, 2, "two letters, or none for full metres");
}

std::string irishLetterProblem(std::string_view letter) {
  return lettersProblem(letter, 1, "one letter, or none for full metres");
}

std::optional<Position> britishPosition(std::string_view letters, double easting, double northing) {
  const std::string square = trim(letters).empty() ? "SV" : upperCase(trim(letters));
  std::int32_t west = 0, south = 0;
  OsLettersToOffset(square, west, south);
  if (west + easting < 0 || south + northing < 0) return std::nullopt;
  Position position{};
  OsGridToLatLong(square, northing, easting, position.latitude, position.longitude);
  if (!InGbGridArea(position.latitude, position.longitude)) return std::nullopt;
  return position;
}

std::optional<Position> irishPosition(std::string_view letter, double easting, double northing) {
  const std::string square = trim(letter).empty() ? "V" : upperCase(trim(letter));
  Position position{};
  IrishGridToLatLong(square, easting, northing, position.latitude, position.longitude);
  return position;
}

std::optional<Position> utmPosition(std::int16_t zone, bool southern, double easting, double northing, int datumIndex) {
  if (!fitsUtm(southern, easting, northing)) return std::nullopt;
  const auto datum = static_cast<std::size_t>(datumIndex);
  const double dA = datumIndex > 0 ? datumTable.dA.at(datum) : 0;
  const double dF = datumIndex > 0 ? datumTable.dF.at(datum) : 0;
  Position position{};
  UtmToLatLong(zone, northing - (southern ? southernFalseNorthing : 0), easting, dA, dF, position.latitude,
               position.longitude);
  const bool onEarth = std::abs(position.latitude) <= 90 && std::abs(position.longitude) <= 360;
  return onEarth ? std::optional(position) : std::nullopt;
}

MetresRange metresRange(const PointGrid& grid, bool full) {
  constexpr double lastMetre = 0.999;
  if (grid.grid == EntryGrid::utm) {
    const double origin = grid.southern ? southernFalseNorthing : 0;
    return {utmWestEnd, utmEastEnd, origin - utmNorthingRange, origin + utmNorthingRange};
  }
  if (!full) return {0, 99999 + lastMetre, 0, 99999 + lastMetre};
  if (grid.grid == EntryGrid::irish) return {0, 499999 + lastMetre, 0, 499999 + lastMetre};
  return {0, 699999 + lastMetre, 0, 1299999 + lastMetre};
}

std::optional<Position> gridPosition(const PointGrid& grid, std::string_view letters, double easting, double northing) {
  if (grid.grid == EntryGrid::british) return britishPosition(letters, easting, northing);
  if (grid.grid == EntryGrid::irish) return irishPosition(letters, easting, northing);
  return utmPosition(grid.zone, grid.southern, easting, northing, findDatumByName(datumColumnName(grid.datum)));
}

std::string withPlainSigns(std::string_view text) {
  constexpr std::array<std::pair<std::string_view, std::string_view>, 36> signs = {{
      {"\u00BA", degreeSign},
      {"\u02DA", degreeSign},
      {"''", "\""},
      {"\u2032\u2032", "\""},
      {"\u2032", "'"},
      {"\u2018", "'"},
      {"\u2019", "'"},
      {"\u201B", "'"},
      {"\u02B9", "'"},
      {"\u00B4", "'"},
      {"`", "'"},
      {"\u2033", "\""},
      {"\u201C", "\""},
      {"\u201D", "\""},
      {"\u201F", "\""},
      {"\u02BA", "\""},
      {"\u2212", "-"},
      {"\u2013", "-"},
      {"\u2010", "-"},
      {"\u2011", "-"},
      {"\u00A0", " "},
      {"\u2002", " "},
      {"\u2003", " "},
      {"\u2005", " "},
      {"\u2006", " "},
      {"\u2007", " "},
      {"\u2009", " "},
      {"\u202F", " "},
      {"\u2028", " "},
      {"\t", " "},
      {"\n", " "},
      {"\r", " "},
      {"\u200B", ""},
      {"\u200E", ""},
      {"\u200F", ""},
      {"\uFEFF", ""},
  }};
  std::string plain;
  while (!text.empty()) {
    const auto* const sign =
        std::ranges::find_if(signs, [text](const auto& one) { return text.starts_with(one.first); });
    plain += sign == signs.end() ? text.substr(0, 1) : sign->second;
    text.remove_prefix(sign == signs.end() ? 1 : sign->first.size());
  }
  return plain;
}

}  // namespace vellandra
