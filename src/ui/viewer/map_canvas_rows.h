#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace vellandra {

/// Which pixels of an image one column or row of a frame is made of: `first` and, with `weight` of `fullWeight`, the
/// next one.
struct Sample {
  int first;
  int weight;
};
inline constexpr int weightBits = 7;
inline constexpr int fullWeight = 1 << weightBits;

/// Whether the classes below use the processor's instructions for many bytes at once: where it has those they know.
/// Without them they make the same pixels, for which tests switch them off.
extern bool wideInstructions;

/// Makes rows of a frame, pixels as 0xffRRGGBB, of rows of an image of `width` pixels, blue, green, red in memory. A
/// column is the first pixel of its sample as it is. Samples rise by one at the most.
class RowCopier {
 public:
  RowCopier(std::span<const Sample> columns, int width);
  void make(const std::uint8_t* row, std::uint32_t* out) const;

  /// Eight pixels: sixteen bytes of the row for four of them each, and which of these go where.
  struct Block {
    std::array<int, 2> starts;
    std::array<std::uint8_t, 32> bytes;
  };

 private:
  std::span<const Sample> columns_;
  std::vector<Block> blocks_;  ///< as far as sixteen bytes lie inside the row
};

/// Two rows of an image, the same one twice for no weight.
struct RowPair {
  const std::uint8_t* above;
  const std::uint8_t* below;
  int weight;  ///< of the one below
};

/// As above, but a pixel is blended of two rows and then of two columns, each time to whole colours. Samples rise.
class RowBlender {
 public:
  RowBlender(std::span<const Sample> columns, int width);

  /// Room to work in, for one thread.
  struct Scratch {
    std::vector<std::uint8_t> row;
    std::vector<std::uint32_t> left, right;
  };
  /// `next` are the rows of the next call, which are fetched from memory meanwhile.
  void make(const RowPair& rows, const RowPair& next, Scratch& scratch, std::uint32_t* out) const;

  /// Eight pixels: sixteen bytes of a row for two of them each, which of these go where, each beside its neighbour's,
  /// and with how much weight.
  struct Block {
    std::array<int, 4> starts;
    std::array<std::uint8_t, 64> bytes;
    std::array<std::int8_t, 64> weights;
  };

 private:
  Block blockAt(std::size_t firstColumn) const;
  void makeFrom(std::size_t column, const RowPair& rows, Scratch& scratch, std::uint32_t* out) const;

  std::span<const Sample> columns_;
  int endOfBytes_;                     ///< of what is needed of a row
  std::vector<std::uint8_t> weights_;  ///< of the right pixel, for each byte of each column
  std::vector<Block> blocks_;          ///< as far as sixteen bytes lie inside the row, and reach over two pixels
};

}  // namespace vellandra
