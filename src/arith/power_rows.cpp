#include "arith/power_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/power_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

template <SquareRoute kRoute>
struct Square {
  static constexpr bool kShort = false;
  int shift;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    using T = hn::TFromD<D>;
    const int s = shift;
    return narrow(d, each(widen(d, v), [s](auto dw, auto w) HWY_ATTR {
                    const auto t = hn::Mul(w, w);
                    if constexpr (kRoute == kCutSquare) return hn::ShiftRightSame(t, s);
                    if constexpr (kRoute == kLiftSquare) {
                      return hn::ShiftLeftSame(hn::Min(t, hn::Set(dw, std::numeric_limits<T>::max())), s);
                    }
                    if constexpr (kRoute == kRoundSquare && std::is_same_v<T, Zop16u>) {
                      // Squares fill their lanes. Half of one, with its last bit kept if it is set, is
                      // rounded in the same way, as the bits cut off later are three at least.
                      const auto half = hn::Or(hn::ShiftRight<1>(t), hn::And(t, hn::Set(dw, 1)));
                      return roundingShiftWithRoom(dw, half, s - 1);
                    }
                    if constexpr (kRoute == kRoundSquare) return roundingShiftWithRoom(dw, t, s);
                  }));
  }
};

struct SquareOfNumbers {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return hn::Mul(v, v);
  }
};

// Square roots of negative samples are 0.
template <class T, class L>
struct Root {
  using Lane = L;
  static constexpr bool kWatches = true;
  double scale;
  Watch negative;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    auto x = toReal(d, v);
    if constexpr (std::is_signed_v<T>) {
      negative.see(d, hn::Lt(x, hn::Zero(d)));
      x = hn::Max(x, hn::Zero(d));
    }
    return saturated<T>(d, hn::Round(hn::Mul(hn::Sqrt(x), hn::Set(d, static_cast<L>(scale)))));
  }
};

struct RootOfNumbers {
  static constexpr bool kWatches = true;
  Watch negative;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    negative.see(d, hn::Lt(v, hn::Zero(d)));
    return hn::Sqrt(v);
  }
};

template <class T>
constexpr PowerRows<T> rowsOf() {
  return {{unaryRows<Square<kCutSquare>, T, int>(), unaryRows<Square<kRoundSquare>, T, int>(),
           unaryRows<Square<kLiftSquare>, T, int>()},
          unaryRows<Root<T, float>, T, double, bool*>(),
          unaryRows<Root<T, double>, T, double, bool*>()};
}

constexpr PowerTable kTable = {{rowsOf<Zop8u>(), rowsOf<Zop16u>(), rowsOf<Zop16s>()},
                               unaryRows<SquareOfNumbers, Zop32f>(),
                               unaryRows<RootOfNumbers, Zop32f, bool*>()};

}  // namespace

const PowerTable* powerTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(powerTableOfTarget);

const PowerTable& powerTable() { return *HWY_DYNAMIC_DISPATCH(powerTableOfTarget)(); }

}  // namespace zopi
#endif
