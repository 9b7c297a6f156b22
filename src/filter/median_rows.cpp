// Vector code of the medians of few samples: networks of comparisons, each lane for itself.
#include "filter/median_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/median_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <array>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Of two samples, the lower and the upper. What no result needs of a network, the compiler leaves out.
//
// Bytes of AVX-512 have one unit that compares, and two that add. What is left of a less b, held at 0, is
// what a has above the lower one, and what the upper one has above b: it takes one comparison for both.
template <class V>
HWY_INLINE V lower(V a, V b) {
  if constexpr (HWY_TARGET == HWY_AVX3 && sizeof(hn::TFromV<V>) == 1)
    return hn::Sub(a, hn::SaturatedSub(a, b));
  else
    return hn::Min(a, b);
}
template <class V>
HWY_INLINE V upper(V a, V b) {
  if constexpr (HWY_TARGET == HWY_AVX3 && sizeof(hn::TFromV<V>) == 1)
    return hn::Add(b, hn::SaturatedSub(a, b));
  else
    return hn::Max(a, b);
}
template <class V>
HWY_INLINE void sort(V& a, V& b) {
  const V low = lower(a, b);
  b = upper(a, b);
  a = low;
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
  return hn::Max(lower(a, b), hn::Min(upper(a, b), c));
}

// The lower of two and the upper of two lie on either side of the median, or are it.
template <class V>
HWY_INLINE V medianOf(V a, V b, V c, V d, V e) {
  const V low = hn::Max(lower(a, b), lower(c, d));
  const V high = hn::Min(upper(a, b), upper(c, d));
  return medianOf(low, high, e);
}

template <std::size_t... I>
using Indices = std::index_sequence<I...>;

// Two sorted arrays of one length as one, by K. E. Batcher's network of odd and even places (1968).
template <std::size_t kFirst, class V, std::size_t n, std::size_t... I>
HWY_INLINE auto everySecond(const std::array<V, n>& a, Indices<I...>) {
  return std::array<V, sizeof...(I)>{a[kFirst + 2 * I]...};
}
// Sample k of the result, of which those from kFirst up to kEnd are needed. Where both of two samples are,
// they are the lower and the upper, else a minimum or a maximum.
template <std::size_t k, std::size_t kFirst, std::size_t kEnd, class V, std::size_t kEven, std::size_t kOdd>
HWY_INLINE V mergedAt(const std::array<V, kEven>& even, const std::array<V, kOdd>& odd) {
  constexpr std::size_t j = (k - 1) / 2, kOther = k % 2 == 1 ? k + 1 : k - 1;
  constexpr bool kBoth = kOther >= kFirst && kOther < kEnd;
  if constexpr (k == 0 || k < kFirst || k >= kEnd)
    return even[0];
  else if constexpr (j >= kOdd)
    return even[j + 1];
  else if constexpr (j + 1 >= kEven)
    return odd[j];
  else if constexpr (k % 2 == 1)
    return kBoth ? lower(odd[j], even[j + 1]) : hn::Min(odd[j], even[j + 1]);
  else
    return kBoth ? upper(odd[j], even[j + 1]) : hn::Max(odd[j], even[j + 1]);
}
template <std::size_t kFirst, std::size_t kEnd, class V, std::size_t kEven, std::size_t kOdd,
          std::size_t... K>
HWY_INLINE std::array<V, sizeof...(K)> joined(const std::array<V, kEven>& even,
                                              const std::array<V, kOdd>& odd, Indices<K...>) {
  return {mergedAt<K, kFirst, kEnd>(even, odd)...};
}
// What is not needed of the result has any value.
template <std::size_t kFirst, std::size_t kEnd, class V, std::size_t n>
HWY_INLINE std::array<V, 2 * n> merged(const std::array<V, n>& a, const std::array<V, n>& b) {
  if constexpr (n == 1) {
    if constexpr (kEnd - kFirst == 2)
      return {lower(a[0], b[0]), upper(a[0], b[0])};
    else
      return {hn::Min(a[0], b[0]), hn::Max(a[0], b[0])};
  } else {
    constexpr std::size_t kEven = (n + 1) / 2, kOdd = n / 2;
    constexpr std::size_t kFrom = kFirst == 0 ? 0 : (kFirst - 1) / 2, kTo = kEnd / 2;
    using Even = std::make_index_sequence<kEven>;
    using Odd = std::make_index_sequence<kOdd>;
    const auto even =
        merged<(kFirst == 0 ? 0 : HWY_MIN(kFrom + 1, 2 * kEven - 1)), HWY_MIN(kTo + 1, 2 * kEven)>(
            everySecond<0>(a, Even()), everySecond<0>(b, Even()));
    const auto odd = merged<HWY_MIN(kFrom, 2 * kOdd - 1), HWY_MIN(HWY_MAX(kTo, 1), 2 * kOdd)>(
        everySecond<1>(a, Odd()), everySecond<1>(b, Odd()));
    return joined<kFirst, kEnd>(even, odd, std::make_index_sequence<2 * n>());
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
    const auto eight = merged<3, 5>(sorted(a, b, d, e), sorted(f, g, h, i));
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
// and the smallest of the last ones. Two windows, one row apart, share two rows.
template <class T>
struct Of3x3 {
  static constexpr int kRadius = 1, kBlock = 16;
  using D = Tag<T>;
  using V = hn::Vec<D>;
  using Row = std::array<V, 3>;

  HWY_INLINE Of3x3() {}

  template <class Writer>
  HWY_INLINE void operator()(Image<const T> src, Image<T> out, int rows, int distance,
                             const Writer& write) const {
    const auto row = [&](int y) HWY_ATTR {
      const Taps<D> taps{src.row(y), distance};
      return sorted(taps.at(-1), taps.at(0), taps.at(1));
    };
    Row above = row(-1), first = row(0), second = row(1);
    for (int y = 0;; y += 2) {
      const V lows = hn::Max(first[0], second[0]), highs = hn::Min(first[2], second[2]);
      const V middle = lower(first[1], second[1]), middles = upper(first[1], second[1]);
      const auto with = [&](const Row& third) HWY_ATTR {
        return medianOf(hn::Max(lows, third[0]), hn::Max(middle, hn::Min(middles, third[1])),
                        hn::Min(highs, third[2]));
      };
      write(with(above), out.row(y));
      if (y + 1 == rows) break;
      const Row below = row(y + 2);
      write(with(below), out.row(y + 1));
      if (y + 2 == rows) break;
      above = second;
      first = below;
      second = row(y + 3);
    }
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
  // Every block of rows starts with five rows, of which the windows of the block above had four.
  static constexpr int kBlock = 16;

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
    keep(merged<0, 10>(first, second), to.pair, Ten());
    keep(second, to.second, Five());
  }
  static HWY_INLINE Middle middleOf(const Kept& a, const Kept& b) {
    return part<7>(merged<7, 13>(kept(a.pair, Ten()), kept(b.pair, Ten())), std::make_index_sequence<6>());
  }
  // However many of the eleven lowest but five come from one side, the largest of them is no less.
  static HWY_INLINE V median(const Middle& m, const Row& r) {
    const V ab = hn::Min(hn::Max(m[0], r[4]), hn::Max(m[1], r[3]));
    const V cd = hn::Min(hn::Max(m[2], r[2]), hn::Max(m[3], r[1]));
    return hn::Min(hn::Min(ab, cd), hn::Min(hn::Max(m[4], r[0]), m[5]));
  }

  HWY_INLINE Of5x5() {}

  template <class Writer>
  HWY_INLINE void operator()(Image<const T> src, Image<T> out, int rows, int distance,
                             const Writer& write) const {
    const auto row = [&](int y) HWY_ATTR { return across(src.row(y), distance); };
    Kept memory[3];
    Kept *above = &memory[0], *upper = &memory[1], *lower = &memory[2];
    keep(row(-2), above->second, Five());
    keepPair(row(-1), row(0), *upper);
    keepPair(row(1), row(2), *lower);
    for (int y = 0;; y += 2) {
      const Middle middle = middleOf(*upper, *lower);
      write(median(middle, kept(above->second, Five())), out.row(y));
      if (y + 1 == rows) break;
      const Row below = row(y + 3);
      write(median(middle, below), out.row(y + 1));
      if (y + 2 == rows) break;
      keepPair(below, row(y + 4), *above);
      Kept* const next = above;
      above = upper;
      upper = lower;
      lower = next;
    }
  }
};

template <class T>
constexpr MedianRows<T> kRows = {
    {ofNeighbours<T, MedianOf3, false, 3>, ofNeighbours<T, MedianOf3, true, 3>},
    {ofNeighbours<T, MedianOf5, false, 5>, ofNeighbours<T, MedianOf5, true, 5>},
    {ofNeighbours<T, MedianOfCross, false, 9>, ofNeighbours<T, MedianOfCross, true, 9>},
    {inColumns<Of3x3<T>, false, T, T>, inColumns<Of3x3<T>, true, T, T>},
    {inColumns<Of5x5<T>, false, T, T>, inColumns<Of5x5<T>, true, T, T>},
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
