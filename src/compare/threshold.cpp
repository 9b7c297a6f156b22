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

template <class Layout, class T>
ChannelLevel<T> level(const T* threshold, const T* value) {
  return {patternOf<Layout>(threshold), patternOf<Layout>(value)};
}

template <class Layout, class T>
UniformLevel<T> level(T threshold, T value) {
  return {threshold, value};
}

// Floats of one channel are ordered by their bits: as signed integers, and in reverse as unsigned ones where
// the threshold is negative. Turning all bits but the sign makes the second order of the first.
template <class Layout>
UniformLevel<Zop32s> level(Zop32f threshold, Zop32f value) {
  const Zop32s turn = threshold < 0 ? INT32_MAX : 0;
  return {std::bit_cast<Zop32s>(threshold) ^ turn, std::bit_cast<Zop32s>(value), turn};
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

// The constants are samples, or arrays of them.
template <class Layout, class T, class Constant>
ZopStatus replaceBeyond(Image<const T> src, Image<T> dst, ZopImageSize size, Constant threshold,
                        Constant value, int cmpOp) {
  const auto only = level<Layout>(threshold, value);
  return replace<Layout>(cmpOp == zopCmpGreater ? kAbove : kBelow, &only, src, dst, size);
}

template <class Layout, class T, class Constant>
ZopStatus replaceOutside(Image<const T> src, Image<T> dst, ZopImageSize size, Constant lowerThreshold,
                         Constant lowerValue, Constant upperThreshold, Constant upperValue) {
  const auto upper = level<Layout>(upperThreshold, upperValue);
  const std::remove_const_t<decltype(upper)> levels[] = {upper, level<Layout>(lowerThreshold, lowerValue)};
  return replace<Layout>(kOutside, levels, src, dst, size);
}

}  // namespace
}  // namespace zopi

#include "compare/threshold.exports.inc"
