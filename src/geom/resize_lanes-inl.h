// What the rows of scaled and warped images share: whole numbers of vectors, colours without alpha, pairs of
// words. Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_GEOM_RESIZE_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_GEOM_RESIZE_LANES_INL_H_
#undef ZOPI_GEOM_RESIZE_LANES_INL_H_
#else
#define ZOPI_GEOM_RESIZE_LANES_INL_H_
#endif

#include <cstddef>
#include <cstdint>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {

// Ones in the colours of pixels of four samples, from any sample of a pixel on.
template <class T, int kCount>
struct Colours {
  T lanes[kCount];
  constexpr Colours() : lanes{} {
    for (int i = 0; i < kCount; ++i) lanes[i] = static_cast<T>(i % 4 < 3 ? -1 : 0);
  }
};
template <class T, int kCount>
inline constexpr Colours<T, kCount> kColours;

// The first n lanes of a vector, as samples i and following of a row.
template <class D, class V>
HWY_INLINE void storeSamples(D d, V v, hn::TFromD<D>* row, std::ptrdiff_t i, std::ptrdiff_t n,
                             bool keepsAlpha) {
  if (keepsAlpha) {
    const hn::RebindToSigned<D> di;
    using Bits = hn::TFromD<decltype(di)>;
    const auto colours = hn::LoadU(di, kColours<Bits, kLanes<D> + 4>.lanes + i % 4);
    v = hn::IfVecThenElse(hn::BitCast(d, colours), v, loadPart(d, row + i, n));
  }
  storePart(d, v, row + i, n);
}

// low a + high b of pairs of words in a lane.
template <class D, class V>
HWY_INLINE hn::Vec<D> pairSums(D d, V words, V weights) {
#if HWY_ARCH_X86
  auto unused = hn::Zero(d);
  return hn::ReorderWidenMulAccumulate(d, words, weights, hn::Zero(d), unused);
#else
  const auto low = [&](V v) HWY_ATTR { return hn::ShiftRight<16>(hn::ShiftLeft<16>(hn::BitCast(d, v))); };
  const auto high = [&](V v) HWY_ATTR { return hn::ShiftRight<16>(hn::BitCast(d, v)); };
  return hn::Add(hn::Mul(low(words), low(weights)), hn::Mul(high(words), high(weights)));
#endif
}

// f(i, n) for the vectors of `kLength` samples; only the last may be a part of one.
template <std::ptrdiff_t kLength, class F>
HWY_INLINE void forParts(std::ptrdiff_t samples, const F& f) {
  std::ptrdiff_t i = 0;
  constexpr std::integral_constant<std::ptrdiff_t, kLength> whole;
  for (; i + kLength <= samples; i += kLength) f(i, whole);
  if (i < samples) f(i, samples - i);
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
