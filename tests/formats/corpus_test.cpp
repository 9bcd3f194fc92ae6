#include "core_fixture.h"
#include "harness.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// Every input is put through the program as the fuzz targets do it.
class CorpusTest : public testing::TestWithParam<std::string> {
 protected:
  void replay(const std::string& name, std::string_view input) {
    const Harness::Verdict verdict = harness_.run(input);
    EXPECT_EQ(verdict.fault, "") << name;
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

/// Folders of the corpus: one for every format that is read, under one of its endings, and those of other files.
std::vector<std::string> kinds() {
  std::vector<std::string> kinds = {"datums", "ini", "images", "sequences", "positions", "gpx"};
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
