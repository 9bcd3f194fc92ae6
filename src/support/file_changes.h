#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/errors.h"
#include "support/user_interface.h"
#include "support/work.h"

namespace vellandra {

/// Holds the new files of `support/files.h` back from its beginning on, so that a command that is cancelled has
/// replaced none. The innermost one that lives does; one thread writes at a time. What it holds at its end goes to its
/// places.
class FileChanges {
 public:
  FileChanges();
  FileChanges(const FileChanges&) = delete;
  FileChanges& operator=(const FileChanges&) = delete;
  ~FileChanges();

  /// Nothing of it stays: no file that is held back, no new folder.
  void takeBack();

  /// Puts the file `hidden` in its `place`, later when it is held back. False when it cannot be.
  static bool put(const std::string& hidden, const std::string& place) noexcept;
  /// To be called before the folder `path` is made.
  static void noteFolder(const std::string& path);

  /// All that is held back by now goes to its places, in the order in which it came. Returns the first place that is
  /// not to be had; empty on success.
  static std::string putHeldInPlace() noexcept;

 private:
  /// A hidden folder that holds files, locked while they are in it: what a killed process has left there goes.
  struct HoldingFolder {
    std::string path;
    int lock = -1;
  };
  bool hold(const std::string& hidden, const std::string& place);
  std::string folderFor(const std::string& place) const;
  const HoldingFolder& holdingFolderIn(const std::string& folder);
  std::string putInPlace() noexcept;

  FileChanges* outer_;
  std::vector<std::pair<std::string, std::string>> held_;  ///< where each file is, and its place
  std::vector<std::string> folders_;                       ///< made meanwhile
  std::map<std::string, HoldingFolder> holding_;
};

/// The result of `task`, its files in their places. When it is cancelled, every file is as it was before. Throws
/// RunTimeError when a file cannot go to its place.
template <typename Task>
auto leavingNothingWhenCancelled(const Task& task) -> decltype(task()) {
  FileChanges changes;
  try {
    auto result = task();
    if (const std::string unplaced = FileChanges::putHeldInPlace(); !unplaced.empty()) {
      throw RunTimeError("unable to write " + unplaced, "");
    }
    return result;
  } catch (const Cancelled&) {
    runWork("Ending", [&changes] { changes.takeBack(); });
    throw;
  }
}

}  // namespace vellandra
