// Filters with built-in masks: which mask a call takes.
#include "arith/add_sub_mul_float_rows.h"
#include "arith/add_sub_mul_rows.h"
#include "filter/fixed_filters_rows.h"

namespace zopi {
namespace {

ZopStatus checkMaskCode(int maskCode) {
  return maskCode == 33 || maskCode == 55 ? zopStatusOk : zopStatusBadMaskSize;
}

template <class S, class T>
const FixedRows<S, T>& fixedRows() {
  if constexpr (std::is_same_v<S, Zop32f>)
    return fixedFloatTable();
  else
    return fixedIntegerTable();
}

// What is wider than a byte advances by whole samples.
template <class Layout, class S, class T>
ZopStatus filter(FixedFilter filter, Image<const S> src, Image<T> dst, ZopImageSize size, int maskCode = 33) {
  const StencilRows<S, T>& rows = fixedRows<S, T>().rows[filter][maskCode != 33];
  mapStencil<Layout>(rows, inWholeSamples(src), inWholeSamples(dst), size);
  return zopStatusOk;
}

// What lies above the source and `dx` pixels beside it is taken away from it.
template <class Layout, class T>
ZopStatus roberts(int dx, Image<const T> src, Image<T> dst, ZopImageSize size) {
  const Image<const T> taken = {src.row(-1) + dx * Layout::channels, src.step};
  if constexpr (std::is_same_v<T, Zop32f>) {
    mapImages<Layout>(std::false_type(), floatTable().subtract, taken, src, dst, size);
  } else {
    mapImages<Layout>(std::false_type(), scaledTable().of<T>().rows[kSub][kSaturate], taken, src, dst, size,
                      0);
  }
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "filter/fixed_filters.exports.inc"
