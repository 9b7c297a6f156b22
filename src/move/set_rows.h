// Rows of fills. Samples are bits here: one table serves all types of a size.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/pattern.h"
#include "core/row_table.h"

namespace zopi {

// An index of 3 or 4 is the layout's channel count.
template <class T>
struct SetRows {
  void (*samples)(const Pattern<T>& values, Image<T> dst, Extent e);
  void (*colours)(const Pattern<T>& values, Image<T> dst, Extent pixels);
  void (*channel[5])(const Pattern<T>& values, Image<T> dst, Extent pixels);
  void (*masked[5])(const Pattern<T>& values, Image<T> dst, Image<const Zop8u> mask, Extent pixels);
  void (*maskedColours)(const Pattern<T>& values, Image<T> dst, Image<const Zop8u> mask, Extent pixels);
};

using SetTable = RowTable<SetRows, std::uint8_t, std::uint16_t, std::uint32_t>;

// The rows for this machine.
const SetTable& setTable();

}  // namespace zopi
