#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "core_fixture.h"
#include "harness.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds longestConversion(10);  // also under the sanitizers on a busy machine

/// Every input is put through the program as the fuzz targets do it.
class CorpusTest : public testing::TestWithParam<const char*> {
 protected:
  void replay(const std::string& name, std::string_view input) {
    const auto start = std::chrono::steady_clock::now();
    const Harness::Verdict verdict = harness_.run(input);
    EXPECT_EQ(verdict.fault, "") << name;
    EXPECT_LT(std::chrono::steady_clock::now() - start, longestConversion) << name;
    converted_ += verdict.converted ? 1 : 0;
  }

  bool isKind(const fs::path& path) const {
    const std::string extension = path.extension();
    return extension == std::string(".") + GetParam() ||
           (std::string(GetParam()) == "tfw" && (extension == ".jgw" || extension == ".pgw"));
  }

  Harness harness_{GetParam()};
  int converted_ = 0;
};

TEST_P(CorpusTest, NoInputBringsTheProgramDown) {
  for (const auto& entry : fs::directory_iterator(SOURCE_FOLDER "/fuzz/corpus/" + std::string(GetParam()))) {
    replay(entry.path(), contentOf(entry.path()));
  }
  for (const auto& entry : fs::recursive_directory_iterator(SOURCE_FOLDER "/samples")) {
    if (isKind(entry.path())) replay(entry.path(), contentOf(entry.path()));
  }
  EXPECT_GT(converted_, 0) << "the corpus never gets as far as the writers";
}

std::string repeated(const std::string& text, int times) {
  std::string result;
  for (int i = 0; i < times; ++i) result += text;
  return result;
}

TEST_P(CorpusTest, HugeInputsTakeNoLongerThanTheyAreLong) {
  const std::string folder = SOURCE_FOLDER "/fuzz/corpus/" + std::string(GetParam());
  const std::string seed = contentOf(fs::directory_iterator(folder)->path());
  replay("a seed over and over", repeated(seed, 8 * 1024 * 1024 / static_cast<int>(seed.size())));
  replay("empty lines", std::string(2'000'000, '\n'));
  replay("one line of digits", std::string(8'000'000, '9'));
  replay("one line of separators", repeated(",=;# ", 1'500'000));
  replay("zero bytes", std::string(4'000'000, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Kinds, CorpusTest,
                         testing::Values("map", "tfw", "jpr", "cal", "gux", "imp", "gmi", "mcd", "datums", "ini"),
                         [](const auto& kind) { return std::string(kind.param); });

}  // namespace
}  // namespace vellandra
