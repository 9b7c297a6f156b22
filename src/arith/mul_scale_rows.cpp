#include "arith/mul_scale_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/mul_scale_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/fractions-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct MulScale {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    return product(d, b, factor(d, a));
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
