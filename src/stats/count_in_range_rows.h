// Rows of counts.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/pattern.h"
#include "core/row_table.h"

namespace zopi {

// For images of 1, 3 or 4 channels: adds to `counts` how many samples of each channel are neither below
// `lower` nor above `upper`.
template <class T>
struct CountRows {
  void (*of[5])(Image<const T> a, Extent samples, const Pattern<T>& lower, const Pattern<T>& upper,
                std::int64_t* counts);
};

using CountTable = RowTable<CountRows, Zop8u, Zop32f>;

// The rows for this machine.
const CountTable& countTable();

}  // namespace zopi
