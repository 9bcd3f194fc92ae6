#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "calibration/session.h"

namespace vellandra {

/// What became of one calibration of a folder: a row of the table that ends a run over the folder.
struct FolderRow {
  std::string file;                      ///< name in the folder
  std::string datum;                     ///< of the input, as it is shown; empty when the run stopped before
  int points = 0;                        ///< tie points that the fit took
  std::optional<double> rootMeanSquare;  ///< of their residuals, in pixels; nothing when there is no fit
  std::size_t written = 0, kept = 0;     ///< files
  bool stopped = false;
  std::string whyNot;  ///< why it stopped
};

/// Converts the calibration `path` and writes every output, as a batch of its own would: of the calibration before
/// nothing is left, and the panel starts empty. The map that was open is lost.
FolderRow convertForFolder(const std::string& path, Answers answers);

/// What a row shows, UTF-8, in the order of `folderCaptions`.
using FolderCells = std::array<std::string, 7>;
extern const FolderCells folderCaptions;
FolderCells folderCells(const FolderRow& row);

/// The table, a line each, columns under their captions.
std::vector<std::string> folderTable(const std::vector<FolderRow>& rows);

/// Converts `calibrations`, the files of `folder` in their order (nothing for a folder that cannot be read), and shows
/// the table at the end. Returns the exit status: 1 when one of them stopped.
int runFolder(const std::string& folder, const std::optional<std::vector<std::string>>& calibrations);

}  // namespace vellandra
