#include "arith/exponential_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "arith/exponential_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <cmath>

#include "core/lanes-inl.h"
#include "core/pixelwise-inl.h"
#include "hwy/contrib/math/math-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Functions in double precision, by vectors and by the C library, and the bound that holds for both: the
// relative error stays below 2^-48.
struct Logarithm {
  template <class D, class V>
  static HWY_INLINE V ofVector(D d, V x) {
    return hn::Log(d, x);
  }
  static double ofNumber(double x) { return std::log(x); }
};

struct Exponential {
  template <class D, class V>
  static HWY_INLINE V ofVector(D d, V x) {
    return hn::Exp(d, x);
  }
  static double ofNumber(double x) { return std::exp(x); }
};

// The function rounded to single precision. Where the error might decide on the rounding, which is next to
// never, the C library's result is the one that counts.
template <class Function, class D, class V = hn::Vec<D>>
HWY_INLINE hn::Vec<SamplesOf<float, D>> rounded(D d, V x) {
  const SamplesOf<float, D> df;
  const auto y = Function::ofVector(d, x);
  const auto low = hn::DemoteTo(df, hn::Mul(y, hn::Set(d, 1 - 0x1p-48)));
  const auto high = hn::DemoteTo(df, hn::Mul(y, hn::Set(d, 1 + 0x1p-48)));
  if (HWY_LIKELY(hn::AllTrue(df, hn::Eq(low, high)))) return high;
  HWY_ALIGN double numbers[kLanes<D>];
  HWY_ALIGN float results[kLanes<D>];
  hn::Store(x, d, numbers);
  for (int i = 0; i < kLanes<D>; ++i) results[i] = static_cast<float>(Function::ofNumber(numbers[i]));
  return hn::Load(df, results);
}

struct LogarithmOfNumbers {
  using Lane = double;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    const SamplesOf<float, D> df;
    using Limits = std::numeric_limits<float>;
    const auto zero = hn::Zero(df), infinity = hn::Set(df, Limits::infinity());
    const auto proper = hn::And(hn::Gt(v, zero), hn::Lt(v, infinity));
    const auto x = hn::IfThenElse(proper, v, hn::Set(df, 1.0f));
    // Of what has no finite logarithm: infinity and not-a-numbers stay.
    const auto nan = hn::Or(hn::Set(df, Limits::quiet_NaN()), hn::SignBit(df));
    auto improper = hn::IfThenElse(hn::Lt(v, zero), nan, v);
    improper = hn::IfThenElse(hn::Eq(v, zero), hn::Neg(infinity), improper);
    return hn::IfThenElse(proper, rounded<Logarithm>(d, toReal(d, x)), improper);
  }
};

struct ExponentialOfNumbers {
  using Lane = double;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    const SamplesOf<float, D> df;
    // Beyond these, results in single precision are 0 and infinite.
    const auto held = hn::Min(hn::Max(v, hn::Set(df, -110.0f)), hn::Set(df, 100.0f));
    const auto isNumber = hn::Eq(v, v);
    const auto x = hn::IfThenElseZero(isNumber, held);
    return hn::IfThenElse(isNumber, rounded<Exponential>(d, toReal(d, x)), v);
  }
};

// Logarithms of integers: of 0, that is the lowest value, and of what is negative 0.
template <class T>
struct LogarithmOf {
  using Lane = double;
  double scale;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    const auto x = toReal(d, v);
    const auto y = hn::Mul(Logarithm::ofVector(d, hn::Max(x, hn::Set(d, 1.0))), hn::Set(d, scale));
    const auto lowest = hn::Set(d, double{std::numeric_limits<T>::min()});
    return saturated<T>(d, hn::IfThenElse(hn::Eq(x, hn::Zero(d)), lowest, hn::Round(y)));
  }
};

template <class T>
struct ExponentialOf {
  using Lane = double;
  double binades, scale;

  template <class D, class V>
  HWY_INLINE V operator()(D d, V v) const {
    // The logarithm of 2 in two parts, of which the first has few enough digits for exact products.
    constexpr double kHigh = 0x1.62e42fefap-1, kLow = 0x1.cf79abc9e3b3ap-40;
    const auto n = hn::Set(d, binades);
    const auto x =
        hn::Sub(hn::Sub(toReal(d, v), hn::Mul(n, hn::Set(d, kHigh))), hn::Mul(n, hn::Set(d, kLow)));
    // Beyond these, scaled results saturate or are 0.
    const auto held = hn::Min(hn::Max(x, hn::Set(d, -700.0)), hn::Set(d, 700.0));
    return saturated<T>(d, hn::Round(hn::Mul(Exponential::ofVector(d, held), hn::Set(d, scale))));
  }
};

template <class T>
ZopStatus warningOf(const T* samples, std::ptrdiff_t n) {
  using D = Tag<T>;
  const D d;
  for (std::ptrdiff_t i = 0; i < n; i += kLanes<D>) {
    const std::ptrdiff_t part = HWY_MIN(kLanes<D>, n - i);
    const auto bad = [d](auto v) HWY_ATTR {
      if constexpr (hwy::IsFloat<T>())
        return hn::Le(v, hn::Zero(d));
      else if constexpr (std::is_signed_v<T>)
        return hn::Lt(v, hn::Set(d, 1));
      else
        return hn::Eq(v, hn::Zero(d));
    };
    const auto v = loadPart<true>(d, samples + i, part);
    const std::intptr_t first = hn::FindFirstTrue(d, bad(v));
    if (first >= 0) return hn::ExtractLane(v, first) == 0 ? zopStatusLnZero : zopStatusLnNegative;
  }
  return zopStatusOk;
}

template <class T>
constexpr ExponentialRows<T> rowsOf() {
  return {unaryRows<LogarithmOf<T>, T, double>(), unaryRows<ExponentialOf<T>, T, double, double>()};
}

constexpr ExponentialTable kTable = {{rowsOf<Zop8u>(), rowsOf<Zop16s>()},
                                     unaryRows<LogarithmOfNumbers, Zop32f>(),
                                     unaryRows<ExponentialOfNumbers, Zop32f>(),
                                     {{warningOf<Zop8u>}, {warningOf<Zop16s>}, {warningOf<Zop32f>}}};

}  // namespace

const ExponentialTable* exponentialTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(exponentialTableOfTarget);

const ExponentialTable& exponentialTable() { return *HWY_DYNAMIC_DISPATCH(exponentialTableOfTarget)(); }

}  // namespace zopi
#endif
