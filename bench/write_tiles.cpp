// Writes the tiles of a map without a window: for bench/tiles.sh.
// Usage: bench_tiles garmin|trekbuddy CALIBRATION TILE_SIZE [--one-thread]
// Prints the seconds spent on decoding the map, reducing its colours and writing the tiles. With --one-thread the last
// step is done tile after tile, and its parts, encoding and writing, are measured apart; the tiles go nowhere else.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "calibration/calibration.h"
#include "calibration/driver.h"
#include "calibration/preferences.h"
#include "calibration/session.h"
#include "console/console.h"
#include "formats/format_table.h"
#include "formats/image_identification.h"
#include "imaging/garmin_map.h"
#include "imaging/map_image.h"
#include "imaging/tile_files.h"
#include "imaging/trekbuddy.h"
#include "support/files.h"
#include "support/numbers.h"
#include "support/paths.h"

namespace vellandra {
namespace {

class Stopwatch {
 public:
  /// Seconds since the last call.
  double lap() {
    const auto now = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(now - last_).count();
    last_ = now;
    return seconds;
  }

 private:
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

/// A person who opens one calibration; notes when the steps of a tile writer are done.
class Operator : public Console {
 public:
  Operator(std::string calibrationPath, std::ostream& nowhere)
      : Console(std::cin, nowhere, std::cerr, false), calibrationPath_(std::move(calibrationPath)) {}
  std::string askOpenFile(const FilePicker&) override { return calibrationPath_; }
  void showPanel(const std::string& message) override {
    const bool opened = message.find("Writing tiles") != std::string::npos;
    const bool decoded = message.find("Rebuilding palette") != std::string::npos;
    if (opened && decode == 0) (decoded ? decode : before) += watch.lap();
    Console::showPanel(message);
  }
  void doWork(const std::string& title, const std::function<void()>& work) override {
    work();
    if (title == "Rebuilding palette") quantize += watch.lap();
    if (title == "Writing tiles") tiles += watch.lap();
  }
  Stopwatch watch;
  double before = 0, decode = 0, quantize = 0, tiles = 0;

 private:
  std::string calibrationPath_;
};

bool writeOnOneThread(bool garmin, int tileSize) {
  Stopwatch watch;
  Bitmap loaded = LoadImageByExtension(calibration.imagePath);
  const double decode = watch.lap();
  const Bitmap map = ColorQuantizeEx(loaded, QuantizeMethod::neuQuant, true, reducedColors);
  const double quantize = watch.lap();
  double encode = 0;
  double write = 0;
  const std::string folder = splitPath(calibration.imagePath).folder + "one-thread";
  if (!map || !makeFolder(folder)) return false;
  const TileGrid grid(map.width(), map.height(), {tileSize, tileSize});
  for (std::int64_t number = 1; number <= grid.count(); ++number) {
    const Tile tile = grid.tile(number);
    const EncodedImage image =
        encodeImage(garmin ? ImageFormat::jpeg : ImageFormat::png,
                    copyRectangle(map, tile.left, tile.top, tile.right, tile.bottom), garmin ? jpegSuperb : 0);
    encode += watch.lap();
    if (!saveEncodedImage(image, folder + "/" + std::to_string(number))) return false;
    write += watch.lap();
  }
  std::printf("decode %.2f s, quantize %.2f s, encode %.2f s, write %.2f s\n", decode, quantize, encode, write);
  return true;
}

int run(int argc, char** argv) {
  if (argc < 4) return 2;
  const bool garmin = std::strcmp(argv[1], "garmin") == 0;
  std::ofstream nowhere("/dev/null");
  Operator person(argv[2], nowhere);
  setUserInterface(person);
  setFormatTable({formatRows(), getidata, saveMapImage});
  preferences.datumsPath = programFolder() + "datums.txt";
  const int tileSize = parseInt16(argv[3]);
  preferences.tileWidth = preferences.tileHeight = static_cast<std::int16_t>(tileSize);
  driver.stage = openCalibration;
  if (!runCommand(do_it)) return 1;
  if (argc > 4) return runCommand([&] { return writeOnOneThread(garmin, tileSize); }) ? 0 : 1;
  person.watch.lap();
  if (!runCommand(garmin ? WriteGarminCustomMap : WriteTrekBuddyTiles)) return 1;
  std::printf("decode %.2f s, quantize %.2f s, encode and write %.2f s, rest %.2f s\n", person.decode, person.quantize,
              person.tiles, person.before + person.watch.lap());
  return 0;
}

}  // namespace
}  // namespace vellandra

int main(int argc, char** argv) {
  return vellandra::run(argc, argv);
}
