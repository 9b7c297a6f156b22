// Rows that map the range of one sample type onto that of another.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct FromBytesRows {
  ConversionRow<Zop8u, T> row;
};

template <class S>
struct ToBytesRows {
  ConversionRow<S, Zop8u> fast, accurate;
};

// Samples become sample * factor + offset. What becomes a byte is rounded and saturated, under the assumption
// that the mode of the vector unit is to nearest.
struct ScaleTable {
  RowTable<FromBytesRows, Zop16u, Zop16s, Zop32s> fromBytes;
  RowTable<ToBytesRows, Zop16u, Zop16s, Zop32s> toBytes;
  ConversionRow<Zop8u, Zop32f, double, double> bytesToNumbers;
  ConversionRow<Zop32f, Zop8u, double, double> numbersToBytes;
};

// The rows for this machine.
const ScaleTable& scaleTable();

}  // namespace zopi
