// How fast and how large the map viewer is with a big map: milliseconds per frame while panning and zooming at several
// scales, and the memory held beside the decoded image. Arguments: side of the map, width and height of the window.
// QT_SCALE_FACTOR=2 measures a screen of twice the density. Exit status 1 when a limit is missed; the frame's is held
// against the time that it takes on all cores together, which other work on the machine does not lengthen.
#include <QApplication>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "calibration/calibration.h"
#include "console/console.h"
#include "imaging/map_image.h"
#include "ui/viewer/map_canvas.h"
#include "ui/viewer/map_viewer_dialog.h"

namespace {

using namespace vellandra;
using Clock = std::chrono::steady_clock;

constexpr double longestFrame = 16;  // ms
constexpr double mostMemory = 1.5;   // of the decoded image
constexpr int frames = 40;

/// Time of this process on the cores, in ms: what a busy machine does not falsify.
double cpuMilliseconds() {
  return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double millisecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double residentBytes() {
  std::ifstream statm("/proc/self/statm");
  double total = 0;
  double resident = 0;
  statm >> total >> resident;
  return resident * 4096;
}

void paintMap(Bitmap& map) {
  std::uint32_t noise = 1;
  for (int y = 0; y < map.height(); ++y) {
    for (std::uint8_t& byte : map.row(y)) {
      noise = noise * 1664525 + 1013904223;
      byte = static_cast<std::uint8_t>(noise >> 24U);
    }
  }
}

void calibrateMap(int side) {
  calibration.imageWidth = calibration.imageHeight = static_cast<std::int16_t>(side);
  calibration.pointCount = 4;
  for (int i = 1; i <= 4; ++i) {
    const int x = i % 2 == 0 ? side - 1 : 0;
    const int y = i > 2 ? side - 1 : 0;
    calibration.points[i].setPixel(x, y);
    calibration.points[i].setPosition(45 - y * 1e-4 + x * 1e-6, 5 + x * 1.4e-4 + y * 1e-6);
    calibration.points[i].datumName = "WGS 84";
  }
}

/// Draws frames, each after one step of `move`; returns the mean time on the cores.
template <typename Move>
double measure(const char* name, MapCanvas& canvas, Move move) {
  std::vector<double> times;
  double cpu = 0;
  for (int i = 0; i < frames; ++i) {
    const auto start = Clock::now();
    const double cpuStart = cpuMilliseconds();
    move(i);
    canvas.repaint();
    cpu += cpuMilliseconds() - cpuStart;
    times.push_back(millisecondsSince(start));
    QApplication::processEvents();
  }
  std::sort(times.begin(), times.end());
  double sum = 0;
  for (const double time : times) sum += time;
  const double slow = times[times.size() * 95 / 100];
  std::printf("%-22s %9.4f px/px  mean %6.2f ms  95%% %6.2f ms  cpu %6.2f ms\n", name, canvas.view().scale(),
              sum / frames, slow, cpu / frames);
  return cpu / frames;
}

}  // namespace

int main(int argc, char** argv) {
  (void)setenv("QT_QPA_PLATFORM", "offscreen", 0);
  const QApplication application(argc, argv);
  const int side = argc > 1 ? std::atoi(argv[1]) : 20000;
  const QSize window(argc > 2 ? std::atoi(argv[2]) : 1920, argc > 3 ? std::atoi(argv[3]) : 1080);
  Console console(std::cin, std::cout, std::cerr, false);
  setUserInterface(console);

  mapImage.bitmap = allocate24Bits(side, side);
  paintMap(mapImage.bitmap);
  calibrateMap(side);
  const double decoded = 3.0 * side * side;
  const double before = residentBytes();
  const auto start = Clock::now();
  MapViewerDialog viewer(ViewerMode::view, mapImage.bitmap, nullptr);
  std::printf("opening %.0f ms\n", millisecondsSince(start));
  viewer.show();
  MapCanvas& canvas = *viewer.canvas();
  viewer.resize(window + (viewer.size() - canvas.size()));
  QApplication::processEvents();
  std::printf("map %d x %d, canvas %d x %d, density %.1f\n", side, side, canvas.width(), canvas.height(),
              canvas.devicePixelRatioF());

  double slowest = 0;
  for (const double scale : {0.0, 0.1, 0.26, 0.49, 0.51, 0.76, 0.99, 1.0, 1.5, 4.0, 32.0}) {
    canvas.fit();
    if (scale > 0) canvas.zoomBy(scale / canvas.view().scale());
    slowest = std::max(slowest, measure("pan", canvas, [&](int i) { canvas.panSteps(i % 4 < 2 ? 1 : -1, i % 2); }));
    slowest = std::max(slowest, measure("zoom", canvas, [&](int i) { canvas.zoomBy(i % 2 == 0 ? 1.02 : 1 / 1.02); }));
  }
  const double memory = 1 + (residentBytes() - before) / decoded;
  const double pyramid = static_cast<double>(canvas.extraBytes()) / decoded;
  const double shown = 4.0 * viewer.width() * viewer.height() * std::pow(canvas.devicePixelRatioF(), 2) / decoded;
  std::printf(
      "slowest %.2f ms, limit %.0f; memory %.3f of the decoded image, limit %.1f; of it %.3f are the image's "
      "halves and %.3f the window's pixels\n",
      slowest, longestFrame, memory, mostMemory, pyramid, shown);
  return slowest < longestFrame && memory < mostMemory ? 0 : 1;
}
