#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <sstream>
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

/// Calls `work` with the path and each line of every source.
void forEachLine(const std::function<void(const std::string& path, const std::string& line)>& work) {
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(source)) {
    if (!entry.is_regular_file()) continue;
    std::istringstream text(contentOf(entry.path().string()));
    for (std::string line; std::getline(text, line);) work(fs::relative(entry.path(), source).string(), line);
  }
}

/// "file: include" for each include line of the sources that the house forbids.
std::vector<std::string> forbiddenIncludes() {
  const std::string directive = "#include ";
  std::vector<std::string> forbidden;
  forEachLine([&](const std::string& path, const std::string& line) {
    if (!line.starts_with(directive)) return;
    const bool isOurs = line[directive.size()] == '"';
    const std::size_t begin = directive.size() + 1;
    const std::string header = line.substr(begin, line.find_first_of("\">", begin) - begin);
    bool allowed = !isOurs || mayUse(roomOf(path), roomOf(header));
    for (const Library& library : libraries) {
      allowed = allowed && (isOurs || !header.starts_with(library.header) || path.starts_with(library.home));
    }
    if (!allowed) forbidden.push_back(path + ": " + header);
  });
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

/// The string literals of a line of code, as they are written there.
std::vector<std::string> literalsOf(const std::string& line) {
  std::vector<std::string> literals;
  bool inside = false;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (!inside && line.compare(i, 2, "//") == 0) break;
    if (line[i] == '"') {
      inside = !inside;
      if (inside) literals.emplace_back();
    } else if (inside) {
      literals.back() += line[i];
      if (line[i] == '\\') literals.back() += line[++i];
    }
  }
  return literals;
}

/// "file: literal" for each string literal outside formats that tells what the format table does.
std::vector<std::string> strayEndings() {
  std::vector<std::string> stray;
  forEachLine([&](const std::string& path, const std::string& line) {
    if (roomOf(path) == "formats") return;
    for (const std::string& literal : literalsOf(line)) {
      if (tellsEndings(literal)) stray.push_back(path + ": " + literal);
    }
  });
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
