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
#include <utility>

#include "core/lanes-inl.h"

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

// The weights that take a multiplication, as vectors: W has all weights of a filter. The compiler must not
// see that they are constant: it would make shifts and additions of the multiplications, which take longer.
template <class D, class W>
class Factors {
 public:
  HWY_INLINE Factors() { fill(std::make_integer_sequence<int, W::count>()); }

  template <int kWeight, class V>
  HWY_INLINE V times(V v) const {
    constexpr unsigned kBits = kWeight;
    if constexpr (kWeight == 1)
      return v;
    else if constexpr (kWeight == 2)
      return hn::Add(v, v);
    else if constexpr (std::has_single_bit(kBits))
      return hn::ShiftLeft<std::countr_zero(kBits)>(v);
    else
      return hn::Mul(v, vectors_[firstOf(kWeight)]);
  }

 private:
  static constexpr int magnitude(int i) { return W::at(i) < 0 ? -W::at(i) : W::at(i); }
  static constexpr int firstOf(int weight) {
    int i = 0;
    while (magnitude(i) != weight) ++i;
    return i;
  }
  template <int... I>
  HWY_INLINE void fill(std::integer_sequence<int, I...>) {
    ((vectors_[I] = inRegister(hn::Set(D(), magnitude(I)))), ...);
  }

  hn::Vec<D> vectors_[W::count];
};

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

  template <int i = 0, class Factors, class F, class Positive = NoTerms, class Negative = NoTerms>
  static HWY_INLINE auto of(const Factors& factors, const F& term, Positive positive = {},
                            Negative negative = {}) {
    if constexpr (i == W::count) {
      return minus(positive, negative);
    } else if constexpr (!leads(i)) {
      return of<i + 1>(factors, term, positive, negative);
    } else {
      constexpr int kWeight = W::at(i) < 0 ? -W::at(i) : W::at(i);
      const auto more = termsOf<kWeight>(term);
      const auto less = termsOf<-kWeight>(term);
      if constexpr (std::is_same_v<decltype(more), const NoTerms>)
        return of<i + 1>(factors, term, positive, plus(negative, factors.template times<kWeight>(less)));
      else
        return of<i + 1>(factors, term, plus(positive, factors.template times<kWeight>(minus(more, less))),
                         negative);
    }
  }
};

// Sums of doubles, from the first term to the last. Where products of weights and terms are exact, as those
// of two floats are, a fused multiplication is the same as one before the addition.
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
