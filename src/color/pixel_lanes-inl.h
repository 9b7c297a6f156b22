// Pixels of bytes in 32-bit lanes, one pixel a lane, in the order of the row: what arithmetic with 16
// fraction bits needs. Four vectors, the quarters of a step, hold as many pixels as a vector has bytes.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_COLOR_PIXEL_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_COLOR_PIXEL_LANES_INL_H_
#undef ZOPI_COLOR_PIXEL_LANES_INL_H_
#else
#define ZOPI_COLOR_PIXEL_LANES_INL_H_
#endif

#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "core/image.h"
#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

using Lanes = Tag<int32_t>;
using LaneVec = hn::Vec<Lanes>;
using LaneBytes = Tag<uint8_t>;
using LaneWords = Tag<int16_t>;
using QuarterBytes = SamplesOf<uint8_t, Lanes>;
inline constexpr int kLanePixels = static_cast<int>(kLanes<Lanes>);  // of a quarter
inline constexpr int kStepPixels = 4 * kLanePixels;

// f(q) for the first `Count` quarters, with q a constant: only then do vectors stay in registers.
template <int Count = 4, class F>
HWY_INLINE void forQuarters(const F& f) {
  const auto each = [&]<int... Q>(std::integer_sequence<int, Q...>) HWY_ATTR {
    (f(std::integral_constant<int, Q>()), ...);
  };
  each(std::make_integer_sequence<int, Count>());
}

// Words are pairs of 16 bits in a lane: low a + high b + sum, with factors a and b in the same places.
HWY_INLINE LaneVec pairSums(LaneVec words, LaneVec factors, LaneVec sum) {
  const Lanes d;
#if HWY_ARCH_X86
  const LaneWords d16;
  LaneVec unused = sum;
  return hn::ReorderWidenMulAccumulate(d, hn::BitCast(d16, words), hn::BitCast(d16, factors), sum, unused);
#else
  const auto low = [](LaneVec v) { return hn::ShiftRight<16>(hn::ShiftLeft<16>(v)); };
  const LaneVec high = hn::Mul(hn::ShiftRight<16>(words), hn::ShiftRight<16>(factors));
  return hn::Add(sum, hn::Add(hn::Mul(low(words), low(factors)), high));
#endif
}
constexpr int32_t wordPair(int low, int high) {
  return static_cast<int32_t>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xffff));
}

// In every 16-byte block: the words of a, then those of b, saturated to bytes.
HWY_INLINE hn::Vec<LaneBytes> saturatedBytes(LaneVec a, LaneVec b) {
#if HWY_TARGET == HWY_AVX3
  return hn::Vec<LaneBytes>{_mm512_packus_epi16(a.raw, b.raw)};
#elif HWY_TARGET == HWY_AVX2
  return hn::Vec<LaneBytes>{_mm256_packus_epi16(a.raw, b.raw)};
#elif HWY_ARCH_X86
  return hn::Vec<LaneBytes>{_mm_packus_epi16(a.raw, b.raw)};
#else
  static_assert(kLanePixels == 4, "blocks of larger vectors would have to change places");
  const hn::Half<LaneBytes> half;
  const LaneWords d16;
  return hn::Combine(LaneBytes(), hn::DemoteTo(half, hn::BitCast(d16, b)),
                     hn::DemoteTo(half, hn::BitCast(d16, a)));
#endif
}

// Numbers with 16 fraction bits, rounded down: those of `low` and `high` in turn, as words.
HWY_INLINE LaneVec wholes(LaneVec low, LaneVec high) {
  const LaneWords d16;
  return hn::BitCast(Lanes(), hn::OddEven(hn::BitCast(d16, high), hn::BitCast(d16, hn::ShiftRight<16>(low))));
}

// A shuffle within every 16-byte block; 0x80 makes a zero.
using BlockPattern = std::array<uint8_t, 16>;
inline constexpr uint8_t kNone = 0x80;
HWY_INLINE LaneVec shuffled(LaneVec v, const BlockPattern& pattern) {
  const LaneBytes d8;
  return hn::BitCast(Lanes(),
                     hn::TableLookupBytesOr0(hn::BitCast(d8, v), hn::LoadDup128(d8, pattern.data())));
}

// The pattern that gives lane i of a block the bytes place(i, 0) ... place(i, 3).
template <class F>
constexpr BlockPattern patternOf(F place) {
  BlockPattern pattern{};
  for (int i = 0; i < 16; ++i) pattern[i] = static_cast<uint8_t>(place(i / 4, i % 4));
  return pattern;
}

// Of pixels of kStride bytes: channels a and b as words.
template <int kStride, int a, int b>
inline constexpr BlockPattern kWords = patternOf([](int i, int byte) {
  return byte == 0 ? kStride * i + a : byte == 2 ? kStride * i + b : kNone;
});
// Byte x as the words x and x << 8.
template <int kStride, int c>
inline constexpr BlockPattern kSpread = patternOf([](int i, int byte) {
  return byte == 0 || byte == 3 ? kStride * i + c : kNone;
});

HWY_INLINE LaneVec loadLanes(const Zop8u* from) { return hn::BitCast(Lanes(), hn::LoadU(LaneBytes(), from)); }
HWY_INLINE LaneVec promotedQuarter(const Zop8u* from) {
  return hn::PromoteTo(Lanes(), hn::LoadU(QuarterBytes(), from));
}

// Four quarters whose blocks hold four bytes of each, one quarter after the other, in the quarters' order.
struct QuarterOrder {
  alignas(64) uint32_t words[kLanePixels];
};
constexpr QuarterOrder quarterOrder() {
  QuarterOrder order{};
  for (int i = 0; i < kLanePixels; ++i)
    order.words[i] = static_cast<uint32_t>(i % (kLanePixels / 4) * 4 + i / (kLanePixels / 4));
  return order;
}
inline constexpr QuarterOrder kQuarterOrder = quarterOrder();
HWY_INLINE hn::Vec<LaneBytes> inOrderOfQuarters(LaneVec blocks) {
  const Tag<uint32_t> d;
  return hn::BitCast(
      LaneBytes(), hn::TableLookupLanes(hn::BitCast(d, blocks), hn::SetTableIndices(d, kQuarterOrder.words)));
}

// Numbers with 16 fraction bits, a quarter each, as bytes in their order: rounded down and saturated.
inline constexpr BlockPattern kUnzip =
    patternOf([](int i, int byte) { return i / 2 * 8 + i % 2 + 2 * byte; });
HWY_INLINE hn::Vec<LaneBytes> bytesOf(LaneVec a, LaneVec b, LaneVec c, LaneVec d) {
  return inOrderOfQuarters(
      shuffled(hn::BitCast(Lanes(), saturatedBytes(wholes(a, b), wholes(c, d))), kUnzip));
}

// The words of 32 bits of packed pixels: those of quarter q are words 3/4 L q and following of three vectors.
struct PackedOrders {
  alignas(64) uint32_t spread[4][kLanePixels], squeeze[4][kLanePixels];
};
constexpr PackedOrders packedOrders() {
  constexpr int L = kLanePixels;
  PackedOrders orders{};
  for (int q = 0; q < 4; ++q) {
    for (int i = 0; i < L; ++i) {
      const int word = 3 * L / 4 * q + i / 4 * 3 + i % 4;
      orders.spread[q][i] = static_cast<uint32_t>(word % L);
      if (i % 4 < 3) orders.squeeze[q][word % L] = static_cast<uint32_t>(i);
    }
  }
  return orders;
}
inline constexpr PackedOrders kPackedOrders = packedOrders();

// Three vectors of packed pixels to four whose 16-byte blocks hold the bytes of four pixels each, at the
// front, and back.
class PackedPixels {
  static constexpr int L = kLanePixels;
  using D = Tag<uint32_t>;
  using Order = decltype(hn::SetTableIndices(D(), static_cast<const uint32_t*>(nullptr)));
  Order spread_[4], squeeze_[4];

  static HWY_INLINE LaneVec permuted(LaneVec v, Order order) {
    return hn::BitCast(Lanes(), hn::TableLookupLanes(hn::BitCast(D(), v), order));
  }
  // The first n lanes of a, the others of b.
  static HWY_INLINE LaneVec joined(int n, LaneVec a, LaneVec b) {
    return hn::IfThenElse(hn::FirstN(Lanes(), static_cast<std::size_t>(n)), a, b);
  }

 public:
  HWY_INLINE PackedPixels() {
    for (int q = 0; q < 4; ++q) {
      spread_[q] = hn::SetTableIndices(D(), kPackedOrders.spread[q]);
      squeeze_[q] = hn::SetTableIndices(D(), kPackedOrders.squeeze[q]);
    }
  }

  HWY_INLINE void load(const Zop8u* from, LaneVec* quarters) const {
    const LaneVec a = loadLanes(from), b = loadLanes(from + 4 * L), c = loadLanes(from + 8 * L);
    quarters[0] = permuted(a, spread_[0]);
    quarters[1] = permuted(joined(L / 2, b, a), spread_[1]);
    quarters[2] = permuted(joined(L / 4, c, b), spread_[2]);
    quarters[3] = permuted(c, spread_[3]);
  }

  template <bool kStream>
  HWY_INLINE void store(const LaneVec* quarters, Zop8u* to) const {
    LaneVec v[4];
    forQuarters([&](auto q) HWY_ATTR { v[q] = permuted(quarters[q], squeeze_[q]); });
    const LaneBytes d8;
    HWY_NAMESPACE::store<kStream>(d8, hn::BitCast(d8, joined(3 * L / 4, v[0], v[1])), to);
    HWY_NAMESPACE::store<kStream>(d8, hn::BitCast(d8, joined(L / 2, v[1], v[2])), to + 4 * L);
    HWY_NAMESPACE::store<kStream>(d8, hn::BitCast(d8, joined(L / 4, v[2], v[3])), to + 8 * L);
  }
};

// Quarters of interleaved pixels; in their blocks, a pixel has kStride bytes.
template <class Layout>
struct PixelQuarters {
  static constexpr int kStride = 4;
  HWY_INLINE void load(const Zop8u* from, LaneVec* quarters) const {
    forQuarters([&](auto q) HWY_ATTR { quarters[q] = loadLanes(from + q * 4 * kLanePixels); });
  }
};
template <>
struct PixelQuarters<C3> {
  static constexpr int kStride = 3;
  PackedPixels packed;
  HWY_INLINE PixelQuarters() {}
  HWY_INLINE void load(const Zop8u* from, LaneVec* quarters) const { packed.load(from, quarters); }
};

// Three channels of pixels with 16 fraction bits, saturated to bytes: in every block the low bytes of channel
// 0 and 2 in turn, then those of channel 1.
HWY_INLINE LaneVec packedChannels(LaneVec c0, LaneVec c1, LaneVec c2) {
  return hn::BitCast(Lanes(), saturatedBytes(wholes(c0, c2), hn::ShiftRight<16>(c1)));
}
constexpr int placeOfChannel(int i, int c) { return c == 1 ? 8 + 2 * i : 2 * i + c / 2; }
inline constexpr BlockPattern kPixelOfChannels =
    patternOf([](int i, int byte) { return byte < 3 ? placeOfChannel(i, byte) : int{kNone}; });
inline constexpr BlockPattern kSwappedPixelOfChannels =
    patternOf([](int i, int byte) { return byte < 3 ? placeOfChannel(i, 2 - byte) : int{kNone}; });

inline constexpr BlockPattern kChannelsInTurn =
    patternOf([](int c, int i) { return c < 3 ? placeOfChannel(i, c) : int{kNone}; });
constexpr BlockPattern packedOfChannels() {
  BlockPattern pattern{};
  for (int k = 0; k < 12; ++k) pattern[k] = static_cast<uint8_t>(placeOfChannel(k / 3, k % 3));
  return pattern;
}
inline constexpr BlockPattern kPackedOfChannels = packedOfChannels();

// Where four quarters of packed channels go, by layout.
template <class Layout>
struct PixelSink;

template <>
struct PixelSink<C3> {
  using Sample = Zop8u;
  static constexpr bool kStreams = true;
  PackedPixels packed;

  HWY_INLINE PixelSink() {}
  template <bool kStream>
  HWY_INLINE void store(const LaneVec* channels, Zop8u* const* to) const {
    LaneVec quarters[4];
    forQuarters([&](auto q) HWY_ATTR { quarters[q] = shuffled(channels[q], kPackedOfChannels); });
    packed.store<kStream>(quarters, to[0]);
  }
};

// Alpha becomes 0.
template <>
struct PixelSink<C4> {
  using Sample = Zop8u;
  static constexpr bool kStreams = true;
  template <bool kStream>
  HWY_INLINE void store(const LaneVec* channels, Zop8u* const* to) const {
    const LaneBytes d8;
    forQuarters([&](auto q) HWY_ATTR {
      const auto pixels = hn::BitCast(d8, shuffled(channels[q], kPixelOfChannels));
      HWY_NAMESPACE::store<kStream>(d8, pixels, to[0] + q * 4 * kLanePixels);
    });
  }
};

// Alpha stays.
template <>
struct PixelSink<AC4> {
  using Sample = Zop8u;
  static constexpr bool kStreams = false;
  template <bool kStream>
  HWY_INLINE void store(const LaneVec* channels, Zop8u* const* to) const {
    const LaneBytes d8;
    const LaneVec alpha = hn::Set(Lanes(), static_cast<int32_t>(0xff000000));
    forQuarters([&](auto q) HWY_ATTR {
      Zop8u* at = to[0] + q * 4 * kLanePixels;
      const LaneVec pixels = shuffled(channels[q], kPixelOfChannels);
      hn::StoreU(hn::BitCast(d8, hn::OrAnd(pixels, loadLanes(at), alpha)), d8, at);
    });
  }
};

template <>
struct PixelSink<P3> {
  using Sample = Zop8u;
  static constexpr bool kStreams = true;
  template <bool kStream>
  HWY_INLINE void store(const LaneVec* channels, Zop8u* const* to) const {
    const Lanes d;
    const LaneBytes d8;
    const Tag<uint64_t> d64;
    // By block: four bytes of each channel.
    LaneVec v[4];
    forQuarters([&](auto q) HWY_ATTR { v[q] = shuffled(channels[q], kChannelsInTurn); });
    const auto pairs = [&](LaneVec a, LaneVec b)
                           HWY_ATTR { return hn::BitCast(d64, hn::InterleaveLower(d, a, b)); };
    const auto upperPairs = [&](LaneVec a, LaneVec b)
                                HWY_ATTR { return hn::BitCast(d64, hn::InterleaveUpper(d, a, b)); };
    const auto a = pairs(v[0], v[1]), b = pairs(v[2], v[3]);
    const auto c = upperPairs(v[0], v[1]), e = upperPairs(v[2], v[3]);
    const auto plane = [&](auto blocks, Zop8u* at) HWY_ATTR {
      HWY_NAMESPACE::store<kStream>(d8, inOrderOfQuarters(hn::BitCast(d, blocks)), at);
    };
    plane(hn::InterleaveLower(d64, a, b), to[0]);
    plane(hn::InterleaveUpper(d64, a, b), to[1]);
    plane(hn::InterleaveLower(d64, c, e), to[2]);
  }
};

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
