// Whole-pixel copies, for the exported functions and for families whose result is their source.
#pragma once

#include <cstddef>
#include <cstring>

#include "core/image.h"
#include "core/walk.h"
#include "move/copy_rows.h"
#include "move/set.h"
#include "zopi/status.h"

namespace zopi {

template <class Layout, class T>
ZopStatus copyPixels(Image<const T> src, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  walkSerial(extent(size, Layout::channels), copyTable().template of<Bits>().samples, src.template as<Bits>(),
             dst.template as<Bits>());
  return zopStatusOk;
}

// The colours of four-channel pixels; alpha is not touched.
template <class T>
ZopStatus copyColours(Image<const T> src, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  walkPixels(size, copyTable().template of<Bits>().colours, src.template as<Bits, 4>(),
             dst.template as<Bits, 4>());
  return zopStatusOk;
}

// What a form of this layout writes: whole pixels, or only their colours.
template <class Layout, class T>
ZopStatus copyWritten(Image<const T> src, Image<T> dst, ZopImageSize size) {
  if constexpr (Layout::colours < Layout::channels)
    return copyColours(src, dst, size);
  else
    return copyPixels<Layout>(src, dst, size);
}

// Moves between images that hold `kFrom` and `kTo` samples a pixel.
template <int kFrom, int kTo, class T, class Row>
ZopStatus movePixels(Image<const T> src, Image<T> dst, ZopImageSize size, Row row) {
  using Bits = BitsOf<T>;
  walkPixels(size, row, src.template as<Bits, kFrom>(), dst.template as<Bits, kTo>());
  return zopStatusOk;
}

// One channel of pixels as an image of its own, and back. Both point to that channel's first sample.
template <class Layout, class T>
ZopStatus extractChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  constexpr int n = Layout::channels;
  if constexpr (n == 1)
    return copyPixels<C1>(src, dst, size);
  else
    return movePixels<n, 1>(src, dst, size, copyTable().template of<BitsOf<T>>().extract[n]);
}

template <class Layout, class T>
ZopStatus insertChannel(Image<const T> src, Image<T> dst, ZopImageSize size) {
  constexpr int n = Layout::channels;
  if constexpr (n == 1)
    return copyPixels<C1>(src, dst, size);
  else
    return movePixels<1, n>(src, dst, size, copyTable().template of<BitsOf<T>>().insert[n]);
}

}  // namespace zopi
