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

/// A writer may rename over a file it could not have opened for writing: that would replace a write-protected file.
bool isProtected(const std::string& path) {
  return fileExists(path) && ::access(path.c_str(), W_OK) != 0;
}

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
  if (isProtected(path)) return false;
  const std::string target = linkTarget(path);
  std::string prepared = target.substr(0, target.rfind('/') + 1) + ".vellandra-XXXXXX";
  Descriptor file(::mkostemp(prepared.data(), O_CLOEXEC));
  if (file.get() < 0) return false;
  // Memory cards know no modes and refuse them, which does not matter there.
  (void)::fchmod(file.get(), modeOf(path));
  const bool written = writeAll(file.get(), content) && ::fsync(file.get()) == 0 && file.close();
  if (written && ::rename(prepared.c_str(), target.c_str()) == 0) return true;
  ::unlink(prepared.c_str());
  return false;
}

}  // namespace vellandra
