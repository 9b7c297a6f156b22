#include "stats/sum_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/sum_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/reductions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Itself {
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return v;
  }
};

template <int kChannels, class T>
void sumRows(Image<const T> a, Extent samples, std::int64_t* sums) {
  ChannelSums<Tag<T>, kChannels, Itself> op(sums);
  reduceRows(Tag<T>(), op, samples, ImageOperand<Tag<T>>{a});
}

// One channel has two chains, of even and of odd columns.
template <int kChannels>
void sumRowsInOrder(Image<const Zop32f> a, Extent samples, double* sums) {
  addInOrder<kChannels == 1 ? 2 : kChannels>(Itself(), samples, sums, a);
}

template <class T>
constexpr SumRows<T> rowsOf() {
  if constexpr (hwy::IsFloat<T>())
    return {{nullptr, sumRowsInOrder<1>, nullptr, sumRowsInOrder<3>, sumRowsInOrder<4>}};
  else
    return {{nullptr, sumRows<1, T>, nullptr, sumRows<3, T>, sumRows<4, T>}};
}

constexpr SumTable kTable = {rowsOf<Zop8u>(), rowsOf<Zop16s>(), rowsOf<Zop32f>()};

}  // namespace

const SumTable* sumTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(sumTableOfTarget);

const SumTable& sumTable() { return *HWY_DYNAMIC_DISPATCH(sumTableOfTarget)(); }

}  // namespace zopi
#endif
