// Rows within their borders. Pixels are bytes here: one function serves all layouts whose pixels have as
// many.
#pragma once

#include <cstddef>
#include <cstdint>

#include "core/image.h"

namespace zopi {

// Bytes of border on either side of a row.
struct Sides {
  std::ptrdiff_t left, right;
};

// Copies rows of `e.length` bytes to where they stand in the destination, between two borders. Each border is
// filled with the pixel, or with the nearest pixel of the row where that is null. The image `dst` begins with
// the left border.
using BorderRow = void (*)(const std::uint8_t* pixel, Image<const std::uint8_t> src, Image<std::uint8_t> dst,
                           Extent e, Sides sides);

struct BorderTable {
  BorderRow ofPixel[17];  // by the bytes of a pixel
};

// The rows for this machine.
const BorderTable& borderTable();

}  // namespace zopi
