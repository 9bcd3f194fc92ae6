#include <chrono>

#include "core_fixture.h"
#include "harness.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds longestConversion(10);  // also under the sanitizers on a busy machine

/// Every input is put through the program as the fuzz targets do it.
class CorpusTest : public testing::TestWithParam<std::string> {
 protected:
  void replay(const std::string& name, std::string_view input) {
    const auto start = std::chrono::steady_clock::now();
    const Harness::Verdict verdict = harness_.run(input);
    EXPECT_EQ(verdict.fault, "") << name;
    EXPECT_LT(std::chrono::steady_clock::now() - start, longestConversion) << name;
    converted_ += verdict.converted ? 1 : 0;
  }

  const std::string kind_ = GetParam();
  const std::string corpus_ = SOURCE_FOLDER "/fuzz/corpus/" + kind_;
  Harness harness_{kind_};
  int converted_ = 0;
};

TEST_P(CorpusTest, NoInputBringsTheProgramDown) {
  for (const auto& entry : fs::directory_iterator(corpus_)) replay(entry.path(), contentOf(entry.path()));
  for (const auto& entry : fs::recursive_directory_iterator(SOURCE_FOLDER "/samples")) {
    const FormatRow* format = formatOf(entry.path());
    if (format != nullptr && format == formatOf("." + kind_)) replay(entry.path(), contentOf(entry.path()));
  }
  EXPECT_GT(converted_, 0) << "the corpus never gets as far as the writers";
}

std::string repeated(const std::string& text, std::size_t length) {
  std::string result;
  while (result.size() < length) result += text;
  return result;
}

TEST_P(CorpusTest, HugeInputsTakeNoLongerThanTheyAreLong) {
  replay("a seed over and over", repeated(contentOf(fs::directory_iterator(corpus_)->path()), 8 * 1024 * 1024));
  replay("empty lines", std::string(2'000'000, '\n'));
  replay("one line of digits", std::string(8'000'000, '9'));
  replay("one line of separators", repeated(",=;# ", 7'500'000));
  replay("zero bytes", std::string(4'000'000, '\0'));
}

/// Folders of the corpus: one for every format that is read, under one of its endings, and those of other files.
std::vector<std::string> kinds() {
  std::vector<std::string> kinds = {"datums", "ini"};
  for (const FormatRow& format : formatRows()) {
    std::string kind;
    for (const Ending& ending : format.endings) {
      const bool isThere = fs::exists(std::string(SOURCE_FOLDER "/fuzz/corpus/") + ending.extension);
      if (kind.empty() || isThere) kind = ending.extension;
    }
    if (!kind.empty()) kinds.push_back(kind);
  }
  return kinds;
}

INSTANTIATE_TEST_SUITE_P(Kinds, CorpusTest, testing::ValuesIn(kinds()), [](const auto& kind) { return kind.param; });

}  // namespace
}  // namespace vellandra
