// Medians: which rows find the median of a mask.
#include <type_traits>
#include <utility>

#include "core/walk.h"
#include "filter/median_rows.h"
#include "filter/window.h"
#include "move/copy.h"

namespace zopi {
namespace {

ZopStatus checkRowCode(int maskCode) {
  return maskCode == 31 || maskCode == 51 ? zopStatusOk : zopStatusBadMaskSize;
}
ZopStatus checkColumnCode(int maskCode) {
  return maskCode == 13 || maskCode == 15 ? zopStatusOk : zopStatusBadMaskSize;
}
ZopStatus checkMaskCode(int maskCode) {
  return maskCode == 33 || maskCode == 55 ? zopStatusOk : zopStatusBadMaskSize;
}
ZopStatus checkOddMask(ZopImageSize mask) {
  const bool odd = mask.width % 2 == 1 && mask.height % 2 == 1;  // of negative sizes the rest is negative
  return odd ? zopStatusOk : zopStatusBadMaskSize;
}

// The source, moved so that the pixel `dx` columns and `dy` rows away lies at its start.
template <class Layout, class T>
Image<const T> moved(Image<const T> src, std::ptrdiff_t dx, std::ptrdiff_t dy) {
  return {src.row(dy) + dx * Layout::channels, src.step};
}

template <class Layout, class T>
ZopStatus medianOf(const NeighbourRows<T>& rows, const Image<const T>* neighbours, Image<T> dst,
                   ZopImageSize size) {
  constexpr bool keeps = Layout::colours < Layout::channels;
  Extent e = extent(size, Layout::channels);
  e.stream = !keeps && walk::streams(e, neighbours[0], dst);
  (keeps ? rows.keeping : rows.image)(neighbours, dst, e);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus medianOfRow(Image<const T> src, Image<T> dst, ZopImageSize size, int length) {
  const auto at = [&](int dx) { return moved<Layout>(src, dx, 0); };
  const MedianRows<T>& rows = medianTable().of<T>();
  if (length == 3) {
    const Image<const T> three[] = {at(-1), at(0), at(1)};
    return medianOf<Layout>(rows.of3, three, dst, size);
  }
  const Image<const T> five[] = {at(-2), at(-1), at(0), at(1), at(2)};
  return medianOf<Layout>(rows.of5, five, dst, size);
}

template <class Layout, class T>
ZopStatus medianOfColumn(Image<const T> src, Image<T> dst, ZopImageSize size, int length) {
  const MedianRows<T>& rows = medianTable().of<T>();
  if (length == 3) {
    const Image<const T> three[] = {src.from(-1), src, src.from(1)};
    return medianOf<Layout>(rows.of3, three, dst, size);
  }
  const Image<const T> five[] = {src.from(-2), src.from(-1), src, src.from(1), src.from(2)};
  return medianOf<Layout>(rows.of5, five, dst, size);
}

template <class Layout, class T>
ZopStatus medianOfCross(Image<const T> src, Image<T> dst, ZopImageSize size, int length) {
  const auto at = [&](int dx) { return moved<Layout>(src, dx, 0); };
  const MedianRows<T>& rows = medianTable().of<T>();
  if (length == 3) {
    const Image<const T> five[] = {at(-1), src, at(1), src.from(-1), src.from(1)};
    return medianOf<Layout>(rows.of5, five, dst, size);
  }
  const Image<const T> nine[] = {at(-2),       at(-1),       src,         at(1),      at(2),
                                 src.from(-2), src.from(-1), src.from(1), src.from(2)};
  return medianOf<Layout>(rows.ofCross, nine, dst, size);
}

// Bytes of four channels are shared by a team: each thread takes an equal band, and the last what is left.
template <class Layout, class T>
ZopStatus medianOfSquare(const StencilRows<T, T>& rows, Image<const T> src, Image<T> dst, ZopImageSize size) {
  const bool parallel = std::is_same_v<T, Zop8u> && Layout::channels == 4 && size.width * size.height >= 4096;
  if (parallel) {
    walkBands(size.height, [&](int begin, int end) {
      if (begin == end) return;
      mapStencil<Layout>(rows, src.from(begin), dst.from(begin), ZopImageSize{size.width, end - begin});
    });
  } else {
    mapStencil<Layout>(rows, src, dst, size);
  }
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus median(Image<const T> src, Image<T> dst, ZopImageSize size, ZopImageSize mask,
                 ZopImagePoint anchor) {
  // An anchor beside the middle is another source.
  const auto centre = moved<Layout>(src, mask.width / 2 - anchor.x, mask.height / 2 - anchor.y);
  const bool few = mask.width <= 5 && mask.height <= 5;
  if (few && mask.width == mask.height) {
    if (mask.width > 1) {
      const MedianRows<T>& rows = medianTable().of<T>();
      return medianOfSquare<Layout>(mask.width == 3 ? rows.of3x3 : rows.of5x5, centre, dst, size);
    }
    return copyWritten<Layout>(src, dst, size);
  }
  if (few && mask.height == 1) return medianOfRow<Layout>(centre, dst, size, mask.width);
  if (few && mask.width == 1) return medianOfColumn<Layout>(centre, dst, size, mask.height);

  const RectangleMedianRows<T>& rows = rectangleMedianTable().of<T>();
  const WindowShape shape = windowShape<Layout>(size, mask);
  const std::ptrdiff_t bytes = rows.scratchBytes(shape);
  const Scratch scratch = bytes > 0 ? newScratch(bytes) : nullptr;
  if (bytes > 0 && scratch == nullptr) return zopStatusNoMemory;
  rows.band(shape, scratch.get(), windowOf<Layout>(src, anchor), dst, size.height);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus medianOfColours(Image<const T> src, Image<T> dst, ZopImageSize size, int length) {
  const ColourMedianRows<T>& rows = colourMedianTable().of<T>();
  (length == 3 ? rows.of3x3 : rows.of5x5)(src, dst, size, Layout::channels);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "filter/median.exports.inc"
