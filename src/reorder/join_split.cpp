// Pixels and planes of 4:2:2: luminance for every pixel, chroma for every second.
#include <cstdint>

#include "core/walk.h"
#include "reorder/join_split_rows.h"

namespace zopi {
namespace {

ZopStatus checkPairs(ZopImageSize size) { return size.width < 2 ? zopStatusBadSize : zopStatusOk; }

ZopStatus checkStrides(const int* planeSteps, int pixelStep, ZopImageSize size) {
  const bool tooShort = size.width > planeSteps[0] || (size.width >> 1) > planeSteps[1] ||
                        (size.width >> 1) > planeSteps[2] || std::int64_t{size.width} * 2 > pixelStep;
  return tooShort ? zopStatusBadStride : zopStatusOk;
}

Extent pairs(ZopImageSize size) { return {size.width / 2, size.height}; }

// Planes go through the walk in units of pairs, so that it sees whether there are gaps.
template <class T>
struct Planes422 {
  Image<T, 2> luminance;
  Image<T> u, v;
};
template <class T>
Planes422<T> planes422(T* const* planes, const int* steps) {
  return {{planes[0], steps[0]}, {planes[1], steps[1]}, {planes[2], steps[2]}};
}

ZopStatus join422(const Zop8u* const* planes, const int* steps, Image<Zop8u> dst, ZopImageSize size) {
  const auto src = planes422(planes, steps);
  const auto body = [](Image<const Zop8u, 2> luminance, Image<const Zop8u> u, Image<const Zop8u> v,
                       Image<Zop8u, 4> to, Extent band) {
    const Image<const Zop8u> from[] = {luminance.as<Zop8u, 1>(), u, v};
    joinSplitTable().join(from, to.as<Zop8u, 1>(), band);
  };
  walkSerial(pairs(size), body, src.luminance, src.u, src.v, dst.as<Zop8u, 4>());
  return zopStatusOk;
}

ZopStatus split422(Image<const Zop8u> src, Zop8u* const* planes, const int* steps, ZopImageSize size) {
  const auto dst = planes422(planes, steps);
  const auto body = [](Image<const Zop8u, 4> from, Image<Zop8u, 2> luminance, Image<Zop8u> u, Image<Zop8u> v,
                       Extent band) {
    const Image<Zop8u> to[] = {luminance.as<Zop8u, 1>(), u, v};
    joinSplitTable().split(from.as<Zop8u, 1>(), to, band);
  };
  walkSerial(pairs(size), body, src.as<Zop8u, 4>(), dst.luminance, dst.u, dst.v);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "reorder/join_split.exports.inc"
