// Windows of filters whose mask the caller sizes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "core/image.h"
#include "core/memory.h"
#include "zopi/status.h"

namespace zopi {

inline std::int64_t areaOf(ZopImageSize mask) { return std::int64_t{mask.width} * mask.height; }

inline ZopStatus checkMaskSize(ZopImageSize mask) {
  return mask.width < 1 || mask.height < 1 ? zopStatusBadMaskSize : zopStatusOk;
}

inline ZopStatus checkAnchor(ZopImageSize mask, ZopImagePoint anchor) {
  const bool outside = anchor.x < 0 || anchor.y < 0 || anchor.x >= mask.width || anchor.y >= mask.height;
  return outside ? zopStatusBadAnchor : zopStatusOk;
}

// The upper left sample of the window of a region's first pixel.
template <class Layout, class T>
Image<const T> windowOf(Image<const T> src, ZopImagePoint anchor) {
  return {src.row(-std::ptrdiff_t{anchor.y}) - std::ptrdiff_t{anchor.x} * Layout::channels, src.step};
}

// Working memory of a call: null if there is none.
struct ReleaseScratch {
  void operator()(unsigned char* scratch) const { zopFreeAligned(scratch); }
};
using Scratch = std::unique_ptr<unsigned char, ReleaseScratch>;
inline Scratch newScratch(std::ptrdiff_t bytes) {
  return Scratch(bytes <= INT32_MAX ? static_cast<unsigned char*>(zopAllocBytes(static_cast<int>(bytes)))
                                    : nullptr);
}

}  // namespace zopi
