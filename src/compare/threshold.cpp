// Thresholds: samples beyond a level are replaced. All forms are one, with their values and sides filled in.
#include <bit>
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
UniformLevel<Zop32s> levelOfBits(Zop32f threshold, Zop32f value) {
  const Zop32s turn = threshold < 0 ? INT32_MAX : 0;
  return {std::bit_cast<Zop32s>(threshold) ^ turn, std::bit_cast<Zop32s>(value), turn};
}

template <class Layout, class T>
auto level(const T* threshold, const T* value) {
  if constexpr (!std::is_same_v<Layout, C1>)
    return ChannelLevel<T>{patternOf<Layout>(threshold), patternOf<Layout>(value)};
  else if constexpr (std::is_same_v<T, Zop32f>)
    return levelOfBits(*threshold, *value);
  else
    return UniformLevel<T>{*threshold, *value};
}

template <class T>
constexpr Pattern<T> kColours = writtenSamples<T, AC4::channels, AC4::colours>();

template <class Layout, class T>
void runRow(const ThresholdRow<T>& row, const UniformLevel<T>* levels, Image<const T> src, Image<T> dst,
            Extent band) {
  row.uniform(levels, src, dst, band);
}

template <class Layout, class T>
void runRow(const ThresholdRow<T>& row, const ChannelLevel<T>* levels, Image<const T> src, Image<T> dst,
            Extent band) {
  if constexpr (std::is_same_v<Layout, AC4>)
    row.channelsKeeping(levels, src, dst, band, kColours<T>);
  else
    row.channels(levels, src, dst, band);
}

template <class Layout, class T, template <class> class Level, class Ordered>
ZopStatus replace(Beyond beyond, const Level<Ordered>* levels, Image<const T> src, Image<T> dst,
                  ZopImageSize size) {
  if constexpr (!std::is_same_v<Layout, C4>) {
    src = inWholeSamples(src);
    dst = inWholeSamples(dst);
  }
  const ThresholdRow<Ordered>& row = thresholdTable().of<Ordered>().rows[beyond];
  walkSerial(
      extent(size, Layout::channels),
      [&](Image<const Ordered> from, Image<Ordered> to, Extent band) {
        runRow<Layout>(row, levels, from, to, band);
      },
      src.template as<Ordered>(), dst.template as<Ordered>());
  return zopStatusOk;
}

template <class Layout, class T>
ZopStatus replaceBeyond(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                        const T* threshold, const T* value, int cmpOp) {
  const auto only = level<Layout>(threshold, value);
  return replace<Layout>(cmpOp == zopCmpGreater ? kAbove : kBelow, &only, src, dst, size);
}

template <class Layout, class T>
ZopStatus replaceOutside(std::type_identity_t<Image<const T>> src, Image<T> dst, ZopImageSize size,
                         const T* lowerThreshold, const T* lowerValue, const T* upperThreshold,
                         const T* upperValue) {
  const decltype(level<Layout>(upperThreshold, upperValue)) levels[] = {
      level<Layout>(upperThreshold, upperValue), level<Layout>(lowerThreshold, lowerValue)};
  return replace<Layout>(kOutside, levels, src, dst, size);
}

}  // namespace
}  // namespace zopi

#include "compare/threshold.exports.inc"
