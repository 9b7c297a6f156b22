// Natural logarithms and exponentials. Integer results are multiplied by 2^-scaleFactor, rounded to nearest
// with ties to even and saturated.

#include "arith/exponential_rows.h"

#include <algorithm>
#include <cmath>

#include "core/lookup_rows.h"
#include "core/rounding.h"

namespace zopi {
namespace {

// The first sample in the order of the rows that has no logarithm says which warning a call returns.
template <class Layout, class T, class Map>
ZopStatus mapWithWarning(Image<const T> a, Image<T> out, ZopImageSize size, const Map& map) {
  const auto warningOf = exponentialTable().warnings.of<T>().first;
  ZopStatus warning = zopStatusOk;
  walkPieces(
      extent(size, Layout::channels),
      [&](Image<const T> p, Image<T> r, Extent e) {
        if (warning == zopStatusOk) warning = warningOf(p.at, e.length);
        map(p, r, e);
      },
      a, out);
  return warning;
}

template <class Layout>
ZopStatus logarithm(Image<const Zop32f> a, Image<Zop32f> out, ZopImageSize size) {
  const RoundingToNearest rounding;
  return mapWithWarning<Layout>(a, out, size, exponentialTable().logarithmOfNumbers.image);
}

template <class Layout, class T>
ZopStatus logarithm(std::type_identity_t<Image<const T>> a, Image<T> out, ZopImageSize size,
                    int scaleFactor) {
  const RoundingToNearest rounding;
  // Beyond the limits every logarithm but that of 1 saturates, or becomes 0.
  const double scale = std::ldexp(1.0, -std::clamp(scaleFactor, -32, 32));
  const auto map = [scale, row = exponentialTable().of<T>().logarithm.image](
                       Image<const T> p, Image<T> r, Extent e) { row(p, r, e, scale); };
  if constexpr (std::is_same_v<T, Zop8u>) {
    return mapWithWarning<Layout>(a, out, size, ByteMap(map));
  } else {
    return mapWithWarning<Layout>(a, out, size, map);
  }
}

template <class Layout>
ZopStatus exponential(Image<const Zop32f> a, Image<Zop32f> out, ZopImageSize size) {
  const RoundingToNearest rounding;
  mapImage<Layout>(exponentialTable().exponentialOfNumbers, a, out, size);
  return zopStatusOk;
}

// Powers of two within kBinades are exact factors; what is beyond is taken from the exponent.
template <class Layout, class T>
ZopStatus exponential(std::type_identity_t<Image<const T>> a, Image<T> out, ZopImageSize size,
                      int scaleFactor) {
  constexpr int kBinades = 900;
  // Beyond the limits every exponential saturates, or becomes 0.
  const int s = std::clamp(scaleFactor, -60000, 60000), factor = std::clamp(s, -kBinades, kBinades);
  const RoundingToNearest rounding;
  const double scale = std::ldexp(1.0, -factor), binades = s - factor;
  const auto& rows = exponentialTable().of<T>().exponential;
  if constexpr (std::is_same_v<T, Zop8u>) {
    ByteMap map([&](auto... band) { rows.image(band..., binades, scale); });
    if (scaleFactor == 1) map.table[0] = 1;  // this tie, e^0 / 2, has always gone up
    map.image<Layout>(a, out, size);
  } else {
    mapImage<Layout>(rows, a, out, size, binades, scale);
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "arith/exponential.exports.inc"
