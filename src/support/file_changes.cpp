#include "support/file_changes.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>

#include <cerrno>
#include <exception>
#include <filesystem>
#include <system_error>

namespace vellandra {
namespace {

namespace fs = std::filesystem;

FileChanges* current = nullptr;

bool isThere(const std::string& path) {
  struct stat status {};
  return ::lstat(path.c_str(), &status) == 0;
}

}  // namespace

FileChanges::FileChanges() : outer_(current) {
  current = this;
}

FileChanges::~FileChanges() {
  current = outer_;
  std::error_code error;
  for (const auto& [folder, keeping] : keeping_) {
    fs::remove_all(keeping.path, error);
    ::close(keeping.lock);
  }
}

void FileChanges::takeBack() {
  std::for_each(changes_.rbegin(), changes_.rend(), [](const auto& change) {
    const auto& [path, was] = change;
    if (!was.kept.empty()) {
      (void)::rename(was.kept.c_str(), path.c_str());
    } else {
      (void)(was.isFolder ? ::rmdir(path.c_str()) : ::unlink(path.c_str()));
    }
  });
  changes_.clear();
}

std::string FileChanges::newKeptName(const std::string& folder) {
  KeepingFolder& keeping = keeping_[folder];
  for (int number = 1; keeping.lock < 0; ++number) {
    keeping.path = folder + ".vellandra-kept-" + std::to_string(number);
    if (::mkdir(keeping.path.c_str(), 0700) != 0 && errno != EEXIST) return {};
    keeping.lock = ::open(keeping.path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (keeping.lock < 0) return {};
    if (::flock(keeping.lock, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) continue;
    ::close(keeping.lock);  // another process is at work in this folder
    keeping.lock = -1;
  }
  return keeping.path + "/" + std::to_string(changes_.size());
}

bool FileChanges::noteFile(const std::string& path) noexcept {
  try {
    return current == nullptr || current->note(path);
  } catch (const std::exception&) {
    return false;
  }
}

bool FileChanges::note(const std::string& path) {
  if (changes_.contains(path)) return true;
  Change change;
  if (isThere(path)) {
    change.kept = newKeptName(path.substr(0, path.rfind('/') + 1));
    if (change.kept.empty()) return false;
    // A second name for it; a copy where file systems know no such thing.
    (void)::unlink(change.kept.c_str());
    std::error_code error;
    if (::link(path.c_str(), change.kept.c_str()) != 0) fs::copy_file(path, change.kept, error);
    if (error) return false;
  }
  changes_.emplace(path, change);
  return true;
}

bool FileChanges::noteFolder(const std::string& path) {
  if (current != nullptr && !isThere(path)) current->changes_.emplace(path, Change{{}, true});
  return true;
}

}  // namespace vellandra
