#include "geom/resize_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geom/resize_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/walk.h"
#include "geom/resize_lanes-inl.h"
#include "geom/windows.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Tables and rows of our own have room for whole vectors.
constexpr std::ptrdiff_t kGroup = 64;
std::ptrdiff_t wholeGroups(std::ptrdiff_t samples) { return (samples + kGroup - 1) / kGroup * kGroup; }

// The places of samples in the source, in samples from the region's first, from sample s of a row on.
struct Places {
  const ResizeCall& call;
  std::ptrdiff_t column, channel;

  HWY_INLINE Places(const ResizeCall& c, std::ptrdiff_t s)
      : call(c), column(s / c.channels), channel(s % c.channels) {}
  HWY_INLINE std::ptrdiff_t next() {
    const std::ptrdiff_t place = call.columns[column] + channel;
    if (++channel == call.channels) {
      channel = 0;
      ++column;
    }
    return place;
  }
};

// f(s, weight) for all samples of a row and those that fill it up to whole groups, which weigh nothing.
template <class F>
void forWeights(const ResizeCall& call, const F& f) {
  std::ptrdiff_t s = 0;
  for (int x = 0; x < call.width; ++x) {
    for (int c = 0; c < call.channels; ++c) f(s++, call.xWeights[x]);
  }
  for (; s < wholeGroups(call.samples()); ++s) f(s, 0.0f);
}

template <class T, int kWays>
Windows windowsFor(const ResizeCall& call, Scratch& scratch, const Lane& lane) {
  constexpr std::ptrdiff_t kBytes = sizeof(T);
  const std::ptrdiff_t samples = call.samples();
  Places places(call, 0);
  const auto nextOffset = [&] { return places.next() * kBytes; };
  return windowsOf<kWays>(scratch, lane, samples, wholeGroups(samples), call.rowBegin * kBytes,
                          call.rowEnd * kBytes, nextOffset);
}

using Bytes = Tag<uint8_t>;
constexpr std::ptrdiff_t kBlocks = kLanes<Bytes> / kWindowBytes;  // of a vector

// The windows of consecutive units, each in a block of a vector.
template <class D>
HWY_INLINE hn::Vec<D> windowsAt(D d, const unsigned char* row, const int* at) {
  if constexpr (kLanes<D> == kWindowBytes) {
    return hn::LoadU(d, row + at[0]);
  } else {
    const hn::Half<D> half;
    return hn::Combine(d, windowsAt(half, row, at + kLanes<D> / 2 / kWindowBytes), windowsAt(half, row, at));
  }
}

HWY_INLINE hn::Vec<Bytes> shuffled(const Windows& windows, hn::Vec<Bytes> window, std::ptrdiff_t unit) {
  return hn::TableLookupBytesOr0(window, hn::LoadU(Bytes(), windows.shuffle + unit * kWindowBytes));
}

HWY_INLINE bool allFit(const Windows& windows, std::ptrdiff_t unit) {
  std::conditional_t<kBlocks == 4, uint32_t, std::conditional_t<kBlocks == 2, uint16_t, uint8_t>> fits;
  std::memcpy(&fits, windows.fits + unit, sizeof fits);
  return fits == static_cast<decltype(fits)>(0x01010101);
}

// ----------------------------------------------------------------------------------------------------
// Nearest

template <class T>
void nearestRow(const ResizeCall& call, const Windows& windows, const T* from, T* to) {
  constexpr std::ptrdiff_t kLength = kLanes<Bytes> / static_cast<std::ptrdiff_t>(sizeof(T));
  const Tag<T> d;
  forParts<kLength>(call.samples(), [&](std::ptrdiff_t i, auto n) HWY_ATTR {
    const std::ptrdiff_t unit = i / kLength * kBlocks;
    if (HWY_LIKELY(allFit(windows, unit))) {
      const auto* row = reinterpret_cast<const unsigned char*>(from);
      const auto v = shuffled(windows, windowsAt(Bytes(), row, windows.at + unit), unit);
      return storeSamples(d, hn::BitCast(d, v), to, i, n, call.keepsAlpha);
    }
    HWY_ALIGN T block[kLength] = {};
    Places places(call, i);
    for (std::ptrdiff_t k = 0; k < n; ++k) std::memcpy(block + k, from + places.next(), sizeof(T));
    storeSamples(d, hn::Load(d, block), to, i, n, call.keepsAlpha);
  });
}

// A row of ours, past the caches.
template <class T>
void streamRow(const T* from, T* to, std::ptrdiff_t n) {
  const Bytes d;
  constexpr std::size_t kVector = kLanes<Bytes>;
  const std::size_t bytes = static_cast<std::size_t>(n) * sizeof(T);
  const auto* in = reinterpret_cast<const unsigned char*>(from);
  auto* out = reinterpret_cast<unsigned char*>(to);
  std::size_t i = std::min(bytes, (kVector - reinterpret_cast<std::uintptr_t>(out) % kVector) % kVector);
  std::memcpy(out, in, i);
  for (; i + kVector <= bytes; i += kVector) hn::Stream(hn::LoadU(d, in + i), d, out + i);
  std::memcpy(out + i, in + i, bytes - i);
}

template <class T>
void nearest(const ResizeCall& call, unsigned char* memory, const Image<const T>* from, const Image<T>* to,
             int images) {
  constexpr int kBytes = sizeof(T);
  Scratch scratch = {memory};
  const Windows windows = windowsFor<T, 1>(call, scratch, {kBytes, {0, 1, 2, 3}, 0, kBytes});
  const std::ptrdiff_t rowBytes = call.samples() * kBytes;
  const bool streams = rowBytes * call.height >= kStreamBytes && !call.keepsAlpha;
  T* line = scratch.take<T>(call.samples());
  for (int p = 0; p < images; ++p) {
    for (int y = 0; y < call.height; ++y) {
      const bool again = y > 0 && call.rows[y] == call.rows[y - 1] && !call.keepsAlpha;
      const T* row = from[p].row(call.rows[y]);
      if (streams) {
        if (!again) nearestRow(call, windows, row, line);
        streamRow(line, to[p].row(y), call.samples());
      } else if (again) {
        std::memcpy(to[p].row(y), to[p].row(y - 1), static_cast<std::size_t>(rowBytes));
      } else {
        nearestRow(call, windows, row, to[p].row(y));
      }
    }
  }
  if (streams) hwy::FlushStream();
}

// ----------------------------------------------------------------------------------------- Linear, of
// integers

// In every 16-byte block: the lanes of a, then those of b, as words. The lanes are below 65536.
template <class V>
HWY_INLINE hn::Vec<Tag<uint16_t>> asWords(V a, V b) {
  using R = hn::Vec<Tag<uint16_t>>;
#if HWY_TARGET == HWY_AVX3
  return R{_mm512_packus_epi32(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return R{_mm256_packus_epi32(a.raw, b.raw)};
#elif HWY_ARCH_X86
  return R{_mm_packus_epi32(a.raw, b.raw)};
#else
  static_assert(kBlocks == 1, "blocks of larger vectors would have to change places");
  const hn::Half<Tag<uint16_t>> half;
  return hn::Combine(Tag<uint16_t>(), hn::DemoteTo(half, b), hn::DemoteTo(half, a));
#endif
}

// The sum of a pair's weights.
constexpr int kOne = 16384;

// How pairs of samples become words of a row of ours, and pairs of those become samples. `ones` has 1 in each
// word whose lowest bit counts.
template <class T>
struct Linear;

// Across with six more bits.
template <>
struct Linear<Zop8u> {
  template <class V>
  static HWY_INLINE auto across(V pairs, V weights, V) {
    return hn::ShiftRight<8>(pairSums(Tag<int32_t>(), pairs, weights));
  }

  // a + (b - a) w / 2^14, rounded down. The first factor fits a word, and the second because w is below 2^14.
  template <class V>
  static HWY_INLINE auto down(V a, V b, int weight, V) {
    const Tag<int16_t> d;
    const auto wa = hn::BitCast(d, a), wb = hn::BitCast(d, b);
    const auto rise = hn::Sub(wb, wa);
    const auto moved = hn::MulHigh(hn::Add(rise, rise), hn::Set(d, static_cast<int16_t>(2 * weight)));
    return hn::DemoteTo(SamplesOf<uint8_t, Tag<int16_t>>(), hn::ShiftRight<6>(hn::Add(wa, moved)));
  }
};

// Halves and lowest bits apart, so that both are signed words.
template <>
struct Linear<Zop16u> {
  template <class V>
  static HWY_INLINE auto across(V pairs, V weights, V ones) {
    const Tag<int32_t> d;
    const Tag<uint16_t> du;
    const auto halves = hn::BitCast(Tag<int16_t>(), hn::ShiftRight<1>(hn::BitCast(du, pairs)));
    return hn::Add(hn::ShiftRight<13>(pairSums(d, halves, weights)),
                   hn::ShiftRight<14>(pairSums(d, hn::And(pairs, ones), weights)));
  }

  // The lowest bits add 1 where both are set, for weights between 0 and 1.
  template <class V>
  static HWY_INLINE V down(V a, V b, int weight, V ones) {
    const Tag<int16_t> d;
    const Tag<uint16_t> du;
    const auto even = hn::AndNot(hn::Set(du, 1), a);
    if (weight == 0) return hn::Or(even, hn::And(a, ones));
    const auto rise = hn::Sub(hn::BitCast(d, hn::ShiftRight<1>(b)), hn::BitCast(d, hn::ShiftRight<1>(a)));
    const auto w = hn::Set(d, static_cast<int16_t>(weight));
    const auto high = hn::BitCast(du, hn::ShiftLeft<3>(hn::MulHigh(rise, w)));
    const auto low = hn::ShiftRight<13>(hn::BitCast(du, hn::Mul(rise, w)));
    return hn::Add(hn::Add(even, hn::Add(high, low)), hn::And(hn::And(a, b), ones));
  }
};

// Of words, the lowest bits of the last samples of a row are dropped.
template <std::ptrdiff_t kCount>
struct OnesThenZeros {
  uint16_t lanes[2 * kCount];
  constexpr OnesThenZeros() : lanes{} {
    for (std::ptrdiff_t i = 0; i < kCount; ++i) lanes[i] = 1;
  }
};
using Words = Tag<uint16_t>;
constexpr OnesThenZeros<kLanes<Words>> kOnesThenZeros;
// 1 in the words below n, 0 from there on.
HWY_INLINE hn::Vec<Words> onesBelow(std::ptrdiff_t n) {
  return hn::LoadU(Words(),
                   kOnesThenZeros.lanes + kLanes<Words> - std::clamp<std::ptrdiff_t>(n, 0, kLanes<Words>));
}

template <class T>
struct LinearTables {
  const ResizeCall& call;
  Windows windows;
  const int16_t* weights;  // pairs, in the order of the windows' lanes

  static constexpr std::ptrdiff_t kPerUnit = 4, kLength = 2 * kPerUnit * kBlocks;

  LinearTables(const ResizeCall& c, Scratch& scratch) : call(c) {
    constexpr int kBytes = sizeof(T);
    const int second = call.channels * kBytes;
    const auto high = [](int from) { return kBytes == 2 ? from + 1 : kNothing; };
    windows = windowsFor<T, 2>(call, scratch, {4, {0, high(0), second, high(second)}, 0, second + kBytes});
    int16_t* pairs = scratch.take<int16_t>(2 * wholeGroups(call.samples()));
    forWeights(call, [&](std::ptrdiff_t s, float weight) {
      const std::ptrdiff_t unit = s / kPerUnit;
      int16_t* pair = pairs + 2 * ((unit % 2 * windows.each + unit / 2) * kPerUnit + s % kPerUnit);
      pair[0] = static_cast<int16_t>(kOne - static_cast<int>(weight));
      pair[1] = static_cast<int16_t>(weight);
    });
    weights = pairs;
  }

  // The pairs of two vectors, where no window holds them.
  HWY_NOINLINE void pairsByHand(const T* from, std::ptrdiff_t i, uint16_t* even, uint16_t* odd) const {
    const std::ptrdiff_t n = std::min(kLength, call.samples() - i);
    Places places(call, i);
    for (std::ptrdiff_t k = 0; k < n; ++k) {
      uint16_t* pair =
          (k / kPerUnit % 2 == 0 ? even : odd) + 2 * (k / (2 * kPerUnit) * kPerUnit + k % kPerUnit);
      const std::ptrdiff_t place = places.next();
      T taps[2];
      std::memcpy(&taps[0], from + place, sizeof(T));
      std::memcpy(&taps[1], from + place + call.channels, sizeof(T));
      pair[0] = taps[0];
      pair[1] = taps[1];
    }
  }

  void across(const T* from, uint16_t* to) const {
    windows.shared ? across<true>(from, to) : across<false>(from, to);
  }

  template <bool kShared>
  HWY_NOINLINE void across(const T* from, uint16_t* to) const {
    const Tag<int16_t> d;
    const std::ptrdiff_t samples = call.samples();
    // One channel of words: the last of an odd number of samples lacks its lowest bit.
    const std::ptrdiff_t last = call.channels == 1 && samples % 2 == 1 ? samples - 1 : samples;
    const auto one = hn::Set(d, 1);
    for (std::ptrdiff_t i = 0; i < samples; i += kLength) {
      const std::ptrdiff_t unit = i / (2 * kPerUnit);
      hn::Vec<Tag<int16_t>> even, odd;
      if (HWY_LIKELY(allFit(windows, unit))) {
        const auto* row = reinterpret_cast<const unsigned char*>(from);
        const std::ptrdiff_t next = windows.each + unit;
        const auto window = windowsAt(Bytes(), row, windows.at + unit);
        even = hn::BitCast(d, shuffled(windows, window, unit));
        odd = hn::BitCast(
            d, shuffled(windows, kShared ? window : windowsAt(Bytes(), row, windows.at + next), next));
      } else {
        HWY_ALIGN uint16_t pairs[2][kLength] = {};
        pairsByHand(from, i, pairs[0], pairs[1]);
        even = hn::BitCast(d, hn::Load(Words(), pairs[0]));
        odd = hn::BitCast(d, hn::Load(Words(), pairs[1]));
      }
      const int16_t* w = weights + 2 * kPerUnit * unit;
      const auto low = Linear<T>::across(even, hn::LoadU(d, w), one);
      const auto high = Linear<T>::across(odd, hn::LoadU(d, w + 2 * kPerUnit * windows.each), one);
      hn::StoreU(asWords(low, high), Words(), to + i);
    }
    if constexpr (std::is_same_v<T, Zop16u>) {
      if (last < samples) to[last] = withoutLowestBit(from, last);
    }
  }

  // The last sample again.
  uint16_t withoutLowestBit(const T* from, std::ptrdiff_t s) const {
    const Tag<int16_t> d;
    HWY_ALIGN uint16_t pairs[kLanes<Words>] = {}, results[kLanes<Words>];
    HWY_ALIGN int16_t pairWeights[kLanes<Words>] = {};
    std::memcpy(pairs, from + call.columns[s], 2 * sizeof(T));
    pairWeights[1] = static_cast<int16_t>(call.xWeights[s]);
    pairWeights[0] = static_cast<int16_t>(kOne - pairWeights[1]);
    const auto sums =
        Linear<T>::across(hn::BitCast(d, hn::Load(Words(), pairs)), hn::Load(d, pairWeights), hn::Zero(d));
    hn::Store(asWords(sums, sums), Words(), results);
    return results[0];
  }

  void down(const uint16_t* a, const uint16_t* b, float weight, T* to) const {
    const SamplesOf<T, Words> d;
    const std::ptrdiff_t samples = call.samples(),
                         exact = call.keepsAlpha ? samples : samples & ~std::ptrdiff_t{3};
    int w = static_cast<int>(weight);
    if (w == kOne) {
      a = b;
      w = 0;
    }
    const auto one = hn::Set(Words(), 1);
    const auto at = [&](std::ptrdiff_t i, auto ones) HWY_ATTR {
      return Linear<T>::down(hn::LoadU(Words(), a + i), hn::LoadU(Words(), b + i), w, ones);
    };
    std::ptrdiff_t i = 0;
    for (; i + kLanes<Words> <= samples; i += kLanes<Words>) {
      storeSamples(d, at(i, one), to, i, kLanes<Words>, call.keepsAlpha);
    }
    if (i < samples) storeSamples(d, at(i, onesBelow(exact - i)), to, i, samples - i, call.keepsAlpha);
  }
};

// ------------------------------------------------------------------------------------------ Taps as 32-bit
// lanes

using Reals = Tag<double>;
constexpr std::ptrdiff_t kReals = kLanes<Reals>;
using Floats = Tag<float>;
using Ints = Tag<int32_t>;
constexpr std::ptrdiff_t kTaps = kLanes<Floats>;  // in a vector

// The taps of numbers: a vector of the source holds those of a vector of results, or they are gathered.
struct NumberTaps {
  const ResizeCall& call;
  int first;            // from a sample to its first tap
  const int* at;        // for each vector where its window is, or kGathered
  const int32_t* lane;  // the places of the first taps in the windows, or in the row

  static constexpr int kGathered = INT32_MIN;

  NumberTaps(const ResizeCall& c, Scratch& scratch, int before, int taps) : call(c), first(before) {
    const std::ptrdiff_t samples = call.samples(), outputs = wholeGroups(samples);
    int* windows = scratch.take<int>(outputs / kTaps);
    int32_t* lanes = scratch.take<int32_t>(outputs);
    std::fill_n(lanes, outputs, 0);
    const std::ptrdiff_t reach = std::ptrdiff_t{taps - 1} * call.channels + 1;
    for (std::ptrdiff_t i = 0; i < outputs; i += kTaps) {
      const std::ptrdiff_t n = std::clamp<std::ptrdiff_t>(samples - i, 0, kTaps);
      windows[i / kTaps] = kGathered;
      if (n == 0) continue;
      Places places(call, i);
      for (std::ptrdiff_t k = 0; k < n; ++k) lanes[i + k] = static_cast<int32_t>(places.next() + first);
      std::fill(lanes + i + n, lanes + i + kTaps, lanes[i]);
      const auto [low, high] = std::minmax_element(lanes + i, lanes + i + n);
      const std::ptrdiff_t window = std::min<std::ptrdiff_t>(*low, call.rowEnd - kTaps);
      if (window < call.rowBegin || *high + reach - window > kTaps) continue;
      windows[i / kTaps] = static_cast<int>(window);
      for (std::ptrdiff_t k = 0; k < kTaps; ++k) lanes[i + k] -= static_cast<int>(window);
    }
    at = windows;
    lane = lanes;
  }

  template <int kCount>
  HWY_INLINE void get(const float* from, std::ptrdiff_t i, hn::Vec<Floats> (&taps)[kCount]) const {
    const Floats d;
    const Ints di;
    const int window = at[i / kTaps];
    auto lanes = hn::LoadU(di, lane + i);
    const auto next = hn::Set(di, call.channels);
    if (HWY_LIKELY(window != kGathered)) {
      const auto v = hn::LoadU(d, from + window);
      for (auto& tap : taps) {
        tap = hn::TableLookupLanes(v, hn::IndicesFromVec(d, lanes));
        lanes = hn::Add(lanes, next);
      }
    } else {
      for (auto& tap : taps) {
        tap = gathered(from, lanes);
        lanes = hn::Add(lanes, next);
      }
    }
  }

  static HWY_INLINE hn::Vec<Floats> gathered(const float* from, hn::Vec<Ints> lanes) {
    if constexpr (kTaps > 4) {
      return hn::GatherIndex(Floats(), from, lanes);
    } else {
      HWY_ALIGN int32_t places[kTaps];
      HWY_ALIGN float samples[kTaps];
      hn::Store(lanes, Ints(), places);
      for (std::ptrdiff_t k = 0; k < kTaps; ++k) std::memcpy(samples + k, from + places[k], sizeof(float));
      return hn::Load(Floats(), samples);
    }
  }
};

// The taps of integers, as 32-bit lanes from windows of bytes.
template <class T>
struct IntegerTaps {
  const ResizeCall& call;
  int first;
  Windows windows;

  IntegerTaps(const ResizeCall& c, Scratch& scratch, int before, int taps) : call(c), first(before) {
    constexpr int kBytes = sizeof(T);
    const Lane lane = {4,
                       {0, kBytes == 2 ? 1 : kNothing, kNothing, kNothing},
                       before * kBytes,
                       ((taps - 1) * call.channels + 1) * kBytes};
    windows = windowsFor<T, 1>(call, scratch, lane);
  }

  template <int kCount>
  HWY_INLINE void get(const T* from, std::ptrdiff_t i, hn::Vec<Ints> (&taps)[kCount]) const {
    const std::ptrdiff_t unit = i / 4;
    if (HWY_LIKELY(allFit(windows, unit))) {
      const Bytes d;
      const auto v = windowsAt(d, reinterpret_cast<const unsigned char*>(from), windows.at + unit);
      auto shuffle = hn::LoadU(d, windows.shuffle + unit * kWindowBytes);
      // Zeros stay zeros: their bytes have the highest bit set, and keep it.
      const auto next = hn::Set(d, static_cast<uint8_t>(call.channels * static_cast<int>(sizeof(T))));
      const auto pick = [&](auto& tap) HWY_ATTR {
        tap = hn::BitCast(Ints(), hn::TableLookupBytesOr0(v, shuffle));
        shuffle = hn::Add(shuffle, next);
      };
      // Not a loop, so that taps stay in registers.
      [&]<std::size_t... k>(std::index_sequence<k...>) HWY_ATTR { (pick(taps[k]), ...); }
      (std::make_index_sequence<kCount>());
    } else {
      HWY_ALIGN int32_t lanes[kCount][kTaps] = {};
      byHand<kCount>(from, i, lanes);
      for (int t = 0; t < kCount; ++t) taps[t] = hn::Load(Ints(), lanes[t]);
    }
  }

  template <int kCount>
  HWY_NOINLINE void byHand(const T* from, std::ptrdiff_t i, int32_t (*lanes)[kTaps]) const {
    const std::ptrdiff_t n = std::min(kTaps, call.samples() - i);
    Places places(call, i);
    for (std::ptrdiff_t k = 0; k < n; ++k) {
      const T* at = from + (places.next() + first);
      for (int t = 0; t < kCount; ++t) {
        T sample;
        std::memcpy(&sample, at + t * call.channels, sizeof(T));
        lanes[t][k] = sample;
      }
    }
  }
};
template <class T>
using TapsOf = std::conditional_t<std::is_same_v<T, Zop32f>, NumberTaps, IntegerTaps<T>>;

// The lower and the upper half of a vector in double precision.
template <class V>
HWY_INLINE hn::Vec<Reals> half(V v, std::integral_constant<int, 0>) {
  return hn::PromoteTo(Reals(), hn::LowerHalf(v));
}
template <class V>
HWY_INLINE hn::Vec<Reals> half(V v, std::integral_constant<int, 1>) {
  return hn::PromoteTo(Reals(), hn::UpperHalf(hn::Half<Tag<hn::TFromV<V>>>(), v));
}
constexpr std::integral_constant<int, 0> kLow;
constexpr std::integral_constant<int, 1> kHigh;

// Rounded to single precision.
HWY_INLINE hn::Vec<Reals> asFloats(hn::Vec<Reals> v) {
  const Reals d;
  return hn::PromoteTo(d, hn::DemoteTo(SamplesOf<float, Reals>(), v));
}

// Two vectors of results as samples, integers truncated and held to their range.
template <class T>
HWY_INLINE hn::Vec<SamplesOf<T, Floats>> asSamples(hn::Vec<Reals> low, hn::Vec<Reals> high) {
  using Lane = std::conditional_t<std::is_same_v<T, Zop32f>, float, int32_t>;
  const SamplesOf<Lane, Reals> half;
  const auto v = hn::Combine(Tag<Lane>(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
  if constexpr (std::is_same_v<T, Zop32f>)
    return v;
  else
    return hn::DemoteTo(SamplesOf<T, Floats>(), v);
}

// -------------------------------------------------------------------------------------------- Linear, of
// numbers

// Rows hold single precision, but as doubles: what is read most often needs no conversion.
struct LinearNumbers {
  const ResizeCall& call;
  NumberTaps taps;
  const double* weights;

  LinearNumbers(const ResizeCall& c, Scratch& scratch) : call(c), taps(c, scratch, 0, 2) {
    double* all = scratch.take<double>(wholeGroups(call.samples()));
    forWeights(call, [&](std::ptrdiff_t s, float weight) { all[s] = weight; });
    weights = all;
  }

  void across(const float* from, double* to) const {
    const Reals d;
    for (std::ptrdiff_t i = 0; i < call.samples(); i += kTaps) {
      hn::Vec<Floats> v[2];
      taps.get(from, i, v);
      const auto mix = [&](auto part) HWY_ATTR {
        const std::ptrdiff_t k = i + part * kReals;
        const auto a = half(v[0], part), b = half(v[1], part);
        hn::StoreU(asFloats(hn::Add(a, hn::Mul(hn::Sub(b, a), hn::LoadU(d, weights + k)))), d, to + k);
      };
      mix(kLow);
      mix(kHigh);
    }
  }

  void down(const double* a, const double* b, float weight, float* to) const {
    const Reals d;
    const auto w = hn::Set(d, double{weight}), rest = hn::Set(d, 1.0 - double{weight});
    forParts<kTaps>(call.samples(), [&](std::ptrdiff_t i, auto n) HWY_ATTR {
      const auto mix = [&](std::ptrdiff_t k) HWY_ATTR {
        return hn::Add(hn::Mul(hn::LoadU(d, b + k), w), hn::Mul(hn::LoadU(d, a + k), rest));
      };
      storeSamples(Floats(), asSamples<Zop32f>(mix(i), mix(i + kReals)), to, i, n, call.keepsAlpha);
    });
  }
};

// The pair of rows above and below a row of the destination. Each is made once, however many share it. By
// design the first pair has the region's first row above.
template <class T>
void linear(const ResizeCall& call, unsigned char* memory, const Image<const T>* from, const Image<T>* to,
            int images) {
  using Tables = std::conditional_t<std::is_same_v<T, Zop32f>, LinearNumbers, LinearTables<T>>;
  using Word = std::conditional_t<std::is_same_v<T, Zop32f>, double, uint16_t>;
  Scratch scratch = {memory};
  const Tables tables(call, scratch);
  const std::ptrdiff_t length = wholeGroups(call.samples());
  Word* above = scratch.take<Word>(length);
  Word* below = scratch.take<Word>(length);
  for (int p = 0; p < images; ++p) {
    tables.across(from[p].row(0), below);
    for (int y = 0; y < call.height; ++y) {
      const int row = call.rows[y], before = y > 0 ? call.rows[y - 1] : row - 1;
      if (row > before) {
        std::swap(above, below);
        tables.across(from[p].row(std::ptrdiff_t{row} + 1), below);
        if (row > before + 1) tables.across(from[p].row(row), above);
      }
      tables.down(above, below, call.yWeights[y], to[p].row(y));
    }
  }
}

// ---------------------------------------------------------------------------------------------------------
// Cubic

// The factors of the differences of a cubic at t.
struct CubicFactors {
  double first, second, third;

  explicit CubicFactors(float position) {
    const double t = position;
    first = 1.0 + t;
    second = first * t * 0.5;
    third = (t - 1.0) * second * double{1.0f / 3.0f};
  }
};

// Four rows of bytes with weights in single precision: what the definition truncates lies between two sums.
struct RowWeights {
  float of[4];

  explicit RowWeights(const CubicFactors& f) {
    const double weights[4] = {1.0 - f.first + f.second - f.third, f.first - 2.0 * f.second + 3.0 * f.third,
                               f.second - 3.0 * f.third, f.third};
    for (int i = 0; i < 4; ++i) of[i] = static_cast<float>(weights[i]);
  }

  // Where all rows are the same, nothing but a tiny step is added, however they are weighed: flat parts of
  // images are whole numbers, and any doubt would reach across.
  HWY_INLINE void sums(const float* const rows[4], std::ptrdiff_t i, hn::Vec<Floats>& low,
                       hn::Vec<Floats>& high) const {
    constexpr float kError = 0x1p-11f, kStep = 2e-7f;
    const Floats d;
    const auto s0 = hn::LoadU(d, rows[0] + i), s1 = hn::LoadU(d, rows[1] + i);
    const auto s2 = hn::LoadU(d, rows[2] + i), s3 = hn::LoadU(d, rows[3] + i);
    auto sum = hn::Mul(s0, hn::Set(d, of[0]));
    sum = hn::MulAdd(s1, hn::Set(d, of[1]), sum);
    sum = hn::MulAdd(s2, hn::Set(d, of[2]), sum);
    sum = hn::MulAdd(s3, hn::Set(d, of[3]), sum);
    const auto flat = hn::And(hn::Eq(s0, s1), hn::And(hn::Eq(s1, s2), hn::Eq(s2, s3)));
    const auto error = hn::Set(d, kError);
    low = hn::IfThenElse(flat, s0, hn::Sub(sum, error));
    high = hn::IfThenElse(flat, hn::Add(s0, hn::Set(d, kStep)), hn::Add(sum, error));
  }
};

// Rows hold single precision. Bytes are first made from that; elsewhere it is kept as doubles, for what is
// read most often then needs no conversion.
template <class T>
inline constexpr bool kIsTried = std::is_same_v<T, Zop8u>;
template <class T>
using CubicRow = std::conditional_t<kIsTried<T>, float, double>;

HWY_INLINE hn::Vec<Reals> asReals(const double* row) { return hn::LoadU(Reals(), row); }
HWY_INLINE hn::Vec<Reals> asReals(const float* row) {
  return hn::PromoteTo(Reals(), hn::LoadU(SamplesOf<float, Reals>(), row));
}

template <class T>
struct CubicTables {
  using Row = CubicRow<T>;
  const ResizeCall& call;
  TapsOf<T> taps;
  const double *first, *second, *third;

  CubicTables(const ResizeCall& c, Scratch& scratch) : call(c), taps(c, scratch, -c.channels, 4) {
    const std::ptrdiff_t outputs = wholeGroups(call.samples());
    double *a = scratch.take<double>(outputs), *b = scratch.take<double>(outputs);
    double* e = scratch.take<double>(outputs);
    forWeights(call, [&](std::ptrdiff_t s, float weight) {
      const CubicFactors factors(weight);
      a[s] = factors.first;
      b[s] = factors.second;
      e[s] = factors.third;
    });
    first = a;
    second = b;
    third = e;
  }

  // Differences of integers are exact in any lane.
  void across(const T* from, Row* to) const {
    const Reals d;
    for (std::ptrdiff_t i = 0; i < call.samples(); i += kTaps) {
      using Taps = std::conditional_t<std::is_same_v<T, Zop32f>, Floats, Ints>;
      hn::Vec<Taps> s[4];
      taps.get(from, i, s);
      const auto mix = [&](auto part, auto s0, auto d1, auto d2, auto d3) HWY_ATTR {
        const std::ptrdiff_t k = i + part * kReals;
        auto sum = hn::Add(s0, hn::Mul(d3, hn::LoadU(d, third + k)));
        sum = hn::Add(sum, hn::Mul(hn::LoadU(d, second + k), d2));
        sum = hn::Add(sum, hn::Mul(hn::LoadU(d, first + k), d1));
        if constexpr (kIsTried<T>)
          hn::StoreU(hn::DemoteTo(SamplesOf<float, Reals>(), sum), SamplesOf<float, Reals>(), to + k);
        else
          hn::StoreU(asFloats(sum), d, to + k);
      };
      const auto differences = [](auto s0, auto s1, auto s2, auto s3, const auto& f) HWY_ATTR {
        const auto d1 = hn::Sub(s1, s0), d2 = hn::Sub(hn::Sub(s2, s1), d1);
        f(s0, d1, d2, hn::Sub(hn::Add(hn::Sub(s1, hn::Add(s2, s2)), s3), d2));
      };
      const auto inReals = [&](auto part) HWY_ATTR {
        differences(half(s[0], part), half(s[1], part), half(s[2], part), half(s[3], part),
                    [&](auto s0, auto d1, auto d2, auto d3) HWY_ATTR { mix(part, s0, d1, d2, d3); });
      };
      if constexpr (std::is_same_v<T, Zop32f>) {
        inReals(kLow);
        inReals(kHigh);
      } else {
        differences(s[0], s[1], s[2], s[3], [&](auto s0, auto d1, auto d2, auto d3) HWY_ATTR {
          mix(kLow, half(s0, kLow), half(d1, kLow), half(d2, kLow), half(d3, kLow));
          mix(kHigh, half(s0, kHigh), half(d1, kHigh), half(d2, kHigh), half(d3, kHigh));
        });
      }
    }
  }

  // The definition.
  HWY_INLINE hn::Vec<SamplesOf<T, Floats>> mixed(const Row* const rows[4], const CubicFactors& factors,
                                                 std::ptrdiff_t i) const {
    const Reals d;
    constexpr bool kNumbers = std::is_same_v<T, Zop32f>;
    const auto a = hn::Set(d, factors.first), b = hn::Set(d, factors.second);
    const auto e = hn::Set(d, kNumbers ? double{static_cast<float>(factors.third)} : factors.third);
    const auto mix = [&](std::ptrdiff_t k) HWY_ATTR {
      const auto s0 = asReals(rows[0] + k), s1 = asReals(rows[1] + k);
      const auto s2 = asReals(rows[2] + k), s3 = asReals(rows[3] + k);
      const auto d1 = hn::Sub(s1, s0), d2 = hn::Sub(hn::Sub(s2, s1), d1);
      const auto d3 = hn::Sub(hn::Add(hn::Sub(hn::Sub(s3, s2), s2), s1), d2);
      const auto sum = hn::Add(hn::Mul(d1, a), hn::Add(hn::Mul(d2, b), hn::Add(s0, hn::Mul(d3, e))));
      return kNumbers ? sum : hn::Add(sum, hn::Set(d, 1e-7));
    };
    return asSamples<T>(mix(i), mix(i + kReals));
  }
  HWY_NOINLINE void mixedInto(const Row* const rows[4], const CubicFactors& factors, std::ptrdiff_t i,
                              T* to) const {
    hn::StoreU(mixed(rows, factors, i), SamplesOf<T, Floats>(), to);
  }

  void down(const Row* const rows[4], float weight, T* to) const {
    const SamplesOf<T, Floats> samples;
    const CubicFactors factors(weight);
    if constexpr (kIsTried<T>) {
      const RowWeights weights(factors);
      forParts<kTaps>(call.samples(), [&](std::ptrdiff_t i, auto n) HWY_ATTR {
        const Ints di;
        hn::Vec<Floats> from, until;
        weights.sums(rows, i, from, until);
        const auto low = hn::ConvertTo(di, from), high = hn::ConvertTo(di, until);
        if (HWY_LIKELY(hn::AllTrue(di, hn::Eq(low, high))))
          return storeSamples(samples, hn::DemoteTo(samples, low), to, i, n, call.keepsAlpha);
        T exact[kTaps];
        mixedInto(rows, factors, i, exact);
        storeSamples(samples, hn::LoadU(samples, exact), to, i, n, call.keepsAlpha);
      });
    } else {
      forParts<kTaps>(call.samples(), [&](std::ptrdiff_t i, auto n) HWY_ATTR {
        storeSamples(samples, mixed(rows, factors, i), to, i, n, call.keepsAlpha);
      });
    }
  }
};

template <class T>
void cubic(const ResizeCall& call, unsigned char* memory, const Image<const T>* from, const Image<T>* to,
           int images) {
  Scratch scratch = {memory};
  const CubicTables<T> tables(call, scratch);
  const std::ptrdiff_t length = wholeGroups(call.samples());
  using Row = CubicRow<T>;
  Row* rows[4];
  for (Row*& row : rows) row = scratch.take<Row>(length);
  for (int p = 0; p < images; ++p) {
    for (int y = 0; y < call.height; ++y) {
      const int row = call.rows[y];
      const int fresh =
          y == 0 ? 4 : static_cast<int>(std::min<std::ptrdiff_t>(4, std::ptrdiff_t{row} - call.rows[y - 1]));
      for (int k = 0; k < fresh; ++k) std::rotate(rows, rows + 1, rows + 4);
      for (int k = 4 - fresh; k < 4; ++k) tables.across(from[p].row(std::ptrdiff_t{row} + k - 1), rows[k]);
      tables.down(rows, call.yWeights[y], to[p].row(y));
    }
  }
}

template <class T>
constexpr ResizeRows<T> kRows = {nearest<T>, linear<T>, cubic<T>};
constexpr ResizeTable kTable = {kRows<Zop8u>, kRows<Zop16u>, kRows<Zop32f>};

}  // namespace

const ResizeTable* resizeTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(resizeTableOfTarget);

const ResizeTable& resizeTable() { return *HWY_DYNAMIC_DISPATCH(resizeTableOfTarget)(); }

// For each sample: windows of up to 4 bytes and 5/16 of that for their places, weights or factors of up to 24
// bytes, and one row of samples, or two or four of up to double precision.
std::ptrdiff_t resizeScratchBytes(std::ptrdiff_t samples, int interpolation) {
  const std::ptrdiff_t each = interpolation == zopInterNearest  ? 10
                              : interpolation == zopInterLinear ? 32
                                                                : 64;
  return (samples + 64) * each + 1024;
}

}  // namespace zopi
#endif
