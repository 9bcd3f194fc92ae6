#include "support/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

#include "support/errors.h"

namespace vellandra {
namespace {

constexpr off_t largestTextFile = 256LL * 1024 * 1024;

/// A file descriptor that closes itself.
class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  int get() const { return fd_; }
  /// The result of closing: the last moment at which a write can turn out to have failed.
  bool close() {
    const int fd = fd_;
    fd_ = -1;
    return ::close(fd) == 0;
  }

 private:
  int fd_;
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

/// Where a rename must go so that a symbolic link stays a link.
std::string linkTarget(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> target(::realpath(path.c_str(), nullptr), &std::free);
  return target ? target.get() : path;
}

/// The mode of the file that is replaced, or the one a new file would have.
mode_t modeOf(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

/// A writer may rename over a file it could not have opened for writing: that would replace a write-protected file. A
/// folder could be renamed as well.
bool isProtected(const std::string& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  return S_ISDIR(status.st_mode) || ::access(path.c_str(), W_OK) != 0;
}

/// A file's new content, flushed to the disk beside its name. Removed again unless it is put in its place.
class PreparedFile {
 public:
  PreparedFile(const std::string& path, std::string_view content) : target_(linkTarget(path)) {
    if (isProtected(path)) return;
    std::string name = target_.substr(0, target_.rfind('/') + 1) + ".vellandra-XXXXXX";
    Descriptor file(::mkostemp(name.data(), O_CLOEXEC));
    if (file.get() < 0) return;
    prepared_ = std::move(name);
    // Memory cards know no modes and refuse them, which does not matter there.
    (void)::fchmod(file.get(), modeOf(path));
    complete_ = writeAll(file.get(), content) && ::fsync(file.get()) == 0 && file.close();
  }
  PreparedFile(const PreparedFile&) = delete;
  PreparedFile& operator=(const PreparedFile&) = delete;
  ~PreparedFile() {
    if (!prepared_.empty()) ::unlink(prepared_.c_str());
  }

  explicit operator bool() const { return complete_; }

  /// Where the old file is then, empty when there is none or it cannot be moved.
  std::string setOldAside() const {
    std::string aside = prepared_ + "-old";
    return ::rename(target_.c_str(), aside.c_str()) == 0 ? aside : std::string();
  }
  void bringBack(const std::string& aside) const {
    if (!aside.empty()) (void)::rename(aside.c_str(), target_.c_str());
  }

  bool putInPlace() {
    if (!complete_ || ::rename(prepared_.c_str(), target_.c_str()) != 0) return false;
    prepared_.clear();
    return true;
  }

 private:
  std::string target_, prepared_;
  bool complete_ = false;
};

}  // namespace

TextFile::TextFile(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (file.get() < 0 || ::fstat(file.get(), &status) != 0) throw FileError(path + ": " + std::strerror(errno));
  if (!S_ISREG(status.st_mode)) throw FileError(path + " is not a file");
  if (status.st_size > largestTextFile) throw FileError(path + " is too large for a calibration");
  content_.resize(static_cast<std::size_t>(status.st_size));
  std::size_t filled = 0;
  while (filled < content_.size()) {
    const ssize_t count = ::read(file.get(), content_.data() + filled, content_.size() - filled);
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
  if (::mkdir(path.c_str(), 0777) == 0) return true;
  return errno == EEXIST && ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool writeWholeFile(const std::string& path, std::string_view content) {
  return PreparedFile(path, content).putInPlace();
}

std::string writeWithCompanion(const FileContent& file, const FileContent& companion) {
  PreparedFile newFile(file.path, file.content);
  if (!newFile) return file.path;
  PreparedFile newCompanion(companion.path, companion.content);
  if (!newCompanion) return companion.path;
  // The companion is missing for a moment: a file without one is incomplete, with the wrong one it would mislead.
  const std::string old = newCompanion.setOldAside();
  if (old.empty() && fileExists(companion.path)) return companion.path;
  if (!newFile.putInPlace()) {
    newCompanion.bringBack(old);
    return file.path;
  }
  const bool done = newCompanion.putInPlace();
  if (!old.empty()) ::unlink(old.c_str());
  return done ? std::string() : companion.path;
}

GrowingFile::GrowingFile(std::string path)
    : path_(std::move(path)),
      descriptor_(::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, 0666)) {}

GrowingFile::~GrowingFile() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

bool GrowingFile::add(std::string_view text) const {
  return *this && writeAll(descriptor_, text);
}

bool GrowingFile::close() {
  if (!*this) return false;
  const int descriptor = std::exchange(descriptor_, -1);
  const bool flushed = ::fsync(descriptor) == 0;
  return ::close(descriptor) == 0 && flushed;
}

}  // namespace vellandra
