// What the rows of filters over rectangles know of a call.
#pragma once

#include <cstddef>

#include "core/image.h"

namespace zopi {

struct WindowShape {
  int width, channels;  // of the region, in pixels, and of a pixel
  int maskWidth, maskHeight;
  bool keepsAlpha;  // of every four samples the last is left alone

  std::ptrdiff_t samples() const { return static_cast<std::ptrdiff_t>(width) * channels; }
  // From a window's first sample to its last in a row.
  std::ptrdiff_t reach() const { return (static_cast<std::ptrdiff_t>(maskWidth) - 1) * channels; }
  std::ptrdiff_t area() const { return static_cast<std::ptrdiff_t>(maskWidth) * maskHeight; }
};

template <class Layout>
WindowShape windowShape(ZopImageSize size, ZopImageSize mask) {
  return {size.width, Layout::channels, mask.width, mask.height, Layout::colours < Layout::channels};
}

}  // namespace zopi
