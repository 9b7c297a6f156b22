#include "arith/divide_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/divide_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// What stands for n / 0: the sign of n decides, whatever the sign of the zero. A not-a-number is not above 0.
template <class D, class V>
HWY_INLINE V quotientByZero(D d, V n) {
  using T = hn::TFromD<D>;
  const auto infinity = hn::Set(d, std::numeric_limits<T>::infinity());
  const auto nan = hn::Or(hn::Set(d, std::numeric_limits<T>::quiet_NaN()), hn::SignBit(d));
  const auto signedInfinity = hn::IfThenElse(hn::Gt(n, hn::Zero(d)), infinity, hn::Neg(infinity));
  return hn::IfThenElse(hn::Eq(n, hn::Zero(d)), nan, signedInfinity);
}

// To nearest, ties to even, but what rounds to a tie when one half is added is taken for one: the largest
// number below one half becomes 1.
template <class D, class V>
HWY_INLINE V roundedByHalves(D d, V q) {
  const auto half = hn::CopySign(hn::Set(d, 0.5), q);
  const auto n = hn::Trunc(hn::Add(q, half));
  const auto halfOfN = hn::Mul(n, hn::Set(d, 0.5));
  const auto isOddTie = hn::And(hn::Eq(hn::Sub(n, half), q), hn::Ne(hn::Trunc(halfOfN), halfOfN));
  return hn::IfThenElse(isOddTie, hn::Sub(q, half), n);
}

// No quotient of small integers is so near a tie that it matters how the rounding is made.
template <class T, class L>
struct Divide {
  using Lane = L;
  static constexpr bool kWatches = true;
  double scale;
  Watch zeros;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V divisor, V dividend) const {
    const auto a = toReal(d, dividend), b = toReal(d, divisor);
    const auto zero = hn::Eq(b, hn::Zero(d));
    auto q = hn::Mul(hn::Div(a, b), hn::Set(d, static_cast<L>(scale)));
    if (zeros.see(d, zero))
      q = hn::IfThenElse(zero, hn::Mul(a, hn::Set(d, 65536)), q);  // beyond the range, or 0
    return saturated<T>(d, hn::Round(q));
  }
};

template <class T>
struct TimesFactor {
  template <class D, class V>
  HWY_INLINE auto operator()(D d, hn::Vec<D> factor, V a) const {
    return saturated<T>(d, roundedByHalves(d, hn::Mul(toReal(d, a), factor)));
  }
};

struct DivideNumbers {
  static constexpr bool kWatches = true;
  Watch zeros;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V divisor, V dividend) const {
    const auto zero = hn::Eq(divisor, hn::Zero(d));
    const auto q = hn::Div(dividend, divisor);
    return zeros.see(d, zero) ? hn::IfThenElse(zero, quotientByZero(d, dividend), q) : q;
  }
};

// Real parts stand in even lanes, imaginary parts in odd ones: the numerators of a / b, and the denominator
// in both lanes.
template <class D, class V = hn::Vec<D>>
struct ComplexQuotient {
  V numerators, denominator;

  HWY_INLINE ComplexQuotient(D d, V a, V b) {
    const auto squares = hn::Mul(b, b), along = hn::Mul(a, b), across = hn::Mul(a, hn::Reverse2(d, b));
    denominator = hn::Add(squares, hn::Reverse2(d, squares));
    numerators =
        hn::OddEven(hn::Sub(across, hn::Reverse2(d, across)), hn::Add(along, hn::Reverse2(d, along)));
  }
};

template <class T>
struct DivideComplex {
  using Lane = double;
  static constexpr int kGroup = 2;
  static constexpr bool kWatches = true;
  double scale;
  Watch zeros;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V divisor, V dividend) const {
    const ComplexQuotient<D> q(d, toReal(d, dividend), toReal(d, divisor));
    const auto zero = hn::Eq(q.denominator, hn::Zero(d));
    auto scaled = hn::Mul(q.numerators, hn::Div(hn::Set(d, scale), q.denominator));
    // Of an integer zero, the numerators are zero, too.
    if (zeros.see(d, zero)) scaled = hn::IfThenZeroElse(zero, scaled);
    return saturated<T>(d, roundedByHalves(d, scaled));
  }
};

struct DivideComplexNumbers {
  using Lane = double;
  static constexpr int kGroup = 2;
  static constexpr bool kWatches = true;
  Watch zeros;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V divisor, V dividend) const {
    const ComplexQuotient<D> q(d, toReal(d, dividend), toReal(d, divisor));
    const auto zero = hn::Eq(q.denominator, hn::Zero(d));
    auto quotient = hn::Mul(q.numerators, hn::Div(hn::Set(d, 1.0), q.denominator));
    if (zeros.see(d, zero)) quotient = hn::IfThenElse(zero, quotientByZero(d, q.numerators), quotient);
    return fromReal(SamplesOf<float, D>(), quotient);
  }
};

template <class T>
void factorRows(const Pattern<double>& factors, Image<const T> a, Image<T> out, Extent e) {
  using D = Tag<double>;
  mapRows(D(), TimesFactor<T>(), out, e, PatternOperand<D>(factors), ImageOperand<SamplesOf<T, D>>{a});
}

// Quotients of images only: constants have their factors, and no form keeps alpha.
template <class Op, class T>
constexpr BinaryRow<T, double, bool*> imagesOnly() {
  return {twoImageRows<Op, T, double, bool*>, nullptr, nullptr, nullptr};
}

constexpr DivideTable kTable = {{{imagesOnly<Divide<Zop8u, float>, Zop8u>(), {}, factorRows<Zop8u>},
                                 {imagesOnly<Divide<Zop16s, float>, Zop16s>(),
                                  imagesOnly<Divide<Zop16s, double>, Zop16s>(), factorRows<Zop16s>}},
                                binaryRows<DivideComplex<Zop16s>, Zop16s, double, bool*>(),
                                binaryRows<DivideComplex<Zop32s>, Zop32s, double, bool*>(),
                                {twoImageRows<DivideNumbers, Zop32f, bool*>,
                                 twoImageRowsKeeping<DivideNumbers, Zop32f, bool*>, nullptr, nullptr},
                                binaryRows<DivideComplexNumbers, Zop32f, bool*>()};

}  // namespace

const DivideTable* divideTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(divideTableOfTarget);

const DivideTable& divideTable() { return *HWY_DYNAMIC_DISPATCH(divideTableOfTarget)(); }

}  // namespace zopi
#endif
