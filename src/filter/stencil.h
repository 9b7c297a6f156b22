// The rows of a filter: what makes a pixel of the pixels around it.
#pragma once

#include "core/image.h"
#include "core/walk.h"

namespace zopi {

// The extent counts samples, of which `distance` make a pixel. The halo of the source is read around them.
template <class S, class T>
using StencilFunction = void (*)(Image<const S> src, Image<T> dst, Extent e, int distance);

// `keeping` leaves every fourth sample alone. What no plan asks for is null.
template <class S, class T>
struct StencilRows {
  StencilFunction<S, T> image, keeping;
};

template <class Layout, class S, class T>
void mapStencil(const StencilRows<S, T>& rows, Image<const S> src, Image<T> dst, ZopImageSize size) {
  constexpr bool keeps = Layout::colours < Layout::channels;
  walkNeighbours(
      false, extent(size, Layout::channels),
      [&](Image<const S> from, Image<T> to, Extent e) {
        (keeps ? rows.keeping : rows.image)(from, to, keeps ? unstreamed(e) : e, Layout::channels);
      },
      src, dst);
}

}  // namespace zopi
