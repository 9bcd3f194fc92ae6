#pragma once

#include <filesystem>
#include <string>

namespace vellandra {

/// A new empty folder of one test, removed with all it holds; several tests run at a time.
class TestFolder {
 public:
  TestFolder() {
    std::string pattern = std::filesystem::temp_directory_path() / "vellandra-test-XXXXXX";
    path_ = std::string(mkdtemp(pattern.data())) + "/";
  }
  ~TestFolder() { std::filesystem::remove_all(path_); }
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  /// Ends in "/".
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace vellandra
