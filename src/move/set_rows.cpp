#include "move/set_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/set_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Same {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const { return v; }
};

template <class T>
void rowSet(const Pattern<T>& values, Image<T> dst, Extent e) {
  mapRows(Tag<T>(), Same(), dst, e, PatternOperand<Tag<T>>(values));
}

template <int Channels, int Colours, class T>
void rowSetColours(const Pattern<T>& values, Image<T> dst, Extent pixels) {
  mapColours<Channels, Colours>(Tag<T>(), dst, pixels, PatternOperand<Tag<T>>(values));
}

template <int Channels, int Colours, class T>
void rowSetMasked(const Pattern<T>& values, Image<T> dst, Extent pixels, Image<const Zop8u> mask) {
  mapMasked<Channels, Colours>(Tag<T>(), dst, pixels, mask, PatternOperand<Tag<T>>(values));
}

template <class T>
constexpr SetRows<T> kTable = {
    rowSet<T>,
    rowSetColours<4, 3, T>,
    {nullptr, nullptr, nullptr, rowSetColours<3, 1, T>, rowSetColours<4, 1, T>},
    {nullptr, rowSetMasked<1, 1, T>, nullptr, rowSetMasked<3, 3, T>, rowSetMasked<4, 4, T>},
    rowSetMasked<4, 3, T>,
};

}  // namespace

const SetRows<uint8_t>* setRows8() { return &kTable<uint8_t>; }
const SetRows<uint16_t>* setRows16() { return &kTable<uint16_t>; }
const SetRows<uint32_t>* setRows32() { return &kTable<uint32_t>; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(setRows8);
HWY_EXPORT(setRows16);
HWY_EXPORT(setRows32);

template <>
const SetRows<uint8_t>& setRows() {
  return *HWY_DYNAMIC_DISPATCH(setRows8)();
}
template <>
const SetRows<uint16_t>& setRows() {
  return *HWY_DYNAMIC_DISPATCH(setRows16)();
}
template <>
const SetRows<uint32_t>& setRows() {
  return *HWY_DYNAMIC_DISPATCH(setRows32)();
}

}  // namespace zopi
#endif
