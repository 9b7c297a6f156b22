// Rows of copies between layouts. Samples are bits here: one table serves all types of a size.
#pragma once

#include <cstdint>

#include "core/image.h"
#include "core/row_table.h"

namespace zopi {

template <class T>
struct CopyRows {
  // In samples.
  void (*samples)(Image<const T> src, Image<T> dst, Extent e);

  // In pixels, between interleaved layouts. Index 3 or 4 is the wider layout's channel count.
  void (*colours)(Image<const T> src, Image<T> dst, Extent pixels);
  void (*channel[5])(Image<const T> src, Image<T> dst, Extent pixels);
  void (*extract[5])(Image<const T> src, Image<T> dst, Extent pixels);
  void (*insert[5])(Image<const T> src, Image<T> dst, Extent pixels);
  void (*dropAlpha)(Image<const T> src, Image<T> dst, Extent pixels);
  void (*widenKeepingAlpha)(Image<const T> src, Image<T> dst, Extent pixels);

  // Between pixels and planes; the planes stand in an array.
  void (*split[5])(Image<const T> src, const Image<T>* planes, Extent pixels);
  void (*join[5])(const Image<const T>* planes, Image<T> dst, Extent pixels);

  // Under a mask, by channel count; the last keeps alpha.
  void (*masked[5])(Image<const T> src, Image<T> dst, Image<const Zop8u> mask, Extent pixels);
  void (*maskedColours)(Image<const T> src, Image<T> dst, Image<const Zop8u> mask, Extent pixels);
};

using CopyTable = RowTable<CopyRows, std::uint8_t, std::uint16_t, std::uint32_t>;

// The rows for this machine.
const CopyTable& copyTable();

}  // namespace zopi
