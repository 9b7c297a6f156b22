#include "compare/threshold_rows.h"

#include <type_traits>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compare/threshold_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// One side of a threshold. `value` replaces what lies beyond, `other` what does not.
template <Beyond kSide, class T>
struct Side {
  T turn;

  HWY_INLINE explicit Side(const UniformLevel<T>& level) : turn(level.turn) {}
  HWY_INLINE explicit Side(const ChannelLevel<T>&) : turn() {}

  template <class D, class V>
  HWY_INLINE V choose(D d, V sample, V threshold, V value, V other) const {
    V ordered = sample;
    if constexpr (std::is_same_v<T, Zop32s>) ordered = hn::Xor(sample, hn::Set(d, turn));
    if constexpr (kSide == kAbove)
      return hn::IfThenElse(hn::Gt(ordered, threshold), value, other);
    else
      return hn::IfThenElse(hn::Lt(ordered, threshold), value, other);
  }
};

template <Beyond kSide, class T>
struct Replace {
  static constexpr bool kShort = true;
  Side<kSide, T> side;

  template <class Level>
  HWY_INLINE explicit Replace(const Level* level) : side(*level) {}

  template <class D, class V>
  HWY_INLINE V operator()(D d, V sample, V threshold, V value) const {
    sample = inRegister(sample);
    return side.choose(d, sample, threshold, value, sample);
  }
};

template <class T>
struct Replace<kOutside, T> {
  static constexpr bool kShort = true;
  Side<kAbove, T> upper;
  Side<kBelow, T> lower;

  template <class Level>
  HWY_INLINE explicit Replace(const Level* levels) : upper(levels[0]), lower(levels[1]) {}

  template <class D, class V>
  HWY_INLINE V operator()(D d, V sample, V upperThreshold, V upperValue, V lowerThreshold,
                          V lowerValue) const {
    sample = inRegister(sample);
    const V other = lower.choose(d, sample, lowerThreshold, lowerValue, sample);
    return upper.choose(d, sample, upperThreshold, upperValue, other);
  }
};

constexpr int levelsOf(Beyond beyond) { return beyond == kOutside ? 2 : 1; }

// Maps the images and, behind them, the constants of the levels.
template <template <class> class Constant, int kLevels, class D, class Op, class Level, class... S>
HWY_INLINE void mapLevels(D d, const Op& op, Image<hn::TFromD<D>> dst, Extent e, const Level* levels,
                          S... images) {
  if constexpr (kLevels == 1) {
    mapRows(d, op, dst, e, images..., Constant<D>(levels[0].threshold), Constant<D>(levels[0].value));
  } else {
    mapRows(d, op, dst, e, images..., Constant<D>(levels[0].threshold), Constant<D>(levels[0].value),
            Constant<D>(levels[1].threshold), Constant<D>(levels[1].value));
  }
}

template <Beyond kBeyond, class T>
void uniformRows(const UniformLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e) {
  const Replace<kBeyond, T> op(levels);
  mapLevels<UniformOperand, levelsOf(kBeyond)>(Tag<T>(), op, dst, e, levels, ImageOperand<Tag<T>>{src});
}

template <Beyond kBeyond, class T>
void channelRows(const ChannelLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e) {
  const Replace<kBeyond, T> op(levels);
  mapLevels<PatternOperand, levelsOf(kBeyond)>(Tag<T>(), op, dst, e, levels, ImageOperand<Tag<T>>{src});
}

template <Beyond kBeyond, class T>
void channelRowsKeeping(const ChannelLevel<T>* levels, Image<const T> src, Image<T> dst, Extent e,
                        const Pattern<T>& written) {
  const Keeping<Replace<kBeyond, T>> op{Replace<kBeyond, T>(levels)};
  mapLevels<PatternOperand, levelsOf(kBeyond)>(Tag<T>(), op, dst, unstreamed(e), levels,
                                               ImageOperand<Tag<T>>{dst}, PatternOperand<Tag<T>>(written),
                                               ImageOperand<Tag<T>>{src});
}

template <Beyond kBeyond, class T>
constexpr ThresholdRow<T> rowOf() {
  if constexpr (std::is_same_v<T, Zop32s>)
    return {uniformRows<kBeyond, T>, nullptr, nullptr};
  else if constexpr (std::is_same_v<T, Zop32f>)
    return {nullptr, channelRows<kBeyond, T>, channelRowsKeeping<kBeyond, T>};
  else
    return {uniformRows<kBeyond, T>, channelRows<kBeyond, T>, channelRowsKeeping<kBeyond, T>};
}

template <class T>
constexpr ThresholdRows<T> kRows = {{rowOf<kAbove, T>(), rowOf<kBelow, T>(), rowOf<kOutside, T>()}};

constexpr ThresholdTable kTable = {kRows<Zop8u>, kRows<Zop16s>, kRows<Zop32s>, kRows<Zop32f>};

}  // namespace

const ThresholdTable* thresholdTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(thresholdTableOfTarget);

const ThresholdTable& thresholdTable() { return *HWY_DYNAMIC_DISPATCH(thresholdTableOfTarget)(); }

}  // namespace zopi
#endif
