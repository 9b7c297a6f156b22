#include "reorder/swap_channels_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "reorder/swap_channels_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"
#include "reorder/colours-inl.h"
#include "reorder/triples-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

template <class T>
void rowSwap(const int32_t* order, Image<const uint8_t> src, Image<uint8_t> dst, Extent e) {
  mapTriples<sizeof(T), false>(src, dst, e, order, [=](uint8_t* to, const uint8_t* from) HWY_ATTR {
    for (int c = 0; c < 3; ++c) std::memcpy(to + c * sizeof(T), from + order[c] * sizeof(T), sizeof(T));
  });
}

// Four samples of any type fill blocks of 16 bytes without a rest, so that one shuffle does it.
template <class T>
struct SwapColours : ColoursOver<4 * sizeof(T)> {
  hn::Vec<Tag<uint8_t>> places;

  HWY_INLINE explicit SwapColours(const int32_t* order) {
    constexpr int S = sizeof(T);
    HWY_ALIGN uint8_t bytes[16];
    for (int i = 0; i < 16; ++i) {
      const int channel = i / S % 4, from = channel < 3 ? order[channel] : 3;
      bytes[i] = static_cast<uint8_t>(i + (from - channel) * S);
    }
    places = hn::LoadDup128(Tag<uint8_t>(), bytes);
  }
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v, V old) const {
    return ColoursOver<4 * sizeof(T)>::operator()(d, hn::TableLookupBytes(v, places), old);
  }
};

template <class T>
void rowSwapColours(const int32_t* order, Image<const uint8_t> src, Image<uint8_t> dst, Extent e) {
  const Tag<uint8_t> d;
  mapRows(d, SwapColours<T>(order), dst, unstreamed(e), ImageOperand<Tag<uint8_t>>{src},
          ImageOperand<Tag<uint8_t>>{dst});
}

template <class T>
constexpr SwapRows<T> kRows = {rowSwap<T>, rowSwapColours<T>};

constexpr SwapTable kTable = {kRows<uint8_t>, kRows<uint16_t>, kRows<uint32_t>};

}  // namespace

const SwapTable* swapTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(swapTableOfTarget);

const SwapTable& swapTable() { return *HWY_DYNAMIC_DISPATCH(swapTableOfTarget)(); }

}  // namespace zopi
#endif
