// Sums and means of channels. Sums of integers are exact.
#include <cstring>

#include "core/walk.h"
#include "stats/sum_rows.h"

namespace zopi {
namespace {

template <class Layout, class T>
ZopStatus sum(Image<const T> src, ZopImageSize size, Zop64f* sums) {
  using Rows = SumRows<T>;
  typename Rows::Sum exact[4] = {};
  const auto row = sumTable().of<T>().of[Layout::channels];
  const auto walk = [&](Image<const T> a, Extent band) { row(a, band, exact); };
  if constexpr (std::is_same_v<T, Zop32f> && std::is_same_v<Layout, C1>) {
    // Odd columns are odd in their row, so rows cannot be one.
    walk(src, extent(size));
    exact[0] = exact[1] + exact[0];
  } else {
    walkSerial(extent(size, Layout::channels), walk, src);
  }
  Zop64f results[Layout::colours];
  for (int c = 0; c < Layout::colours; ++c) results[c] = static_cast<Zop64f>(exact[c]);
  std::memcpy(sums, results, sizeof results);
  return zopStatusOk;
}

// One channel is divided by the number of its pixels, which has 32 bits; several are multiplied by its
// reciprocal.
template <class Layout, class T>
ZopStatus mean(Image<const T> src, ZopImageSize size, Zop64f* means) {
  Zop64f sums[Layout::colours];
  sum<Layout>(src, size, sums);
  const auto pixels = static_cast<Zop64f>(size.width * size.height);
  for (Zop64f& value : sums) value = Layout::colours == 1 ? value / pixels : value * (1.0 / pixels);
  std::memcpy(means, sums, sizeof sums);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "stats/sum.exports.inc"
