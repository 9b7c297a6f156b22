#include "geom/sample_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geom/sample_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <limits>
#include <type_traits>

#include "geom/cubic_weights.h"
#include "geom/resize_lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using D = Tag<double>;
using V = hn::Vec<D>;
constexpr int N = static_cast<int>(kLanes<D>);
using Ints = Tag<int32_t>;
constexpr int kInts = static_cast<int>(kLanes<Ints>);

// Blocks are gone through in whole vectors: behind the last position stand others, which do no harm.
constexpr int kWhole = 2 * kInts;
static_assert(kPositions % kWhole == 0);
int wholeVectors(const Positions& positions) { return (positions.count() + kWhole - 1) / kWhole * kWhole; }

template <class F>
HWY_INLINE void forVectors(const Positions& positions, const F& f) {
  for (int i = 0; i < wholeVectors(positions); i += N) f(i);
}

// Two vectors at a time.
template <class F>
HWY_INLINE void forPairs(const Positions& positions, const F& f) {
  for (int i = 0; i < wholeVectors(positions); i += 2 * N) f(i);
}

// f(i, pixel) for the pixels of a block that are written, of position i. Rows are those of a vector, or a
// single one.
template <class L, int kRows, class T, class F>
HWY_INLINE void forPixelsOf(const Positions& positions, const Target<T>& to, const F& f) {
  constexpr int kStep = 8;
  for (int r = 0; r < kRows; ++r) {
    T* const row = to.at[r];
    const int count = to.counts[r];
    const auto pixel = [&](int k) HWY_ATTR { f(r + k * kRows, row + k * L::channels); };
    int k = 0;
    if (HWY_LIKELY(!positions.hasGaps)) {
      for (; k + kStep <= count; k += kStep) {
#pragma GCC unroll 8
        for (int j = 0; j < kStep; ++j) pixel(k + j);
      }
      for (; k < count; ++k) pixel(k);
    } else {
      for (; k < count; ++k) {
        const double x = positions.x[r + k * kRows];
        if (x == x) pixel(k);
      }
    }
  }
}
template <class L, class T, class F>
HWY_INLINE void forPixels(const Positions& positions, const Target<T>& to, const F& f) {
  if (positions.rows == 1)
    forPixelsOf<L, 1>(positions, to, f);
  else
    forPixelsOf<L, N>(positions, to, f);
}

// -------------------------------------------------------------------------------------------- Places

// Where the first taps of positions are in the image, in bytes, and how far behind them the positions lie.
constexpr int kRoom = kPositions + kWhole;  // for a vector that starts at any position
template <class Fraction>
struct Places {
  alignas(64) std::int64_t at[kPositions];
  alignas(64) Fraction x[kRoom], y[kRoom];
};

// Held between 0 and a highest index. A not-a-number becomes 0.
HWY_INLINE V bounded(V index, double highest) {
  return hn::IfThenElseZero(hn::Gt(index, hn::Zero(D())), hn::Min(index, hn::Set(D(), highest)));
}

// Images whose offsets, and positions with 16 more bits, are 32-bit integers.
template <class T>
bool isNear(const SampledImage<T>& from) {
  constexpr int kMost = 32767;
  return from.width <= kMost && from.height <= kMost &&
         from.image.step * from.height <= std::numeric_limits<std::int32_t>::max();
}

// Two vectors of numbers below 2^31, rounded to integers. The mode is to nearest.
HWY_INLINE hn::Vec<Ints> roundedToInts(V low, V high) {
  const Ints d;
  const D doubles;
  return hn::ConcatEven(d, hn::BitCast(d, wholeInLowBits(doubles, high)),
                        hn::BitCast(d, wholeInLowBits(doubles, low)));
}

HWY_INLINE hn::Vec<Ints> boundedInts(hn::Vec<Ints> v, int highest) {
  const Ints d;
  return hn::Min(hn::Max(v, hn::Zero(d)), hn::Set(d, highest));
}

template <class L, class T>
struct Offsets {
  static constexpr int kPixelBytes = sizeof(T) * L::channels;
  int step;
  V wideStep;

  HWY_INLINE explicit Offsets(const SampledImage<T>& from)
      : step(static_cast<int>(from.image.step)),
        wideStep(hn::Set(D(), static_cast<double>(from.image.step))) {}

  // Whole numbers below 2^51 stand in the low bits of their sum with 1.5 * 2^52.
  HWY_INLINE void store(V column, V row, std::int64_t* to) const {
    const hn::RebindToSigned<D> integers;
    const auto origin = hn::Set(D(), 0x1.8p52), pixel = hn::Set(D(), static_cast<double>(kPixelBytes));
    const auto sum = hn::Add(hn::Add(hn::Mul(row, wideStep), hn::Mul(column, pixel)), origin);
    hn::Store(hn::Sub(hn::BitCast(integers, sum), hn::BitCast(integers, origin)), integers, to);
  }

  HWY_INLINE void store(hn::Vec<Ints> column, hn::Vec<Ints> row, std::int64_t* to) const {
    const Ints d;
    const hn::RebindToSigned<D> wide;
    const hn::Half<Ints> half;
    if constexpr (kPixelBytes > 1) column = hn::Mul(column, hn::Set(d, kPixelBytes));
    const auto sum = hn::Add(hn::Mul(row, hn::Set(d, step)), column);
    hn::Store(hn::PromoteTo(wide, hn::LowerHalf(half, sum)), wide, to);
    hn::Store(hn::PromoteTo(wide, hn::UpperHalf(half, sum)), wide, to + N);
  }
};

HWY_INLINE void storeFraction(V v, double* to) { hn::Store(v, D(), to); }
HWY_INLINE void storeFraction(V v, std::int32_t* to) {
  const hn::Rebind<int32_t, D> narrow;
  hn::Store(hn::DemoteTo(narrow, v), narrow, to);
}

// An index, and what the position has beyond it.
struct Place {
  V index, fraction;
};

// The last pixel is taken from the one before, with a weight of one. Indices ahead of the first become it.
template <class T>
HWY_INLINE Place linearPlace(V position, int size) {
  const D d;
  const V last = hn::Set(d, size - 1.0);
  if constexpr (std::is_same_v<T, Zop32f>) {
    const V beforeLast = hn::Set(d, size - 2.0);
    const V index = hn::Round(hn::Sub(position, hn::Set(d, 0.4999999)));
    const auto inside = hn::Lt(index, last);
    const V held = hn::Max(index, hn::Zero(d));
    return {hn::IfThenElse(inside, held, beforeLast),
            hn::IfThenElse(inside, hn::Sub(position, held), hn::Set(d, 1.0))};
  } else {
    const V one = hn::Set(d, 65536.0);
    const V fine = hn::Min(hn::Round(hn::Mul(position, one)), hn::Mul(last, one));
    const V held = bounded(hn::Floor(hn::Mul(fine, hn::Set(d, 1 / 65536.0))), size - 2.0);
    return {held, hn::Sub(fine, hn::Mul(held, one))};
  }
}

template <class L, class T, class Fraction>
void findLinear(const SampledImage<T>& from, const Positions& positions, Places<Fraction>& places) {
  const Offsets<L, T> offsets(from);
  forVectors(positions, [&](int i) HWY_ATTR {
    const Place x = linearPlace<T>(hn::Load(D(), positions.x + i), from.width);
    const Place y = linearPlace<T>(hn::Load(D(), positions.y + i), from.height);
    offsets.store(x.index, y.index, places.at + i);
    storeFraction(x.fraction, places.x + i);
    storeFraction(y.fraction, places.y + i);
  });
}

// Integers have the number of an entry of the table of weights for a fraction, and positions in single
// precision.
template <class T>
HWY_INLINE Place cubicPlace(V position, int size) {
  const D d;
  const V one = hn::Set(d, 1.0);
  if constexpr (std::is_same_v<T, Zop32f>) {
    const V index = hn::Round(hn::Sub(position, hn::Set(d, 0.4999999)));
    const V base = bounded(hn::Sub(index, one), size - 4.0);
    return {base, hn::Sub(hn::Add(hn::Set(d, -1.0), position), base)};
  } else {
    const V base = bounded(hn::Sub(hn::Round(hn::Sub(position, hn::Set(d, 0.5))), one), size - 4.0);
    const V entry = hn::Round(hn::Mul(hn::Sub(position, base), hn::Set(d, 512.0)));
    return {base, bounded(entry, kCubicEntries - 1)};
  }
}

// Rounds to single precision, and makes gaps of what is out of range.
template <class T>
void keepInRange(const SampledImage<T>& from, Positions& positions) {
  const D d;
  const hn::Rebind<float, D> single;
  const hn::Rebind<int32_t, D> bits;
  const auto lowest = hn::Set(bits, from.lowest);
  forVectors(positions, [&](int i) HWY_ATTR {
    const V x = hn::Load(d, positions.x + i), y = hn::Load(d, positions.y + i);
    const auto xs = hn::DemoteTo(single, x), ys = hn::DemoteTo(single, y);
    const auto xBits = hn::BitCast(bits, xs), yBits = hn::BitCast(bits, ys);
    const auto low = hn::Or(hn::Lt(xBits, lowest), hn::Lt(yBits, lowest));
    const auto high =
        hn::Or(hn::Gt(xBits, hn::Set(bits, from.highestX)), hn::Gt(yBits, hn::Set(bits, from.highestY)));
    auto kept = hn::PromoteTo(d, xs);
    if (HWY_UNLIKELY(!hn::AllFalse(bits, hn::Or(low, high)))) {
      const auto gap = hn::BitCast(single, hn::Set(bits, 0x7fc00000));
      kept = hn::PromoteTo(d, hn::IfThenElse(hn::RebindMask(single, hn::Or(low, high)), gap, xs));
      positions.hasGaps = true;
    }
    hn::Store(kept, d, positions.x + i);
    hn::Store(hn::PromoteTo(d, ys), d, positions.y + i);
  });
}

template <class L, class T, class Fraction>
void findCubic(const SampledImage<T>& from, Positions& positions, Places<Fraction>& places) {
  if constexpr (!std::is_same_v<T, Zop32f>) keepInRange(from, positions);
  const Offsets<L, T> offsets(from);
  forVectors(positions, [&](int i) HWY_ATTR {
    const Place x = cubicPlace<T>(hn::Load(D(), positions.x + i), from.width);
    const Place y = cubicPlace<T>(hn::Load(D(), positions.y + i), from.height);
    offsets.store(x.index, y.index, places.at + i);
    storeFraction(x.fraction, places.x + i);
    storeFraction(y.fraction, places.y + i);
  });
}

template <class T>
HWY_INLINE const unsigned char* bytesOf(const SampledImage<T>& from) {
  return reinterpret_cast<const unsigned char*>(from.image.at);
}

// ------------------------------------------------------------------------------------------- Nearest

template <class L, class T>
void nearest(const SampledImage<T>& from, Positions& positions, const Target<T>& to) {
  alignas(64) std::int64_t at[kPositions];
  const Offsets<L, T> offsets(from);
  if (HWY_LIKELY(isNear(from))) {
    forPairs(positions, [&](int i) HWY_ATTR {
      const auto index = [&](const double* v, int size) HWY_ATTR {
        const auto held = [&](int k) HWY_ATTR {
          return hn::Min(hn::Load(D(), v + k), hn::Set(D(), static_cast<double>(size)));
        };
        return boundedInts(roundedToInts(held(i), held(i + N)), size - 1);
      };
      offsets.store(index(positions.x, from.width), index(positions.y, from.height), at + i);
    });
  } else {
    forVectors(positions, [&](int i) HWY_ATTR {
      const V column = bounded(hn::Round(hn::Load(D(), positions.x + i)), from.width - 1.0);
      const V row = bounded(hn::Round(hn::Load(D(), positions.y + i)), from.height - 1.0);
      offsets.store(column, row, at + i);
    });
  }
  const unsigned char* base = bytesOf(from);
  forPixels<L>(positions, to,
               [&](int i, T* pixel) HWY_ATTR { std::memcpy(pixel, base + at[i], L::colours * sizeof(T)); });
}

// ---------------------------------------------------------------------------------------------- Bytes
//
// A lane has 32 bits. Pixels of one channel have a lane each, others four, of which the last may be of no
// use. The taps of a sample are bytes of its lane.

template <class L>
inline constexpr int kLanesOf = L::channels == 1 ? 1 : 4;

using Words = hn::FixedTag<uint32_t, 4>;
using Block = hn::FixedTag<uint8_t, 16>;

// Sixteen bytes of a pixel's taps, in the order of lanes.
HWY_INLINE void storeLanes(hn::Vec<Block> bytes, const unsigned char* order, std::uint32_t* to) {
  hn::Store(hn::BitCast(Words(), hn::TableLookupBytes(bytes, hn::Load(Block(), order))), Words(), to);
}

template <class T>
HWY_INLINE T read(const unsigned char* at) {
  T value;
  std::memcpy(&value, at, sizeof value);
  return value;
}

HWY_INLINE hn::Vec<Block> block(std::uint64_t low, std::uint64_t high) {
  const hn::FixedTag<uint64_t, 1> half;
  const hn::FixedTag<uint64_t, 2> both;
  return hn::BitCast(Block(), hn::Combine(both, hn::Set(half, high), hn::Set(half, low)));
}

// Numbers of positions as those of lanes, from lane i on.
template <class L>
HWY_INLINE hn::Vec<Ints> ofLanes(const std::int32_t* numbers, int i) {
  const Ints d;
  if constexpr (kLanesOf<L> == 1) {
    return hn::Load(d, numbers + i);
  } else {
    HWY_ALIGN static constexpr int32_t kOrder[16] = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
    return hn::TableLookupLanes(hn::LoadU(d, numbers + i / 4), hn::SetTableIndices(d, kOrder));
  }
}

// Pixels from lanes of bytes.
template <class L>
HWY_INLINE void copyPixels(const Positions& positions, const Zop8u* lanes, const Target<Zop8u>& to) {
  constexpr int kEach = kLanesOf<L>;
  if (positions.rows == 1 && !positions.hasGaps && L::colours == kEach) {
    std::memcpy(to.at[0], lanes, static_cast<std::size_t>(to.counts[0]) * kEach);
  } else {
    forPixels<L>(positions, to,
                 [&](int i, Zop8u* pixel) HWY_ATTR { std::memcpy(pixel, lanes + i * kEach, L::colours); });
  }
}

// Makes pixels from lanes: f(i) gives the samples of lanes i and following.
template <class L, class F>
HWY_INLINE void storeBytes(const Positions& positions, const Target<Zop8u>& to, const F& f) {
  constexpr int kEach = kLanesOf<L>;
  alignas(64) Zop8u samples[kPositions * kEach];
  const hn::Rebind<uint8_t, Ints> narrow;
  for (int i = 0; i < wholeVectors(positions) * kEach; i += kInts)
    hn::Store(hn::DemoteTo(narrow, f(i)), narrow, samples + i);
  copyPixels<L>(positions, samples, to);
}

// A fraction in units of 2^-16 as a 16-bit number, and whether it is one half or more: the number is then
// 2^16 too low.
struct SplitFractions {
  alignas(64) std::uint16_t low[kRoom], isHigh[kRoom];

  HWY_INLINE void store(hn::Vec<Ints> fraction, int i) {
    const Tag<std::uint32_t> words;
    const hn::Rebind<std::uint16_t, Ints> narrow;
    const auto high = hn::VecFromMask(Ints(), hn::Gt(fraction, hn::Set(Ints(), 32767)));
    hn::Store(hn::TruncateTo(narrow, hn::BitCast(words, fraction)), narrow, low + i);
    hn::Store(hn::TruncateTo(narrow, hn::BitCast(words, high)), narrow, isHigh + i);
  }
};

template <class L>
struct PlacesOfBytes {
  alignas(64) std::int64_t at[kPositions];
  SplitFractions x, y;

  void find(const SampledImage<Zop8u>& from, const Positions& positions) {
    const Offsets<L, Zop8u> offsets(from);
    const Ints d;
    if (HWY_UNLIKELY(!isNear(from))) {
      Places<std::int32_t> places;
      findLinear<L>(from, positions, places);
      std::copy_n(places.at, wholeVectors(positions), at);
      for (int i = 0; i < wholeVectors(positions); i += kInts) {
        x.store(hn::Load(d, places.x + i), i);
        y.store(hn::Load(d, places.y + i), i);
      }
      return;
    }
    forPairs(positions, [&](int i) HWY_ATTR {
      const auto axis = [&](const double* v, int size, SplitFractions& fractions) HWY_ATTR {
        const V one = hn::Set(D(), 65536.0), last = hn::Set(D(), (size - 1) * 65536.0);
        const auto fine = [&](int k) HWY_ATTR { return hn::Min(hn::Mul(hn::Load(D(), v + k), one), last); };
        const auto position = roundedToInts(fine(i), fine(i + N));
        const auto index = boundedInts(hn::ShiftRight<16>(position), size - 2);
        fractions.store(hn::Sub(position, hn::ShiftLeft<16>(index)), i);
        return index;
      };
      const auto column = axis(positions.x, from.width, x);
      offsets.store(column, axis(positions.y, from.height, y), at + i);
    });
  }
};

// The numbers of positions for lanes of 16 bits, from lane i on.
using Halves = Tag<std::int16_t>;
constexpr int kHalves = static_cast<int>(kLanes<Halves>);

template <class D8, class V16>
HWY_INLINE hn::Vec<D8> repeated(D8 d, V16 v) {
  if constexpr (kLanes<D8> == 16) {
    return v;
  } else {
    const hn::Half<D8> half;
    return hn::Combine(d, repeated(half, v), repeated(half, v));
  }
}
template <class L>
HWY_INLINE hn::Vec<Halves> ofLanes(const std::uint16_t* numbers, int i) {
  const Halves d;
  if constexpr (kLanesOf<L> == 1) {
    return hn::BitCast(d, hn::Load(Tag<std::uint16_t>(), numbers + i));
  } else {
    HWY_ALIGN static constexpr std::uint8_t kOrder[64] = {
        0,  1,  0,  1,  0,  1,  0,  1,  2,  3,  2,  3,  2,  3,  2,  3,  4,  5,  4,  5,  4,  5,
        4,  5,  6,  7,  6,  7,  6,  7,  6,  7,  8,  9,  8,  9,  8,  9,  8,  9,  10, 11, 10, 11,
        10, 11, 10, 11, 12, 13, 12, 13, 12, 13, 12, 13, 14, 15, 14, 15, 14, 15, 14, 15};
    const Tag<std::uint8_t> bytes;
    const auto block = hn::LoadU(Block(), reinterpret_cast<const std::uint8_t*>(numbers + i / 4));
    return hn::BitCast(d, hn::TableLookupBytes(repeated(bytes, block), hn::Load(bytes, kOrder)));
  }
}

// Left and right taps of a lane, in bytes: those above, and those below.
template <class L>
HWY_INLINE void fetchPairs(const unsigned char* above, const unsigned char* below, std::uint16_t* upper,
                           std::uint16_t* lower) {
  if constexpr (L::channels == 1) {
    *upper = read<std::uint16_t>(above);
    *lower = read<std::uint16_t>(below);
  } else {
    constexpr int kRight = L::channels, kFourth = L::channels == 3 ? 2 : 3;
    HWY_ALIGN static constexpr unsigned char kOrder[16] = {
        0, kRight,     1, kRight + 1, 2,  kRight + 2,  kFourth,     kRight + kFourth,
        8, kRight + 8, 9, kRight + 9, 10, kRight + 10, kFourth + 8, kRight + kFourth + 8};
    const auto pair = [](const unsigned char* at) {
      if constexpr (L::channels == 4) return read<std::uint64_t>(at);
      return read<std::uint32_t>(at) | std::uint64_t{read<std::uint32_t>(at + 2)} << 16;
    };
    const hn::FixedTag<std::uint64_t, 2> both;
    const auto lanes =
        hn::BitCast(both, hn::TableLookupBytes(block(pair(above), pair(below)), hn::Load(Block(), kOrder)));
    const hn::FixedTag<std::uint64_t, 1> half;
    hn::Store(hn::LowerHalf(half, lanes), half, reinterpret_cast<std::uint64_t*>(upper));
    hn::Store(hn::UpperHalf(half, lanes), half, reinterpret_cast<std::uint64_t*>(lower));
  }
}

template <class L>
void linearBytes(const SampledImage<Zop8u>& from, Positions& positions, const Target<Zop8u>& to) {
  constexpr int kEach = kLanesOf<L>;
  PlacesOfBytes<L> places;
  alignas(64) std::uint16_t upper[kPositions * kEach], lower[kPositions * kEach];
  places.find(from, positions);
  const unsigned char* base = bytesOf(from);
  const std::ptrdiff_t step = from.image.step;
  for (int i = 0; i < wholeVectors(positions); ++i) {
    const unsigned char* at = base + places.at[i];
    fetchPairs<L>(at, at + step, upper + i * kEach, lower + i * kEach);
  }
  const Halves d;
  const Tag<std::uint16_t> u16;
  // a + (b - a) f / 2^16, rounded down. The product's high half lacks b - a where f is 2^16 too low.
  const auto between = [&](auto a, auto b, auto f, auto isHigh) HWY_ATTR {
    const auto difference = hn::Sub(b, a);
    return hn::Add(hn::Add(a, hn::MulHigh(difference, f)), hn::And(difference, isHigh));
  };
  alignas(64) Zop8u samples[kPositions * kEach];
  for (int i = 0; i < wholeVectors(positions) * kEach; i += kHalves) {
    const auto fx = ofLanes<L>(places.x.low, i), xIsHigh = ofLanes<L>(places.x.isHigh, i);
    const auto fy = ofLanes<L>(places.y.low, i), yIsHigh = ofLanes<L>(places.y.isHigh, i);
    const auto row = [&](const std::uint16_t* pairs) HWY_ATTR {
      const auto v = hn::Load(u16, pairs + i), byte = hn::Set(u16, 0xff << 6);
      // With six more bits.
      const auto left = hn::BitCast(d, hn::And(hn::ShiftLeft<6>(v), byte));
      const auto right = hn::BitCast(d, hn::And(hn::ShiftRight<2>(v), byte));
      return between(left, right, fx, xIsHigh);
    };
    const auto fine = between(row(upper), row(lower), fy, yIsHigh);
    const auto rounded = hn::ShiftRight<6>(hn::Add(fine, hn::Set(d, 32)));
    const hn::Rebind<std::uint8_t, Halves> narrow;
    hn::Store(hn::DemoteTo(narrow, rounded), narrow, samples + i);
  }
  copyPixels<L>(positions, samples, to);
}

// The four taps of a lane in one row.
template <class L>
HWY_INLINE void fetchCubic(const unsigned char* row, std::uint32_t* to) {
  if constexpr (L::channels == 1) {
    *to = read<std::uint32_t>(row);
  } else if constexpr (L::channels == 3) {
    HWY_ALIGN static constexpr unsigned char kOrder[16] = {0, 3, 6, 9, 1, 4, 7, 10, 2, 5, 8, 11, 2, 5, 8, 11};
    storeLanes(block(read<std::uint64_t>(row), read<std::uint32_t>(row + 8)), kOrder, to);
  } else {
    HWY_ALIGN static constexpr unsigned char kOrder[16] = {0, 4, 8,  12, 1, 5, 9,  13,
                                                           2, 6, 10, 14, 3, 7, 11, 15};
    storeLanes(hn::LoadU(Block(), row), kOrder, to);
  }
}

// The weights of positions, in pairs of words.
struct PairsOfWeights {
  alignas(64) std::int32_t low[kRoom], high[kRoom];

  HWY_INLINE void set(int i, int entry) {
    low[i] = kCubicWeights.pairs[entry];
    high[i] = static_cast<std::int32_t>(
        std::rotl(static_cast<std::uint32_t>(kCubicWeights.pairs[kCubicEntries - 1 - entry]), 16));
  }
};

template <class V16>
HWY_INLINE hn::Vec<Ints> sumOfFour(V16 low, V16 high, hn::Vec<Ints> lowWeights, hn::Vec<Ints> highWeights) {
  const Ints d;
  const Tag<int16_t> words;
  return hn::Add(pairSums(d, hn::BitCast(words, low), hn::BitCast(words, lowWeights)),
                 pairSums(d, hn::BitCast(words, high), hn::BitCast(words, highWeights)));
}

template <class L>
void cubicBytes(const SampledImage<Zop8u>& from, Positions& positions, const Target<Zop8u>& to) {
  constexpr int kEach = kLanesOf<L>;
  Places<std::int32_t> places;
  PairsOfWeights across, down;
  alignas(64) std::uint32_t taps[4][kPositions * kEach];
  findCubic<L>(from, positions, places);
  const unsigned char* base = bytesOf(from);
  for (int i = 0; i < wholeVectors(positions); ++i) {
    for (int k = 0; k < 4; ++k) fetchCubic<L>(base + places.at[i] + k * from.image.step, taps[k] + i * kEach);
    across.set(i, places.x[i]);
    down.set(i, places.y[i]);
  }
  const Ints d;
  const Tag<uint32_t> words;
  storeBytes<L>(positions, to, [&](int i) HWY_ATTR {
    const auto low = ofLanes<L>(across.low, i), high = ofLanes<L>(across.high, i);
    const auto row = [&](const std::uint32_t* four) HWY_ATTR {
      const auto v = hn::Load(words, four + i), byte = hn::Set(words, 0xff);
      const auto pair = [&](auto bytes) HWY_ATTR {
        return hn::Or(hn::And(bytes, byte), hn::ShiftLeft<8>(hn::And(bytes, hn::Set(words, 0xff00))));
      };
      return hn::ShiftRight<8>(sumOfFour(pair(v), pair(hn::ShiftRight<16>(v)), low, high));
    };
    // Rows are words: |row| <= 1.64 * 16384 * 255 / 256.
    const auto pair = [&](auto a, auto b)
                          HWY_ATTR { return hn::Or(hn::And(a, hn::Set(d, 0xffff)), hn::ShiftLeft<16>(b)); };
    const auto sum = sumOfFour(pair(row(taps[0]), row(taps[1])), pair(row(taps[2]), row(taps[3])),
                               ofLanes<L>(down.low, i), ofLanes<L>(down.high, i));
    const auto rounded = hn::ShiftRight<20>(hn::Add(sum, hn::Set(d, 0x80000)));
    return hn::Min(hn::Max(rounded, hn::Zero(d)), hn::Set(d, 255));
  });
}

// ------------------------------------------------------------------------------- Words and numbers
//
// In double precision, channel by channel. All that is done to words is exact there.

template <class T>
HWY_INLINE V loadSamples(const T* from) {
  const D d;
  return toReal(d, hn::Load(hn::Rebind<T, D>(), from));
}

// One channel of pixels: f(i) gives the samples of positions i and following.
template <class L, class T, class F>
HWY_INLINE void storeChannel(const Positions& positions, const Target<T>& to, int channel, const F& f) {
  alignas(64) T samples[kPositions];
  const D d;
  const hn::Rebind<T, D> narrow;
  forVectors(positions, [&](int i) HWY_ATTR {
    if constexpr (std::is_same_v<T, Zop32f>) {
      hn::Store(hn::DemoteTo(narrow, f(i)), narrow, samples + i);
    } else {
      const V v = hn::Min(hn::Max(f(i), hn::Zero(d)), hn::Set(d, double{std::numeric_limits<T>::max()}));
      hn::Store(fromReal(narrow, v), narrow, samples + i);
    }
  });
  forPixels<L>(positions, to, [&](int i, T* pixel) HWY_ATTR { pixel[channel] = samples[i]; });
}

template <class L, class T>
void linear(const SampledImage<T>& from, Positions& positions, const Target<T>& to) {
  const D d;
  Places<double> places;
  alignas(64) T taps[4][kPositions];
  findLinear<L>(from, positions, places);
  for (int c = 0; c < L::colours; ++c) {
    const unsigned char* base = bytesOf(from) + c * sizeof(T);
    for (int i = 0; i < wholeVectors(positions); ++i) {
      const unsigned char* at = base + places.at[i];
      for (int k = 0; k < 2; ++k, at += from.image.step) {
        taps[2 * k][i] = read<T>(at);
        taps[2 * k + 1][i] = read<T>(at + L::channels * sizeof(T));
      }
    }
    storeChannel<L>(positions, to, c, [&](int i) HWY_ATTR {
      const V fx = hn::Load(d, places.x + i), fy = hn::Load(d, places.y + i);
      V tap[4];
      for (int k = 0; k < 4; ++k) tap[k] = loadSamples(taps[k] + i);
      if constexpr (std::is_same_v<T, Zop32f>) {
        const V above = hn::Add(hn::Mul(hn::Sub(tap[1], tap[0]), fx), tap[0]);
        const V below = hn::Add(tap[2], hn::Mul(fx, hn::Sub(tap[3], tap[2])));
        return hn::Add(above, hn::Mul(fy, hn::Sub(below, above)));
      } else {
        const V six = hn::Set(d, 64.0), unit = hn::Set(d, 1 / 65536.0);
        const auto between = [&](V a, V b, V f) HWY_ATTR {
          return hn::Add(a, hn::Floor(hn::Mul(hn::Mul(hn::Sub(b, a), f), unit)));
        };
        for (V& t : tap) t = hn::Mul(t, six);
        const V fine = between(between(tap[0], tap[1], fx), between(tap[2], tap[3], fx), fy);
        return hn::Floor(hn::Mul(hn::Add(fine, hn::Set(d, 32.0)), hn::Set(d, 1 / 64.0)));
      }
    });
  }
}

// The weights of four taps at -1, 0, 1 and 2.
struct FourWeights {
  alignas(64) double at[4][kPositions];

  HWY_INLINE void setOfPositions(int i, V t) {
    const D d;
    const V six = hn::Set(d, 6.0), half = hn::Set(d, 0.5), square = hn::Mul(t, t);
    const V p = hn::Div(hn::Neg(t), six), q = hn::Mul(hn::Mul(half, t), t);
    const V w0 = hn::Add(hn::Add(hn::Mul(hn::Mul(p, t), t), q), hn::Mul(hn::Set(d, -1.0 / 3), t));
    const V w1 = hn::Sub(hn::Sub(hn::Add(hn::Mul(q, t), hn::Set(d, 1.0)), square), hn::Mul(half, t));
    const V cube = hn::Mul(hn::Mul(hn::Mul(hn::Set(d, -0.5), t), t), t);
    const V w2 = hn::Add(hn::Add(q, cube), t);
    const V w3 = hn::Add(hn::Mul(t, hn::Div(square, six)), p);
    hn::Store(w0, d, at[0] + i);
    hn::Store(w1, d, at[1] + i);
    hn::Store(w2, d, at[2] + i);
    hn::Store(w3, d, at[3] + i);
  }
  HWY_INLINE void setOfEntry(int i, int entry) {
    for (int k = 0; k < 4; ++k) at[k][i] = kCubicWeights.of(entry, k);
  }

  HWY_INLINE V sum(int i, V a, V b, V c, V e) const {
    const auto w = [&](int k) HWY_ATTR { return hn::Load(D(), at[k] + i); };
    return hn::Add(hn::Add(hn::Add(hn::Mul(a, w(0)), hn::Mul(b, w(1))), hn::Mul(c, w(2))), hn::Mul(e, w(3)));
  }
};

template <class L, class T>
void cubic(const SampledImage<T>& from, Positions& positions, const Target<T>& to) {
  constexpr bool kNumbers = std::is_same_v<T, Zop32f>;
  const D d;
  Places<double> places;
  FourWeights across, down;
  alignas(64) T taps[4][4][kPositions];
  findCubic<L>(from, positions, places);
  if constexpr (kNumbers) {
    forVectors(positions, [&](int i) HWY_ATTR {
      across.setOfPositions(i, hn::Load(d, places.x + i));
      down.setOfPositions(i, hn::Load(d, places.y + i));
    });
  } else {
    for (int i = 0; i < wholeVectors(positions); ++i) {
      across.setOfEntry(i, static_cast<int>(places.x[i]));
      down.setOfEntry(i, static_cast<int>(places.y[i]));
    }
  }
  for (int c = 0; c < L::colours; ++c) {
    const unsigned char* base = bytesOf(from) + c * sizeof(T);
    for (int i = 0; i < wholeVectors(positions); ++i) {
      const unsigned char* row = base + places.at[i];
      for (int k = 0; k < 4; ++k, row += from.image.step) {
        for (int j = 0; j < 4; ++j) taps[k][j][i] = read<T>(row + j * L::channels * sizeof(T));
      }
    }
    storeChannel<L>(positions, to, c, [&](int i) HWY_ATTR {
      V row[4];
      for (int k = 0; k < 4; ++k) {
        row[k] = across.sum(i, loadSamples(taps[k][0] + i), loadSamples(taps[k][1] + i),
                            loadSamples(taps[k][2] + i), loadSamples(taps[k][3] + i));
        if (!kNumbers) row[k] = hn::Floor(hn::Mul(row[k], hn::Set(d, 1 / 256.0)));
      }
      const V sum = down.sum(i, row[0], row[1], row[2], row[3]);
      if (kNumbers) return sum;
      return hn::Floor(hn::Mul(hn::Add(sum, hn::Set(d, 0x80000)), hn::Set(d, 1 / 1048576.0)));
    });
  }
}

// ---------------------------------------------------------------------------------------------- Table

template <class T, class L>
constexpr LayoutSamples<T> samplesOf() {
  if constexpr (std::is_same_v<T, Zop8u>)
    return {nearest<L, T>, linearBytes<L>, cubicBytes<L>};
  else
    return {nearest<L, T>, linear<L, T>, cubic<L, T>};
}
template <class T>
constexpr SampleRows<T> rowsOf() {
  return {samplesOf<T, C1>(), samplesOf<T, C3>(), samplesOf<T, C4>(), samplesOf<T, AC4>()};
}
constexpr SampleTable kTable = {rowsOf<Zop8u>(), rowsOf<Zop16u>(), rowsOf<Zop32f>()};

}  // namespace

const SampleTable* sampleTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(sampleTableOfTarget);

const SampleTable& sampleTable() { return *HWY_DYNAMIC_DISPATCH(sampleTableOfTarget)(); }

}  // namespace zopi
#endif
