// Rows from luma and chroma to RGB.
#pragma once

#include "color/luma_chroma.h"
#include "core/pixel_images.h"

namespace zopi {

// The unit of a walk is what shares a chroma sample. Planar sources have the rows of luma of such a unit,
// then one plane of U and one of V; destinations have as many rows, planes row by row.
template <class T, class... P>
struct FromPlanarRows {
  using Rows = PixelRows<Zop8u, T, const FromLumaChroma&, P...>;
  Rows ofSize[2][2];  // by the rows and the columns of the unit, less 1
};

struct FromLumaChromaTable {
  using Rows = FromPlanarRows<Zop8u>::Rows;
  using PackedRows = FromPlanarRows<Zop16u, const Packing&>::Rows;

  Rows c3, ac4;                                                  // pixel by pixel, to the same layout
  FromPlanarRows<Zop8u> planesToC3, planesToC4, planesToPlanes;  // C4 has an alpha of 0
  Rows fourfoldToC3;                                             // four pixels of a row share chroma
  Rows pairsToC3, pairsToPlanes;                                 // from Y0 U Y1 V

  PackedRows c3ToPacked, pairsToPacked;
  FromPlanarRows<Zop16u, const Packing&> planesToPacked;
};

// The rows for this machine.
const FromLumaChromaTable& fromLumaChromaTable();

}  // namespace zopi
