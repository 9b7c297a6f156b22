#include "stats/extrema_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/extrema_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/reductions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

template <class D, int kChannels>
struct Extrema {
  static constexpr std::ptrdiff_t kSteps = PTRDIFF_MAX;
  Best<D, kChannels, Smaller> low;
  Best<D, kChannels, Larger> high;

  template <int K, class M>
  HWY_INLINE void take(M mask, hn::Vec<D> v) {
    low.template take<K>(mask, v);
    high.template take<K>(mask, v);
  }
  HWY_INLINE void flush() {}
};

template <int kChannels, class T>
void extremaRows(Image<const T> a, Extent samples, T* low, T* high) {
  using D = Tag<T>;
  Extrema<D, kChannels> op{Best<D, kChannels, Smaller>(low), Best<D, kChannels, Larger>(high)};
  reduceRows(D(), op, samples, ImageOperand<D>{a});
  op.low.store(low);
  op.high.store(high);
}

template <int kChannels, class T>
std::ptrdiff_t firstOf(const T* samples, std::ptrdiff_t n, int channel, T value) {
  using D = Tag<T>;
  const D d;
  T pixel[kChannels] = {};
  pixel[channel] = allOnes<T>();
  PatternOperand<D> ofChannel(repeat(pixel, kChannels));
  ofChannel.begin(0);
  for (std::ptrdiff_t i = 0; i < n; i += kLanes<D>) {
    const auto v = loadPart<true>(d, samples + i, HWY_MIN(kLanes<D>, n - i));
    const auto equal = hn::VecFromMask(d, hn::Eq(v, hn::Set(d, value)));
    const std::intptr_t first = hn::FindFirstTrue(d, hn::MaskFromVec(hn::And(equal, ofChannel.at(i, 0))));
    if (first >= 0) return i + first;
    ofChannel.advance();
  }
  return 0;
}

template <class T>
constexpr ExtremaRows<T> kRows = {{nullptr, extremaRows<1, T>, nullptr, extremaRows<3, T>, extremaRows<4, T>},
                                  {nullptr, firstOf<1, T>, nullptr, firstOf<3, T>, firstOf<4, T>}};

constexpr ExtremaTable kTable = {kRows<Zop8u>, kRows<Zop16s>, kRows<Zop32f>};

}  // namespace

const ExtremaTable* extremaTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(extremaTableOfTarget);

const ExtremaTable& extremaTable() { return *HWY_DYNAMIC_DISPATCH(extremaTableOfTarget)(); }

}  // namespace zopi
#endif
