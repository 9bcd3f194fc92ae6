#include "ui/viewer/map_canvas_rows.h"

#include <algorithm>
#include <bit>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace vellandra {
namespace {

static_assert(std::endian::native == std::endian::little, "blue, green, red in memory is 0xRRGGBB in a number");

constexpr int bytesPerPixel = 3;
constexpr std::size_t blockPixels = 8;
constexpr int loadBytes = 16;
constexpr std::uint32_t opaque = 0xff000000U;
constexpr std::uint8_t noByte = 0x80;  ///< instead of a byte's place: zero
constexpr int halfWeight = fullWeight / 2;

/// Where pixel `x` begins in a row.
constexpr int byteOf(int x) {
  return bytesPerPixel * x;
}

std::uint32_t pixelAt(const std::uint8_t* bgr) {
  return opaque | static_cast<std::uint32_t>(bgr[2]) << 16U | static_cast<std::uint32_t>(bgr[1]) << 8U | bgr[0];
}

/// As above, and quicker, but reads a byte more.
std::uint32_t pixelBefore(const std::uint8_t* bgr) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, bgr, sizeof pixel);
  return opaque | pixel;
}

std::uint8_t blended(unsigned first, unsigned second, unsigned weight) {
  return static_cast<std::uint8_t>((first * (fullWeight - weight) + second * weight + fullWeight / 2) >> weightBits);
}

#if defined(__x86_64__)

#define VELLANDRA_WIDE __attribute__((target("avx2")))

template <typename T>
VELLANDRA_WIDE __m256i load(const T* from) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

VELLANDRA_WIDE __m256i loadTwo(const std::uint8_t* low, const std::uint8_t* high) {
  return _mm256_inserti128_si256(_mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
                                 _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

VELLANDRA_WIDE void storePixels(std::uint32_t* out, __m256i bytes) {
  const __m256i alpha = _mm256_set1_epi32(static_cast<int>(opaque));
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_or_si256(bytes, alpha));
}

VELLANDRA_WIDE void copyBlocks(std::span<const RowCopier::Block> blocks, const std::uint8_t* row, std::uint32_t* out) {
  for (const RowCopier::Block& block : blocks) {
    const __m256i bytes = loadTwo(row + block.starts[0], row + block.starts[1]);
    storePixels(out, _mm256_shuffle_epi8(bytes, load(block.bytes.data())));
    out += blockPixels;
  }
}

/// As `blended`, of neighbouring bytes: two bytes for each two.
VELLANDRA_WIDE __m256i blendedPairs(__m256i bytes, __m256i weights) {
  return _mm256_mulhrs_epi16(_mm256_maddubs_epi16(bytes, weights), _mm256_set1_epi16(1 << (15 - weightBits)));
}

/// Half a block, two bytes for each of its bytes.
template <std::size_t half>
VELLANDRA_WIDE __m256i blendedHalf(const RowBlender::Block& block, const RowPair& rows, __m256i rowWeights) {
  const int low = block.starts[2 * half], high = block.starts[2 * half + 1];
  const __m256i above = loadTwo(rows.above + low, rows.above + high);
  const __m256i below = loadTwo(rows.below + low, rows.below + high);
  const __m256i row = _mm256_packus_epi16(blendedPairs(_mm256_unpacklo_epi8(above, below), rowWeights),
                                          blendedPairs(_mm256_unpackhi_epi8(above, below), rowWeights));
  const __m256i neighbours = _mm256_shuffle_epi8(row, load(block.bytes.data() + 32 * half));
  return blendedPairs(neighbours, load(block.weights.data() + 32 * half));
}

VELLANDRA_WIDE void blendBlocks(std::span<const RowBlender::Block> blocks, const RowPair& rows, const RowPair& next,
                                std::uint32_t* out) {
  const int below = rows.weight == 0 ? halfWeight : rows.weight;  // of the same row then
  const __m256i rowWeights = _mm256_set1_epi16(static_cast<short>(below << 8 | (fullWeight - below)));
  for (const RowBlender::Block& block : blocks) {
    _mm_prefetch(reinterpret_cast<const char*>(next.above + block.starts[0]), _MM_HINT_T0);
    _mm_prefetch(reinterpret_cast<const char*>(next.below + block.starts[0]), _MM_HINT_T0);
    storePixels(out,
                _mm256_packus_epi16(blendedHalf<0>(block, rows, rowWeights), blendedHalf<1>(block, rows, rowWeights)));
    out += blockPixels;
  }
}

#else

void copyBlocks(std::span<const RowCopier::Block>, const std::uint8_t*, std::uint32_t*) {}
void blendBlocks(std::span<const RowBlender::Block>, const RowPair&, const RowPair&, std::uint32_t*) {}

#endif

}  // namespace

#if defined(__x86_64__)
bool wideInstructions = __builtin_cpu_supports("avx2") != 0;
#else
bool wideInstructions = false;
#endif

RowCopier::RowCopier(std::span<const Sample> columns, int width) : columns_(columns) {
  if (!wideInstructions) return;
  blocks_.reserve(columns.size() / blockPixels);
  for (std::size_t i = 0; i + blockPixels <= columns.size(); i += blockPixels) {
    Block block{{byteOf(columns[i].first), byteOf(columns[i + blockPixels / 2].first)}, {}};
    if (block.starts[1] + loadBytes > byteOf(width)) break;
    block.bytes.fill(noByte);
    for (std::size_t pixel = 0; pixel < blockPixels; ++pixel) {
      const int from = byteOf(columns[i + pixel].first) - block.starts.at(pixel * 2 / blockPixels);
      for (std::size_t c = 0; c < bytesPerPixel; ++c) {
        block.bytes.at(4 * pixel + c) = static_cast<std::uint8_t>(from + static_cast<int>(c));
      }
    }
    blocks_.push_back(block);
  }
}

void RowCopier::make(const std::uint8_t* row, std::uint32_t* out) const {
  if (!blocks_.empty()) copyBlocks(blocks_, row, out);
  for (std::size_t i = blocks_.size() * blockPixels; i < columns_.size(); ++i) {
    out[i] = pixelAt(row + byteOf(columns_[i].first));
  }
}

RowBlender::RowBlender(std::span<const Sample> columns, int width)
    : columns_(columns), endOfBytes_(byteOf(std::min(columns.back().first + 2, width))) {
  for (const Sample& column : columns) weights_.insert(weights_.end(), 4, static_cast<std::uint8_t>(column.weight));
  if (!wideInstructions) return;
  constexpr int furthest = 3;  // of a pair's second pixel from its first: its neighbour ends with the fifteenth byte
  blocks_.reserve(columns.size() / blockPixels);
  for (std::size_t i = 0; i + blockPixels <= columns.size(); i += blockPixels) {
    for (std::size_t pixel = 0; pixel < blockPixels; pixel += 2) {
      if (columns[i + pixel + 1].first - columns[i + pixel].first > furthest) return;
    }
    const Block block = blockAt(i);
    if (block.starts.back() + loadBytes > byteOf(width)) return;
    blocks_.push_back(block);
  }
}

RowBlender::Block RowBlender::blockAt(std::size_t firstColumn) const {
  constexpr std::array<std::size_t, 4> places = {0, 2, 1, 3};  // packing takes of either half by turns
  Block block;
  block.bytes.fill(noByte);
  block.weights.fill(0);
  for (std::size_t pixel = 0; pixel < blockPixels; ++pixel) {
    const Sample& column = columns_[firstColumn + pixel];
    const int start = columns_[firstColumn + pixel / 2 * 2].first;
    const std::size_t place = places.at(pixel / 2);
    block.starts.at(place) = byteOf(start);
    const bool alone = column.weight == 0;  // the whole weight is more than a byte with a sign holds
    for (std::size_t c = 0; c < bytesPerPixel; ++c) {
      const std::size_t at = 16 * place + 8 * (pixel % 2) + 2 * c;
      const int byte = byteOf(column.first - start) + static_cast<int>(c);
      block.bytes.at(at) = static_cast<std::uint8_t>(byte);
      block.bytes.at(at + 1) = static_cast<std::uint8_t>(byte + (alone ? 0 : bytesPerPixel));
      block.weights.at(at) = static_cast<std::int8_t>(alone ? halfWeight : fullWeight - column.weight);
      block.weights.at(at + 1) = static_cast<std::int8_t>(alone ? halfWeight : column.weight);
    }
  }
  return block;
}

void RowBlender::make(const RowPair& rows, const RowPair& next, Scratch& scratch, std::uint32_t* out) const {
  if (!blocks_.empty()) blendBlocks(blocks_, rows, next, out);
  const std::size_t made = blocks_.size() * blockPixels;
  if (made < columns_.size()) makeFrom(made, rows, scratch, out + made);
}

/// First the rows are blended, as far as they are needed, then the pixels with their neighbours, which are laid side by
/// side for it: so the compiler blends many bytes at once.
void RowBlender::makeFrom(std::size_t column, const RowPair& rows, Scratch& scratch, std::uint32_t* out) const {
  const int start = byteOf(columns_[column].first);
  const std::size_t bytes = static_cast<std::size_t>(endOfBytes_ - start), count = columns_.size() - column;
  scratch.row.resize(bytes + 4);
  scratch.left.resize(count);
  scratch.right.resize(count);
  std::uint8_t* row = scratch.row.data();
  const std::uint8_t *above = rows.above + start, *below = rows.below + start;
  const auto weight = static_cast<unsigned>(rows.weight);
  for (std::size_t i = 0; i < bytes; ++i) row[i] = blended(above[i], below[i], weight);
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint8_t* pixel = row + byteOf(columns_[column + i].first) - start;
    scratch.left[i] = pixelBefore(pixel);
    scratch.right[i] = pixelBefore(pixel + bytesPerPixel);
  }
  const auto* left = reinterpret_cast<const std::uint8_t*>(scratch.left.data());
  const auto* right = reinterpret_cast<const std::uint8_t*>(scratch.right.data());
  const std::uint8_t* weights = weights_.data() + 4 * column;
  auto* made = reinterpret_cast<std::uint8_t*>(out);
  for (std::size_t i = 0; i < 4 * count; ++i) made[i] = blended(left[i], right[i], weights[i]);
}

}  // namespace vellandra
