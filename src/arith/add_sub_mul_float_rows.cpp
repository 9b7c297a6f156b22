#include "arith/add_sub_mul_float_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/add_sub_mul_float_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// One operation in single precision is the one in double precision, rounded.

struct Add {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::Add(b, a);
  }
};

struct Sub {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::Sub(b, a);
  }
};

struct Mul {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::Mul(a, b);
  }
};

// Two products and a sum need double precision. The products are exact there, so it does not matter that
// fused operations leave them unrounded.
struct MulComplex {
  static constexpr int kGroup = 2;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    const auto product = [](auto dd, auto x, auto y) HWY_ATTR {
      const auto cross = hn::Mul(hn::Reverse2(dd, x), hn::DupOdd(y));
      const auto re = hn::DupEven(y);
      return hn::OddEven(hn::MulAdd(x, re, cross), hn::MulSub(x, re, cross));
    };
    return inDoubles(d, product, a, b);
  }
};

constexpr FloatTable kTable = {binaryRows<Add, Zop32f>(), binaryRows<Sub, Zop32f>(),
                               binaryRows<Mul, Zop32f>(), binaryRows<MulComplex, Zop32f>()};

}  // namespace

const FloatTable* floatTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(floatTableOfTarget);

const FloatTable& floatTable() { return *HWY_DYNAMIC_DISPATCH(floatTableOfTarget)(); }

}  // namespace zopi
#endif
