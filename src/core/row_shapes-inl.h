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
#include <utility>

#include "core/image.h"
#include "core/lanes-inl.h"
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

// A long step of a loop: a whole number of patterns, whatever the vector's length.
template <class D>
inline constexpr int kStep = kLanes<D> % 8 == 0 ? 3 : kPatternSamples / static_cast<int>(kLanes<D>);

// An operation gives back samples, or integer lanes wider than samples, of which the low bits are stored.
//
// What an operation may say of itself: how many samples belong together (a complex sample is two), so that no
// vector may part them; that it is so short that a loop gains from long steps; that it is never in place, so
// that samples may be stored before those that overlap them are read; that its rows, if they stream, run from
// their end to their start, for operands that then read theirs forward; that it watches the samples it is
// given, so that no vector may hold anything else; and the type of its lanes, if that is not the samples'
// type.
template <class Op>
constexpr int groupOf() {
  if constexpr (requires { Op::kGroup; })
    return Op::kGroup;
  else
    return 1;
}
template <class Op>
constexpr bool isShort() {
  if constexpr (requires { Op::kShort; })
    return Op::kShort;
  else
    return false;
}

template <class Op>
constexpr bool runsBackward() {
  if constexpr (requires { Op::kBackward; })
    return Op::kBackward;
  else
    return false;
}
template <class Op>
constexpr bool isApart() {
  if constexpr (requires { Op::kApart; })
    return Op::kApart;
  else
    return false;
}
template <class Op>
constexpr bool watches() {
  if constexpr (requires { Op::kWatches; })
    return Op::kWatches;
  else
    return false;
}
template <class Op, class T>
struct LaneOf {
  using Type = T;
};
template <class Op, class T>
requires requires { typename Op::Lane; }
struct LaneOf<Op, T> {
  using Type = typename Op::Lane;
};
template <class Op, class T>
using LaneTag = Tag<typename LaneOf<Op, T>::Type>;

// For operations that watch: notes whether a lane was ever as it says. What is watched for is rare, so a
// branch costs less than to carry a vector along.
struct Watch {
  bool* met;

  HWY_INLINE Watch(bool* out) : met(out) {}

  template <class D, class M>
  HWY_INLINE bool see(D d, M mask) const {
    if (HWY_LIKELY(hn::AllFalse(d, mask))) return false;
    *met = true;
    return true;
  }
};

// As many samples as D has lanes, in memory.
template <class T, class D>
using SamplesOf = hn::Rebind<T, D>;

// A whole vector, into the caches or past them to an aligned address. Parts of a vector never go past.
template <bool kStream, class D, class V>
HWY_INLINE void store(D d, V v, hn::TFromD<D>* out) {
  if constexpr (kStream && hn::MaxLanes(D()) * sizeof(*out) >= 16)
    hn::Stream(v, d, out);
  else
    hn::StoreU(v, d, out);
}

// The first n samples from an address on, and zeros; or, if they are watched, the same samples again. As n is
// then the length of a row, pixels follow each other.
template <bool kRepeat = false, class D>
HWY_INLINE hn::Vec<D> loadPart(D d, const hn::TFromD<D>* from, std::ptrdiff_t n) {
  if (HWY_LIKELY(n == kLanes<D>)) return hn::LoadU(d, from);
  HWY_ALIGN hn::TFromD<D> block[kLanes<D>] = {};
  std::memcpy(block, from, n * sizeof block[0]);
  if constexpr (kRepeat) {
    for (std::ptrdiff_t i = n; i < kLanes<D>; ++i) block[i] = block[i - n];
  }
  return hn::Load(d, block);
}

// The first n samples of a vector.
template <class D, class V>
HWY_INLINE void storePart(D d, V v, hn::TFromD<D>* out, std::ptrdiff_t n) {
  if (HWY_LIKELY(n == kLanes<D>)) return hn::StoreU(v, d, out);
  HWY_ALIGN hn::TFromD<D> block[kLanes<D>];
  hn::Store(v, d, block);
  std::memcpy(out, block, n * sizeof block[0]);
}

// Operands of a map. `at(i, k)` is the vector at sample i, k vectors behind the place that `begin` and
// `advance` have reached. `edge<kRepeat>(i, n)` is the vector of n samples at any sample i. `held` is the
// operand for a loop of long steps. D is the tag of its vectors, whose samples may be narrower than the lanes
// that an operation works in.
template <class D>
struct ImageOperand {
  using T = hn::TFromD<D>;
  Image<const T> image;
  const T* samples = nullptr;

  HWY_INLINE void row(std::ptrdiff_t y) { samples = image.row(y); }
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE void advance() {}
  HWY_INLINE const ImageOperand& held() const { return *this; }
  HWY_INLINE hn::Vec<D> at(std::ptrdiff_t i, int) const { return hn::LoadU(D(), samples + i); }
  template <bool kRepeat = false>
  HWY_INLINE hn::Vec<D> edge(std::ptrdiff_t i, std::ptrdiff_t n) const {
    return loadPart<kRepeat>(D(), samples + i, n);
  }
  template <int Count>
  HWY_INLINE void copy(std::ptrdiff_t i, T* out) const {
    std::memcpy(out, samples + i, Count * sizeof(T));
  }
};

// A mask of one byte a sample, in lanes of the samples' width.
template <class D>
struct MaskOperand {
  using D8 = SamplesOf<uint8_t, D>;
  Image<const Zop8u> mask;
  const Zop8u* bytes = nullptr;

  HWY_INLINE void row(std::ptrdiff_t y) { bytes = mask.row(y); }
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE void advance() {}
  HWY_INLINE const MaskOperand& held() const { return *this; }
  HWY_INLINE hn::Vec<D> at(std::ptrdiff_t i, int) const {
    return promoteBytes(D(), hn::LoadU(D8(), bytes + i));
  }
  template <bool kRepeat = false>
  HWY_INLINE hn::Vec<D> edge(std::ptrdiff_t i, std::ptrdiff_t n) const {
    return promoteBytes(D(), loadPart(D8(), bytes + i, n));
  }
};

template <class D>
struct PatternOperand {
  using T = hn::TFromD<D>;
  static constexpr std::ptrdiff_t kPeriods =
      1 + (kStep<D> * kLanes<D> + kPatternSamples - 1) / kPatternSamples;
  T samples[kPeriods * kPatternSamples];
  int phase = 0;

  HWY_INLINE explicit PatternOperand(const Pattern<T>& pattern) {
    for (std::ptrdiff_t i = 0; i < kPeriods; ++i) {
      std::memcpy(samples + i * kPatternSamples, pattern.samples, sizeof pattern.samples);
    }
  }

  HWY_INLINE void row(std::ptrdiff_t) {}
  HWY_INLINE void begin(std::ptrdiff_t i) { phase = static_cast<int>(i % kPatternSamples); }
  HWY_INLINE void advance() {
    constexpr int kTurn = kLanes<D> % kPatternSamples;
    if constexpr (kTurn > 0) phase += phase < kPatternSamples - kTurn ? kTurn : kTurn - kPatternSamples;
  }
  HWY_INLINE hn::Vec<D> at(std::ptrdiff_t, int k) const {
    return hn::LoadU(D(), samples + phase + k * kLanes<D>);
  }

  // In registers: a store of bytes might change the samples, for all the compiler knows.
  struct Held {
    hn::Vec<D> vectors[kStep<D>];
    HWY_INLINE hn::Vec<D> at(std::ptrdiff_t, int k) const { return vectors[k]; }
  };
  HWY_INLINE Held held() const { return hold(std::make_integer_sequence<int, kStep<D>>()); }
  template <int... K>
  HWY_INLINE Held hold(std::integer_sequence<int, K...>) const {
    return {{at(0, K)...}};
  }

  template <bool kRepeat = false>
  HWY_INLINE hn::Vec<D> edge(std::ptrdiff_t i, std::ptrdiff_t) const {
    return hn::LoadU(D(), samples + i % kPatternSamples);
  }
  template <int Count>
  HWY_INLINE void copy(std::ptrdiff_t i, T* out) const {
    std::memcpy(out, samples + i % kPatternSamples, Count * sizeof(T));
  }
};
template <class S>
constexpr bool hasPhase() {
  return requires(S s) { s.phase; };
}

// Wide lanes as samples, by their low bits.
template <class D, class V>
HWY_INLINE hn::Vec<D> asSamples(D d, V v) {
  using Lane = hn::TFromV<V>;
  if constexpr (sizeof(Lane) == sizeof(hn::TFromD<D>)) {
    return v;
  } else {
    const auto bits = hn::BitCast(hn::Rebind<std::make_unsigned_t<Lane>, D>(), v);
    return hn::BitCast(d, hn::TruncateTo(hn::RebindToUnsigned<D>(), bits));
  }
}

// The same for as many vectors as make a whole one.
template <class D, class V>
HWY_INLINE hn::Vec<D> packed(D d, V a) {
  return hn::BitCast(d, a);
}
template <class D, class V>
HWY_INLINE hn::Vec<D> packed(D d, V a, V b) {
  return hn::ConcatEven(d, hn::BitCast(d, b), hn::BitCast(d, a));
}
template <class D, class V>
HWY_INLINE hn::Vec<D> packed(D d, V a, V b, V c, V e) {
  const hn::RepartitionToWide<D> dw;
  return packed(d, packed(dw, a, b), packed(dw, c, e));
}
template <class D, class V>
HWY_INLINE hn::Vec<D> packed(D d, V a, V b, V c, V e, V f, V g, V h, V i) {
  const hn::RepartitionToWide<D> dw;
  return packed(d, packed(dw, a, b, c, e), packed(dw, f, g, h, i));
}

// How many vectors of an operation's results make one of samples.
template <class T, class D, class Op, class... S>
inline constexpr int kPacks =
    sizeof(hn::TFromV<decltype(std::declval<Op>()(D(), std::declval<S>().at(0, 0)...))>) / sizeof(T);

// The same constant for every sample.
template <class D>
struct UniformOperand {
  hn::Vec<D> value;

  HWY_INLINE explicit UniformOperand(hn::TFromD<D> sample) : value(hn::Set(D(), sample)) {}

  HWY_INLINE void row(std::ptrdiff_t) {}
  HWY_INLINE void begin(std::ptrdiff_t) {}
  HWY_INLINE void advance() {}
  HWY_INLINE const UniformOperand& held() const { return *this; }
  HWY_INLINE hn::Vec<D> at(std::ptrdiff_t, int) const { return value; }
  template <bool kRepeat = false>
  HWY_INLINE hn::Vec<D> edge(std::ptrdiff_t, std::ptrdiff_t) const {
    return value;
  }
};

// Samples from `out` up to the first vector boundary, or 0 if a group of samples straddles it.
template <int Group, class D, class T = hn::TFromD<D>>
HWY_INLINE std::ptrdiff_t toAlignment(D, const T* out) {
  const std::uintptr_t past = reinterpret_cast<std::uintptr_t>(out) % (kLanes<D> * sizeof(T));
  return past == 0 || past % (Group * sizeof(T)) != 0
             ? 0
             : kLanes<D> - static_cast<std::ptrdiff_t>(past / sizeof(T));
}

template <class D>
HWY_INLINE bool isAligned(D, const hn::TFromD<D>* out) {
  return reinterpret_cast<std::uintptr_t>(out) % (kLanes<D> * sizeof(*out)) == 0;
}

// Vectors from sample i on: all are read before the first is stored, which keeps loads from waiting for
// stores.
template <class D, class Op, class T, int... K, class... S>
HWY_INLINE void mapVectors(D d, const Op& op, T* out, bool stream, std::ptrdiff_t i,
                           std::integer_sequence<int, K...>, const S&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;
  constexpr SamplesOf<T, D> samples;
  const auto one = [&](int k) HWY_ATTR { return asSamples(samples, op(d, s.at(i + k * N, k)...)); };
  const hn::Vec<SamplesOf<T, D>> results[] = {one(K)...};
  if (HWY_UNLIKELY(stream)) {
    (store<true>(samples, results[K], out + i + K * N), ...);
  } else {
    (store<false>(samples, results[K], out + i + K * N), ...);
  }
}

template <class D, class Op, class T, class... S>
HWY_INLINE std::ptrdiff_t mapLongSteps(D d, const Op& op, T* out, std::ptrdiff_t i, std::ptrdiff_t n,
                                       bool stream, const S&... s) {
  constexpr std::ptrdiff_t kSamples = kStep<D> * kLanes<D>;
  for (; i + kSamples <= n; i += kSamples) {
    mapVectors(d, op, out, stream, i, std::make_integer_sequence<int, kStep<D>>(), s...);
  }
  return i;
}

// The same from sample `end` down to sample `head`.
template <class D, class Op, class T, class... S>
HWY_INLINE std::ptrdiff_t mapLongStepsBackward(D d, const Op& op, T* out, std::ptrdiff_t head,
                                               std::ptrdiff_t end, bool stream, const S&... s) {
  constexpr std::ptrdiff_t kSamples = kStep<D> * kLanes<D>;
  for (; end - head >= kSamples; end -= kSamples) {
    mapVectors(d, op, out, stream, end - kSamples, std::make_integer_sequence<int, kStep<D>>(), s...);
  }
  return end;
}

// The whole vectors of a row from sample `head` to sample `end`, the last one first.
template <class D, class Op, class T, class... S>
HWY_INLINE void mapBackward(D d, const Op& op, T* out, std::ptrdiff_t head, std::ptrdiff_t end, bool stream,
                            S&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;
  if (isShort<Op>() && end - head >= kStep<D> * N) {
    (s.begin(end - kStep<D> * N), ...);
    end = mapLongStepsBackward(d, op, out, head, end, stream, s.held()...);
  }
  for (; end > head; end -= N) {
    (s.begin(end - N), ...);
    mapVectors(d, op, out, stream, end - N, std::integer_sequence<int, 0>(), s...);
  }
}

// Vectors whose results are packed, and the few before them up to where a packed one is aligned.
template <class D, class Op, class T, int... K, class... S>
HWY_INLINE std::ptrdiff_t mapPacked(D d, const Op& op, T* out, std::ptrdiff_t i, std::ptrdiff_t n,
                                    bool stream, std::integer_sequence<int, K...>, const S&... s) {
  static_assert(!(hasPhase<S>() || ...), "a pattern would have to turn");
  constexpr std::ptrdiff_t N = kLanes<D>, kSamples = sizeof...(K) * N;
  const Tag<T> dt;
  for (; i + N <= n && !isAligned(dt, out + i); i += N) {
    mapVectors(d, op, out, stream, i, std::integer_sequence<int, 0>(), s...);
  }
  for (; i + kSamples <= n; i += kSamples) {
    const auto one = [&](int k) HWY_ATTR { return op(d, s.at(i + k * N, k)...); };
    const auto results = packed(dt, one(K)...);
    if (HWY_UNLIKELY(stream)) {
      store<true>(dt, results, out + i);
    } else {
      store<false>(dt, results, out + i);
    }
  }
  return i;
}

// The whole vectors of a row, from sample `head` on.
template <class D, class Op, class T, class... S>
HWY_INLINE void mapInner(D d, const Op& op, T* out, std::ptrdiff_t head, std::ptrdiff_t n, bool stream,
                         S&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;
  if constexpr (runsBackward<Op>()) {
    if (stream) return mapBackward(d, op, out, head, n - (n - head) % N, stream, s...);
  }
  std::ptrdiff_t i = head;
  (s.begin(i), ...);
  constexpr int kPacked = kPacks<T, D, Op, S...>;
  if constexpr (kPacked > 1) {
    i = mapPacked(d, op, out, i, n, stream, std::make_integer_sequence<int, kPacked>(), s...);
  } else if constexpr (isShort<Op>()) {
    i = mapLongSteps(d, op, out, i, n, stream, s.held()...);
  }
  for (; i + N <= n; i += N) {
    mapVectors(d, op, out, stream, i, std::integer_sequence<int, 0>(), s...);
    (s.advance(), ...);
  }
}

// One row of a map. The arithmetic stands in the loops, whose stores are aligned, and once more for the
// vectors at the edges, which overlap those of the loop. In place, the edges must be read before the loop
// changes their samples and stored after it has read them.
template <class D, class Op, class T, class... S>
HWY_INLINE void mapRow(D d, const Op& op, T* out, std::ptrdiff_t n, bool stream, S&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;
  constexpr SamplesOf<T, D> samples;
  const std::ptrdiff_t part = n < N ? n : N;
  // Worth one more vector where there are many.
  const std::ptrdiff_t head = n >= 4 * N ? toAlignment<groupOf<Op>()>(samples, out) : 0;
  const bool overlap = (n - head) % N != 0;

  stream = stream && isAligned(samples, out + head);
  if constexpr (isApart<Op>()) {
    // In the order of the row: lines that are stored once do not wait for each other.
    const auto storeEdge = [&](std::ptrdiff_t i) HWY_ATTR {
      const auto edge = asSamples(samples, op(d, s.template edge<watches<Op>()>(i, part)...));
      storePart(samples, edge, out + i, part);
    };
    const bool backward = runsBackward<Op>() && stream;
    if (backward ? overlap : head > 0) storeEdge(backward ? n - part : 0);
    mapInner(d, op, out, head, n, stream, s...);
    if (backward ? head > 0 : overlap) storeEdge(backward ? 0 : n - part);
    return;
  }

  hn::Vec<SamplesOf<T, D>> first = hn::Zero(samples), last = first;
  for (int edges = (head > 0) + overlap; edges > 0; --edges) {
    first = last;
    const std::ptrdiff_t at = edges == 2 || !overlap ? 0 : n - part;
    last = asSamples(samples, op(d, s.template edge<watches<Op>()>(at, part)...));
  }

  mapInner(d, op, out, head, n, stream, s...);

  if (head > 0) hn::StoreU(overlap ? first : last, samples, out);
  if (overlap) storePart(samples, last, out + n - part, part);
}

// out[i] = op(a[i], b[i] ...) over every row. `out` may equal any operand; where it always does, an extent
// that does not stream is the faster one.
template <class D, class Op, class T, class... S>
HWY_INLINE void mapRows(D d, const Op& op, Image<T> out, Extent e, S&&... s) {
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    (s.row(y), ...);
    mapRow(d, op, out.row(y), e.length, e.stream, s...);
  }
  if (e.stream) hwy::FlushStream();
}

// The same for rows of few vectors: one vector's width at a time, down all rows. Setting out on a row would
// take longer than the row. The last vectors of rows overlap those before, so `out` must not be an operand,
// unless what is stored there twice comes out the same.
template <class D, class Op, class T, class... S>
HWY_INLINE void mapColumns(D d, const Op& op, Image<T> out, Extent e, S&&... s) {
  constexpr std::ptrdiff_t N = kLanes<D>;
  for (std::ptrdiff_t next = 0; next < e.length; next += N) {
    const std::ptrdiff_t i = HWY_MIN(next, e.length - N);
    (s.begin(i), ...);
    for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
      (s.row(y), ...);
      mapVectors(d, op, out.row(y), false, i, std::integer_sequence<int, 0>(), s...);
    }
  }
}

// Whether they are worth it: from a vector's width to what still lies in the innermost cache when the next
// column comes.
template <class D>
constexpr bool inColumns(D, Extent e) {
  return e.rows > 1 && e.length >= kLanes<D> && e.length <= 4 * kLanes<D>;
}

// The operation of copies and fills.
struct Same {
  static constexpr bool kShort = true;
  static constexpr bool kApart = true;
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return v;
  }
};

// Takes the new value where a mask byte is not 0.
struct Choose {
  static constexpr bool kShort = true;
  template <class D, class V>
  HWY_INLINE V operator()(D d, V mask, V value, V old) const {
    return hn::IfThenElse(hn::Eq(mask, hn::Zero(d)), old, value);
  }
};

// An operation that leaves some samples as they were. One that watches is given ones there, which are good
// for any operation.
template <class Op>
struct Keeping {
  static constexpr int kGroup = groupOf<Op>();
  static constexpr bool kShort = isShort<Op>();
  static constexpr bool kWatches = watches<Op>();
  Op op;
  template <class D, class V, class... Rest>
  HWY_INLINE V operator()(D d, V old, V written, Rest... rest) const {
    const hn::DFromV<V> samples;
    if constexpr (watches<Op>()) {
      const auto one = hn::Set(samples, 1);
      const auto results = op(d, hn::IfVecThenElse(written, rest, one)...);
      return hn::IfVecThenElse(written, asSamples(samples, results), old);
    } else {
      return hn::IfVecThenElse(written, asSamples(samples, op(d, rest...)), old);
    }
  }
};

// Writes the first `Colours` of every `Channels` samples and leaves the others untouched: nothing is stored
// there, not even the value they hold. The extent counts pixels; a row ends with the last colour of its last
// pixel.
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
        hn::BlendedStore(operand.at(i, 0), hn::MaskFromVec(written.at(i, 0)), d, to + i);
        operand.advance();
        written.advance();
      }
      const auto rest = hn::And(hn::MaskFromVec(written.edge(i, N)), hn::FirstN(d, n - i));
      if (i < n) hn::BlendedStore(operand.edge(i, n - i), rest, d, to + i);
    } else {
      for (; i < n; i += Channels) operand.template copy<Colours>(i, to + i);
    }
  }
}

// Writes the pixels whose mask byte is not 0, and of these the first `Colours` samples. The extent counts
// pixels.
template <int Channels, int Colours, class D, class S>
HWY_INLINE void mapMasked(D d, Image<hn::TFromD<D>> out, Extent pixels, Image<const Zop8u> mask, S operand) {
  using T = hn::TFromD<D>;
  constexpr std::ptrdiff_t N = kLanes<D>;
  MaskOperand<D> masks{mask};
  ImageOperand<D> old{out};
  if constexpr (Channels == 1) return mapRows(d, Choose(), out, unstreamed(pixels), masks, operand, old);
  const std::ptrdiff_t n = pixels.length;
  for (std::ptrdiff_t y = 0; y < pixels.rows; ++y) {
    T* to = out.row(y);
    masks.row(y);
    operand.row(y);
    old.row(y);
    for (std::ptrdiff_t next = 0; next < n; next += N) {
      // The last pixels overlap those before, for a pixel may be chosen twice.
      const std::ptrdiff_t count = HWY_MIN(N, n), i = HWY_MIN(next, n - count);
      const auto chosen = hn::VecFromMask(d, hn::Not(hn::Eq(masks.edge(i, count), hn::Zero(d))));
      HWY_ALIGN T channels[Channels * N];
      if constexpr (Channels == 3) hn::StoreInterleaved3(chosen, chosen, chosen, d, channels);
      if constexpr (Channels == 4) {
        hn::StoreInterleaved4(chosen, chosen, chosen, Colours == 4 ? chosen : hn::Zero(d), d, channels);
      }
      for (std::ptrdiff_t k = 0; k < Channels * count; k += N) {
        const std::ptrdiff_t at = i * Channels + k, part = HWY_MIN(N, Channels * count - k);
        const auto value = operand.edge(at, part), kept = old.edge(at, part);
        storePart(d, hn::IfVecThenElse(hn::Load(d, channels + k), value, kept), to + at, part);
      }
    }
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
