// Row shapes: how vector code goes along rows. A shape owns the loop, the tail and the choice of stores; the
// operation is a small object with `operator()(d, a, b ...)` on whole vectors.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_CORE_ROW_SHAPES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_CORE_ROW_SHAPES_INL_H_
#undef ZOPI_CORE_ROW_SHAPES_INL_H_
#else
#define ZOPI_CORE_ROW_SHAPES_INL_H_
#endif

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "core/image.h"
#include "core/pattern.h"
#include "hwy/cache_control.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

template <class T>
using Tag = hn::ScalableTag<T>;
template <class D>
inline constexpr std::ptrdiff_t kLanes = hn::MaxLanes(D());

// Operands of a map. `next(d, i)` is the vector at sample i; calls come with i rising by a vector's length from the
// one given to `begin`. `edge(d, i, n)` is the vector of n samples at any sample i.
template <class D>
struct ImageOperand {
  using T = hn::TFromD<D>;
  Image<const T> image;
  const T* samples = nullptr;

  HWY_INLINE void row(std::ptrdiff_t y) { samples = image.row(y); }
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE hn::Vec<D> next(D d, std::ptrdiff_t i) { return hn::LoadU(d, samples + i); }
  HWY_INLINE hn::Vec<D> edge(D d, std::ptrdiff_t i, std::ptrdiff_t n) const {
    if (HWY_LIKELY(n == kLanes<D>)) return hn::LoadU(d, samples + i);
    HWY_ALIGN T block[kLanes<D>] = {};
    std::memcpy(block, samples + i, n * sizeof(T));
    return hn::Load(d, block);
  }
  template <int Count>
  HWY_INLINE void copy(std::ptrdiff_t i, T* out) const { std::memcpy(out, samples + i, Count * sizeof(T)); }
};

template <class D>
struct PatternOperand {
  using T = hn::TFromD<D>;
  static constexpr std::ptrdiff_t kPeriods = 1 + (kLanes<D> + kPatternSamples - 1) / kPatternSamples;
  static constexpr int kTurn = kLanes<D> % kPatternSamples;
  T samples[kPeriods * kPatternSamples];
  int phase = 0;

  HWY_INLINE explicit PatternOperand(const Pattern<T>& pattern) {
    for (std::ptrdiff_t i = 0; i < kPeriods; ++i) {
      std::memcpy(samples + i * kPatternSamples, pattern.samples, sizeof pattern.samples);
    }
  }

  HWY_INLINE void row(std::ptrdiff_t) {}
  HWY_INLINE void begin(std::ptrdiff_t i) { phase = static_cast<int>(i % kPatternSamples); }
  HWY_INLINE hn::Vec<D> next(D d, std::ptrdiff_t) {
    const auto v = hn::LoadU(d, samples + phase);
    phase = phase < kPatternSamples - kTurn ? phase + kTurn : phase + kTurn - kPatternSamples;
    return v;
  }
  HWY_INLINE hn::Vec<D> edge(D d, std::ptrdiff_t i, std::ptrdiff_t) const {
    return hn::LoadU(d, samples + i % kPatternSamples);
  }
  template <int Count>
  HWY_INLINE void copy(std::ptrdiff_t i, T* out) const {
    std::memcpy(out, samples + i % kPatternSamples, Count * sizeof(T));
  }
};

// Samples from `out` up to the first vector boundary, or -1 if samples straddle it.
template <class D, class T = hn::TFromD<D>>
HWY_INLINE std::ptrdiff_t toAlignment(D, const T* out) {
  const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(out) % (kLanes<D> * sizeof(T));
  if (past % sizeof(T) != 0) return -1;
  return past == 0 ? 0 : kLanes<D> - static_cast<std::ptrdiff_t>(past / sizeof(T));
}

// The first n samples of a vector.
template <class D, class V>
HWY_INLINE void storePart(D d, V v, hn::TFromD<D>* out, std::ptrdiff_t n) {
  if (HWY_LIKELY(n == kLanes<D>)) return hn::StoreU(v, d, out);
  HWY_ALIGN hn::TFromD<D> block[kLanes<D>];
  hn::Store(v, d, block);
  std::memcpy(out, block, n * sizeof block[0]);
}

// One row of a map. The arithmetic stands twice: in the loop, and for the vectors at the edges, which overlap it.
template <class D, class Op, class... S>
HWY_INLINE void mapRow(D d, const Op& op, hn::TFromD<D>* out, std::ptrdiff_t n, bool stream, S&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;

  // What streams is not in place, so its first vector may be stored at once.
  std::ptrdiff_t i = 0;
  const std::ptrdiff_t head = stream && n >= N ? toAlignment(d, out) : -1;
  stream = head >= 0;
  if (head > 0) i = head;

  // In place, the samples of the last vector must be read before the loop changes them.
  hn::Vec<D> last = hn::Zero(d);
  const std::ptrdiff_t part = n < N ? n : N;
  const bool overlap = (n - i) % N != 0;
  for (std::ptrdiff_t edge = i > 0 ? 0 : n - part; i > 0 || overlap; edge = n - part) {
    last = op(d, s.edge(d, edge, part)...);
    if (edge == n - part) break;
    hn::StoreU(last, d, out);
    if (!overlap) break;
  }

  (s.begin(i), ...);
  for (; i + N <= n; i += N) {
    const auto result = op(d, s.next(d, i)...);
    if (HWY_UNLIKELY(stream)) {
      hn::Stream(result, d, out + i);
    } else {
      hn::StoreU(result, d, out + i);
    }
  }

  if (overlap) storePart(d, last, out + n - part, part);
}

// out[i] = op(a[i], b[i] ...) over every row. `out` may equal any operand.
template <class D, class Op, class... S>
HWY_INLINE void mapRows(D d, const Op& op, Image<hn::TFromD<D>> out, Extent e, S... s) {
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    (s.row(y), ...);
    mapRow(d, op, out.row(y), e.length, e.stream, s...);
  }
  if (e.stream) hwy::FlushStream();
}

// An operation on an image and a pattern that leaves some samples as they were.
template <class Op>
struct Keeping {
  Op op;
  template <class D, class V = hn::Vec<D>, class... Rest>
  HWY_INLINE V operator()(D d, V old, V written, Rest... rest) const {
    return hn::IfVecThenElse(written, op(d, rest...), old);
  }
};

// Writes the first `Colours` of every `Channels` samples and leaves the others untouched: nothing is stored there,
// not even the value they hold. The extent counts pixels; a row ends with the last colour of its last pixel.
template <int Channels, int Colours, class D, class S>
HWY_INLINE void mapColours(D d, Image<hn::TFromD<D>> out, Extent pixels, S operand) {
  using T = hn::TFromD<D>;
  constexpr std::ptrdiff_t N = kLanes<D>;
  const std::ptrdiff_t n = (pixels.length - 1) * Channels + Colours;
  // Where the target can store under a mask; elsewhere pixel by pixel.
  constexpr bool masks = HWY_TARGET == HWY_AVX3 || (HWY_TARGET == HWY_AVX2 && sizeof(T) == 4);
  PatternOperand<D> written(writtenSamples<T, Channels, Colours>());
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    T* to = out.row(y);
    operand.row(y);
    operand.begin(0);
    written.begin(0);
    std::ptrdiff_t i = 0;
    if constexpr (masks) {
      for (; i + N <= n; i += N) {
        hn::BlendedStore(operand.next(d, i), hn::MaskFromVec(written.next(d, i)), d, to + i);
      }
      const auto rest = hn::And(hn::MaskFromVec(written.edge(d, i, N)), hn::FirstN(d, n - i));
      if (i < n) hn::BlendedStore(operand.edge(d, i, n - i), rest, d, to + i);
    } else {
      for (; i < n; i += Channels) operand.template copy<Colours>(i, to + i);
    }
  }
}

// Writes the pixels whose mask byte is not 0, and of these the first `Colours` samples. The extent counts pixels.
template <int Channels, int Colours, class D, class S>
HWY_INLINE void mapMasked(D d, Image<hn::TFromD<D>> out, Extent pixels, Image<const Zop8u> mask, S operand) {
  using T = hn::TFromD<D>;
  constexpr std::ptrdiff_t N = kLanes<D>;
  const hn::Rebind<uint8_t, D> d8;
  const std::ptrdiff_t n = pixels.length;
  ImageOperand<D> old{out};
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    T* to = out.row(y);
    const Zop8u* from = mask.row(y);
    operand.row(y);
    old.row(y);
    for (std::ptrdiff_t i = 0; i < n; i = n - i > N && n - i < 2 * N ? n - N : i + N) {
      const std::ptrdiff_t count = n - i < N ? n - i : N;
      HWY_ALIGN uint8_t bytes[kLanes<D>] = {};
      std::memcpy(bytes, from + i, count == N ? N : count);
      const auto chosen = hn::VecFromMask(d, hn::Not(hn::Eq(promoteBytes(d, hn::Load(d8, bytes)), hn::Zero(d))));
      HWY_ALIGN T channels[Channels * N];
      if constexpr (Channels == 1) hn::Store(chosen, d, channels);
      if constexpr (Channels == 3) hn::StoreInterleaved3(chosen, chosen, chosen, d, channels);
      if constexpr (Channels == 4) {
        hn::StoreInterleaved4(chosen, chosen, chosen, Colours == 4 ? chosen : hn::Zero(d), d, channels);
      }
      for (std::ptrdiff_t k = 0; k < Channels * N && k < Channels * count; k += N) {
        const std::ptrdiff_t at = i * Channels + k, part = HWY_MIN(N, Channels * count - k);
        const auto result =
            hn::IfVecThenElse(hn::Load(d, channels + k), operand.edge(d, at, part), old.edge(d, at, part));
        storePart(d, result, to + at, part);
      }
    }
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
