// Fills, for the exported functions and for families that know their result without reading a source.
#pragma once

#include <cstdint>
#include <type_traits>

#include "core/pixelwise.h"
#include "move/set_rows.h"
#include "zopi/status.h"

namespace zopi {

// Moves and fills see a sample as its bits.
template <class T>
using BitsOf = std::conditional_t<sizeof(T) == 1, std::uint8_t,
                                  std::conditional_t<sizeof(T) == 2, std::uint16_t, std::uint32_t>>;

template <class Layout, class T>
Pattern<BitsOf<T>> bitPattern(const T* values) {
  return patternOf<Layout>(reinterpret_cast<const BitsOf<T>*>(values));
}

template <class Layout, class T>
ZopStatus setPixels(const T* values, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  const Pattern<Bits> pattern = bitPattern<Layout>(values);
  const auto row = setTable().template of<Bits>().samples;
  walkSerial(
      extent(size, Layout::channels), [&](Image<Bits> to, Extent band) { row(pattern, to, band); },
      dst.template as<Bits>());
  return zopStatusOk;
}

// The colours of four-channel pixels; alpha is not touched.
template <class T>
ZopStatus setColours(const T* values, Image<T> dst, ZopImageSize size) {
  using Bits = BitsOf<T>;
  const Pattern<Bits> pattern = bitPattern<AC4>(values);
  const auto row = setTable().template of<Bits>().colours;
  walkPixels(
      size, [&](Image<Bits> to, Extent band) { row(pattern, to, band); }, dst.template as<Bits, 4>());
  return zopStatusOk;
}

// What a form of this layout writes: whole pixels, or only their colours.
template <class Layout, class T>
ZopStatus setWritten(const T* values, Image<T> dst, ZopImageSize size) {
  if constexpr (Layout::colours < Layout::channels)
    return setColours(values, dst, size);
  else
    return setPixels<Layout>(values, dst, size);
}

// Zero in every sample that a form may change.
template <class Layout, class T>
ZopStatus setZero(Image<T> dst, ZopImageSize size) {
  static_assert(!kIsComplex<T> || Layout::colours == Layout::channels);
  constexpr Real<T> zero[RealLayout<Layout, T>::channels] = {};
  return setWritten<std::conditional_t<kIsComplex<T>, RealLayout<Layout, T>, Layout>>(
      zero, dst.template as<Real<T>>(), size);
}

}  // namespace zopi
