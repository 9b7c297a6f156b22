// Rows of bitwise operations.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct BitwiseRows {
  BinaryRow<T> bitAnd, bitOr, bitXor;
};

struct BitwiseTable : RowTable<BitwiseRows, Zop8u, Zop16u, Zop32s> {
  UnaryRow<Zop8u> inverted;
  UnaryRow<Zop32s> signAndMagnitude;
};

// The rows for this machine.
const BitwiseTable& bitwiseTable();

}  // namespace zopi
