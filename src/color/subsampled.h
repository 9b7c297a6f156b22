// Images whose chroma has fewer samples than their luma: how they are cut into parts of whole units, a unit
// being what shares a chroma sample, and how the images of a part are addressed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/pixel_images.h"

namespace zopi {

// Whether the blocks of 2 by 2 pixels are worth a team.
inline bool gateBlocks(ZopImageSize size) { return gateColour({size.width >> 1, size.height >> 1}); }

// A plane of luma and two of chroma.
template <class T>
struct LumaChroma {
  Image<T> y, u, v;
};

template <class T>
LumaChroma<T> lumaChroma(T* const* planes, const int* steps) {
  return {{planes[0], steps[0]}, {planes[1], steps[1]}, {planes[2], steps[2]}};
}
// The planes of an image without gaps: the chroma of an odd last column counts as a whole sample.
template <class T>
LumaChroma<T> lumaChroma(T* const* planes, ZopImageSize size) {
  const int half = size.width / 2 + size.width % 2;
  return {{planes[0], size.width}, {planes[1], half}, {planes[2], half}};
}

// Units of kRows by kColumns pixels: `units` of them, from chroma sample (u, v) and pixel (x, y) on.
template <int kRows, int kColumns>
struct Part {
  static constexpr int rows = kRows, columns = kColumns;
  std::ptrdiff_t u, v, x, y;
  Extent units;
};

// Cuts an image into units of kRows by 2 pixels; what is left over on the right, below and in the corner is
// cut into pairs and a single pixel. `f(part)`, in this order.
template <int kRows, class F>
void forParts(ZopImageSize size, const F& f) {
  const std::ptrdiff_t columns = size.width / 2, rows = size.height / kRows;
  const auto part = [&]<int R, int C>(std::ptrdiff_t u, std::ptrdiff_t v, std::ptrdiff_t width,
                                      std::ptrdiff_t height) {
    if (width > 0 && height > 0) f(Part<R, C>{u, v, 2 * u, kRows * v, {width, static_cast<int>(height)}});
  };
  part.template operator()<kRows, 2>(0, 0, columns, rows);
  part.template operator()<kRows, 1>(columns, 0, size.width % 2, rows);
  if constexpr (kRows == 2) {
    part.template operator()<1, 2>(0, rows, columns, size.height % 2);
    part.template operator()<1, 1>(columns, rows, size.width % 2, size.height % 2);
  }
}

// The rows of a part's units, each as an image of its own.
template <int kSamples, int R, int C, class T, int kUnit>
Image<T> rowOf(const Part<R, C>& part, Image<T, kUnit> image, int row) {
  return {image.row(part.y + row) + part.x * kSamples, R * image.step};
}
template <class Layout, int R, int C, class T>
auto imagesOf(const Part<R, C>& part, Image<T> image) {
  constexpr int kChannels = Layout::channels;
  if constexpr (R == 1)
    return Images<T, C * kChannels>{{rowOf<kChannels>(part, image, 0)}};
  else
    return Images<T, C * kChannels, C * kChannels>{
        {rowOf<kChannels>(part, image, 0), rowOf<kChannels>(part, image, 1)}};
}
template <class Layout, int R, int C, class T>
auto imagesOf(const Part<R, C>& part, Planes<T, 3> planes) {
  const auto plane = [&](int p, int row) { return rowOf<1>(part, planes.plane(p), row); };
  if constexpr (R == 1)
    return Images<T, C, C, C>{{plane(0, 0), plane(1, 0), plane(2, 0)}};
  else
    return Images<T, C, C, C, C, C, C>{
        {plane(0, 0), plane(1, 0), plane(2, 0), plane(0, 1), plane(1, 1), plane(2, 1)}};
}
template <int R, int C, class T>
auto imagesOf(const Part<R, C>& part, const LumaChroma<T>& image) {
  const Image<T> u = {image.u.row(part.v) + part.u, image.u.step},
                 v = {image.v.row(part.v) + part.u, image.v.step};
  if constexpr (R == 1)
    return Images<T, C, 1, 1>{{rowOf<1>(part, image.y, 0), u, v}};
  else
    return Images<T, C, C, 1, 1>{{rowOf<1>(part, image.y, 0), rowOf<1>(part, image.y, 1), u, v}};
}

// Y0 U Y1 V: the pairs of all rows, and what there is of a last odd pixel, Y and U.
template <class T>
Images<T, 4> pairsOf(Image<T> image) {
  return {{image}};
}
template <class T>
Images<T, 1, 1, 1> oddPixelOf(Image<T> image, std::ptrdiff_t pairs, Image<T> v) {
  const Image<T> pixel = {image.at + 4 * pairs, image.step};
  return {{pixel, {pixel.at + 1, pixel.step}, v}};
}

}  // namespace zopi
