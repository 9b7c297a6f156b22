#include "synthesis/noise_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "synthesis/noise_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using Doubles = Tag<double>;
constexpr std::ptrdiff_t kDoubles = kLanes<Doubles>;
using Integers = hn::Rebind<int32_t, Doubles>;

// Blocks are whole vectors: what stands behind n numbers is not used.
void uniform(const int32_t* random, std::ptrdiff_t n, UniformRange range, double* noise) {
  const Doubles d;
  const auto factor = hn::Set(d, range.factor), middle = hn::Set(d, range.middle);
  for (std::ptrdiff_t i = 0; i < n; i += kDoubles) {
    const auto integers = hn::PromoteTo(d, hn::Load(Integers(), random + i));
    hn::Store(hn::Add(hn::Mul(integers, factor), middle), d, noise + i);
  }
}

void gauss(const PolarPoints& points, std::ptrdiff_t n, double mean, double deviation, double* noise) {
  const Doubles d;
  const auto middle = hn::Set(d, mean), width = hn::Set(d, deviation);
  for (std::ptrdiff_t i = 0; 2 * i < n; i += kDoubles) {
    const auto scaled = hn::Mul(hn::Set(d, -2.0), hn::Load(d, points.logarithm + i));
    const auto f = hn::Mul(width, hn::Sqrt(hn::Div(scaled, hn::Load(d, points.s + i))));
    hn::StoreInterleaved2(hn::Add(hn::Mul(f, hn::Load(d, points.a + i)), middle),
                          hn::Add(hn::Mul(f, hn::Load(d, points.b + i)), middle), d, noise + 2 * i);
  }
}

// As many sums as a vector of doubles has.
template <class D>
HWY_INLINE hn::Vec<D> sum(D d, const double* noise, hn::Vec<D> samples) {
  const Doubles dd;
  const Integers d32;
  const auto r = hn::LoadU(dd, noise);
  if constexpr (hwy::IsFloat<hn::TFromD<D>>()) {
    return hn::DemoteTo(d, hn::Add(r, hn::PromoteTo(dd, samples)));
  } else {
    // Numbers far beyond the range of samples are as good as its ends, and do not overflow.
    const auto bound = hn::Set(dd, 1 << 20);
    const auto rounded = hn::DemoteTo(d32, hn::Round(hn::Min(hn::Max(r, hn::Neg(bound)), bound)));
    return hn::DemoteTo(d, held<hn::TFromD<D>>(d32, hn::Add(rounded, hn::PromoteTo(d32, samples))));
  }
}

template <class T>
void add(const double* noise, std::ptrdiff_t n, T* samples) {
  const hn::Rebind<T, Doubles> d;
  std::ptrdiff_t i = 0;
  for (; i + kDoubles <= n; i += kDoubles)
    hn::StoreU(sum(d, noise + i, hn::LoadU(d, samples + i)), d, samples + i);
  if (i == n) return;
  double last[kDoubles] = {};
  std::memcpy(last, noise + i, (n - i) * sizeof last[0]);
  storePart(d, sum(d, last, loadPart(d, samples + i, n - i)), samples + i, n - i);
}

template <class T>
constexpr NoiseRows<T> rowsOf() {
  return {add<T>};
}

constexpr NoiseTable kTable = {{rowsOf<Zop8u>(), rowsOf<Zop16s>(), rowsOf<Zop32f>()}, uniform, gauss};

}  // namespace

const NoiseTable* noiseTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(noiseTableOfTarget);

const NoiseTable& noiseTable() { return *HWY_DYNAMIC_DISPATCH(noiseTableOfTarget)(); }

}  // namespace zopi
#endif
