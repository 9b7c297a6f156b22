#include "color/gray_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/gray_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "color/double_lanes-inl.h"
#include "core/colours-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// With a sum of 64 h + l, the low byte of its 4096th is that of (h + l / 64) / 64, of which h may wrap.
struct GrayOfBytes {
  ByteWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto a = widen(d, v[0]), b = widen(d, v[1]), c = widen(d, v[2]);
    const auto odd = hn::BitCast(d, hn::ShiftLeft<8>(sum(a.odd, b.odd, c.odd)));
    v[0] = hn::OddEven(odd, hn::BitCast(d, sum(a.even, b.even, c.even)));
  }

  template <class W>
  HWY_INLINE W sum(W a, W b, W c) const {
    const W high = products(a, b, c, weights.high), low = products(a, b, c, weights.low);
    return hn::ShiftRight<6>(hn::Add(high, hn::ShiftRight<6>(low)));
  }
  template <class W>
  static HWY_INLINE W products(W a, W b, W c, const Zop16u* by) {
    const hn::DFromV<W> d;
    return hn::Add(hn::Add(hn::Mul(a, hn::Set(d, by[0])), hn::Mul(b, hn::Set(d, by[1]))),
                   hn::Mul(c, hn::Set(d, by[2])));
  }
};

// The sums of two products each of neighbouring bytes. They must fit signed words.
#if HWY_ARCH_X86
HWY_INLINE auto pairSums(hn::Vec128<uint8_t> a, hn::Vec128<uint8_t> b) {
  return hn::Vec128<int16_t>{_mm_maddubs_epi16(a.raw, b.raw)};
}
#if HWY_TARGET <= HWY_AVX2
HWY_INLINE auto pairSums(hn::Vec256<uint8_t> a, hn::Vec256<uint8_t> b) {
  return hn::Vec256<int16_t>{_mm256_maddubs_epi16(a.raw, b.raw)};
}
#endif
#else
template <class V>
HWY_INLINE auto pairSums(V a, V b) {
  const hn::DFromV<V> d;
  const auto x = widen(d, a), y = widen(d, b);
  return hn::BitCast(hn::Repartition<int16_t, decltype(d)>(),
                     hn::Add(hn::Mul(x.even, y.even), hn::Mul(x.odd, y.odd)));
}
#endif

// Blocks of 16 bytes, which are so many apart in memory, as one vector.
template <int kApart, class D>
HWY_INLINE hn::Vec<D> loadBlocks(D d, const uint8_t* from) {
  const hn::FixedTag<uint8_t, 16> block;
  if constexpr (hn::MaxLanes(D()) == 16)
    return hn::LoadU(block, from);
  else
    return hn::Combine(d, hn::LoadU(block, from + kApart), hn::LoadU(block, from));
}

// 1225 a + 2404 b + 467 c = 35 (35 a + 42 b) + 467 (c + 2 b): two sums of pairs, one of bytes and one of
// words. No channels are parted; a lane of 32 bits is a pixel.
template <class From>
class Luma {
  // Halves of 512 bits go faster: blocks are put together while they are loaded.
  using D = hn::CappedTag<uint8_t, 32>;
  using V = hn::Vec<D>;
  static constexpr int kChannels = From::channels;
  static constexpr int kLast = 16 * kChannels - 16;  // where the last block of a lane's 16 pixels begins

  // Four pixels to a, b, c, b each: from the start of a block, and those at its end.
  static constexpr int kEnd = 16 - 4 * kChannels;
  static constexpr uint8_t place(int i, int start) {
    constexpr int kOrder[4] = {0, 1, 2, 1};
    return static_cast<uint8_t>(start + i / 4 * kChannels + kOrder[i % 4]);
  }
  struct Orders {
    alignas(16) uint8_t first[16], last[16], turn[16];
  };
  static constexpr Orders makeOrders() {
    Orders orders{};
    for (int i = 0; i < 16; ++i) {
      orders.first[i] = place(i, 0);
      orders.last[i] = place(i, kEnd);
      orders.turn[i] = static_cast<uint8_t>(i % 4 * 4 + i / 4);
    }
    return orders;
  }
  static constexpr Orders kOrders = makeOrders();

  const V first = hn::LoadDup128(D(), kOrders.first), last = hn::LoadDup128(D(), kOrders.last),
          turn = hn::LoadDup128(D(), kOrders.turn);

  // 16 times the sums of four pixels from an address on, and of those 16 pixels further on: results stand in
  // the upper halves of their lanes.
  static HWY_INLINE auto sums(const Zop8u* from, V order) {
    const V pixels = hn::TableLookupBytes(loadBlocks<16 * kChannels>(D(), from), order);
    const hn::Repartition<int16_t, D> d16;
    const hn::Repartition<int32_t, D> d32;
    const auto bytes = hn::BitCast(D(), hn::Set(d32, 35 | 42 << 8 | 1 << 16 | 2 << 24));
    const auto words = hn::BitCast(d16, hn::Set(d32, 16 * 35 | 16 * 467 << 16));
    auto rest = hn::Zero(d32);
    const auto sum = hn::ReorderWidenMulAccumulate(d32, pairSums(pixels, bytes), words, hn::Zero(d32), rest);
    return hn::BitCast(hn::Repartition<uint16_t, D>(), hn::Add(sum, rest));
  }

  // The upper halves of two vectors' lanes, those of a below.
  template <class W>
  static HWY_INLINE W upperHalves(W a, W b) {
    const hn::DFromV<W> d;
    const hn::RepartitionToWide<decltype(d)> dw;
    return hn::OddEven(b, hn::BitCast(d, hn::ShiftRight<16>(hn::BitCast(dw, a))));
  }

 public:
  // Written out, so that the tables are loaded by code for this target.
  HWY_INLINE Luma() {}
  static constexpr bool kStreams = true;

  template <bool kStream = false, class DT>
  HWY_INLINE void operator()(DT, const Zop8u* const* in, Zop8u* const* out) const {
    constexpr std::ptrdiff_t N = kLanes<D>;
    part<kStream>(in[0], out[0]);
    if constexpr (kLanes < DT >> N) part<kStream>(in[0] + N * kChannels, out[0] + N);
  }

 private:
  template <bool kStream>
  HWY_INLINE void part(const Zop8u* from, Zop8u* to) const {
    const auto a = sums(from, first), b = sums(from + 4 * kChannels, first);
    const auto c = sums(from + 8 * kChannels, first), e = sums(from + kLast, last);
    const auto odd = hn::ShiftLeft<8>(upperHalves(b, e));
    const auto four = hn::BitCast(D(), hn::Or(upperHalves(a, c), odd));
    store<kStream>(D(), hn::TableLookupBytes(four, turn), to);
  }
};

template <class From>
void lumaRows(const Image<const Zop8u>* from, const Image<Zop8u>* to, Extent pixels) {
  mapPixels(Luma<From>(), pixelsOf<From>(from), pixelsOf<C1>(to), pixels);
}

// Products are exact, so it makes no difference if they are fused.
struct GrayOfDoubles {
  NumberWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* x) const {
    const auto two = hn::MulAdd(x[1], hn::Set(d, weights.of[1]), hn::Mul(x[0], hn::Set(d, weights.of[0])));
    x[0] = hn::MulAdd(x[2], hn::Set(d, weights.of[2]), two);
  }
};

template <class T>
struct GrayOf {
  NumberWeights weights;

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    inDoubleLanes<T, 3, 1>(d, GrayOfDoubles{weights}, v);
  }
};

template <class T, class Op>
constexpr GrayRows<T> rowsOf() {
  return {pixelRows<Op, C3, C1, T, GrayWeights<T>>, pixelRows<Op, AC4, C1, T, GrayWeights<T>>};
}

constexpr GrayTable kTable = {{rowsOf<Zop8u, GrayOfBytes>(), rowsOf<Zop16u, GrayOf<Zop16u>>(),
                               rowsOf<Zop16s, GrayOf<Zop16s>>(), rowsOf<Zop32f, GrayOf<Zop32f>>()},
                              lumaRows<C3>,
                              lumaRows<AC4>};

}  // namespace

const GrayTable* grayTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(grayTableOfTarget);

const GrayTable& grayTable() { return *HWY_DYNAMIC_DISPATCH(grayTableOfTarget)(); }

}  // namespace zopi
#endif
