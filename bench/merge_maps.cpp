// Merges two maps without a window: for bench/merge.sh and tests/imaging/compare_with_gdalwarp.py.
// Usage: bench_merge [--exact] BASE MERGE PERCENTAGE keep|enlarge OUTPUT.png
// Prints the seconds spent on opening, merging and saving. With --exact all colours are saved, without reduction.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "calibration/preferences.h"
#include "calibration/session.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/map_image.h"
#include "imaging/merge.h"
#include "imaging/saved_map.h"
#include "scripted_interface.h"
#include "support/paths.h"
#include "support/threads.h"

namespace vellandra {
namespace {

/// A person who merges once, saves and closes, and notes when each was done.
class Operator : public ScriptedInterface {
 public:
  void askMerge(MergeQuestion& question) override {
    lap();
    ScriptedInterface::askMerge(question);
  }
  Answer messageBox(const MessageBox& box) override {
    std::fprintf(stderr, "%s\n", box.text.c_str());
    return Answer::ok;
  }
  void lap() {
    const auto now = std::chrono::steady_clock::now();
    laps.push_back(std::chrono::duration<double>(now - last_).count());
    last_ = now;
  }
  std::vector<double> laps;

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

bool mergeExactly(Operator& person, float t, bool enlarged, const std::string& output) {
  const std::optional<MergeMaps> maps = openMergeMaps();
  if (!maps) return false;
  person.lap();
  const auto canvas = enlarged ? std::optional(proposedCanvas(maps->sides)) : std::nullopt;
  const MergedMap result = mergedMap(*maps, canvas, t, coreCount());
  person.lap();
  if (!result.image || !saveAndOpen(result.image, result.map, output)) return false;
  person.lap();
  return true;
}

int run(int argc, char** argv) {
  const bool exact = argc > 1 && std::strcmp(argv[1], "--exact") == 0;
  if (exact) --argc, ++argv;
  if (argc != 6) return 2;
  const bool enlarged = std::strcmp(argv[4], "enlarge") == 0;
  Operator person;
  setFormatTable({formatRows(), getidata, saveMapImage});
  preferences.datumsPath = programFolder() + "datums.txt";
  person.pickedFiles = {argv[1], argv[2], argv[5]};
  person.mergeAnswers = {{MergeAnswer::Action::merge, argv[3], enlarged}, {MergeAnswer::Action::save, "", false}};
  const std::optional<double> percentage = numberIn(argv[3], mergeWeights);
  if (!percentage) return 2;
  const auto t = static_cast<float>(*percentage / 100);
  const bool done = runCommand([&] { return exact ? mergeExactly(person, t, enlarged, argv[5]) : mergeMaps(); });
  if (!done || person.laps.size() != 3) {
    std::fprintf(stderr, "%s", person.panel.c_str());
    return 1;
  }
  std::printf("open %.2f s, merge %.2f s, save %.2f s\n", person.laps[0], person.laps[1], person.laps[2]);
  return 0;
}

}  // namespace
}  // namespace vellandra

int main(int argc, char** argv) {
  return vellandra::run(argc, argv);
}
