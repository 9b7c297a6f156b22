#include "logic/bitwise_rows.h"

#include <limits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "logic/bitwise_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct And {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::And(a, b);
  }
};

struct Or {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::Or(a, b);
  }
};

struct Xor {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V a, V b) const {
    return hn::Xor(a, b);
  }
};

struct Not {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return hn::Not(v);
  }
};

// The magnitude of the lowest sample is that sample itself.
struct SignAndMagnitude {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    const auto sign = hn::Set(d, std::numeric_limits<hn::TFromD<D>>::min());
    return hn::Or(hn::Abs(v), hn::And(v, sign));
  }
};

template <class T>
constexpr BitwiseRows<T> kRows = {binaryRows<And, T>(), binaryRows<Or, T>(), binaryRows<Xor, T>()};

constexpr BitwiseTable kTable = {{kRows<Zop8u>, kRows<Zop16u>, kRows<Zop32s>},
                                 unaryRows<Not, Zop8u>(),
                                 {imageRows<SignAndMagnitude, Zop32s>, nullptr}};

}  // namespace

const BitwiseTable* bitwiseTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(bitwiseTableOfTarget);

const BitwiseTable& bitwiseTable() { return *HWY_DYNAMIC_DISPATCH(bitwiseTableOfTarget)(); }

}  // namespace zopi
#endif
