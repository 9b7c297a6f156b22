#include "color/twist_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/twist_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "color/double_lanes-inl.h"
#include "core/colours-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Products are exact, so it makes no difference if they are fused.
template <int kRows>
struct TwistOfDoubles {
  TwistOf<kRows> twist;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* x) const {
    const V a = x[0], b = x[1], c = x[2], last = x[kRows - 1];
#pragma GCC unroll 4
    for (int k = 0; k < kRows; ++k) {
      const double* t = twist.at[k];
      const V two = hn::MulAdd(b, hn::Set(d, t[1]), hn::Mul(a, hn::Set(d, t[0])));
      const V three = hn::MulAdd(c, hn::Set(d, t[2]), two);
      x[k] = kRows == 4 ? hn::MulAdd(last, hn::Set(d, t[3]), three) : hn::Add(three, hn::Set(d, t[3]));
    }
  }
};

template <class T, int kRows>
struct Twist {
  TwistOf<kRows> twist;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    inDoubleLanes<T, kRows, kRows>(d, TwistOfDoubles<kRows>{twist}, v);
  }
};

template <class T>
constexpr TwistRows<T> rowsOf() {
  using Op = Twist<T, 3>;
  return {pixelRows<Op, C3, C3, T, TwistOf<3>>, pixelRows<Op, AC4, AC4, T, TwistOf<3>>,
          pixelRows<Op, P3, P3, T, TwistOf<3>>};
}

constexpr TwistTable kTable = {{rowsOf<Zop8u>(), rowsOf<Zop16u>(), rowsOf<Zop16s>(), rowsOf<Zop32f>()},
                               pixelRows<Twist<Zop32f, 4>, C4, C4, Zop32f, TwistOf<4>>};

}  // namespace

const TwistTable* twistTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(twistTableOfTarget);

const TwistTable& twistTable() { return *HWY_DYNAMIC_DISPATCH(twistTableOfTarget)(); }

}  // namespace zopi
#endif
