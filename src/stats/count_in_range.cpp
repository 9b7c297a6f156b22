// Counts of samples within a range. Images of numbers advance by whole samples.
#include <cstring>

#include "core/walk.h"
#include "stats/count_in_range_rows.h"

namespace zopi {
namespace {

// A bound that is not a number is in no order.
template <int kCount, class T>
ZopStatus checkRanges(const T* lower, const T* upper) {
  T low[kCount], high[kCount];
  std::memcpy(low, lower, sizeof low);
  std::memcpy(high, upper, sizeof high);
  for (int c = 0; c < kCount; ++c) {
    if (!(high[c] >= low[c])) return zopStatusBadRange;
  }
  return zopStatusOk;
}
template <class T>
ZopStatus checkRange(T lower, T upper) {
  return checkRanges<1>(&lower, &upper);
}
template <class T>
ZopStatus checkRange(const T* lower, const T* upper) {
  return checkRanges<3>(lower, upper);
}

template <class Layout, class T>
ZopStatus countInRange(Image<const T> src, ZopImageSize size, int* results, const T* lower, const T* upper) {
  if constexpr (std::is_same_v<T, Zop32f>) src = inWholeSamples(src);
  const Pattern<T> low = patternOf<Layout>(lower), high = patternOf<Layout>(upper);
  const auto row = countTable().of<T>().of[Layout::channels];
  std::int64_t counts[4] = {};
  walkSerial(
      extent(size, Layout::channels), [&](Image<const T> a, Extent band) { row(a, band, low, high, counts); },
      src);
  for (int c = 0; c < Layout::colours; ++c) results[c] = static_cast<int>(counts[c]);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "stats/count_in_range.exports.inc"
