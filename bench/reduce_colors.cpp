// Reduces the colours of images by the library's look at every pixel and as the program does: for bench/palette.sh.
// Usage: bench_palette IMAGE [RRGGBB...]
// Prints of both the seconds, the mean squared error of a channel and the peak signal-to-noise ratio, then how much
// better the program's is and by how much, at most, a channel of a pixel in one of the colours given is off with both.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "console/console.h"
#include "raster/bitmap.h"

namespace vellandra {
namespace {

struct Quality {
  double seconds = 0;
  double meanSquare = 0;
  int worstOfLines = 0;
};

Quality qualityOf(const Bitmap& image, const Bitmap& reduced, const std::vector<unsigned>& lines) {
  Quality quality;
  double squares = 0;
  for (int y = 0; y < image.height(); ++y) {
    const std::uint8_t* pixel = image.row(y).data();
    for (const std::uint8_t index : reduced.row(y).first(static_cast<std::size_t>(image.width()))) {
      const PixelColor entry = reduced.paletteEntry(index);
      const int off[] = {pixel[0] - entry.blue, pixel[1] - entry.green, pixel[2] - entry.red};
      for (const int channel : off) squares += channel * channel;
      const unsigned color = unsigned{pixel[2]} << 16U | unsigned{pixel[1]} << 8U | pixel[0];
      if (std::find(lines.begin(), lines.end(), color) != lines.end()) {
        for (const int channel : off) quality.worstOfLines = std::max(quality.worstOfLines, std::abs(channel));
      }
      pixel += 3;
    }
  }
  quality.meanSquare = squares / (3.0 * image.width() * image.height());
  return quality;
}

/// Peak signal-to-noise ratio.
double decibels(const Quality& quality) {
  return 10 * std::log10(255 * 255 / quality.meanSquare);
}

template <typename Reduce>
Quality measure(const Bitmap& image, const std::vector<unsigned>& lines, const Reduce& reduce) {
  const auto start = std::chrono::steady_clock::now();
  const Bitmap reduced = reduce();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  Quality quality = qualityOf(image, reduced, lines);
  quality.seconds = seconds.count();
  return quality;
}

int run(int argc, char** argv) {
  if (argc < 2) return 2;
  Console console(std::cin, std::cerr, std::cerr, false);
  setUserInterface(console);
  Bitmap image = convertTo24Bits(LoadImageByExtension(argv[1]));
  if (!image) return 1;
  std::vector<unsigned> lines;
  for (int i = 2; i < argc; ++i) lines.push_back(static_cast<unsigned>(std::strtoul(argv[i], nullptr, 16)));
  const Quality own =
      measure(image, lines, [&] { return ColorQuantizeEx(image, QuantizeMethod::neuQuant, false, reducedColors); });
  const Quality whole =
      measure(image, lines, [&] { return quantizeByLibrary(image, QuantizeMethod::neuQuant, reducedColors, {}); });
  std::printf("%6.2f s %8.2f %6.2f dB   %6.2f s %8.2f %6.2f dB   %+5.2f dB", whole.seconds, whole.meanSquare,
              decibels(whole), own.seconds, own.meanSquare, decibels(own), decibels(own) - decibels(whole));
  if (!lines.empty()) std::printf("   lines off by %d, %d", whole.worstOfLines, own.worstOfLines);
  std::printf("\n");
  return 0;
}

}  // namespace
}  // namespace vellandra

int main(int argc, char** argv) {
  return vellandra::run(argc, argv);
}
