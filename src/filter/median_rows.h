// Rows of the median filters.
#pragma once

#include <cstddef>

#include "core/row_table.h"
#include "filter/stencil.h"
#include "filter/window_shape.h"

namespace zopi {

// The median of some samples, each of which comes from an image of its own: the source, moved by the place of
// that sample.
template <class T>
using NeighbourFunction = void (*)(const Image<const T>* neighbours, Image<T> dst, Extent e);

template <class T>
struct NeighbourRows {
  NeighbourFunction<T> image, keeping;
};

template <class T>
struct MedianRows {
  NeighbourRows<T> of3, of5;
  NeighbourRows<T> ofCross;  // five from left to right, then the four above and below, from top to bottom
  StencilRows<T, T> of3x3, of5x5;
};
using MedianTable = RowTable<MedianRows, Zop8u, Zop16s>;

// Over any rectangle: `window` is the upper left sample of the first window.
template <class T>
struct RectangleMedianRows {
  std::ptrdiff_t (*scratchBytes)(const WindowShape& shape);  // 0 if none is needed
  void (*band)(const WindowShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows);
};
using RectangleMedianTable = RowTable<RectangleMedianRows, Zop8u, Zop16s>;

// The first three of `distance` samples make a pixel.
template <class T>
struct ColourMedianRows {
  void (*of3x3)(Image<const T> src, Image<T> dst, ZopImageSize size, int distance);
  void (*of5x5)(Image<const T> src, Image<T> dst, ZopImageSize size, int distance);
};
using ColourMedianTable = RowTable<ColourMedianRows, Zop8u, Zop16s, Zop32f>;

// The rows for this machine.
const MedianTable& medianTable();
const RectangleMedianTable& rectangleMedianTable();
const ColourMedianTable& colourMedianTable();

}  // namespace zopi
