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
namespace {

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

template <class T>
void rowAbs(Image<const T> src, Image<T> dst, Extent e) {
  mapRows(Tag<T>(), Abs(), dst, e, ImageOperand<Tag<T>>{src});
}

constexpr AbsTable kTable = {{rowAbs<Zop16s>}, {rowAbs<Zop32f>}};

}  // namespace

const AbsTable* absTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(absTableOfTarget);

const AbsTable& absTable() { return *HWY_DYNAMIC_DISPATCH(absTableOfTarget)(); }

}  // namespace zopi
#endif
