// Rows of 4:2:2 pixels and planes.
#pragma once

#include "core/image.h"

namespace zopi {

// Extents count pairs of pixels: two samples of the first plane, one of each other, four interleaved.
struct JoinSplitTable {
  void (*join)(const Image<const Zop8u>* planes, Image<Zop8u> dst, Extent pairs);
  void (*split)(Image<const Zop8u> src, const Image<Zop8u>* planes, Extent pairs);
};

// The rows for this machine.
const JoinSplitTable& joinSplitTable();

}  // namespace zopi
