// Rows whose channels change places. Samples are bits here: one table serves all types of a size.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

// Channel k of the destination is channel order[k] of the source. The images are bytes, and the extent counts
// them. Source and destination do not overlap.
using SwapRow = void (*)(const std::int32_t* order, Image<const std::uint8_t> src, Image<std::uint8_t> dst,
                         Extent e);

template <class T>
struct SwapRows {
  SwapRow pixels;   // of three samples
  SwapRow colours;  // of four samples, the last of which keeps its value
};

using SwapTable = RowTable<SwapRows, std::uint8_t, std::uint16_t, std::uint32_t>;

// The rows for this machine.
const SwapTable& swapTable();

}  // namespace zopi
