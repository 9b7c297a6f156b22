// Sums of vectors with weights that the compiler knows.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_FILTER_WEIGHTED_SUMS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_FILTER_WEIGHTED_SUMS_INL_H_
#undef ZOPI_FILTER_WEIGHTED_SUMS_INL_H_
#else
#define ZOPI_FILTER_WEIGHTED_SUMS_INL_H_
#endif

#include <array>
#include <bit>
#include <cstddef>
#include <type_traits>

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// A sum that has no terms yet.
struct NoTerms {};
template <class V>
HWY_INLINE V plus(NoTerms, V v) {
  return v;
}
template <class V>
HWY_INLINE V plus(V sum, V v) {
  return hn::Add(sum, v);
}
template <class V>
HWY_INLINE V minus(V sum, NoTerms) {
  return sum;
}
template <class V>
HWY_INLINE V minus(V sum, V v) {
  return hn::Sub(sum, v);
}
template <class V>
HWY_INLINE V minus(NoTerms, V v) {
  return hn::Neg(v);
}

template <int kFactor, class V>
HWY_INLINE V times(V v) {
  constexpr unsigned kBits = kFactor;
  if constexpr (kFactor == 1)
    return v;
  else if constexpr (kFactor == 2)
    return hn::Add(v, v);
  else if constexpr (std::has_single_bit(kBits))
    return hn::ShiftLeft<std::countr_zero(kBits)>(v);
  else
    return hn::Mul(v, hn::Set(hn::DFromV<V>(), kFactor));
}

// Integer lanes may be added in any order: terms of one weight are added first and multiplied together, and
// what counts negatively is taken away at the end. `W::at(i)` is the weight of term(i), of W::count.
template <class W>
struct IntegerSum {
  template <int kWeight, int i = 0, class F, class Sum = NoTerms>
  static HWY_INLINE auto termsOf(const F& term, Sum sum = {}) {
    if constexpr (i == W::count)
      return sum;
    else if constexpr (W::at(i) == kWeight)
      return termsOf<kWeight, i + 1>(term, plus(sum, term(i)));
    else
      return termsOf<kWeight, i + 1>(term, sum);
  }

  // Whether term i is the first whose weight has its magnitude.
  static constexpr bool leads(int i) {
    for (int j = 0; j < i; ++j) {
      if (W::at(j) == W::at(i) || W::at(j) == -W::at(i)) return false;
    }
    return W::at(i) != 0;
  }

  template <int i = 0, class F, class Positive = NoTerms, class Negative = NoTerms>
  static HWY_INLINE auto of(const F& term, Positive positive = {}, Negative negative = {}) {
    if constexpr (i == W::count) {
      return minus(positive, negative);
    } else if constexpr (!leads(i)) {
      return of<i + 1>(term, positive, negative);
    } else {
      constexpr int kWeight = W::at(i) < 0 ? -W::at(i) : W::at(i);
      const auto more = termsOf<kWeight>(term), less = termsOf<-kWeight>(term);
      if constexpr (std::is_same_v<decltype(more), const NoTerms>)
        return of<i + 1>(term, positive, plus(negative, times<kWeight>(less)));
      else
        return of<i + 1>(term, plus(positive, times<kWeight>(minus(more, less))), negative);
    }
  }
};

// Sums of doubles, from the first term to the last. Where products of weights and terms are exact, as those of
// two floats are, a fused multiplication is the same as one before the addition.
template <class W>
struct RealSum {
  template <int i = 0, class D, class V = hn::Vec<D>, class Sum = NoTerms>
  static HWY_INLINE V of(D d, const V* terms, Sum sum = {}) {
    if constexpr (i == W::count) {
      return sum;
    } else {
      constexpr double kWeight = W::at(i);
      if constexpr (kWeight == 0)
        return of<i + 1>(d, terms, sum);
      else if constexpr (kWeight == 1)
        return of<i + 1>(d, terms, plus(sum, terms[i]));
      else if constexpr (kWeight == -1)
        return of<i + 1>(d, terms, minus(sum, terms[i]));
      else if constexpr (std::is_same_v<Sum, NoTerms>)
        return of<i + 1>(d, terms, hn::Mul(terms[i], hn::Set(d, kWeight)));
      else
        return of<i + 1>(d, terms, hn::MulAdd(terms[i], hn::Set(d, kWeight), sum));
    }
  }
};

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
