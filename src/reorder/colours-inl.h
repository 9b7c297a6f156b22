// Pixels of four samples that get new colours and keep their alpha.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_REORDER_COLOURS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_REORDER_COLOURS_INL_H_
#undef ZOPI_REORDER_COLOURS_INL_H_
#else
#define ZOPI_REORDER_COLOURS_INL_H_
#endif

#include <cstdint>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// Colours from the first image, alpha from the second, in bytes.
template <int kPixelBytes, bool kMirrored = false>
struct ColoursOver {
  static constexpr bool kShort = true;
  static constexpr bool kApart = true;  // what is stored twice comes out the same
  static constexpr int kGroup = kPixelBytes;
  static constexpr bool kBackward = kMirrored;
  hn::Vec<Tag<uint8_t>> colours;

  HWY_INLINE ColoursOver() {
    HWY_ALIGN uint8_t bytes[16];
    for (int i = 0; i < 16; ++i) bytes[i] = i % kPixelBytes < kPixelBytes / 4 * 3 ? 0xff : 0;
    colours = hn::LoadDup128(Tag<uint8_t>(), bytes);
  }
  template <class D, class V>
  HWY_INLINE V operator()(D, V colour, V alpha) const {
    return hn::IfVecThenElse(colours, colour, alpha);
  }
};

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
