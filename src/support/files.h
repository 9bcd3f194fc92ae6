#pragma once

#include <string>
#include <string_view>

namespace vellandra {

/// A text file read whole, then given out line by line. A UTF-8 byte-order mark is skipped; CR LF, LF and CR end a
/// line.
class TextFile {
 public:
  /// Throws FileError when `path` is no regular file, cannot be read, or is larger than any calibration can be (256
  /// MB).
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

/// Writes `content` to `path` so that the file appears whole or not at all: written beside its name, flushed, renamed
/// over it. Returns false on failure, with an old file of that name intact.
bool writeWholeFile(const std::string& path, std::string_view content);

}  // namespace vellandra
