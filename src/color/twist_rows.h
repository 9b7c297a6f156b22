// Rows of linear maps of the channels. They assume rounding to nearest.
#pragma once

#include "core/pixel_images.h"
#include "core/row_table.h"

namespace zopi {

// Rows of four: the factors of three channels and what is added, or the factors of four channels.
template <int kRows>
struct TwistOf {
  double at[kRows][4];
};

template <class T>
struct TwistRows {
  PixelRows<T, T, TwistOf<3>> ofC3, ofAC4, ofP3;
};

struct TwistTable : RowTable<TwistRows, Zop8u, Zop16u, Zop16s, Zop32f> {
  PixelRows<Zop32f, Zop32f, TwistOf<4>> numbersOfC4;
};

// The rows for this machine.
const TwistTable& twistTable();

}  // namespace zopi
