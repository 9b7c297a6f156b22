#include "convert/scale_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/scale_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Between signed samples and numbers that count from the lowest of them; samples that are unsigned do so.
template <class T, class D, class V>
HWY_INLINE V countedFromLowest(D d, V v) {
  if constexpr (std::is_signed_v<T>)
    return hn::Xor(v, hn::Set(d, hn::TFromD<D>{1} << (8 * sizeof(T) - 1)));
  else
    return v;
}

// A byte over and over: x * 257, or x * 16843009.
template <class T>
struct Spread {
  using Lane = std::make_unsigned_t<T>;
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    const auto spread = hn::Mul(hn::PromoteTo(d, v), hn::Set(d, std::numeric_limits<Lane>::max() / 255));
    return hn::BitCast(SamplesOf<T, D>(), countedFromLowest<T>(d, spread));
  }
};

// The upper byte of a sample less a 256th of it, with one half added. The 256th is rounded down, or for the
// accurate form to nearest, without a sum that could leave the lane.
template <class S, bool kAccurate>
struct ToBytes {
  using Lane = std::make_unsigned_t<S>;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    constexpr int kBitsBelow = 8 * sizeof(S) - 8;
    const auto x = countedFromLowest<S>(d, hn::BitCast(d, v));
    const auto one = hn::Set(d, 1), half = hn::Set(d, Lane{1} << (kBitsBelow - 1));
    const auto part =
        kAccurate ? hn::ShiftRight<1>(hn::Add(hn::ShiftRight<7>(x), one)) : hn::ShiftRight<8>(x);
    return hn::ShiftRight<kBitsBelow>(hn::Add(hn::Sub(x, part), half));
  }
};

struct BytesToNumbers {
  using Lane = double;
  static constexpr bool kShort = true;
  double factor, offset;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    const auto number = hn::Add(hn::Mul(toReal(d, v), hn::Set(d, factor)), hn::Set(d, offset));
    return fromReal(SamplesOf<Zop32f, D>(), number);
  }
};

struct NumbersToBytes {
  using Lane = double;
  double factor, offset;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    const auto scaled = hn::Add(hn::Mul(toReal(d, v), hn::Set(d, factor)), hn::Set(d, offset));
    return wholeInLowBits(d, held<Zop8u>(d, scaled));
  }
};

template <class T>
constexpr FromBytesRows<T> fromBytes() {
  return {conversionRows<Spread<T>, Zop8u, T>()};
}
template <class S>
constexpr ToBytesRows<S> toBytes() {
  return {conversionRows<ToBytes<S, false>, S, Zop8u>(), conversionRows<ToBytes<S, true>, S, Zop8u>()};
}

constexpr ScaleTable kTable = {
    {fromBytes<Zop16u>(), fromBytes<Zop16s>(), fromBytes<Zop32s>()},
    {toBytes<Zop16u>(), toBytes<Zop16s>(), toBytes<Zop32s>()},
    conversionRows<BytesToNumbers, Zop8u, Zop32f, double, double>(),
    conversionRows<NumbersToBytes, Zop32f, Zop8u, double, double>(),
};

}  // namespace

const ScaleTable* scaleTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(scaleTableOfTarget);

const ScaleTable& scaleTable() { return *HWY_DYNAMIC_DISPATCH(scaleTableOfTarget)(); }

}  // namespace zopi
#endif
