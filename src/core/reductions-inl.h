// Reductions: rows of pixels to a few numbers.
// Included once for each vector target, after hwy/highway.h.
//
// A reduction is an object that takes vectors. A step is so many of them that it holds whole pixels of every
// layout, so the k-th vector of each step has the same channels in its lanes: `take(k, mask, v ...)`
// accumulates it in the k-th place, and only the lanes of `mask` count. `flush` is called after kSteps steps
// at the latest, and at the end: there, lanes are brought together by channels, with `channelOf`.
#if defined(ZOPI_CORE_REDUCTIONS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_REDUCTIONS_INL_H_
#undef ZOPI_CORE_REDUCTIONS_INL_H_
#else
#define ZOPI_CORE_REDUCTIONS_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/lanes-inl.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The channel of lane `lane` in the k-th vector of a step.
template <class D, int kChannels>
constexpr int channelOf(int k, int lane) {
  return (k * static_cast<int>(kLanes<D>) + lane) % kChannels;
}

// f(k) for every place of a step, with k a constant: a loop would keep accumulators out of registers.
template <class D, class F, int... K>
HWY_INLINE void forPlaces(const F& f, std::integer_sequence<int, K...>) {
  (f(std::integral_constant<int, K>()), ...);
}
template <class D, class F>
HWY_INLINE void forPlaces(const F& f) {
  forPlaces<D>(f, std::make_integer_sequence<int, kStep<D>>());
}

// All lanes: a mask that costs nothing.
struct AllLanes {};

template <class D, class V>
HWY_INLINE V lanesOr(D, AllLanes, V v, V) {
  return v;
}
template <class D, class V>
HWY_INLINE V lanesOr(D, hn::Mask<D> mask, V v, V other) {
  return hn::IfThenElse(mask, v, other);
}

template <class D, class Op, class... S>
HWY_INLINE void takeStep(D, Op& op, std::ptrdiff_t i, const S&... s) {
  forPlaces<D>([&](auto k) HWY_ATTR {
    op.template take<k.value>(AllLanes(), s.at(i + k.value * kLanes<D>, k.value)...);
  });
}

// What is left of a row, as the vectors of a last step.
template <class D, class Op, class... S>
HWY_INLINE void takeRest(D d, Op& op, std::ptrdiff_t i, std::ptrdiff_t n, const S&... s) {
  forPlaces<D>([&](auto k) HWY_ATTR {
    const std::ptrdiff_t left = n - i - k.value * kLanes<D>;
    if (left <= 0) return;
    const std::ptrdiff_t part = left < kLanes<D> ? left : kLanes<D>;
    op.template take<k.value>(hn::FirstN(d, static_cast<std::size_t>(part)),
                              s.edge(i + k.value * kLanes<D>, part)...);
  });
}

template <class D, class Op, class... S>
HWY_INLINE void reduceRows(D d, Op& op, Extent e, S... s) {
  constexpr std::ptrdiff_t kSamples = kStep<D> * kLanes<D>;
  std::ptrdiff_t room = Op::kSteps;
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    (s.row(y), ...);
    for (std::ptrdiff_t i = 0; i < e.length; i += kSamples) {
      if (HWY_UNLIKELY(room == 0)) {
        op.flush();
        room = Op::kSteps;
      }
      --room;
      if (HWY_LIKELY(i + kSamples <= e.length))
        takeStep(d, op, i, s...);
      else
        takeRest(d, op, i, e.length, s...);
    }
  }
  op.flush();
}

struct Smaller {
  template <class D, class V>
  static HWY_INLINE V ofLanes(D, V v, V best) {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::IfThenElse(hn::Lt(v, best), v, best);
    else
      return hn::Min(v, best);
  }
  template <class T>
  static bool isBetter(T value, T best) {
    return value < best;
  }
};

struct Larger {
  template <class D, class V>
  static HWY_INLINE V ofLanes(D, V v, V best) {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::IfThenElse(hn::Gt(v, best), v, best);
    else
      return hn::Max(v, best);
  }
  template <class T>
  static bool isBetter(T value, T best) {
    return value > best;
  }
};

// The best samples of each channel so far, one for every place of a step.
template <class D, int kChannels, class Better>
struct Best {
  using T = hn::TFromD<D>;
  using V = hn::Vec<D>;
  V places[kStep<D>];

  HWY_INLINE explicit Best(const T* pixel) {
    const PatternOperand<D> pattern(repeat(pixel, kChannels));
    forPlaces<D>([&](auto k) HWY_ATTR { places[k] = pattern.at(0, k); });
  }
  template <int K, class M>
  HWY_INLINE void take(M mask, V v) {
    const D d;
    places[K] = Better::ofLanes(d, lanesOr(d, mask, v, places[K]), places[K]);
  }
  HWY_INLINE void store(T* pixel) const {
    const D d;
    if constexpr (kLanes<D> % kChannels != 0) {
      forPlaces<D>([&](auto k) HWY_ATTR { bestLanes(d, places[k], k, pixel); });
    } else {
      // Every place has the same channels in its lanes.
      V best = places[0];
      forPlaces<D>([&](auto k) HWY_ATTR { best = Better::ofLanes(d, places[k], best); });
      bestOfHalves(d, best, pixel);
    }
  }

 private:
  // Halves that hold whole pixels can be compared with each other.
  template <class DH, class VH>
  HWY_INLINE void bestOfHalves(DH d, VH v, T* pixel) const {
    if constexpr (hn::MaxLanes(DH()) > 4 && hn::MaxLanes(DH()) * sizeof(T) > 16) {
      const hn::Half<DH> half;
      bestOfHalves(half, Better::ofLanes(half, hn::UpperHalf(half, v), hn::LowerHalf(half, v)), pixel);
    } else {
      bestLanes(d, v, 0, pixel);
    }
  }
  template <class DH, class VH>
  HWY_INLINE void bestLanes(DH d, VH v, int k, T* pixel) const {
    HWY_ALIGN T lanes[kLanes<DH>];
    hn::Store(v, d, lanes);
    for (int i = 0; i < kLanes<DH>; ++i) {
      T& best = pixel[channelOf<D, kChannels>(k, i)];
      if (Better::isBetter(lanes[i], best)) best = lanes[i];
    }
  }
};

// Lanes of integer accumulators, wide or not, added up by channels. `stride` and `first` say which lane of
// the samples' vectors the lanes of v stand for.
template <class DS, int kChannels, class D, class V, class Sum>
HWY_INLINE void addLanes(D d, V v, int k, int first, int stride, Sum* sums) {
  HWY_ALIGN hn::TFromD<D> lanes[kLanes<D>];
  hn::Store(v, d, lanes);
  for (int i = 0; i < kLanes<D>; ++i) {
    sums[channelOf<DS, kChannels>(k, first + i * stride)] += static_cast<Sum>(lanes[i]);
  }
}

// Sums of the terms that `Term` makes of vectors of samples, as unsigned or signed lanes of D, which become
// twice as wide here: kSteps of them fit.
template <class D, int kChannels, class Term>
struct ChannelSums {
  using T = hn::TFromD<D>;
  using W = WideTag<D>;
  static constexpr std::ptrdiff_t kSteps = sizeof(T) == 1 ? 256 : 32768;
  std::int64_t* sums;
  Wide<W> parts[kStep<D>];

  HWY_INLINE explicit ChannelSums(std::int64_t* out) : sums(out) { clear(); }

  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    const auto w = widen(d, lanesOr(d, mask, Term()(d, v...), hn::Zero(d)));
    parts[K] = {hn::Add(parts[K].even, w.even), hn::Add(parts[K].odd, w.odd)};
  }
  HWY_INLINE void flush() {
    forPlaces<D>([&](auto k) HWY_ATTR {
      addLanes<D, kChannels>(W(), parts[k].even, k, 0, 2, sums);
      addLanes<D, kChannels>(W(), parts[k].odd, k, 1, 2, sums);
    });
    clear();
  }

 private:
  HWY_INLINE void clear() {
    forPlaces<D>([&](auto k) HWY_ATTR { parts[k] = {hn::Zero(W()), hn::Zero(W())}; });
  }
};

// The same for bytes of one channel: eight at a time, in lanes that never overflow.
template <class Term>
struct ChannelSums<Tag<uint8_t>, 1, Term> {
  using D = Tag<uint8_t>;
  using W = Tag<uint64_t>;
  static constexpr std::ptrdiff_t kSteps = PTRDIFF_MAX;
  std::int64_t* sums;
  hn::Vec<W> parts[kStep<D>];

  HWY_INLINE explicit ChannelSums(std::int64_t* out) : sums(out) {
    forPlaces<D>([&](auto k) HWY_ATTR { parts[k] = hn::Zero(W()); });
  }
  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    parts[K] = hn::Add(parts[K], hn::SumsOf8(lanesOr(d, mask, Term()(d, v...), hn::Zero(d))));
  }
  HWY_INLINE void flush() {
    auto all = hn::Zero(W());
    forPlaces<D>([&](auto k) HWY_ATTR { all = hn::Add(all, parts[k]); });
    addLanes<W, 1>(W(), all, 0, 0, 1, sums);
  }
};

// The same for terms that are wide already and small: 0 or 1.
template <int kChannels, class Term>
struct ChannelSums<Tag<uint32_t>, kChannels, Term> {
  using D = Tag<uint32_t>;
  static constexpr std::ptrdiff_t kSteps = UINT32_MAX;
  std::int64_t* sums;
  hn::Vec<D> parts[kStep<D>];

  HWY_INLINE explicit ChannelSums(std::int64_t* out) : sums(out) { clear(); }

  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    parts[K] = hn::Add(parts[K], lanesOr(d, mask, Term()(d, v...), hn::Zero(d)));
  }
  HWY_INLINE void flush() {
    forPlaces<D>([&](auto k) HWY_ATTR { addLanes<D, kChannels>(D(), parts[k], k, 0, 1, sums); });
    clear();
  }

 private:
  HWY_INLINE void clear() {
    forPlaces<D>([&](auto k) HWY_ATTR { parts[k] = hn::Zero(D()); });
  }
};

// Sums of the squares of such terms, unsigned ones of 8 or 16 bits, which become four times as wide.
template <class D, int kChannels, class Term>
struct ChannelSquareSums {
  using T = hn::TFromD<D>;
  using W = WideTag<D>;
  using Q = WideTag<W>;
  static constexpr std::ptrdiff_t kSteps = sizeof(T) == 1 ? 65536 : PTRDIFF_MAX;
  std::int64_t* sums;
  Wide<Q> evens[kStep<D>], odds[kStep<D>];

  HWY_INLINE explicit ChannelSquareSums(std::int64_t* out) : sums(out) { clear(); }

  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    const auto w = widen(d, lanesOr(d, mask, Term()(d, v...), hn::Zero(d)));
    add(evens[K], w.even);
    add(odds[K], w.odd);
  }
  HWY_INLINE void flush() {
    forPlaces<D>([&](auto k) HWY_ATTR {
      addLanes<D, kChannels>(Q(), evens[k].even, k, 0, 4, sums);
      addLanes<D, kChannels>(Q(), odds[k].even, k, 1, 4, sums);
      addLanes<D, kChannels>(Q(), evens[k].odd, k, 2, 4, sums);
      addLanes<D, kChannels>(Q(), odds[k].odd, k, 3, 4, sums);
    });
    clear();
  }

 private:
  static HWY_INLINE void add(Wide<Q>& sum, hn::Vec<W> v) {
    const W dw;
    if constexpr (sizeof(T) == 1) {
      const auto squares = widen(dw, hn::Mul(v, v));
      sum = {hn::Add(sum.even, squares.even), hn::Add(sum.odd, squares.odd)};
    } else {
      const auto odd = oddAsEven(dw, v);
      sum = {hn::Add(sum.even, hn::MulEven(v, v)), hn::Add(sum.odd, hn::MulEven(odd, odd))};
    }
  }
  HWY_INLINE void clear() {
    forPlaces<D>([&](auto k) HWY_ATTR { evens[k] = odds[k] = {hn::Zero(Q()), hn::Zero(Q())}; });
  }
};

// The same for bytes of one channel, where it does not matter which two squares an instruction adds up.
template <class Term>
struct ChannelSquareSums<Tag<uint8_t>, 1, Term> {
  using D = Tag<uint8_t>;
  using W = Tag<int16_t>;
  using Q = Tag<int32_t>;
  static constexpr std::ptrdiff_t kSteps = 8192;
  std::int64_t* sums;
  Wide<Q> parts[kStep<D>];

  HWY_INLINE explicit ChannelSquareSums(std::int64_t* out) : sums(out) { clear(); }

  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    const auto w = widen(d, lanesOr(d, mask, Term()(d, v...), hn::Zero(d)));
    add(parts[K], hn::BitCast(W(), w.even));
    add(parts[K], hn::BitCast(W(), w.odd));
  }
  HWY_INLINE void flush() {
    forPlaces<D>([&](auto k) HWY_ATTR {
      addLanes<D, 1>(Q(), parts[k].even, k, 0, 1, sums);
      addLanes<D, 1>(Q(), parts[k].odd, k, 0, 1, sums);
    });
    clear();
  }

 private:
  static HWY_INLINE void add(Wide<Q>& sum, hn::Vec<W> v) {
    sum.even = hn::ReorderWidenMulAccumulate(Q(), v, v, sum.even, sum.odd);
  }
  HWY_INLINE void clear() {
    forPlaces<D>([&](auto k) HWY_ATTR { parts[k] = {hn::Zero(Q()), hn::Zero(Q())}; });
  }
};

// Sums in double precision whose order is laid down: each of `kChains` has every kChains-th sample of a row,
// one after the other. A chain waits for each addition, so this is as fast as additions follow each other.
template <int kChains, class Term, class... S>
HWY_INLINE void addInOrder(const Term& term, Extent e, double* sums, Image<const S>... images) {
  // Two chains to a vector, and an odd one alone.
  const hn::Simd<double, 2, 0> d2;
  const hn::Simd<double, 1, 0> d1;
  constexpr int kPairs = kChains / 2;
  constexpr bool kOdd = kChains % 2 != 0;
  const auto at = [&](auto d, auto* samples) HWY_ATTR {
    // The samples may stand at any address, which a load of one float does not allow.
    float block[hn::MaxLanes(d)];
    std::memcpy(block, samples, sizeof block);
    return hn::PromoteTo(d, hn::LoadU(hn::Rebind<float, decltype(d)>(), block));
  };
  hn::Vec<decltype(d2)> pairs[kPairs + 1];
  auto odd = hn::LoadU(d1, sums + kChains - 1);
  for (int p = 0; p < kPairs; ++p) pairs[p] = hn::LoadU(d2, sums + 2 * p);
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    std::ptrdiff_t i = 0;
    for (; i + kChains <= e.length; i += kChains) {
      for (int p = 0; p < kPairs; ++p) {
        pairs[p] = hn::Add(pairs[p], term(d2, at(d2, images.row(y) + i + 2 * p)...));
      }
      if constexpr (kOdd) odd = hn::Add(odd, term(d1, at(d1, images.row(y) + i + kChains - 1)...));
    }
    if constexpr (kChains == 2) {
      if (i < e.length) {
        const auto last = hn::ZeroExtendVector(d2, term(d1, at(d1, images.row(y) + i)...));
        pairs[0] = hn::Add(pairs[0], last);
      }
    }
  }
  for (int p = 0; p < kPairs; ++p) hn::StoreU(pairs[p], d2, sums + 2 * p);
  if constexpr (kOdd) hn::StoreU(odd, d1, sums + kChains - 1);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
