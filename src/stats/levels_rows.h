// How many samples have reached a level, and how many levels a sample has reached.
#pragma once

#include <cstddef>

#include "core/row_table.h"
#include "stats/levels.h"

namespace zopi {

// Samples are taken in pieces, in memory for a whole one, of which the first `count` count.
inline constexpr std::ptrdiff_t kLevelPiece = 2048;

template <class T>
struct LevelRows {
  // Adds to counts[k] how many samples have reached level k, for all levels but the last, for which the sum
  // is given back.
  int (*countReached)(const T* samples, std::ptrdiff_t count, Levels<Level<T>> levels, Zop32s* counts);
  // Sets reached[i] to how many of the levels, which increase, sample i has reached, for a whole piece.
  void (*reached)(const T* samples, std::ptrdiff_t count, Levels<Level<T>> levels, Zop32s* reached);
  // From how many levels on it is faster to find the last one that a sample has reached than to count them
  // all.
  int many;
};

using LevelTable = RowTable<LevelRows, Zop16s, Zop32f>;

// The rows for this machine.
const LevelTable& levelTable();

}  // namespace zopi
