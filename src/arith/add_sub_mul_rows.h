// Rows of scaled sums, differences and products.
#pragma once

#include "core/image.h"
#include "core/pattern.h"
#include "core/row_table.h"

namespace zopi {

enum ScaledOperation { kAdd, kSub, kMul, kMulComplex, kScaledOperations };

// The steps of the scale ladder that a row can take, with t the exact result:
//   Saturate  t                          Round     t / 2^shift to nearest, ties to even (shift >= 2)
//   Halve     t / 2, ties to even        Lift      t * 2^shift
//   Truncate  t / 2^shift toward zero
// and each saturates at the end.
enum ScaleRoute { kSaturate, kHalve, kRound, kLift, kTruncate, kScaleRoutes };

// The rows of one operation and route. The written samples of the keeping ones are all ones, those that keep
// their values are 0. A difference is b - a. Complex products take rows of real and imaginary parts in turn.
template <class T>
struct ScaledRow {
  void (*image)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, int shift);
  void (*imageKeeping)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, int shift,
                       const Pattern<T>& written);
  void (*constant)(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, int shift);
  void (*constantKeeping)(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, int shift,
                          const Pattern<T>& written);
};

// What no plan asks for is null: complex and truncated 8u, real products of 32s.
template <class T>
struct ScaledRows {
  ScaledRow<T> rows[kScaledOperations][kScaleRoutes];
};

using ScaledTable = RowTable<ScaledRows, Zop8u, Zop16s, Zop32s>;

// The rows for this machine.
const ScaledTable& scaledTable();

}  // namespace zopi
