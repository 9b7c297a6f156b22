// A constant operand, laid out as a row sees it.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "core/image.h"

namespace zopi {

// 24 samples hold a whole number of pixels of every layout: of 1, 2, 3, 4, 6 or 8 samples.
inline constexpr int kPatternSamples = 24;

template <class T>
struct Pattern {
  T samples[kPatternSamples];
};

template <class T>
constexpr Pattern<T> repeat(const T* values, int period) {
  Pattern<T> result{};
  for (int i = 0, v = 0; i < kPatternSamples; ++i, v = v + 1 < period ? v + 1 : 0) {
    result.samples[i] = values[v];
  }
  return result;
}

// The constants of a pixel of `Layout`; where it has alpha, the constant there is 0. The array may stand at
// any address.
template <class Layout, class T>
Pattern<T> patternOf(const T* values) {
  T pixel[Layout::channels] = {};
  std::memcpy(pixel, values, Layout::colours * sizeof(T));
  return repeat(pixel, Layout::channels);
}

template <class T>
constexpr T allOnes() {
  if constexpr (std::is_floating_point_v<T>)
    return std::bit_cast<T>(std::int32_t{-1});
  else
    return static_cast<T>(-1);
}

// All bits set in the samples of a pixel that a function may change.
template <class T, int Channels, int Colours>
constexpr Pattern<T> writtenSamples() {
  T pixel[Channels] = {};
  for (int c = 0; c < Colours; ++c) pixel[c] = allOnes<T>();
  return repeat(pixel, Channels);
}

}  // namespace zopi
