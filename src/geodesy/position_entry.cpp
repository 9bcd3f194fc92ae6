#include "geodesy/position_entry.h"

#include <cmath>
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

/// The signs of degrees, minutes and seconds, and what parts them, as blanks.
std::string withBlanksForSigns(std::string_view text) {
  std::string result(text);
  for (const std::string_view sign :
       {"\u00B0", "\u00BA", "\u2032", "\u2033", "\u2019", "\u201D", "'", "\"", ":", "\t", "\u00A0"}) {
    for (std::size_t at = result.find(sign); at != std::string::npos; at = result.find(sign)) {
      result.replace(at, sign.size(), " ");
    }
  }
  return result;
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
  const std::string blanks = withBlanksForSigns(typed);
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
  const auto datum = static_cast<std::size_t>(datumIndex);
  const double dA = datumIndex > 0 ? datumTable.dA.at(datum) : 0;
  const double dF = datumIndex > 0 ? datumTable.dF.at(datum) : 0;
  Position position{};
  UtmToLatLong(zone, northing - (southern ? southernFalseNorthing : 0), easting, dA, dF, position.latitude,
               position.longitude);
  const bool onEarth = std::abs(position.latitude) <= 90 && std::abs(position.longitude) <= 360;
  return onEarth ? std::optional(position) : std::nullopt;
}

}  // namespace vellandra
