// The whole range of one sample type mapped onto that of another, or a range of numbers onto that of bytes.
#include "convert/scale.h"

namespace zopi {
namespace {

// Says no to not-a-numbers, too.
ZopStatus checkScaleRange(Zop32f vMin, Zop32f vMax) {
  return vMin < vMax ? zopStatusOk : zopStatusBadScaleRange;
}

template <class Layout, class T>
ZopStatus scale(Image<const Zop8u> src, Image<T> dst, ZopImageSize size) {
  mapImage<Layout>(scaleTable().fromBytes.of<T>().row, src, dst, size);
  return zopStatusOk;
}

template <class Layout>
ZopStatus scale(Image<const Zop8u> src, Image<Zop32f> dst, ZopImageSize size, Zop32f vMin, Zop32f vMax) {
  const double factor = (double{vMax} - vMin) * (1.0f / 255);
  mapImage<Layout>(scaleTable().bytesToNumbers, src, dst, size, factor, double{vMin});
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "convert/scale.exports.inc"
