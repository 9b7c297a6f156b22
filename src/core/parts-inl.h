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

// For each part the order of bytes in which its samples stand alone in their words; 0x80 is a zero.
template <class T, class Real>
struct PartTables {
  static constexpr int kParts = static_cast<int>(sizeof(Real) / sizeof(T));
  alignas(16) uint8_t orders[kParts][16];

  constexpr PartTables() : orders() {
    for (int part = 0; part < kParts; ++part) {
      for (int i = 0; i < 16; ++i) {
        const int byte = i % static_cast<int>(sizeof(Real));
        orders[part][i] = static_cast<uint8_t>(
            byte < static_cast<int>(sizeof(T)) ? i + part * static_cast<int>(sizeof(T)) : 0x80);
      }
    }
  }
};
template <class T, class Real>
inline constexpr PartTables<T, Real> kPartTables = {};

// Whole numbers far below 2^52 as real ones.
template <class D, class W>
HWY_INLINE hn::Vec<D> wholeAsReal(D d, W words) {
  if constexpr (sizeof(hn::TFromD<D>) == 4 || HWY_TARGET == HWY_AVX3) {
    return hn::ConvertTo(d, hn::BitCast(hn::RebindToSigned<D>(), words));
  } else {
    // Few targets convert 64-bit lanes: here the numbers become the last bits of 2^52.
    const auto origin = hn::Set(d, 0x1p52);
    return hn::Sub(hn::Or(hn::BitCast(d, words), origin), origin);
  }
}

// Goes through vectors of unsigned integers in parts: `op(dr, r)` gets kIn vectors of numbers and leaves kOut
// in their places, which are rounded to nearest and must then be samples. A part is what stands at one
// place in each Real-wide word: no sample leaves its word.
template <class Real, int kOut, class D, class Op, std::size_t... I, std::size_t... O>
HWY_INLINE void inPartsOfWords(D d, const Op& op, hn::Vec<D>* v, std::index_sequence<I...>,
                               std::index_sequence<O...>) {
  using T = hn::TFromD<D>;
  constexpr int kBits = 8 * sizeof(T), kWordBits = 8 * sizeof(Real);
  const hn::Repartition<uint8_t, D> d8;
  const hn::Repartition<Real, D> dr;
  const hn::RebindToUnsigned<decltype(dr)> dw;
  const hn::Vec<decltype(d8)> in[] = {hn::BitCast(d8, v[I])...};
  hn::Vec<decltype(dw)> out[kOut] = {((void)O, hn::Zero(dw))...};
  for (const auto& places : kPartTables<T, Real>.orders) {
    const auto order = hn::LoadDup128(d8, places);
    hn::Vec<decltype(dr)> r[] = {wholeAsReal(dr, hn::BitCast(dw, hn::TableLookupBytesOr0(in[I], order)))...};
    op(dr, r);
    ((out[O] =
          hn::Or(hn::ShiftRight<kBits>(out[O]), hn::ShiftLeft<kWordBits - kBits>(wholeInLowBits(dr, r[O])))),
     ...);
  }
  ((v[O] = hn::BitCast(d, out[O])), ...);
}

// The same for floats in double precision, rounded to floats in the end.
template <class D, class Op, std::size_t... I, std::size_t... O>
HWY_INLINE void inHalves(D d, const Op& op, hn::Vec<D>* v, std::index_sequence<I...>,
                         std::index_sequence<O...>) {
  const hn::Half<D> dh;
  const hn::Repartition<double, D> dd;
  hn::Vec<decltype(dd)> low[] = {hn::PromoteTo(dd, hn::LowerHalf(dh, v[I]))...};
  op(dd, low);
  hn::Vec<decltype(dd)> high[] = {hn::PromoteTo(dd, hn::UpperHalf(dh, v[I]))...};
  op(dd, high);
  ((v[O] = hn::Combine(d, hn::DemoteTo(dh, high[O]), hn::DemoteTo(dh, low[O]))), ...);
}

template <class Real, int kIn, int kOut = kIn, class D, class Op>
HWY_INLINE void inParts(D d, const Op& op, hn::Vec<D>* v) {
  static_assert(kOut <= kIn);
  using T = hn::TFromD<D>;
  const std::make_index_sequence<kIn> in;
  const std::make_index_sequence<kOut> out;
  if constexpr (hwy::IsFloat<T>())
    inHalves(d, op, v, in, out);
  else
    inPartsOfWords<Real, kOut>(d, op, v, in, out);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
