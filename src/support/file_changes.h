#pragma once

#include <map>
#include <string>

#include "support/work.h"

namespace vellandra {

/// Keeps what the files of `support/files.h` replace from its beginning on, so that it can be put back. The innermost
/// one that lives keeps; one thread writes at a time. What it kept goes with its owner: the new files then stay.
class FileChanges {
 public:
  FileChanges();
  FileChanges(const FileChanges&) = delete;
  FileChanges& operator=(const FileChanges&) = delete;
  ~FileChanges();

  /// All is as it was: new files and folders go, old files are back in their places.
  void takeBack();

  // To be called before `path` is replaced or made; false when what is there cannot be kept.
  static bool noteFile(const std::string& path) noexcept;
  static bool noteFolder(const std::string& path);

 private:
  struct Change {
    std::string kept;  ///< where the old file is meanwhile; empty when there was none
    bool isFolder = false;
  };
  /// A hidden folder beside the files it keeps, locked while they are in it: what a killed process has left there goes.
  struct KeepingFolder {
    std::string path;
    int lock = -1;
  };
  bool note(const std::string& path);
  std::string newKeptName(const std::string& folder);

  FileChanges* outer_;
  std::map<std::string, Change> changes_;  ///< by path, so that folders come before what is in them
  std::map<std::string, KeepingFolder> keeping_;
};

/// The result of `task`. When it is cancelled, every file is as it was before.
template <typename Task>
auto leavingNothingWhenCancelled(const Task& task) -> decltype(task()) {
  FileChanges changes;
  try {
    return task();
  } catch (const Cancelled&) {
    changes.takeBack();
    throw;
  }
}

}  // namespace vellandra
