#include "geom/super_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geom/super_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <type_traits>

#include "geom/resize_lanes-inl.h"
#include "geom/windows.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using Reals = Tag<double>;
using Floats = Tag<float>;
using Counts = Tag<uint32_t>;
constexpr std::ptrdiff_t kReals = kLanes<Reals>;
constexpr std::ptrdiff_t kFloats = kLanes<Floats>;

// Counts as doubles: below 2^52, they are the lowest bits of 2^52 and more.
HWY_INLINE hn::Vec<Reals> asReals(hn::Vec<hn::Half<Counts>> counts) {
  const Reals d;
  const auto origin = hn::Set(d, 0x1p52);
  const auto wide = hn::PromoteTo(hn::RebindToUnsigned<Reals>(), counts);
  return hn::Sub(hn::BitCast(d, hn::Or(wide, hn::BitCast(hn::RebindToUnsigned<Reals>(), origin))), origin);
}
HWY_INLINE hn::Vec<Reals> asReals(hn::Vec<hn::Half<Floats>> numbers) {
  return hn::PromoteTo(Reals(), numbers);
}

// Sums of columns, kCounts as integers that wrap, else in single precision.
template <class T, bool kCounts>
struct Columns {
  using D = std::conditional_t<kCounts, Counts, Floats>;
  using DT = SamplesOf<T, D>;
  using V = hn::Vec<D>;

  static HWY_INLINE V plus(V sum, hn::Vec<DT> samples, double weight) {
    const D d;
    if constexpr (kCounts) {
      const auto counts = hn::PromoteTo(d, samples);
      if (HWY_LIKELY(weight == 1)) return hn::Add(sum, counts);
      return hn::Add(sum, hn::Mul(counts, hn::Set(d, static_cast<uint32_t>(weight))));
    } else {
      const auto numbers = toReal(d, samples);
      if (weight == 1) return hn::Add(sum, numbers);
      const auto add = [&](auto dd, auto s, auto n)
                           HWY_ATTR { return hn::Add(s, hn::Mul(n, hn::Set(dd, weight))); };
      return inDoubles(d, add, sum, numbers);
    }
  }

  static void sum(const Covered* begin, const Covered* end, Image<const T> from, std::ptrdiff_t samples,
                  double* sums) {
    const D d;
    const Reals dr;
    forParts<kLanes<D>>(samples, [&](std::ptrdiff_t i, auto n) HWY_ATTR {
      V sum = hn::Zero(d);
      for (const Covered* row = begin; row != end; ++row) {
        sum = plus(sum, loadPart(DT(), from.row(row->index) + i, n), row->weight);
      }
      const hn::Half<D> half;
      hn::StoreU(asReals(hn::LowerHalf(half, sum)), dr, sums + i);
      hn::StoreU(asReals(hn::UpperHalf(half, sum)), dr, sums + i + kReals);
    });
  }
};

// The columns that vectors of results cover: for each vector as many places and weights as its widest has.
struct Reductions {
  const std::ptrdiff_t* starts;
  const int64_t* places;
  const double* weights;

  // Who covers less has a weight of 0, on a place that holds 0.
  Reductions(const SuperCall& call, Scratch& scratch) {
    const std::ptrdiff_t samples = call.samples(), vectors = (samples + kReals - 1) / kReals;
    auto* begin = scratch.take<std::ptrdiff_t>(vectors + 1);
    const int* of = call.across.starts;
    const auto column = [&](std::ptrdiff_t s) { return std::min(s, samples - 1) / call.channels; };
    begin[0] = 0;
    for (std::ptrdiff_t v = 0; v < vectors; ++v) {
      int most = 0;
      for (std::ptrdiff_t x = column(v * kReals); x <= column(v * kReals + kReals - 1); ++x) {
        most = std::max(most, of[x + 1] - of[x]);
      }
      begin[v + 1] = begin[v] + most;
    }
    auto* at = scratch.take<int64_t>(begin[vectors] * kReals);
    auto* weight = scratch.take<double>(begin[vectors] * kReals);
    for (std::ptrdiff_t s = 0; s < vectors * kReals; ++s) {
      const std::ptrdiff_t x = column(s), v = s / kReals;
      const Covered* covered = call.across.covered + of[x];
      const int count = of[x + 1] - of[x];
      for (std::ptrdiff_t i = begin[v]; i < begin[v + 1]; ++i) {
        const std::ptrdiff_t k = i - begin[v], lane = i * kReals + s % kReals;
        const bool covers = k < count && s < samples;
        at[lane] = covers ? std::int64_t{covered[k].index} * call.channels + s % call.channels
                          : call.sourceSamples();
        weight[lane] = covers ? covered[k].weight : 0;
      }
    }
    starts = begin;
    places = at;
    weights = weight;
  }
};

// Sums as samples of the destination. Integers lose what is above their bits.
template <class T, bool kCounts>
HWY_INLINE hn::Vec<SamplesOf<T, Reals>> asMeans(hn::Vec<Reals> sums, double area) {
  const Reals d;
  const SamplesOf<float, Reals> df;
  if constexpr (kCounts) {
    const auto over = hn::Floor(hn::Mul(sums, hn::Set(d, 0x1p-32)));
    sums = hn::Sub(sums, hn::Mul(over, hn::Set(d, 0x1p32)));
  } else {
    sums = hn::PromoteTo(d, hn::DemoteTo(df, sums));
  }
  const auto means = hn::Add(hn::Mul(sums, hn::Set(d, area)), hn::Set(d, 0.5));
  if constexpr (std::is_same_v<T, Zop32f>) {
    return hn::DemoteTo(df, means);
  } else {
    const auto whole = hn::DemoteTo(SamplesOf<int32_t, Reals>(), means);
    return hn::TruncateTo(SamplesOf<T, Reals>(), hn::BitCast(SamplesOf<uint32_t, Reals>(), whole));
  }
}

template <class T, bool kCounts>
void reduce(const SuperCall& call, const Reductions& reductions, const double* sums, T* to) {
  const Reals d;
  const hn::RebindToSigned<Reals> di;
  forParts<kReals>(call.samples(), [&](std::ptrdiff_t s, auto n) HWY_ATTR {
    auto total = hn::Zero(d);
    for (std::ptrdiff_t i = reductions.starts[s / kReals]; i < reductions.starts[s / kReals + 1]; ++i) {
      const auto column = hn::GatherIndex(d, sums, hn::LoadU(di, reductions.places + i * kReals));
      total = hn::Add(total, hn::Mul(column, hn::LoadU(d, reductions.weights + i * kReals)));
    }
    storeSamples(SamplesOf<T, Reals>(), asMeans<T, kCounts>(total, call.area), to, s, n, call.keepsAlpha);
  });
}

template <class T, bool kCounts>
HWY_NOINLINE void meansOf(const SuperCall& call, unsigned char* memory, const Image<const T>* from,
                          const Image<T>* to, int images) {
  Scratch scratch = {memory};
  const Reductions reductions(call, scratch);
  double* sums = scratch.take<double>(call.sourceSamples() + kFloats);
  for (int p = 0; p < images; ++p) {
    for (int y = 0; y < call.height; ++y) {
      const int* rows = call.down.starts + y;
      Columns<T, kCounts>::sum(call.down.covered + rows[0], call.down.covered + rows[1], from[p],
                               call.sourceSamples(), sums);
      sums[call.sourceSamples()] = 0;
      reduce<T, kCounts>(call, reductions, sums, to[p].row(y));
    }
  }
}

template <class T>
void means(const SuperCall& call, unsigned char* memory, const Image<const T>* from, const Image<T>* to,
           int images) {
  if constexpr (!std::is_same_v<T, Zop32f>) {
    if (call.counts) return meansOf<T, true>(call, memory, from, to, images);
  }
  meansOf<T, false>(call, memory, from, to, images);
}

constexpr SuperTable kTable = {{means<Zop8u>}, {means<Zop16u>}, {means<Zop32f>}};

}  // namespace

const SuperTable* superTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(superTableOfTarget);

const SuperTable& superTable() { return *HWY_DYNAMIC_DISPATCH(superTableOfTarget)(); }

// No target has vectors of more than eight doubles. A vector covers no more places a lane than its widest
// column.
std::ptrdiff_t superScratchBytes(const SuperCall& call) {
  constexpr std::ptrdiff_t kMost = 8;
  const std::ptrdiff_t vectors = call.samples() / kMost + 1;
  std::ptrdiff_t widest = 0;
  for (int x = 0; x < call.width; ++x) {
    widest = std::max<std::ptrdiff_t>(widest, call.across.starts[x + 1] - call.across.starts[x]);
  }
  return vectors * kMost * (widest * 16 + 8) + (call.sourceSamples() + 2 * kMost) * 8 + 1024;
}

}  // namespace zopi
#endif
