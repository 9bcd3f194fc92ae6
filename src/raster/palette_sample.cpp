#include "raster/palette_sample.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <vector>

#include "raster/color_rows.h"
#include "support/threads.h"

namespace vellandra {
namespace {

constexpr double sampleSize = 1e6;  // pixels, without those added for rare colours

struct Pixel {
  std::uint8_t blue, green, red;
};
static_assert(sizeof(Pixel) == colorBytes);

/// The blocks that the even part of the sample takes a pixel of each.
class Blocks {
 public:
  Blocks(int width, int height) : width_(width), height_(height) {
    const double side = std::sqrt(static_cast<double>(width) * height / sampleSize);
    across_ = std::clamp(static_cast<int>(std::lround(width / side)), 1, width);
    down_ = std::clamp(static_cast<int>(std::lround(height / side)), 1, height);
  }
  int across() const { return across_; }
  int down() const { return down_; }
  int left(int column) const { return edge(width_, column, across_); }
  int top(int row) const { return edge(height_, row, down_); }

 private:
  static int edge(int size, int number, int count) { return static_cast<int>(std::int64_t{size} * number / count); }
  int width_, height_, across_, down_;
};

/// Any 32 bits for a block, so that no pattern of the map falls in step with the blocks.
std::uint32_t scattered(int column, int row) {
  constexpr std::uint32_t a = 0x9E3779B1, b = 0x85EBCA77, c = 0x2C1B3C6D;  // odd, with well mixed bits
  std::uint32_t mixed = static_cast<std::uint32_t>(column) * a ^ static_cast<std::uint32_t>(row) * b;
  mixed = (mixed ^ mixed >> 15U) * c;
  return mixed ^ mixed >> 13U;
}

/// The pixels that are taken of one row of blocks, by columns.
class Targets {
 public:
  void aimAt(const Blocks& blocks, int blockRow) {
    top_ = blocks.top(blockRow);
    const auto rows = static_cast<unsigned>(blocks.top(blockRow + 1) - top_);
    targets_.clear();
    for (int column = 0; column < blocks.across(); ++column) {
      const int left = blocks.left(column);
      const auto columns = static_cast<unsigned>(blocks.left(column + 1) - left);
      const std::uint32_t bits = scattered(column, blockRow);
      targets_.push_back({left + static_cast<int>((bits & 0xffffU) % columns), static_cast<int>((bits >> 16U) % rows)});
    }
  }
  /// Those in row `y` of the image, whose pixels are `row`; `out` has a place for each column.
  void take(const std::uint8_t* row, int y, Pixel* out) const {
    for (const Target& target : targets_) {
      if (target.rowBelowTop == y - top_) std::memcpy(out, row + colorBytes * target.x, sizeof *out);
      ++out;
    }
  }

 private:
  struct Target {
    int x, rowBelowTop;
  };
  int top_ = 0;
  std::vector<Target> targets_;
};

/// What the image has of the colours of each cell of the colour cube, of 8 x 8 x 8 colours.
class Census {
 public:
  static constexpr unsigned shift = 3;
  static constexpr std::size_t side = 256U >> shift;
  static constexpr std::size_t size = side * side * side;

  struct Cell {
    std::uint32_t count = 0;
    Pixel last = {};  ///< in the order of rows
  };

  void addRow(const std::uint8_t* row, int width) {
    for (const std::uint8_t* const end = row + colorBytes * width; row != end; row += colorBytes) {
      const unsigned place = unsigned{row[2]} >> shift << 10U | unsigned{row[1]} >> shift << 5U | row[0] >> shift;
      Cell& cell = cells_[place];
      ++cell.count;
      cell.last = {row[0], row[1], row[2]};
    }
  }
  /// The rows behind those counted here.
  void append(const Census& behind) {
    for (std::size_t i = 0; i < size; ++i) {
      if (behind.cells_[i].count > 0) cells_[i] = {cells_[i].count + behind.cells_[i].count, behind.cells_[i].last};
    }
  }
  const std::vector<Cell>& cells() const { return cells_; }

  /// For every cell, the pixels in it and in those that touch it.
  std::vector<std::uint32_t> countsAround() const {
    std::vector<std::uint32_t> sums(size), source(size);
    std::transform(cells_.begin(), cells_.end(), sums.begin(), [](const Cell& cell) { return cell.count; });
    for (const std::size_t step : {std::size_t{1}, side, side * side}) {
      source.swap(sums);
      for (std::size_t i = 0; i < size; ++i) {
        const std::size_t place = i / step % side;
        sums[i] = source[i] + (place > 0 ? source[i - step] : 0) + (place + 1 < side ? source[i + step] : 0);
      }
    }
    return sums;
  }

 private:
  std::vector<Cell> cells_{size};
};

/// More pixels of the colours that the even sample, with `share` of the image's pixels, shows too seldom.
std::vector<Pixel> moreOfRareColors(const Census& census, double share) {
  // So many of a million give a colour an entry near to it, and a hundred times as many as there are do so for one that
  // covers a few of a million pixels.
  constexpr double enough = 300, mostTimes = 100;
  const std::vector<std::uint32_t> around = census.countsAround();
  std::vector<Pixel> more;
  for (std::size_t i = 0; i < Census::size; ++i) {
    const Census::Cell& cell = census.cells()[i];
    const double shown = around[i] * share;
    if (cell.count == 0 || shown >= enough) continue;
    const double wanted = cell.count * share * (std::min(enough / shown, mostTimes) - 1);
    more.insert(more.end(), static_cast<std::size_t>(wanted), cell.last);
  }
  return more;
}

/// All of `even` in its order, with the pixels of `more` spread evenly among them, equal ones far from each other.
Bitmap mixed(const std::vector<Pixel>& even, const std::vector<Pixel>& more) {
  constexpr std::size_t width = 1000;
  const std::size_t size = even.size() + more.size();
  Bitmap image = allocate24Bits(width, static_cast<int>((size + width - 1) / width));
  if (!image) return image;
  // Steps by the golden section of a list come near to no place twice before they have come near to all.
  auto step = static_cast<std::size_t>(0.6180339887 * static_cast<double>(more.size())) + 1;
  while (std::gcd(step, more.size()) > 1) ++step;
  std::size_t evenTaken = 0, moreTaken = 0;
  for (int y = 0; y < image.height(); ++y) {
    std::uint8_t* out = image.row(y).data();
    for (std::size_t x = 0; x < width; ++x, out += colorBytes) {
      // The last row is filled up from the beginning.
      const bool takesMore = (evenTaken + moreTaken + 1) * more.size() / size > moreTaken;
      const Pixel& pixel = takesMore ? more[moreTaken++ * step % more.size()] : even[evenTaken++ % even.size()];
      std::memcpy(out, &pixel, sizeof pixel);
    }
  }
  return image;
}

/// Takes the even sample of the rows of blocks from `first` to `end`, and counts all their colours.
void takeBlocks(const Bitmap& image, const Blocks& blocks, int first, int end, std::vector<Pixel>& even,
                Census& census) {
  Targets targets;
  for (int blockRow = first; blockRow < end; ++blockRow) {
    targets.aimAt(blocks, blockRow);
    Pixel* const out = &even[static_cast<std::size_t>(blockRow) * static_cast<std::size_t>(blocks.across())];
    forColorRows(image, blocks.top(blockRow), blocks.top(blockRow + 1), [&](const std::uint8_t* row, int y) {
      census.addRow(row, image.width());
      targets.take(row, y, out);
    });
  }
}

}  // namespace

Bitmap paletteSample(const Bitmap& image, unsigned threads) {
  const Blocks blocks(image.width(), image.height());
  const int parts = Min(32, blocks.down());  // each has its own census
  std::vector<Census> counted(static_cast<std::size_t>(parts));
  std::vector<Pixel> even(static_cast<std::size_t>(blocks.across()) * static_cast<std::size_t>(blocks.down()));
  const auto edge = [&](int part) { return static_cast<int>(std::int64_t{blocks.down()} * part / parts); };
  forEachNumber(parts, threads, [&](int part) {
    takeBlocks(image, blocks, edge(part), edge(part + 1), even, counted[static_cast<std::size_t>(part)]);
  });
  Census census = std::move(counted.front());
  std::for_each(counted.begin() + 1, counted.end(), [&census](const Census& part) { census.append(part); });
  const double share = static_cast<double>(even.size()) / (static_cast<double>(image.width()) * image.height());
  return mixed(even, moreOfRareColors(census, share));
}

}  // namespace vellandra
