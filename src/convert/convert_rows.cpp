#include "convert/convert_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/convert_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Widen {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE hn::Vec<D> operator()(D d, V v) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return toReal(d, v);
    else
      return hn::PromoteTo(d, v);
  }
};

// Words narrow as they saturate, in one instruction that takes them for signed ones. Longer samples are held
// to the range first, and then packed.
template <class S, class T>
struct Narrow {
  using Lane = S;
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    if constexpr (sizeof(S) > 2) {
      return held<T>(d, v);
    } else {
      const auto words = std::is_unsigned_v<S> ? held<T>(d, v) : v;
      return hn::DemoteTo(SamplesOf<T, D>(), hn::BitCast(hn::RebindToSigned<D>(), words));
    }
  }
};

// Both ends of the range are whole numbers, so it is all the same whether numbers are held to it before they
// are rounded or after.
template <class T, Rounding kRounding>
struct Round {
  using Lane = Zop32f;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    const auto inRange = held<T>(d, v);
    return wholeInLowBits(d, kRounding == kToNearest ? inRange : hn::Trunc(inRange));
  }
};

template <class S, class T>
constexpr ConvertRows<S, T> rowsOf() {
  if constexpr (std::is_floating_point_v<S>)
    return {{conversionRows<Round<T, kToNearest>, S, T>(), conversionRows<Round<T, kTowardZero>, S, T>()}};
  else if constexpr (sizeof(S) > sizeof(T))
    return {{conversionRows<Narrow<S, T>, S, T>()}};
  else
    return {{conversionRows<Widen, S, T>()}};
}

constexpr ConvertTable kTable = {
    rowsOf<Zop8u, Zop16u>(), rowsOf<Zop8u, Zop16s>(), rowsOf<Zop8u, Zop32s>(),  rowsOf<Zop8s, Zop32s>(),
    rowsOf<Zop8u, Zop32f>(), rowsOf<Zop8s, Zop32f>(), rowsOf<Zop16u, Zop32f>(), rowsOf<Zop16s, Zop32f>(),
    rowsOf<Zop16u, Zop8u>(), rowsOf<Zop16s, Zop8u>(), rowsOf<Zop32s, Zop8u>(),  rowsOf<Zop32s, Zop8s>(),
    rowsOf<Zop32f, Zop8u>(), rowsOf<Zop32f, Zop8s>(), rowsOf<Zop32f, Zop16u>(), rowsOf<Zop32f, Zop16s>(),
};

}  // namespace

const ConvertTable* convertTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(convertTableOfTarget);

const ConvertTable& convertTable() { return *HWY_DYNAMIC_DISPATCH(convertTableOfTarget)(); }

}  // namespace zopi
#endif
