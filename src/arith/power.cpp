// Squares and square roots. Integer results are multiplied by 2^-scaleFactor, rounded to nearest with ties to
// even and saturated. But for C4 forms, images advance by whole samples.

#include "arith/power_rows.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/lookup_rows.h"
#include "core/rounding.h"
#include "move/set.h"

namespace zopi {
namespace {

template <class Layout, class T>
Image<T> advancing(Image<T> image) {
  return std::is_same_v<Layout, C4> ? image : inWholeSamples(image);
}

// The largest scale factor at which a square is not always 0.
template <class T>
constexpr int kZeroAbove = 0;
template <>
constexpr int kZeroAbove<Zop8u> = 16;
template <>
constexpr int kZeroAbove<Zop16s> = 30;
template <>
constexpr int kZeroAbove<Zop16u> = 32;

template <class Layout, class T>
ZopStatus square(std::type_identity_t<Image<const T>> a, Image<T> out, ZopImageSize size, int scaleFactor) {
  a = advancing<Layout>(a);
  out = advancing<Layout>(out);
  if (scaleFactor > kZeroAbove<T>) return setZero<Layout>(out, size);
  const PowerRows<T>& rows = powerTable().of<T>();
  if (scaleFactor < 0) {
    // As many places as the largest value has bits saturate every sample but 0.
    const int shift = -std::max(scaleFactor, -std::numeric_limits<T>::digits);
    mapImage<Layout>(rows.square[kLiftSquare], a, out, size, shift);
  } else {
    mapImage<Layout>(rows.square[scaleFactor < 4 ? kCutSquare : kRoundSquare], a, out, size, scaleFactor);
  }
  return zopStatusOk;
}

template <class Layout>
ZopStatus square(Image<const Zop32f> a, Image<Zop32f> out, ZopImageSize size) {
  mapImage<Layout>(powerTable().squareOfNumbers, advancing<Layout>(a), advancing<Layout>(out), size);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus squareRoot(std::type_identity_t<Image<const T>> a, Image<T> out, ZopImageSize size,
                     int scaleFactor) {
  const RoundingToNearest rounding;
  a = advancing<Layout>(a);
  out = advancing<Layout>(out);
  // Beyond the limits every root but 0 saturates, or becomes 0.
  const double scale = std::ldexp(1.0, -std::clamp(scaleFactor, -32, 32));
  const PowerRows<T>& rows = powerTable().of<T>();
  const auto& root = scale > kFloatRootScale ? rows.rootInDoubles : rows.rootInFloats;
  bool metNegative = false;
  if constexpr (std::is_same_v<T, Zop8u>) {
    const ByteMap map([&](auto... band) { root.image(band..., scale, &metNegative); });
    map.image<Layout>(a, out, size);
  } else {
    mapImage<Layout>(root, a, out, size, scale, &metNegative);
  }
  return metNegative ? zopStatusSqrtNegative : zopStatusOk;
}

template <class Layout>
ZopStatus squareRoot(Image<const Zop32f> a, Image<Zop32f> out, ZopImageSize size) {
  bool metNegative = false;
  mapImage<Layout>(powerTable().rootOfNumbers, advancing<Layout>(a), advancing<Layout>(out), size,
                   &metNegative);
  return metNegative ? zopStatusSqrtNegative : zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "arith/power.exports.inc"
