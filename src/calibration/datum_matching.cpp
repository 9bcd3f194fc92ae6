#include "calibration/datum_matching.h"

#include <cmath>
#include <vector>

#include "calibration/log.h"
#include "calibration/messages.h"
#include "calibration/pickers.h"
#include "calibration/preferences.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {

std::string inputDatumName;

namespace {

/// The row that the last look-up gave for a name: of rows of the same name another one may have been chosen by hand.
struct LastMatch {
  std::string name;
  int index = 0;
};
LastMatch lastMatch;
int reportedDatum = 0;  ///< row of the loaded table that the person was told about last

std::string shown(std::string_view name) {
  return std::string(trim(name));
}

int chooseFromTable(const std::string& label) {
  std::vector<std::string> names;
  for (int i = 1; i <= datumTable.count; ++i) names.push_back(shown(datumTable.name[static_cast<std::size_t>(i)]));
  const int chosen = userInterface().chooseDatum("Choose to match : " + label, names);
  return chosen >= 1 && chosen <= datumTable.count ? chosen : 0;
}

/// The datum table; empty when there is none where the preferences and the program's folder have it.
std::string findDatumsFile() {
  std::string path = findFile(preferences.datumsPath);
  if (!path.empty()) return path;
  path = findFile(programFolder() + "datums.txt");
  if (!path.empty()) showMessage("No file " + preferences.datumsPath + ": the datums are read from " + path);
  return path;
}

void remember(const std::string& name, const std::string& match) {
  if ((name + match).find_first_of("=\r\n") != std::string::npos) {
    showMessage("Datum " + shown(name) + " is read as " + shown(match) +
                " this time only: a name with \"=\" cannot be remembered");
    return;
  }
  preferences.unmatchedName = name;
  preferences.matchedName = match;
  preferencesChanged = true;
}

}  // namespace

void LoadDatums() {
  datumTable = DatumTable();
  lastMatch = LastMatch();
  reportedDatum = 0;
  std::string path = findDatumsFile();
  if (path.empty() && locateDatumsFile()) path = findFile(preferences.datumsPath);
  if (path.empty()) return;
  TextFile file(path);
  datumTable = readDatumTable(file);
}

void finddatum(std::string& name, std::int16_t& index) {
  if (name == preferences.unmatchedName && name != preferences.matchedName) {
    name = preferences.matchedName;
    showMessage("Datum " + shown(preferences.unmatchedName) + " is read as " + shown(name) +
                ", as it was matched before");
  }
  inputDatumName = shown(name);
  index = static_cast<std::int16_t>(findDatumByName(name));
  if (index == 0) {
    index = static_cast<std::int16_t>(chooseFromTable(inputDatumName));
    if (index > 0) {
      const std::string& match = datumTable.name[static_cast<std::size_t>(index)];
      inputDatumName = shown(match);
      remember(name, match);
    }
  }
  if (index > 0) lastMatch = {shown(datumTable.name[static_cast<std::size_t>(index)]), index};
  writeLog("finddatum " + shown(name) + " " + std::to_string(index));
  reportDoubtfulDatum(index);
}

int matchDatum(std::string_view name) {
  std::string shaped = datumColumnName(name);
  if (trim(shaped) == "WGS84" && findDatumByName(shaped) == 0) shaped = datumColumnName(wgs84Name);
  std::int16_t index = 0;
  finddatum(shaped, index);
  return index;
}

int askDatum(const std::string& label) {
  inputDatumName = label;
  const int index = chooseFromTable(label);
  if (index > 0) {
    inputDatumName = shown(datumTable.name[static_cast<std::size_t>(index)]);
    lastMatch = {inputDatumName, index};
    reportDoubtfulDatum(index);
  }
  return index;
}

std::string datumsLike(const std::string& name) {
  const std::string word = upperCase(name.substr(0, name.find(' ')));
  std::string names;
  for (int i = 1; i <= datumTable.count && !word.empty(); ++i) {
    const std::string listed = shown(datumTable.name[static_cast<std::size_t>(i)]);
    if (listed == word || listed.starts_with(word + " ")) names += (names.empty() ? "" : ", ") + listed;
  }
  return names;
}

int datumIndexOf(const std::string& name) {
  return name == lastMatch.name ? lastMatch.index : findDatumByName(datumColumnName(name));
}

void reportDoubtfulDatum(int index) {
  const auto i = static_cast<std::size_t>(index);
  if (index == reportedDatum || !datumTable.doubtful[i]) return;
  reportedDatum = index;
  showMessage("Positions on this datum are not reliable: the row of " + shown(datumTable.name[i]) +
              " in datums.txt does not hold five numbers parted by blanks behind the ellipsoid");
}

}  // namespace vellandra
