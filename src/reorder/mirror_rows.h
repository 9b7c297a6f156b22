// Rows in reverse. Pixels are bytes here: one function serves all layouts whose pixels have as many.
#pragma once

#include <cstdint>

#include "core/image.h"

namespace zopi {

// The last pixel of a source row becomes the first of the destination row. The extent counts bytes. Source
// and destination do not overlap.
using MirrorRow = void (*)(Image<const std::uint8_t> src, Image<std::uint8_t> dst, Extent e);

// By the bytes of a pixel.
struct MirrorTable {
  MirrorRow pixels[17];
  MirrorRow colours[17];  // of four samples, the last of which keeps its value
};

// The rows for this machine.
const MirrorTable& mirrorTable();

}  // namespace zopi
