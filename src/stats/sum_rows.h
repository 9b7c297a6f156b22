// Rows of sums.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// Adds the samples of each of 1, 3 or 4 channels to `sums`, which are whole numbers for integers. Rows of
// numbers in single precision keep the order of their additions: the columns of a row one after the other,
// and of one channel the even and the odd columns apart, as sums[0] and sums[1].
template <class T>
struct SumRows {
  using Sum = std::int64_t;
  void (*of[5])(Image<const T> a, Extent samples, Sum* sums);
};
template <>
struct SumRows<Zop32f> {
  using Sum = double;
  void (*of[5])(Image<const Zop32f> a, Extent samples, Sum* sums);
};

using SumTable = RowTable<SumRows, Zop8u, Zop16s, Zop32f>;

// The rows for this machine.
const SumTable& sumTable();

}  // namespace zopi
