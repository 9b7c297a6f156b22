// Rows of weighted sums of three channels. They assume rounding to nearest.
#pragma once

#include <type_traits>

#include "core/pixel_images.h"
#include "core/row_table.h"

namespace zopi {

// A weight of bytes is 64 * high + low, with low below 64, in 4096ths and modulo 2^20: no more of it shows.
struct ByteWeights {
  Zop16u high[3], low[3];
};

struct NumberWeights {
  double of[3];
};

template <class T>
using GrayWeights = std::conditional_t<std::is_same_v<T, Zop8u>, ByteWeights, NumberWeights>;

template <class T>
struct GrayRows {
  PixelRows<T, T, GrayWeights<T>> fromC3, fromAC4;
};

struct GrayTable : RowTable<GrayRows, Zop8u, Zop16u, Zop16s, Zop32f> {
  PixelRows<Zop8u, Zop8u> lumaFromC3, lumaFromAC4;  // of bytes, with the weights 1225, 2404 and 467
};

// The rows for this machine.
const GrayTable& grayTable();

}  // namespace zopi
