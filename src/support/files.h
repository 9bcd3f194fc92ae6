#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vellandra {

/// A text file read whole, then given out line by line. A UTF-8 byte-order mark is skipped; CR LF, LF and CR end a
/// line.
class TextFile {
 public:
  /// Throws FileError when `path` is no regular file, cannot be read, or is larger than any calibration can be (256
  /// MB); Cancelled, as reading its lines does.
  explicit TextFile(const std::string& path);
  const std::string& content() const { return content_; }

 private:
  friend bool getline(TextFile& file, std::string_view& line);
  std::string content_;
  std::size_t position_ = 0;
};

/// Reads the next line of `file` into `line`, without its end-of-line characters; false behind the last line. The view
/// lives as long as `file`.
bool getline(TextFile& file, std::string_view& line);

bool fileExists(const std::string& path);

/// Makes the folder `path` unless it is there; false when there is none afterwards. The folder around it must exist.
bool makeFolder(const std::string& path);

/// The files that the running command reads, as `files` gives them when a file is written: no link leads a write to
/// them.
void setFilesInUse(std::function<std::vector<std::string>()> files);

/// Writes `content` to `path` so that the file appears whole or not at all: written beside its name, flushed, renamed
/// over it. A regular file is replaced, a link to one stays a link; anything else that is there, such as a device, is
/// left alone. Returns false on failure, with what was there intact.
bool writeWholeFile(const std::string& path, std::string_view content);

/// The first part of `writeWholeFile`, up to the flushing, which takes most of the time; can be called from several
/// threads at once. What it returns puts the file in its place, false on failure; dropped uncalled, it takes the file
/// away.
std::function<bool()> prepareWholeFile(const std::string& path, std::string_view content);

struct FileContent {
  std::string path;
  std::string_view content;
};

/// Writes `file` and `companion`, which says something about it, so that neither is ever there beside the other's old
/// version: both are written beside their names and flushed before either takes its name's place. Returns the path that
/// cannot be written, with both old files intact; empty on success. Only when the very last renaming fails, or the
/// program ends between two of them, is there no companion: the old one is then in its path with ".vellandra-old". Work
/// under way cannot be cancelled any more when the first one is renamed.
std::string writeWithCompanion(const FileContent& file, const FileContent& companion);

/// A file that this process keeps up to date. From its first writing on it is locked until the process ends, however
/// that happens, so that another one can tell it from what a process that is no more has left.
class HeldFile {
 public:
  explicit HeldFile(std::string path) : path_(std::move(path)) {}
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
  ~HeldFile();  ///< gives the lock up; the file stays
  const std::string& path() const { return path_; }
  /// Makes an empty file, so that no other process takes the name. False when something is there, or none can be made.
  bool create();
  /// Makes what a process that is no more has left this one's. False when nothing is there, or another one's.
  bool takeOver();
  /// Writes the file as `writeWholeFile` does.
  bool write(std::string_view content);
  /// Takes the file away when it is held.
  void remove();

 private:
  bool hold(int descriptor);

  std::string path_;
  int descriptor_ = -1;
};

/// A file that grows while a command works: a new one takes the place of what was there when it is opened, by the rules
/// of `writeWholeFile`, and what is added is in it at once, however the command ends.
class GrowingFile {
 public:
  explicit GrowingFile(std::string path);
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;
  ~GrowingFile();
  const std::string& path() const { return path_; }
  explicit operator bool() const { return descriptor_ >= 0; }
  /// False when not all of `text` can be written.
  bool add(std::string_view text) const;
  /// Flushes the file and closes it; false when a part of it cannot be written. Throws Cancelled.
  bool close();

 private:
  std::string path_;
  int descriptor_ = -1;
};

}  // namespace vellandra
