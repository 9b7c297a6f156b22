// Rows of the mean over a rectangle.
//
// Above each window stand the sums of its columns. They slide down with the rows: the sample that enters is
// added, the one that leaves is taken away.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/row_table.h"
#include "filter/window_shape.h"

namespace zopi {

struct BoxShape : WindowShape {
  // The reciprocal of the area: for bytes (multiplier S) >> shift, for others as a factor.
  int multiplier, shift;
  float factor;

  std::ptrdiff_t columns() const { return samples() + reach(); }
};

// The scratch of a shape holds its column sums, of which there have been `slides` since they were built.
// `window` is the upper left sample of a window.
template <class T>
struct BoxRows {
  std::ptrdiff_t (*scratchBytes)(const BoxShape& shape);
  // Builds the column sums of the windows of one row.
  void (*sum)(const BoxShape& shape, void* scratch, Image<const T> window);
  // The means of these windows.
  void (*row)(const BoxShape& shape, void* scratch, int slides, T* out);
  // Slides down by a row.
  void (*slide)(const BoxShape& shape, void* scratch, int slides, Image<const T> window);
  // All of it for some rows. Reads no row below the last window.
  void (*band)(const BoxShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows);
};

struct BoxTable {
  BoxRows<Zop8u> bytes, manyBytes;   // of areas up to 257, and of any
  BoxRows<Zop16s> words, manyWords;  // of sums below 2^32, and of four channels and any area
  BoxRows<Zop32f> numbers;
  // The mean over 3x3 with a reciprocal of its own. Needs no scratch.
  void (*bytes3x3)(const BoxShape& shape, Image<const Zop8u> window, Image<Zop8u> out, int rows);
};

inline constexpr int kSmallBox = 257;

// The rows for this machine.
const BoxTable& boxTable();

}  // namespace zopi
