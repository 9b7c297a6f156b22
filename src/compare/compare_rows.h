// Rows of comparisons: pixels to bytes.
#pragma once

#include "core/image.h"
#include "core/pattern.h"
#include "core/row_table.h"

namespace zopi {

// The comparisons in the order of their public codes, and equality within a distance.
enum Comparison { kLess, kLessEq, kEqual, kGreaterEq, kGreater, kNear, kComparisons };

// The rows of one comparison. Only kNear looks at the distance. Two images have no rows for kGreaterEq and
// kGreater: they change places.
template <class T>
struct CompareRow {
  void (*image)(Image<const T> a, Image<const T> b, Image<Zop8u> out, Extent pixels, Zop32f distance);
  void (*constant)(Image<const T> a, const Pattern<T>& b, Image<Zop8u> out, Extent pixels, Zop32f distance);
};

template <class T, class Layout>
struct LayoutCompareRows {
  CompareRow<T> rows[kComparisons];
};

template <class T>
struct CompareRows : LayoutCompareRows<T, C1>,
                     LayoutCompareRows<T, C3>,
                     LayoutCompareRows<T, C4>,
                     LayoutCompareRows<T, AC4> {
  template <class Layout>
  constexpr const CompareRow<T>& row(Comparison comparison) const {
    return LayoutCompareRows<T, Layout>::rows[comparison];
  }
};

using CompareTable = RowTable<CompareRows, Zop8u, Zop16s, Zop32f>;

// The rows for this machine.
const CompareTable& compareTable();

}  // namespace zopi
