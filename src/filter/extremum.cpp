// Minimum and maximum over a rectangle.
#include "filter/extremum_rows.h"
#include "filter/window.h"
#include "filter/window_shape.h"
#include "move/copy.h"
#include "zopi/status.h"

namespace zopi {
namespace {

enum Extremum { kFilterMin, kFilterMax };

template <class Layout, class T>
ZopStatus extremum(Extremum extremum, Image<const T> src, Image<T> dst, ZopImageSize size, ZopImageSize mask,
                   ZopImagePoint anchor) {
  if (mask.width == 1 && mask.height == 1) {
    return copyWritten<Layout>(src, dst, size);
  }
  const ExtremumTable& table = extremumTable();
  const ExtremumRows<T>& rows = (extremum == kFilterMin ? table.minimum : table.maximum).template of<T>();
  const Image<const T> window = windowOf<Layout>(src, anchor);
  if (mask.width == mask.height && mask.width % 2 == 1 && mask.width <= 7) {
    const int radius = mask.width / 2;
    const Image<const T> middle = {window.row(radius) + radius * Layout::channels, window.step};
    mapStencil<Layout>(rows.squares[radius - 1], middle, dst, size);
    return zopStatusOk;
  }
  const WindowShape shape = windowShape<Layout>(size, mask);
  const Scratch scratch = newScratch(rows.scratchBytes(shape, size.height));
  if (scratch == nullptr) return zopStatusNoMemory;
  rows.band(shape, scratch.get(), window, dst, size.height);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "filter/extremum.exports.inc"
