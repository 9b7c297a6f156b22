// Colours multiplied by alpha: which rows serve a layout. All on the calling thread.

#include <type_traits>

#include "alpha/premultiply_rows.h"
#include "core/walk.h"
#include "move/copy.h"
#include "move/set.h"
#include "zopi/status.h"

namespace zopi {
namespace {

template <Form kForm, class T>
ZopStatus premultiplied(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size) {
  walkSerial(extent(size, AC4::channels), premultiplyTable().of<T>().pixels, src, dst);
  return zopStatusOk;
}

template <Form kForm, class S, class T>
ZopStatus premultiplied(Planes<S, 4> src, Planes<T, 4> dst, ZopImageSize size) {
  const auto row = premultiplyTable().of<T>().colours;
  for (int c = 0; c < 3; ++c) walkSerial(extent(size), row, src.plane(c), src.plane(3), dst.plane(c));
  if constexpr (kForm == OutOfPlace) copyPixels<C1, T>(src.plane(3), dst.plane(3), size);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus premultipliedBy(const T* alpha, std::type_identity_t<Image<const T>> src, Image<T> dst,
                          ZopImageSize size) {
  const PremultiplyRows<T>& rows = premultiplyTable().of<T>();
  const auto row = std::is_same_v<Layout, AC4> ? rows.pixelsByConstant : rows.coloursByConstant;
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const T> from, Image<T> to, Extent e) { row(from, to, e, *alpha); }, src, dst);
  return zopStatusOk;
}

template <class S, class T>
ZopStatus premultipliedBy(const T* alpha, Planes<S, 4> src, Planes<T, 4> dst, ZopImageSize size) {
  for (int c = 0; c < 3; ++c) premultipliedBy<C1>(alpha, src.plane(c), dst.plane(c), size);
  return setPixels<C1>(alpha, dst.plane(3), size);
}

}  // namespace
}  // namespace zopi

#include "alpha/premultiply.exports.inc"
