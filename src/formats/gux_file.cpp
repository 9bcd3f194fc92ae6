#include "formats/gux_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <optional>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/messages.h"
#include "formats/image_identification.h"
#include "formats/point_fields.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/text.h"

namespace vellandra {
namespace {

constexpr std::string_view datumKey = "M E";
constexpr std::string_view imageKey = "S IMAGE";
constexpr std::string_view pointKey = "S CALPO";
constexpr std::string_view british = "BRITISH";
constexpr std::array formatWords = {std::string_view("DEG"), std::string_view("DM"), std::string_view("DMS"),
                                    std::string_view("UTM"), british};

bool isLetter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

/// The tokens of a point line, taken one by one; empty ones behind the last.
class Tokens {
 public:
  explicit Tokens(std::string_view line) {
    // The degree sign is one byte in Latin-1, and the same byte behind another in UTF-8.
    constexpr std::size_t enough = 200;  // empty fields between two separators count
    fields_ = splitFields(line, " \t='\"\xB0\xC2", enough);
    std::erase_if(fields_, [](std::string_view field) { return field.empty(); });
  }
  std::string_view take() { return next_ < fields_.size() ? fields_[next_++] : std::string_view(); }
  /// The next token when it begins with a letter.
  std::string_view takeWord() { return next_ < fields_.size() && isLetter(fields_[next_].front()) ? take() : ""; }
  bool atEnd() const { return next_ >= fields_.size(); }

 private:
  std::vector<std::string_view> fields_;
  std::size_t next_ = 0;
};

struct Point {
  std::string format;
  Tokens values;
};

struct GuxFile {
  std::string datum = wgs84Name;
  std::string imageName;
  std::map<int, Point> points;
  int notUnderstood = 0;  ///< point lines
};

/// Slot of a key such as "CalPoint7"; nothing when it does not end in a digit.
std::optional<int> slotOf(std::string_view key) {
  if (key.empty() || key.back() < '0' || key.back() > '9') return std::nullopt;
  return key.back() == '0' ? 10 : key.back() - '0';
}

void readPointLine(std::string_view line, GuxFile& gux) {
  Tokens tokens(line.substr(1));
  const std::optional<int> slot = slotOf(tokens.take());
  std::string format;
  while (!tokens.atEnd() && std::find(formatWords.begin(), formatWords.end(), format) == formatWords.end()) {
    format = upperCase(tokens.take());
  }
  if (!slot || tokens.atEnd()) {
    ++gux.notUnderstood;
  } else if (!gux.points.insert_or_assign(*slot, Point{format, tokens}).second) {
    calibration.points[*slot].givenTwice = true;
  }
}

/// What stands behind "=", or without one behind the key.
std::string_view imageName(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals != std::string_view::npos) return trim(line.substr(equals + 1));
  line.remove_prefix(imageKey.size());
  const std::size_t blank = line.find(' ');
  return blank == std::string_view::npos ? std::string_view() : trim(line.substr(blank));
}

void readLine(std::string_view line, GuxFile& gux) {
  const std::string upper = upperCase(line);
  if (upper.starts_with(datumKey)) {
    const std::string_view name = trim(line.substr(datumKey.size()));
    if (!name.empty()) gux.datum = upperCase(name);
  } else if (upper.starts_with(imageKey)) {
    gux.imageName = imageName(line);
  } else if (upper.starts_with(pointKey)) {
    readPointLine(line, gux);
  }
}

/// An angle of `parts` numbers (degrees, minutes, seconds) with its hemisphere letter in front, or signed degrees.
std::optional<double> takeAngle(Tokens& tokens, int parts, char positive, char negative) {
  std::string_view token = tokens.take();
  char hemisphere = positive;
  if (!token.empty() && isLetter(token.front())) {
    hemisphere = upperCase(token.substr(0, 1)).front();
    token.remove_prefix(1);
    if (token.empty()) token = tokens.take();
  }
  if (hemisphere != positive && hemisphere != negative) return std::nullopt;
  const bool below = hemisphere == negative || token.starts_with('-');
  double value = 0;
  double unit = 1;
  for (int part = 0; part < parts; ++part, unit /= 60) {
    if (part > 0) token = tokens.take();
    // A letter behind the number is a hemisphere in the wrong place.
    if (!beginsWithNumber(token) || isLetter(token.back())) return std::nullopt;
    const double number = std::abs(parseNumber(token));
    if (part > 0 && number > 60) return std::nullopt;
    value += number * unit;
  }
  return below ? -value : value;
}

void readAngles(int slot, int parts, Tokens& tokens) {
  const std::optional<double> latitude = takeAngle(tokens, parts, 'N', 'S');
  const std::optional<double> longitude = takeAngle(tokens, parts, 'E', 'W');
  if (latitude && longitude) calibration.points[slot].setPosition(*latitude, *longitude);
}

void placePoint(int slot, const Point& point, int datumIndex) {
  Tokens values = point.values;
  if (point.format == british) {
    const std::string_view square = values.takeWord();
    const std::string_view easting = values.take();
    readBritishGrid(slot, square, easting, values.take());
  } else if (point.format == "UTM") {
    const std::string_view zone = values.take();
    const std::string_view band = values.takeWord();
    const bool southern = isSouthernBand(band.empty() ? zone.back() : band.front());
    const std::string_view easting = values.take();
    readUtm(slot, datumIndex, zone, southern, easting, values.take());
  } else {
    readAngles(slot, point.format == "DMS" ? 3 : point.format == "DM" ? 2 : 1, values);
  }
  const std::string_view x = values.take();
  readPixel(slot, x, values.take());
}

/// Returns the datum on which all positions are then, 0 when the file's is not in the table.
int placePoints(const GuxFile& gux) {
  Slots<bool> onWgs84;
  std::size_t britishPoints = 0;
  for (const auto& [slot, point] : gux.points) {
    onWgs84[slot] = point.format == british;
    if (onWgs84[slot]) ++britishPoints;
  }
  // The datum of a file with British points alone does not matter, so nobody is asked about it.
  const bool needsDatum = britishPoints == 0 || britishPoints < gux.points.size();
  const int datumIndex = needsDatum ? matchDatum(gux.datum) : 0;
  if (needsDatum && datumIndex == 0) return 0;
  for (const auto& [slot, point] : gux.points) {
    placePoint(slot, point, datumIndex);
  }
  if (britishPoints == 0) return datumIndex;
  if (needsDatum) shiftOthersToWgs84(onWgs84, datumIndex);
  return matchDatum(wgs84Name);
}

}  // namespace

ReadResult readGux(const std::string& path) {
  GuxFile gux;
  TextFile file(path);
  std::string_view line;
  while (getline(file, line)) readLine(line, gux);
  if (gux.notUnderstood > 0) showMessage("Point lines not understood: " + std::to_string(gux.notUnderstood));
  ReadResult result;
  result.datumIndex = placePoints(gux);
  closePointGaps();
  calibration.imagePath = imageBeside(path, gux.imageName);
  logPointCount();
  return result;
}

}  // namespace vellandra
