#include "transform/packed_products_rows.h"

#include <algorithm>
#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transform/packed_products_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/colours-inl.h"
#include "core/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// (a + ib)(c + id), or with c - id. Products of floats are exact in double precision, so it makes no
// difference where sums are fused with them.
template <bool kConjugate>
struct Product {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V ab, V cd) const {
    return inDoubles(
        d,
        [](auto dd, auto x, auto y) HWY_ATTR {
          const auto cross = hn::Mul(hn::Reverse2(dd, x), hn::DupOdd(y));
          const auto mixed = hn::OddEven(cross, hn::Neg(cross));
          return kConjugate ? hn::MulSub(x, hn::DupEven(y), mixed) : hn::MulAdd(x, hn::DupEven(y), mixed);
        },
        ab, cd);
  }
};

// Shifted down, real parts are floors and imaginary parts are rounded, with halves up.
template <class T>
struct ScaledProduct {
  int scale;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    const auto t = complexProducts(d, a, b);
    if (scale > 0) {
      const int shift = std::min(scale, kBits) - 1;
      const WideTag<D> dw;
      const auto below = hn::And(t.odd, hn::Set(dw, 1));
      return narrow(d, Wide<WideTag<D>>{hn::ShiftRightSame(hn::ShiftRight<1>(t.even), shift),
                                        hn::ShiftRightSame(hn::Add(hn::ShiftRight<1>(t.odd), below), shift)});
    }
    const V saturated = narrow(d, t);
    if (scale == 0) return saturated;
    const int shift = std::min(-std::max(scale, -kBits), kBits / 2);
    return narrow(
        d, each(widen(d, saturated), [=](auto, auto w) HWY_ATTR { return hn::ShiftLeftSame(w, shift); }));
  }

  static constexpr int kBits = 16 * sizeof(T);
};

// A step of such rows.
template <class Op, class Layout, class T>
struct PairMove {
  Op op;
  Channels<Layout, Tag<T>> channels;
  static constexpr bool kStreams = Layout::channels != 4;

  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D d, const T* const* in, T* const* out) const {
    hn::Vec<D> a[Layout::channels], b[Layout::channels];
    channels.load(in, a);
    channels.load(in + 1, b);
#pragma GCC unroll 4
    for (int c = 0; c < Layout::colours; ++c) a[c] = op(d, a[c], b[c]);
    channels.template store<kStream>(a, out);
  }
};

template <class Op, class Layout, class T, class... P>
void pairRows(Image<const T> a, Image<const T> b, Image<T> out, Extent pixels, P... parameters) {
  const Image<const T> sources[] = {a, b};
  mapPixels(PairMove<Op, Layout, T>{Op{parameters...}, {}},
            Pixels<const T, 2>{sources, {Layout::channels, Layout::channels}},
            Pixels<T, 1>{&out, {Layout::channels}}, pixels);
}

// Negated, the lowest integer becomes the largest one.
template <class D, class V>
HWY_INLINE V negated(D d, V v) {
  if constexpr (hwy::IsFloat<hn::TFromD<D>>())
    return hn::Neg(v);
  else
    return hn::Neg(hn::Max(v, hn::Set(d, -std::numeric_limits<hn::TFromD<D>>::max())));
}

template <class T>
void conjugatesBackward(const T* pairs, std::ptrdiff_t count, T* out) {
  const auto move = [&](auto d, std::ptrdiff_t i) HWY_ATTR {
    constexpr std::ptrdiff_t kPairs = static_cast<std::ptrdiff_t>(hn::MaxLanes(d)) / 2;
    const hn::Repartition<uint64_t, decltype(d)> d64;
    const auto v = hn::BitCast(d, hn::Reverse(d64, hn::BitCast(d64, hn::LoadU(d, pairs + 2 * i))));
    hn::StoreU(hn::OddEven(negated(d, v), v), d, out + 2 * (count - kPairs - i));
    return kPairs;
  };
  constexpr std::ptrdiff_t kPairs = kLanes<Tag<T>> / 2;
  std::ptrdiff_t i = 0;
  while (i + kPairs <= count) i += move(Tag<T>(), i);
  while (i < count) i += move(hn::CappedTag<T, 2>(), i);
}

template <class Layout>
constexpr ProductRows<Layout> rowsOf() {
  return {pairRows<Product<false>, Layout, Zop32f>, pairRows<Product<true>, Layout, Zop32f>,
          pairRows<ScaledProduct<Zop16s>, Layout, Zop16s, int>,
          pairRows<ScaledProduct<Zop32s>, Layout, Zop32s, int>};
}

constexpr PackedTable kTable = {{rowsOf<C1>(), rowsOf<C3>(), rowsOf<C4>(), rowsOf<AC4>()},
                                conjugatesBackward<Zop32f>,
                                conjugatesBackward<Zop32s>};

}  // namespace

const PackedTable* packedTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(packedTableOfTarget);

const PackedTable& packedTable() { return *HWY_DYNAMIC_DISPATCH(packedTableOfTarget)(); }

}  // namespace zopi
#endif
