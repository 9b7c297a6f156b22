// Rows of gamma curves. They assume rounding to nearest.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

// The two directions.
struct GammaFwd {};
struct GammaInv {};

template <class Direction>
struct GammaRows {
  UnaryRow<Zop16u> words;
  // The parameters are the number that stands for 0, how much stands for 1, and the reciprocal of that.
  UnaryRow<Zop32f, double, double, double> numbers;
};

using GammaTable = RowTable<GammaRows, GammaFwd, GammaInv>;

// The rows for this machine.
const GammaTable& gammaTable();

}  // namespace zopi
