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
using Words = Tag<uint16_t>;
constexpr std::ptrdiff_t kReals = kLanes<Reals>;
constexpr std::ptrdiff_t kFloats = kLanes<Floats>;
using Places = SamplesOf<int32_t, Reals>;

// How sums are kept: as 32-bit integers that wrap, in single precision, or in single precision that no sum
// outgrows, so that nothing is ever rounded.
enum class Way { kCounts, kRounded, kExact };

template <Way kWay>
using SumsOf = std::conditional_t<kWay == Way::kCounts, Counts, Floats>;
template <Way kWay>
using SumOf = hn::TFromD<SumsOf<kWay>>;

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

// f(i, n) for the vectors of `kLength` samples that cover a row. Where a row is longer than a vector, its
// last one overlaps the one before.
template <std::ptrdiff_t kLength, class F>
HWY_INLINE void forOverlapping(std::ptrdiff_t samples, const F& f) {
  constexpr std::integral_constant<std::ptrdiff_t, kLength> whole;
  if (samples < kLength) return f(0, samples);
  for (std::ptrdiff_t i = 0; i < samples - kLength; i += kLength) f(i, whole);
  f(samples - kLength, whole);
}

// ----------------------------------------------------------------------------------------------- Down

template <class T, Way kWay>
struct Columns {
  using D = SumsOf<kWay>;
  using DT = SamplesOf<T, D>;
  using V = hn::Vec<D>;

  static HWY_INLINE V plus(V sum, hn::Vec<DT> samples, double weight) {
    const D d;
    if constexpr (kWay == Way::kCounts) {
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

  static void sum(const Covered* begin, const Covered* end, double, Image<const T> from,
                  std::ptrdiff_t samples, hn::TFromD<D>* sums) {
    const D d;
    forOverlapping<kLanes<D>>(samples, [&](std::ptrdiff_t i, auto n) HWY_ATTR {
      V sum = hn::Zero(d);
      for (const Covered* row = begin; row != end; ++row) {
        sum = plus(sum, loadPart(DT(), from.row(row->index) + i, n), row->weight);
      }
      hn::StoreU(sum, d, sums + i);
    });
  }
};

// What sums may be in words, and in single precision, to be exact.
constexpr double kWordLimit = 65535, kFloatLimit = 0x1p24, kMostByte = 255;

// Words, in units of the smallest weight.
template <>
struct Columns<Zop8u, Way::kExact> {
  static void sum(const Covered* begin, const Covered* end, double units, Image<const Zop8u> from,
                  std::ptrdiff_t samples, float* sums) {
    constexpr auto kMostRows = static_cast<std::ptrdiff_t>(kWordLimit / kMostByte);
    const Zop8u* rows[kMostRows];
    uint16_t weights[kMostRows];
    const std::ptrdiff_t count = end - begin;
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      rows[k] = from.row(begin[k].index);
      weights[k] = static_cast<uint16_t>(begin[k].weight * units);
    }
    const auto sumAt = [&](auto vectors, std::ptrdiff_t i, std::ptrdiff_t n)
                           HWY_ATTR { add<vectors>(rows, weights, count, i, n, sums + i); };
    const std::integral_constant<int, 1> one;
    const std::integral_constant<int, 2> two;
    if (samples < 2 * kLanes<Words>) {
      forOverlapping<kLanes<Words>>(samples, [&](std::ptrdiff_t i, auto n) HWY_ATTR { sumAt(one, i, n); });
    } else {
      forOverlapping<2 * kLanes<Words>>(
          samples, [&](std::ptrdiff_t i, auto) HWY_ATTR { sumAt(two, i, kLanes<Words>); });
    }
  }

  // Some vectors, of n samples each.
  template <int kVectors>
  static HWY_INLINE void add(const Zop8u* const* rows, const uint16_t* weights, std::ptrdiff_t count,
                             std::ptrdiff_t i, std::ptrdiff_t n, float* sums) {
    const Words d;
    const SamplesOf<uint8_t, Words> bytes;
    hn::Vec<Words> sum[kVectors];
    for (auto& s : sum) s = hn::Zero(d);
    for (std::ptrdiff_t k = 0; k < count; ++k) {
      const auto weight = hn::Set(d, weights[k]);
      for (int v = 0; v < kVectors; ++v) {
        const auto words = hn::PromoteTo(d, loadPart(bytes, rows[k] + i + v * kLanes<Words>, n));
        sum[v] = hn::Add(sum[v], hn::Mul(words, weight));
      }
    }
    const Floats df;
    const Tag<int32_t> di;
    const hn::Half<Words> half;
    for (int v = 0; v < kVectors; ++v) {
      float* to = sums + v * kLanes<Words>;
      hn::StoreU(hn::ConvertTo(df, hn::PromoteTo(di, hn::LowerHalf(half, sum[v]))), df, to);
      hn::StoreU(hn::ConvertTo(df, hn::PromoteTo(di, hn::UpperHalf(half, sum[v]))), df, to + kFloats);
    }
  }
};

// --------------------------------------------------------------------------------------------- Across

// Lanes of a window of two vectors.
constexpr std::ptrdiff_t kWindow = 2 * kFloats;

template <class D>
HWY_INLINE hn::Vec<hn::Half<D>> fromWindow(D d, hn::Vec<D> low, hn::Vec<D> high, hn::Vec<Places> lanes) {
  const Floats df;
  const Tag<int32_t> di;
  const auto all = hn::ZeroExtendVector(di, lanes);
#if HWY_TARGET == HWY_AVX3
  const hn::Vec<Floats> picked{
      _mm512_permutex2var_ps(hn::BitCast(df, low).raw, all.raw, hn::BitCast(df, high).raw)};
#else
  const auto indices = hn::IndicesFromVec(df, hn::And(all, hn::Set(di, kFloats - 1)));
  const auto isHigh = hn::RebindMask(df, hn::Gt(all, hn::Set(di, kFloats - 1)));
  const auto picked = hn::IfThenElse(isHigh, hn::TableLookupLanes(hn::BitCast(df, high), indices),
                                     hn::TableLookupLanes(hn::BitCast(df, low), indices));
#endif
  return hn::LowerHalf(hn::Half<D>(), hn::BitCast(d, picked));
}

// The columns that vectors of results cover: for each vector as many places and weights as its widest has.
// Weight is what totals are.
template <class Weight>
struct Reductions {
  static constexpr int kGathered = -1;
  const std::ptrdiff_t* starts;
  const int* windows;     // for each vector where the window is that holds its places, or kGathered
  const int32_t* places;  // in the window, or in the row
  const Weight* weights;

  // Who covers less has a weight of 0.
  Reductions(const SuperCall& call, double units, Scratch& scratch) {
    const std::ptrdiff_t samples = call.samples(), vectors = (samples + kReals - 1) / kReals;
    auto* begin = scratch.take<std::ptrdiff_t>(vectors + 1);
    auto* window = scratch.take<int>(vectors);
    const int* of = call.across.starts;
    begin[0] = 0;
    for (std::ptrdiff_t v = 0; v < vectors; ++v) {
      const std::ptrdiff_t first = v * kReals, last = std::min(first + kReals, samples) - 1;
      int most = 0;
      for (std::ptrdiff_t x = first / call.channels; x <= last / call.channels; ++x) {
        most = std::max(most, of[x + 1] - of[x]);
      }
      begin[v + 1] = begin[v] + most;
    }
    auto* at = scratch.take<int32_t>(begin[vectors] * kReals);
    auto* weight = scratch.take<Weight>(begin[vectors] * kReals);
    std::ptrdiff_t x = 0;
    int channel = 0;
    for (std::ptrdiff_t v = 0; v < vectors; ++v) {
      const std::ptrdiff_t count = begin[v + 1] - begin[v];
      int32_t* const placesOf = at + begin[v] * kReals;
      Weight* const weightsOf = weight + begin[v] * kReals;
      int low = call.across.covered[of[x]].index * call.channels + channel, high = low;
      const int somewhere = low;
      for (std::ptrdiff_t lane = 0; lane < kReals; ++lane) {
        const bool there = v * kReals + lane < samples;
        const Covered* covered = there ? call.across.covered + of[x] : nullptr;
        const int covers = there ? of[x + 1] - of[x] : 0;
        for (int k = 0; k < covers; ++k) {
          const int place = covered[k].index * call.channels + channel;
          placesOf[k * kReals + lane] = place;
          weightsOf[k * kReals + lane] = static_cast<Weight>(covered[k].weight * units);
          low = std::min(low, place);
          high = std::max(high, place);
        }
        for (std::ptrdiff_t k = covers; k < count; ++k) {
          placesOf[k * kReals + lane] = somewhere;
          weightsOf[k * kReals + lane] = 0;
        }
        if (++channel == call.channels) {
          channel = 0;
          ++x;
        }
      }
      window[v] = high - low < kWindow ? low : kGathered;
      for (std::ptrdiff_t k = 0; window[v] != kGathered && k < count * kReals; ++k) placesOf[k] -= low;
    }
    starts = begin;
    windows = window;
    places = at;
    weights = weight;
  }
};

// Totals as samples of the destination. Integers lose what is above their bits.
template <class T, Way kWay>
HWY_INLINE hn::Vec<SamplesOf<T, Reals>> asMeans(hn::Vec<Reals> sums, double area) {
  const Reals d;
  const SamplesOf<float, Reals> df;
  if constexpr (kWay == Way::kCounts) {
    const auto over = hn::Floor(hn::Mul(sums, hn::Set(d, 0x1p-32)));
    sums = hn::Sub(sums, hn::Mul(over, hn::Set(d, 0x1p32)));
  } else if constexpr (kWay == Way::kRounded) {
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

template <class T, Way kWay>
struct Reducer {
  using D = SumsOf<kWay>;
  using DW = std::conditional_t<kWay == Way::kExact, hn::Half<Floats>, Reals>;
  using Weight = hn::TFromD<DW>;

  // What is not covered may be infinite.
  template <class Pick>
  static HWY_INLINE hn::Vec<Reals> total(const Reductions<Weight>& of, std::ptrdiff_t begin,
                                         std::ptrdiff_t end, const Pick& pick) {
    const DW d;
    auto total = hn::Zero(d);
    for (std::ptrdiff_t i = begin; i < end; ++i) {
      const auto picked = pick(hn::LoadU(Places(), of.places + i * kReals));
      const auto weight = hn::LoadU(d, of.weights + i * kReals);
      if constexpr (kWay == Way::kExact) {
        total = hn::Add(total, hn::Mul(picked, weight));
      } else {
        auto column = asReals(picked);
        if constexpr (std::is_same_v<T, Zop32f>)
          column = hn::IfThenElseZero(hn::Ne(weight, hn::Zero(d)), column);
        total = hn::Add(total, hn::Mul(column, weight));
      }
    }
    if constexpr (kWay == Way::kExact)
      return hn::PromoteTo(Reals(), total);
    else
      return total;
  }

  static void reduce(const SuperCall& call, const Reductions<Weight>& of, double area,
                     const SumOf<kWay>* sums, T* to) {
    const D d;
    forParts<kReals>(call.samples(), [&](std::ptrdiff_t s, auto n) HWY_ATTR {
      const std::ptrdiff_t v = s / kReals, begin = of.starts[v], end = of.starts[v + 1];
      const auto store = [&](hn::Vec<Reals> sum) HWY_ATTR {
        storeSamples(SamplesOf<T, Reals>(), asMeans<T, kWay>(sum, area), to, s, n, call.keepsAlpha);
      };
      const int window = of.windows[v];
      if (HWY_LIKELY(window != of.kGathered)) {
        const auto low = hn::LoadU(d, sums + window), high = hn::LoadU(d, sums + window + kFloats);
        return store(
            total(of, begin, end, [&](auto lanes) HWY_ATTR { return fromWindow(d, low, high, lanes); }));
      }
      store(total(of, begin, end,
                  [&](auto places) HWY_ATTR { return hn::GatherIndex(hn::Half<D>(), sums, places); }));
    });
  }
};

// `unitsDown` and `unitsAcross` make whole numbers of weights where totals are exact.
template <class T, Way kWay>
HWY_NOINLINE void meansOf(const SuperCall& call, double unitsDown, double unitsAcross, unsigned char* memory,
                          const Image<const T>* from, const Image<T>* to, int images) {
  Scratch scratch = {memory};
  const Reductions<typename Reducer<T, kWay>::Weight> reductions(call, unitsAcross, scratch);
  const std::ptrdiff_t samples = call.sourceSamples(), length = samples + 2 * kFloats;
  auto* sums = scratch.take<SumOf<kWay>>(length);
  std::fill(sums, sums + length, SumOf<kWay>{});
  const double area = call.area / (unitsDown * unitsAcross);
  for (int p = 0; p < images; ++p) {
    for (int y = 0; y < call.height; ++y) {
      const int* rows = call.down.starts + y;
      Columns<T, kWay>::sum(call.down.covered + rows[0], call.down.covered + rows[1], unitsDown, from[p],
                            samples, sums);
      Reducer<T, kWay>::reduce(call, reductions, area, sums, to[p].row(y));
    }
  }
}

// The power of two that makes whole numbers of all weights, and the largest sum of such weights.
struct Units {
  double units, most;
};
Units unitsOf(const Footprints& of, int count) {
  constexpr double kMost = 256;
  double units = 1, most = 0;
  for (int i = 0; i < count; ++i) {
    double sum = 0;
    for (int k = of.starts[i]; k < of.starts[i + 1]; ++k) {
      const double weight = of.covered[k].weight;
      sum += weight;
      if (!(weight > 0 && weight <= kWordLimit)) return {1, kFloatLimit};
      while (weight * units != static_cast<int>(weight * units)) {
        units *= 2;
        if (units > kMost) return {1, kFloatLimit};
      }
    }
    most = std::max(most, sum);
  }
  return {units, most * units};
}

template <class T>
void means(const SuperCall& call, unsigned char* memory, const Image<const T>* from, const Image<T>* to,
           int images) {
  if constexpr (std::is_same_v<T, Zop8u>) {
    const Units down = unitsOf(call.down, call.height), across = unitsOf(call.across, call.width);
    if (kMostByte * down.most <= kWordLimit && kMostByte * down.most * across.most < kFloatLimit)
      return meansOf<T, Way::kExact>(call, down.units, across.units, memory, from, to, images);
  }
  if constexpr (!std::is_same_v<T, Zop32f>) {
    if (call.counts) return meansOf<T, Way::kCounts>(call, 1, 1, memory, from, to, images);
  }
  meansOf<T, Way::kRounded>(call, 1, 1, memory, from, to, images);
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
// column, each with a weight, and reads no further than two vectors of floats.
std::ptrdiff_t superScratchBytes(const SuperCall& call) {
  constexpr std::ptrdiff_t kMost = 8;
  const std::ptrdiff_t vectors = call.samples() / kMost + 1;
  std::ptrdiff_t widest = 0;
  for (int x = 0; x < call.width; ++x) {
    widest = std::max<std::ptrdiff_t>(widest, call.across.starts[x + 1] - call.across.starts[x]);
  }
  return vectors * kMost * (widest * 12 + 16) + (call.sourceSamples() + 4 * kMost) * 4 + 1024;
}

}  // namespace zopi
#endif
