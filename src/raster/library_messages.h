#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vellandra {

/// Gathers what the image libraries say while one file is worked on, on the thread that it was made on. A damaged file
/// can cause a message a line, so the log gets the first few and their number.
class LibraryMessages {
 public:
  /// Into the log, behind `path`.
  explicit LibraryMessages(std::string path);
  /// Into `collected` instead of the log, which belongs to one thread.
  explicit LibraryMessages(std::vector<std::string>& collected);
  LibraryMessages(const LibraryMessages&) = delete;
  LibraryMessages& operator=(const LibraryMessages&) = delete;
  ~LibraryMessages();

  /// To the innermost of these that lives, else to the log. Called from inside C code, which an exception must not
  /// pass through.
  static void add(std::string_view text) noexcept;

  /// What was said last to the innermost of these that lives; empty for nothing.
  static std::string last();

 private:
  void write(const std::string& text);

  static thread_local LibraryMessages* current_;
  std::string path_, last_;
  std::vector<std::string>* collected_ = nullptr;
  LibraryMessages* outer_;
  int count_ = 0;
};

/// To `LibraryMessages`: libtiff would write what it says to the terminal, past the library that calls it.
void divertTiffMessages();

}  // namespace vellandra
