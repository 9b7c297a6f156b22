// Ranges mapped onto that of bytes, for the exported functions and for families that end with it.
#pragma once

#include <cmath>

#include "convert/scale_rows.h"
#include "core/rounding.h"
#include "zopi/status.h"

namespace zopi {

template <class Layout, class S>
ZopStatus scale(Image<const S> src, Image<Zop8u> dst, ZopImageSize size, int hint) {
  const ToBytesRows<S>& rows = scaleTable().toBytes.of<S>();
  mapImage<Layout>(hint == 2 ? rows.accurate : rows.fast, src, dst, size);
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

}  // namespace zopi
