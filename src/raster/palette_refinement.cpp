#include "raster/palette_refinement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "raster/color_rows.h"
#include "raster/palette.h"
#include "support/threads.h"

namespace vellandra {
namespace {

constexpr std::size_t channels = 3;
constexpr int partRows = 64;  // counted by one thread at a time
using Channels = std::array<double, channels>;

/// Whole numbers, so that the order of adding does not matter.
struct Sums {
  std::uint64_t count = 0;
  std::array<std::uint64_t, channels> values{}, squares{};

  void add(const std::uint8_t* pixel) {
    ++count;
    for (std::size_t c = 0; c < channels; ++c) {
      values[c] += pixel[c];
      squares[c] += std::uint64_t{pixel[c]} * pixel[c];
    }
  }
  void add(const Sums& other) {
    count += other.count;
    for (std::size_t c = 0; c < channels; ++c) {
      values[c] += other.values[c];
      squares[c] += other.squares[c];
    }
  }
};

/// The pixels that take one entry: their number, and of each channel, blue, green and red, the mean and the variance.
struct Cluster {
  double count = 0;
  Channels mean{}, variance{};
};

Cluster clusterOf(const PixelColor& entry, const Sums& sums) {
  Cluster cluster{static_cast<double>(sums.count), {}, {}};
  if (sums.count == 0) {
    cluster.mean = {static_cast<double>(entry.blue), static_cast<double>(entry.green), static_cast<double>(entry.red)};
    return cluster;
  }
  for (std::size_t c = 0; c < channels; ++c) {
    const double mean = static_cast<double>(sums.values[c]) / cluster.count;
    cluster.mean[c] = mean;
    cluster.variance[c] = std::max(0.0, static_cast<double>(sums.squares[c]) / cluster.count - mean * mean);
  }
  return cluster;
}

using Clusters = std::vector<Cluster>;

/// Of the first `count` entries.
Clusters clustersOf(const Bitmap& sample, std::span<const PixelColor> palette, std::size_t count, unsigned threads) {
  const NearestEntries nearest(palette);
  const int parts = (sample.height() + partRows - 1) / partRows;
  std::vector<std::vector<Sums>> counted(static_cast<std::size_t>(parts), std::vector<Sums>(palette.size()));
  forEachNumber(parts, threads, [&](int part) {
    std::vector<Sums>& sums = counted[static_cast<std::size_t>(part)];
    const int first = part * partRows;
    forColorRows(sample, first, Min(first + partRows, sample.height()), [&](const std::uint8_t* pixel, int) {
      const std::uint8_t* const end = pixel + colorBytes * sample.width();
      for (; pixel != end; pixel += colorBytes) sums[nearest.of({pixel[2], pixel[1], pixel[0], 0})].add(pixel);
    });
  });
  Clusters clusters;
  for (std::size_t i = 0; i < count; ++i) {
    Sums all;
    for (const std::vector<Sums>& sums : counted) all.add(sums[i]);
    clusters.push_back(clusterOf(palette[i], all));
  }
  return clusters;
}

/// What the sum of squared errors grows by when the pixels of both take one entry.
double lossOfJoining(const Cluster& a, const Cluster& b) {
  if (a.count == 0 || b.count == 0) return 0;
  double squares = 0;
  for (std::size_t c = 0; c < channels; ++c) squares += (a.mean[c] - b.mean[c]) * (a.mean[c] - b.mean[c]);
  return a.count * b.count / (a.count + b.count) * squares;
}

std::size_t widestChannel(const Cluster& cluster) {
  const auto widest = std::max_element(cluster.variance.begin(), cluster.variance.end());
  return static_cast<std::size_t>(widest - cluster.variance.begin());
}

/// Of a normal distribution: cut in its middle, it loses 2 / pi of its variance, and the means of its halves are
/// sqrt(2 / pi) of the standard deviation from the middle.
constexpr double lostVariance = 0.6366, halfMean = 0.7979;

/// What it falls by when the cluster is parted along its widest channel.
double gainOfParting(const Cluster& cluster) {
  return lostVariance * cluster.count * cluster.variance[widestChannel(cluster)];
}

/// Joins clusters whose entries are hardly needed apart, and parts those that another entry serves best. Each takes
/// part once: what it has become is known only when the pixels are counted again.
void moveIdleEntries(Clusters& clusters) {
  std::vector<bool> settled(clusters.size());
  while (true) {
    std::size_t idle = 0, kept = 0, wide = 0;
    double loss = std::numeric_limits<double>::infinity();
    double gain = 0;
    for (std::size_t i = 0; i < clusters.size(); ++i) {
      for (std::size_t k = 0; k < clusters.size() && !settled[i]; ++k) {
        if (k == i || settled[k] || clusters[i].count > clusters[k].count) continue;
        const double lost = lossOfJoining(clusters[i], clusters[k]);
        if (lost >= loss) continue;
        loss = lost;
        idle = i;
        kept = k;
      }
    }
    for (std::size_t i = 0; i < clusters.size(); ++i) {
      if (settled[i] || i == idle || i == kept || gainOfParting(clusters[i]) <= gain) continue;
      gain = gainOfParting(clusters[i]);
      wide = i;
    }
    if (gain <= loss) return;
    Cluster& joined = clusters[kept];
    const double weight = clusters[idle].count / std::max(1.0, clusters[idle].count + joined.count);
    for (std::size_t c = 0; c < channels; ++c) joined.mean[c] += (clusters[idle].mean[c] - joined.mean[c]) * weight;
    const std::size_t widest = widestChannel(clusters[wide]);
    const double apart = halfMean * std::sqrt(clusters[wide].variance[widest]);
    clusters[idle] = clusters[wide];
    clusters[idle].mean[widest] += apart;
    clusters[wide].mean[widest] -= apart;
    settled[idle] = settled[kept] = settled[wide] = true;
  }
}

}  // namespace

void refinePalette(const Bitmap& sample, std::span<PixelColor> palette, std::size_t movable, unsigned threads) {
  // Further rounds change the errors by less than a hundredth.
  constexpr int rounds = 3, movingRounds = 2;
  for (int round = 0; round < rounds; ++round) {
    Clusters clusters = clustersOf(sample, palette, movable, threads);
    if (round < movingRounds) moveIdleEntries(clusters);
    for (std::size_t i = 0; i < movable; ++i) {
      const auto rounded = [&](std::size_t c) {
        return static_cast<std::uint8_t>(std::clamp(std::lround(clusters[i].mean[c]), 0L, 255L));
      };
      palette[i] = {rounded(2), rounded(1), rounded(0), 0};
    }
  }
}

}  // namespace vellandra
