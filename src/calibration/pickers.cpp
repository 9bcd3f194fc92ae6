#include "calibration/pickers.h"

#include <algorithm>
#include <vector>

#include "calibration/format_row.h"
#include "calibration/preferences.h"
#include "geodesy/datum.h"
#include "support/files.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

bool keepChosen(const std::string& chosen, std::string& kept) {
  if (chosen.empty()) return false;
  if (findFile(chosen).empty()) {
    tell("Missing file " + chosen);
    return false;
  }
  kept = absolutePath(chosen);  // on a terminal it may be typed from the present folder
  preferencesChanged = true;
  return true;
}

}  // namespace

std::string getfile(const std::string& title) {
  std::vector<Ending> endings = inputEndings();
  std::ranges::sort(endings, {}, &Ending::place);
  FilePicker picker{title, "", ""};
  for (const Ending& ending : endings) {
    const std::string pattern = std::string("*.") + ending.extension;
    if (picker.defaultName.empty()) picker.defaultName = pattern;
    picker.filter += (picker.filter.empty() ? "" : "|") + std::string(ending.caption) + "|" + pattern;
  }
  return userInterface().askOpenFile(picker);
}

std::string getifile() {
  return userInterface().askOpenFile(
      {"Open image file", "*.png", "Image files(*.png,*.bmp,*.jpg,*.gif,*.tif)|*.png;*.bmp;*.jpg;*.gif;*.tif"});
}

std::string getdfile() {
  return userInterface().askOpenFile({"Open datums.txt file ", "*.txt", "Text files(*.txt)|*.txt"});
}

std::string get7file() {
  return userInterface().askOpenFile({"Find 7z.exe ", "*.exe", "Exe files(*.exe)|*.exe"});
}

std::string putpfile(const std::string& copyOf) {
  std::string path = userInterface().askSaveFile({"Save image file  ", "*.png", "PNG files(*.png)|*.png", copyOf});
  if (!path.empty() && !lowerCase(path).ends_with(".png")) path += ".png";
  return path;
}

bool locateDatumsFile() {
  const std::string chosen = getdfile();
  const std::string path = findFile(chosen);
  if (!path.empty()) {
    TextFile file(path);
    if (readDatumTable(file).count == 0) {
      tell("There is no datum in " + path + ", the table stays as it was");
      return false;
    }
  }
  return keepChosen(chosen, preferences.datumsPath);
}

bool locateSevenZip() {
  return keepChosen(get7file(), preferences.sevenZipPath);
}

}  // namespace vellandra
