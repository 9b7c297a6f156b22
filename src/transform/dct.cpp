// Cosine transforms of blocks of 8x8.
#include "transform/dct_rows.h"

#include "core/checks.h"

namespace zopi {
namespace {

// A block without gaps, as an image.
template <class T>
Image<T> block(T* samples) {
  return {samples, kDctSide * static_cast<std::ptrdiff_t>(sizeof(T))};
}

ZopStatus forward(Image<const Zop16s> src, Image<Zop16s> dst) {
  dctTable().forward(src, dst);
  return zopStatusOk;
}
ZopStatus forward(Image<const Zop8u> src, Image<Zop16s> dst, Zop16s added = 0) {
  dctTable().forwardBytes(src, added, dst);
  return zopStatusOk;
}
ZopStatus forward(const Zop32f* src, Zop32f* dst) {
  dctTable().forwardNumbers(src, dst);
  return zopStatusOk;
}

ZopStatus inverse(Image<const Zop16s> src, Image<Zop16s> dst) {
  dctTable().inverse(src, dst);
  return zopStatusOk;
}
ZopStatus inverse(Image<const Zop16s> src, Image<Zop8u> dst, DctClip clip = {0, 0, 255}) {
  dctTable().inverseToBytes(src, dst, clip);
  return zopStatusOk;
}
ZopStatus inverse(const Zop32f* src, Zop32f* dst) {
  dctTable().inverseNumbers(src, dst);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "transform/dct.exports.inc"
