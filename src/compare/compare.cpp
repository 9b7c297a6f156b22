// Comparisons of images and constants, pixel by pixel.
#include "compare/compare_rows.h"
#include "core/pattern.h"
#include "core/walk.h"

namespace zopi {
namespace {

// A not-a-number passes.
ZopStatus checkEpsilon(Zop32f eps) { return eps < 0 ? zopStatusBadEpsilon : zopStatusOk; }

bool isKnown(int cmpOp) { return cmpOp >= zopCmpLess && cmpOp <= zopCmpGreater; }

template <class Layout, class T>
ZopStatus testImages(Comparison comparison, Image<const T> a, Image<const T> b, Image<Zop8u> dst,
                     ZopImageSize size, Zop32f distance = 0) {
  constexpr int n = Layout::channels;
  const auto row = compareTable().template of<T>().template row<Layout>(comparison).image;
  walkPixels(
      size,
      [&](Image<const T> p, Image<const T> q, Image<Zop8u> out, Extent pixels) {
        row(p, q, out, pixels, distance);
      },
      a.template as<T, n>(), b.template as<T, n>(), dst);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus testConstant(Comparison comparison, Image<const T> a, const T* values, Image<Zop8u> dst,
                       ZopImageSize size, Zop32f distance = 0) {
  const Pattern<T> pattern = patternOf<Layout>(values);
  const auto row = compareTable().template of<T>().template row<Layout>(comparison).constant;
  walkPixels(
      size,
      [&](Image<const T> p, Image<Zop8u> out, Extent pixels) { row(p, pattern, out, pixels, distance); },
      a.template as<T, Layout::channels>(), dst);
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus withImage(Image<const T> a, Image<const T> b, Image<Zop8u> dst, ZopImageSize size, int cmpOp) {
  if (!isKnown(cmpOp)) return zopStatusOk;
  if (cmpOp == zopCmpGreaterEq) return testImages<Layout>(kLessEq, b, a, dst, size);
  if (cmpOp == zopCmpGreater) return testImages<Layout>(kLess, b, a, dst, size);
  return testImages<Layout>(static_cast<Comparison>(cmpOp), a, b, dst, size);
}

template <class Layout>
ZopStatus withImage(Image<const Zop32f> a, Image<const Zop32f> b, Image<Zop8u> dst, ZopImageSize size,
                    Zop32f eps) {
  return testImages<Layout>(kNear, a, b, dst, size, eps);
}

template <class Layout, class T>
ZopStatus withConstant(Image<const T> a, const T* values, Image<Zop8u> dst, ZopImageSize size, int cmpOp) {
  if (!isKnown(cmpOp)) return zopStatusOk;
  return testConstant<Layout>(static_cast<Comparison>(cmpOp), a, values, dst, size);
}

template <class Layout>
ZopStatus withConstant(Image<const Zop32f> a, const Zop32f* values, Image<Zop8u> dst, ZopImageSize size,
                       Zop32f eps) {
  return testConstant<Layout>(kNear, a, values, dst, size, eps);
}

}  // namespace
}  // namespace zopi

#include "compare/compare.exports.inc"
