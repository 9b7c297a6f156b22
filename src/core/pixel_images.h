// Several images that a walk goes through together: the planes of a layout, or the rows of a block.
#pragma once

#include <cstddef>
#include <utility>

#include "core/image.h"
#include "core/walk.h"

namespace zopi {

// Image i has kUnit[i] samples for each unit of a walk's length.
template <class T, int... kUnit>
struct Images {
  static constexpr int kCount = sizeof...(kUnit);
  Image<T> at[kCount];
};

// The images of an interleaved and of a planar layout, for a walk that counts pixels.
template <class Layout, class T>
Images<T, Layout::channels> imagesOf(Image<T> image) {
  return {{image}};
}
template <class Layout, class T>
Images<T, 1, 1, 1> imagesOf(Planes<T, 3> planes) {
  return {{planes.plane(0), planes.plane(1), planes.plane(2)}};
}
template <class Layout, class T>
Images<T, 1, 1, 1, 1> imagesOf(Planes<T, 4> planes) {
  return {{planes.plane(0), planes.plane(1), planes.plane(2), planes.plane(3)}};
}

// The rows of an operation on whole pixels, whatever their layouts.
template <class S, class T, class... P>
using PixelRows = void (*)(const Image<const S>* from, const Image<T>* to, Extent pixels, P... parameters);

// Goes through all images in the same bands, shared by a team where `parallel` holds. The body gets them as
// arrays: `body(from, to, extent)`.
template <class S, int... kFrom, class T, int... kTo, class Body>
void walkImages(bool parallel, Extent e, const Body& body, const Images<S, kFrom...>& from,
                const Images<T, kTo...>& to) {
  const auto band = [&](Image<S, kFrom>... in, Image<T, kTo>... out, Extent part) {
    const Image<const S> sources[] = {in.template as<std::remove_const_t<S>, 1>()...};
    const Image<T> destinations[] = {out.template as<T, 1>()...};
    body(sources, destinations, part);
  };
  const auto each = [&]<std::size_t... I, std::size_t... J>(std::index_sequence<I...>,
                                                            std::index_sequence<J...>) {
    walkRows(parallel, e, band, Image<S, kFrom>{from.at[I].at, from.at[I].step}...,
             Image<T, kTo>{to.at[J].at, to.at[J].step}...);
  };
  each(std::make_index_sequence<sizeof...(kFrom)>(), std::make_index_sequence<sizeof...(kTo)>());
}

// out = op(in), pixel by pixel. `From` and `To` are layouts, the images an Image or Planes.
template <class From, class To, class S, class T, class In, class Out, class... P>
void mapPixelImages(bool parallel, PixelRows<S, T, P...> rows, In from, Out to, ZopImageSize size,
                    std::type_identity_t<P>... parameters) {
  walkImages(
      parallel, extent(size),
      [&](const Image<const S>* in, const Image<T>* out, Extent e) { rows(in, out, e, parameters...); },
      imagesOf<From>(from), imagesOf<To>(to));
}

}  // namespace zopi
