#include "color/gray_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/gray_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "color/double_lanes-inl.h"
#include "core/colours-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// With a sum of 64 h + l, the low byte of its 4096th is that of (h + l / 64) / 64, of which h may wrap.
struct GrayOfBytes {
  ByteWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto a = widen(d, v[0]), b = widen(d, v[1]), c = widen(d, v[2]);
    const auto odd = hn::BitCast(d, hn::ShiftLeft<8>(sum(a.odd, b.odd, c.odd)));
    v[0] = hn::OddEven(odd, hn::BitCast(d, sum(a.even, b.even, c.even)));
  }

  template <class W>
  HWY_INLINE W sum(W a, W b, W c) const {
    const W high = products(a, b, c, weights.high), low = products(a, b, c, weights.low);
    return hn::ShiftRight<6>(hn::Add(high, hn::ShiftRight<6>(low)));
  }
  template <class W>
  static HWY_INLINE W products(W a, W b, W c, const Zop16u* by) {
    const hn::DFromV<W> d;
    return hn::Add(hn::Add(hn::Mul(a, hn::Set(d, by[0])), hn::Mul(b, hn::Set(d, by[1]))),
                   hn::Mul(c, hn::Set(d, by[2])));
  }
};

// Products are exact, so it makes no difference if they are fused.
struct GrayOfDoubles {
  NumberWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* x) const {
    const auto two = hn::MulAdd(x[1], hn::Set(d, weights.of[1]), hn::Mul(x[0], hn::Set(d, weights.of[0])));
    x[0] = hn::MulAdd(x[2], hn::Set(d, weights.of[2]), two);
  }
};

template <class T>
struct GrayOf {
  NumberWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    inDoubleLanes<T, 3, 1>(d, GrayOfDoubles{weights}, v);
  }
};

template <class T, class Op>
constexpr GrayRows<T> rowsOf() {
  return {pixelRows<Op, C3, C1, T, GrayWeights<T>>, pixelRows<Op, AC4, C1, T, GrayWeights<T>>};
}

constexpr GrayTable kTable = {rowsOf<Zop8u, GrayOfBytes>(), rowsOf<Zop16u, GrayOf<Zop16u>>(),
                              rowsOf<Zop16s, GrayOf<Zop16s>>(), rowsOf<Zop32f, GrayOf<Zop32f>>()};

}  // namespace

const GrayTable* grayTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(grayTableOfTarget);

const GrayTable& grayTable() { return *HWY_DYNAMIC_DISPATCH(grayTableOfTarget)(); }

}  // namespace zopi
#endif
