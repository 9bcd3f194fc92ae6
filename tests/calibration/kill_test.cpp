#include <sys/mman.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <random>
#include <set>
#include <sstream>

#include "calibration/points.h"
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

TEST_F(KillTest, NoMoreThanTheLastChangeOfACalibrationIsLost) {
  struct Progress {
    int begun, done;  // changes
  };
  auto* progress = static_cast<Progress*>(
      ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  /// What ten points are after so many changes: each is placed, then moved; every third is switched off.
  const auto after = [this](int changes) {
    Calibration map;
    map.imagePath = folder + "area.png";
    map.imageWidth = 400, map.imageHeight = 300;
    map.projection = " mercator";
    std::vector<EnteredPoint> points;
    for (int i = 0; 2 * i < changes; ++i) {
      CalibrationPoint point;
      point.setPixel(i + (2 * i + 1 < changes ? 100 : 0), 7 * i);
      const PointGrid grid{EntryGrid(i % 4), "Adindan", static_cast<std::int16_t>(20 + i), i % 2 == 1};
      point.setPosition(50 + 1 / 3.0 * i, -1e-7 / 3 * i, grid);
      point.datumName = "European 1950 (Mean France)";
      points.push_back({point, i % 3 == 2});
    }
    setEnteredPoints(map, points);
    return map;
  };
  const auto calibrate = [&] {
    for (int change = 1; change <= 20; ++change) {
      progress->begun = change;
      keepUnfinished(after(change));
      progress->done = change;
    }
    progress->done = progress->begun = 0;
    dropUnfinished();
  };
  const auto text = [](const Calibration& map) {
    std::ostringstream out;
    out << std::hexfloat << map.imagePath << map.imageWidth << map.imageHeight << map.projection;
    for (const auto& [point, off] : enteredPoints(map)) {
      out << "\n"
          << off << point.pixelX << "," << point.pixelY << point.latitude << point.longitude << point.datumName
          << static_cast<int>(point.grid.grid) << point.grid.datum << point.grid.zone << point.grid.southern;
    }
    return out.str();
  };
  const auto isKept = [&] {
    int number = 0;
    const std::optional<UnfinishedCalibration> work = takeUnfinished(number);
    const std::string found = work ? text(work->map) : text(after(0));
    const bool kept =
        progress->begun == 0 || found == text(after(progress->done)) || found == text(after(progress->begun));
    dropUnfinished();
    *progress = {};
    return kept;
  };
  calibrate();
  keepUnfinished(after(20));
  leaveUnfinished();
  progress->begun = progress->done = 20;
  ASSERT_TRUE(isKept()) << "to the last bit";
  kill(calibrate, isKept);
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
