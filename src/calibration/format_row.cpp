#include "calibration/format_row.h"

#include <algorithm>

#include "support/paths.h"

namespace vellandra {
namespace {

FormatTable formats;

}  // namespace

void setFormatTable(const FormatTable& table) {
  formats = table;
}

const FormatTable& formatTable() {
  return formats;
}

const FormatRow* formatOf(const std::string& path) {
  const std::string extension = splitPath(path).extension;
  const auto isIts = [&extension](const Ending& ending) { return extension == ending.extension; };
  const auto row = std::ranges::find_if(
      formats.rows, [&isIts](const FormatRow& format) { return std::ranges::any_of(format.endings, isIts); });
  return row == formats.rows.end() ? nullptr : &*row;
}

std::vector<Ending> inputEndings() {
  std::vector<Ending> endings;
  for (const FormatRow& row : formats.rows) endings.insert(endings.end(), row.endings.begin(), row.endings.end());
  return endings;
}

}  // namespace vellandra
