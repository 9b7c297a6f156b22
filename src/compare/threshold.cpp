// Thresholds: samples beyond a level are replaced. All forms are one, with their values and sides filled in.
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "compare/threshold_rows.h"
#include "core/pattern.h"
#include "core/walk.h"

namespace zopi {
namespace {

ZopStatus checkMode(int cmpOp) {
  return cmpOp == zopCmpLess || cmpOp == zopCmpGreater ? zopStatusOk : zopStatusUnsupportedMode;
}

// As numbers, whatever the rows compare: two zeros are equal, and a not-a-number is above nothing.
template <class T>
ZopStatus checkThresholds(T lower, T upper) {
  return lower > upper ? zopStatusBadThresholds : zopStatusOk;
}

template <class T>
ZopStatus checkThresholds(const T* lower, const T* upper) {
  T low[3], high[3];
  std::memcpy(low, lower, sizeof low);
  std::memcpy(high, upper, sizeof high);
  for (int c = 0; c < 3; ++c) {
    if (ZopStatus bad = checkThresholds(low[c], high[c])) return bad;
  }
  return zopStatusOk;
}

// Floats of one channel are ordered by their bits: as signed integers, and in reverse as unsigned ones where
// the threshold is negative. Turning all bits but the sign makes the second order of the first.
template <class Layout, class T>
constexpr bool kByBits = std::is_same_v<T, Zop32f>&& std::is_same_v<Layout, C1>;
template <class Layout, class T>
using Ordered = std::conditional_t<kByBits<Layout, T>, Zop32s, T>;

template <class Layout, class T>
Level<Ordered<Layout, T>> level(const T* threshold, const T* value) {
  if constexpr (kByBits<Layout, T>) {
    const Zop32s turn = *threshold < 0 ? INT32_MAX : 0;
    const Zop32s bits = std::bit_cast<Zop32s>(*threshold) ^ turn, newBits = std::bit_cast<Zop32s>(*value);
    return {repeat(&bits, 1), repeat(&newBits, 1), turn};
  } else {
    return {patternOf<Layout>(threshold), patternOf<Layout>(value)};
  }
}

template <class T>
constexpr Pattern<T> kColours = writtenSamples<T, AC4::channels, AC4::colours>();

template <class Layout, class T>
ZopStatus replace(Beyond beyond, const Level<Ordered<Layout, T>>* levels, Image<const T> src, Image<T> dst,
                  ZopImageSize size) {
  using Sample = Ordered<Layout, T>;
  if constexpr (!std::is_same_v<Layout, C4>) {
    src = inWholeSamples(src);
    dst = inWholeSamples(dst);
  }
  const ThresholdRow<Sample>& rows = thresholdTable().of<Sample>().rows[beyond];
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const Sample> from, Image<Sample> to, Extent band) {
        if constexpr (std::is_same_v<Layout, AC4>)
          rows.keeping(levels, from, to, band, kColours<T>);
        else
          rows.all(levels, from, to, band);
      },
      src.template as<Sample>(), dst.template as<Sample>());
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus replaceBeyond(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                        const T* threshold, const T* value, int cmpOp) {
  const auto only = level<Layout>(threshold, value);
  return replace<Layout>(cmpOp == zopCmpGreater ? kAbove : kBelow, &only, src, dst, size);
}

template <class Layout, class T>
ZopStatus replaceBeyond(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                        T threshold, T value, int cmpOp) {
  return replaceBeyond<Layout>(src, dst, size, &threshold, &value, cmpOp);
}

template <class Layout, class T>
ZopStatus replaceOutside(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                         const T* lowerThreshold, const T* lowerValue, const T* upperThreshold,
                         const T* upperValue) {
  const Level<Ordered<Layout, T>> levels[] = {level<Layout>(upperThreshold, upperValue),
                                              level<Layout>(lowerThreshold, lowerValue)};
  return replace<Layout>(kOutside, levels, src, dst, size);
}

template <class Layout, class T>
ZopStatus replaceOutside(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                         T lowerThreshold, T lowerValue, T upperThreshold, T upperValue) {
  return replaceOutside<Layout>(src, dst, size, &lowerThreshold, &lowerValue, &upperThreshold, &upperValue);
}

}  // namespace
}  // namespace zopi

#include "compare/threshold.exports.inc"
