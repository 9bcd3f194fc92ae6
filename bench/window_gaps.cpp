// How long the windows stay undrawn while long commands run, and how soon Cancel ends them: for each command the time
// that it takes and the longest gap between two turns of the event loop; then the command is cancelled at ten moments,
// with the longest time from Cancel to its end, and whether every file is as it was.
// Usage: window_gaps MAP BASE MERGE TILE_SIZE [COMMAND...]: three images with a ".map" beside each; what is written
// goes beside the first. "folder" converts the calibrations in "folder" beside the first, "tracks" draws "tracks.gpx"
// there over it. Exit status 1 when a limit is missed.
#include <QAction>
#include <QKeyEvent>
#include <QPushButton>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/garmin_map.h"
#include "imaging/map_image.h"
#include "imaging/merge.h"
#include "imaging/merge_question.h"
#include "imaging/rescale_crop.h"
#include "imaging/trekbuddy.h"
#include "support/paths.h"
#include "ui/application.h"
#include "ui/commands.h"
#include "ui/dialogs/work_dialog.h"
#include "ui/folder_command.h"
#include "ui/main_window.h"
#include "ui/viewer/map_viewer_dialog.h"
#include "ui/window_interface.h"

namespace {

using namespace vellandra;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

constexpr double longestGap = 0.1, longestEnd = 0.5;  // seconds

double secondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A person who answers at once.
class Operator : public WindowInterface {
 public:
  using WindowInterface::WindowInterface;
  std::vector<std::string> open;
  std::string save;
  int merges = 0;

  Answer messageBox(const MessageBox& box) override {
    if (box.buttons == Buttons::ok) std::printf("  %s\n", box.text.c_str());
    return Answer::ok;
  }
  std::string askOpenFile(const FilePicker&) override {
    std::string path = open.front();
    open.erase(open.begin());
    return path;
  }
  std::string askSaveFile(const FilePicker&) override { return save; }
  std::optional<std::string> askText(const std::string&, const std::string&) override { return "90"; }
  void askRectangle(PixelRectangle& part) override {
    part = {100, 100, calibration.imageWidth - 100, calibration.imageHeight - 100};
  }
  void askMerge(MergeQuestion& question) override {
    using Action = MergeAnswer::Action;
    constexpr Action actions[] = {Action::merge, Action::save, Action::close};
    question.answer = {actions[merges++ % 3], "50", true};
  }
};

/// Shows the map for a moment.
ViewerResult look(QWidget* parent, ViewerMode mode) {
  MapViewerDialog viewer(mode, mapImage.bitmap, parent);
  QTimer::singleShot(500, &viewer, &QDialog::reject);
  viewer.exec();
  return {};
}

/// Shows the map and has tracks drawn over it, which `drawn` says at the end.
ViewerResult lookAtTracks(bool& drawn) {
  MapViewerDialog viewer(ViewerMode::view, mapImage.bitmap, nullptr);
  const auto action = [&viewer](const char* caption) {
    const QList<QAction*> all = viewer.actions();
    return *std::ranges::find_if(all, [=](auto* one) { return one->text().contains(caption); });
  };
  QTimer::singleShot(500, &viewer, [&] {
    action("GPX")->trigger();
    drawn = action("lear tracks")->isEnabled();
    QTimer::singleShot(drawn ? 500 : 0, &viewer, &QDialog::reject);
  });
  viewer.exec();
  return {};
}

/// Closes the list that stands at the end of a run over a folder.
void closeList() {
  const auto* list = QApplication::activeModalWidget();
  const auto* copy = list != nullptr ? list->findChild<QPushButton*>("copy") : nullptr;
  if (copy != nullptr && copy->isEnabled()) copy->window()->close();
}

/// Turns of the event loop, the longest time between two, and Cancel at a moment.
class Watch : public QObject {
 public:
  explicit Watch(MainWindow& window, double cancelAfter) : window_(window), cancelAfter_(cancelAfter) {
    connect(&timer_, &QTimer::timeout, this, &Watch::turn);
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.start(2);
  }
  double gap() {
    turn();
    return gap_;
  }
  double sinceCancel() const { return cancelled_ ? secondsSince(cancelledAt_) : -1; }

 private:
  void turn() {
    gap_ = std::max(gap_, secondsSince(last_));
    last_ = Clock::now();
    closeList();
    if (cancelled_ || cancelAfter_ <= 0 || secondsSince(begun_) < cancelAfter_) return;
    cancelled_ = true;
    cancelledAt_ = Clock::now();
    QWidget* modal = QApplication::activeModalWidget();
    QWidget* window = modal != nullptr ? modal : &window_;
    QCoreApplication::postEvent(window, new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
  }
  MainWindow& window_;
  double cancelAfter_, gap_ = 0;
  bool cancelled_ = false;
  QTimer timer_;
  Clock::time_point begun_ = Clock::now(), last_ = Clock::now(), cancelledAt_;
};

/// Path, size and time of everything in `folder` but the log and where the windows stood. What is on its way out has a
/// moment for it.
std::map<std::string, std::string> filesIn(const fs::path& folder) {
  const auto isHidden = [](const fs::path& path) { return path.string().find("/.vellandra-") != std::string::npos; };
  std::map<std::string, std::string> files;
  for (int look = 0; look < 20; ++look) {
    files.clear();
    std::error_code gone;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
      if (entry.path().extension() == ".log" || entry.path().extension() == ".ini") continue;
      const bool file = entry.is_regular_file(gone);
      files[entry.path()] = file ? std::to_string(entry.file_size(gone)) + " " +
                                       std::to_string(entry.last_write_time(gone).time_since_epoch().count())
                                 : "folder";
    }
    if (std::ranges::none_of(files, isHidden, [](const auto& file) { return file.first; })) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return files;
}

std::string mapOf(const std::string& image) {
  return fs::path(image).replace_extension(".map");
}

struct Command {
  std::string name;
  std::function<bool()> run;
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  (void)setenv("QT_QPA_PLATFORM", "offscreen", 0);
  const Application application(argc, argv);
  const std::string map = argv[1], base = argv[2], merge = argv[3];
  const std::string folder = fs::path(map).parent_path();
  (void)setenv("VELLANDRA_HOME", folder.c_str(), 1);
  setFormatTable({formatRows(), getidata, saveMapImage});
  MainWindow window(look);
  Operator person(&window);
  setUserInterface(person);
  startSession();
  preferences.datumsPath = std::string(fs::canonical("/proc/self/exe").parent_path()) + "/datums.txt";
  preferences.tileWidth = preferences.tileHeight = static_cast<std::int16_t>(std::atoi(argv[4]));
  preferences.warnOverwrite = false;
  window.show();
  const std::vector<Command> commands = {{"view",
                                          [] {
                                            mapImage = MapImage();
                                            return mnuvc([&](ViewerMode mode) { return look(nullptr, mode); });
                                          }},
                                         {"garmin", WriteGarminCustomMap},
                                         {"trekbuddy", WriteTrekBuddyTiles},
                                         {"merge", mergeMaps},
                                         {"rescale", rescaleMap},
                                         {"crop", cropMap},
                                         {"folder", [&] { return convertFolder(&window, folder + "/folder"); }},
                                         {"tracks", [&] {
                                            person.open = {folder + "/tracks.gpx"};
                                            bool drawn = false;
                                            return mnuvc([&](ViewerMode) { return lookAtTracks(drawn); }) && drawn;
                                          }}};
  bool good = true;
  const auto run = [&](const Command& command, double cancelAfter, double& gap, double& end) {
    person.merges = 0;
    person.save = folder + "/saved-" + command.name + ".png";
    person.open = {mapOf(map)};
    driver.stage = openCalibration;
    driver.calibrationPending = false;
    (void)runCommand(do_it);
    driver.calibrationPending = false;
    person.open = {mapOf(base), mapOf(merge)};
    QCoreApplication::processEvents();
    Watch watch(window, cancelAfter);
    const bool done = runCommand(command.run);
    end = watch.sinceCancel();
    gap = watch.gap();
    endWorkDisplay();
    return done;
  };
  for (const Command& command : commands) {
    const std::vector<std::string> wanted(argv + 5, argv + argc);
    if (!wanted.empty() && std::find(wanted.begin(), wanted.end(), command.name) == wanted.end()) continue;
    double gap = 0, end = 0, worstEnd = 0;
    const auto start = Clock::now();
    const bool done = run(command, 0, gap, end);
    const double seconds = secondsSince(start);
    std::printf("%-10s %s %7.1f s, longest gap %.3f s\n", command.name.c_str(), done ? "done" : "NOT DONE", seconds,
                gap);
    good = good && done && gap <= longestGap;
    auto before = filesIn(folder);
    int cancelled = 0;
    double worstGap = 0;
    for (int moment = 1; moment <= 10; ++moment) {
      const bool finished = run(command, seconds * moment / 11, gap, end);
      worstGap = std::max(worstGap, gap);
      if (finished) before = filesIn(folder);
      if (finished) continue;
      ++cancelled;
      worstEnd = std::max(worstEnd, end);
      const bool same = filesIn(folder) == before;
      std::printf("  at %6.2f s: ended after %.3f s, gap %.3f s, files %s\n", seconds * moment / 11, end, gap,
                  same ? "as before" : "CHANGED");
      good = good && same;
    }
    std::printf("%-10s cancelled %d times, at most %.3f s to the end, longest gap %.3f s\n", command.name.c_str(),
                cancelled, worstEnd, worstGap);
    good = good && worstEnd <= longestEnd && worstGap <= longestGap;
    std::fflush(stdout);
  }
  return good ? 0 : 1;
}
