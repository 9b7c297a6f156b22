#include "arith/mul_scale_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/mul_scale_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct MulScale {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    if constexpr (sizeof(hn::TFromD<D>) == 1) {
      // (t + 1) * 257 >> 16, in 16-bit lanes.
      const WideTag<D> dw;
      const auto product = [dw](auto x, auto y) HWY_ATTR {
        return hn::MulHigh(hn::Add(hn::Mul(x, y), hn::Set(dw, 1)), hn::Set(dw, 257));
      };
      const auto wa = widen(d, a), wb = widen(d, b);
      const auto odd = hn::ShiftLeft<8>(product(wa.odd, wb.odd));
      return hn::BitCast(d, hn::Or(odd, product(wa.even, wb.even)));
    } else {
      // The carry of low + high + 1: low is not below the complement of high.
      const auto low = hn::Mul(a, b), high = hn::MulHigh(a, b);
      return hn::Sub(high, hn::VecFromMask(d, hn::Eq(hn::SaturatedSub(hn::Not(high), low), hn::Zero(d))));
    }
  }
};

constexpr MulScaleTable kTable = {{binaryRows<MulScale, Zop8u>()}, {binaryRows<MulScale, Zop16u>()}};

}  // namespace

const MulScaleTable* mulScaleTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(mulScaleTableOfTarget);

const MulScaleTable& mulScaleTable() { return *HWY_DYNAMIC_DISPATCH(mulScaleTableOfTarget)(); }

}  // namespace zopi
#endif
