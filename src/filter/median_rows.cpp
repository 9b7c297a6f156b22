// Vector code of the medians of few samples: networks of comparisons, each lane for itself.
#include "filter/median_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/median_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <array>
#include <cstring>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// What no result needs of a network, the compiler leaves out.
template <class V>
HWY_INLINE void sort(V& a, V& b) {
  const V lower = hn::Min(a, b);
  b = hn::Max(a, b);
  a = lower;
}

template <class V>
HWY_INLINE std::array<V, 3> sorted(V a, V b, V c) {
  sort(a, b);
  sort(b, c);
  sort(a, b);
  return {a, b, c};
}

template <class V>
HWY_INLINE std::array<V, 4> sorted(V a, V b, V c, V d) {
  sort(a, b);
  sort(c, d);
  sort(a, c);
  sort(b, d);
  sort(b, c);
  return {a, b, c, d};
}

template <class V>
HWY_INLINE std::array<V, 5> sorted(V a, V b, V c, V d, V e) {
  sort(a, d);
  sort(b, e);
  sort(a, c);
  sort(b, d);
  sort(a, b);
  sort(c, e);
  sort(b, c);
  sort(d, e);
  sort(c, d);
  return {a, b, c, d, e};
}

template <class V>
HWY_INLINE V medianOf(V a, V b, V c) {
  return hn::Max(hn::Min(a, b), hn::Min(hn::Max(a, b), c));
}

// The lower of two and the upper of two lie on either side of the median, or are it.
template <class V>
HWY_INLINE V medianOf(V a, V b, V c, V d, V e) {
  const V lower = hn::Max(hn::Min(a, b), hn::Min(c, d));
  const V upper = hn::Min(hn::Max(a, b), hn::Max(c, d));
  return medianOf(lower, upper, e);
}

template <std::size_t... I>
using Indices = std::index_sequence<I...>;

// Two sorted arrays of one length as one, by K. E. Batcher's network of odd and even places (1968).
template <std::size_t kFirst, class V, std::size_t n, std::size_t... I>
HWY_INLINE auto everySecond(const std::array<V, n>& a, Indices<I...>) {
  return std::array<V, sizeof...(I)>{a[kFirst + 2 * I]...};
}
// Sample k of the result.
template <std::size_t k, class V, std::size_t kEven, std::size_t kOdd>
HWY_INLINE V mergedAt(const std::array<V, kEven>& even, const std::array<V, kOdd>& odd) {
  constexpr std::size_t j = (k - 1) / 2;
  if constexpr (k == 0)
    return even[0];
  else if constexpr (j >= kOdd)
    return even[j + 1];
  else if constexpr (j + 1 >= kEven)
    return odd[j];
  else
    return k % 2 == 1 ? hn::Min(odd[j], even[j + 1]) : hn::Max(odd[j], even[j + 1]);
}
template <class V, std::size_t kEven, std::size_t kOdd, std::size_t... K>
HWY_INLINE std::array<V, sizeof...(K)> joined(const std::array<V, kEven>& even,
                                              const std::array<V, kOdd>& odd, Indices<K...>) {
  return {mergedAt<K>(even, odd)...};
}
template <class V, std::size_t n>
HWY_INLINE std::array<V, 2 * n> merged(const std::array<V, n>& a, const std::array<V, n>& b) {
  if constexpr (n == 1) {
    return {hn::Min(a[0], b[0]), hn::Max(a[0], b[0])};
  } else {
    using Even = std::make_index_sequence<(n + 1) / 2>;
    using Odd = std::make_index_sequence<n / 2>;
    return joined(merged(everySecond<0>(a, Even()), everySecond<0>(b, Even())),
                  merged(everySecond<1>(a, Odd()), everySecond<1>(b, Odd())),
                  std::make_index_sequence<2 * n>());
  }
}

template <std::size_t kFirst, class V, std::size_t n, std::size_t... I>
HWY_INLINE std::array<V, sizeof...(I)> part(const std::array<V, n>& a, Indices<I...>) {
  return {a[kFirst + I]...};
}

struct MedianOf3 {
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b, V c) const {
    return medianOf(a, b, c);
  }
};
struct MedianOf5 {
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b, V c, V d, V e) const {
    return medianOf(a, b, c, d, e);
  }
};
// The median of eight others and c is the one of c and the middle two of the eight.
struct MedianOfCross {
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b, V c, V d, V e, V f, V g, V h, V i) const {
    const auto eight = merged(sorted(a, b, d, e), sorted(f, g, h, i));
    return hn::Max(eight[3], hn::Min(eight[4], c));
  }
};

template <class T, class Op, bool kKeeps, std::size_t... I>
void ofNeighbours(const Image<const T>* neighbours, Image<T> dst, Extent e, Indices<I...>) {
  const Tag<T> d;
  using Operand = ImageOperand<Tag<T>>;
  if constexpr (kKeeps) {
    mapRows(d, Keeping<Op>(), dst, e, Operand{dst},
            PatternOperand<Tag<T>>(writtenSamples<T, AC4::channels, AC4::colours>()),
            Operand{neighbours[I]}...);
  } else {
    mapRows(d, Op(), dst, e, Operand{neighbours[I]}...);
  }
}
template <class T, class Op, bool kKeeps, std::size_t kCount>
void ofNeighbours(const Image<const T>* neighbours, Image<T> dst, Extent e) {
  ofNeighbours<T, Op, kKeeps>(neighbours, dst, e, std::make_index_sequence<kCount>());
}

// The median of nine in three sorted rows is the median of the largest of the first, the median of the second
// and the smallest of the last ones.
template <class T>
struct Of3x3 {
  static constexpr int kRadius = 1;
  using Row = std::array<hn::Vec<Tag<T>>, 3>;

  HWY_INLINE Row across(const Taps<Tag<T>>& taps) const {
    return sorted(taps.at(-1), taps.at(0), taps.at(1));
  }
  HWY_INLINE auto down(const std::array<Row, 3>& rows) const {
    const auto& [a, b, c] = rows;
    return medianOf(hn::Max(hn::Max(a[0], b[0]), c[0]), medianOf(a[1], b[1], c[1]),
                    hn::Min(hn::Min(a[2], b[2]), c[2]));
  }
};

// Medians of 5x5, two rows of them at a time. Each row of a window is sorted, and each two rows are merged
// once for all windows that hold both. Two windows, one row apart, share four rows. Of the 20 samples there,
// the median of 25 has between 7 and 12 below it, as the fifth row has at most five. So it is the median of
// the six in these places and of that row.
template <class T>
struct Of5x5 {
  using D = Tag<T>;
  using V = hn::Vec<D>;
  static constexpr std::ptrdiff_t N = kLanes<D>;
  static constexpr int kRadius = 2;

  using Row = std::array<V, 5>;
  using Pair = std::array<V, 10>;
  using Middle = std::array<V, 6>;

  // What is kept of two rows, in memory: registers do not hold so much.
  struct Kept {
    HWY_ALIGN T pair[10][N];
    HWY_ALIGN T second[5][N];
  };

  template <std::size_t n, std::size_t... I>
  static HWY_INLINE void keep(const std::array<V, n>& a, T (*to)[N], Indices<I...>) {
    (hn::Store(a[I], D(), to[I]), ...);
  }
  template <std::size_t... I>
  static HWY_INLINE auto kept(const T (*from)[N], Indices<I...>) {
    return std::array<V, sizeof...(I)>{hn::Load(D(), from[I])...};
  }
  using Five = std::make_index_sequence<5>;
  using Ten = std::make_index_sequence<10>;

  static HWY_INLINE Row across(const T* middle, std::ptrdiff_t distance) {
    const Taps<D> taps{middle, distance};
    return sorted(taps.at(-2), taps.at(-1), taps.at(0), taps.at(1), taps.at(2));
  }
  static HWY_INLINE void keepPair(const Row& first, const Row& second, Kept& to) {
    keep(merged(first, second), to.pair, Ten());
    keep(second, to.second, Five());
  }
  static HWY_INLINE Middle middleOf(const Kept& a, const Kept& b) {
    return part<7>(merged(kept(a.pair, Ten()), kept(b.pair, Ten())), std::make_index_sequence<6>());
  }
  // However many of the eleven lowest but five come from one side, the largest of them is no less.
  static HWY_INLINE V median(const Middle& m, const Row& r) {
    const V ab = hn::Min(hn::Max(m[0], r[4]), hn::Max(m[1], r[3]));
    const V cd = hn::Min(hn::Max(m[2], r[2]), hn::Max(m[3], r[1]));
    return hn::Min(hn::Min(ab, cd), hn::Min(hn::Max(m[4], r[0]), m[5]));
  }

  // One vector's width, down some rows.
  template <bool kKeeps>
  static HWY_INLINE void column(Image<const T> src, Image<T> out, int rows, std::ptrdiff_t distance,
                                const AlphaKeeper<kKeeps, D>& keeper) {
    const auto row = [&](int y) HWY_ATTR { return across(src.row(y), distance); };
    const auto write = [&](int y, V v) HWY_ATTR {
      T* const to = out.row(y);
      hn::StoreU(keeper(v, to), D(), to);
    };
    Kept memory[3];
    Kept *above = &memory[0], *upper = &memory[1], *lower = &memory[2];
    keep(row(-2), above->second, Five());
    keepPair(row(-1), row(0), *upper);
    keepPair(row(1), row(2), *lower);
    for (int y = 0;; y += 2) {
      const Middle middle = middleOf(*upper, *lower);
      write(y, median(middle, kept(above->second, Five())));
      if (y + 1 == rows) break;
      const Row below = row(y + 3);
      write(y + 1, median(middle, below));
      if (y + 2 == rows) break;
      keepPair(below, row(y + 4), *above);
      Kept* const next = above;
      above = upper;
      upper = lower;
      lower = next;
    }
  }

  // Every block of rows starts with five rows, of which the windows of the block above had four.
  static constexpr int kBlock = 16;

  template <bool kKeeps>
  static void image(Image<const T> src, Image<T> dst, Extent e, int distance) {
    const AlphaKeeper<kKeeps, D> keeper;
    const std::ptrdiff_t n = e.length, side = kRadius * std::ptrdiff_t{distance};
    constexpr std::ptrdiff_t kSide = kRadius * AC4::channels;
    for (int top = 0; top < e.rows; top += kBlock) {
      const int rows = HWY_MIN(kBlock, e.rows - top);
      if (HWY_LIKELY(n >= N)) {
        for (std::ptrdiff_t next = 0; next < n; next += N) {
          const std::ptrdiff_t x = HWY_MIN(next, n - N);
          column<kKeeps>({src.row(top) + x, src.step}, {dst.row(top) + x, dst.step}, rows, distance, keeper);
        }
      } else {
        // Too narrow for a vector: in blocks that are wide enough.
        T in[kBlock + 2 * kRadius][N + 2 * kSide] = {};
        T out[kBlock][N] = {};
        for (int j = 0; j < rows + 2 * kRadius; ++j)
          std::memcpy(in[j], src.row(top + j - kRadius) - side, (n + 2 * side) * sizeof(T));
        for (int j = 0; j < rows; ++j) std::memcpy(out[j], dst.row(top + j), n * sizeof(T));
        column<kKeeps>({in[kRadius] + side, sizeof in[0]}, {out[0], sizeof out[0]}, rows, distance, keeper);
        for (int j = 0; j < rows; ++j) std::memcpy(dst.row(top + j), out[j], n * sizeof(T));
      }
    }
  }
};

template <class T>
constexpr MedianRows<T> kRows = {
    {ofNeighbours<T, MedianOf3, false, 3>, ofNeighbours<T, MedianOf3, true, 3>},
    {ofNeighbours<T, MedianOf5, false, 5>, ofNeighbours<T, MedianOf5, true, 5>},
    {ofNeighbours<T, MedianOfCross, false, 9>, ofNeighbours<T, MedianOfCross, true, 9>},
    {acrossThenDown<Of3x3<T>, false, T, T>, acrossThenDown<Of3x3<T>, true, T, T>},
    {Of5x5<T>::template image<false>, Of5x5<T>::template image<true>},
};
constexpr MedianTable kTable = {{kRows<Zop8u>}, {kRows<Zop16s>}};

}  // namespace

const MedianTable* medianTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(medianTableOfTarget);

const MedianTable& medianTable() { return *HWY_DYNAMIC_DISPATCH(medianTableOfTarget)(); }

}  // namespace zopi
#endif
