// Rows that keep the value of each sample and change its type.
#pragma once

#include <type_traits>

#include "core/pixelwise.h"

namespace zopi {

// How numbers become integers. Other conversions have one way only. Rows assume that the mode of the vector
// unit is to nearest.
enum Rounding { kToNearest, kTowardZero, kRoundings };

template <class S, class T>
struct ConvertRows {
  ConversionRow<S, T> row[std::is_floating_point_v<S> ? kRoundings : 1];
};

// clang-format off
struct ConvertTable
    : ConvertRows<Zop8u, Zop16u>, ConvertRows<Zop8u, Zop16s>, ConvertRows<Zop8u, Zop32s>, ConvertRows<Zop8s, Zop32s>,
      ConvertRows<Zop8u, Zop32f>, ConvertRows<Zop8s, Zop32f>, ConvertRows<Zop16u, Zop32f>, ConvertRows<Zop16s, Zop32f>,
      ConvertRows<Zop16u, Zop8u>, ConvertRows<Zop16s, Zop8u>, ConvertRows<Zop32s, Zop8u>, ConvertRows<Zop32s, Zop8s>,
      ConvertRows<Zop32f, Zop8u>, ConvertRows<Zop32f, Zop8s>, ConvertRows<Zop32f, Zop16u>, ConvertRows<Zop32f, Zop16s> {
  // clang-format on
  template <class S, class T>
  constexpr const ConvertRows<S, T>& of() const {
    return *this;
  }
};

// The rows for this machine.
const ConvertTable& convertTable();

}  // namespace zopi
