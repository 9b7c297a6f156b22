// What a plan hands to a walk: images, their layouts and the extent of a region.
#pragma once

#include <cstddef>
#include <type_traits>

#include "zopi/types.h"

namespace zopi {

// A region of an image: its first sample and the distance in bytes from one row to the next. `Unit` is the
// number of samples the image holds for each unit of a walk's length: 1 where a walk counts samples, the
// channel count where it counts pixels.
template <class T, int Unit = 1>
struct Image {
  using Sample = T;
  static constexpr int unit = Unit;

  T* at;
  std::ptrdiff_t step;

  T* row(std::ptrdiff_t y) const {
    using Byte = std::conditional_t<std::is_const_v<T>, const unsigned char, unsigned char>;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(at) + y * step);
  }
  Image from(std::ptrdiff_t y) const { return {row(y), step}; }

  // The same memory, seen as other samples or counted in other units.
  template <class U, int OtherUnit = Unit>
  auto as() const {
    using Other = std::conditional_t<std::is_const_v<T>, const U, U>;
    return Image<Other, OtherUnit>{reinterpret_cast<Other*>(at), step};
  }

  operator Image<const T, Unit>() const { return {at, step}; }
};

template <class T>
constexpr Image<T> image(T* at, int step) {
  return {at, step};
}

// The planes of a planar image, which share one step.
template <class T, int Count>
struct Planes {
  T* at[Count];
  std::ptrdiff_t step;

  Image<T> plane(std::size_t c) const { return {at[c], step}; }
};

template <int Count, class T>
Planes<T, Count> planes(T* const* at, int step) {
  Planes<T, Count> result{{}, step};
  for (int c = 0; c < Count; ++c) result.at[c] = at[c];
  return result;
}

// Some functions advance by whole samples: what a step holds beyond them is dropped.
template <class T, int Unit>
Image<T, Unit> inWholeSamples(Image<T, Unit> image) {
  return {image.at, image.step - image.step % static_cast<std::ptrdiff_t>(sizeof(T))};
}

// The size a walk covers: `length` units a row, `rows` rows. `stream` tells the rows that the region is too
// large for any cache, so that stores may bypass it. Two words, so that it travels in registers.
struct Extent {
  std::ptrdiff_t length;
  int rows;
  bool stream = false;
};

// For rows that read what they overwrite: those lines are in the caches already.
constexpr Extent unstreamed(Extent e) { return {e.length, e.rows}; }

inline Extent extent(ZopImageSize size, int samplesPerPixel = 1) {
  return {static_cast<std::ptrdiff_t>(size.width) * samplesPerPixel, size.height};
}

// Pixel layouts. `channels` samples make a pixel, the first `colours` of them are processed.
struct C1 {
  static constexpr int channels = 1, colours = 1;
};
struct C2 {
  static constexpr int channels = 2, colours = 2;
};
struct C3 {
  static constexpr int channels = 3, colours = 3;
};
struct C4 {
  static constexpr int channels = 4, colours = 4;
};
struct AC4 {
  static constexpr int channels = 4, colours = 3;
};
// Planar ones: an image for each channel.
struct P3 {
  static constexpr int channels = 3, colours = 3;
};
struct AP4 {
  static constexpr int channels = 4, colours = 3;
};
template <class Layout>
inline constexpr bool kIsPlanar = std::is_same_v<Layout, P3> || std::is_same_v<Layout, AP4>;

// Whether a form writes to an image of its own or over an operand.
enum class Form { OutOfPlace, InPlace };
inline constexpr Form OutOfPlace = Form::OutOfPlace, InPlace = Form::InPlace;

// A complex sample is a pair of real ones.
template <class T>
struct Components {
  using Real = T;
  static constexpr int count = 1;
};
template <>
struct Components<Zop16sc> {
  using Real = Zop16s;
  static constexpr int count = 2;
};
template <>
struct Components<Zop32sc> {
  using Real = Zop32s;
  static constexpr int count = 2;
};
template <>
struct Components<Zop32fc> {
  using Real = Zop32f;
  static constexpr int count = 2;
};
template <class T>
using Real = typename Components<T>::Real;
template <class T>
inline constexpr bool kIsComplex = Components<T>::count == 2;

}  // namespace zopi
