// Norms of images and of their differences, and the one relative to the other.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "core/walk.h"
#include "stats/norm_rows.h"

namespace zopi {
namespace {

template <NormKind kK>
struct KindOf {
  static constexpr NormKind kKind = kK;
};
using Inf = KindOf<kInf>;
using L1 = KindOf<kL1>;
using L2 = KindOf<kL2>;

template <class Layout>
struct Norms {
  Zop64f of[Layout::colours];

  void store(Zop64f* results) const { std::memcpy(results, of, sizeof of); }
};

// The norms of `Parts` samples in turn, squared for L2: exact integers as doubles, or sums in double
// precision.
template <class Kind, int kParts, class Layout, class T, class... I>
Norms<Layout> sumsOf(ZopImageSize size, Image<const T> a, I... b) {
  NormSum<T> norms[4] = {};
  const NormRows<T>& rows = normTable().of<T>();
  const auto row = [&] {
    if constexpr (sizeof...(I) == 0)
      return rows.ofImage[Kind::kKind][kParts];
    else
      return rows.ofDifference[Kind::kKind][kParts];
  }();
  const auto walk = [&](Image<const T> p, I... q, Extent band) { row(p, q..., band, norms); };
  // Odd columns are odd in their row, so rows cannot be one.
  if constexpr (kParts == 2)
    walk(a, b..., extent(size));
  else
    walkSerial(extent(size, Layout::channels), walk, a, b...);
  Norms<Layout> result;
  for (int c = 0; c < Layout::colours; ++c) result.of[c] = static_cast<Zop64f>(norms[c]);
  if constexpr (kParts == 2) result.of[0] += norms[1];
  return result;
}

// Sums of numbers of one channel keep even and odd columns apart, but for differences.
template <class Kind, class Layout, class T, class... I>
Norms<Layout> sums(ZopImageSize size, Image<const T> a, I... b) {
  constexpr bool inTwo = std::is_same_v<T, Zop32f> && Layout::channels == 1 && Kind::kKind != kInf;
  constexpr int parts = inTwo && sizeof...(I) == 0 ? 2 : Layout::channels;
  return sumsOf<Kind, parts, Layout>(size, a, b...);
}

template <class Kind, class Layout>
Norms<Layout> roots(Norms<Layout> norms) {
  if constexpr (Kind::kKind == kL2) {
    for (Zop64f& norm : norms.of) norm = std::sqrt(norm);
  }
  return norms;
}

// Wide byte images of one channel are cut into slabs of columns, each of which has a norm of its own,
// rounded, before they are brought together.
template <class Layout, class... I>
Norms<Layout> rootsOfSlabs(ZopImageSize size, I... images) {
  constexpr int kSlab = 32768;
  Zop64f sum = 0;
  for (int left = 0; left < size.width; left += kSlab) {
    const ZopImageSize slab = {std::min(kSlab, size.width - left), size.height};
    const Zop64f norm = std::sqrt(sums<L2, Layout>(slab, I{images.at + left, images.step}...).of[0]);
    sum += norm * norm;
  }
  return {{std::sqrt(sum)}};
}

template <class Kind, class Layout, class T, class... I>
Norms<Layout> norms(ZopImageSize size, Image<const T> a, I... b) {
  if constexpr (std::is_same_v<T, Zop8u> && Layout::channels == 1 && Kind::kKind == kL2) {
    if (size.width > 32768) return rootsOfSlabs<Layout>(size, a, b...);
  }
  return roots<Kind>(sums<Kind, Layout>(size, a, b...));
}

template <class Kind, class Layout, class T>
ZopStatus norm(Image<const T> a, ZopImageSize size, Zop64f* results) {
  norms<Kind, Layout>(size, a).store(results);
  return zopStatusOk;
}

ZopStatus largestMagnitude(Image<const Zop32s> a, ZopImageSize size, Zop64f* result) {
  std::int64_t largest = 0;
  walkSerial(
      extent(size), [&](Image<const Zop32s> p, Extent band) { normTable().largestOf32s(p, band, &largest); },
      a);
  *result = static_cast<Zop64f>(largest);
  return zopStatusOk;
}

template <class Kind, class Layout, class T>
ZopStatus normOfDifference(Image<const T> a, Image<const T> b, ZopImageSize size, Zop64f* results) {
  norms<Kind, Layout>(size, a, b).store(results);
  return zopStatusOk;
}

bool isZero(Zop64f denominator) { return denominator < std::numeric_limits<Zop64f>::min(); }

// One channel has its root taken last, and both its sums in one part; several channels divide their norms,
// all or none.
template <class Kind, class Layout, class T>
ZopStatus relativeNorm(Image<const T> a, Image<const T> b, ZopImageSize size, Zop64f* results) {
  if constexpr (Layout::channels == 1) {
    Norms<Layout> quotient = sumsOf<Kind, 1, Layout>(size, a, b);
    const Zop64f reference = sumsOf<Kind, 1, Layout>(size, b).of[0];
    const bool divides = !isZero(reference);
    if (divides) quotient.of[0] /= reference;
    roots<Kind>(quotient).store(results);
    return divides ? zopStatusOk : zopStatusZeroDenominator;
  } else {
    const Norms<Layout> references = norms<Kind, Layout>(size, b);
    Norms<Layout> quotients = norms<Kind, Layout>(size, a, b);
    const bool divides = std::none_of(references.of, references.of + Layout::colours, isZero);
    for (int c = 0; divides && c < Layout::colours; ++c) quotients.of[c] /= references.of[c];
    quotients.store(results);
    return divides ? zopStatusOk : zopStatusZeroDenominator;
  }
}

}  // namespace
}  // namespace zopi

#include "stats/norm.exports.inc"
