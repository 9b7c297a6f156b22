// Rows of the filters with built-in masks.
#pragma once

#include "core/row_table.h"
#include "filter/stencil.h"

namespace zopi {

enum FixedFilter {
  kFilterPrewittVert,
  kFilterPrewittHoriz,
  kFilterSobelVert,
  kFilterSobelHoriz,
  kFilterSobelVertSecond,
  kFilterSobelHorizSecond,
  kFilterSobelCross,
  kFilterScharrVert,
  kFilterScharrHoriz,
  kFilterLaplace,
  kFilterGauss,
  kFilterHipass,
  kFilterLowpass,
  kFilterSharpen,
  kFixedFilters
};

// Of each filter the rows of its mask of 3x3 and of that of 5x5, if it has them.
template <class S, class T>
struct FixedRows {
  StencilRows<S, T> rows[kFixedFilters][2];
};

// The rows for this machine.
struct FixedIntegerTable : FixedRows<Zop8u, Zop8u>,
                           FixedRows<Zop16s, Zop16s>,
                           FixedRows<Zop8u, Zop16s>,
                           FixedRows<Zop8s, Zop16s> {};
const FixedIntegerTable& fixedIntegerTable();
const FixedRows<Zop32f, Zop32f>& fixedFloatTable();

}  // namespace zopi
