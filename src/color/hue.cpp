// Hue with saturation and value or lightness: which rows serve a form, and who shares them. A pixel is much
// work, so interleaved forms are shared whatever their size; planes stay on the calling thread.

#include <type_traits>

#include "color/hue_rows.h"
#include "zopi/status.h"

namespace zopi {
namespace {

template <class Layout, class T>
ZopStatus converted(const InterleavedHueRows<T>& rows, Image<const T> src, Image<T> dst, ZopImageSize size) {
  const auto row = std::is_same_v<Layout, AC4> ? rows.ac4 : rows.c3;
  mapPixelImages<Layout, Layout>(true, row, inWholeSamples(src), inWholeSamples(dst), size);
  return zopStatusOk;
}

ZopStatus convertedKeepingAlpha(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  mapPixelImages<AC4, AC4>(true, hueTable().bgrToHlsKeepingAlpha, src, dst, size);
  return zopStatusOk;
}

template <class From, class To, class In, class Out>
ZopStatus convertedInPlanes(PixelRows<Zop8u, Zop8u> rows, In src, Out dst, ZopImageSize size) {
  mapPixelImages<From, To>(false, rows, src, dst, size);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "color/hue.exports.inc"
