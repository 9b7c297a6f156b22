// Rows of the filters with a kernel of the caller's.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// What becomes of a sum in integer lanes: it stays as it is; 1 is added and it is shifted, or 0 if it is
// below 1; or it is multiplied in double precision and rounded, to nearest or, in a way of its own, by adding
// one half and truncating. Then it is saturated.
enum class Division { kNone, kShift, kFactor, kFactorAndHalf };

// A kernel, turned so that its first tap meets the upper left sample of a window. A tap is a lane: a double,
// a pair of 16-bit weights of neighbouring columns, the left one in the low half, or a 32-bit weight.
struct Kernel {
  int width, height;
  const void* taps;  // width of them a row; of pairs half as many, rounded up
  Division division;
  int shift;
  double factor;
};

// How many taps a kernel has of which each holds `together` weights.
inline std::int64_t tapCount(ZopImageSize kernel, int together) {
  return ((std::int64_t{kernel.width} - 1) / together + 1) * kernel.height;
}

// The taps of a kernel whose weight i is `weight(i)`.
template <class Lane, int kTogether, class Weight>
void turn(ZopImageSize kernel, const Weight& weight, Lane* tap) {
  std::int64_t next = std::int64_t{kernel.width} * kernel.height - 1;
  for (int y = 0; y < kernel.height; ++y) {
    for (int x = 0; x < kernel.width; ++x, --next) {
      if constexpr (kTogether == 1)
        *tap++ = weight(next);
      else if (x % 2 == 0)
        *tap++ = weight(next) & 0xffff;
      else
        tap[-1] |= weight(next) << 16;
    }
  }
}

// `channels` samples make a pixel, of which `keepsAlpha` leaves the fourth alone. The extent counts samples.
struct PixelShape {
  int channels;
  bool keepsAlpha;
};

template <class T>
struct GeneralRows {
  // `window` is the upper left sample of the first window.
  using Band = void (*)(const Kernel& kernel, PixelShape shape, Image<const T> window, Image<T> out,
                        Extent e);
  Band doubles, pairs, words;  // by what a tap is; null where no plan asks for it
};

// The rows for this machine.
const RowTable<GeneralRows, Zop8u, Zop16s, Zop32f>& generalTable();

}  // namespace zopi
