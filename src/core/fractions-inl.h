// Samples as fractions of full scale, from 0 to 1: their exact products, rounded down.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_FRACTIONS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_FRACTIONS_INL_H_
#undef ZOPI_CORE_FRACTIONS_INL_H_
#else
#define ZOPI_CORE_FRACTIONS_INL_H_
#endif

#include <cstdint>
#include <limits>
#include <type_traits>

#include "core/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class D>
inline constexpr bool kOfBytes = sizeof(hn::TFromD<D>) == 1;

// The second factor of products. Bytes stand twice in a 16-bit lane, as 257 times their value; those of even
// and of odd numbers are apart. Words are as they are.
template <class D>
using Factor = std::conditional_t<kOfBytes<D>, Wide<WideTag<D>>, hn::Vec<D>>;

template <class D>
HWY_INLINE hn::Vec<D> reordered(D d, hn::Vec<D> v, const uint8_t* order) {
  const hn::Repartition<uint8_t, D> d8;
  return hn::BitCast(d, hn::TableLookupBytes(hn::BitCast(d8, v), hn::LoadDup128(d8, order)));
}

template <class D>
HWY_INLINE Factor<D> factor(D d, hn::Vec<D> v) {
  if constexpr (kOfBytes<D>) {
    alignas(16) static constexpr uint8_t kEven[16] = {0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14};
    alignas(16) static constexpr uint8_t kOdd[16] = {1, 1, 3, 3, 5, 5, 7, 7, 9, 9, 11, 11, 13, 13, 15, 15};
    const WideTag<D> dw;
    v = inRegister(v);
    return {hn::BitCast(dw, reordered(d, v, kEven)), hn::BitCast(dw, reordered(d, v, kOdd))};
  } else {
    return v;
  }
}

template <class D>
HWY_INLINE Factor<D> one(D d) {
  return factor(d, hn::Set(d, std::numeric_limits<hn::TFromD<D>>::max()));
}

// 1 - x.
template <class D>
HWY_INLINE Factor<D> complement(D, Factor<D> x) {
  if constexpr (kOfBytes<D>)
    return {hn::Not(x.even), hn::Not(x.odd)};
  else
    return hn::Not(x);
}

// x y / 255 or x y / 65535. Bytes: the high byte of (256 x + 1) 257 y / 65536. Words: from the halves of the
// product, whose average is 32768 or more if their sum is 65535 or more.
template <class D>
HWY_INLINE hn::Vec<D> product(D d, hn::Vec<D> x, Factor<D> y) {
  if constexpr (kOfBytes<D>) {
    const WideTag<D> dw;
    const auto w = hn::BitCast(dw, inRegister(x)), unit = hn::Set(dw, 1), highByte = hn::Set(dw, 0xff00);
    const auto even = hn::MulHigh(hn::Or(hn::ShiftLeft<8>(w), unit), y.even);
    const auto odd = hn::MulHigh(hn::OrAnd(unit, w, highByte), y.odd);
    return hn::BitCast(d, hn::OrAnd(hn::ShiftRight<8>(even), odd, highByte));
  } else {
    const auto low = hn::Mul(x, y), high = hn::MulHigh(x, y);
    return hn::Add(high, hn::ShiftRight<15>(hn::AverageRound(high, low)));
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
