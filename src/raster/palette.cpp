#include "raster/palette.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdlib>

#include "raster/color_rows.h"
#include "support/threads.h"

namespace vellandra {
namespace {

/// Colours that are less than `side` apart in each channel.
struct Box {
  int red, green, blue;  ///< the lowest
  int side;
};

// The colour cube is cut into large cells of 32 x 32 x 32 colours, and each of those into 4 x 4 x 4 small ones.
constexpr int largeSide = 32, smallSide = 8;
constexpr int cellsAside = 256 / smallSide;
constexpr std::size_t cellCount = std::size_t{cellsAside} * cellsAside * cellsAside;
constexpr std::size_t colorsInCell = std::size_t{smallSide} * smallSide * smallSide;

/// A small cell's number.
constexpr std::size_t cellOf(int red, int green, int blue) {
  const int cell = (red / smallSide * cellsAside + green / smallSide) * cellsAside + blue / smallSide;
  return static_cast<std::size_t>(cell);
}

template <typename Work>
void forBoxes(const Box& whole, int side, const Work& work) {
  for (int red = 0; red < whole.side; red += side) {
    for (int green = 0; green < whole.side; green += side) {
      for (int blue = 0; blue < whole.side; blue += side) {
        work(Box{whole.red + red, whole.green + green, whole.blue + blue, side});
      }
    }
  }
}

/// How far `value` is from the end of the range that is farther away.
int farthest(int low, int side, int value) {
  return std::max(std::abs(low - value), std::abs(low + side - 1 - value));
}

int farthest(const Box& box, const PixelColor& color) {
  return farthest(box.red, box.side, color.red) + farthest(box.green, box.side, color.green) +
         farthest(box.blue, box.side, color.blue);
}

/// The most by which a value of the range is nearer to `b` than to `a`: none is more so than both ends.
int advantage(int low, int side, int a, int b) {
  const int high = low + side - 1;
  return std::max(std::abs(low - a) - std::abs(low - b), std::abs(high - a) - std::abs(high - b));
}

int advantage(const Box& box, const PixelColor& a, const PixelColor& b) {
  return advantage(box.red, box.side, a.red, b.red) + advantage(box.green, box.side, a.green, b.green) +
         advantage(box.blue, box.side, a.blue, b.blue);
}

/// Adds to `kept`, of `from`, what is not beaten in all of the box by the entry whose farthest colour is nearest.
template <typename Entry>
void keepNearest(const Box& box, const std::vector<Entry>& from, std::vector<Entry>& kept) {
  const Entry* best = &from.front();
  int least = farthest(box, best->color);
  for (const Entry& entry : from) {
    const int reach = farthest(box, entry.color);
    if (reach >= least) continue;
    least = reach;
    best = &entry;
  }
  for (const Entry& entry : from) {
    const int most = advantage(box, best->color, entry.color);
    if (most > 0 || (most == 0 && entry.index <= best->index)) kept.push_back(entry);
  }
}

}  // namespace

NearestEntries::NearestEntries(std::span<const PixelColor> palette) : cells_(cellCount) {
  std::vector<Entry> all, some;
  for (const PixelColor& color : palette) all.push_back({color, static_cast<std::uint8_t>(all.size())});
  forBoxes({0, 0, 0, 256}, largeSide, [&](const Box& large) {
    some.clear();
    keepNearest(large, all, some);
    forBoxes(large, smallSide, [&](const Box& small) {
      Cell& cell = cells_[cellOf(small.red, small.green, small.blue)];
      cell.begin = static_cast<std::uint32_t>(entries_.size());
      keepNearest(small, some, entries_);
      cell.end = static_cast<std::uint32_t>(entries_.size());
    });
  });
}

std::uint8_t NearestEntries::of(const PixelColor& color) const {
  const Cell& cell = cells_[cellOf(color.red, color.green, color.blue)];
  std::uint8_t nearest = 0;
  int least = 3 * 256;
  for (std::uint32_t i = cell.begin; i < cell.end; ++i) {
    const PixelColor& entry = entries_[i].color;
    const int distance =
        std::abs(entry.red - color.red) + std::abs(entry.green - color.green) + std::abs(entry.blue - color.blue);
    if (distance >= least) continue;
    least = distance;
    nearest = entries_[i].index;
  }
  return nearest;
}

std::vector<std::uint8_t> NearestEntries::table(unsigned threads) const {
  std::vector<std::uint8_t> table(cellCount * colorsInCell);
  const auto fill = [&](const Box& box) {
    const std::size_t number = cellOf(box.red, box.green, box.blue);
    const Cell& cell = cells_[number];
    std::uint8_t* out = &table[number * colorsInCell];
    for (int place = 0; place < smallSide * smallSide; ++place) {
      const int red = box.red + place / smallSide;
      const int green = box.green + place % smallSide;
      // Distance and entry in one number, of which the least is wanted.
      std::array<std::uint32_t, smallSide> least{};
      least.fill(~std::uint32_t{0});
      for (std::uint32_t i = cell.begin; i < cell.end; ++i) {
        const PixelColor& entry = entries_[i].color;
        const int beside = std::abs(entry.red - red) + std::abs(entry.green - green);
        int blue = box.blue;
        for (std::uint32_t& value : least) {
          const auto distance = static_cast<std::uint32_t>(beside + std::abs(entry.blue - blue++));
          value = std::min(value, distance << 8U | entries_[i].index);
        }
      }
      for (const std::uint32_t value : least) *out++ = static_cast<std::uint8_t>(value);
    }
  };
  forEachNumber(cellsAside, threads, [&](int slice) {
    for (int green = 0; green < 256; green += smallSide) {
      for (int blue = 0; blue < 256; blue += smallSide) fill({slice * smallSide, green, blue, smallSide});
    }
  });
  return table;
}

void mapToPalette(const Bitmap& image, std::span<const PixelColor> palette, Bitmap& reduced, unsigned threads) {
  const std::vector<std::uint8_t> table = NearestEntries(palette).table(threads);
  // A colour's place in the table is the sum of what blue, green and red add.
  std::array<std::array<std::uint32_t, 256>, 3> added{};
  for (std::uint32_t value = 0; value < 256; ++value) {
    for (std::uint32_t channel = 0; channel < 3; ++channel) {
      added[channel][value] = value / smallSide << (9 + 5 * channel) | value % smallSide << 3 * channel;
    }
  }
  constexpr int bandRows = 64;
  forEachNumber((image.height() + bandRows - 1) / bandRows, threads, [&](int band) {
    const int first = band * bandRows;
    forColorRows(image, first, Min(first + bandRows, image.height()), [&](const std::uint8_t* in, int y) {
      std::uint8_t* out = reduced.row(y).data();
      for (std::uint8_t* const end = out + image.width(); out != end; ++out, in += colorBytes) {
        *out = table[added[0][in[0]] + added[1][in[1]] + added[2][in[2]]];
      }
    });
  });
}

}  // namespace vellandra
