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
  std::ptrdiff_t window = 0;
  bool fitting = false;
  for (std::ptrdiff_t u = 0; u < units; ++u) {
    const std::ptrdiff_t begin = u * perUnit, end = std::min(begin + perUnit, samples);
    const std::ptrdiff_t slot = u % kWays * each + u / kWays;
    if (begin < end) {
      std::ptrdiff_t offsets[kWindowBytes], low = PTRDIFF_MAX, high = PTRDIFF_MIN;
      for (std::ptrdiff_t s = begin; s < end; ++s) {
        const std::ptrdiff_t offset = nextOffset() + lane.first;
        offsets[s - begin] = offset;
        low = std::min(low, offset);
        high = std::max(high, offset);
      }
      window = std::min(low, rowEnd - kWindowBytes);
      fitting = window >= rowBegin && high + lane.reach - window <= kWindowBytes;
      for (std::ptrdiff_t s = begin; fitting && s < end; ++s) {
        unsigned char* bytes = shuffle + slot * kWindowBytes + (s - begin) * lane.bytes;
        const auto place = static_cast<int>(offsets[s - begin] - window);
        for (int i = 0; i < lane.bytes; ++i) {
          if (lane.from[i] != kNothing) bytes[i] = static_cast<unsigned char>(place + lane.from[i]);
        }
      }
    }
    at[slot] = static_cast<int>(window);
    if (!fitting) fits[u / kWays] = 0;
  }
  return {at, shuffle, fits, each};
}

}  // namespace zopi
