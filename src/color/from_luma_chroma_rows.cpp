#include "color/from_luma_chroma_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/from_luma_chroma_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "color/pixel_lanes-inl.h"
#include "core/pixel_moves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// c x for a byte x and a coefficient c of up to 23 bits: with c = 256 h + l, it is h (256 x - 32768) + l x
// and 32768 h, and both factors of each product fit 16 bits.
struct Factor {
  static constexpr int high(int c) { return (c + 128) >> 8; }
  static constexpr int rest(int c) { return 32768 * high(c); }
  static HWY_INLINE LaneVec of(int c) { return hn::Set(Lanes(), wordPair(c - 256 * high(c), high(c))); }
  // The words of a spread byte: x and 256 x - 32768.
  static HWY_INLINE LaneVec centred(LaneVec spread) {
    return hn::Xor(spread, hn::Set(Lanes(), static_cast<int32_t>(0x80000000)));
  }
};

// What chroma adds to the three channels, with 16 fraction bits.
struct Terms {
  LaneVec r, g, b;
};

struct Arithmetic {
  LaneVec y, rv, gu, gv, bu, r, g, b;

  HWY_INLINE explicit Arithmetic(const FromLumaChroma& s)
      : y(Factor::of(s.y)),
        rv(Factor::of(s.rv)),
        gu(Factor::of(s.gu)),
        gv(Factor::of(s.gv)),
        bu(Factor::of(s.bu)),
        r(offset(s.r, {s.y, s.rv, 0})),
        g(offset(s.g, {s.y, s.gu, s.gv})),
        b(offset(s.b, {s.y, s.bu, 0})) {}

  HWY_INLINE Terms terms(LaneVec spreadU, LaneVec spreadV) const {
    const LaneVec u = Factor::centred(spreadU), v = Factor::centred(spreadV);
    return {pairSums(v, rv, r), pairSums(v, gv, pairSums(u, gu, g)), pairSums(u, bu, b)};
  }
  HWY_INLINE LaneVec channels(LaneVec spreadY, Terms t) const {
    const LaneVec luma = pairSums(Factor::centred(spreadY), y, hn::Zero(Lanes()));
    return packedChannels(hn::Add(luma, t.r), hn::Add(luma, t.g), hn::Add(luma, t.b));
  }

 private:
  struct Coefficients {
    int c[3];
  };
  static HWY_INLINE LaneVec offset(int constant, Coefficients used) {
    for (const int c : used.c) constant += Factor::rest(c);
    return hn::Set(Lanes(), constant);
  }
};

HWY_INLINE LaneVec spread(LaneVec byte) { return hn::Or(byte, hn::ShiftLeft<24>(byte)); }

// Lanes 1 / kTimes as many from `first` on, each kTimes times.
template <int kTimes>
HWY_INLINE LaneVec repeated(LaneVec v, int part) {
  if constexpr (kTimes == 1) {
    return v;
  } else {
    struct Table {
      alignas(64) int32_t lanes[kTimes][kLanePixels];
    };
    static constexpr Table kTable = [] {
      Table table{};
      for (int p = 0; p < kTimes; ++p) {
        for (int i = 0; i < kLanePixels; ++i) table.lanes[p][i] = (p * kLanePixels + i) / kTimes;
      }
      return table;
    }();
    return hn::TableLookupLanes(v, hn::SetTableIndices(Lanes(), kTable.lanes[part]));
  }
}
template <int kTimes>
HWY_INLINE Terms repeated(Terms t, int part) {
  return {repeated<kTimes>(t.r, part), repeated<kTimes>(t.g, part), repeated<kTimes>(t.b, part)};
}

// Luma and chroma of units of kRows by kColumns pixels, as spread bytes: pixels ...
template <class Layout, int kRows, int kColumns>
struct LumaChromaSource {
  static constexpr int kImages = 1;
  static constexpr int kStride = PixelQuarters<Layout>::kStride;
  PixelQuarters<Layout> quarters;

  static constexpr int samples(int) { return Layout::channels; }
  struct Step {
    LaneVec v[4];
    HWY_INLINE LaneVec luma(int, int q) const { return shuffled(v[q], kSpread<kStride, 0>); }
    HWY_INLINE LaneVec u(int q) const { return shuffled(v[q], kSpread<kStride, 1>); }
    HWY_INLINE LaneVec v_(int q) const { return shuffled(v[q], kSpread<kStride, 2>); }
  };
  HWY_INLINE Step load(const Zop8u* const* in) const {
    Step step;
    quarters.load(in[0], step.v);
    return step;
  }
};

// ... Y0 U Y1 V ...
template <>
struct LumaChromaSource<C2, 1, 2> {
  static constexpr int kImages = 1;
  // The pairs stand twice each.
  static constexpr BlockPattern kLuma =
      patternOf([](int i, int byte) { return byte == 0 || byte == 3 ? 4 * i + 2 * (i % 2) : int{kNone}; });

  static constexpr int samples(int) { return 4; }
  struct Step {
    LaneVec pairs[2];
    HWY_INLINE LaneVec luma(int, int q) const { return shuffled(repeated<2>(pairs[q / 2], q % 2), kLuma); }
    HWY_INLINE LaneVec u(int q) const { return shuffled(pairs[q], kSpread<4, 1>); }
    HWY_INLINE LaneVec v_(int q) const { return shuffled(pairs[q], kSpread<4, 3>); }
  };
  HWY_INLINE Step load(const Zop8u* const* in) const {
    return {{loadLanes(in[0]), loadLanes(in[0] + 4 * kLanePixels)}};
  }
};

// ... or planes.
template <int kRows, int kColumns>
struct LumaChromaSource<P3, kRows, kColumns> {
  static constexpr int kImages = kRows + 2;

  static constexpr int samples(int image) { return image < kRows ? kColumns : 1; }
  struct Step {
    const Zop8u* const* in;
    HWY_INLINE LaneVec luma(int row, int q) const {
      return spread(promotedQuarter(in[row] + q * kLanePixels));
    }
    HWY_INLINE LaneVec u(int q) const { return spread(promotedQuarter(in[kRows] + q * kLanePixels)); }
    HWY_INLINE LaneVec v_(int q) const { return spread(promotedQuarter(in[kRows + 1] + q * kLanePixels)); }
  };
  HWY_INLINE Step load(const Zop8u* const* in) const { return {in}; }
};

// Pixels of 16 bits.
struct Packed {
  static constexpr int channels = 1;
};

class PackedSink {
  BlockPattern pixel_;
  int shifts_[3];
  LaneVec masks_[3];

 public:
  using Sample = Zop16u;
  static constexpr bool kStreams = false;

  HWY_INLINE explicit PackedSink(const Packing& packing)
      : pixel_(packing.lowBlue ? kSwappedPixelOfChannels : kPixelOfChannels) {
    for (int c = 0; c < 3; ++c) {
      shifts_[c] = packing.shifts[c];
      masks_[c] = hn::Set(Lanes(), static_cast<int32_t>(packing.masks[c]));
    }
  }

  template <bool>
  HWY_INLINE void store(const LaneVec* channels, Zop16u* const* to) const {
    const hn::RebindToUnsigned<Lanes> du;
    const SamplesOf<uint16_t, Lanes> d16;
    forQuarters([&](auto q) HWY_ATTR {
      const LaneVec pixels = shuffled(channels[q], pixel_);
      const auto field = [&](int c)
                             HWY_ATTR { return hn::And(hn::ShiftRightSame(pixels, shifts_[c]), masks_[c]); };
      const LaneVec fields = hn::Or(field(0), hn::Or(field(1), field(2)));
      hn::StoreU(hn::TruncateTo(d16, hn::BitCast(du, fields)), d16, to[0] + q * kLanePixels);
    });
  }
};

template <class Layout>
struct SinkOf {
  using Type = PixelSink<Layout>;
};
template <>
struct SinkOf<Packed> {
  using Type = PackedSink;
};

template <class From, class To, int kRows, int kColumns>
struct Conversion {
  using Source = LumaChromaSource<From, kRows, kColumns>;
  using Sink = typename SinkOf<To>::Type;
  static constexpr int kOutImages = kIsPlanar<To> ? 3 : 1;
  static constexpr std::ptrdiff_t kUnits = kStepPixels / kColumns;
  static constexpr bool kStreams = Sink::kStreams;
  Arithmetic arithmetic;
  Sink sink;
  Source source = {};

  template <bool kStream = false, class D>
  HWY_INLINE void operator()(D, const Zop8u* const* in, typename Sink::Sample* const* out) const {
    const auto step = source.load(in);
    Terms terms[4 / kColumns];
    forQuarters<4 / kColumns>([&](auto q) HWY_ATTR { terms[q] = arithmetic.terms(step.u(q), step.v_(q)); });
    forQuarters<kRows>([&](auto row) HWY_ATTR {
      LaneVec channels[4];
      forQuarters([&](auto q) HWY_ATTR {
        const Terms own = repeated<kColumns>(terms[q / kColumns], q % kColumns);
        channels[q] = arithmetic.channels(step.luma(row, q), own);
      });
      sink.template store<kStream>(channels, out + row * kOutImages);
    });
  }
};

template <class From, class To, int kRows, int kColumns, class... P>
HWY_FLATTEN void rows(const Image<const Zop8u>* from, const Image<typename SinkOf<To>::Type::Sample>* to,
                      Extent units, const FromLumaChroma& set, P... packing) {
  using Move = Conversion<From, To, kRows, kColumns>;
  using Source = typename Move::Source;
  Pixels<const Zop8u, Source::kImages> in{from, {}};
  for (int i = 0; i < Source::kImages; ++i) in.samples[i] = Source::samples(i);
  Pixels<typename Move::Sink::Sample, kRows * Move::kOutImages> out{to, {}};
  for (int& samples : out.samples) samples = kColumns * (kIsPlanar<To> ? 1 : To::channels);
  mapPixels(Move{Arithmetic(set), typename Move::Sink(packing...)}, in, out, units);
}

template <class To, class... P>
constexpr FromPlanarRows<typename SinkOf<To>::Type::Sample, P...> kPlanesTo = {
    {{rows<P3, To, 1, 1, P...>, rows<P3, To, 1, 2, P...>},
     {rows<P3, To, 2, 1, P...>, rows<P3, To, 2, 2, P...>}}};

constexpr FromLumaChromaTable kTable = {
    rows<C3, C3, 1, 1>,
    rows<AC4, AC4, 1, 1>,
    kPlanesTo<C3>,
    kPlanesTo<C4>,
    kPlanesTo<P3>,
    rows<P3, C3, 1, 4>,
    rows<C2, C3, 1, 2>,
    rows<C2, P3, 1, 2>,
    rows<C3, Packed, 1, 1, const Packing&>,
    rows<C2, Packed, 1, 2, const Packing&>,
    kPlanesTo<Packed, const Packing&>,
};

}  // namespace

const FromLumaChromaTable* fromLumaChromaTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(fromLumaChromaTableOfTarget);

const FromLumaChromaTable& fromLumaChromaTable() {
  return *HWY_DYNAMIC_DISPATCH(fromLumaChromaTableOfTarget)();
}

}  // namespace zopi
#endif
