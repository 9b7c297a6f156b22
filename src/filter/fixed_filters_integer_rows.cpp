// Vector code of the filters with built-in masks, on integers.
//
// Every sum is exact in its lanes, so the order of the passes is free: rows first, which takes no memory.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/fixed_filters_integer_rows.cpp"
#include "hwy/foreach_target.h"
//
#include "hwy/highway.h"
//
#include "core/lanes-inl.h"
#include "filter/fixed_filters_rows.h"
#include "filter/masks.h"
#include "filter/stencil-inl.h"
#include "filter/weighted_sums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Samples in lanes twice as wide. If the results are as narrow as the samples: the even and the odd ones.
template <class S, class T, bool kNarrows = sizeof(S) == sizeof(T)>
struct Widened {
  using D = Tag<std::conditional_t<sizeof(S) == 1, int16_t, int32_t>>;
  static constexpr int kParts = 2;
  using Parts = std::array<hn::Vec<D>, kParts>;

  static HWY_INLINE Parts from(hn::Vec<Tag<S>> v) {
    const auto wide = widen(Tag<S>(), inRegister(v));
    return {hn::BitCast(D(), wide.even), hn::BitCast(D(), wide.odd)};
  }
  // Means lie between samples: they need no saturation.
  template <bool kIsMean>
  static HWY_INLINE hn::Vec<Tag<T>> back(const Parts& parts) {
    const Tag<T> d;
    if constexpr (kIsMean)
      return hn::OddEven(hn::BitCast(d, hn::ShiftLeft<8 * sizeof(T)>(parts[1])), hn::BitCast(d, parts[0]));
    else
      return narrow(d, Wide<D>{parts[0], parts[1]});
  }
};
template <class S, class T>
struct Widened<S, T, false> {
  using D = Tag<T>;
  static constexpr int kParts = 1;
  using Parts = std::array<hn::Vec<D>, kParts>;

  static HWY_INLINE Parts from(hn::Vec<hn::Rebind<S, D>> v) { return {hn::PromoteTo(D(), v)}; }
  template <bool kIsMean>
  static HWY_INLINE hn::Vec<D> back(const Parts& parts) {
    return parts[0];
  }
};

// v * kFactor / 2^kShift in full precision, v not negative.
template <uint32_t kFactor, int kShift, class D, class V = hn::Vec<D>>
HWY_INLINE V scaled(D d, V v) {
  const hn::RebindToUnsigned<D> du;
  const auto factor = hn::Set(du, kFactor);
  const auto even = hn::MulEven(hn::BitCast(du, v), factor);
  const auto odd = hn::MulEven(oddAsEven(du, hn::BitCast(du, v)), factor);
  const auto high = kShift == 32 ? odd : hn::ShiftRight<kShift - 32>(odd);
  return hn::BitCast(d, hn::OddEven(hn::BitCast(du, high), hn::BitCast(du, hn::ShiftRight<kShift>(even))));
}

// The sum of a window over the divisor of its mask, in 16-bit lanes of bytes and in 32-bit lanes of words.
// Words lie around 0: they are divided as if the lowest were 0.
template <int kDivisor, class V>
HWY_INLINE V divided(Tag<int16_t> d, V sum) {
  if constexpr (kDivisor == 9)
    return hn::MulHigh(hn::Add(sum, hn::Set(d, 5)), hn::Set(d, 0x1C71));
  else if constexpr (kDivisor == 25)
    return hn::ShiftRight<2>(hn::MulHigh(hn::Add(sum, hn::Set(d, 13)), hn::Set(d, 0x28F5)));
  else
    return kDivisor == 1 ? sum : roundingShiftWithRoom(d, sum, kDivisor == 16 ? 4 : 3);
}
template <int kDivisor, class V>
HWY_INLINE V divided(Tag<int32_t> d, V sum) {
  constexpr int kLowest = -32768;
  const auto around0 = hn::Set(d, kLowest);
  if constexpr (kDivisor == 9)
    return hn::Add(scaled<0x1C71C71C, 32>(d, hn::Add(sum, hn::Set(d, 5 - 9 * kLowest))), around0);
  else if constexpr (kDivisor == 25)
    return hn::Add(scaled<0xA3D70A3, 32>(d, hn::Add(sum, hn::Set(d, 13 - 25 * kLowest))), around0);
  else if constexpr (kDivisor == 571)
    return hn::Add(scaled<0x39631512, 40>(d, hn::Add(hn::Add(sum, sum), hn::Set(d, 571 - 2 * 571 * kLowest))),
                   around0);
  else
    return kDivisor == 1 ? sum : roundingShiftWithRoom(d, sum, kDivisor == 16 ? 4 : 3);
}

// Of 5x5 bytes: three sums, each of which fits 16 bits without a sign, but not together.
template <class V>
HWY_INLINE V dividedBy571(Tag<int16_t> d, V a, V b, V c) {
  const hn::RebindToUnsigned<decltype(d)> du;
  const auto whole = [](auto lanes, auto x, auto y, auto z) HWY_ATTR {
    const decltype(lanes) dw;
    const auto sum = hn::Add(hn::Add(x, y), z);
    return hn::ShiftRight<23>(hn::Add(hn::Mul(sum, hn::Set(dw, 14691)), hn::Set(dw, 4200000)));
  };
  const auto wa = widen(du, hn::BitCast(du, a)), wb = widen(du, hn::BitCast(du, b)),
             wc = widen(du, hn::BitCast(du, c));
  const hn::RepartitionToWide<decltype(du)> dw;
  const auto even = whole(dw, wa.even, wb.even, wc.even), odd = whole(dw, wa.odd, wb.odd, wc.odd);
  return hn::BitCast(d, hn::Or(even, hn::ShiftLeft<16>(odd)));
}

template <const Mask& kMask, class S, class T>
struct Filter {
  static constexpr int kRadius = kMask.radius, kTaps = kMask.taps(), kKinds = kMask.kinds;
  using W = Widened<S, T>;
  using D = typename W::D;
  using Parts = typename W::Parts;
  using Row = std::array<hn::Vec<D>, kKinds * W::kParts>;  // kind by kind
  using Rows = std::array<Row, kTaps>;

  HWY_INLINE Filter() {}

  template <int kKind>
  struct Across {
    static constexpr int count = kTaps;
    static constexpr int at(int i) { return kMask.across[kKind][i]; }
  };
  // Rows of one kind, or all of them.
  template <int kKind>
  struct Down {
    static constexpr int count = kTaps;
    static constexpr int at(int j) { return kMask.down[j][kKind]; }
  };
  struct AllDown {
    static constexpr int count = kTaps * kKinds;
    static constexpr int at(int i) { return kMask.down[i / kKinds][i % kKinds]; }
  };

  static constexpr bool isMean() { return kMask.divisor > 8; }

  template <class Source>
  HWY_INLINE Row across(const Source& source) const {
    return across(source, std::make_integer_sequence<int, kTaps>(),
                  std::make_integer_sequence<int, kKinds * W::kParts>());
  }
  HWY_INLINE auto down(const Rows& rows) const {
    return W::template back<isMean()>(down(rows, std::make_integer_sequence<int, W::kParts>()));
  }

 private:
  // Functions instead of loops: what a loop counts stays in memory.
  template <class Source, int... I, int... K>
  HWY_INLINE Row across(const Source& source, std::integer_sequence<int, I...>,
                        std::integer_sequence<int, K...>) const {
    const Parts taps[] = {W::from(source.at(I - kRadius))...};
    return {IntegerSum<Across<K / W::kParts>>::of(factors_,
                                                  [&](int i) HWY_ATTR { return taps[i][K % W::kParts]; })...};
  }

  template <int... P>
  HWY_INLINE Parts down(const Rows& rows, std::integer_sequence<int, P...>) const {
    return {part(rows, P, std::make_integer_sequence<int, kKinds>())...};
  }
  template <int... K>
  HWY_INLINE hn::Vec<D> part(const Rows& rows, int part, std::integer_sequence<int, K...>) const {
    const auto sum = [&](int kind, int j) HWY_ATTR { return rows[j][kind * W::kParts + part]; };
    if constexpr (kMask.divisor == 571 && sizeof(S) == 1) {
      return dividedBy571(D(),
                          IntegerSum<Down<K>>::of(factors_, [&](int j) HWY_ATTR { return sum(K, j); })...);
    } else {
      const auto term = [&](int i) HWY_ATTR { return sum(i % kKinds, i / kKinds); };
      return divided<kMask.divisor>(D(), IntegerSum<AllDown>::of(factors_, term));
    }
  }

  struct Weights {
    static constexpr int kAcross = kKinds * kTaps, count = kAcross + AllDown::count;
    static constexpr int at(int i) {
      return i < kAcross ? kMask.across[i / kTaps][i % kTaps] : AllDown::at(i - kAcross);
    }
  };
  const Factors<D, Weights> factors_;
};

template <const Mask& kMask, class S, class T>
constexpr StencilRows<S, T> rowsOf() {
  if constexpr (sizeof(S) == sizeof(T))
    return {acrossThenDown<Filter<kMask, S, T>, false, S, T>,
            acrossThenDown<Filter<kMask, S, T>, true, S, T>};
  else
    return {acrossThenDown<Filter<kMask, S, T>, false, S, T>, nullptr};
}

template <class T>
constexpr FixedRows<T, T> saturating() {
  using namespace masks;
  FixedRows<T, T> table = {};
  auto& rows = table.rows;
  rows[kFilterPrewittVert][0] = rowsOf<kPrewittVert, T, T>();
  rows[kFilterPrewittHoriz][0] = rowsOf<kPrewittHoriz, T, T>();
  rows[kFilterSobelVert][0] = rowsOf<kSobelVert3, T, T>();
  rows[kFilterSobelHoriz][0] = rowsOf<kSobelHoriz3, T, T>();
  rows[kFilterLaplace][0] = rowsOf<kLaplace3, T, T>();
  rows[kFilterLaplace][1] = rowsOf<kLaplace5, T, T>();
  rows[kFilterGauss][0] = rowsOf<kGauss3, T, T>();
  rows[kFilterGauss][1] = rowsOf<kGauss5, T, T>();
  rows[kFilterHipass][0] = rowsOf<kLaplace3, T, T>();
  rows[kFilterHipass][1] = rowsOf<kHipass5, T, T>();
  rows[kFilterLowpass][0] = rowsOf<kLowpass3, T, T>();
  rows[kFilterLowpass][1] = rowsOf<kLowpass5, T, T>();
  rows[kFilterSharpen][0] = rowsOf<kSharpen, T, T>();
  return table;
}

template <class S>
constexpr FixedRows<S, Zop16s> widening() {
  using namespace masks;
  using T = Zop16s;
  FixedRows<S, T> table = {};
  auto& rows = table.rows;
  rows[kFilterSobelVert][0] = rowsOf<kSobelVert3, S, T>();
  rows[kFilterSobelVert][1] = rowsOf<kSobelVert5, S, T>();
  rows[kFilterSobelHoriz][0] = rowsOf<kSobelHoriz3, S, T>();
  rows[kFilterSobelHoriz][1] = rowsOf<kSobelHoriz5, S, T>();
  rows[kFilterSobelVertSecond][0] = rowsOf<kSobelVertSecond3, S, T>();
  rows[kFilterSobelVertSecond][1] = rowsOf<kSobelVertSecond5, S, T>();
  rows[kFilterSobelHorizSecond][0] = rowsOf<kSobelHorizSecond3, S, T>();
  rows[kFilterSobelHorizSecond][1] = rowsOf<kSobelHorizSecond5, S, T>();
  rows[kFilterSobelCross][0] = rowsOf<kSobelCross3, S, T>();
  rows[kFilterSobelCross][1] = rowsOf<kSobelCross5, S, T>();
  rows[kFilterScharrVert][0] = rowsOf<kScharrVert, S, T>();
  rows[kFilterScharrHoriz][0] = rowsOf<kScharrHoriz, S, T>();
  rows[kFilterLaplace][0] = rowsOf<kLaplace3, S, T>();
  rows[kFilterLaplace][1] = rowsOf<kLaplace5, S, T>();
  return table;
}

constexpr FixedIntegerTable kTable = {saturating<Zop8u>(), saturating<Zop16s>(), widening<Zop8u>(),
                                      widening<Zop8s>()};

}  // namespace

const FixedIntegerTable* fixedIntegerTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(fixedIntegerTableOfTarget);

const FixedIntegerTable& fixedIntegerTable() { return *HWY_DYNAMIC_DISPATCH(fixedIntegerTableOfTarget)(); }

}  // namespace zopi
#endif
