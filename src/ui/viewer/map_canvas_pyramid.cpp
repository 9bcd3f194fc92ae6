#include "ui/viewer/map_canvas_pyramid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>

#include "support/errors.h"
#include "support/threads.h"

namespace vellandra {
namespace {

constexpr int bytesPerPixel = 3;
constexpr int smallestSide = 64;  ///< of a level that is worth halving
constexpr std::uint32_t opaque = 0xff000000U;

/// Calls `work` for `count` rows, cut into one band for each core when there is enough to do.
void inBands(int count, std::int64_t pixels, const std::function<void(int, int)>& work) {
  constexpr std::int64_t pixelsWorthAThread = 300'000;
  const int most = static_cast<int>(std::min(coreCount(), 8U));
  const int bands = static_cast<int>(std::clamp<std::int64_t>(pixels / pixelsWorthAThread, 1, most));
  const auto start = [&](int band) { return static_cast<int>(static_cast<std::int64_t>(count) * band / bands); };
  forEachNumber(bands, static_cast<unsigned>(bands), [&](int band) { work(start(band), start(band + 1)); });
}

Bitmap halved(const Bitmap& image) {
  const int width = (image.width() + 1) / 2;
  const int height = (image.height() + 1) / 2;
  Bitmap half = allocate24Bits(width, height);
  if (!half) throw std::bad_alloc();
  const int wholeWidth = image.width() / 2;
  constexpr int bandRows = 64;
  forEachNumber((height + bandRows - 1) / bandRows, coreCount(), [&](int band) {
    for (int y = band * bandRows; y < std::min((band + 1) * bandRows, height); ++y) {
      const std::uint8_t* above = image.row(2 * y).data();
      const std::uint8_t* below = image.row(std::min(2 * y + 1, image.height() - 1)).data();
      std::uint8_t* out = half.row(y).data();
      for (int x = 0; x < wholeWidth; ++x, above += 6, below += 6, out += 3) {
        for (int c = 0; c < bytesPerPixel; ++c) {
          out[c] = static_cast<std::uint8_t>((above[c] + above[c + 3] + below[c] + below[c + 3] + 2) >> 2);
        }
      }
      if (wholeWidth == width) continue;
      for (int c = 0; c < bytesPerPixel; ++c) out[c] = static_cast<std::uint8_t>((above[c] + below[c] + 1) >> 1);
    }
  });
  return half;
}

/// Which source pixels one row or column of the frame is made of: `first` and, with `weight` of 256, the next one.
struct Sample {
  int first;
  int weight;
};

/// The run of frame pixels that show the image along one axis, and what each is made of.
struct Axis {
  int begin = 0, end = 0;
  std::vector<Sample> samples;  ///< of begin to end
};

Axis axisOf(double edge, double scale, int imageSize, int frameSize, int levelSize, double levelScale, bool enlarged) {
  Axis axis;
  axis.begin = static_cast<int>(std::clamp(std::ceil(edge - 0.5), 0.0, static_cast<double>(frameSize)));
  axis.end = static_cast<int>(std::clamp(std::ceil(edge + imageSize * scale - 0.5), static_cast<double>(axis.begin),
                                         static_cast<double>(frameSize)));
  axis.samples.reserve(static_cast<std::size_t>(axis.end - axis.begin));
  for (int i = axis.begin; i < axis.end; ++i) {
    const double place = (i + 0.5 - edge) / levelScale;
    const double from = enlarged ? place : place - 0.5;
    const double whole = std::floor(from);
    const int first = std::clamp(static_cast<int>(whole), 0, levelSize - 1);
    const bool between = !enlarged && whole >= 0 && first < levelSize - 1;
    axis.samples.push_back({first, between ? static_cast<int>((from - whole) * 256) : 0});
  }
  return axis;
}

/// Where pixel `x` begins in a row.
std::ptrdiff_t byteOf(int x) {
  return std::ptrdiff_t{bytesPerPixel} * x;
}

std::uint32_t pixelAtBytes(const std::uint8_t* bgr) {
  return opaque | static_cast<std::uint32_t>(bgr[2]) << 16U | static_cast<std::uint32_t>(bgr[1]) << 8U | bgr[0];
}

/// A pixel with one byte more than it has. Reads up to `overhang` bytes behind the pixel.
constexpr std::size_t overhang = 1;
std::uint32_t opaqueAt(const std::uint8_t* bgr) {
  static_assert(std::endian::native == std::endian::little, "blue, green, red in memory is 0xRRGGBB in a number");
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, bgr, sizeof pixel);
  return opaque | pixel;
}

void blendRows(const std::uint8_t* above, const std::uint8_t* below, unsigned weight, std::size_t count,
               std::uint8_t* out) {
  const unsigned rest = 256 - weight;
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = static_cast<std::uint8_t>((above[i] * rest + below[i] * weight) >> 8U);
  }
}

/// Blends the pixels of a row with their neighbours. The neighbours are laid side by side first: then the compiler
/// blends many bytes at once.
class RowBlender {
 public:
  explicit RowBlender(const Axis& across) : across_(across), left_(across.samples.size()), right_(left_.size()) {
    for (const Sample& sample : across.samples)
      weights_.insert(weights_.end(), 4, static_cast<std::uint8_t>(sample.weight));
  }

  /// `row` begins with the pixel of the first sample.
  void blend(const std::uint8_t* row, std::uint32_t* out) {
    const int first = across_.samples.front().first;
    for (std::size_t i = 0; i < left_.size(); ++i) {
      const std::uint8_t* pixel = row + byteOf(across_.samples[i].first - first);
      left_[i] = opaqueAt(pixel);
      right_[i] = opaqueAt(pixel + bytesPerPixel);
    }
    const auto* left = reinterpret_cast<const std::uint8_t*>(left_.data());
    const auto* right = reinterpret_cast<const std::uint8_t*>(right_.data());
    const std::uint8_t* weights = weights_.data();
    auto* bytes = reinterpret_cast<std::uint8_t*>(out);
    const std::size_t count = weights_.size();
    for (std::size_t i = 0; i < count; ++i) {
      bytes[i] = static_cast<std::uint8_t>((left[i] * (256U - weights[i]) + right[i] * unsigned{weights[i]}) >> 8U);
    }
  }

 private:
  const Axis& across_;
  std::vector<std::uint32_t> left_, right_;
  std::vector<std::uint8_t> weights_;  ///< of the right pixel, for each of its bytes
};

std::uint32_t* rowOf(const Frame& frame, int y) {
  return frame.pixels + static_cast<std::ptrdiff_t>(y) * frame.stride;
}

void drawEnlarged(const Bitmap& image, const Axis& across, const Axis& down, const Frame& frame, int first, int end) {
  int shown = -1;
  for (int y = first; y < end; ++y) {
    std::uint32_t* out = rowOf(frame, y) + across.begin;
    const int source = down.samples[static_cast<std::size_t>(y - down.begin)].first;
    if (source == shown) {
      std::memcpy(out, out - frame.stride, across.samples.size() * sizeof *out);
      continue;
    }
    shown = source;
    const std::uint8_t* row = image.row(source).data();
    for (const Sample& sample : across.samples) *out++ = pixelAtBytes(row + byteOf(sample.first));
  }
}

void drawReduced(const Bitmap& level, const Axis& across, const Axis& down, const Frame& frame, int first, int end) {
  RowBlender blender(across);
  const int left = across.samples.front().first;
  const auto bytes = static_cast<std::size_t>(across.samples.back().first + 1 - left) * bytesPerPixel;
  const auto available = static_cast<std::size_t>(level.width() - left) * bytesPerPixel;
  const std::size_t count = std::min(bytes + bytesPerPixel, available);
  std::vector<std::uint8_t> scratch(bytes + bytesPerPixel + overhang);  // of the part of a row that is seen
  for (int y = first; y < end; ++y) {
    const Sample& row = down.samples[static_cast<std::size_t>(y - down.begin)];
    const std::uint8_t* above = level.row(row.first).data() + byteOf(left);
    const std::uint8_t* below = row.weight == 0 ? above : level.row(row.first + 1).data() + byteOf(left);
    blendRows(above, below, static_cast<unsigned>(row.weight), count, scratch.data());
    blender.blend(scratch.data(), rowOf(frame, y) + across.begin);
  }
}

void fillBeside(const Axis& across, const Axis& down, const Frame& frame, std::uint32_t background) {
  for (int y = 0; y < frame.height; ++y) {
    std::uint32_t* row = rowOf(frame, y);
    if (y < down.begin || y >= down.end) {
      std::fill(row, row + frame.width, background);
    } else {
      std::fill(row, row + across.begin, background);
      std::fill(row + across.end, row + frame.width, background);
    }
  }
}

}  // namespace

ImagePyramid::ImagePyramid(const Bitmap& image) : image_(image) {
  if (image.bitsPerPixel() != 24) throw InvalidArgument(std::to_string(image.bitsPerPixel()) + " bits per pixel");
  const Bitmap* last = &image;
  while (std::max(last->width(), last->height()) > smallestSide) {
    Bitmap half = halved(*last);
    halves_.push_back(std::move(half));
    last = &halves_.back();
  }
}

std::size_t ImagePyramid::extraBytes() const {
  std::size_t bytes = 0;
  for (const Bitmap& half : halves_) {
    bytes += static_cast<std::size_t>(half.pitch()) * static_cast<std::size_t>(half.height());
  }
  return bytes;
}

void ImagePyramid::draw(const FramePlace& place, const Frame& frame, std::uint32_t background) const {
  const bool enlarged = place.scale >= 1;
  const int wanted = enlarged ? 0 : static_cast<int>(std::floor(-std::log2(place.scale)));
  const int index = std::min(wanted, static_cast<int>(halves_.size()));
  const Bitmap& source = level(index);
  const double levelScale = std::ldexp(place.scale, index);
  const Axis across =
      axisOf(place.left, place.scale, image_.width(), frame.width, source.width(), levelScale, enlarged);
  const Axis down =
      axisOf(place.top, place.scale, image_.height(), frame.height, source.height(), levelScale, enlarged);
  fillBeside(across, down, frame, background);
  if (across.samples.empty() || down.samples.empty()) return;

  const std::int64_t pixels = static_cast<std::int64_t>(across.samples.size()) * (down.end - down.begin);
  inBands(down.end - down.begin, pixels, [&](int first, int end) {
    if (enlarged) {
      drawEnlarged(source, across, down, frame, down.begin + first, down.begin + end);
    } else {
      drawReduced(source, across, down, frame, down.begin + first, down.begin + end);
    }
  });
}

}  // namespace vellandra
