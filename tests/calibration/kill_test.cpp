#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <set>

#include "map_fixture.h"
#include "support/files.h"

namespace vellandra {
namespace {

/// Programs that are killed in the middle of their work, VELLANDRA_KILLS times each.
class KillTest : public MapTest {
 protected:
  /// Runs `work` over and over in a process of its own until that is killed; then `isWhole` must hold, with at most
  /// `mostTemporary` temporary files. A run to its end takes those away.
  template <typename Work, typename Check>
  void kill(const Work& work, const Check& isWhole, int mostTemporary = 1) {
    const char* wanted = std::getenv("VELLANDRA_KILLS");
    const int kills = wanted != nullptr ? std::atoi(wanted) : 50;
    std::mt19937 random(7);
    for (int i = 0; i < kills; ++i) {
      const pid_t child = ::fork();
      while (child == 0) work();
      ::usleep(static_cast<useconds_t>(random() % 20'000));
      ::kill(child, SIGKILL);
      ::waitpid(child, nullptr, 0);
      ASSERT_TRUE(isWhole()) << i;
      ASSERT_LE(temporaryFiles(), mostTemporary) << i;
    }
    work();
    EXPECT_EQ(temporaryFiles(), 0);
  }

  long temporaryFiles() const {
    return std::ranges::count_if(files(), [](const auto& file) { return file.first.starts_with(".vellandra"); });
  }
};

TEST_F(KillTest, EveryFileIsOfOneRun) {
  writeTestFile(folder + "calconv.ini", "Warnoverwrite=False\ndatumstxt=" SOURCE_FOLDER "/data/datums.txt\n");
  const std::string first = folder + "area.gux";
  const std::string second = folder + "area.imp";
  writeTestFile(first, "M E WGS 84\nS CalPoint1 = DEG = N50.5 E11 = 10 10\nS CalPoint2 = DEG = N50 E13 = 390 290\n");
  writeTestFile(second, "Coordinates=1\nP0=10,10,A,12,50.5\nP1=390,290,A,13,50\n");
  const auto run = [](const std::string& input) {
    startSession();
    preferences.sevenZipPath = input;
    return writePreferences() ? runBatch(input) : 1;
  };
  const auto present = [this] {
    auto content = files();
    content["calconv.ini"] = written("calconv.ini");
    return content;
  };
  std::map<std::string, std::set<std::string>> whole;
  for (const std::string& input : {first, second}) {
    ASSERT_EQ(run(input), 0) << calibration.message;
    for (const auto& [name, content] : present()) whole[name].insert(content);
  }
  EXPECT_EQ(whole["area.map"].size() + whole["calconv.ini"].size(), 4U);
  kill([&] { run(first), run(second); },
       [&] {
         return std::ranges::all_of(present(), [&](const auto& file) {
           return file.first.starts_with(".") || whole[file.first].contains(file.second);
         });
       });
}

TEST_F(KillTest, PictureIsNeverBesideAnotherOnesCalibration) {
  const auto saveBoth = [this] {
    for (const char* content : {"1", "2"}) {
      EXPECT_EQ(writeWithCompanion({folder + "a.png", content}, {folder + "a.map", content}), "");
    }
  };
  saveBoth();
  const auto belong = [this] {
    auto content = files();
    return content.contains("a.map") ? content["a.png"] == content["a.map"] : content.contains("a.map.vellandra-old");
  };
  kill(saveBoth, belong, 2);
  EXPECT_FALSE(fileExists(folder + "a.map.vellandra-old"));
}

}  // namespace
}  // namespace vellandra
