// And, or, exclusive or and inversion, and the change from two's complement to sign and magnitude. All on the
// calling thread.
#include "logic/bitwise_rows.h"

namespace zopi {
namespace {

template <class Layout>
ZopStatus inverted(Image<const Zop8u> src, Image<Zop8u> dst, ZopImageSize size) {
  mapImage<Layout>(bitwiseTable().inverted, src, dst, size);
  return zopStatusOk;
}

ZopStatus signAndMagnitude(Image<const Zop32s> src, Image<Zop32s> dst, ZopImageSize size) {
  mapImage<C1>(bitwiseTable().signAndMagnitude, src, dst, size);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "logic/bitwise.exports.inc"
