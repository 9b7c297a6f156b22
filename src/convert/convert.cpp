// Conversion of samples to another type: every value is kept, as far as the type goes.
#include "convert/convert_rows.h"
#include "core/rounding.h"

namespace zopi {
namespace {

template <class Layout, class S, class T>
ZopStatus convert(Image<const S> src, Image<T> dst, ZopImageSize size) {
  mapImage<Layout>(convertTable().of<S, T>().row[0], src, dst, size);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus convert(Image<const Zop32f> src, Image<T> dst, ZopImageSize size, int roundMode) {
  const RoundingToNearest mode;
  const ConvertRows<Zop32f, T>& rows = convertTable().of<Zop32f, T>();
  mapImage<Layout>(rows.row[roundMode == 1 ? kToNearest : kTowardZero], src, dst, size);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "convert/convert.exports.inc"
