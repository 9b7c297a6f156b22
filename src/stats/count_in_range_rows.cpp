#include "stats/count_in_range_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/count_in_range_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/reductions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// 1 for samples in the range.
struct InRange {
  template <class D, class V>
  HWY_INLINE hn::Vec<D> operator()(D d, V v, V lower, V upper) const {
    const hn::DFromV<V> samples;
    if constexpr (hwy::IsFloat<hn::TFromV<V>>()) {
      const auto within = hn::And(hn::Ge(v, lower), hn::Le(v, upper));
      return hn::And(hn::BitCast(d, hn::VecFromMask(samples, within)), hn::Set(d, 1));
    } else {
      const auto held = hn::Min(hn::Max(v, lower), upper);
      return hn::And(hn::VecFromMask(d, hn::Eq(held, v)), hn::Set(d, 1));
    }
  }
};

template <int kChannels, class T>
void countRows(Image<const T> a, Extent samples, const Pattern<T>& lower, const Pattern<T>& upper,
               std::int64_t* counts) {
  using D = Tag<T>;
  using Counts = Tag<hwy::MakeUnsigned<T>>;
  ChannelSums<Counts, kChannels, InRange> op(counts);
  reduceRows(Counts(), op, samples, ImageOperand<D>{a}, PatternOperand<D>(lower), PatternOperand<D>(upper));
}

template <class T>
constexpr CountRows<T> kRows = {{nullptr, countRows<1, T>, nullptr, countRows<3, T>, countRows<4, T>}};

constexpr CountTable kTable = {kRows<Zop8u>, kRows<Zop32f>};

}  // namespace

const CountTable* countTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(countTableOfTarget);

const CountTable& countTable() { return *HWY_DYNAMIC_DISPATCH(countTableOfTarget)(); }

}  // namespace zopi
#endif
