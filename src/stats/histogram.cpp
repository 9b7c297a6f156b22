// Histograms. Bytes are counted one by one, and bins made from these counts. Words and numbers are compared
// with all levels, or search their bin, or words are counted one by one, too, in a table. All on the calling
// thread.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/memory.h"
#include "core/walk.h"
#include "move/copy.h"
#include "stats/levels_rows.h"
#include "zopi/status.h"

namespace zopi {
namespace {

ZopStatus checkLevelCount(int count) { return count < 2 ? zopStatusBadHistogramLevels : zopStatusOk; }

template <class Layout, class L>
ZopStatus checkBins(Zop32s* const* bins, const L* const* levels, const int* levelCounts) {
  for (int c = 0; c < Layout::colours; ++c) {
    if (bins[c] == nullptr || levels[c] == nullptr) return zopStatusNullPointer;
    if (ZopStatus bad = checkLevelCount(levelCounts[c])) return bad;
  }
  return zopStatusOk;
}

void clear(Zop32s* bins, int levelCount) { std::memset(bins, 0, (levelCount - 1) * sizeof *bins); }

// Makes bins of how many samples are below each level.
template <class Below>
void fillBins(Zop32s* bins, Levels<Zop32s> levels, const Below& below) {
  Zop32s from = levels.at[0];
  std::uint32_t belowFrom = below(from);
  for (int k = 0; k + 1 < levels.count; ++k) {
    const Zop32s to = levels.at[k + 1];
    const std::uint32_t belowTo = below(to);
    bins[k] = from < to ? static_cast<Zop32s>(belowTo - belowFrom) : 0;
    from = to;
    belowFrom = belowTo;
  }
}

// Counts of what is equal become counts of what is below: counts[0] stands for the lowest sample, and there
// is one more than samples.
void sumUp(std::uint32_t* counts, int samples) {
  std::uint32_t below = 0;
  for (int i = 0; i < samples; ++i) {
    const std::uint32_t equal = counts[i];
    counts[i] = below;
    below += equal;
  }
  counts[samples] = below;
}

// Bytes, channel by channel. A counter that has just been stored cannot be read at once, so neighbours have
// counters of their own.
template <class Layout>
class ByteCounts {
  static constexpr int kNeighbours = Layout::channels == 1 ? 4 : 2, kTogether = 2 * kNeighbours;
  std::uint32_t counts_[kNeighbours][Layout::colours][257] = {};

 public:
  void add(const Zop8u* at, std::ptrdiff_t pixels) {
    for (; pixels >= kTogether; pixels -= kTogether, at += kTogether * Layout::channels) {
#pragma GCC unroll 8
      for (int i = 0; i < kTogether; ++i) addPixel(i % kNeighbours, at + i * Layout::channels);
    }
    for (; pixels > 0; --pixels, at += Layout::channels) addPixel(0, at);
  }

  // Of a channel, how many are below each byte.
  const std::uint32_t* below(int c) {
    std::uint32_t* sums = counts_[0][c];
    std::uint32_t below = 0;
    for (int i = 0; i < 256; ++i) {
      std::uint32_t equal = 0;
#pragma GCC unroll 4
      for (int n = 0; n < kNeighbours; ++n) equal += counts_[n][c][i];
      sums[i] = below;
      below += equal;
    }
    sums[256] = below;
    return sums;
  }

 private:
  void addPixel(int neighbour, const Zop8u* pixel) {
#pragma GCC unroll 4
    for (int c = 0; c < Layout::colours; ++c) ++counts_[neighbour][c][pixel[c]];
  }
};

template <class Layout>
void countBytes(Image<const Zop8u> src, ZopImageSize size, Zop32s* const* bins, const Zop32s* const* levels,
                const int* levelCounts) {
  ByteCounts<Layout> counts;
  walkPixels(
      size,
      [&](Image<const Zop8u> band, Extent e) {
        for (int y = 0; y < e.rows; ++y) counts.add(band.row(y), e.length);
      },
      src.as<Zop8u, Layout::channels>());
  for (int c = 0; c < Layout::colours; ++c) {
    const std::uint32_t* below = counts.below(c);
    fillBins(bins[c], {levels[c], levelCounts[c]},
             [below](Zop32s level) { return below[clipped<Zop8u>(level)]; });
  }
}

// Hands the samples of one channel to `take(samples, count)`, piece by piece. Rows may stand at any address.
template <class Layout, class T, class Take>
void forPieces(Image<const T> src, ZopImageSize size, int channel, const Take& take) {
  T piece[kLevelPiece] = {};
  src.at += channel;
  walkPixels(
      size,
      [&](Image<const T> band, Extent e) {
        for (int y = 0; y < e.rows; ++y) {
          for (std::ptrdiff_t x = 0; x < e.length; x += kLevelPiece) {
            const std::ptrdiff_t n = std::min(kLevelPiece, e.length - x);
            extractChannel<Layout>(Image<const T>{band.row(y) + x * Layout::channels, 0}, Image<T>{piece, 0},
                                   {static_cast<int>(n), 1});
            take(piece, n);
          }
        }
      },
      src.template as<T, Layout::channels>());
}

// One channel of an image, and its bins, which are empty when counting starts.
template <class Layout, class T>
struct ChannelBins {
  Image<const T> src;
  ZopImageSize size;
  int channel;
  Zop32s* bins;
  Levels<Level<T>> levels;

  template <class Take>
  void forPieces(const Take& take) const {
    zopi::forPieces<Layout>(src, size, channel, take);
  }

  // With all levels, in any order: a bin has what has reached its lower level but not its upper one.
  void compare() const {
    const auto& rows = levelTable().of<T>();
    int reachedLast = 0;
    forPieces(
        [&](const T* piece, std::ptrdiff_t n) { reachedLast += rows.countReached(piece, n, levels, bins); });
    const int last = levels.count - 1;
    for (int k = 0; k < last; ++k) {
      const int reachedNext = k + 1 < last ? bins[k + 1] : reachedLast;
      bins[k] = levels.at[k] < levels.at[k + 1] ? bins[k] - reachedNext : 0;
    }
  }

  // Levels that increase: each sample seeks its bin, or few levels are compared after all.
  void search() const {
    const auto& rows = levelTable().of<T>();
    if (levels.count < rows.many) return compare();
    Zop32s reached[kLevelPiece];
    forPieces([&](const T* piece, std::ptrdiff_t n) {
      rows.reached(piece, n, levels, reached);
      for (std::ptrdiff_t i = 0; i < n; ++i) {
        if (reached[i] > 0 && reached[i] < levels.count) ++bins[reached[i] - 1];
      }
    });
  }

  // Levels in any order, through a table of all words.
  ZopStatus tabulate() const {
    constexpr int kWords = 65536;
    auto* const counts = static_cast<std::uint32_t*>(zopAlloc32(kWords + 1));
    if (counts == nullptr) return zopStatusNoMemory;
    std::memset(counts, 0, (kWords + 1) * sizeof *counts);
    std::uint32_t* const zero = counts - SampleRange<T>::lowest;
    forPieces([zero](const T* piece, std::ptrdiff_t n) {
      for (std::ptrdiff_t i = 0; i < n; ++i) ++zero[piece[i]];
    });
    sumUp(counts, kWords);
    fillBins(bins, levels, [zero](Zop32s level) { return zero[clipped<T>(level)]; });
    zopFreeAligned(counts);
    return zopStatusOk;
  }

  // Bins of one width: a division finds the bin. The samples must be `width` times the number of bins.
  void divide(int lowerLevel, int width) const {
    if (levels.count < levelTable().of<T>().many) return compare();
    const auto range = static_cast<std::uint32_t>(width) * (levels.count - 1);
    const double reciprocal = 1.0 / width;
    forPieces([&](const T* piece, std::ptrdiff_t n) {
      for (std::ptrdiff_t i = 0; i < n; ++i) {
        const auto above = static_cast<std::uint32_t>(piece[i]) - static_cast<std::uint32_t>(lowerLevel);
        if (above < range) ++bins[static_cast<std::int64_t>((above + 0.5) * reciprocal)];
      }
    });
  }
};

// Up to how many levels a table of all words does not pay, for images of some number of pixels and more.
struct Crossover {
  int pixels, levels;
};
constexpr Crossover kIncreasing[] = {{12544, 214}, {16384, 74}, {20736, 38}, {25600, 34}, {30976, 22},
                                     {43264, 18},  {50176, 14}, {65536, 10}, {123904, 6}};
constexpr Crossover kOther[] = {{1024, 442}, {2304, 202}, {4096, 114}, {6400, 74},  {9216, 54},  {12544, 42},
                                {16384, 30}, {20736, 22}, {30976, 18}, {36864, 14}, {50176, 10}, {82944, 6}};
template <std::size_t kCount>
bool tablePays(const Crossover (&crossovers)[kCount], ZopImageSize size, int levels) {
  const std::int64_t pixels = std::int64_t{size.width} * size.height;
  bool pays = false;
  for (const Crossover& c : crossovers) {
    if (pixels >= c.pixels) pays = levels > c.levels;
  }
  return pays;
}

template <class Layout>
ZopStatus count(const ChannelBins<Layout, Zop16s>& channel) {
  const bool increasing = channel.levels.increase();
  const int levels = channel.levels.count;
  if (increasing ? tablePays(kIncreasing, channel.size, levels) : tablePays(kOther, channel.size, levels))
    return channel.tabulate();
  increasing ? channel.search() : channel.compare();
  return zopStatusOk;
}
template <class Layout>
ZopStatus count(const ChannelBins<Layout, Zop32f>& channel) {
  channel.levels.increase() ? channel.search() : channel.compare();
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus histogram(Image<const T> src, ZopImageSize size, Zop32s* const* bins, const Level<T>* const* levels,
                    const int* levelCounts) {
  if constexpr (std::is_same_v<T, Zop8u>) {
    countBytes<Layout>(src, size, bins, levels, levelCounts);
  } else {
    for (int c = 0; c < Layout::colours; ++c) {
      clear(bins[c], levelCounts[c]);
      const ChannelBins<Layout, T> channel = {src, size, c, bins[c], {levels[c], levelCounts[c]}};
      if (ZopStatus bad = count(channel)) return bad;
    }
  }
  return zopStatusOk;
}

// Even levels: the first bins are wider than the others, by 1 in the direction in which levels go. Levels
// wrap where they leave 32 bits.
struct EvenLevels {
  int width, wider;

  EvenLevels(int lower, int upper, int bins) : width((upper - lower) / bins), wider((upper - lower) % bins) {}

  void fill(Zop32s* levels, int count, int lower) const {
    const int more = width < 0 ? -1 : 1, wide = std::max(more * wider, 0);
    int level = levels[0] = lower;
    for (int k = 1; k <= wide; ++k) levels[k] = level += width + more;
    for (int k = wide + 1; k < count; ++k) levels[k] = level += width;
  }
};

template <class Layout, class T>
ZopStatus evenHistogram(Image<const T> src, ZopImageSize size, Zop32s* const* bins, Zop32s* const* levels,
                        const int* levelCounts, const int* lower, const int* upper) {
  for (int c = 0; c < Layout::colours; ++c) {
    EvenLevels(lower[c], upper[c], levelCounts[c] - 1).fill(levels[c], levelCounts[c], lower[c]);
  }
  if constexpr (std::is_same_v<T, Zop8u>) {
    return histogram<Layout>(src, size, bins, levels, levelCounts);
  } else {
    // Bins of one width need no memory, whatever their number.
    for (int c = 0; c < Layout::colours; ++c) {
      const EvenLevels even(lower[c], upper[c], levelCounts[c] - 1);
      const ChannelBins<Layout, T> channel = {src, size, c, bins[c], {levels[c], levelCounts[c]}};
      clear(bins[c], levelCounts[c]);
      if (even.wider != 0) {
        if (ZopStatus bad = count(channel)) return bad;
      } else if (even.width > 0) {
        channel.divide(lower[c], even.width);
      }
    }
    return zopStatusOk;
  }
}

}  // namespace
}  // namespace zopi

#include "stats/histogram.exports.inc"
