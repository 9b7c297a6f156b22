// Windows: 16 bytes of a source row, from which one shuffle picks the taps of 16 bytes of lanes. Those of an
// enlarged image lie close together, so that a window holds them all.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zopi {

inline constexpr int kWindowBytes = 16;

// Memory of a call, handed out piece by piece.
struct Scratch {
  unsigned char* at;

  template <class T>
  T* take(std::ptrdiff_t count) {
    at += -reinterpret_cast<std::uintptr_t>(at) % 64;
    T* piece = reinterpret_cast<T*>(at);
    at += count * static_cast<std::ptrdiff_t>(sizeof(T));
    return piece;
  }
};

// What a lane is made of, in bytes. `from` holds for each byte of a lane where it comes from, counted from
// the first tap on; kNothing stands for a zero.
inline constexpr int kNothing = -1;
struct Lane {
  int bytes;
  int from[4];
  int first, reach;  // from the sample to its first tap, and from there to the end of the last
};

// Lanes are made in units of 16 bytes. With two ways, units alternate between two tables, one behind the
// other.
struct Windows {
  const int* at;                 // for each unit, where its window is, in bytes from the row's start
  const unsigned char* shuffle;  // and the places in it of the bytes of its lanes
  const unsigned char* fits;     // whether units of the same number, one in each way, have windows that fit
  std::ptrdiff_t each;           // units a way
  bool shared;                   // whether units of the same number have the same window
};

// `nextOffset()` is the byte of the row where the next sample stands, the first one at first. `outputs` is a
// whole number of units.
template <int kWays, class NextOffset>
Windows windowsOf(Scratch& scratch, const Lane& lane, std::ptrdiff_t samples, std::ptrdiff_t outputs,
                  std::ptrdiff_t rowBegin, std::ptrdiff_t rowEnd, NextOffset nextOffset) {
  const std::ptrdiff_t perUnit = kWindowBytes / lane.bytes, units = outputs / perUnit, each = units / kWays;
  int* at = scratch.take<int>(units);
  unsigned char* shuffle = scratch.take<unsigned char>(units * kWindowBytes);
  unsigned char* fits = scratch.take<unsigned char>(each);
  std::memset(shuffle, 0x80, static_cast<std::size_t>(units * kWindowBytes));
  std::memset(fits, 1, static_cast<std::size_t>(each));
  const std::ptrdiff_t perGroup = kWays * perUnit;
  struct Window {
    std::ptrdiff_t at;
    bool fits;
  };
  Window window = {0, false};
  bool shared = true;
  for (std::ptrdiff_t g = 0; g < each; ++g) {
    const std::ptrdiff_t count = std::clamp<std::ptrdiff_t>(samples - g * perGroup, 0, perGroup);
    std::ptrdiff_t offsets[kWays * kWindowBytes];
    for (std::ptrdiff_t i = 0; i < count; ++i) offsets[i] = nextOffset() + lane.first;
    // The window of samples i to n - 1 of the group.
    const auto holding = [&](std::ptrdiff_t i, std::ptrdiff_t n) -> Window {
      std::ptrdiff_t low = offsets[i], high = low;
      for (++i; i < n; ++i) {
        low = std::min(low, offsets[i]);
        high = std::max(high, offsets[i]);
      }
      const std::ptrdiff_t begin = std::min(low, rowEnd - kWindowBytes);
      return {begin, begin >= rowBegin && high + lane.reach - begin <= kWindowBytes};
    };
    if (count > 0) window = holding(0, count);
    const bool together = window.fits;
    shared = shared && together;
    for (int way = 0; way < kWays; ++way) {
      const std::ptrdiff_t slot = way * each + g, begin = way * perUnit,
                           end = std::min(begin + perUnit, count);
      if (kWays > 1 && !together && begin < end) window = holding(begin, end);
      const auto [first, fitting] = window;
      for (std::ptrdiff_t i = begin; fitting && i < end; ++i) {
        unsigned char* bytes = shuffle + slot * kWindowBytes + (i - begin) * lane.bytes;
        const auto place = static_cast<int>(offsets[i] - first);
        for (int k = 0; k < lane.bytes; ++k) {
          if (lane.from[k] != kNothing) bytes[k] = static_cast<unsigned char>(place + lane.from[k]);
        }
      }
      at[slot] = static_cast<int>(first);
      if (!fitting) fits[g] = 0;
    }
  }
  return {at, shuffle, fits, each, shared};
}

}  // namespace zopi
