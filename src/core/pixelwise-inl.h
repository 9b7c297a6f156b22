// The rows of pixelwise operations, from the operation on whole vectors, which is built from the parameters
// of the rows. Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_PIXELWISE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_PIXELWISE_INL_H_
#undef ZOPI_CORE_PIXELWISE_INL_H_
#else
#define ZOPI_CORE_PIXELWISE_INL_H_
#endif

#include "core/pixelwise.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {

template <class Op, class T>
using OperandTag = SamplesOf<T, LaneTag<Op, T>>;

template <class Op, class S, class T, class... P>
void imageRows(Image<const S> a, Image<T> out, Extent e, P... p) {
  using D = LaneTag<Op, T>;
  mapRows(D(), Op{p...}, out, e, ImageOperand<SamplesOf<S, D>>{a});
}

template <class Op, class S, class T, class... P>
void imageRowsKeeping(const Pattern<T>& written, Image<const S> a, Image<T> out, Extent e, P... p) {
  using D = LaneTag<Op, T>;
  mapRows(D(), Keeping<Op>{Op{p...}}, out, unstreamed(e), ImageOperand<SamplesOf<T, D>>{out},
          PatternOperand<SamplesOf<T, D>>(written), ImageOperand<SamplesOf<S, D>>{a});
}

template <class Op, class T, class... P>
void twoImageRows(Image<const T> a, Image<const T> b, Image<T> out, Extent e, P... p) {
  mapRows(LaneTag<Op, T>(), Op{p...}, out, e, ImageOperand<OperandTag<Op, T>>{a},
          ImageOperand<OperandTag<Op, T>>{b});
}

template <class Op, class T, class... P>
void twoImageRowsKeeping(const Pattern<T>& written, Image<const T> a, Image<const T> b, Image<T> out,
                         Extent e, P... p) {
  mapRows(LaneTag<Op, T>(), Keeping<Op>{Op{p...}}, out, unstreamed(e), ImageOperand<OperandTag<Op, T>>{out},
          PatternOperand<OperandTag<Op, T>>(written), ImageOperand<OperandTag<Op, T>>{a},
          ImageOperand<OperandTag<Op, T>>{b});
}

template <class Op, class T, class... P>
void constantRows(const Pattern<T>& a, Image<const T> b, Image<T> out, Extent e, P... p) {
  mapRows(LaneTag<Op, T>(), Op{p...}, out, e, PatternOperand<OperandTag<Op, T>>(a),
          ImageOperand<OperandTag<Op, T>>{b});
}

template <class Op, class T, class... P>
void constantRowsKeeping(const Pattern<T>& written, const Pattern<T>& a, Image<const T> b, Image<T> out,
                         Extent e, P... p) {
  mapRows(LaneTag<Op, T>(), Keeping<Op>{Op{p...}}, out, unstreamed(e), ImageOperand<OperandTag<Op, T>>{out},
          PatternOperand<OperandTag<Op, T>>(written), PatternOperand<OperandTag<Op, T>>(a),
          ImageOperand<OperandTag<Op, T>>{b});
}

template <class Op, class S, class T, class... P>
constexpr ConversionRow<S, T, P...> conversionRows() {
  return {imageRows<Op, S, T, P...>, imageRowsKeeping<Op, S, T, P...>};
}
template <class Op, class T, class... P>
constexpr UnaryRow<T, P...> unaryRows() {
  return conversionRows<Op, T, T, P...>();
}
template <class Op, class T, class... P>
constexpr BinaryRow<T, P...> binaryRowsWithoutKeeping() {
  return {twoImageRows<Op, T, P...>, nullptr, constantRows<Op, T, P...>, nullptr};
}
template <class Op, class T, class... P>
constexpr BinaryRow<T, P...> binaryRows() {
  return {twoImageRows<Op, T, P...>, twoImageRowsKeeping<Op, T, P...>, constantRows<Op, T, P...>,
          constantRowsKeeping<Op, T, P...>};
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
