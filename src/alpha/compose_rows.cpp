#include "alpha/compose_rows.h"

#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "alpha/compose_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "alpha/pixels-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

constexpr bool isPremultiplied(int type) { return type >= zopAlphaOverPremul; }
constexpr int operationOf(int type) { return isPremultiplied(type) ? type - zopAlphaOverPremul : type; }

// An image of an operation, multiplied by its alpha if it is not yet.
template <int kType, class D>
HWY_INLINE hn::Vec<D> premultiplied(D d, hn::Vec<D> v, Factor<D> alpha) {
  return isPremultiplied(kType) ? v : product(d, v, alpha);
}

// The rule of an operation for premultiplied colours and, with the alphas in their place, for alpha.
template <int kType, class D>
HWY_INLINE hn::Vec<D> rule(D d, hn::Vec<D> a, Factor<D> alphaA, hn::Vec<D> b, Factor<D> alphaB) {
  constexpr int kOperation = operationOf(kType);
  if constexpr (kOperation == zopAlphaOver) return hn::SaturatedAdd(a, product(d, b, complement(d, alphaA)));
  if constexpr (kOperation == zopAlphaIn) return product(d, a, alphaB);
  if constexpr (kOperation == zopAlphaOut) return product(d, a, complement(d, alphaB));
  if constexpr (kOperation == zopAlphaATop)
    return hn::SaturatedAdd(product(d, a, alphaB), product(d, b, complement(d, alphaA)));
  if constexpr (kOperation == zopAlphaXor)
    return hn::SaturatedAdd(product(d, a, complement(d, alphaB)), product(d, b, complement(d, alphaA)));
  if constexpr (kOperation == zopAlphaPlus) return hn::SaturatedAdd(a, b);
}

// One operation multiplies the alpha of A by itself where the colours of A meet the alpha of B.
constexpr bool squaresAlpha(int type) { return type == zopAlphaATop; }

template <int kType, class D, class V>
HWY_INLINE V ruleOfAlpha(D d, V alphaA, V alphaB) {
  const Factor<D> a = factor(d, alphaA), b = factor(d, alphaB);
  return rule<kType>(d, alphaA, a, alphaB, squaresAlpha(kType) ? a : b);
}

template <int kType, class D, class V>
HWY_INLINE V ruleOfColours(D d, V a, V b, Factor<D> alphaA, Factor<D> alphaB) {
  return rule<kType>(d, premultiplied<kType>(d, a, alphaA), alphaA, premultiplied<kType>(d, b, alphaB),
                     alphaB);
}

// Alpha is not multiplied by itself first: its lanes take 1 in place of the alpha.
template <int kType>
struct OfPixels {
  static constexpr int kGroup = 4;
  static constexpr bool kShort = isPremultiplied(kType);
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    a = inRegister(a);
    b = inRegister(b);
    const Factor<D> alphaA = alphaOfPixels(d, a), alphaB = alphaOfPixels(d, b);
    return rule<kType>(d, premultiplied<kType>(d, a, withAlpha(d, alphaA, one(d))), alphaA,
                       premultiplied<kType>(d, b, withAlpha(d, alphaB, one(d))),
                       squaresAlpha(kType) ? withAlpha(d, alphaB, alphaA) : alphaB);
  }
};

template <int kType>
struct OfColours {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V alphaA, V b, V alphaB) const {
    return ruleOfColours<kType>(d, a, b, factor(d, alphaA), factor(d, alphaB));
  }
};

template <int kType>
struct OfAlpha {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V alphaA, V alphaB) const {
    return ruleOfAlpha<kType>(d, alphaA, alphaB);
  }
};

template <int kType, class T>
struct ByConstants {
  T alphaA, alphaB;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    return ruleOfColours<kType>(d, a, b, factor(d, hn::Set(d, alphaA)), factor(d, hn::Set(d, alphaB)));
  }
};

template <int kType, class T>
void colourRows(Image<const T> a, Image<const T> alphaA, Image<const T> b, Image<const T> alphaB,
                Image<T> out, Extent e) {
  mapRows(Tag<T>(), OfColours<kType>(), out, e, ImageOperand<Tag<T>>{a}, ImageOperand<Tag<T>>{alphaA},
          ImageOperand<Tag<T>>{b}, ImageOperand<Tag<T>>{alphaB});
}

template <int kType, class T>
T alphaOfConstants(T alphaA, T alphaB) {
  const Tag<T> d;
  return hn::GetLane(ruleOfAlpha<kType>(d, hn::Set(d, alphaA), hn::Set(d, alphaB)));
}

template <int kType, class T>
void pixelRowsByConstants(Image<const T> a, Image<const T> b, Image<T> out, Extent e, T alphaA, T alphaB) {
  const T alpha = alphaOfConstants<kType>(alphaA, alphaB);
  mapRows(Tag<T>(), Keeping<ByConstants<kType, T>>{{alphaA, alphaB}}, out, e,
          PatternOperand<Tag<T>>(repeat(&alpha, 1)), PatternOperand<Tag<T>>(writtenSamples<T, 4, 3>()),
          ImageOperand<Tag<T>>{a}, ImageOperand<Tag<T>>{b});
}

template <class T, int... kType>
constexpr ComposeRows<T> rowsOf(std::integer_sequence<int, kType...>) {
  return {{{twoImageRows<OfPixels<kType>, T>, colourRows<kType, T>, twoImageRows<OfAlpha<kType>, T>,
            twoImageRows<ByConstants<kType, T>, T, T, T>, pixelRowsByConstants<kType, T>,
            alphaOfConstants<kType, T>}...}};
}

constexpr auto kTypes = std::make_integer_sequence<int, kAlphaTypes>();
constexpr ComposeTable kTable = {rowsOf<Zop8u>(kTypes), rowsOf<Zop16u>(kTypes)};

}  // namespace

const ComposeTable* composeTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(composeTableOfTarget);

const ComposeTable& composeTable() { return *HWY_DYNAMIC_DISPATCH(composeTableOfTarget)(); }

}  // namespace zopi
#endif
