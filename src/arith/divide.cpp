// Quotients. A zero among the samples of a divisor has a defined result and a warning; a constant one is an
// error. Quotients of integers are multiplied by 2^-scaleFactor, rounded to nearest and saturated.

#include "arith/divide_rows.h"

#include <algorithm>
#include <cmath>

#include "arith/add_sub_mul_float_rows.h"
#include "core/lookup_rows.h"
#include "core/rounding.h"
#include "move/set.h"

namespace zopi {
namespace {

template <class T>
bool isZero(T value) {
  if constexpr (kIsComplex<T>)
    return value.re == 0 && value.im == 0;
  else
    return value == 0;
}

template <class T>
ZopStatus checkDivisor(T value) {
  return isZero(value) ? zopStatusDivideByZero : zopStatusOk;
}

// One a channel: no form has a divisor for alpha.
template <class T>
ZopStatus checkDivisors(const T* values) {
  return std::any_of(values, values + 3, isZero<T>) ? zopStatusDivideByZero : zopStatusOk;
}

// 2^-scaleFactor. Beyond the limits every quotient that is not zero saturates, or becomes zero.
double scaleOf(int scaleFactor) { return std::ldexp(1.0, -std::clamp(scaleFactor, -120, 120)); }

template <class T>
const auto& rowsFor(double scale) {
  const DivideTable& table = divideTable();
  if constexpr (std::is_same_v<T, Zop16sc>)
    return table.complex16s;
  else if constexpr (std::is_same_v<T, Zop32sc>)
    return table.complex32s;
  else if constexpr (std::is_same_v<T, Zop16s>)
    return scale > 128.0 ? table.of<T>().inDoubles : table.of<T>().inFloats;
  else
    return table.of<T>().inFloats;
}

ZopStatus statusOf(bool metZero) { return metZero ? zopStatusZeroDenominator : zopStatusOk; }

template <class Layout, class T>
ZopStatus divide(Image<const T> divisor, std::type_identity_t<Image<const T>> dividend, Image<T> out,
                 ZopImageSize size, int scaleFactor) {
  const RoundingToNearest rounding;
  const double scale = scaleOf(scaleFactor);
  bool metZero = false;
  mapImages<Layout>(false, rowsFor<T>(scale), divisor, dividend, out, size, scale, &metZero);
  return statusOf(metZero);
}

template <class Layout, class T>
ZopStatus divide(Image<const T> divisor, std::type_identity_t<Image<const T>> dividend, Image<T> out,
                 ZopImageSize size) {
  const auto& rows = kIsComplex<T> ? divideTable().complexNumbers : divideTable().numbers;
  bool metZero = false;
  mapImages<Layout>(false, rows, divisor, dividend, out, size, &metZero);
  return statusOf(metZero);
}

template <class Layout, class T>
ZopStatus divideByConstant(std::type_identity_t<Image<const T>> a, const T* values, Image<T> out,
                           ZopImageSize size, int scaleFactor) {
  const RoundingToNearest rounding;
  const double scale = scaleOf(scaleFactor);
  if constexpr (kIsComplex<T>) {
    bool metZero = false;
    mapConstant<Layout>(false, rowsFor<T>(scale), values, a, out, size, scale, &metZero);
  } else {
    double factors[Layout::channels];
    for (int c = 0; c < Layout::channels; ++c) factors[c] = 1.0 / values[c] * scale;
    const Pattern<double> pattern = repeat(factors, Layout::channels);
    const auto map = [&](Image<const T> p, Image<T> r, Extent e) {
      divideTable().of<T>().byFactor(pattern, p, r, e);
    };
    if constexpr (std::is_same_v<T, Zop8u> && std::is_same_v<Layout, C1>)
      ByteMap(map).image<C1>(a, out, size);
    else
      walkSerial(extent(size, Layout::channels), map, a, out);
  }
  return zopStatusOk;
}

template <class Layout>
ZopStatus divideByConstant(Image<const Zop32fc> a, const Zop32fc* values, Image<Zop32fc> out,
                           ZopImageSize size) {
  bool metZero = false;
  mapConstant<Layout>(false, divideTable().complexNumbers, values, a, out, size, &metZero);
  return zopStatusOk;
}

// The reciprocal is rounded before it is used. One of zero, that of an infinite divisor, clears the image
// whatever it holds.
template <class Layout>
ZopStatus divideByConstant(Image<const Zop32f> a, const Zop32f* values, Image<Zop32f> out,
                           ZopImageSize size) {
  Zop32f reciprocals[Layout::channels];
  for (int c = 0; c < Layout::channels; ++c) {
    reciprocals[c] = static_cast<Zop32f>(1.0 / values[c]);
  }
  if (Layout::channels == 1 && reciprocals[0] == 0.0f) {
    reciprocals[0] = 0.0f;  // -0, too
    return setPixels<C1>(reciprocals, out, size);
  }
  return combineWithConstant<Layout>(floatTable().multiply, &reciprocals[0], a, out, size);
}

}  // namespace
}  // namespace zopi

#include "arith/divide.exports.inc"
