// Rows of quotients. They assume rounding to nearest.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

// The first operand is the divisor, and *metZero becomes true if one of its samples is zero. Quotients of
// integers are multiplied by `scale`, a power of two.
template <class T>
struct DivideRows {
  BinaryRow<T, double, bool*> inFloats;   // exact for 8u, and for 16s up to a scale of 2^7
  BinaryRow<T, double, bool*> inDoubles;  // exact; 8u does not need it
  // Products of samples and constants, for quotients that are defined by a reciprocal.
  void (*byFactor)(const Pattern<double>& factors, Image<const T> a, Image<T> out, Extent e);
};

struct DivideTable : RowTable<DivideRows, Zop8u, Zop16s> {
  BinaryRow<Zop16s, double, bool*> complex16s;
  BinaryRow<Zop32s, double, bool*> complex32s;
  BinaryRow<Zop32f, bool*> numbers, complexNumbers;
};

// The rows for this machine.
const DivideTable& divideTable();

}  // namespace zopi
