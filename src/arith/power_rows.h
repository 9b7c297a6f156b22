// Rows of squares and square roots. Square roots assume rounding to nearest.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

// What becomes of a square t:
//   Cut    t / 2^shift for a shift up to 3, where cutting off is rounding to nearest, ties to even
//   Round  t / 2^shift to nearest, ties to even, for a larger shift
//   Lift   t * 2^shift
// and each saturates at the end.
enum SquareRoute { kCutSquare, kRoundSquare, kLiftSquare, kSquareRoutes };

// Roots are multiplied by `scale`, a power of two; *metNegative becomes true if a sample is negative.
template <class T>
struct PowerRows {
  UnaryRow<T, int> square[kSquareRoutes];    // the parameter is the shift
  UnaryRow<T, double, bool*> rootInFloats;   // exact for scales up to kFloatRootScale
  UnaryRow<T, double, bool*> rootInDoubles;  // exact
};
inline constexpr double kFloatRootScale = 8.0;

struct PowerTable : RowTable<PowerRows, Zop8u, Zop16u, Zop16s> {
  UnaryRow<Zop32f> squareOfNumbers;
  UnaryRow<Zop32f, bool*> rootOfNumbers;
};

// The rows for this machine.
const PowerTable& powerTable();

}  // namespace zopi
