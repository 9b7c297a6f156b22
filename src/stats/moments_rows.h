// Sums over rows that moments are made of.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// Of one channel in one row, the sums of f, x f, x^2 f and x^3 f.
struct RowSums {
  double of[4];
};

// Rows of one channel, whose samples stand `stride` samples apart. The sums of a row are made in double
// precision from left to right.
template <class T>
struct MomentRows {
  void (*sums)(Image<const T> channel, int stride, Extent e, RowSums* sums);
};

using MomentTable = RowTable<MomentRows, Zop8u, Zop32f>;

// The rows for this machine.
const MomentTable& momentTable();

}  // namespace zopi
