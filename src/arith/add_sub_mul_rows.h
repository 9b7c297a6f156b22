// Rows of scaled sums, differences and products.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

enum ScaledOperation { kAdd, kSub, kMul, kMulComplex, kScaledOperations };

// The steps of the scale ladder that a row can take, with t the exact result:
//   Saturate  t                          Round     t / 2^shift to nearest, ties to even (shift >= 2)
//   Halve     t / 2, ties to even        Lift      t * 2^shift
//   Truncate  t / 2^shift toward zero
// and each saturates at the end.
enum ScaleRoute { kSaturate, kHalve, kRound, kLift, kTruncate, kScaleRoutes };

// A difference is b - a. What no plan asks for is null: complex and truncated 8u, real products of 32s.
template <class T>
struct ScaledRows {
  BinaryRow<T, int> rows[kScaledOperations][kScaleRoutes];  // the parameter is the shift
};

using ScaledTable = RowTable<ScaledRows, Zop8u, Zop16s, Zop32s>;

// The rows for this machine.
const ScaledTable& scaledTable();

}  // namespace zopi
