#include "calibration/preferences.h"

#include <functional>
#include <optional>
#include <vector>

#include "calibration/messages.h"
#include "geodesy/datum.h"
#include "support/errors.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

Preferences preferences = defaultPreferences();
bool preferencesChanged = false;

namespace {

constexpr const char* fileNameOfPreferences = "calconv.ini";
constexpr const char* header = "'Calibration conversion preferences file";

/// One key of the file: how it is written, and how what stands behind its "=" is taken and given.
struct Key {
  const char* written;
  std::function<void(std::string_view)> read;
  std::function<std::string()> text;
  bool isLeftOutWhenFalse = false;
};

Key boolean(const char* written, bool& value) {
  return {written, [&value](std::string_view given) { value = field(splitFields(given, "="), 0) == "true"; },
          [&value] { return value ? "True" : "False"; }};
}

Key path(const char* written, std::string& value) {
  return {written, [&value](std::string_view given) { value = given; }, [&value] { return value; }};
}

/// `text` as a whole number; nothing when it is no number or past 32 bits.
std::optional<std::int32_t> wholeNumber(std::string_view text) {
  if (!beginsWithNumber(text)) return std::nullopt;
  try {
    return parseInt32(text);
  } catch (const Overflow&) {
    return std::nullopt;
  }
}

/// A number that is none, does not fit or is outside `least` to `most` is reported and the default stands.
template <typename Integer>
Key number(const char* written, Integer& value, int least, int most) {
  const auto read = [written, &value, least, most](std::string_view given) {
    const std::optional<std::int32_t> whole = wholeNumber(given);
    if (whole && *whole >= least && *whole <= most) {
      value = static_cast<Integer>(*whole);
      return;
    }
    showMessage(std::string(fileNameOfPreferences) + ": " + written + "=" + std::string(given.substr(0, 40)) +
                " is not allowed, " + std::to_string(value) + " is used");
  };
  return {written, read, [&value] { return std::to_string(value); }};
}

constexpr int largest16 = 32767;

/// All keys, in the order in which they are written.
std::vector<Key> keys() {
  Preferences& p = preferences;
  const Key match = {"matchdatum",
                     [&](std::string_view given) {
                       const std::vector<std::string_view> names = splitFields(given, "=");
                       // With more than two parts nobody knows which name is which.
                       if (names.size() != 2 || field(names, 0).empty() || field(names, 1).empty()) return;
                       p.unmatchedName = datumColumnName(field(names, 0));
                       p.matchedName = datumColumnName(field(names, 1));
                     },
                     [&] { return std::string(trim(p.unmatchedName)) + "=" + std::string(trim(p.matchedName)); }};
  Key gisPrograms = boolean("GisPrograms", p.gisPrograms);
  gisPrograms.isLeftOutWhenFalse = true;
  return {boolean("Warnoverwrite", p.warnOverwrite),
          boolean("WriteWGS84", p.writeWgs84),
          boolean("stretchnotrotate", p.stretchNotRotate),
          boolean("ShowGrid", p.showGrid),
          path("datumstxt", p.datumsPath),
          path("7zip", p.sevenZipPath),
          number("degreeformat", p.degreeFormat, 1, 3),
          match,
          number("tilewidth", p.tileWidth, -largest16 - 1, largest16),
          number("tileheight", p.tileHeight, -largest16 - 1, largest16),
          number("GarminDrawOrder", p.garminDrawOrder, -largest16 - 1, largest16),
          number("GarminJpegQuality", p.garminJpegQuality, -largest16 - 1, largest16),
          boolean("AdvancedGarminMapping", p.advancedGarminMapping),
          number("KMZTransparency", p.kmzTransparency, -largest16 - 1, largest16),
          gisPrograms};
}

/// Takes `text` into `value` when it is a number within `range`; else tells `refusal`, and is false.
bool storeInRange(const std::string& text, NumberRange range, const std::string& refusal, std::int16_t& value) {
  const std::optional<double> number = numberIn(text, range);
  if (number) {
    value = toInt16(roundToInt32(*number));
  } else {
    tell(refusal);
  }
  return number.has_value();
}

}  // namespace

Preferences defaultPreferences() {
  Preferences defaults;
  defaults.datumsPath = programFolder() + "datums.txt";
  defaults.unmatchedName = defaults.matchedName = datumColumnName(wgs84Name);
  return defaults;
}

void readPreferences() {
  preferences = defaultPreferences();
  preferencesChanged = false;
  const std::string path = settingsFileForReading(fileNameOfPreferences);
  if (!fileExists(path)) return;
  TextFile file(path);
  const std::vector<Key> known = keys();
  std::string_view line;
  while (getline(file, line)) {
    const std::string lower = lowerCase(line);
    const std::size_t equals = lower.find('=');
    if (equals == std::string::npos) continue;
    const std::string_view whole = lower;
    for (const Key& key : known) {
      if (trim(whole.substr(0, equals)) == lowerCase(key.written)) key.read(whole.substr(equals + 1));
    }
  }
}

bool writePreferences() {
  std::string content = std::string(header) + "\r\n";
  for (const Key& key : keys()) {
    const std::string text = key.text();
    if (key.isLeftOutWhenFalse && text == "False") continue;
    if (text.find_first_of("\r\n") == std::string::npos) {
      content += std::string(key.written) + "=" + text + "\r\n";
    } else {
      showMessage(std::string(fileNameOfPreferences) + ": " + key.written +
                  " is not kept, its path holds a line break");
    }
  }
  const std::string path = settingsFolder() + fileNameOfPreferences;
  if (!writeWholeFile(path, content)) {
    tell("unable to write " + path);
    return false;
  }
  preferencesChanged = false;
  return true;
}

bool storePreferences(const PreferencesForm& form) {
  Preferences& p = preferences;
  p.warnOverwrite = form.warnOverwrite;
  p.stretchNotRotate = form.stretchNotRotate;
  p.writeWgs84 = form.writeWgs84;
  bool all = storeInRange(form.tileWidth, tileSides, "Tile width must be 1 to 32767", p.tileWidth);
  all = storeInRange(form.tileHeight, tileSides, "Tile height must be 1 to 32767", p.tileHeight) && all;
  p.showGrid = form.showGrid;
  p.advancedGarminMapping = form.advancedGarminMapping;
  p.kmzTransparency = form.kmzTransparency ? 1 : 0;
  all = storeInRange(form.garminDrawOrder, garminDrawOrders, "Draw order must be 01 to 99", p.garminDrawOrder) && all;
  all =
      storeInRange(form.garminJpegQuality, garminJpegQualities, "JPEG quality must be 01 to 99", p.garminJpegQuality) &&
      all;
  p.degreeFormat = form.degreeFormat;
  p.gisPrograms = form.gisPrograms;
  preferencesChanged = true;
  return all;
}

}  // namespace vellandra
