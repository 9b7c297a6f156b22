// Rows of smallest and largest samples.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// For images of 1, 3 or 4 channels: `low` and `high` hold a pixel, and become the smallest and largest
// samples of each channel, that pixel included. What is not a number replaces nothing, and nothing replaces
// it. `firstOf` is the index of the first sample that equals a value which is there.
template <class T>
struct ExtremaRows {
  void (*of[5])(Image<const T> a, Extent samples, T* low, T* high);
  std::ptrdiff_t (*firstOf[5])(const T* samples, std::ptrdiff_t n, int channel, T value);
};

using ExtremaTable = RowTable<ExtremaRows, Zop8u, Zop16s, Zop32f>;

// The rows for this machine.
const ExtremaTable& extremaTable();

}  // namespace zopi
