#include "move/set_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/set_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Long rows are left to the C library, which writes lines without reading them first: as one byte again and
// again, or as copies of a block that stays in the nearest cache.
constexpr std::ptrdiff_t kLongRowOfBytes = 256 << 10;
constexpr std::ptrdiff_t kLongRowOfBlocks = 1536 << 10;
constexpr std::ptrdiff_t kBlockBytes = 24 << 10;

template <class T>
bool isOneByte(const Pattern<T>& values) {
  const char* bytes = reinterpret_cast<const char*>(values.samples);
  return std::memcmp(bytes, bytes + 1, sizeof values.samples - 1) == 0;
}

template <class T>
void rowSetBlocks(const Pattern<T>& values, Image<T> dst, Extent e) {
  constexpr std::ptrdiff_t kSamples = kBlockBytes / sizeof(T);
  static_assert(kSamples % kPatternSamples == 0);
  HWY_ALIGN T block[kSamples];
  mapRows(Tag<T>(), Same(), Image<T>{block, 0}, {kSamples, 1}, PatternOperand<Tag<T>>(values));
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    T* row = dst.row(y);
    for (std::ptrdiff_t i = 0; i < e.length; i += kSamples) {
      std::memcpy(row + i, block, HWY_MIN(kSamples, e.length - i) * sizeof(T));
    }
  }
}

template <class T>
void rowSet(const Pattern<T>& values, Image<T> dst, Extent e) {
  const std::ptrdiff_t bytes = e.length * static_cast<std::ptrdiff_t>(sizeof(T));
  if (bytes >= kLongRowOfBytes && isOneByte(values)) {
    for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
      std::memset(dst.row(y), static_cast<unsigned char>(values.samples[0]), bytes);
    }
    return;
  }
  if (bytes >= kLongRowOfBlocks) return rowSetBlocks(values, dst, e);
  mapRows(Tag<T>(), Same(), dst, e, PatternOperand<Tag<T>>(values));
}

template <int Channels, int Colours, class T>
void rowSetColours(const Pattern<T>& values, Image<T> dst, Extent pixels) {
  mapColours<Channels, Colours>(Tag<T>(), dst, pixels, PatternOperand<Tag<T>>(values));
}

template <int Channels, int Colours, class T>
void rowSetMasked(const Pattern<T>& values, Image<T> dst, Image<const Zop8u> mask, Extent pixels) {
  mapMasked<Channels, Colours>(Tag<T>(), dst, pixels, mask, PatternOperand<Tag<T>>(values));
}

template <class T>
constexpr SetRows<T> kRows = {
    rowSet<T>,
    rowSetColours<4, 3, T>,
    {nullptr, nullptr, nullptr, rowSetColours<3, 1, T>, rowSetColours<4, 1, T>},
    {nullptr, rowSetMasked<1, 1, T>, nullptr, rowSetMasked<3, 3, T>, rowSetMasked<4, 4, T>},
    rowSetMasked<4, 3, T>,
};

constexpr SetTable kTable = {kRows<uint8_t>, kRows<uint16_t>, kRows<uint32_t>};

}  // namespace

const SetTable* setTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(setTableOfTarget);

const SetTable& setTable() { return *HWY_DYNAMIC_DISPATCH(setTableOfTarget)(); }

}  // namespace zopi
#endif
