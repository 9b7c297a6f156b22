// Rows of magnitudes.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct AbsRows {
  void (*row)(Image<const T> src, Image<T> dst, Extent e);  // dst may be src
};

using AbsTable = RowTable<AbsRows, Zop16s, Zop32f>;

// The rows for this machine.
const AbsTable& absTable();

}  // namespace zopi
