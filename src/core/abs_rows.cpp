#include "core/abs_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/abs_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {

struct Abs {
  static constexpr bool kShort = true;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::Abs(v);
    else
      return hn::Max(v, hn::SaturatedSub(hn::Zero(d), v));
  }
};

void rowAbs_16s(Image<const Zop16s> src, Image<Zop16s> dst, Extent e) {
  mapRows(Tag<Zop16s>(), Abs(), dst, e, ImageOperand<Tag<Zop16s>>{src});
}

void rowAbs_32f(Image<const Zop32f> src, Image<Zop32f> dst, Extent e) {
  mapRows(Tag<Zop32f>(), Abs(), dst, e, ImageOperand<Tag<Zop32f>>{src});
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(rowAbs_16s);
HWY_EXPORT(rowAbs_32f);

template <>
AbsRow<Zop16s> absRow() {
  return HWY_DYNAMIC_DISPATCH(rowAbs_16s);
}
template <>
AbsRow<Zop32f> absRow() {
  return HWY_DYNAMIC_DISPATCH(rowAbs_32f);
}

}  // namespace zopi
#endif
