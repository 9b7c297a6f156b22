#include "arith/add_sub_mul_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/add_sub_mul_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Operations. `exact` is the wide result; `saturated` the result held to the sample's range, which is all
// that shifting left needs; `halved` the exact result over 2, where there is a shorter way than rounding.

struct Add {
  static constexpr bool kShort = true;
  template <class T>
  static constexpr bool kHalves = sizeof(T) < 4;

  template <class D, class V>
  static HWY_INLINE Wide<WideTag<D>> exact(D d, V a, V b) {
    const auto wa = widen(d, a), wb = widen(d, b);
    return {hn::Add(wa.even, wb.even), hn::Add(wa.odd, wb.odd)};
  }
  template <class D, class V>
  static HWY_INLINE V saturated(D d, V a, V b) {
    if constexpr (sizeof(hn::TFromD<D>) < 4)
      return hn::SaturatedAdd(a, b);
    else
      return narrow(d, exact(d, a, b));
  }
  // The floor of the average fits the lane; a tie (the operands differ in the lowest bit) goes up where it is
  // odd.
  template <class D, class V>
  static HWY_INLINE V halved(D d, V a, V b) {
    a = inRegister(a);
    b = inRegister(b);
    const auto differ = hn::Xor(a, b);
    const auto one = hn::Set(d, 1);
    if constexpr (sizeof(hn::TFromD<D>) == 1) {
      const auto ceiling = hn::AverageRound(a, b);
      return hn::Sub(ceiling, hn::And(hn::And(ceiling, differ), one));
    } else {
      const auto floor = hn::Add(hn::And(a, b), hn::ShiftRight<1>(differ));
      return hn::Add(floor, hn::And(hn::And(floor, differ), one));
    }
  }
};

struct Sub {
  static constexpr bool kShort = true;
  template <class T>
  static constexpr bool kHalves = sizeof(T) == 1;

  template <class D, class V>
  static HWY_INLINE Wide<WideTag<D>> exact(D d, V a, V b) {
    if constexpr (sizeof(hn::TFromD<D>) == 1) return widen(d, hn::SaturatedSub(b, a));
    const auto wa = widen(d, a), wb = widen(d, b);
    return {hn::Sub(wb.even, wa.even), hn::Sub(wb.odd, wa.odd)};
  }
  template <class D, class V>
  static HWY_INLINE V saturated(D d, V a, V b) {
    if constexpr (sizeof(hn::TFromD<D>) < 4)
      return hn::SaturatedSub(b, a);
    else
      return narrow(d, exact(d, a, b));
  }
  template <class D, class V>
  static HWY_INLINE V halved(D d, V a, V b) {
    return Add::halved(d, hn::SaturatedSub(b, a), hn::Zero(d));
  }
};

struct Mul {
  static constexpr bool kShort = false;
  template <class T>
  static constexpr bool kHalves = sizeof(T) == 1;

  template <class D, class V>
  static HWY_INLINE Wide<WideTag<D>> exact(D d, V a, V b) {
    if constexpr (sizeof(hn::TFromD<D>) == 1) {
      const auto wa = widen(d, a), wb = widen(d, b);
      return {hn::Mul(wa.even, wb.even), hn::Mul(wa.odd, wb.odd)};
    } else {
      // The halves of the products, put together where they belong.
      const WideTag<D> dw;
      const auto low = hn::Mul(a, b), high = hn::MulHigh(a, b);
      const auto evenHigh = hn::BitCast(d, hn::ShiftLeft<16>(hn::BitCast(dw, high)));
      const auto oddLow = hn::BitCast(d, hn::ShiftRight<16>(hn::BitCast(dw, low)));
      return {hn::BitCast(dw, hn::OddEven(evenHigh, low)), hn::BitCast(dw, hn::OddEven(high, oddLow))};
    }
  }
  template <class D, class V>
  static HWY_INLINE V saturated(D d, V a, V b) {
    return narrow(d, exact(d, a, b));
  }
  template <class D, class V>
  static HWY_INLINE V halved(D d, V a, V b) {
    return narrow(d, each(exact(d, a, b), [](auto dw, auto t) HWY_ATTR {
                    return hn::ShiftRight<1>(hn::Add(t, hn::And(hn::ShiftRight<1>(t), hn::Set(dw, 1))));
                  }));
  }
};

// Real parts stand in even lanes, imaginary parts in odd ones.
struct MulComplex {
  static constexpr bool kShort = false;
  template <class T>
  static constexpr bool kHalves = false;

  template <class D, class V>
  static HWY_INLINE Wide<WideTag<D>> exact(D d, V a, V b) {
    return complexProducts(d, a, b);
  }
  template <class D, class V>
  static HWY_INLINE V saturated(D d, V a, V b) {
    return narrow(d, exact(d, a, b));
  }
};

// A 64-bit integer as the truncating route sees it: rounded to double, divided, held to the range of 32s and
// truncated. Adding 1.5 * 2^52 leaves the integer in the low half of the bits.
template <class D, class V>
HWY_INLINE V truncateThroughDouble(D d, V t, int shift) {
  const hn::RebindToFloat<D> df;
  const auto factor = hn::Set(df, 1.0 / static_cast<double>(int64_t{1} << shift));
  const auto scaled = hn::Mul(hn::ConvertTo(df, t), factor);
  const auto held = hn::Max(hn::Min(scaled, hn::Set(df, 2147483647.0)), hn::Set(df, -2147483648.0));
  const auto bits = hn::BitCast(d, hn::Add(hn::Trunc(held), hn::Set(df, 6755399441055744.0)));
  return hn::Sub(bits, hn::BitCast(d, hn::Set(df, 6755399441055744.0)));
}

template <class Op, ScaleRoute kRoute>
struct Scaled {
  static constexpr int kGroup = std::is_same_v<Op, MulComplex> ? 2 : 1;
  static constexpr bool kShort = Op::kShort && (kRoute == kSaturate || kRoute == kHalve);
  int shift;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    if constexpr (kRoute == kSaturate) return Op::saturated(d, a, b);
    if constexpr (kRoute == kHalve) return Op::halved(d, a, b);
    const int s = shift;
    if constexpr (kRoute == kRound) {
      return narrow(d, each(Op::exact(d, a, b), [s](auto dw, auto t) HWY_ATTR {
                      // Only sums of two products fill their lanes.
                      if constexpr (std::is_same_v<Op, MulComplex>)
                        return roundingShift(dw, t, s);
                      else
                        return roundingShiftWithRoom(dw, t, s);
                    }));
    }
    if constexpr (kRoute == kLift) {
      return narrow(d, each(widen(d, Op::saturated(d, a, b)),
                            [s](auto, auto t) HWY_ATTR { return hn::ShiftLeftSame(t, s); }));
    }
    if constexpr (kRoute == kTruncate) {
      return narrow(d, each(Op::exact(d, a, b), [s](auto dw, auto t) HWY_ATTR {
                      if constexpr (sizeof(hn::TFromD<decltype(dw)>) == 8)
                        return truncateThroughDouble(dw, t, s);
                      else
                        return truncatingShift(dw, t, s);
                    }));
    }
  }
};

// Which rows an operation on samples of type T has.
template <class Op, class T>
constexpr void fill(BinaryRow<T, int> (&rows)[kScaleRoutes]) {
  constexpr bool kComplexOnly = sizeof(T) == 4 || std::is_same_v<Op, MulComplex>;
  constexpr bool kComplex = sizeof(T) > 1 && !std::is_same_v<Op, Mul>;
  using Halve = Scaled<Op, Op::template kHalves<T> ? kHalve : kRound>;
  rows[kLift] = binaryRows<Scaled<Op, kLift>, T, int>();
  if constexpr (kComplexOnly) {
    rows[kSaturate] = binaryRowsWithoutKeeping<Scaled<Op, kSaturate>, T, int>();
    rows[kHalve] = binaryRowsWithoutKeeping<Halve, T, int>();
    rows[kRound] = binaryRowsWithoutKeeping<Scaled<Op, kRound>, T, int>();
  } else {
    rows[kSaturate] = binaryRows<Scaled<Op, kSaturate>, T, int>();
    rows[kHalve] = binaryRows<Halve, T, int>();
    rows[kRound] = binaryRows<Scaled<Op, kRound>, T, int>();
  }
  if constexpr (kComplex) {
    rows[kTruncate] = binaryRows<Scaled<Op, kTruncate>, T, int>();
    rows[kTruncate].image = nullptr;
  }
}

template <class T>
constexpr ScaledRows<T> rowsOf() {
  ScaledRows<T> table{};
  fill<Add>(table.rows[kAdd]);
  fill<Sub>(table.rows[kSub]);
  if constexpr (sizeof(T) < 4) fill<Mul>(table.rows[kMul]);
  if constexpr (sizeof(T) > 1) fill<MulComplex>(table.rows[kMulComplex]);
  return table;
}

constexpr ScaledTable kTable = {rowsOf<Zop8u>(), rowsOf<Zop16s>(), rowsOf<Zop32s>()};

}  // namespace

const ScaledTable* scaledTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(scaledTableOfTarget);

const ScaledTable& scaledTable() { return *HWY_DYNAMIC_DISPATCH(scaledTableOfTarget)(); }

}  // namespace zopi
#endif
