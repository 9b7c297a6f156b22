// Rows of alpha composition.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

inline constexpr int kAlphaTypes = 12;

// The rows of one operation. Any of them may write over a source.
template <class T>
struct ComposeRow {
  // Four-channel pixels, their alpha included.
  void (*pixels)(Image<const T> a, Image<const T> b, Image<T> out, Extent e);
  // A plane of colours with the planes of their alpha, and the planes of alpha themselves.
  void (*colours)(Image<const T> a, Image<const T> alphaA, Image<const T> b, Image<const T> alphaB,
                  Image<T> out, Extent e);
  void (*alphas)(Image<const T> alphaA, Image<const T> alphaB, Image<T> out, Extent e);
  // Colours with one alpha for each image, four-channel pixels likewise, and the alpha that the two make.
  void (*coloursByConstants)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, T alphaA, T alphaB);
  void (*pixelsByConstants)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, T alphaA, T alphaB);
  T (*alphaOfConstants)(T alphaA, T alphaB);
};

template <class T>
struct ComposeRows {
  ComposeRow<T> rows[kAlphaTypes];
};

using ComposeTable = RowTable<ComposeRows, Zop8u, Zop16u>;

// The rows for this machine.
const ComposeTable& composeTable();

}  // namespace zopi
