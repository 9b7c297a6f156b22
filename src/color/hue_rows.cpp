#include "color/hue_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/hue_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/colours-inl.h"
#include "core/parts-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Reciprocals in single precision. The last digits are part of the definition.
constexpr double k1By60 = 0x1.111112p-6f, k1By360 = 0x1.6c16c2p-9f;
constexpr double k1By255 = 0x1.010102p-8f, k1By65535 = 0x1.0001p-16f;

// What is added to a result before it is truncated. The low cut is a hair below one half and takes whole
// numbers to the one below them.
struct LowCut {
  static constexpr double kAdded = -0.499999f;
};
struct ExactCut {
  static constexpr double kAdded = 1e-7;
};
template <class Cut, class D, class V>
HWY_INLINE V cut(D d, V number) {
  return hn::Trunc(hn::Add(number, hn::Set(d, Cut::kAdded)));
}

// How numbers stand for samples: a sample is a number times kFull, and a number a sample times kUnit.
template <class T>
struct Scale {
  static constexpr bool kIsWhole = true;
  static constexpr double kFull = sizeof(T) == 1 ? 255 : 65535, kUnit = sizeof(T) == 1 ? k1By255 : k1By65535;
  static constexpr double kLeastDifference = 0;
};
template <>
struct Scale<Zop32f> {
  static constexpr bool kIsWhole = false;
  static constexpr double kLeastDifference = 0x1p-23;
};

template <class S, class D, class V>
HWY_INLINE V numberOf(D d, V sample) {
  if constexpr (S::kIsWhole)
    return hn::Mul(sample, hn::Set(d, S::kUnit));
  else
    return sample;
}
template <class S, class Cut, class D, class V>
HWY_INLINE V sampleOf(D d, V number) {
  if constexpr (S::kIsWhole)
    return cut<Cut>(d, hn::Mul(number, hn::Set(d, S::kFull)));
  else
    return number;
}

// The definitions, on vectors of doubles. Operations and their order are as defined; both branches are
// computed, and the one that applies is taken.

template <class S, class Cut>
struct RgbToHls {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto r = numberOf<S>(d, v[0]), g = numberOf<S>(d, v[1]), b = numberOf<S>(d, v[2]);
    const auto max = hn::Max(hn::Max(r, g), b), min = hn::Min(hn::Min(r, g), b);
    const auto delta = hn::Sub(max, min), sum = hn::Add(max, min);
    const auto lightness = hn::Mul(sum, hn::Set(d, 0.5));
    const auto isColour = hn::Gt(delta, hn::Set(d, S::kLeastDifference));
    const auto isLight = hn::Gt(lightness, hn::Set(d, 0.5));
    const auto saturation = hn::Div(delta, hn::IfThenElse(isLight, hn::Sub(hn::Set(d, 2), sum), sum));

    const auto isRed = hn::Eq(r, max), isGreen = hn::Eq(g, max);
    const auto difference =
        hn::IfThenElse(isRed, hn::Sub(g, b), hn::IfThenElse(isGreen, hn::Sub(b, r), hn::Sub(r, g)));
    const auto origin = hn::IfThenElse(isGreen, hn::Set(d, 120), hn::Set(d, 240));
    const auto minutes = hn::Mul(difference, hn::Set(d, 60));
    const auto inverse = hn::Div(hn::Set(d, 1), delta);
    const auto hue =
        hn::IfThenElse(isRed, hn::Div(minutes, delta), hn::Add(hn::Mul(minutes, inverse), origin));
    const auto degrees = hn::IfThenElse(hn::Lt(hue, hn::Zero(d)), hn::Add(hue, hn::Set(d, 360)), hue);

    v[0] = hn::IfThenElseZero(isColour, degrees);
    if constexpr (S::kIsWhole) v[0] = hn::Mul(v[0], hn::Set(d, S::kFull));
    v[0] = hn::Mul(v[0], hn::Set(d, k1By360));
    if constexpr (S::kIsWhole) v[0] = cut<Cut>(d, v[0]);
    v[1] = sampleOf<S, Cut>(d, lightness);
    v[2] = sampleOf<S, Cut>(d, hn::IfThenElseZero(isColour, saturation));
  }
};

template <class S, class Cut>
struct HlsToRgb {
  // One channel's part of a hue between 0 and 360 degrees.
  template <class D, class V>
  static HWY_INLINE V channel(D d, V hue, V from, V to) {
    const auto isRising = hn::Lt(hue, hn::Set(d, 60));
    const auto way = hn::IfThenElse(isRising, hue, hn::Sub(hn::Set(d, 240), hue));
    const auto slope = hn::Add(from, hn::Mul(hn::Mul(hn::Sub(to, from), way), hn::Set(d, k1By60)));
    const auto falling = hn::IfThenElse(hn::Lt(hue, hn::Set(d, 240)), slope, from);
    return hn::IfThenElse(isRising, slope, hn::IfThenElse(hn::Lt(hue, hn::Set(d, 180)), to, falling));
  }

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto full = hn::Set(d, 360), third = hn::Set(d, 120);
    const auto hue = numberOf<S>(d, hn::Mul(v[0], full));
    const auto lightness = numberOf<S>(d, v[1]), saturation = numberOf<S>(d, v[2]);
    const auto product = hn::Mul(saturation, lightness);
    const auto dark = hn::Mul(hn::Add(saturation, hn::Set(d, 1)), lightness);
    const auto light = hn::Sub(hn::Add(lightness, saturation), product);
    const auto to = hn::IfThenElse(hn::Gt(lightness, hn::Set(d, 0.5)), light, dark);
    const auto from = hn::Sub(hn::Add(lightness, lightness), to);

    auto red = hn::Add(hue, third), blue = hn::Sub(hue, third);
    red = hn::IfThenElse(hn::Gt(red, full), hn::Sub(red, full), red);
    blue = hn::IfThenElse(hn::Lt(blue, hn::Zero(d)), hn::Add(blue, full), blue);
    const V hues[] = {red, hue, blue};
    const auto isGray = hn::Eq(saturation, hn::Zero(d));
    for (int c = 0; c < 3; ++c) {
      const auto colour = hn::IfThenElse(isGray, lightness, channel(d, hues[c], from, to));
      v[c] = sampleOf<S, Cut>(d, colour);
    }
  }
};

template <class S, class Cut>
struct RgbToHsv {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto max = hn::Max(hn::Max(v[0], v[1]), v[2]), min = hn::Min(hn::Min(v[0], v[1]), v[2]);
    const auto delta = hn::Sub(max, min);
    const auto inverse = hn::Div(hn::Set(d, 1), delta);
    const auto r = hn::Mul(hn::Sub(max, v[0]), inverse), g = hn::Mul(hn::Sub(max, v[1]), inverse),
               b = hn::Mul(hn::Sub(max, v[2]), inverse);
    const auto blue = hn::Add(hn::Sub(hn::Set(d, 4), r), g), green = hn::Sub(hn::Add(hn::Set(d, 2), r), b);
    const auto sixths =
        hn::IfThenElse(hn::Eq(v[2], max), blue, hn::IfThenElse(hn::Eq(v[1], max), green, hn::Sub(b, g)));
    const auto full = hn::Set(d, S::kFull);
    auto hue = hn::Mul(sixths, hn::Set(d, S::kFull / 6));
    hue = hn::IfThenElse(hn::Lt(hue, hn::Zero(d)), hn::Add(hue, full), hue);

    // Black is gray, too.
    const auto isGray = hn::Eq(delta, hn::Zero(d));
    v[0] = cut<Cut>(d, hn::IfThenZeroElse(isGray, hue));
    v[1] = cut<Cut>(d, hn::IfThenZeroElse(isGray, hn::Mul(hn::Div(delta, max), full)));
    v[2] = max;
  }
};

// Of every colour one channel is the value, one is least, and one lies between. The middle rises and falls in
// turn from sector to sector. Gray needs no rule of its own: without saturation all three are the value.
template <class S, class Cut>
struct HsvToLeastAndMiddle {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto one = hn::Set(d, 1), half = hn::Set(d, 0.5);
    const auto hue =
        hn::Mul(hn::Mul(hn::Mul(v[0], hn::Set(d, 360)), hn::Set(d, S::kUnit)), hn::Set(d, k1By60));
    const auto sector = hn::Floor(hue), fraction = hn::Sub(hue, sector), pairs = hn::Mul(sector, half);
    const auto isRising = hn::Eq(hn::Floor(pairs), pairs);
    const auto part = hn::IfThenElse(isRising, hn::Sub(one, fraction), fraction);
    const auto saturation = hn::Mul(hn::Set(d, S::kUnit), v[1]), value = v[2];
    v[0] = cut<Cut>(d, hn::Mul(hn::Sub(one, saturation), value));
    v[1] = cut<Cut>(d, hn::Mul(hn::Sub(one, hn::Mul(saturation, part)), value));
  }
};

// What the least and the middle channel of bytes fall short of the value by, rounded to nearest. The part
// that the middle falls short by is counted in 85ths. What the reciprocals of the definition are above the
// true ones adds less than five steps of 1/21675, but moves results across the cut: docs/numerics.md has the
// sums.
struct BytesBelowValue {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    constexpr double kExcess = k1By255 * 255 - 1, kExcessOfHue = k1By255 * 360 * k1By60 * 42.5 - 1;
    const auto number = [&](double x) HWY_ATTR { return hn::Set(d, static_cast<float>(x)); };
    const auto product = hn::Mul(v[0], v[1]), part = v[2], start = v[3];
    const auto most = hn::Mul(product, part);
    const auto startExcess = hn::MulAdd(start, number(85 * kExcessOfHue), number(-5 * 85 * kExcessOfHue));
    const auto excess = hn::MulAdd(most, number(kExcess + kExcessOfHue),
                                   hn::MulAdd(product, startExcess, number(-21675 * LowCut::kAdded - 10837)));
    v[0] = hn::Mul(product, number(1.0 / 255));
    v[1] = hn::Mul(hn::Add(most, hn::Floor(excess)), number(1.0 / 21675));
  }
};

template <class T>
struct HsvToRgb {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    constexpr T kFull = static_cast<T>(~T{0});
    const V hue = hn::IfThenZeroElse(hn::Eq(v[0], hn::Set(d, kFull)), v[0]);
    const V value = hn::SaturatedSub(v[2], hn::Set(d, 1));
    // The first hues of the sectors.
    const auto below = [&](int sector) HWY_ATTR {
      return hn::Lt(hue, hn::Set(d, static_cast<T>((sector * kFull + 5) / 6)));
    };
    const auto in01 = below(2), in012 = below(3);
    const auto in0 = below(1), in0123 = below(4), in01234 = below(5);
    V least, middle;
    if constexpr (sizeof(T) == 1) {
      const auto set = [&](T x) HWY_ATTR { return hn::Set(d, x); };
      // Where the middle rises, sector i lacks 85 (i + 1) - 2 hue, where it falls 2 hue - 85 i. What is taken
      // from or added to twice the hue is 85 times -(i + 1), or i: counted from -5.
      const V start = hn::IfThenElse(
          in0, set(4),
          hn::IfThenElse(
              in01, set(6),
              hn::IfThenElse(in012, set(2),
                             hn::IfThenElse(in0123, set(8), hn::IfThenElse(in01234, set(0), set(10))))));
      const V bound = hn::IfThenElse(in01, set(85), hn::IfThenElse(in0123, set(255), set(169)));
      const V twice = hn::Add(hue, hue);
      const V part = hn::IfThenElse(hn::Lt(start, set(5)), hn::Sub(bound, twice), hn::Sub(twice, bound));
      V parts[] = {v[1], v[2], part, start};
      inParts<float, 4, 2>(d, BytesBelowValue(), parts);
      least = hn::SaturatedSub(value, parts[0]);
      middle = hn::SaturatedSub(value, parts[1]);
    } else {
      V parts[] = {hue, v[1], v[2]};
      inParts<double, 3, 2>(d, HsvToLeastAndMiddle<Scale<T>, LowCut>(), parts);
      least = parts[0];
      middle = parts[1];
    }
    v[0] = hn::IfThenElse(
        in0, value,
        hn::IfThenElse(in01, middle, hn::IfThenElse(in0123, least, hn::IfThenElse(in01234, middle, value))));
    v[1] = hn::IfThenElse(in0, middle, hn::IfThenElse(in012, value, hn::IfThenElse(in0123, middle, least)));
    v[2] = hn::IfThenElse(in01, least, hn::IfThenElse(in012, middle, hn::IfThenElse(in01234, value, middle)));
  }
};

// An operation on bytes is so long that a call costs little beside it: compiled once for several layouts.
template <class Op, class D, class V>
HWY_NOINLINE void call(D d, V* v) {
  Op()(d, v);
}
template <class Op>
struct Called {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    call<Op>(d, v);
  }
};

// A definition on samples of any type. Signed ones are counted from the lowest.
template <class T, class Definition>
struct InDoubles {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    flip(d, v);
    inParts<double, 3>(d, Definition(), v);
    flip(d, v);
  }

 private:
  template <class D, class V>
  static HWY_INLINE void flip(D d, V* v) {
    if constexpr (std::is_same_v<T, Zop16s>) {
      for (int c = 0; c < 3; ++c) v[c] = hn::Xor(v[c], hn::Set(d, INT16_MIN));
    }
  }
};

// Of bytes, single precision gives the same: docs/numerics.md has the proof. From one sector of the circle to
// the next, hue is the number of the sector and the part of it that is behind.
//
// Cut at the low cut, a number is the one above the sample, or 0, when it is rounded to nearest with a bit
// more than its halves up.
template <class Cut>
struct HueAndSaturation {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const auto sector = v[0], behind = v[1], delta = v[2], whole = v[3];
    const auto sixth = hn::Set(d, 42.5f), full = hn::Set(d, 255);
    const auto added = hn::Set(d, std::is_same_v<Cut, LowCut> ? 0.001f : -0.499f);
    const auto inverse = hn::Div(hn::Set(d, 1), hn::Mul(delta, whole));
    const auto scaledByDelta = hn::Mul(hn::Mul(whole, inverse), sixth);
    const auto scaledByWhole = hn::Mul(hn::Mul(delta, inverse), full);
    v[0] = hn::MulAdd(behind, scaledByDelta, hn::MulAdd(sector, sixth, added));
    v[1] = hn::MulAdd(delta, scaledByWhole, added);
  }
};

template <bool kIsHls, class Cut>
struct BytesToHue {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    const V r = v[0], g = v[1], b = v[2], one = hn::Set(d, 1);
    const V high = hn::Max(r, g), low = hn::Min(r, g);
    const V max = hn::Max(high, b), min = hn::Min(low, b), middle = hn::Max(low, hn::Min(high, b));
    const V delta = hn::Sub(max, min);
    const auto isGray = hn::Eq(delta, hn::Zero(d));

    const auto either = [&](auto mask, uint8_t yes, uint8_t no)
                            HWY_ATTR { return hn::IfThenElse(mask, hn::Set(d, yes), hn::Set(d, no)); };
    const V sector = hn::IfThenElse(
        hn::Eq(r, max), either(hn::Lt(g, b), 5, 0),
        hn::IfThenElse(hn::Eq(g, max), either(hn::Lt(b, r), 1, 2), either(hn::Lt(r, g), 3, 4)));
    const auto isRising = hn::Eq(hn::And(sector, one), hn::Zero(d));
    const V behind = hn::IfThenElse(isRising, hn::Sub(middle, min), hn::Sub(max, middle));

    // The whole way from gray to the purest colour, of which delta is the part gone.
    const V whole =
        kIsHls ? hn::Min(hn::SaturatedAdd(max, min), hn::SaturatedAdd(hn::Not(max), hn::Not(min))) : max;
    V parts[] = {sector, behind, hn::Max(delta, one), hn::Max(whole, one)};
    inParts<float, 4, 2>(d, HueAndSaturation<Cut>(), parts);
    constexpr bool kIsLow = std::is_same_v<Cut, LowCut>;
    const auto below = [&](V sample) HWY_ATTR { return kIsLow ? hn::SaturatedSub(sample, one) : sample; };
    const V saturation = hn::IfThenZeroElse(isGray, below(parts[1]));
    v[0] = below(parts[0]);
    if constexpr (kIsHls) {
      const V half = hn::AverageRound(max, min);
      v[1] = kIsLow ? below(half) : hn::Sub(half, hn::And(hn::Xor(max, min), one));
      v[2] = saturation;
    } else {
      v[1] = saturation;
      v[2] = max;
    }
  }
};

// With blue first and red last, before and after an operation.
template <class V>
HWY_INLINE void swapRedAndBlue(V* v) {
  const V first = v[0];
  v[0] = v[2];
  v[2] = first;
}
template <class Op>
struct FromBgr {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    swapRedAndBlue(v);
    Op()(d, v);
  }
};
template <class Op>
struct ToBgr {
  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
    Op()(d, v);
    swapRedAndBlue(v);
  }
};

template <class Op, class T>
constexpr InterleavedHueRows<T> interleaved() {
  return {pixelRows<Op, C3, C3, T>, pixelRows<Op, AC4, AC4, T>};
}
template <class T>
constexpr InterleavedHueRows<T> hlsToRgb() {
  return interleaved<InDoubles<T, HlsToRgb<Scale<T>, LowCut>>, T>();
}
template <class T>
constexpr InterleavedHueRows<T> rgbToHls() {
  return interleaved<InDoubles<T, RgbToHls<Scale<T>, LowCut>>, T>();
}
template <class Op>
constexpr PlanarHueRows planar() {
  return {pixelRows<Op, C3, P3, Zop8u>,  pixelRows<Op, P3, C3, Zop8u>,  pixelRows<Op, P3, P3, Zop8u>,
          pixelRows<Op, C4, AP4, Zop8u>, pixelRows<Op, AP4, C4, Zop8u>, pixelRows<Op, AP4, AP4, Zop8u>};
}

constexpr HueTable kTable = {
    {{interleaved<BytesToHue<true, LowCut>, Zop8u>(),
      interleaved<Called<InDoubles<Zop8u, HlsToRgb<Scale<Zop8u>, LowCut>>>, Zop8u>(),
      interleaved<BytesToHue<false, LowCut>, Zop8u>(), interleaved<HsvToRgb<Zop8u>, Zop8u>()},
     {rgbToHls<Zop16u>(), hlsToRgb<Zop16u>(),
      interleaved<InDoubles<Zop16u, RgbToHsv<Scale<Zop16u>, LowCut>>, Zop16u>(),
      interleaved<HsvToRgb<Zop16u>, Zop16u>()},
     {rgbToHls<Zop16s>(), hlsToRgb<Zop16s>(), {}, {}},
     {rgbToHls<Zop32f>(), hlsToRgb<Zop32f>(), {}, {}}},
    pixelRows<FromBgr<Called<BytesToHue<true, LowCut>>>, AC4, AC4, Zop8u>,
    planar<FromBgr<Called<BytesToHue<true, ExactCut>>>>(),
    planar<ToBgr<Called<InDoubles<Zop8u, HlsToRgb<Scale<Zop8u>, ExactCut>>>>>(),
};

}  // namespace

const HueTable* hueTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(hueTableOfTarget);

const HueTable& hueTable() { return *HWY_DYNAMIC_DISPATCH(hueTableOfTarget)(); }

}  // namespace zopi
#endif
