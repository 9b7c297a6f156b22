// The median over any rectangle: bit by bit in vector lanes for small ones, from histograms for large ones.
#include "filter/median_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/median_rectangle_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// The median is the highest number that more than half of the samples reach. Its bits are found from the
// highest down: a bit is set if more than half reach the number with it. Counts are in the samples' lanes.
template <class T>
struct InLanes {
  using D = Tag<T>;
  using V = hn::Vec<D>;
  static constexpr T kLowest = std::is_signed_v<T> ? -32768 : 0;

  // Time grows with the area: up to so many cells there is no faster way. Counts fit the lanes.
  static constexpr std::ptrdiff_t kMostCells = sizeof(T) == 1 ? HWY_MIN(128, 4 * kLanes<D>) : 6 * kLanes<D>;

  // One more in the lanes in which v is above `below`. A mask governs an addition where it has a register of
  // its own, and is a number to subtract elsewhere.
  static HWY_INLINE V counted(V count, V v, V below) {
    const D d;
    const auto above = hn::Gt(v, below);
    if constexpr (HWY_TARGET == HWY_AVX3)
      return hn::IfThenElse(above, hn::Add(count, hn::Set(d, T{1})), count);
    else
      return hn::Sub(count, hn::VecFromMask(d, above));
  }

  template <class Part>
  static HWY_INLINE V median(const WindowShape& shape, Image<const T> window, Part part) {
    const D d;
    const auto half = hn::Set(d, static_cast<T>(shape.area() / 2));
    V found = hn::Set(d, kLowest);
    for (int bit = 8 * sizeof(T) - 1; bit >= 0; --bit) {
      const V next = hn::Xor(found, hn::Set(d, static_cast<T>(1 << bit)));
      const V below = hn::Sub(next, hn::Set(d, T{1}));
      V count = hn::Zero(d);
      for (int y = 0; y < shape.maskHeight; ++y) {
        const T* sample = window.row(y);
        for (int x = 0; x < shape.maskWidth; ++x, sample += shape.channels) {
          count = counted(count, loadPart(d, sample, part), below);
        }
      }
      found = hn::IfThenElse(hn::Gt(count, half), next, found);
    }
    return found;
  }

  template <bool kKeeps>
  static void rows(const WindowShape& shape, Image<const T> window, Image<T> out, int rows) {
    const AlphaKeeper<kKeeps, D> keep;
    for (int y = 0; y < rows; ++y) {
      const Image<const T> above = window.from(y);
      forVectors(D(), shape.samples(), [&](std::ptrdiff_t i, auto part) HWY_ATTR {
        keep.store(median(shape, {above.at + i, above.step}, part), out.row(y) + i, part);
      });
    }
  }
  static void band(const WindowShape& shape, Image<const T> window, Image<T> out, int count) {
    (shape.keepsAlpha ? rows<true> : rows<false>)(shape, window, out, count);
  }
};

// Samples may lie at any address.
template <class T>
HWY_INLINE T sampleAt(const T* from) {
  T sample;
  std::memcpy(&sample, from, sizeof sample);
  return sample;
}

// Sixteen counters.
template <class Count>
struct Bins {
  static constexpr int kCount = 16;
  using D = hn::FixedTag<Count, 16 / sizeof(Count)>;
  static constexpr int N = 16 / sizeof(Count);

  static HWY_INLINE void clear(Count* bins) {
    for (int i = 0; i < kCount; i += N) hn::StoreU(hn::Zero(D()), D(), bins + i);
  }
  static HWY_INLINE void add(Count* bins, const Count* more) {
    for (int i = 0; i < kCount; i += N)
      hn::StoreU(hn::Add(hn::LoadU(D(), bins + i), hn::LoadU(D(), more + i)), D(), bins + i);
  }
  static HWY_INLINE void move(Count* bins, const Count* entering, const Count* leaving) {
    for (int i = 0; i < kCount; i += N) {
      const auto v = hn::Sub(hn::LoadU(D(), bins + i), hn::LoadU(D(), leaving + i));
      hn::StoreU(hn::Add(v, hn::LoadU(D(), entering + i)), D(), bins + i);
    }
  }

  // In which of the bins, one after the other, the sample stands that has `rank` others before it. Those in
  // earlier bins are taken from the rank.
  static HWY_INLINE int find(const Count* bins, Count& rank) {
    const D d;
    HWY_ALIGN Count sums[N + kCount] = {};  // zeros ahead of the first
    const auto limit = hn::Set(d, rank);
    auto sum = hn::Zero(d);
    int bin = 0;
    for (int i = 0; i < kCount; i += N) {
      auto v = hn::LoadU(d, bins + i);
      v = hn::Add(v, hn::ShiftLeftLanes<1>(d, v));
      v = hn::Add(v, hn::ShiftLeftLanes<2>(d, v));
      if constexpr (N == 8) v = hn::Add(v, hn::ShiftLeftLanes<4>(d, v));
      sum = hn::Add(v, hn::Broadcast<N - 1>(sum));
      hn::Store(sum, d, sums + N + i);
      bin += N - static_cast<int>(hn::CountTrue(d, hn::Gt(sum, limit)));
    }
    rank = static_cast<Count>(rank - sums[N - 1 + bin]);
    return bin;
  }
};

// Bytes: a histogram for each column, and one that moves along the row by whole columns (S. Perreault and
// P. Hebert 2007). Histograms have 16 bins of 16 bins. Of those of a window, only the outer ones are kept up
// to date; of the inner ones, those in which a median is sought are brought up to where it is.
template <class Count>
struct ByteHistograms {
  using B = Bins<Count>;
  static constexpr std::ptrdiff_t kBins = B::kCount;

  // The image is taken in strips, whose histograms the second-level cache holds.
  static HWY_INLINE std::ptrdiff_t stripOf(const WindowShape& shape) {
    return std::min<std::ptrdiff_t>(shape.width, std::max(384, shape.maskWidth));
  }
  static HWY_INLINE std::ptrdiff_t columnsOf(const WindowShape& shape) {
    return stripOf(shape) + shape.maskWidth - 1;
  }
  static std::ptrdiff_t scratchBytes(const WindowShape& shape) {
    return columnsOf(shape) * (kBins + kBins * kBins) * static_cast<std::ptrdiff_t>(sizeof(Count));
  }

  // Of each column its outer bins; for each outer bin, the inner ones of each column.
  Count *outer, *inner;
  std::ptrdiff_t columns, maskWidth;

  HWY_INLINE Count* outerAt(std::ptrdiff_t column) const { return outer + column * kBins; }
  HWY_INLINE Count* innerAt(int bin, std::ptrdiff_t column) const {
    return inner + (bin * columns + column) * kBins;
  }

  HWY_INLINE void count(const Zop8u* row, int channels, int more) const {
    for (std::ptrdiff_t x = 0; x < columns; ++x, row += channels) {
      Count& high = outerAt(x)[*row / kBins];
      Count& low = innerAt(*row / kBins, x)[*row % kBins];
      high = static_cast<Count>(high + more);
      low = static_cast<Count>(low + more);
    }
  }

  HWY_INLINE void medians(Count half, Zop8u* out, std::ptrdiff_t n, int channels) const {
    HWY_ALIGN Count window[kBins] = {}, parts[kBins][kBins];
    std::ptrdiff_t upTo[kBins];
    for (std::ptrdiff_t& x : upTo) x = -maskWidth;
    for (std::ptrdiff_t x = 0; x < maskWidth; ++x) B::add(window, outerAt(x));
    for (std::ptrdiff_t x = 0; x < n; ++x, out += channels) {
      if (x > 0) B::move(window, outerAt(x + maskWidth - 1), outerAt(x - 1));
      Count rank = half;
      const int bin = B::find(window, rank);
      Count* const part = parts[bin];
      if (2 * (x - upTo[bin]) >= maskWidth) {
        B::clear(part);
        for (std::ptrdiff_t i = x; i < x + maskWidth; ++i) B::add(part, innerAt(bin, i));
      } else {
        for (std::ptrdiff_t i = upTo[bin]; i < x; ++i)
          B::move(part, innerAt(bin, i + maskWidth), innerAt(bin, i));
      }
      upTo[bin] = x;
      *out = static_cast<Zop8u>(bin * kBins + B::find(part, rank));
    }
  }

  static void band(const WindowShape& shape, void* scratch, Image<const Zop8u> window, Image<Zop8u> out,
                   int rows) {
    const std::ptrdiff_t strip = stripOf(shape);
    for (std::ptrdiff_t x = 0; x < shape.width; x += strip) {
      const std::ptrdiff_t n = std::min(strip, shape.width - x), columns = n + shape.maskWidth - 1;
      Count* const memory = static_cast<Count*>(scratch);
      const ByteHistograms histograms = {memory, memory + columns * kBins, columns, shape.maskWidth};
      for (int c = 0; c < (shape.keepsAlpha ? 3 : shape.channels); ++c) {
        const auto row = [&](std::ptrdiff_t y) { return window.row(y) + x * shape.channels + c; };
        std::memset(memory, 0, columns * (kBins + kBins * kBins) * sizeof(Count));
        for (int y = 0; y < shape.maskHeight; ++y) histograms.count(row(y), shape.channels, 1);
        for (std::ptrdiff_t y = 0; y < rows; ++y) {
          histograms.medians(static_cast<Count>(shape.area() / 2), out.row(y) + x * shape.channels + c, n,
                             shape.channels);
          if (y + 1 == rows) break;
          histograms.count(row(y), shape.channels, -1);
          histograms.count(row(y + shape.maskHeight), shape.channels, 1);
        }
      }
    }
  }
};

// Words: one histogram that moves over the image like a plough, with counters for all 16 bits of a sample,
// for the highest 12 and for the highest 8. It moves along the longer side of the mask: fewer samples come
// and go.
struct WordHistogram {
  using Count = std::uint32_t;
  static constexpr int kHigh = 256, kMiddle = 16 * kHigh, kLow = 16 * kMiddle;

  static std::ptrdiff_t scratchBytes(const WindowShape&) {
    return (kHigh + kMiddle + kLow) * static_cast<std::ptrdiff_t>(sizeof(Count));
  }

  Count *high, *middle, *low;
  int bin = 0;      // of `high`, in which the last median was
  Count below = 0;  // samples in the bins below it

  HWY_INLINE explicit WordHistogram(void* scratch)
      : high(static_cast<Count*>(scratch)), middle(high + kHigh), low(middle + kMiddle) {
    std::memset(high, 0, (kHigh + kMiddle + kLow) * sizeof(Count));
  }

  HWY_INLINE void count(const Zop16s* sample, Count more) {
    const unsigned v = static_cast<std::uint16_t>(sampleAt(sample)) ^ 0x8000u;
    high[v >> 8] += more;
    middle[v >> 4] += more;
    low[v] += more;
    below += static_cast<int>(v >> 8) < bin ? more : 0;
  }

  HWY_INLINE Zop16s median(Count half) {
    while (below > half) below -= high[--bin];
    while (below + high[bin] <= half) below += high[bin++];
    Count rank = half - below;
    unsigned v = static_cast<unsigned>(bin) << 4;
    for (; middle[v] <= rank; ++v) rank -= middle[v];
    for (v <<= 4; low[v] <= rank; ++v) rank -= low[v];
    return static_cast<Zop16s>(v ^ 0x8000u);
  }

  // A direction: the distance in bytes from a sample to the next, and how many there are.
  struct Side {
    std::ptrdiff_t source, destination;
    int image, mask;
  };

  static void band(const WindowShape& shape, void* scratch, Image<const Zop16s> window, Image<Zop16s> out,
                   int rows) {
    const std::ptrdiff_t pixel = shape.channels * static_cast<std::ptrdiff_t>(sizeof(Zop16s));
    Side along = {pixel, pixel, shape.width, shape.maskWidth};
    Side across = {window.step, out.step, rows, shape.maskHeight};
    if (along.mask < across.mask) std::swap(along, across);
    const auto half = static_cast<Count>(shape.area() / 2);

    for (int c = 0; c < (shape.keepsAlpha ? 3 : shape.channels); ++c) {
      WordHistogram histogram(scratch);
      const auto source = [&](std::ptrdiff_t i, std::ptrdiff_t j) {
        return Image<const Zop16s>{window.at + c, 1}.row(i * along.source + j * across.source);
      };
      // Samples of the window at (i, j): one line of it across, or one along.
      const auto countAcross = [&](std::ptrdiff_t i, std::ptrdiff_t j, Count more) {
        for (int k = 0; k < across.mask; ++k) histogram.count(source(i, j + k), more);
      };
      const auto countAlong = [&](std::ptrdiff_t i, std::ptrdiff_t j, Count more) {
        for (int k = 0; k < along.mask; ++k) histogram.count(source(i + k, j), more);
      };
      for (int i = 0; i < along.mask; ++i) countAcross(i, 0, 1);
      std::ptrdiff_t i = 0;
      for (std::ptrdiff_t j = 0; j < across.image; ++j) {
        const int turn = j % 2 == 0 ? 1 : -1;
        for (int step = 0;; ++step) {
          const Zop16s median = histogram.median(half);
          std::memcpy(Image<Zop16s>{out.at + c, 1}.row(i * along.destination + j * across.destination),
                      &median, sizeof median);
          if (step + 1 == along.image) break;
          countAcross(turn > 0 ? i : i + along.mask - 1, j, static_cast<Count>(-1));
          i += turn;
          countAcross(turn > 0 ? i + along.mask - 1 : i, j, 1);
        }
        if (j + 1 == across.image) break;
        countAlong(i, j, static_cast<Count>(-1));
        countAlong(i, j + across.mask, 1);
      }
    }
  }
};

template <class T>
struct Rectangle;
template <>
struct Rectangle<Zop8u> {
  static constexpr std::ptrdiff_t kMostOfShort = 65535;
  static std::ptrdiff_t scratchBytes(const WindowShape& shape) {
    if (shape.area() <= InLanes<Zop8u>::kMostCells) return 0;
    return shape.area() <= kMostOfShort ? ByteHistograms<std::uint16_t>::scratchBytes(shape)
                                        : ByteHistograms<std::uint32_t>::scratchBytes(shape);
  }
  static void band(const WindowShape& shape, void* scratch, Image<const Zop8u> window, Image<Zop8u> out,
                   int rows) {
    if (scratch == nullptr) return InLanes<Zop8u>::band(shape, window, out, rows);
    if (shape.area() <= kMostOfShort)
      return ByteHistograms<std::uint16_t>::band(shape, scratch, window, out, rows);
    ByteHistograms<std::uint32_t>::band(shape, scratch, window, out, rows);
  }
};
template <>
struct Rectangle<Zop16s> {
  static std::ptrdiff_t scratchBytes(const WindowShape& shape) {
    return shape.area() <= InLanes<Zop16s>::kMostCells ? 0 : WordHistogram::scratchBytes(shape);
  }
  static void band(const WindowShape& shape, void* scratch, Image<const Zop16s> window, Image<Zop16s> out,
                   int rows) {
    if (scratch == nullptr) return InLanes<Zop16s>::band(shape, window, out, rows);
    WordHistogram::band(shape, scratch, window, out, rows);
  }
};

template <class T>
constexpr RectangleMedianRows<T> kRows = {Rectangle<T>::scratchBytes, Rectangle<T>::band};
constexpr RectangleMedianTable kTable = {{kRows<Zop8u>}, {kRows<Zop16s>}};

}  // namespace

const RectangleMedianTable* rectangleMedianTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(rectangleMedianTableOfTarget);

const RectangleMedianTable& rectangleMedianTable() {
  return *HWY_DYNAMIC_DISPATCH(rectangleMedianTableOfTarget)();
}

}  // namespace zopi
#endif
