#include "alpha/premultiply_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "alpha/premultiply_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "alpha/pixels-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Alpha is multiplied by 1.
struct ByOwnAlpha {
  static constexpr int kGroup = 4;
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    v = inRegister(v);
    return product(d, v, withAlpha(d, alphaOfPixels(d, v), one(d)));
  }
};

struct ByPlane {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v, V alpha) const {
    return product(d, v, factor(d, alpha));
  }
};

template <class T>
struct ByConstant {
  T alpha;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    return ByPlane()(d, v, hn::Set(d, alpha));
  }
};

template <class T>
void pixelRowsByConstant(Image<const T> src, Image<T> dst, Extent e, T alpha) {
  mapRows(Tag<T>(), Keeping<ByConstant<T>>{{alpha}}, dst, e, PatternOperand<Tag<T>>(repeat(&alpha, 1)),
          PatternOperand<Tag<T>>(writtenSamples<T, 4, 3>()), ImageOperand<Tag<T>>{src});
}

template <class T>
constexpr PremultiplyRows<T> kRows = {imageRows<ByOwnAlpha, T>, twoImageRows<ByPlane, T>,
                                      pixelRowsByConstant<T>, imageRows<ByConstant<T>, T, T>};

constexpr PremultiplyTable kTable = {kRows<Zop8u>, kRows<Zop16u>};

}  // namespace

const PremultiplyTable* premultiplyTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(premultiplyTableOfTarget);

const PremultiplyTable& premultiplyTable() { return *HWY_DYNAMIC_DISPATCH(premultiplyTableOfTarget)(); }

}  // namespace zopi
#endif
