// Pixels at positions between pixels.
#pragma once

#include <cstdint>
#include <limits>

#include "core/image.h"
#include "core/row_table.h"
#include "geom/position_rows.h"
#include "zopi/geom.h"

namespace zopi {

// The image that pixels are taken from, of which nothing outside is read. Cubics of integers leave pixels
// alone whose coordinates, in single precision and as bits, are below or above these.
template <class T>
struct SampledImage {
  Image<const T> image;
  int width, height;
  std::int32_t lowest = std::numeric_limits<std::int32_t>::min();
  std::int32_t highestX = std::numeric_limits<std::int32_t>::max(), highestY = highestX;
};

// The pixels of a block of positions: for each row its first one, and how many there are.
template <class T>
struct Target {
  T* at[kMostRows];
  int counts[kMostRows];
};

// Cubics of integers make gaps of positions whose pixels they leave alone.
template <class T>
using Sample = void (*)(const SampledImage<T>& from, Positions& positions, const Target<T>& to);

// By the layout of pixels. Planes are images of one channel.
template <class T>
struct LayoutSamples {
  Sample<T> nearest, linear, cubic;

  Sample<T> by(int interpolation) const {
    return interpolation == zopInterNearest ? nearest : interpolation == zopInterLinear ? linear : cubic;
  }
};
template <class T>
struct SampleRows {
  LayoutSamples<T> c1, c3, c4, ac4;
};

using SampleTable = RowTable<SampleRows, Zop8u, Zop16u, Zop32f>;
const SampleTable& sampleTable();

}  // namespace zopi
