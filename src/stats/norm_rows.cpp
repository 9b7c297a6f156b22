#include "stats/norm_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/norm_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/reductions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Magnitudes and distances of integers, in unsigned lanes of the same width.
struct Magnitude {
  template <class D, class V>
  HWY_INLINE hn::Vec<D> operator()(D d, V a) const {
    if constexpr (std::is_signed_v<hn::TFromV<V>>)
      return hn::BitCast(d, hn::Abs(a));
    else
      return a;
  }
  template <class D, class V>
  HWY_INLINE hn::Vec<D> operator()(D d, V a, V b) const {
    return hn::BitCast(d, hn::Sub(hn::Max(a, b), hn::Min(a, b)));
  }
};

// The same for numbers, and their squares, in double lanes.
template <NormKind kKind>
struct TermOfNumbers {
  template <class D, class V>
  HWY_INLINE V operator()(D, V a) const {
    return kKind == kL2 ? hn::Mul(a, a) : hn::Abs(a);
  }
  template <class D, class V>
  HWY_INLINE V operator()(D d, V a, V b) const {
    return operator()(d, hn::Sub(a, b));
  }
};

// The largest term of each channel.
template <class D, int kChannels, class Term>
struct Largest {
  using T = hn::TFromD<D>;
  static constexpr std::ptrdiff_t kSteps = PTRDIFF_MAX;
  Best<D, kChannels, Larger> best;

  template <int K, class M, class... V>
  HWY_INLINE void take(M mask, V... v) {
    const D d;
    best.template take<K>(mask, Term()(d, toLanes(d, v)...));
  }
  HWY_INLINE void flush() {}

 private:
  template <class V>
  static HWY_INLINE auto toLanes(D d, V v) {
    if constexpr (hwy::IsFloat<T>())
      return toReal(d, v);
    else
      return v;
  }
};

template <class Lane, int kChannels, class Term, class T, class... I>
void largestRows(Extent samples, NormSum<T>* norms, I... images) {
  using D = Tag<Lane>;
  Lane largest[kChannels];
  for (int c = 0; c < kChannels; ++c) largest[c] = static_cast<Lane>(norms[c]);
  Largest<D, kChannels, Term> op{Best<D, kChannels, Larger>(largest)};
  reduceRows(D(), op, samples, ImageOperand<SamplesOf<T, D>>{images}...);
  op.best.store(largest);
  for (int c = 0; c < kChannels; ++c) norms[c] = static_cast<NormSum<T>>(largest[c]);
}

template <NormKind kKind, int kChannels, class T, class... I>
HWY_INLINE void normRows(Extent samples, NormSum<T>* norms, I... images) {
  if constexpr (std::is_same_v<T, Zop32f>) {
    if constexpr (kKind == kInf)
      largestRows<double, kChannels, TermOfNumbers<kInf>, T>(samples, norms, images...);
    else
      addInOrder<kChannels>(TermOfNumbers<kKind>(), samples, norms, images...);
  } else {
    using Lane = hwy::MakeUnsigned<T>;
    using D = Tag<Lane>;
    if constexpr (kKind == kInf) {
      largestRows<Lane, kChannels, Magnitude, T>(samples, norms, images...);
    } else {
      std::conditional_t<kKind == kL1, ChannelSums<D, kChannels, Magnitude>,
                         ChannelSquareSums<D, kChannels, Magnitude>>
          op(norms);
      reduceRows(D(), op, samples, ImageOperand<Tag<T>>{images}...);
    }
  }
}

template <NormKind kKind, int kChannels, class T>
void imageRows(Image<const T> a, Extent samples, NormSum<T>* norms) {
  normRows<kKind, kChannels, T>(samples, norms, a);
}
template <NormKind kKind, int kChannels, class T>
void differenceRows(Image<const T> a, Image<const T> b, Extent samples, NormSum<T>* norms) {
  normRows<kKind, kChannels, T>(samples, norms, a, b);
}

template <NormKind kKind, class T>
constexpr void fill(NormRows<T>& rows) {
  rows.ofImage[kKind][1] = imageRows<kKind, 1, T>;
  rows.ofImage[kKind][3] = imageRows<kKind, 3, T>;
  rows.ofImage[kKind][4] = imageRows<kKind, 4, T>;
  rows.ofDifference[kKind][1] = differenceRows<kKind, 1, T>;
  rows.ofDifference[kKind][3] = differenceRows<kKind, 3, T>;
  rows.ofDifference[kKind][4] = differenceRows<kKind, 4, T>;
  if constexpr (std::is_same_v<T, Zop32f> && kKind != kInf) rows.ofImage[kKind][2] = imageRows<kKind, 2, T>;
}

template <class T>
constexpr NormRows<T> rowsOf() {
  NormRows<T> rows{};
  fill<kInf>(rows);
  fill<kL1>(rows);
  fill<kL2>(rows);
  return rows;
}

void largestRowsOf32s(Image<const Zop32s> a, Extent samples, std::int64_t* norms) {
  largestRows<uint32_t, 1, Magnitude, Zop32s>(samples, norms, a);
}

constexpr NormTable kTable = {{rowsOf<Zop8u>(), rowsOf<Zop16s>(), rowsOf<Zop32f>()}, largestRowsOf32s};

}  // namespace

const NormTable* normTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(normTableOfTarget);

const NormTable& normTable() { return *HWY_DYNAMIC_DISPATCH(normTableOfTarget)(); }

}  // namespace zopi
#endif
