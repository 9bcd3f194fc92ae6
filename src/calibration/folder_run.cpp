#include "calibration/folder_run.h"

#include <algorithm>

#include "calibration/calibration.h"
#include "calibration/datum_matching.h"
#include "calibration/driver.h"
#include "calibration/fit.h"
#include "calibration/messages.h"
#include "support/numbers.h"
#include "support/paths.h"
#include "support/text.h"
#include "support/user_interface.h"

namespace vellandra {
namespace {

/// Characters of `text`, which is UTF-8.
std::size_t lengthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80; }));
}

}  // namespace

const FolderCells folderCaptions = {"file", "datum", "points", "root mean square", "written", "kept", "why not"};

FolderCells folderCells(const FolderRow& row) {
  std::string whyNot = row.whyNot;
  std::replace(whyNot.begin(), whyNot.end(), '\n', ' ');
  FolderCells cells = {row.file,
                       row.datum,
                       std::to_string(row.points),
                       row.rootMeanSquare ? formatNumber(*row.rootMeanSquare, "###0.00") : "-",
                       std::to_string(row.written),
                       std::to_string(row.kept),
                       whyNot};
  for (std::string& cell : cells) cell = toUtf8(cell);
  return cells;
}

FolderRow convertForFolder(const std::string& path, Answers answers) {
  calibration = Calibration();
  driver = Driver();
  inputDatumName.clear();
  FolderRow row;
  row.file = fileName(path);
  showMessage(row.file);
  row.stopped = runBatch(path, answers) != 0;
  if (row.stopped) row.whyNot = lastTold;
  row.datum = inputDatumName;
  row.points = calibration.pointCount;
  if (driver.transformValid) row.rootMeanSquare = residualsOf(calibration).rootMeanSquare;
  row.written = driver.writtenFiles.size();
  row.kept = driver.keptFiles.size();
  return row;
}

std::vector<std::string> folderTable(const std::vector<FolderRow>& rows) {
  std::vector<FolderCells> table = {folderCaptions};
  for (const FolderRow& row : rows) table.push_back(folderCells(row));
  std::array<std::size_t, 7> widths{};
  for (const FolderCells& cells : table) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      widths[i] = std::max(widths[i], lengthOf(cells[i]));
    }
  }
  std::vector<std::string> lines;
  for (const FolderCells& cells : table) {
    std::string line;
    for (std::size_t i = 0; i < cells.size(); ++i) {
      line += cells[i] + std::string(widths[i] - lengthOf(cells[i]) + 2, ' ');
    }
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  return lines;
}

int runFolder(const std::string& folder, const std::optional<std::vector<std::string>>& calibrations) {
  if (!calibrations) {
    tell("Unable to read folder " + folder);
    return 1;
  }
  std::vector<FolderRow> rows;
  for (const std::string& path : *calibrations) rows.push_back(convertForFolder(path, Answers::kept));
  calibration.message.clear();
  if (rows.empty()) showMessage("There is no calibration in " + folder);
  if (!rows.empty()) {
    for (const std::string& line : folderTable(rows)) showMessage(line);
  }
  return std::any_of(rows.begin(), rows.end(), [](const FolderRow& row) { return row.stopped; }) ? 1 : 0;
}

}  // namespace vellandra
