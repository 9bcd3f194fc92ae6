#include "geodesy/position_text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "geodesy/national_grids.h"
#include "geodesy/position_entry.h"
#include "geodesy/utm.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

constexpr const char* forms =
    "Positions look like 35.5 26.25, 35 30 N 26 15 E, SH 60000 55000, O 15904 34671 or 33T 448251 5411932";
constexpr std::size_t longestText = 200;
constexpr std::size_t squareFigures = 5;  ///< of metres within a square of 100 km

enum class Kind { number, word, degree, minute, second, parting };

struct Token {
  Kind kind;
  std::string text;  ///< words in upper case
};
using Tokens = std::vector<Token>;

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

/// Where the number ends that begins at `at`; `at` itself when none does. A sign stands behind a blank or a comma.
std::size_t endOfNumber(std::string_view text, std::size_t at) {
  std::size_t end = at;
  const bool parted =
      at == 0 || text[at - 1] == ' ' || text[at - 1] == ',' || text[at - 1] == ';' || isLetter(text[at - 1]);
  if ((text[at] == '-' || text[at] == '+') && parted) ++end;
  const std::size_t digits = end;
  while (end < text.size() && (isDigit(text[end]) || text[end] == '.')) ++end;
  return end == digits ? at : end;
}

std::size_t endOfWord(std::string_view text, std::size_t at) {
  while (at < text.size() && isLetter(text[at])) ++at;
  return at;
}

/// The parts of a text with plain signs; nothing when it holds anything else.
std::optional<Tokens> tokensOf(std::string_view text) {
  Tokens tokens;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at + 1;
    if (text.substr(at).starts_with(degreeSign)) {
      tokens.push_back({Kind::degree, ""});
      end = at + degreeSign.size();
    } else if (text[at] == '\'' || text[at] == '"') {
      tokens.push_back({text[at] == '"' ? Kind::second : Kind::minute, ""});
    } else if (text[at] == ',' || text[at] == ';') {
      tokens.push_back({Kind::parting, ""});
    } else if (isLetter(text[at])) {
      end = endOfWord(text, at);
      tokens.push_back({Kind::word, upperCase(text.substr(at, end - at))});
    } else if (text[at] != ' ' && text[at] != ':') {
      end = endOfNumber(text, at);
      if (end == at) return std::nullopt;
      tokens.push_back({Kind::number, std::string(text.substr(at, end - at))});
    }
    at = end;
  }
  return tokens;
}

/// "35,5 26,5" and "35,26": what a comma between digits means is only plain beside a decimal point.
bool mayHoldDecimalCommas(std::string_view text) {
  if (text.find('.') != std::string_view::npos) return false;
  for (std::size_t at = text.find(','); at != std::string_view::npos; at = text.find(',', at + 1)) {
    if (at > 0 && at + 1 < text.size() && isDigit(text[at - 1]) && isDigit(text[at + 1])) return true;
  }
  return false;
}

std::size_t count(const Tokens& tokens, Kind kind) {
  return static_cast<std::size_t>(
      std::ranges::count_if(tokens, [kind](const Token& token) { return token.kind == kind; }));
}

/// One angle with its signs, for reading, and without, as it is typed.
std::string angleText(const Tokens& tokens, bool signs) {
  std::string text;
  for (const Token& token : tokens) {
    if (token.kind == Kind::number || token.kind == Kind::word) {
      text += (text.empty() ? "" : " ") + token.text;
    } else if (signs) {
      text += token.kind == Kind::degree ? degreeSign : token.kind == Kind::minute ? "'" : "\"";
    }
  }
  return text;
}

PositionReading problem(std::string text) {
  return {std::nullopt, std::move(text)};
}

/// The grid of a text that names no datum.
PointGrid gridFor(EntryGrid kind, const PointGrid& inUse) {
  if (kind == inUse.grid) return inUse;
  const bool national = inUse.grid == EntryGrid::british || inUse.grid == EntryGrid::irish;
  PointGrid grid = inUse;
  grid.grid = kind;
  if (national) grid.datum = wgs84Name;
  return withOwnDatum(grid);
}

/// Two angles parted by their letters, which stand in front of both or behind both.
std::vector<Tokens> partedByLetters(const Tokens& tokens) {
  const bool leading = tokens.front().kind == Kind::word;
  if (!leading && tokens.back().kind != Kind::word) return {};
  std::vector<Tokens> angles(1);
  for (const Token& token : tokens) {
    const bool begins =
        leading ? token.kind == Kind::word : angles.back().size() > 1 && angles.back().back().kind == Kind::word;
    if (begins && !angles.back().empty()) angles.emplace_back();
    angles.back().push_back(token);
  }
  // A comma parts the angles and nothing else.
  if (angles.size() == 2 && leading && angles[0].back().kind == Kind::parting) angles[0].pop_back();
  if (angles.size() == 2 && !leading && angles[1].front().kind == Kind::parting) angles[1].erase(angles[1].begin());
  return angles;
}

/// Two angles without letters, parted by a comma, by their degree signs, or in the middle of their numbers.
std::vector<Tokens> partedWithoutLetters(const Tokens& tokens) {
  const auto isOf = [](Kind kind) { return [kind](const Token& token) { return token.kind == kind; }; };
  auto middle = tokens.end();
  const std::size_t numbers = count(tokens, Kind::number);
  if (const std::size_t partings = count(tokens, Kind::parting); partings > 0) {
    if (partings == 1) middle = std::ranges::find_if(tokens, isOf(Kind::parting));
    if (middle == tokens.end() || middle + 1 == tokens.end()) return {};
    return {Tokens(tokens.begin(), middle), Tokens(middle + 1, tokens.end())};
  }
  if (count(tokens, Kind::degree) == 2) {
    const auto first = std::ranges::find_if(tokens, isOf(Kind::degree));
    middle = std::find_if(first + 1, tokens.end(), isOf(Kind::degree)) - 1;
    if (middle == first) return {};
  } else if (numbers == tokens.size() && (numbers == 2 || numbers == 4 || numbers == 6)) {
    middle = tokens.begin() + static_cast<std::ptrdiff_t>(numbers / 2);
  } else {
    return {};
  }
  return {Tokens(tokens.begin(), middle), Tokens(middle, tokens.end())};
}

PositionReading readDegrees(const Tokens& tokens, const PointGrid& inUse) {
  const std::size_t words = count(tokens, Kind::word);
  std::vector<Tokens> angles = words == 0 ? partedWithoutLetters(tokens) : partedByLetters(tokens);
  if (angles.size() != 2 || (words != 0 && words != 2)) return {};
  const auto hasLetter = [](const Tokens& angle, std::string_view one, std::string_view other) {
    return std::ranges::any_of(angle, [&](const Token& token) {
      return token.kind == Kind::word && (token.text == one || token.text == other);
    });
  };
  if (words == 2 && hasLetter(angles[0], "E", "W")) std::swap(angles[0], angles[1]);
  if (words == 2 && !(hasLetter(angles[0], "N", "S") && hasLetter(angles[1], "E", "W"))) return {};
  if (count(angles[0], Kind::parting) + count(angles[1], Kind::parting) > 0) return {};
  const EntryField latitude = parseLatitude(angleText(angles[0], true));
  const EntryField longitude = parseLongitude(angleText(angles[1], true));
  if (!latitude.value || !longitude.value) return problem(latitude.value ? longitude.problem : latitude.problem);
  return {
      PositionFields{gridFor(EntryGrid::degrees, inUse), {}, angleText(angles[0], false), angleText(angles[1], false)},
      ""};
}

bool areFigures(std::string_view text) {
  return !text.empty() && std::ranges::all_of(text, isDigit);
}

/// Metres within a square from the figures of a reference, "600550" or "60000 55000": fewer figures than metres have
/// name a square of 10 m to 10 km by its corner. Empty when they are none.
std::vector<std::string> metresOfFigures(std::vector<std::string> figures) {
  if (figures.size() == 1 && areFigures(figures[0]) && figures[0].size() % 2 == 0) {
    const std::string all = figures[0];
    figures = {all.substr(0, all.size() / 2), all.substr(all.size() / 2)};
  }
  if (figures.size() != 2) return {};
  const std::size_t length = figures[0].find('.') == std::string::npos ? figures[0].size() : figures[0].find('.');
  for (std::string& figure : figures) {
    const std::size_t whole = std::min(figure.find('.'), figure.size());
    if (whole != length || length > squareFigures || !areFigures(std::string_view(figure).substr(0, whole))) return {};
    if (whole != figure.size() && length != squareFigures) return {};
    if (length < squareFigures) figure.append(squareFigures - length, '0');
  }
  return figures;
}

/// "SH 60000 55000", "SH600550", "O 159 346".
PositionReading readSquare(const Tokens& tokens, std::string_view text, const PointGrid& inUse) {
  if (tokens.size() < 2 || tokens[0].kind != Kind::word || tokens[0].text.size() > 2) return {};
  const std::string& letters = tokens[0].text;
  std::vector<std::string> figures;
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    const bool parting = tokens[i].kind == Kind::parting && i == 2 && tokens.size() == 4;
    if (tokens[i].kind != Kind::number && !parting) return {};
    if (!parting) figures.push_back(tokens[i].text);
  }
  const EntryGrid kind = letters.size() == 2 ? EntryGrid::british : EntryGrid::irish;
  if (kind == EntryGrid::irish && inUse.grid != kind && (parseLatitude(text).value || parseLongitude(text).value)) {
    return problem(
        "It could be one angle or an Irish grid reference: write both angles, or all five figures of the metres");
  }
  if (!areGridLetters(letters)) return problem("The letters of a square go from A to Z without I");
  const std::vector<std::string> metres = metresOfFigures(figures);
  if (metres.empty())
    return problem("Behind the letters come as many figures for the easting as for the northing, up to 5 each");
  return {PositionFields{gridFor(kind, inUse), letters, metres[0], metres[1]}, ""};
}

/// What may stand behind the zone of a UTM position.
struct ZoneLetter {
  bool north = true, south = true;  ///< what it can mean
  std::string band;                 ///< in which the northing has to lie, in the north or in the south
};

std::optional<ZoneLetter> zoneLetter(const std::string& word) {
  if (word == "NORTH") return ZoneLetter{true, false, ""};
  if (word == "SOUTH") return ZoneLetter{false, true, ""};
  if (word.size() != 1 || word < "C" || word > "X" || word == "I" || word == "O") return std::nullopt;
  if (word == "N") return ZoneLetter{true, false, ""};
  return ZoneLetter{word > "N", word < "N" || word == "S", word};
}

/// The letter's band holds the latitude or lies next to it.
bool isNearBand(const std::string& band, double latitude) {
  constexpr std::string_view bands = "CDEFGHJKLMNPQRSTUVWX";
  constexpr double height = 8, south = -80;
  const double from = south + height * static_cast<double>(bands.find(band[0]));
  return latitude >= from - height && latitude <= from + 2 * height;
}

bool isBandOfLatitude(char band, double latitude) {
  return latitude >= -80 && utmBandLetter(latitude) == band;
}

struct UtmWords {
  std::int16_t zone;
  std::optional<std::string> letter;
  std::string easting, northing;
};

/// "33T 448251 5411932", "33 T 448251 mE 5411932 mN", "UTM 33 south 448251, 5411932".
std::optional<UtmWords> utmWords(const Tokens& tokens) {
  std::size_t at = 0;
  const auto word = [&](std::initializer_list<std::string_view> allowed) {
    const bool fits = at < tokens.size() && tokens[at].kind == Kind::word &&
                      std::ranges::find(allowed, tokens[at].text) != allowed.end();
    at += fits ? 1 : 0;
  };
  const auto number = [&]() -> std::optional<std::string> {
    if (at >= tokens.size() || tokens[at].kind != Kind::number) return std::nullopt;
    return tokens[at++].text;
  };
  const auto parting = [&] { at += at < tokens.size() && tokens[at].kind == Kind::parting ? 1 : 0; };
  word({"UTM"});
  word({"ZONE"});
  const std::optional<std::string> zone = number();
  if (!zone || !areFigures(*zone) || zone->size() > 2) return std::nullopt;
  UtmWords words{static_cast<std::int16_t>(parseNumber(*zone)), std::nullopt, "", ""};
  if (words.zone < 1 || words.zone > 60) return std::nullopt;
  if (at < tokens.size() && tokens[at].kind == Kind::word) words.letter = tokens[at++].text;
  parting();
  const std::optional<std::string> easting = number();
  word({"E", "M", "ME"});
  parting();
  const std::optional<std::string> northing = number();
  word({"N", "M", "MN"});
  if (!easting || !northing || at != tokens.size()) return std::nullopt;
  words.easting = *easting;
  words.northing = *northing;
  return words;
}

std::string eitherText(const UtmWords& words) {
  const std::string zone = std::to_string(words.zone);
  return (words.letter ? zone + *words.letter + " may be the band S or the south"
                       : zone + " may be in the north or in the south") +
         ": write " + zone + " north or " + zone + " south";
}

PositionReading readUtm(const Tokens& tokens, const PointGrid& inUse, std::optional<bool> southernMap) {
  const std::optional<UtmWords> words = utmWords(tokens);
  if (!words) return {};
  const std::optional<ZoneLetter> letter = words->letter ? zoneLetter(*words->letter) : ZoneLetter();
  if (!letter) return problem("Behind the zone comes the letter of its band, C to X, or north or south");
  PositionFields fields{gridFor(EntryGrid::utm, inUse), {}, words->easting, words->northing};
  fields.grid.zone = words->zone;
  std::vector<bool> readings;
  for (const bool southern : {false, true}) {
    if (!(southern ? letter->south : letter->north)) continue;
    fields.grid.southern = southern;
    const std::optional<Position> position = positionOf(fields);
    if (!position) continue;
    const bool eitherS = letter->band == "S";
    if (eitherS && !southern && !isBandOfLatitude('S', position->latitude)) continue;
    if (!eitherS && !letter->band.empty() && !isNearBand(letter->band, position->latitude)) {
      return problem("This northing does not lie in the band " + letter->band);
    }
    readings.push_back(southern);
  }
  if (readings.empty()) return problem("Invalid grid reference");
  const bool sameZone = inUse.grid == EntryGrid::utm && inUse.zone == words->zone;
  if (readings.size() > 1 && !southernMap && !sameZone) return problem(eitherText(*words));
  fields.grid.southern = readings.size() == 1 ? readings[0] : sameZone ? inUse.southern : *southernMap;
  return {fields, ""};
}

/// Two numbers that are metres of the grid in use, or would be if one knew of which square or zone.
PositionReading readMetres(const Tokens& tokens, const PointGrid& inUse) {
  std::vector<std::string> numbers;
  for (const Token& token : tokens) {
    if (token.kind == Kind::number) numbers.push_back(token.text);
    if (token.kind != Kind::number && token.kind != Kind::parting) return {};
  }
  if (numbers.size() != 2) return {};
  const bool metres = inUse.grid != EntryGrid::degrees;
  const double first = parseNumber(numbers[0]), second = parseNumber(numbers[1]);
  if (std::abs(first) <= 180 && std::abs(second) <= 180) {
    if (!metres || (numbers[0] + numbers[1]).find('.') != std::string::npos) return {};
    return problem("They could be degrees or metres: write degrees with a decimal point");
  }
  if (!metres) return problem("Metres need the letters of their square, or a UTM zone, in front of them");
  return {PositionFields{inUse, {}, numbers[0], numbers[1]}, ""};
}

}  // namespace

PositionReading readPositionText(std::string_view text, const PointGrid& inUse, std::optional<bool> southern) {
  if (text.size() > longestText) return problem(forms);
  const std::string plain = withPlainSigns(text);
  const std::optional<Tokens> tokens = tokensOf(trim(plain));
  if (!tokens || tokens->size() < 2) return problem(forms);
  if (mayHoldDecimalCommas(plain)) return problem("Decimals are written with \".\", and a blank parts two numbers");
  std::string reason;
  for (const PositionReading& reading : {readMetres(*tokens, inUse), readDegrees(*tokens, inUse),
                                         readSquare(*tokens, plain, inUse), readUtm(*tokens, inUse, southern)}) {
    if (reading.fields) return reading;
    if (reason.empty()) reason = reading.problem;
    if (!reason.empty()) break;
  }
  return problem(reason.empty() ? forms : reason);
}

}  // namespace vellandra
