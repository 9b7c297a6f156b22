// Cosine transforms of blocks of 8x8.
#pragma once

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

inline constexpr int kDctSide = 8, kDctBlock = kDctSide * kDctSide;

// What samples become after an inverse transform: a sum that wraps, held to 0 ... 255, then to these.
struct DctClip {
  Zop16s added;
  Zop8u down, up;
};

// In place is fine.
struct DctTable {
  void (*forward)(Image<const Zop16s> src, Image<Zop16s> dst);
  void (*forwardBytes)(Image<const Zop8u> src, Zop16s added, Image<Zop16s> dst);
  void (*inverse)(Image<const Zop16s> src, Image<Zop16s> dst);
  void (*inverseToBytes)(Image<const Zop16s> src, Image<Zop8u> dst, DctClip clip);
  void (*forwardNumbers)(const Zop32f* src, Zop32f* dst);
  void (*inverseNumbers)(const Zop32f* src, Zop32f* dst);
};

// The functions for this machine.
const DctTable& dctTable();

}  // namespace zopi
