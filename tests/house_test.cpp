#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "core_fixture.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

const fs::path source = SOURCE_FOLDER "/src";

/// The rooms of the house, each of which may use itself and the rooms before it. What lies in src itself may use all.
const std::vector<std::string> rooms = {"support", "geodesy",    "calibration", "raster",    "formats",
                                        "imaging", "ui/widgets", "ui/dialogs",  "ui/viewer", "ui"};

/// The room of a path such as "ui/viewer/map_canvas.h"; empty for a file of no room.
std::string roomOf(const std::string& path) {
  const std::size_t end = path.rfind('/');
  return end == std::string::npos ? "" : path.substr(0, end);
}

bool mayUse(const std::string& room, const std::string& used) {
  if (room.empty() || room == used) return true;
  if (room == "console") return used == "support";
  const auto place = [](const std::string& name) { return std::find(rooms.begin(), rooms.end(), name); };
  return place(room) != rooms.end() && place(used) < place(room);
}

/// A library of somebody else's, and where it may be seen.
struct Library {
  const char* header;  ///< what its headers begin with
  const char* home;    ///< what the path of a file that sees it begins with
};
const Library libraries[] = {
    {"Q", "ui/"},
    {"FreeImage", "raster/bitmap.cpp"},
    {"tiff", "raster/"},
};

/// "file: include" for each include line of the sources that the house forbids.
std::vector<std::string> forbiddenIncludes() {
  static const std::regex include(R"re(#include ([<"])([^>"]+)[>"])re");
  std::vector<std::string> forbidden;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
    if (!entry.is_regular_file()) continue;
    const std::string path = fs::relative(entry.path(), source).string();
    const std::string text = contentOf(entry.path().string());
    for (std::sregex_iterator i(text.begin(), text.end(), include), end; i != end; ++i) {
      const std::string header = (*i)[2];
      bool allowed = true;
      if ((*i)[1] == "\"") {
        allowed = mayUse(roomOf(path), roomOf(header));
      } else {
        for (const Library& library : libraries) {
          allowed = allowed && (!header.starts_with(library.header) || path.starts_with(library.home));
        }
      }
      if (!allowed) forbidden.push_back(path + ": " + header);
    }
  }
  return forbidden;
}

/// Whether `literal` is an ending of calibrations, or lists them. Text may speak of one.
bool tellsEndings(const std::string& literal) {
  int told = 0;
  for (const FormatRow& format : formatRows()) {
    for (const Ending& row : format.endings) {
      const std::string ending = row.extension;
      if (literal == ending || literal == "." + ending || literal == "*." + ending) return true;
      if (literal.find("." + ending) != std::string::npos) ++told;
    }
  }
  return told > 1;
}

/// "file: literal" for each string literal outside formats that tells what the format table does.
std::vector<std::string> strayEndings() {
  static const std::regex comment("//[^\n]*");
  static const std::regex literal(R"re("((?:[^"\\\n]|\\.)*)")re");
  std::vector<std::string> stray;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
    const std::string path = fs::relative(entry.path(), source).string();
    if (!entry.is_regular_file() || roomOf(path) == "formats") continue;
    const std::string text = std::regex_replace(contentOf(entry.path().string()), comment, "");
    for (std::sregex_iterator i(text.begin(), text.end(), literal), end; i != end; ++i) {
      if (tellsEndings((*i)[1])) stray.push_back(path + ": " + (*i)[1].str());
    }
  }
  return stray;
}

TEST(House, FormatsAreKnownByTheirRowsAlone) {
  EXPECT_EQ(strayEndings(), std::vector<std::string>());
}

TEST(House, IncludesPointOneWay) {
  EXPECT_EQ(forbiddenIncludes(), std::vector<std::string>());
}

}  // namespace
}  // namespace vellandra
