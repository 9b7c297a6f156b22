// Rows of logarithms and exponentials. They assume rounding to nearest.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"
#include "zopi/status.h"

namespace zopi {

// Results are multiplied by `scale`, a power of two. An exponential is that of a sample less `binades` times
// the logarithm of 2, which is how scales beyond the range of numbers are reached.
template <class T>
struct ExponentialRows {
  UnaryRow<T, double> logarithm;            // (scale)
  UnaryRow<T, double, double> exponential;  // (binades, scale)
};

template <class T>
struct LogarithmWarning {
  // The warning for the first of n samples that has no logarithm, or 0.
  ZopStatus (*first)(const T* samples, std::ptrdiff_t n);
};

struct ExponentialTable : RowTable<ExponentialRows, Zop8u, Zop16s> {
  UnaryRow<Zop32f> logarithmOfNumbers, exponentialOfNumbers;
  RowTable<LogarithmWarning, Zop8u, Zop16s, Zop32f> warnings;
};

// The rows for this machine.
const ExponentialTable& exponentialTable();

}  // namespace zopi
