// Template matching: what a call knows of its template, and the tiles that follow its size.
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

#include "correlation/matching_rows.h"
#include "correlation/placement.h"
#include "correlation/tiles.h"
#include "stats/norm_rows.h"
#include "stats/sum_rows.h"

namespace zopi {
namespace {

ZopStatus checkTemplate(ZopImageSize image, ZopImageSize small) {
  const bool fits =
      small.width >= 1 && small.height >= 1 && small.width <= image.width && small.height <= image.height;
  return fits ? zopStatusOk : zopStatusBadSize;
}

// What is known of one channel of a template, in double precision.
struct Statistics {
  double norm, mean, count;
};

// 2^scaleFactor by its exponent, of which seven bits count.
double scaleOf(int scaleFactor) {
  const auto factor = static_cast<std::uint32_t>(scaleFactor);
  const std::uint32_t one = std::bit_cast<std::uint32_t>(1.0f), exponent = scaleFactor > 0 ? factor : -factor;
  const std::uint32_t change = (exponent & 127) << 23;
  return std::bit_cast<float>(scaleFactor > 0 ? one + change : one - change);
}

constexpr double kSmallest = std::numeric_limits<float>::min(), kFloor = 1e-5;

// The measures: what the denominator takes from the template, whether means are taken off, and the rows that
// make the result.
struct Correlation {
  static constexpr bool kLevels = false;
  template <class T>
  static typename MatchRows<T>::Band rows() {
    return matchTable().of<T>().correlation;
  }
  static TemplateLevels levels(const Statistics& t, double scale) {
    const double norm = t.norm < kSmallest ? 1.0 : t.norm;
    return {.floor = static_cast<float>(norm * kFloor),
            .replacement = static_cast<float>(norm * norm),
            .factor = static_cast<float>(norm * scale)};
  }
};
struct LevelCorrelation {
  static constexpr bool kLevels = true;
  template <class T>
  static typename MatchRows<T>::Band rows() {
    return matchTable().of<T>().levelCorrelation;
  }
  static TemplateLevels levels(const Statistics& t, double scale) {
    TemplateLevels levels = Correlation::levels(t, scale);
    levels.energy = static_cast<float>((t.norm * t.norm - t.mean * (t.count * t.mean)) * (scale * scale));
    levels.pixels = static_cast<float>(1.0 / t.count);
    return levels;
  }
};
struct SquareDistance {
  static constexpr bool kLevels = false;
  template <class T>
  static typename MatchRows<T>::Band rows() {
    return matchTable().of<T>().squareDistance;
  }
  // A norm that equals the smallest number is replaced here, but not in the squares.
  static TemplateLevels levels(const Statistics& t, double scale) {
    const double norm = t.norm <= kSmallest ? 1.0 : t.norm;
    return {.floor = static_cast<float>(norm * kFloor),
            .factor = static_cast<float>(norm * scale),
            .squares = static_cast<float>(t.norm * t.norm)};
  }
};

// Norms and means of numbers, added in the order of @ref zopiNorm_L2_32f_C1R and @ref zopiMean_32f_C1R: of
// one channel even and odd columns apart.
template <class Layout>
void describe(Image<const float> numbers, ZopImageSize size, Statistics* channels) {
  constexpr int kParts = Layout::channels == 1 ? 2 : Layout::channels;
  double squares[4] = {}, sums[4] = {};
  const Extent e = extent(size, Layout::channels);
  normTable().of<Zop32f>().ofImage[kL2][kParts](numbers, e, squares);
  sumTable().of<Zop32f>().of[Layout::channels](numbers, e, sums);
  if constexpr (Layout::channels == 1) {
    squares[0] += squares[1];
    sums[0] += sums[1];
  }
  const auto count = static_cast<double>(areaOf(size));
  for (int c = 0; c < Layout::colours; ++c) {
    const double mean = Layout::channels == 1 ? sums[c] / count : sums[c] * (1.0 / count);
    channels[c] = {std::sqrt(squares[c]), mean, count};
  }
}

template <class Layout, class Measure, class S, class T>
struct Matching {
  using Pixels = Layout;
  static constexpr Product kProduct = Product::kCorrelation;

  Image<const S> image, small;
  ZopImageSize templateSize;
  Image<T> out;
  const Statistics* statistics;
  double scale;

  Windows windows(ZopImageSize places, ZopImageSize tile) const { return {templateSize, places, tile}; }

  ZopImageSize smallSize() const { return templateSize; }

  // Sums of squares, sums, working memory, and results of interleaved images before they are parted.
  struct Parts {
    std::ptrdiff_t step, plane, scratch, results;
  };
  Parts parts(const Tiling& tiling) const {
    const ZopImageSize places = {tiling.x.step, tiling.y.step};
    const std::ptrdiff_t step = (places.width + 15) / 16 * 64, plane = step * places.height;
    return {step, plane, matchTable().scratchBytes(windows(places, tiling.size())),
            Layout::channels == 1 ? 0 : plane};
  }
  std::ptrdiff_t bytes(const Tiling& tiling) const {
    const Parts p = parts(tiling);
    return (Measure::kLevels ? 2 : 1) * p.plane + p.results + p.scratch;
  }

  void putSmall(int c, Image<float> tile, unsigned char* row) const {
    takeNumbers<Layout>(channelOf<Layout>(small, c), tile, templateSize, row);
    if constexpr (Measure::kLevels) {
      const auto mean = static_cast<float>(statistics[c].mean);
      for (int y = 0; y < templateSize.height; ++y) {
        float* samples = tile.row(y);
        for (int x = 0; x < templateSize.width; ++x) samples[x] -= mean;
      }
    }
  }

  struct Sums {
    Image<float> squares, samples;
    Image<T> results;
    unsigned char* scratch;
  };
  Sums sumsIn(unsigned char* memory, const Tiling& tiling) const {
    const Parts p = parts(tiling);
    unsigned char* second = memory + (Measure::kLevels ? p.plane : 0);
    return {{reinterpret_cast<float*>(memory), p.step},
            {reinterpret_cast<float*>(second), p.step},
            {reinterpret_cast<T*>(second + p.plane), p.step},
            second + p.plane + p.results};
  }

  void see(const Tiling& tiling, const Tile& t, const TileMemory& m) const {
    const Windows w = windows(t.size, tiling.size());
    const Sums sums = sumsIn(m.own, tiling);
    // Squares of bytes have 16 bits.
    const bool whole = sizeof(S) == 1 && areaOf(templateSize) < 1 << 15;
    const WindowRows& rows = whole ? matchTable().inIntegers : matchTable().inDoubles;
    rows.ofSquares(w, m.tile, sums.squares, sums.scratch);
    if constexpr (Measure::kLevels) rows.ofSamples(w, m.tile, sums.samples, sums.scratch);
  }

  void give(const Tiling& tiling, int c, const Tile& t, Image<const float> products,
            const TileMemory& m) const {
    const Sums sums = sumsIn(m.own, tiling);
    const Image<T> to = channelOf<Layout>(pixelsFrom<Layout>(out, t.results.x, t.results.y), c);
    const Image<T> results = Layout::channels == 1 ? to : sums.results;
    Measure::template rows<T>()(Measure::levels(statistics[c], scale), products, sums.squares, sums.samples,
                                results, extent(t.size));
    if constexpr (Layout::channels > 1) insertChannel<Layout>(Image<const T>(results), to, t.size);
  }
};

// One tile holds an axis if it holds all samples, and so many zeros ahead of them as places begin there.
template <class Places>
TileAxis axisOf(int samples, int small) {
  const int places = Places::places(samples, small), before = Places::before(small);
  const int order = orderOfTiles(small, places, 7);
  const std::int64_t length = std::int64_t{1} << order;
  const bool whole = std::int64_t{before} + samples <= length;
  return {order, whole ? places : static_cast<int>(length + 1 - small), 0, places, samples, before};
}

template <class Layout, class Places, class Measure, class S, class T>
ZopStatus match(Image<const S> src, ZopImageSize size, Image<const S> small, ZopImageSize smallSize,
                Image<T> dst, int scaleFactor = 0) {
  if constexpr (!Measure::kLevels) {
    src = inWholeSamples(src);
    small = inWholeSamples(small);
    dst = inWholeSamples(dst);
  }
  Statistics statistics[Layout::colours];
  {
    const RoundingToNearest nearest;
    const ZopImageSize numbers = {smallSize.width * Layout::channels, smallSize.height};
    const std::ptrdiff_t step = std::ptrdiff_t{numbers.width} * static_cast<std::ptrdiff_t>(sizeof(float));
    const Scratch memory = newScratch(step * numbers.height);
    if (memory == nullptr) return zopStatusNoMemory;
    const Image<float> samples = {reinterpret_cast<float*>(memory.get()), step};
    takeNumbers<C1>(small, samples, numbers, nullptr);
    describe<Layout>(samples, smallSize, statistics);
  }
  const Tiling tiling = {axisOf<Places>(size.width, smallSize.width),
                         axisOf<Places>(size.height, smallSize.height)};
  return throughTiles(
      tiling, Matching<Layout, Measure, S, T>{src, small, smallSize, dst, statistics, scaleOf(scaleFactor)});
}

}  // namespace
}  // namespace zopi

#include "correlation/matching.exports.inc"
