// Lane arithmetic that several families share: wide pairs, and exact rounding by powers of two.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_LANES_INL_H_
#undef ZOPI_CORE_LANES_INL_H_
#else
#define ZOPI_CORE_LANES_INL_H_
#endif

#include <limits>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A vector that is used more than once: without this, GCC loads it from memory again for each use that could
// take it from there.
template <class V>
HWY_INLINE V inRegister(V v) {
#if HWY_ARCH_X86 && HWY_COMPILER_GCC
  asm("" : "+x"(v.raw));
#endif
  return v;
}

// Ones in the lowest `count` bits, for a count below the width.
template <class T>
constexpr T lowBits(int count) {
  return static_cast<T>((std::make_unsigned_t<T>{1} << count) - 1);
}

// A vector of samples, widened: the lanes with even and with odd numbers, in lanes twice as wide. No lane
// moves, so widening and narrowing are shifts and masks on every target.
template <class D>
struct Wide {
  hn::Vec<D> even, odd;
};
template <class D>
using WideTag = hn::RepartitionToWide<D>;

// The odd 32-bit lanes in the places of the even ones.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V oddAsEven(D d, V v) {
  return hn::BitCast(d, hn::ShiftRight<32>(hn::BitCast(hn::Repartition<uint64_t, D>(), v)));
}

template <class D, class V = hn::Vec<D>>
HWY_INLINE Wide<WideTag<D>> widen(D d, V v) {
  const WideTag<D> dw;
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    // A multiplication widens a signed lane in one instruction; 64-bit lanes have no arithmetic shift
    // everywhere.
    const auto one = hn::Set(d, 1);
    return {hn::MulEven(v, one), hn::MulEven(oddAsEven(d, v), one)};
  } else {
    using T = hn::TFromD<D>;
    constexpr int kBits = 8 * sizeof(T);
    const auto w = hn::BitCast(dw, v);
    if constexpr (std::is_unsigned_v<T>)
      return {hn::And(w, hn::Set(dw, std::numeric_limits<T>::max())), hn::ShiftRight<kBits>(w)};
    else
      return {hn::ShiftRight<kBits>(hn::ShiftLeft<kBits>(w)), hn::ShiftRight<kBits>(w)};
  }
}

// Bytes to lanes of any width.
template <class D, class V = hn::Vec<hn::Rebind<uint8_t, D>>>
HWY_INLINE hn::Vec<D> promoteBytes(D d, V v) {
  if constexpr (sizeof(hn::TFromD<D>) == 1)
    return v;
  else
    return hn::PromoteTo(d, v);
}

// Back to narrow lanes; values beyond the narrow type saturate.
template <class D, class W = WideTag<D>>
HWY_INLINE hn::Vec<D> narrow(D d, Wide<W> v) {
  using T = hn::TFromD<D>;
  using Limits = std::numeric_limits<T>;
  const W dw;
  auto even = hn::Min(v.even, hn::Set(dw, Limits::max()));
  auto odd = hn::Min(v.odd, hn::Set(dw, Limits::max()));
  if constexpr (std::is_signed_v<hn::TFromD<W>>) {
    even = hn::Max(even, hn::Set(dw, Limits::min()));
    odd = hn::Max(odd, hn::Set(dw, Limits::min()));
  }
  return hn::OddEven(hn::BitCast(d, hn::ShiftLeft<8 * sizeof(T)>(odd)), hn::BitCast(d, even));
}

// Products of complex numbers, whose real parts stand in even lanes and their imaginary parts in odd ones:
// real parts in `even`, imaginary parts in `odd`. Exact but for one sum.
template <class D, class V>
HWY_INLINE Wide<WideTag<D>> complexProducts(D d, V a, V b) {
  const WideTag<D> dw;
  hn::Vec<WideTag<D>> re, im;
  if constexpr (sizeof(hn::TFromD<D>) == 4) {
    const auto aIm = oddAsEven(d, a), bIm = oddAsEven(d, b);
    re = hn::Sub(hn::MulEven(a, b), hn::MulEven(aIm, bIm));
    im = hn::Add(hn::MulEven(a, bIm), hn::MulEven(aIm, b));
  } else {
    const auto wa = widen(d, a), wb = widen(d, b);
    re = hn::Sub(hn::Mul(wa.even, wb.even), hn::Mul(wa.odd, wb.odd));
    im = hn::Add(hn::Mul(wa.even, wb.odd), hn::Mul(wa.odd, wb.even));
  }
  // One sum leaves the lane, that of two equal largest products, and wraps to the lowest value, which no
  // true sum takes.
  using T = hn::TFromD<WideTag<D>>;
  const auto lowest = hn::Set(dw, std::numeric_limits<T>::min());
  return {re, hn::IfThenElse(hn::Eq(im, lowest), hn::Set(dw, std::numeric_limits<T>::max()), im)};
}

template <class W, class F>
HWY_INLINE Wide<W> each(Wide<W> v, const F& f) {
  return {f(W(), v.even), f(W(), v.odd)};
}

// Samples of any type as floating-point lanes.
template <class D, class V>
HWY_INLINE hn::Vec<D> toReal(D d, V v) {
  using T = hn::TFromV<V>;
  using Real = hn::TFromD<D>;
  if constexpr (sizeof(T) < 4)
    return toReal(d, hn::PromoteTo(hn::Rebind<int32_t, D>(), v));
  else if constexpr (sizeof(T) < sizeof(Real))
    return hn::PromoteTo(d, v);
  else if constexpr (hwy::IsFloat<T>())
    return v;
  else
    return hn::ConvertTo(d, v);
}

// Floating-point lanes as samples: rounded to a narrower floating-point type, truncated to an integer one.
// The values must be in its range.
template <class DT, class V>
HWY_INLINE hn::Vec<DT> fromReal(DT dt, V v) {
  using T = hn::TFromD<DT>;
  using Real = hn::TFromV<V>;
  if constexpr (sizeof(T) < 4)
    return hn::DemoteTo(dt, fromReal(hn::Rebind<int32_t, DT>(), v));
  else if constexpr (sizeof(T) < sizeof(Real))
    return hn::DemoteTo(dt, v);
  else if constexpr (hwy::IsFloat<T>())
    return v;
  else
    return hn::ConvertTo(dt, v);
}

// Lanes held to the range of T. What is no number becomes its lowest value.
template <class T, class D, class V>
HWY_INLINE V held(D d, V v) {
  using Lane = hn::TFromD<D>;
  using Limits = std::numeric_limits<T>;
  const auto highest = hn::Set(d, Lane{Limits::max()});
  if constexpr (std::is_unsigned_v<Lane>)
    return hn::Min(v, highest);
  else
    return hn::Min(hn::Max(v, hn::Set(d, Lane{Limits::min()})), highest);
}

// Whole numbers as samples of T, held to its range.
template <class T, class D, class V>
HWY_INLINE hn::Vec<hn::Rebind<T, D>> saturated(D d, V v) {
  return fromReal(hn::Rebind<T, D>(), held<T>(d, v));
}

// Numbers, rounded as the mode of the vector unit says: each whole number stands in the low bits of its lane.
// Numbers must be below 2^22 in magnitude, doubles below 2^51. From there on, the sum has no bits for halves.
template <class D, class V>
HWY_INLINE hn::Vec<hn::RebindToUnsigned<D>> wholeInLowBits(D d, V v) {
  constexpr double kOrigin = sizeof(hn::TFromD<D>) == 4 ? 0x1.8p23 : 0x1.8p52;
  return hn::BitCast(hn::RebindToUnsigned<D>(), hn::Add(v, hn::Set(d, hn::TFromD<D>{kOrigin})));
}

// f of 32-bit lanes in double precision, half a vector at a time. What f gives back is rounded to float
// lanes, or truncated to integer ones.
template <class D, class F, class... V>
HWY_INLINE hn::Vec<D> inDoubles(D d, const F& f, V... v) {
  const hn::Half<D> dh;
  const hn::Repartition<double, D> dd;
  const auto low = f(dd, hn::PromoteTo(dd, hn::LowerHalf(dh, v))...);
  const auto high = f(dd, hn::PromoteTo(dd, hn::UpperHalf(dh, v))...);
  return hn::Combine(d, hn::DemoteTo(dh, high), hn::DemoteTo(dh, low));
}

// v / 2^shift, rounded to nearest with ties to even, for shift >= 1 and any v: one above the floor if the
// remainder is above one half, or is one half and the floor odd. No intermediate leaves the lane.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V roundingShift(D d, V v, int shift) {
  using T = hn::TFromD<D>;
  const auto floor = hn::ShiftRightSame(v, shift);
  const auto rest = hn::And(v, hn::Set(d, lowBits<T>(shift)));
  const auto limit =
      hn::Sub(hn::Set(d, static_cast<T>(T{1} << (shift - 1))), hn::And(floor, hn::Set(d, T{1})));
  return hn::Sub(floor, hn::VecFromMask(d, hn::Gt(rest, limit)));
}

// The same where v + 2^(shift - 1) stays in the lane. Unsigned 16-bit lanes have one bit more: the averaging
// instruction adds without loss, for shift >= 2.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V roundingShiftWithRoom(D d, V v, int shift) {
  using T = hn::TFromD<D>;
  const auto odd = hn::And(hn::ShiftRightSame(v, shift), hn::Set(d, T{1}));
  if constexpr (std::is_same_v<T, uint16_t>) {
    const auto half = hn::Set(d, static_cast<T>((1 << (shift - 1)) - 2));
    return hn::ShiftRightSame(hn::AverageRound(v, hn::Add(half, odd)), shift - 1);
  } else {
    const auto half = hn::Set(d, static_cast<T>((T{1} << (shift - 1)) - 1));
    return hn::ShiftRightSame(hn::Add(v, hn::Add(half, odd)), shift);
  }
}

// v / 2^shift, truncated toward zero, for signed lanes and shift >= 0.
template <class D, class V = hn::Vec<D>>
HWY_INLINE V truncatingShift(D d, V v, int shift) {
  using T = hn::TFromD<D>;
  const auto below = hn::Set(d, lowBits<T>(shift));
  return hn::ShiftRightSame(hn::Add(v, hn::And(hn::BroadcastSignBit(v), below)), shift);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
