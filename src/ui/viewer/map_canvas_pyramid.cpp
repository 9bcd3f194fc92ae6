#include "ui/viewer/map_canvas_pyramid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <optional>

#include "support/errors.h"
#include "support/threads.h"
#include "ui/viewer/map_canvas_rows.h"

namespace vellandra {
namespace {

constexpr int bytesPerPixel = 3;
constexpr int smallestSide = 64;  ///< of a level that is worth halving

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

/// The run of frame pixels that show the image along one axis, and what each is made of.
struct Axis {
  int begin = 0, end = 0;
  std::vector<Sample> samples;  ///< of begin to end
  const Sample& at(int place) const { return samples[static_cast<std::size_t>(place - begin)]; }
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
    axis.samples.push_back({first, between ? static_cast<int>((from - whole) * fullWeight) : 0});
  }
  return axis;
}

/// Calls `work` with the first row and the end of each band of a frame, on all cores when there is enough to do.
void forEachBand(const Frame& frame, const std::function<void(int, int)>& work) {
  constexpr int rows = 64;  // few enough for the cache
  constexpr std::int64_t pixelsWorthAThread = 300'000;
  const std::int64_t wanted = std::int64_t{frame.width} * frame.height / pixelsWorthAThread;
  const auto threads = static_cast<unsigned>(std::clamp<std::int64_t>(wanted, 1, std::min(coreCount(), 8U)));
  forEachNumber((frame.height + rows - 1) / rows, threads,
                [&](int band) { work(band * rows, std::min((band + 1) * rows, frame.height)); });
}

std::uint32_t* rowOf(const Frame& frame, int y) {
  return frame.pixels + static_cast<std::ptrdiff_t>(y) * frame.stride;
}

/// The rows of a frame from `first` to `end`, which show the image.
void drawEnlarged(const Bitmap& image, const RowCopier& columns, const Axis& across, const Axis& down,
                  const Frame& frame, int first, int end) {
  int shown = -1;
  for (int y = first; y < end; ++y) {
    std::uint32_t* out = rowOf(frame, y) + across.begin;
    const int source = down.at(y).first;
    if (source == shown) {
      std::memcpy(out, out - frame.stride, across.samples.size() * sizeof *out);
    } else {
      columns.make(image.row(source).data(), out);
    }
    shown = source;
  }
}

void drawReduced(const Bitmap& level, const RowBlender& columns, const Axis& across, const Axis& down,
                 const Frame& frame, int first, int end) {
  const auto pairAt = [&](int y) {
    const Sample& row = down.at(y);
    const std::uint8_t* above = level.row(row.first).data();
    return RowPair{above, row.weight == 0 ? above : level.row(row.first + 1).data(), row.weight};
  };
  if (first >= end) return;
  RowBlender::Scratch scratch;
  RowPair rows = pairAt(first);
  for (int y = first; y < end; ++y) {
    const RowPair next = pairAt(std::min(y + 1, end - 1));
    columns.make(rows, next, scratch, rowOf(frame, y) + across.begin);
    rows = next;
  }
}

void fillBeside(const Axis& across, const Axis& down, const Frame& frame, int first, int end,
                std::uint32_t background) {
  for (int y = first; y < end; ++y) {
    std::uint32_t* row = rowOf(frame, y);
    const bool beside = y < down.begin || y >= down.end;
    std::fill(row, row + (beside ? frame.width : across.begin), background);
    if (!beside) std::fill(row + across.end, row + frame.width, background);
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

void ImagePyramid::draw(const FramePlace& place, const Frame& frame, std::uint32_t background,
                        const std::function<void(const Frame& band, int top)>& over) const {
  const bool enlarged = place.scale >= 1;
  const int wanted = enlarged ? 0 : static_cast<int>(std::floor(-std::log2(place.scale)));
  const int index = std::min(wanted, static_cast<int>(halves_.size()));
  const Bitmap& source = level(index);
  const double levelScale = std::ldexp(place.scale, index);
  const Axis across =
      axisOf(place.left, place.scale, image_.width(), frame.width, source.width(), levelScale, enlarged);
  const Axis down =
      axisOf(place.top, place.scale, image_.height(), frame.height, source.height(), levelScale, enlarged);
  std::optional<RowCopier> copier;
  std::optional<RowBlender> blender;
  if (!across.samples.empty() && enlarged) copier.emplace(across.samples, source.width());
  if (!across.samples.empty() && !enlarged) blender.emplace(across.samples, source.width());

  forEachBand(frame, [&](int top, int bottom) {
    const int first = std::max(top, down.begin), end = std::min(bottom, down.end);
    fillBeside(across, down, frame, top, bottom, background);
    if (copier) drawEnlarged(source, *copier, across, down, frame, first, end);
    if (blender) drawReduced(source, *blender, across, down, frame, first, end);
    if (over) over({rowOf(frame, top), frame.width, bottom - top, frame.stride}, top);
  });
}

}  // namespace vellandra
