#include "support/file_changes.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <future>
#include <memory>
#include <system_error>

#include "support/threads.h"

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
  (void)putInPlace();
}

bool FileChanges::put(const std::string& hidden, const std::string& place) noexcept {
  try {
    return current == nullptr ? ::rename(hidden.c_str(), place.c_str()) == 0 : current->hold(hidden, place);
  } catch (const std::exception&) {
    return false;
  }
}

void FileChanges::noteFolder(const std::string& path) {
  if (current != nullptr && !isThere(path)) current->folders_.push_back(path);
}

std::string FileChanges::putHeldInPlace() noexcept {
  return current == nullptr ? std::string() : current->putInPlace();
}

bool FileChanges::hold(const std::string& hidden, const std::string& place) {
  const HoldingFolder& folder = holdingFolderIn(folderFor(place));
  if (folder.lock < 0) return false;
  held_.emplace_back(folder.path + "/" + std::to_string(held_.size()), place);
  if (::rename(hidden.c_str(), held_.back().first.c_str()) == 0) return true;
  held_.pop_back();
  return false;
}

/// The nearest one around `place` that was there before.
std::string FileChanges::folderFor(const std::string& place) const {
  std::string folder = place.substr(0, place.rfind('/') + 1);
  const auto isNew = [&] { return std::ranges::find(folders_, folder.substr(0, folder.size() - 1)) != folders_.end(); };
  while (folder.size() > 1 && isNew()) folder.resize(folder.rfind('/', folder.size() - 2) + 1);
  return folder;
}

const FileChanges::HoldingFolder& FileChanges::holdingFolderIn(const std::string& folder) {
  HoldingFolder& holding = holding_[folder];
  for (int number = 1; holding.lock < 0; ++number) {
    holding.path = folder + ".vellandra-new-" + std::to_string(number);
    if (::mkdir(holding.path.c_str(), 0700) != 0 && errno != EEXIST) break;
    holding.lock = ::open(holding.path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (holding.lock < 0) break;
    if (::flock(holding.lock, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) continue;
    ::close(holding.lock);  // another process is at work in this folder
    holding.lock = -1;
  }
  return holding;
}

std::string FileChanges::putInPlace() noexcept {
  std::string failed;
  for (const auto& [file, place] : held_) {
    if (::rename(file.c_str(), place.c_str()) != 0 && failed.empty()) failed = place;
  }
  held_.clear();
  folders_.clear();
  std::error_code error;
  for (const auto& [folder, holding] : holding_) {
    fs::remove_all(holding.path, error);
    ::close(holding.lock);
  }
  holding_.clear();
  return failed;
}

void FileChanges::takeBack() {
  std::for_each(folders_.rbegin(), folders_.rend(), [](const std::string& folder) { (void)::rmdir(folder.c_str()); });
  folders_.clear();
  held_.clear();
  // A disk that is busy takes its time with thousands of files, for which nobody has to wait that long.
  constexpr std::chrono::milliseconds most{300};
  const auto remove = std::make_shared<std::packaged_task<void()>>([holding = std::move(holding_)] {
    std::error_code error;
    for (const auto& [folder, kept] : holding) {
      fs::remove_all(kept.path, error);
      ::close(kept.lock);
    }
  });
  holding_.clear();
  const std::future<void> removed = remove->get_future();
  if (startLeavable([remove] { (*remove)(); })) {
    (void)removed.wait_for(most);
  } else {
    (*remove)();
  }
}

}  // namespace vellandra
