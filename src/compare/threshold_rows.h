// Rows of thresholds.
#pragma once

#include "core/image.h"
#include "core/pattern.h"
#include "core/row_table.h"

namespace zopi {

// What lies beyond: above one threshold, below one, or outside two of them.
enum Beyond { kAbove, kBelow, kOutside, kBeyonds };

// A threshold and what is stored beyond it, for all samples alike. Rows of 32s order the bits of floats,
// which they turn first, by an exclusive or; their threshold is given turned.
template <class T>
struct UniformLevel {
  T threshold, value;
  T turn = 0;
};

// The same by channels.
template <class T>
struct ChannelLevel {
  Pattern<T> threshold, value;
};

// The levels are one, or the upper and the lower one. Keeping rows change the written samples only, which are
// all ones. 32f has no uniform rows, and 32s no others.
template <class T>
struct ThresholdRow {
  void (*uniform)(const UniformLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e);
  void (*channels)(const ChannelLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e);
  void (*channelsKeeping)(const ChannelLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e,
                          const Pattern<T>& written);
};

template <class T>
struct ThresholdRows {
  ThresholdRow<T> rows[kBeyonds];
};

using ThresholdTable = RowTable<ThresholdRows, Zop8u, Zop16s, Zop32s, Zop32f>;

// The rows for this machine.
const ThresholdTable& thresholdTable();

}  // namespace zopi
