// An image of which a region is mapped, with the pixels around it that may be read, and checks of it.
#pragma once

#include "zopi/geom.h"
#include "zopi/status.h"
#include "zopi/types.h"

namespace zopi {

// `image` is an Image or Planes that starts at the first pixel of all, not at that of the region.
template <class I>
struct Whole {
  I image;
  ZopImageSize size;
  ZopImageRect region;
};

template <class I>
Whole<I> whole(I image, ZopImageSize size, ZopImageRect region) {
  return {image, size, region};
}

inline ZopStatus checkRegion(ZopImageRect region) {
  const bool bad = region.x < 0 || region.y < 0 || region.width < 1 || region.height < 1;
  return bad ? zopStatusBadSize : zopStatusOk;
}

// A region may hang over its image, but not lie beyond it.
inline ZopStatus checkMeets(ZopImageSize size, ZopImageRect region) {
  return size.width <= region.x || size.height <= region.y ? zopStatusNoOperation : zopStatusOk;
}

// The part of a region that lies in its image.
inline ZopImageSize clipped(ZopImageSize size, ZopImageRect region) {
  const int right = size.width - region.x, below = size.height - region.y;
  return {region.width < right ? region.width : right, region.height < below ? region.height : below};
}

// An image that is too small for an interpolation gets the next simpler one.
inline int served(int interpolation, ZopImageSize image) {
  const int side = image.width < image.height ? image.width : image.height;
  if (side < 2) return zopInterNearest;
  return side < 4 && interpolation == zopInterCubic ? zopInterLinear : interpolation;
}

}  // namespace zopi
