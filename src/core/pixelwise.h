// Pixelwise operations: how images and constants of any layout reach the rows of an operation.
//
// Rows see samples. Complex samples are pairs of real ones, interleaved pixels are samples in turn, and where
// alpha is kept, a pattern says which samples may change.
#pragma once

#include <type_traits>

#include "core/image.h"
#include "core/pattern.h"
#include "core/walk.h"

namespace zopi {

// The rows of an operation that makes samples T of samples S. `written` is all ones for the samples that
// change. What no plan asks for may be null. `P` are the operation's parameters.
template <class S, class T, class... P>
struct ConversionRow {
  void (*image)(Image<const S> a, Image<T> out, Extent e, P... parameters);
  void (*imageKeeping)(const Pattern<T>& written, Image<const S> a, Image<T> out, Extent e, P... parameters);
};

// The rows of an operation on one image.
template <class T, class... P>
using UnaryRow = ConversionRow<T, T, P...>;

// The same for two operands, the first of which may be a constant.
template <class T, class... P>
struct BinaryRow {
  void (*image)(Image<const T> a, Image<const T> b, Image<T> out, Extent e, P... parameters);
  void (*imageKeeping)(const Pattern<T>& written, Image<const T> a, Image<const T> b, Image<T> out, Extent e,
                       P... parameters);
  void (*constant)(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, P... parameters);
  void (*constantKeeping)(const Pattern<T>& written, const Pattern<T>& a, Image<const T> b, Image<T> out,
                          Extent e, P... parameters);
};

// A layout of complex pixels, as the real samples a row sees.
template <class Layout, class T>
struct RealLayout {
  static constexpr int channels = Layout::channels * Components<T>::count;
  static constexpr int colours = Layout::colours * Components<T>::count;
};
template <class Layout, class T>
inline constexpr Pattern<Real<T>> kWritten =
    writtenSamples<Real<T>, RealLayout<Layout, T>::channels, RealLayout<Layout, T>::colours>();

template <class Layout, class T>
Pattern<Real<T>> constantPattern(const T* values) {
  return patternOf<RealLayout<Layout, T>>(reinterpret_cast<const Real<T>*>(values));
}

template <class Layout, class T>
Extent realExtent(ZopImageSize size) {
  return extent(size, RealLayout<Layout, T>::channels);
}

// out = op(a). On the calling thread.
template <class Layout, class S, class T, class... P>
void mapImage(const ConversionRow<Real<S>, Real<T>, P...>& rows, Image<const S> a, Image<T> out,
              ZopImageSize size, std::type_identity_t<P>... parameters) {
  walkSerial(
      realExtent<Layout, T>(size),
      [&](Image<const Real<S>> p, Image<Real<T>> r, Extent e) {
        if constexpr (Layout::colours < Layout::channels)
          rows.imageKeeping(kWritten<Layout, T>, p, r, e, parameters...);
        else
          rows.image(p, r, e, parameters...);
      },
      a.template as<Real<S>>(), out.template as<Real<T>>());
}

// Rows are shared where `parallel` says so, never by forms that keep alpha. Where the compiler knows that
// they are not, it keeps the arguments in registers.
template <class Layout, class Parallel, class Body, class... I>
void walkPixelwise(Parallel parallel, Extent e, const Body& body, I... images) {
  if constexpr (Layout::colours < Layout::channels || std::is_same_v<Parallel, std::false_type>)
    walkSerial(e, body, images...);
  else
    walkRows(parallel, e, body, images...);
}

// out = op(a, b).
template <class Layout, class Parallel, class T, class... P>
void mapImages(Parallel parallel, const BinaryRow<Real<T>, P...>& rows, Image<const T> a,
               std::type_identity_t<Image<const T>> b, std::type_identity_t<Image<T>> out, ZopImageSize size,
               std::type_identity_t<P>... parameters) {
  using R = Real<T>;
  constexpr bool keeps = Layout::colours < Layout::channels;
  walkPixelwise<Layout>(
      parallel, realExtent<Layout, T>(size),
      [&](Image<const R> p, Image<const R> q, Image<R> r, Extent e) {
        if constexpr (keeps)
          rows.imageKeeping(kWritten<Layout, T>, p, q, r, e, parameters...);
        else
          rows.image(p, q, r, e, parameters...);
      },
      a.template as<R>(), b.template as<R>(), out.template as<R>());
}

// out = op(constant, b).
template <class Layout, class Parallel, class T, class... P>
void mapConstant(Parallel parallel, const BinaryRow<Real<T>, P...>& rows, const T* constant,
                 std::type_identity_t<Image<const T>> b, std::type_identity_t<Image<T>> out,
                 ZopImageSize size, std::type_identity_t<P>... parameters) {
  using R = Real<T>;
  constexpr bool keeps = Layout::colours < Layout::channels;
  const Pattern<R> a = constantPattern<Layout>(constant);
  walkPixelwise<Layout>(
      parallel, realExtent<Layout, T>(size),
      [&](Image<const R> q, Image<R> r, Extent e) {
        if constexpr (keeps)
          rows.constantKeeping(kWritten<Layout, T>, a, q, r, e, parameters...);
        else
          rows.constant(a, q, r, e, parameters...);
      },
      b.template as<R>(), out.template as<R>());
}

// Whole plans for operations whose parameters decide nothing: serial, without a warning.
template <class Layout, class T>
ZopStatus combineImages(const BinaryRow<Real<T>>& rows, Image<const T> a,
                        std::type_identity_t<Image<const T>> b, std::type_identity_t<Image<T>> out,
                        ZopImageSize size) {
  mapImages<Layout>(std::false_type(), rows, a, b, out, size);
  return zopStatusOk;
}
template <class Layout, class T>
ZopStatus combineWithConstant(const BinaryRow<Real<T>>& rows, const T* constant,
                              std::type_identity_t<Image<const T>> b, std::type_identity_t<Image<T>> out,
                              ZopImageSize size) {
  mapConstant<Layout>(std::false_type(), rows, constant, b, out, size);
  return zopStatusOk;
}

}  // namespace zopi
