// Rows of scaled sums, differences and products.
#pragma once

#include "core/image.h"
#include "core/pattern.h"

namespace zopi {

enum ScaledOperation { kAdd, kSub, kMul, kMulComplex, kScaledOperations };

// The steps of the scale ladder that a row can take, with t the exact result:
//   Saturate  t                          Round     t / 2^shift to nearest, ties to even (shift >= 2)
//   Halve     t / 2, ties to even        Lift      t * 2^shift
//   Truncate  t / 2^shift toward zero
// and each saturates at the end.
enum ScaleRoute { kSaturate, kHalve, kRound, kLift, kTruncate, kScaleRoutes };

// The rows of one operation and route. The written samples of the keeping ones are all ones, those that keep
// their values are 0.
template <class T>
struct ScaledRows {
  void (*image)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, int shift);
  void (*imageKeeping)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, int shift,
                       const Pattern<T>& written);
  void (*constant)(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, int shift);
  void (*constantKeeping)(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, int shift,
                          const Pattern<T>& written);
};

template <class T>
struct ScaledTable {
  ScaledRows<T> rows[kScaledOperations][kScaleRoutes];
};

// The rows for this machine. A difference is b - a. Complex products take rows of real and imaginary parts in
// turn. What a table does not serve is null: complex and truncated 8u, real products of 32s.
template <class T>
const ScaledTable<T>& scaledTable();

}  // namespace zopi
