#include "logic/shift_rows.h"

#include <type_traits>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "logic/shift_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

template <ShiftDirection kDirection, class V>
HWY_INLINE V shift(V v, int count) {
  return kDirection == kLeft ? hn::ShiftLeftSame(v, count) : hn::ShiftRightSame(v, count);
}

template <ShiftDirection kDirection>
struct Alike {
  static constexpr bool kShort = true;
  int count;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return shift<kDirection>(v, count);
  }
};

// All samples are shifted by the count of each channel, and each channel takes its own outcome: few machines
// shift narrow lanes by counts of their own.
template <ShiftDirection kDirection, int kChannels>
struct ByChannel {
  static constexpr bool kShort = true;
  int counts[kChannels];

  template <class T>
  HWY_INLINE explicit ByChannel(const ChannelShift<T>* channels) {
    for (int c = 0; c < kChannels; ++c) counts[c] = channels[c].count;
  }
  template <class D, class V, class... S>
  HWY_INLINE V operator()(D d, V v, S... samples) const {
    V result = hn::Zero(d);
    const int* count = counts;
    ((result = hn::Or(result, hn::And(shift<kDirection>(v, *count++), samples))), ...);
    return result;
  }
};

template <ShiftDirection kDirection, class T, int... kChannel>
void mapByChannel(Image<const T> src, Image<T> dst, Extent e, const ChannelShift<T>* channels,
                  std::integer_sequence<int, kChannel...>) {
  mapRows(Tag<T>(), ByChannel<kDirection, sizeof...(kChannel)>(channels), dst, e, ImageOperand<Tag<T>>{src},
          PatternOperand<Tag<T>>(channels[kChannel].samples)...);
}

template <ShiftDirection kDirection, int kChannels, class T>
void byChannelRows(Image<const T> src, Image<T> dst, Extent e, const ChannelShift<T>* channels) {
  mapByChannel<kDirection>(src, dst, e, channels, std::make_integer_sequence<int, kChannels>());
}

template <ShiftDirection kDirection, class T>
void byChannelRowsKeepingAlpha(Image<const T> src, Image<T> dst, Extent e, const ChannelShift<T>* channels) {
  using Operation = ByChannel<kDirection, 3>;
  mapRows(Tag<T>(), Keeping<Operation>{Operation(channels)}, dst, unstreamed(e), ImageOperand<Tag<T>>{dst},
          PatternOperand<Tag<T>>(writtenSamples<T, 4, 3>()), ImageOperand<Tag<T>>{src},
          PatternOperand<Tag<T>>(channels[0].samples), PatternOperand<Tag<T>>(channels[1].samples),
          PatternOperand<Tag<T>>(channels[2].samples));
}

template <ShiftDirection kDirection, class T>
constexpr ShiftRow<T> kRow = {
    unaryRows<Alike<kDirection>, T, int>(),
    {nullptr, nullptr, nullptr, byChannelRows<kDirection, 3, T>, byChannelRows<kDirection, 4, T>},
    byChannelRowsKeepingAlpha<kDirection, T>,
};
template <class T>
constexpr ShiftRows<T> kBothWays = {{kRow<kLeft, T>, kRow<kRight, T>}};
template <class T>
constexpr ShiftRows<T> kRightOnly = {{{}, kRow<kRight, T>}};

constexpr ShiftTable kTable = {kBothWays<Zop8u>, kRightOnly<Zop8s>, kBothWays<Zop16u>, kRightOnly<Zop16s>,
                               kBothWays<Zop32s>};

}  // namespace

const ShiftTable* shiftTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(shiftTableOfTarget);

const ShiftTable& shiftTable() { return *HWY_DYNAMIC_DISPATCH(shiftTableOfTarget)(); }

}  // namespace zopi
#endif
