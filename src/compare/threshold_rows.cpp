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
struct Replace : Side<kSide, T> {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V sample, V threshold, V value) const {
    return this->choose(d, sample, threshold, value, sample);
  }
};

template <class T>
struct ReplaceOutside {
  static constexpr bool kShort = true;
  Side<kAbove, T> upper;
  Side<kBelow, T> lower;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V sample, V upperThreshold, V upperValue, V lowerThreshold,
                          V lowerValue) const {
    const V other = lower.choose(d, sample, lowerThreshold, lowerValue, sample);
    return upper.choose(d, sample, upperThreshold, upperValue, other);
  }
};

template <class T, class Op, class... C>
HWY_INLINE void mapAll(const Op& op, Image<const T> src, Image<T> dst, Extent e, const C&... constants) {
  mapRows(Tag<T>(), op, dst, e, ImageOperand<Tag<T>>{src}, PatternOperand<Tag<T>>(constants)...);
}

template <class T, class Op, class... C>
HWY_INLINE void mapKeeping(const Op& op, Image<const T> src, Image<T> dst, Extent e,
                           const Pattern<T>& written, const C&... constants) {
  mapRows(Tag<T>(), Keeping<Op>{op}, dst, unstreamed(e), ImageOperand<Tag<T>>{dst},
          PatternOperand<Tag<T>>(written), ImageOperand<Tag<T>>{src}, PatternOperand<Tag<T>>(constants)...);
}

template <Beyond kSide, class T>
void sideRows(const Level<T>* level, Image<const T> src, Image<T> dst, Extent e) {
  mapAll(Replace<kSide, T>{level->turn}, src, dst, e, level->threshold, level->value);
}

template <Beyond kSide, class T>
void sideRowsKeeping(const Level<T>* level, Image<const T> src, Image<T> dst, Extent e,
                     const Pattern<T>& written) {
  mapKeeping(Replace<kSide, T>{level->turn}, src, dst, e, written, level->threshold, level->value);
}

template <class T>
void outsideRows(const Level<T>* levels, Image<const T> src, Image<T> dst, Extent e) {
  mapAll(ReplaceOutside<T>{{levels[0].turn}, {levels[1].turn}}, src, dst, e, levels[0].threshold,
         levels[0].value, levels[1].threshold, levels[1].value);
}

template <class T>
void outsideRowsKeeping(const Level<T>* levels, Image<const T> src, Image<T> dst, Extent e,
                        const Pattern<T>& written) {
  mapKeeping(ReplaceOutside<T>{{levels[0].turn}, {levels[1].turn}}, src, dst, e, written, levels[0].threshold,
             levels[0].value, levels[1].threshold, levels[1].value);
}

template <class T>
constexpr ThresholdRows<T> kRows = {{
    {sideRows<kAbove, T>, sideRowsKeeping<kAbove, T>},
    {sideRows<kBelow, T>, sideRowsKeeping<kBelow, T>},
    {outsideRows<T>, outsideRowsKeeping<T>},
}};
template <>
constexpr ThresholdRows<Zop32s> kRows<Zop32s> = {{
    {sideRows<kAbove, Zop32s>, nullptr},
    {sideRows<kBelow, Zop32s>, nullptr},
    {outsideRows<Zop32s>, nullptr},
}};

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
