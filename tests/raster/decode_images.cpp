// Loads the images that standard input names, one a line, as the program does: for tests/raster/check_images.py.
// Prints for each its width, height, seconds, the most memory in MB that was in use for it, and what the panel said,
// parted by tabs. With --raw its pixels go to a file of its name and ".raw": red, green, blue and opacity.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

#include "calibration/calibration.h"
#include "raster/bitmap.h"
#include "raster/image_header.h"
#include "raster/large_images.h"
#include "scripted_interface.h"

namespace vellandra {
namespace {

/// Of this process since the last `forgetPeak` (Linux: proc(5)).
double peakMegabytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

void forgetPeak() {
  std::ofstream("/proc/self/clear_refs") << 5;
}

void writeRaw(const Bitmap& image, const std::string& path) {
  const Bitmap colors = convertTo24Bits(image), alpha = opacity(image);
  std::ofstream file(path, std::ios::binary);
  for (int y = 0; y < image.height(); ++y) {
    for (std::size_t x = 0; x < static_cast<std::size_t>(image.width()); ++x) {
      const std::uint8_t* pixel = &colors.row(y)[3 * x];
      for (const int byte : {int{pixel[2]}, int{pixel[1]}, int{pixel[0]}, alpha ? int{alpha.row(y)[x]} : 255}) {
        file.put(static_cast<char>(byte));
      }
    }
  }
}

void load(const std::string& path, bool raw) {
  calibration.message.clear();
  forgetPeak();
  const double before = peakMegabytes();
  const auto start = std::chrono::steady_clock::now();
  Bitmap image;
  try {
    const auto size = imageSize(path);
    image = LoadImageByExtension(path);
    const bool same = size && size->width == image.width() && size->height == image.height();
    if (image && !same) calibration.message += "the header has another size";
  } catch (const std::exception& error) {
    calibration.message = error.what();
  }
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  for (char& letter : calibration.message) letter = letter < ' ' ? ' ' : letter;
  std::printf("%d\t%d\t%.2f\t%.0f\t%s\n", image.width(), image.height(), seconds.count(), peakMegabytes() - before,
              calibration.message.c_str());
  std::fflush(stdout);
  if (raw && image) writeRaw(image, path + ".raw");
}

}  // namespace
}  // namespace vellandra

int main(int argc, char** argv) {
  vellandra::ScriptedInterface person;
  const bool raw = argc > 1 && std::strcmp(argv[1], "--raw") == 0;
  for (std::string path; std::getline(std::cin, path);) vellandra::load(path, raw);
  return 0;
}
