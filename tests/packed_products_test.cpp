// Products of packed spectra and unpacked spectra, against their definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>

#include "support/sweep.h"
#include "zopi.h"

namespace {

__extension__ typedef __int128 Wide;

// Where a sample of a packed image belongs: the sample of its real part, that of its imaginary part unless it
// is a real number, and its column and row in the spectrum.
struct Place {
  int reX, reY, imX, imY;
  bool isReal, isImaginary;
  int u, v;
};
Place placeOf(int x, int y, ZopImageSize size) {
  const auto [W, H] = size;
  if (x == 0 || (x == W - 1 && W % 2 == 0)) {
    const bool real = y == 0 || (y == H - 1 && H % 2 == 0);
    const int j = (y + 1) / 2;
    return {x, real ? y : 2 * j - 1, x, 2 * j, real, !real && y == 2 * j, x == 0 ? 0 : W / 2, j};
  }
  const int k = (x + 1) / 2;
  return {2 * k - 1, y, 2 * k, y, false, x == 2 * k, k, y};
}

template <class T>
T product(Wide exact, bool isImaginary, int scale) {
  constexpr Wide kLowest = std::numeric_limits<T>::min(), kHighest = std::numeric_limits<T>::max();
  if (scale > 0) {
    const Wide unit = Wide{1} << std::min(scale, 100), sum = isImaginary ? exact + 1 : exact;
    exact = (sum - (sum % unit + unit) % unit) / unit;
  } else {
    exact *= Wide{1} << -std::max(scale, -40);
  }
  return static_cast<T>(std::clamp(exact, kLowest, kHighest));
}

template <class T, class F>
void products(const sweep::Call& call, const F& f) {
  const int colours = std::strcmp(call.function.sourceLayout, "AC4") == 0 ? 3 : call.destination.samples;
  const sweep::View &a = call.sources[0], &b = call.sources[1];
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      const Place at = placeOf(x, y, call.size);
      for (int c = 0; c < colours; ++c) {
        const T re1 = a.get<T>(at.reX, at.reY, c), re2 = b.get<T>(at.reX, at.reY, c);
        const T im1 = at.isReal ? T{} : a.get<T>(at.imX, at.imY, c);
        const T im2 = at.isReal ? T{} : b.get<T>(at.imX, at.imY, c);
        call.destination.set<T>(x, y, c, f(re1, im1, re2, im2, at));
      }
    }
  }
}

template <class T>
ZopStatus scaledProducts(const sweep::Call& call) {
  products<T>(call, [&](Wide a, Wide b, Wide c, Wide d, Place at) {
    return product<T>(at.isImaginary ? a * d + b * c : a * c - b * d, at.isImaginary, call.scaleFactor());
  });
  return zopStatusOk;
}

template <bool kConjugate>
ZopStatus floatProducts(const sweep::Call& call) {
  products<Zop32f>(call, [](double a, double b, double c, double d, Place at) {
    if (kConjugate) d = -d;
    const double exact = at.isReal ? a * c : at.isImaginary ? b * c + a * d : a * c - b * d;
    return std::isnan(exact) ? sweep::anyNaN() : static_cast<Zop32f>(exact);
  });
  return zopStatusOk;
}

TEST(PackedProducts, OfIntegers) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("MulPack", {"16s", "32s"})) {
      const auto reference = sweep::bySample<Zop16s, Zop32s>(
          *f, [](auto sample) { return sweep::Reference(scaledProducts<decltype(sample)>); });
      sweep::run(*f, {{{0}, {1}, {15}, {33}, {-2}, {-40}, {INT_MAX}, {INT_MIN}}}, reference,
                 sweep::shapes(*f));
    }
  });
}

TEST(PackedProducts, OfFloats) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("MulPack", {"32f"}))
      sweep::run(*f, {}, floatProducts<false>, sweep::shapes(*f));
    for (const registry::Function* f : sweep::functionsOf("MulPackConj"))
      sweep::run(*f, {}, floatProducts<true>, sweep::shapes(*f));
  });
}

template <class Complex, class T>
ZopStatus spectrum(const sweep::Call& call) {
  const auto [W, H] = call.size;
  const sweep::View& packed = call.sources[0];
  for (int y = 0; y < H; ++y) {
    for (int x = 0; x < W; ++x) {
      const Place at = placeOf(x, y, call.size);
      const T re = packed.get<T>(at.reX, at.reY), im = at.isReal ? T{} : packed.get<T>(at.imX, at.imY);
      const bool flips = std::is_integral_v<T> && im == std::numeric_limits<T>::lowest();
      call.destination.set<Complex>(at.u, at.v, 0, {re, im});
      if (at.isReal) continue;
      call.destination.set<Complex>((W - at.u) % W, (H - at.v) % H, 0,
                                    {re, flips ? std::numeric_limits<T>::max() : -im});
    }
  }
  return zopStatusOk;
}

TEST(PackedProducts, WholeSpectra) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("PackToCplxExtend", {"32f"}))
      sweep::run(*f, {}, spectrum<Zop32fc, Zop32f>, sweep::shapes(*f));
    for (const registry::Function* f : sweep::functionsOf("PackToCplxExtend", {"32s"}))
      sweep::run(*f, {}, spectrum<Zop32sc, Zop32s>, sweep::shapes(*f));
  });
}

// A product of transforms is the transform of a cyclic convolution.
TEST(PackedProducts, OfTransformsConvolve) {
  constexpr int W = 16, H = 8, kStep = W * sizeof(Zop32f);
  Zop32f a[H][W], b[H][W] = {}, out[H][W];
  for (int y = 0; y < H; ++y) {
    for (int x = 0; x < W; ++x) a[y][x] = static_cast<Zop32f>((y * W + x) * 37 % 101);
  }
  b[2][3] = 2;
  ZopFFTSpec_R_32f* spec = nullptr;
  ASSERT_EQ(zopStatusOk, zopiFFTInitAlloc_R_32f(&spec, 4, 3, ZOP_FFT_DIV_INV_BY_N, 0));
  Zop32f A[H][W];
  zopiFFTFwd_RToPack_32f_C1R(a[0], kStep, A[0], kStep, spec, nullptr);
  zopiFFTFwd_RToPack_32f_C1R(b[0], kStep, b[0], kStep, spec, nullptr);
  ASSERT_EQ(zopStatusOk, zopiMulPack_32f_C1IR(A[0], kStep, b[0], kStep, {W, H}));
  zopiFFTInv_PackToR_32f_C1R(b[0], kStep, out[0], kStep, spec, nullptr);
  zopiFFTFree_R_32f(spec);
  for (int y = 0; y < H; ++y) {
    for (int x = 0; x < W; ++x) EXPECT_NEAR(2 * a[(y + 6) % H][(x + 13) % W], out[y][x], 1e-3);
  }
}

}  // namespace
