// Rows of scaled images.
//
// Across, each sample of the destination is made of the samples around a column of the source (its taps), and
// down of the rows that have been made so.
#pragma once

#include <cstddef>

#include "core/image.h"
#include "core/row_table.h"
#include "zopi/geom.h"

namespace zopi {

struct ResizeCall {
  int width, height, channels;  // of the destination and of a pixel
  bool keepsAlpha;              // of every four samples the last is left alone
  // Where the rows of the whole image begin and end, in samples from the region's first.
  std::ptrdiff_t rowBegin, rowEnd;
  // For each column and row of the destination that of the source, counted from the region's first; columns
  // in samples.
  const int *columns, *rows;
  // Linear: the weight of the second tap, of integers in 14 bits. Cubic: the position from the second tap on.
  const float *xWeights, *yWeights;

  std::ptrdiff_t samples() const { return static_cast<std::ptrdiff_t>(width) * channels; }
};

// Scales some images, all with the same tables. An image starts at its region's first sample.
template <class T>
using ResizeImages = void (*)(const ResizeCall& call, unsigned char* scratch, const Image<const T>* from,
                              const Image<T>* to, int images);
template <class T>
struct ResizeRows {
  ResizeImages<T> nearest, linear, cubic;
};

// The scratch that they need for tables and rows of their own.
std::ptrdiff_t resizeScratchBytes(std::ptrdiff_t samples, int interpolation);

using ResizeTable = RowTable<ResizeRows, Zop8u, Zop16u, Zop32f>;
const ResizeTable& resizeTable();

}  // namespace zopi
