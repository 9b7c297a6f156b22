// Operations on whole pixels in double precision.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_COLOR_DOUBLE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_COLOR_DOUBLE_LANES_INL_H_
#undef ZOPI_COLOR_DOUBLE_LANES_INL_H_
#else
#define ZOPI_COLOR_DOUBLE_LANES_INL_H_
#endif

#include "core/lanes-inl.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Two vectors of doubles as one of lanes half as wide. Integers saturate as samples of T do, and have their
// value in the low bits of their lane.
template <class T, class D, class V>
HWY_INLINE hn::Vec<D> fromDoubles(D d, V low, V high) {
  if constexpr (hwy::IsFloat<T>()) {
    const hn::Half<D> dh;
    return hn::Combine(d, hn::DemoteTo(dh, high), hn::DemoteTo(dh, low));
  } else {
    const hn::DFromV<V> dd;
    return packed(d, wholeInLowBits(dd, held<T>(dd, low)), wholeInLowBits(dd, held<T>(dd, high)));
  }
}

// Replaces the first kOut of kIn channels of samples T. `op(dd, x)` does so with channels in double lanes; it
// is called for one part of the vectors after the other.
template <class T, int kIn, int kOut, class D, class Op>
HWY_INLINE void inDoubleLanes(D d, const Op& op, hn::Vec<D>* v) {
  using Lane = hn::TFromD<D>;
  if constexpr (sizeof(Lane) < 4) {
    const WideTag<D> dw;
    hn::Vec<WideTag<D>> even[kIn], odd[kIn];
#pragma GCC unroll 4
    for (int c = 0; c < kIn; ++c) {
      const auto wide = widen(d, v[c]);
      even[c] = wide.even;
      odd[c] = wide.odd;
    }
    inDoubleLanes<T, kIn, kOut>(dw, op, even);
    inDoubleLanes<T, kIn, kOut>(dw, op, odd);
#pragma GCC unroll 4
    for (int c = 0; c < kOut; ++c) {
      const auto moved = hn::ShiftLeft<8 * sizeof(Lane)>(odd[c]);
      v[c] = hn::OddEven(hn::BitCast(d, moved), hn::BitCast(d, even[c]));
    }
  } else {
    using Signed = std::conditional_t<hwy::IsFloat<Lane>(), Lane, int32_t>;
    const hn::Repartition<double, D> dd;
    const hn::Rebind<Signed, D> ds;
    const hn::Half<decltype(ds)> dh;
    hn::Vec<decltype(dd)> low[kIn], high[kIn];
#pragma GCC unroll 4
    for (int c = 0; c < kIn; ++c) {
      const auto lanes = hn::BitCast(ds, v[c]);
      low[c] = hn::PromoteTo(dd, hn::LowerHalf(dh, lanes));
      high[c] = hn::PromoteTo(dd, hn::UpperHalf(dh, lanes));
    }
    op(dd, low);
    op(dd, high);
#pragma GCC unroll 4
    for (int c = 0; c < kOut; ++c) v[c] = fromDoubles<T>(d, low[c], high[c]);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
