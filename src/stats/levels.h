// Levels part the samples of a channel: a sample has reached those that are not above it, and stands in the
// segment, or bin, behind the last one that it has reached.
#pragma once

#include <algorithm>
#include <type_traits>

#include "zopi/types.h"

namespace zopi {

// Levels of numbers are numbers, those of all other samples are integers.
template <class T>
using Level = std::conditional_t<std::is_same_v<T, Zop32f>, Zop32f, Zop32s>;

// Integer samples of a type are those from `lowest` up to, but not including, `end`.
template <class T>
struct SampleRange;
template <>
struct SampleRange<Zop8u> {
  static constexpr int lowest = 0, end = 256;
};
template <>
struct SampleRange<Zop16s> {
  static constexpr int lowest = -32768, end = 32768;
};
template <class T>
int clipped(Zop32s level) {
  return std::clamp(level, SampleRange<T>::lowest, SampleRange<T>::end);
}

// The levels of one channel.
template <class L>
struct Levels {
  const L* at;
  int count;

  bool increase() const {
    for (int k = 1; k < count; ++k) {
      if (!(at[k - 1] < at[k])) return false;
    }
    return true;
  }
  // How many levels a sample has reached, if they increase. What is not a number has reached none.
  int reachedBy(L sample) const {
    int reached = 0;
    for (int rest = count; rest > 0;) {
      const int half = (rest + 1) / 2;
      const int isReached = sample >= at[reached + half - 1];
      reached += half & -isReached;  // no branch: nobody can tell which way a search goes
      rest -= half;
    }
    return reached;
  }
};

}  // namespace zopi
