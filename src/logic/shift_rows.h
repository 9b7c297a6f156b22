// Rows of shifts.
#pragma once

#include "core/pixelwise.h"
#include "core/row_table.h"

namespace zopi {

enum ShiftDirection { kLeft, kRight, kShiftDirections };

// What happens to one channel of a pixel: a count below the sample's width, and all ones in the samples that
// take its outcome. A channel whose bits are all lost has none.
template <class T>
struct ChannelShift {
  int count;
  Pattern<T> samples;
};

// The rows of one direction. A count for all samples is below their width. The shifts of the channels stand
// in an array; its index is the number of channels. The last takes samples of four-channel pixels.
template <class T>
struct ShiftRow {
  UnaryRow<T, int> alike;
  void (*byChannel[5])(Image<const T> src, Image<T> dst, Extent e, const ChannelShift<T>* channels);
  void (*byChannelKeepingAlpha)(Image<const T> src, Image<T> dst, Extent e, const ChannelShift<T>* channels);
};

// Signed samples of 8 and 16 bits go right only.
template <class T>
struct ShiftRows {
  ShiftRow<T> rows[kShiftDirections];
};

using ShiftTable = RowTable<ShiftRows, Zop8u, Zop8s, Zop16u, Zop16s, Zop32s>;

// The rows for this machine.
const ShiftTable& shiftTable();

}  // namespace zopi
