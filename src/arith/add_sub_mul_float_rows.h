// Rows of sums, differences and products of numbers.
#pragma once

#include "core/pixelwise.h"

namespace zopi {

// A difference is b - a. Complex products take rows of real and imaginary parts in turn.
struct FloatTable {
  BinaryRow<Zop32f> add, subtract, multiply, multiplyComplex;
};

// The rows for this machine.
const FloatTable& floatTable();

}  // namespace zopi
