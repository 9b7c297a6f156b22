#include "color/gamma_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/gamma_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <cmath>
#include <limits>

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"
#include "hwy/contrib/math/math-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// From kCut on, a curve is made of a power, below it is a line.
template <class Direction>
struct Curve;

template <>
struct Curve<GammaFwd> {
  static constexpr double kCut = 0.018, kExponent = 0.45;
  template <class D, class V>
  static HWY_INLINE V base(D, V v) {
    return v;
  }
  template <class D, class V>
  static HWY_INLINE V ofPower(D d, V power) {
    return hn::Sub(hn::Mul(hn::Set(d, 1.099), power), hn::Set(d, 0.099));
  }
  template <class D, class V>
  static HWY_INLINE V line(D d, V v) {
    return hn::Mul(hn::Set(d, 4.5), v);
  }
};

template <>
struct Curve<GammaInv> {
  static constexpr double kCut = 0.081, kExponent = 1 / 0.45;
  template <class D, class V>
  static HWY_INLINE V base(D d, V v) {
    return hn::Div(hn::Add(v, hn::Set(d, 0.099)), hn::Set(d, 1.099));
  }
  template <class D, class V>
  static HWY_INLINE V ofPower(D, V power) {
    return power;
  }
  template <class D, class V>
  static HWY_INLINE V line(D d, V v) {
    return hn::Div(v, hn::Set(d, 4.5));
  }
};

// A sample on the scale from 0 to 1, on its way along the curve. Where it goes along the line, the base is 1.
template <class Direction, class D>
struct OnCurve {
  using C = Curve<Direction>;
  using V = hn::Vec<D>;
  V v, base;
  hn::Mask<D> curved;

  HWY_INLINE explicit OnCurve(V sample) : v(sample), curved(hn::Ge(sample, hn::Set(D(), C::kCut))) {
    base = hn::IfThenElse(curved, C::base(D(), v), hn::Set(D(), 1.0));
  }
  // The relative error stays below 2^-40.
  HWY_INLINE V power() const {
    const D d;
    const V power = hn::Exp(d, hn::Mul(hn::Log(d, base), hn::Set(d, C::kExponent)));
    // The logarithm takes infinity for a number.
    const auto infinite = hn::Gt(base, hn::Set(d, std::numeric_limits<double>::max()));
    return hn::IfThenElse(infinite, base, power);
  }
  // What the C library makes of it.
  HWY_INLINE V exactPower() const {
    const D d;
    HWY_ALIGN double numbers[kLanes<D>];
    hn::Store(base, d, numbers);
    for (double& number : numbers) number = std::pow(number, C::kExponent);
    return hn::Load(d, numbers);
  }
  HWY_INLINE V from(V power) const {
    const D d;
    return hn::IfThenElse(curved, C::ofPower(d, power), C::line(d, v));
  }
};

template <class Direction>
struct GammaOfWords {
  using Lane = double;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    const auto full = hn::Set(d, 65535.0);
    const OnCurve<Direction, D> way(hn::Mul(toReal(d, v), hn::Set(d, 1.0 / 65535.0)));
    return fromReal(hn::DFromV<V>(), hn::Add(hn::Mul(way.from(way.power()), full), hn::Set(d, 0.5)));
  }
};

// Where the error of the power might decide on the rounding, which is next to never, the C library's power is
// the one that counts.
template <class Direction>
struct GammaOfNumbers {
  using Lane = double;
  double lowest, span, reciprocal;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    const OnCurve<Direction, D> way(
        hn::Mul(hn::Sub(toReal(d, v), hn::Set(d, lowest)), hn::Set(d, reciprocal)));
    const auto power = way.power();
    const auto low = result(d, way, hn::Mul(power, hn::Set(d, 1 - 0x1p-40)));
    const auto high = result(d, way, hn::Mul(power, hn::Set(d, 1 + 0x1p-40)));
    if (HWY_LIKELY(hn::AllTrue(hn::DFromV<V>(), hn::Eq(low, high)))) return high;
    return result(d, way, way.exactPower());
  }

  template <class D, class Way, class P>
  HWY_INLINE hn::Vec<SamplesOf<Zop32f, D>> result(D d, const Way& way, P power) const {
    const auto y = hn::Add(hn::Mul(way.from(power), hn::Set(d, span)), hn::Set(d, lowest));
    return hn::DemoteTo(SamplesOf<Zop32f, D>(), y);
  }
};

template <class Direction>
constexpr GammaRows<Direction> rowsOf() {
  return {unaryRows<GammaOfWords<Direction>, Zop16u>(),
          unaryRows<GammaOfNumbers<Direction>, Zop32f, double, double, double>()};
}

constexpr GammaTable kTable = {rowsOf<GammaFwd>(), rowsOf<GammaInv>()};

}  // namespace

const GammaTable* gammaTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(gammaTableOfTarget);

const GammaTable& gammaTable() { return *HWY_DYNAMIC_DISPATCH(gammaTableOfTarget)(); }

}  // namespace zopi
#endif
