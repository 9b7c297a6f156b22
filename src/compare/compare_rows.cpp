#include "compare/compare_rows.h"

#include <limits>
#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compare/compare_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/pixel_tests-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Less {
  template <class D, class V>
  HWY_INLINE hn::Mask<D> operator()(D, V a, V b) const {
    return hn::Lt(a, b);
  }
};

struct LessEq {
  template <class D, class V>
  HWY_INLINE hn::Mask<D> operator()(D, V a, V b) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::Le(a, b);
    else
      return hn::Eq(hn::Min(a, b), a);
  }
};

// Neither less nor greater, so that a not-a-number equals everything.
struct Equal {
  template <class D, class V>
  HWY_INLINE hn::Mask<D> operator()(D, V a, V b) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::Not(hn::Or(hn::Lt(a, b), hn::Lt(b, a)));
    else
      return hn::Eq(a, b);
  }
};

// A comparison with its sides exchanged.
template <class Test>
struct Exchanged {
  template <class D, class V>
  HWY_INLINE hn::Mask<D> operator()(D d, V a, V b) const {
    return Test()(d, b, a);
  }
};

// The lanes where a and b are farther apart than a distance, in double precision.
template <class D, class V>
HWY_NOINLINE hn::Mask<D> fartherInDouble(D d, V a, V b, Zop32f distance) {
  const auto farther = [distance](auto dd, auto x, auto y) HWY_ATTR {
    const auto isFarther = hn::Gt(hn::Abs(hn::Sub(x, y)), hn::Set(dd, double{distance}));
    return hn::IfThenElseZero(isFarther, hn::Set(dd, 1.0));
  };
  return hn::Gt(inDoubles(d, farther, a, b), hn::Zero(d));
}

// Not farther apart than a distance, in double precision. Single precision knows the answer but where the
// rounded difference is the distance itself; that of two equal numbers is never rounded.
struct Near {
  Zop32f distance, inDoubt;
  HWY_INLINE explicit Near(Zop32f limit)
      : distance(limit), inDoubt(limit > 0 ? limit : std::numeric_limits<Zop32f>::quiet_NaN()) {}

  template <class D, class V>
  HWY_INLINE hn::Mask<D> operator()(D d, V a, V b) const {
    const auto difference = hn::Abs(hn::Sub(a, b));
    auto farther = hn::Gt(difference, hn::Set(d, distance));
    if (HWY_UNLIKELY(!hn::AllFalse(d, hn::Eq(difference, hn::Set(d, inDoubt))))) {
      farther = fartherInDouble(d, a, b, distance);
    }
    return hn::Not(farther);
  }
};

template <class Test>
HWY_INLINE Test testOf(Zop32f distance) {
  if constexpr (std::is_empty_v<Test>)
    return {};
  else
    return Test(distance);
}

template <class Layout, class Test, class T>
void imageRows(Image<const T> a, Image<const T> b, Image<Zop8u> out, Extent pixels, Zop32f distance) {
  using Operand = ComparedImage<Tag<T>>;
  mapTests<Layout>(Tag<T>(), testOf<Test>(distance), out, pixels, Operand{{a}}, Operand{{b}});
}

template <class Layout, class Test, class T>
void constantRows(Image<const T> a, const Pattern<T>& b, Image<Zop8u> out, Extent pixels, Zop32f distance) {
  mapTests<Layout>(Tag<T>(), testOf<Test>(distance), out, pixels, ComparedImage<Tag<T>>{{a}},
                   ComparedConstant<Tag<T>>(b));
}

template <class T, class Layout>
constexpr LayoutCompareRows<T, Layout> rowsOf() {
  LayoutCompareRows<T, Layout> table{};
  table.rows[kLess] = {imageRows<Layout, Less, T>, constantRows<Layout, Less, T>};
  table.rows[kLessEq] = {imageRows<Layout, LessEq, T>, constantRows<Layout, LessEq, T>};
  table.rows[kEqual] = {imageRows<Layout, Equal, T>, constantRows<Layout, Equal, T>};
  table.rows[kGreaterEq] = {nullptr, constantRows<Layout, Exchanged<LessEq>, T>};
  table.rows[kGreater] = {nullptr, constantRows<Layout, Exchanged<Less>, T>};
  if constexpr (hwy::IsFloat<T>())
    table.rows[kNear] = {imageRows<Layout, Near, T>, constantRows<Layout, Near, T>};
  return table;
}

template <class T>
constexpr CompareRows<T> kRows = {rowsOf<T, C1>(), rowsOf<T, C3>(), rowsOf<T, C4>(), rowsOf<T, AC4>()};

constexpr CompareTable kTable = {kRows<Zop8u>, kRows<Zop16s>, kRows<Zop32f>};

}  // namespace

const CompareTable* compareTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(compareTableOfTarget);

const CompareTable& compareTable() { return *HWY_DYNAMIC_DISPATCH(compareTableOfTarget)(); }

}  // namespace zopi
#endif
