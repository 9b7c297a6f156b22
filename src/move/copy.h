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

// The samples of one channel, side by side: `from` is that of the first pixel. They may stand at any address.
template <class Layout, class T>
void gatherChannel(const T* from, T* to, std::ptrdiff_t pixels) {
  using Bits = BitsOf<T>;
  const auto* bits = reinterpret_cast<const Bits*>(from);
  if constexpr (Layout::channels == 1)
    std::memcpy(to, from, pixels * sizeof(T));
  else
    copyTable().template of<Bits>().extract[Layout::channels]({bits, 0}, {reinterpret_cast<Bits*>(to), 0},
                                                              {pixels, 1});
}

// What a form of this layout writes: whole pixels, or only their colours.
template <class Layout, class T>
ZopStatus copyWritten(Image<const T> src, Image<T> dst, ZopImageSize size) {
  if constexpr (Layout::colours < Layout::channels)
    return copyColours(src, dst, size);
  else
    return copyPixels<Layout>(src, dst, size);
}

}  // namespace zopi
