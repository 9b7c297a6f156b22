// Rows of colours multiplied by alpha.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// Pixels have four channels. Where one alpha serves all of them, it becomes their alpha. Any row may write
// over its colours.
template <class T>
struct PremultiplyRows {
  void (*pixels)(Image<const T> src, Image<T> dst, Extent e);
  void (*colours)(Image<const T> src, Image<const T> alpha, Image<T> dst, Extent e);
  void (*pixelsByConstant)(Image<const T> src, Image<T> dst, Extent e, T alpha);
  void (*coloursByConstant)(Image<const T> src, Image<T> dst, Extent e, T alpha);
};

using PremultiplyTable = RowTable<PremultiplyRows, Zop8u, Zop16u>;

// The rows for this machine.
const PremultiplyTable& premultiplyTable();

}  // namespace zopi
