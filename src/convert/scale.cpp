// The whole range of one sample type mapped onto that of another, or a range of numbers onto that of bytes.
#include "convert/scale_rows.h"

#include <cmath>

#include "core/rounding.h"

namespace zopi {
namespace {

// Says no to not-a-numbers, too.
ZopStatus checkScaleRange(Zop32f vMin, Zop32f vMax) {
  return vMin < vMax ? zopStatusOk : zopStatusBadScaleRange;
}

template <class Layout, class T>
ZopStatus scale(Image<const Zop8u> src, Image<T> dst, ZopImageSize size) {
  mapImage<Layout>(scaleTable().fromBytes.of<T>().row, src, dst, size);
  return zopStatusOk;
}

template <class Layout, class S>
ZopStatus scale(Image<const S> src, Image<Zop8u> dst, ZopImageSize size, int hint) {
  const ToBytesRows<S>& rows = scaleTable().toBytes.of<S>();
  mapImage<Layout>(hint == 2 ? rows.accurate : rows.fast, src, dst, size);
  return zopStatusOk;
}

template <class Layout>
ZopStatus scale(Image<const Zop8u> src, Image<Zop32f> dst, ZopImageSize size, Zop32f vMin, Zop32f vMax) {
  const double factor = (double{vMax} - vMin) * (1.0f / 255);
  mapImage<Layout>(scaleTable().bytesToNumbers, src, dst, size, factor, double{vMin});
  return zopStatusOk;
}

template <class Layout>
ZopStatus scale(Image<const Zop32f> src, Image<Zop8u> dst, ZopImageSize size, Zop32f vMin, Zop32f vMax) {
  const RoundingToNearest mode;
  // Where the length of the range overflows, all numbers in it become 0, and those above it still 255.
  const Zop32f length = vMax - vMin;
  const bool isNumber = std::isfinite(length);
  const double factor = isNumber ? 255.0 / length : 0x1p200;
  mapImage<Layout>(scaleTable().numbersToBytes, src, dst, size, factor, -factor * (isNumber ? vMin : vMax));
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "convert/scale.exports.inc"
