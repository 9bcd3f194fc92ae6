#include <map>
#include <thread>

#include "imaging/merge.h"
#include "imaging/rescale_crop.h"
#include "imaging/tiles_fixture.h"

namespace vellandra {
namespace {

namespace fs = std::filesystem;

/// Works on another thread, as windows do, and cancels at a step of all that a command shows.
class CancellingPerson : public ScriptedInterface {
 public:
  void doWork(const std::string& title, const std::function<void()>& work) override {
    std::exception_ptr thrown;
    std::thread([&] {
      try {
        ScriptedInterface::doWork(title, [&] {
          if (static_cast<int>(works.size()) == cancelAtWork) currentWork()->cancel();
          work();
        });
      } catch (...) {
        thrown = std::current_exception();
      }
    }).join();
    if (thrown) std::rethrow_exception(thrown);
  }
  void showProgress(Work& work, std::int64_t, std::int64_t) override {
    if (++steps == cancelAt) work.cancel();
  }
  int steps = 0, cancelAt = 0, cancelAtWork = 0;  ///< counted from 1
};

class CancelTest : public TilesTest {
 protected:
  CancelTest() {
    setUserInterface(canceller);
    preferences.warnOverwrite = false;
    setTileSize(100, 60);
  }

  /// Everything in the folder but the log.
  std::map<std::string, std::string> files() const {
    std::map<std::string, std::string> found;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      const std::string path = entry.path();
      if (path.ends_with("vellandra.log")) continue;
      found[path] = entry.is_directory() ? "folder" : contentOf(path);
    }
    return found;
  }

  void makeMaps(int seed) {
    writeMap(folder + "other.png", linearMap(210, 165, 5.005, 49.995, 0.0001), picture(210, 165, seed));
    writeMap(folder + "area.png", linearMap(210, 165, 5, 50, 0.0001), picture(210, 165, seed + 1));
    driver.stage = openCalibration;
    canceller.pickedFiles = {folder + "area.map"};
    ASSERT_TRUE(do_it());
    driver.calibrationPending = false;
    mapImage = MapImage();
  }

  /// Cancels at a step, or at the beginning of a piece of work, unless that is 0.
  bool run(const std::function<bool()>& command, int cancelAt = 0, int cancelAtWork = 0) {
    canceller.works.clear();
    canceller.steps = 0;
    canceller.cancelAt = cancelAt;
    canceller.cancelAtWork = cancelAtWork;
    canceller.pickedFiles = {folder + "copy.png"};
    canceller.typedTexts = {"50"};
    canceller.rectangles = {PixelRectangle{10, 10, 200, 150}};
    canceller.boxAnswers = {Answer::ok, Answer::ok};
    canceller.mergeAnswers = {{MergeAnswer::Action::merge, "50", true}, {MergeAnswer::Action::save, "", false}};
    return runCommand(command);
  }

  void cancelTenTimes(const std::function<bool()>& command, int steps, int works) {
    constexpr int moments = 10, byWorks = 4;
    mapImage = MapImage();
    const auto before = files();
    const std::string open = calibration.imagePath;
    for (int moment = 1; moment <= moments; ++moment) {
      SCOPED_TRACE(moment);
      const int last = moment - byWorks;  // how many steps there are depends on the threads
      EXPECT_FALSE(last > 0 ? run(command, std::max(1, steps * last / (moments - byWorks + 1)))
                            : run(command, 0, std::max(1, works + last)));
      EXPECT_TRUE(canceller.panel.ends_with("Cancelled\r\n")) << canceller.panel;
      EXPECT_TRUE(files() == before);
      EXPECT_EQ(calibration.imagePath, open);
      EXPECT_TRUE(driver.transformValid && !mapImage.bitmap);
    }
  }

  CancellingPerson canceller;
};

TEST_F(CancelTest, LeavesEveryFileAndTheOpenMapAsTheyWere) {
  const auto show = [this] { return loadMapImage(folder + "area.png"); };
  const auto merge = [this] {
    canceller.pickedFiles = {folder + "area.map", folder + "other.map", folder + "copy.png"};
    return mergeMaps();
  };
  const std::pair<const char*, std::function<bool()>> commands[] = {{"Garmin", WriteGarminCustomMap},
                                                                    {"TrekBuddy", WriteTrekBuddyTiles},
                                                                    {"merge", merge},
                                                                    {"rescale", rescaleMap},
                                                                    {"crop", cropMap},
                                                                    {"show", show}};
  for (const auto& [name, command] : commands) {
    SCOPED_TRACE(name);
    makeMaps(1);
    const auto before = files();
    ASSERT_TRUE(run(command)) << canceller.panel;
    const int steps = canceller.steps;
    const int works = static_cast<int>(canceller.works.size());
    for (const auto& [path, content] : files()) {
      if (!before.contains(path)) fs::remove_all(path);
    }
    cancelTenTimes(command, steps, works);
    ASSERT_TRUE(run(command));
    makeMaps(5);
    cancelTenTimes(command, steps, works);
  }
}

}  // namespace
}  // namespace vellandra
