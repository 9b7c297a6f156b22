// Rows of the minimum and the maximum over a rectangle.
#pragma once

#include <cstddef>

#include "core/row_table.h"
#include "filter/stencil.h"
#include "filter/window_shape.h"

namespace zopi {

template <class T>
struct ExtremumRows {
  // Over 3x3, 5x5 and 7x7, around each sample. They need no scratch.
  StencilRows<T, T> squares[3];

  // Over any rectangle: `window` is the upper left sample of the first window. The scratch for so many rows
  // has no alignment.
  std::ptrdiff_t (*scratchBytes)(const WindowShape& shape, int rows);
  void (*band)(const WindowShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows);
};

struct ExtremumTable {
  RowTable<ExtremumRows, Zop8u, Zop16s, Zop32f> minimum, maximum;
};

// The rows for this machine.
const ExtremumTable& extremumTable();

}  // namespace zopi
