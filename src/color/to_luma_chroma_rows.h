// Rows from RGB to luma and chroma.
#pragma once

#include "color/luma_chroma.h"
#include "core/pixel_images.h"

namespace zopi {

// The unit of a walk is what shares a chroma sample: a pixel, two pixels of a row, two of a column, or a
// block of two by two. `from` has the rows of such a unit, planes row by row; `to` has rows of luma, then one
// plane of U and one of V, where it is planar.
template <class Set>
struct ToLumaChromaRows {
  using Rows = PixelRows<Zop8u, Zop8u, const Set&>;

  struct Planar {
    Rows ofSize[2][2];  // by the rows and the columns of the unit, less 1
  };

  Rows c3, ac4;                   // pixel by pixel, to the same layout
  Rows c3ToPairs, planesToPairs;  // two pixels of a row to Y0 U Y1 V
  Planar c3ToPlanes, planesToPlanes;
};

struct ToLumaChromaTable {
  ToLumaChromaRows<ToYCbCr> yCbCr;
  ToLumaChromaRows<ToYuv> yuv;
};

// The rows for this machine.
const ToLumaChromaTable& toLumaChromaTable();

}  // namespace zopi
