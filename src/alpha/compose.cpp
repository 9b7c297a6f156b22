// Composition of two images by alpha: which rows serve an operation and a layout. All on the calling thread.

#include <type_traits>

#include "alpha/compose_rows.h"
#include "core/walk.h"
#include "move/copy.h"
#include "move/set.h"
#include "zopi/status.h"

namespace zopi {
namespace {

ZopStatus checkAlphaType(int alphaType) {
  return alphaType < 0 || alphaType >= kAlphaTypes ? zopStatusBadAlphaType : zopStatusOk;
}

template <class T>
ZopStatus composed(Image<const T> a, Image<const T> b, Image<T> out, ZopImageSize size, int alphaType) {
  walkSerial(extent(size, AC4::channels), composeTable().of<T>().rows[alphaType].pixels, a, b, out);
  return zopStatusOk;
}

// The planes of alpha serve all others, and are the last to be written.
template <class T>
ZopStatus composed(Planes<const T, 4> a, Planes<const T, 4> b, Planes<T, 4> out, ZopImageSize size,
                   int alphaType) {
  const ComposeRow<T>& rows = composeTable().of<T>().rows[alphaType];
  for (int c = 0; c < 3; ++c) {
    walkSerial(extent(size), rows.colours, a.plane(c), a.plane(3), b.plane(c), b.plane(3), out.plane(c));
  }
  walkSerial(extent(size), rows.alphas, a.plane(3), b.plane(3), out.plane(3));
  return zopStatusOk;
}

// Premultiplied or not makes no difference here.
template <class T>
ZopStatus composedAlpha(Image<const T> a, Image<const T> b, Image<T> out, ZopImageSize size, int alphaType) {
  if (alphaType == zopAlphaATop || alphaType == zopAlphaATopPremul) return copyPixels<C1>(b, out, size);
  walkSerial(extent(size), composeTable().of<T>().rows[alphaType].alphas, a, b, out);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus composedByConstants(Image<const T> a, const T* alphaA, Image<const T> b, const T* alphaB,
                              Image<T> out, ZopImageSize size, int alphaType) {
  const ComposeRow<T>& rows = composeTable().of<T>().rows[alphaType];
  const auto row = std::is_same_v<Layout, AC4> ? rows.pixelsByConstants : rows.coloursByConstants;
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const T> p, Image<const T> q, Image<T> r, Extent e) { row(p, q, r, e, *alphaA, *alphaB); }, a,
      b, out);
  return zopStatusOk;
}

template <class T>
ZopStatus composedByConstants(Planes<const T, 4> a, const T* alphaA, Planes<const T, 4> b, const T* alphaB,
                              Planes<T, 4> out, ZopImageSize size, int alphaType) {
  for (int c = 0; c < 3; ++c) {
    composedByConstants<C1>(a.plane(c), alphaA, b.plane(c), alphaB, out.plane(c), size, alphaType);
  }
  const T alpha = composeTable().of<T>().rows[alphaType].alphaOfConstants(*alphaA, *alphaB);
  return setPixels<C1>(&alpha, out.plane(3), size);
}

}  // namespace
}  // namespace zopi

#include "alpha/compose.exports.inc"
