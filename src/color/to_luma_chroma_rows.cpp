#include "color/to_luma_chroma_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/to_luma_chroma_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "color/pixel_lanes-inl.h"
#include "core/pixel_moves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// A pixel, or a sum of pixels, as two lanes of words: R and G, G and B. Green is in both, so that a
// coefficient of 17 bits can be spread over two.
struct Rgb {
  LaneVec rg, gb;
};

HWY_INLINE Rgb sum(Rgb a, Rgb b) {
  const LaneWords d16;
  const auto add = [&](LaneVec x, LaneVec y) HWY_ATTR {
    return hn::BitCast(Lanes(), hn::Add(hn::BitCast(d16, x), hn::BitCast(d16, y)));
  };
  return {add(a.rg, b.rg), add(a.gb, b.gb)};
}

// The sums of neighbours in a and then b.
HWY_INLINE LaneVec pairsOf(LaneVec a, LaneVec b) {
  const Lanes d;
  return hn::Add(hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a));
}
HWY_INLINE Rgb pairsOf(Rgb a, Rgb b) { return {pairsOf(a.rg, b.rg), pairsOf(a.gb, b.gb)}; }

// r R + g G + b B + start
struct Weights {
  LaneVec ofRg, ofGb;

  HWY_INLINE Weights(int r, int g, int b)
      : ofRg(hn::Set(Lanes(), wordPair(r, g / 2))), ofGb(hn::Set(Lanes(), wordPair(g - g / 2, b))) {}
  HWY_INLINE LaneVec operator()(Rgb v, LaneVec start) const {
    return pairSums(v.gb, ofGb, pairSums(v.rg, ofRg, start));
  }
};

struct Chroma {
  LaneVec u, v;
};

// The arithmetic: luma of pixels and chroma of sums of 2^kShift, with 16 fraction bits of which some may be
// lost.
template <int kShift>
struct YCbCrOf {
  Weights y, cb, cr;
  LaneVec lumaOffset, chromaOffset;

  HWY_INLINE explicit YCbCrOf(const ToYCbCr& set)
      : y(ToYCbCr::kY.r, ToYCbCr::kY.g, ToYCbCr::kY.b),
        cb(ToYCbCr::kCb.r, ToYCbCr::kCb.g, ToYCbCr::kCb.b),
        cr(ToYCbCr::kCr.r, ToYCbCr::kCr.g, ToYCbCr::kCr.b),
        lumaOffset(hn::OddEven(hn::Set(Lanes(), set.oddLumaOffset), hn::Set(Lanes(), set.lumaOffset))),
        chromaOffset(hn::Set(Lanes(), set.chromaOffset)) {}
  HWY_INLINE LaneVec luma(Rgb v) const { return y(v, lumaOffset); }
  HWY_INLINE Chroma chroma(Rgb v) const {
    return {hn::ShiftRight<kShift>(cb(v, chromaOffset)), hn::ShiftRight<kShift>(cr(v, chromaOffset))};
  }
};

template <int kShift>
struct YuvOf {
  Weights weights;
  LaneVec rounding;

  HWY_INLINE explicit YuvOf(const ToYuv& set)
      : weights(ToYuv::kR, ToYuv::kG, ToYuv::kB), rounding(hn::Set(Lanes(), set.rounding)) {}
  HWY_INLINE LaneVec luma(Rgb v) const { return weights(v, hn::Zero(Lanes())); }
  HWY_INLINE Chroma chroma(Rgb v) const {
    const Lanes d;
    const LaneVec start = hn::Sub(rounding, luma(v));
    const LaneVec blue = hn::And(v.gb, hn::Set(d, wordPair(0, -1))), red = hn::ShiftLeft<16>(v.rg);
    return {scaled(hn::Add(blue, start), ToYuv::kU), scaled(hn::Add(red, start), ToYuv::kV)};
  }

 private:
  HWY_INLINE LaneVec scaled(LaneVec difference, int factor) const {
    const Lanes d;
    const LaneVec product = hn::Mul(hn::ShiftRight<16>(difference), hn::Set(d, factor));
    return hn::Add(hn::ShiftRight<kShift>(product), hn::Set(d, 128 << 16));
  }
};

// RGB of a row: what one image, or three, hold.
template <class Layout>
struct RgbSource {
  static constexpr int kImages = 1;
  static constexpr int kSamples = Layout::channels;
  PixelQuarters<Layout> quarters;

  HWY_INLINE void load(const Zop8u* const* at, Rgb* pixels) const {
    constexpr int kStride = PixelQuarters<Layout>::kStride;
    LaneVec v[4];
    quarters.load(at[0], v);
    forQuarters([&](auto q) HWY_ATTR {
      pixels[q] = {shuffled(v[q], kWords<kStride, 0, 1>), shuffled(v[q], kWords<kStride, 1, 2>)};
    });
  }
};

template <>
struct RgbSource<P3> {
  static constexpr int kImages = 3;
  static constexpr int kSamples = 1;

  HWY_INLINE void load(const Zop8u* const* at, Rgb* pixels) const {
    forQuarters([&](auto q) HWY_ATTR {
      const LaneVec r = promotedQuarter(at[0] + q * kLanePixels),
                    g = promotedQuarter(at[1] + q * kLanePixels),
                    b = promotedQuarter(at[2] + q * kLanePixels);
      pixels[q] = {hn::Or(r, hn::ShiftLeft<16>(g)), hn::Or(g, hn::ShiftLeft<16>(b))};
    });
  }
};

// Where lumas and chromas go: to the pixels that they come from ...
template <class Layout, int kRows, int kColumns>
struct LumaChromaSink {
  static constexpr int kImages = 1;
  static constexpr bool kStreams = PixelSink<Layout>::kStreams;
  static constexpr int kStreamed = 1;
  PixelSink<Layout> sink;

  static constexpr int samples(int) { return Layout::channels; }
  template <bool kStream>
  HWY_INLINE void store(const LaneVec (*luma)[4], const Chroma* chroma, Zop8u* const* to) const {
    LaneVec channels[4];
    forQuarters([&](auto q) HWY_ATTR { channels[q] = packedChannels(luma[0][q], chroma[q].u, chroma[q].v); });
    sink.template store<kStream>(channels, to);
  }
};

// ... to Y0 U Y1 V ...
template <>
struct LumaChromaSink<C2, 1, 2> {
  static constexpr int kImages = 1;
  static constexpr bool kStreams = true;
  static constexpr int kStreamed = 1;
  // From the words Y0 and Y1 of four pairs, then U and V.
  static constexpr BlockPattern kPattern =
      patternOf([](int i, int byte) { return 2 * i + byte / 2 + 8 * (byte % 2); });

  static constexpr int samples(int) { return 4; }
  template <bool kStream>
  HWY_INLINE void store(const LaneVec (*luma)[4], const Chroma* chroma, Zop8u* const* to) const {
    const Lanes d;
    const LaneBytes d8;
    forQuarters<2>([&](auto h) HWY_ATTR {
      const LaneVec a = luma[0][2 * h], b = luma[0][2 * h + 1];
      const LaneVec lumas = wholes(hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a));
      const auto bytes = saturatedBytes(lumas, wholes(chroma[h].u, chroma[h].v));
      const auto pairs = hn::BitCast(d8, shuffled(hn::BitCast(d, bytes), kPattern));
      HWY_NAMESPACE::store<kStream>(d8, pairs, to[0] + h * 4 * kLanePixels);
    });
  }
};

// ... or to planes.
template <int kRows, int kColumns>
struct LumaChromaSink<P3, kRows, kColumns> {
  static constexpr int kImages = kRows + 2;
  static constexpr bool kStreams = true;
  static constexpr int kStreamed = kRows;

  static constexpr int samples(int image) { return image < kRows ? kColumns : 1; }
  template <bool kStream>
  HWY_INLINE void store(const LaneVec (*luma)[4], const Chroma* chroma, Zop8u* const* to) const {
    const LaneBytes d8;
    forQuarters<kRows>([&](auto row) HWY_ATTR {
      const LaneVec* v = luma[row];
      HWY_NAMESPACE::store<kStream>(d8, bytesOf(v[0], v[1], v[2], v[3]), to[row]);
    });
    if constexpr (kColumns == 2) {
      const hn::Half<LaneBytes> half;
      const auto both = bytesOf(chroma[0].u, chroma[1].u, chroma[0].v, chroma[1].v);
      hn::StoreU(hn::LowerHalf(half, both), half, to[kRows]);
      hn::StoreU(hn::UpperHalf(half, both), half, to[kRows + 1]);
    } else {
      hn::StoreU(bytesOf(chroma[0].u, chroma[1].u, chroma[2].u, chroma[3].u), d8, to[kRows]);
      hn::StoreU(bytesOf(chroma[0].v, chroma[1].v, chroma[2].v, chroma[3].v), d8, to[kRows + 1]);
    }
  }
};

template <class Arithmetic, class From, class To, int kRows, int kColumns>
struct Conversion {
  using Sink = LumaChromaSink<To, kRows, kColumns>;
  static constexpr std::ptrdiff_t kUnits = kStepPixels / kColumns;
  static constexpr bool kStreams = Sink::kStreams;
  static constexpr int kStreamed = Sink::kStreamed;
  Arithmetic arithmetic;
  RgbSource<From> source = {};
  Sink sink = {};

  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D, const Zop8u* const* in, Zop8u* const* out) const {
    Rgb pixels[kRows][4];
    LaneVec luma[kRows][4];
    Chroma chroma[4];
    forQuarters<kRows>([&](auto row) HWY_ATTR {
      source.load(in + row * RgbSource<From>::kImages, pixels[row]);
      forQuarters([&](auto q) HWY_ATTR {
        luma[row][q] = arithmetic.luma(pixels[row][q]);
        if constexpr (row > 0) pixels[0][q] = sum(pixels[0][q], pixels[row][q]);
      });
    });
    forQuarters<4 / kColumns>([&](auto q) HWY_ATTR {
      if constexpr (kColumns == 2)
        chroma[q] = arithmetic.chroma(pairsOf(pixels[0][2 * q], pixels[0][2 * q + 1]));
      else
        chroma[q] = arithmetic.chroma(pixels[0][q]);
    });
    sink.template store<kStream>(luma, chroma, out);
  }
};

template <template <int> class ArithmeticOf, class Set, class From, class To, int kRows, int kColumns>
HWY_FLATTEN void rows(const Image<const Zop8u>* from, const Image<Zop8u>* to, Extent units, const Set& set) {
  using Arithmetic = ArithmeticOf<kRows * kColumns / 2>;
  using Source = RgbSource<From>;
  using Sink = LumaChromaSink<To, kRows, kColumns>;
  Pixels<const Zop8u, kRows * Source::kImages> in{from, {}};
  for (int& samples : in.samples) samples = kColumns * Source::kSamples;
  Pixels<Zop8u, Sink::kImages> out{to, {}};
  for (int i = 0; i < Sink::kImages; ++i) out.samples[i] = Sink::samples(i);
  mapPixels(Conversion<Arithmetic, From, To, kRows, kColumns>{Arithmetic(set)}, in, out, units);
}

template <template <int> class ArithmeticOf, class Set>
struct RowsOf {
  template <class From, class To, int kRows, int kColumns>
  static constexpr auto kOne = rows<ArithmeticOf, Set, From, To, kRows, kColumns>;
  template <class From>
  static constexpr typename ToLumaChromaRows<Set>::Planar kToPlanes = {
      {{kOne<From, P3, 1, 1>, kOne<From, P3, 1, 2>}, {kOne<From, P3, 2, 1>, kOne<From, P3, 2, 2>}}};
  static constexpr ToLumaChromaRows<Set> kAll = {kOne<C3, C3, 1, 1>, kOne<AC4, AC4, 1, 1>, kOne<C3, C2, 1, 2>,
                                                 kOne<P3, C2, 1, 2>, kToPlanes<C3>,        kToPlanes<P3>};
};

constexpr ToLumaChromaTable kTable = {RowsOf<YCbCrOf, ToYCbCr>::kAll, RowsOf<YuvOf, ToYuv>::kAll};

}  // namespace

const ToLumaChromaTable* toLumaChromaTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(toLumaChromaTableOfTarget);

const ToLumaChromaTable& toLumaChromaTable() { return *HWY_DYNAMIC_DISPATCH(toLumaChromaTableOfTarget)(); }

}  // namespace zopi
#endif
