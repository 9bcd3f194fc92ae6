#include "support/files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "support/errors.h"
#include "support/file_changes.h"
#include "support/threads.h"
#include "support/work.h"

namespace vellandra {
namespace {

constexpr off_t largestTextFile = 256LL * 1024 * 1024;

/// A file descriptor that closes itself.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(other.release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  explicit operator bool() const { return fd_ >= 0; }
  int get() const { return fd_; }
  int release() { return std::exchange(fd_, -1); }

 private:
  int fd_ = -1;
};

bool writeAll(int fd, std::string_view content) {
  while (!content.empty()) {
    const ssize_t count = ::write(fd, content.data(), content.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    content.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

/// Brings the file to the disk. A disk may take seconds, for which a person who cancels does not wait.
bool flush(int fd) {
  const auto own = std::make_shared<Descriptor>(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
  return *own ? leavable([own] { return ::fsync(own->get()) == 0; }) : ::fsync(fd) == 0;
}

bool isSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Whether the open file is still the one under `path`.
bool isNamed(int descriptor, const std::string& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(descriptor, &opened) == 0 && ::lstat(path.c_str(), &named) == 0 && isSameFile(opened, named);
}

std::function<std::vector<std::string>()>& filesInUse() {
  static std::function<std::vector<std::string>()> files;
  return files;
}

bool isInUse(const struct stat& file) {
  if (!filesInUse()) return false;
  const std::vector<std::string> paths = filesInUse()();
  return std::any_of(paths.begin(), paths.end(), [&file](const std::string& path) {
    struct stat used {};
    return ::stat(path.c_str(), &used) == 0 && isSameFile(used, file);
  });
}

/// Where a new `path` is put: the file that a link leads to, so that the link stays. Empty when what is there must not
/// be replaced: anything but a regular file, a link that leads nowhere or to a file in use, and a write-protected file,
/// which could be renamed over all the same.
std::string placeFor(const std::string& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return errno == ENOENT ? path : std::string();
  std::string place = path;
  if (S_ISLNK(status.st_mode)) {
    const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path.c_str(), nullptr), &std::free);
    if (!target || ::stat(target.get(), &status) != 0 || isInUse(status)) return {};
    place = target.get();
  }
  return S_ISREG(status.st_mode) && ::access(place.c_str(), W_OK) == 0 ? place : std::string();
}

/// The mode of the file that is replaced, or the one a new file would have.
mode_t modeOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) return status.st_mode & 07777;
  static const mode_t mask = [] {  // read once: for a moment it is another one for all threads
    const mode_t set = ::umask(0);
    ::umask(set);
    return set;
  }();
  return 0666 & ~mask;
}

/// The hidden names under which files are written in `folder`. Each belongs to the process that has locked its file, so
/// what a killed one leaves is the next one's to take.
constexpr int mostHidden = 32;
std::string hiddenName(const std::string& folder, int number) {
  return folder + ".vellandra-" + std::to_string(number);
}

struct HiddenFile {
  std::string name;
  Descriptor file;
  bool locksWork = true;
};

/// The file under `name`, opened for this process alone; without one when another writes it or it cannot be opened.
HiddenFile openHidden(std::string name, int flags) {
  HiddenFile hidden;
  Descriptor file(::open(name.c_str(), O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, 0600));
  if (!file) return hidden;
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
    hidden.locksWork = errno == EWOULDBLOCK;
    if (!hidden.locksWork) ::unlink(name.c_str());
    return hidden;
  }
  // The process that had it may have put it in its place meanwhile.
  struct stat opened {};
  struct stat named {};
  const bool still = ::fstat(file.get(), &opened) == 0 && ::lstat(name.c_str(), &named) == 0 &&
                     isSameFile(opened, named) && S_ISREG(opened.st_mode) && opened.st_nlink == 1;
  if (still) hidden.file = std::move(file), hidden.name = std::move(name);
  return hidden;
}

/// An empty file of this process in `folder`. What killed processes have left there goes.
HiddenFile newHiddenFile(const std::string& folder) {
  HiddenFile hidden;
  int number = 0;
  while (!hidden.file && hidden.locksWork && number < mostHidden) {
    hidden = openHidden(hiddenName(folder, ++number), O_CREAT);
  }
  if (!hidden.file) {  // a file system without locks
    hidden.name = folder + ".vellandra-XXXXXX";
    hidden.file = Descriptor(::mkostemp(hidden.name.data(), O_CLOEXEC));
    return hidden;
  }
  if (::ftruncate(hidden.file.get(), 0) != 0) {
    ::unlink(hidden.name.c_str());
    return {};
  }
  while (++number <= mostHidden) {
    const HiddenFile left = openHidden(hiddenName(folder, number), 0);
    if (left.file) ::unlink(left.name.c_str());
  }
  return hidden;
}

/// A new file beside the name it is for. Removed again unless it is put in its place.
class PreparedFile {
 public:
  explicit PreparedFile(const std::string& path) : place_(placeFor(path)) {
    if (place_.empty()) return;
    hidden_ = newHiddenFile(place_.substr(0, place_.rfind('/') + 1));
    // Memory cards know no modes and refuse them, which does not matter there.
    if (hidden_.file) (void)::fchmod(hidden_.file.get(), modeOf(place_));
  }
  PreparedFile(const PreparedFile&) = delete;
  PreparedFile& operator=(const PreparedFile&) = delete;
  ~PreparedFile() {
    if (hidden_.file) ::unlink(hidden_.name.c_str());
  }

  const std::string& place() const { return place_; }

  /// False when not all of `content` comes to the disk. Throws Cancelled.
  bool write(std::string_view content) {
    constexpr std::size_t piece = std::size_t{4} << 20;
    for (std::string_view rest = content; hidden_.file && !rest.empty();
         rest.remove_prefix(std::min(piece, rest.size()))) {
      endIfCancelled();
      if (!writeAll(hidden_.file.get(), rest.substr(0, piece))) return false;
    }
    endIfCancelled();
    return hidden_.file && flush(hidden_.file.get());
  }

  /// The descriptor of the file, which has its place now or is held back for it; none when that fails.
  Descriptor putInPlace() noexcept {
    if (!hidden_.file || !FileChanges::put(hidden_.name, place_)) return {};
    return std::move(hidden_.file);
  }
  /// In its place at once.
  bool replace() noexcept {
    if (!hidden_.file || ::rename(hidden_.name.c_str(), place_.c_str()) != 0) return false;
    hidden_.file = Descriptor();
    return true;
  }

 private:
  std::string place_;
  HiddenFile hidden_;
};

enum class Exchange { done, fileFailed, companionFailed };

/// Puts both in their places. Nothing here needs memory, whose lack would stop it half-way.
Exchange exchange(PreparedFile& file, PreparedFile& companion, const std::string& old) noexcept {
  const char* const place = companion.place().c_str();
  const bool aside = ::rename(place, old.c_str()) == 0;
  if (!aside && errno != ENOENT) return Exchange::companionFailed;
  if (!file.replace()) {
    if (aside) (void)::rename(old.c_str(), place);
    return Exchange::fileFailed;
  }
  return companion.replace() ? Exchange::done : Exchange::companionFailed;
}

}  // namespace

TextFile::TextFile(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) throw FileError(path + ": " + std::strerror(errno));
  if (!S_ISREG(status.st_mode)) throw FileError(path + " is not a file");
  if (status.st_size > largestTextFile) throw FileError(path + " is too large for a calibration");
  content_.resize(static_cast<std::size_t>(status.st_size));
  constexpr std::size_t piece = std::size_t{4} << 20;
  std::size_t filled = 0;
  while (filled < content_.size()) {
    endIfCancelled();
    const ssize_t count = ::read(file.get(), content_.data() + filled, std::min(piece, content_.size() - filled));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) throw FileError(path + ": " + std::strerror(errno));
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  content_.resize(filled);
  if (content_.ends_with('\x1A')) content_.pop_back();  // the end mark of some programs
  if (content_.starts_with("\xEF\xBB\xBF")) position_ = 3;
}

bool getline(TextFile& file, std::string_view& line) {
  const std::string& content = file.content_;
  if (file.position_ >= content.size()) return false;
  endIfCancelled();
  std::size_t end = file.position_;  // a plain loop: find_first_of takes twice as long, and inputs may be huge
  while (end < content.size() && content[end] != '\r' && content[end] != '\n') ++end;
  line = std::string_view(content).substr(file.position_, end - file.position_);
  if (end == content.size()) {
    file.position_ = end;
  } else {
    const bool two = content[end] == '\r' && end + 1 < content.size() && content[end + 1] == '\n';
    file.position_ = end + (two ? 2 : 1);
  }
  return true;
}

bool fileExists(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
}

bool makeFolder(const std::string& path) {
  struct stat status {};
  FileChanges::noteFolder(path);
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  return errno == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void setFilesInUse(std::function<std::vector<std::string>()> files) {
  filesInUse() = std::move(files);
}

bool writeWholeFile(const std::string& path, std::string_view content) {
  PreparedFile file(path);
  return file.write(content) && file.putInPlace();
}

std::function<bool()> prepareWholeFile(const std::string& path, std::string_view content) {
  const auto file = std::make_shared<PreparedFile>(path);
  const bool written = file->write(content);
  return [file, written] { return written && file->putInPlace(); };
}

std::string writeWithCompanion(const FileContent& file, const FileContent& companion) {
  PreparedFile newFile(file.path);
  if (!newFile.write(file.content)) return file.path;
  PreparedFile newCompanion(companion.path);
  if (!newCompanion.write(companion.content)) return companion.path;
  settleWork();
  // The companion is missing for a moment: a file without one is incomplete, with the wrong one it would mislead. Of a
  // program that ends just then, the old one is found under a name that can be seen.
  const std::string old = newCompanion.place() + ".vellandra-old";
  switch (exchange(newFile, newCompanion, old)) {
    case Exchange::fileFailed:
      return file.path;
    case Exchange::companionFailed:
      return companion.path;
    case Exchange::done:
      break;
  }
  ::unlink(old.c_str());
  return {};
}

HeldFile::~HeldFile() {
  const Descriptor closed(descriptor_);
}

bool HeldFile::create() {
  return hold(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
}

bool HeldFile::takeOver() {
  return hold(::open(path_.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

bool HeldFile::hold(int descriptor) {
  Descriptor file(descriptor);
  if (!file || (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)) return false;
  // Before the lock another process may have put a new one in its place, or taken it away.
  if (!isNamed(file.get(), path_)) return false;
  const Descriptor before(std::exchange(descriptor_, file.release()));
  return true;
}

bool HeldFile::write(std::string_view content) {
  PreparedFile file(path_);
  if (!file.write(content)) return false;
  Descriptor written = file.putInPlace();
  if (!written) return false;
  const Descriptor before(std::exchange(descriptor_, written.release()));
  return true;
}

void HeldFile::remove() {
  const Descriptor closed(std::exchange(descriptor_, -1));
  if (closed && isNamed(closed.get(), path_)) ::unlink(path_.c_str());
}

GrowingFile::GrowingFile(std::string path) : path_(std::move(path)) {
  descriptor_ = PreparedFile(path_).putInPlace().release();
}

GrowingFile::~GrowingFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool GrowingFile::add(std::string_view text) const {
  return *this && writeAll(descriptor_, text);
}

bool GrowingFile::close() {
  if (!*this) return false;
  const bool flushed = flush(descriptor_);
  return ::close(std::exchange(descriptor_, -1)) == 0 && flushed;
}

}  // namespace vellandra
