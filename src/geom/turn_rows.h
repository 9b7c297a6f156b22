// Quarter turns: rows become columns. Pixels are bytes here: one function serves all layouts whose pixels
// have as many.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "zopi/types.h"

namespace zopi {

// Pixel (x, y) of the destination becomes pixel (y, x) of the source: of an image that is walked upwards, the
// step is negative. The size is the destination's. Source and destination do not overlap.
using TurnRows = void (*)(Image<const std::uint8_t> src, Image<std::uint8_t> dst, ZopImageSize size);

// By the bytes of a pixel.
struct TurnTable {
  TurnRows pixels[17];
  TurnRows colours[17];  // of four samples, the last of which keeps its value
};

const TurnTable& turnTable();

}  // namespace zopi
