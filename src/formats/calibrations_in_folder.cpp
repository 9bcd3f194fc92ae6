#include "formats/calibrations_in_folder.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <system_error>
#include <tuple>

#include "calibration/format_row.h"
#include "formats/cal_file.h"
#include "support/paths.h"
#include "support/text.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// Place of the ending of `name` in the order of the readers; the count of `endings` when it is none of them.
std::size_t readerOf(const std::string& name, const std::vector<Ending>& endings) {
  const auto isIts = [name = lowerCase(name)](const Ending& ending) {
    return name.ends_with("." + std::string(ending.extension));
  };
  return static_cast<std::size_t>(std::ranges::find_if(endings, isIts) - endings.begin());
}

}  // namespace

std::optional<std::vector<std::string>> calibrationsIn(const std::string& folder) {
  struct Found {
    std::size_t reader;
    std::string name;
  };
  const std::vector<Ending> endings = inputEndings();
  std::map<std::string, Found> byBase;
  std::error_code error;
  for (fs::directory_iterator entries(folder, error), end; !error && entries != end; entries.increment(error)) {
    const std::string name = entries->path().filename().string();
    const std::size_t reader = readerOf(name, endings);
    std::error_code unknown;
    const bool hidden = name.starts_with('.');  // copies of their own kind that other systems leave on cards
    if (hidden || reader == endings.size() || !entries->is_regular_file(unknown)) continue;
    const auto [place, isNew] = byBase.try_emplace(splitPath(name).base, Found{reader, name});
    Found& found = place->second;
    if (!isNew && std::tie(reader, name) < std::tie(found.reader, found.name)) found = {reader, name};
  }
  if (error) return std::nullopt;
  std::vector<std::string> paths;
  for (const auto& [base, found] : byBase) {
    if (!byBase.contains(baseOfWrittenCal(found.name))) paths.push_back((fs::path(folder) / found.name).string());
  }
  const auto folded = [](const std::string& path) { return foldCase(toUtf8(path)); };
  std::ranges::stable_sort(paths, {}, folded);
  return paths;
}

}  // namespace vellandra
