// The alpha of four-channel pixels, as a factor of their samples.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_ALPHA_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_ALPHA_PIXELS_INL_H_
#undef ZOPI_ALPHA_PIXELS_INL_H_
#else
#define ZOPI_ALPHA_PIXELS_INL_H_
#endif

#include <cstdint>

#include "core/fractions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Alpha, in all lanes of its pixel.
template <class D>
HWY_INLINE Factor<D> alphaOfPixels(D d, hn::Vec<D> v) {
  if constexpr (kOfBytes<D>) {
    alignas(16) static constexpr uint8_t kAlpha[16] = {3,  3,  3,  3,  7,  7,  7,  7,
                                                       11, 11, 11, 11, 15, 15, 15, 15};
    const auto alpha = hn::BitCast(WideTag<D>(), reordered(d, v, kAlpha));
    return {alpha, alpha};
  } else {
    alignas(16) static constexpr uint8_t kAlpha[16] = {6,  7,  6,  7,  6,  7,  6,  7,
                                                       14, 15, 14, 15, 14, 15, 14, 15};
    return reordered(d, v, kAlpha);
  }
}

// x with the lanes of alpha from `alpha`.
template <class D>
HWY_INLINE Factor<D> withAlpha(D d, Factor<D> x, Factor<D> alpha) {
  if constexpr (kOfBytes<D>) {
    return {x.even, hn::OddEven(alpha.odd, x.odd)};
  } else {
    const hn::Repartition<uint64_t, D> d64;
    const auto last = hn::BitCast(d, hn::Set(d64, uint64_t{0xffff} << 48));
    return hn::IfVecThenElse(last, alpha, x);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
