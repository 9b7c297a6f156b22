// Vectors of samples in parts, as real lanes that are wider than the samples.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_PARTS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_PARTS_INL_H_
#undef ZOPI_CORE_PARTS_INL_H_
#else
#define ZOPI_CORE_PARTS_INL_H_
#endif

#include <limits>
#include <utility>

#include "core/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The whole number in the low `kBits` of each lane, as a real number.
template <int kBits, class D, class W>
HWY_INLINE hn::Vec<D> lowBitsAsReal(D d, W word) {
  const hn::RebindToUnsigned<D> dw;
  const auto low = hn::And(word, hn::Set(dw, lowBits<hn::TFromD<decltype(dw)>>(kBits)));
  if constexpr (sizeof(hn::TFromD<D>) == 4 || HWY_TARGET == HWY_AVX3) {
    return hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<D>(), low));
  } else {
    // Few targets convert 64-bit lanes: here the number becomes the last bits of 2^52.
    const auto origin = hn::Set(d, 0x1p52);
    return hn::Sub(hn::BitCast(d, hn::Or(low, hn::BitCast(dw, origin))), origin);
  }
}

// Goes through the vectors `v` of unsigned integers in parts: `op(dr, r)` gets kIn vectors of numbers and
// leaves kOut in their places, which are truncated toward zero and must then be samples. A part is what
// stands at one place in all Real-wide words: no lane moves.
template <class Real, int kIn, int kOut, class D, class Op, std::size_t... I, std::size_t... O>
HWY_INLINE void inPartsOfWords(D d, const Op& op, hn::Vec<D>* v, std::index_sequence<I...>,
                               std::index_sequence<O...>) {
  constexpr int kBits = 8 * sizeof(hn::TFromD<D>), kWordBits = 8 * sizeof(Real);
  const hn::Repartition<Real, D> dr;
  const hn::RebindToUnsigned<decltype(dr)> dw;
  hn::Vec<decltype(dw)> in[kIn] = {hn::BitCast(dw, v[I])...};
  hn::Vec<decltype(dw)> out[kOut] = {((void)O, hn::Zero(dw))...};
  for (int part = 0; part < kWordBits / kBits; ++part) {
    hn::Vec<decltype(dr)> r[kIn > kOut ? kIn : kOut];
    ((r[I] = lowBitsAsReal<kBits>(dr, in[I]), in[I] = hn::ShiftRight<kBits>(in[I])), ...);
    op(dr, r);
    ((out[O] = hn::Or(hn::ShiftRight<kBits>(out[O]),
                      hn::ShiftLeft<kWordBits - kBits>(wholeInLowBits(dr, hn::Trunc(r[O]))))),
     ...);
  }
  ((v[O] = hn::BitCast(d, out[O])), ...);
}

// The same for floats in double precision, rounded to floats in the end.
template <int kIn, int kOut, class D, class Op, std::size_t... I, std::size_t... O>
HWY_INLINE void inHalves(D d, const Op& op, hn::Vec<D>* v, std::index_sequence<I...>,
                         std::index_sequence<O...>) {
  const hn::Half<D> dh;
  const hn::Repartition<double, D> dd;
  hn::Vec<decltype(dd)> low[kIn > kOut ? kIn : kOut], high[kIn > kOut ? kIn : kOut];
  ((low[I] = hn::PromoteTo(dd, hn::LowerHalf(dh, v[I]))), ...);
  op(dd, low);
  ((high[I] = hn::PromoteTo(dd, hn::UpperHalf(dh, v[I]))), ...);
  op(dd, high);
  ((v[O] = hn::Combine(d, hn::DemoteTo(dh, high[O]), hn::DemoteTo(dh, low[O]))), ...);
}

template <class Real, int kIn, int kOut = kIn, class D, class Op>
HWY_INLINE void inParts(D d, const Op& op, hn::Vec<D>* v) {
  using T = hn::TFromD<D>;
  const std::make_index_sequence<kIn> in;
  const std::make_index_sequence<kOut> out;
  if constexpr (hwy::IsFloat<T>())
    inHalves<kIn, kOut>(d, op, v, in, out);
  else
    inPartsOfWords<Real, kIn, kOut>(d, op, v, in, out);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
