// Rows of products of fractions of full scale.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct MulScaleRows {
  BinaryRow<T> multiply;
};

using MulScaleTable = RowTable<MulScaleRows, Zop8u, Zop16u>;

// The rows for this machine.
const MulScaleTable& mulScaleTable();

}  // namespace zopi
