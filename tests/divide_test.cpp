// Quotients against their definition, step by step in double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

double scaleOf(int s) { return std::ldexp(1.0, -std::clamp(s, -1000, 1000)); }

double rounded(double q) {
  const double half = q > 0 ? 0.5 : -0.5, n = std::trunc(q + half);
  return std::fmod(n, 2.0) != 0 && n - half == q ? std::trunc(q - half) : n;
}

template <class T>
T stored(double q) {
  using Limits = std::numeric_limits<T>;
  return static_cast<T>(
      std::clamp<double>(rounded(std::clamp(q, -1e15, 1e15)), Limits::min(), Limits::max()));
}

template <class T>
T quotient(T a, T b, int s, bool& metZero) {
  if (b == 0) {
    metZero = true;
    return a > 0 ? std::numeric_limits<T>::max() : a < 0 ? std::numeric_limits<T>::min() : T{0};
  }
  return a == 0 ? T{0} : stored<T>(static_cast<double>(a) / b * scaleOf(s));
}

template <class T>
T quotientByConstant(T a, T b, int s) {
  const double reciprocal = 1.0 / b;
  return a == 0 ? T{0} : stored<T>(a * (scaleOf(s) * reciprocal));
}

struct Numerators {
  double re, im, denominator;
};
template <class T>
Numerators numerators(T a, T b) {
  const double ar = a.re, ai = a.im, br = b.re, bi = b.im;
  return {br * ar + bi * ai, br * ai - bi * ar, br * br + bi * bi};
}

template <class T>
T complexQuotient(T a, T b, int s, bool& metZero) {
  using Part = decltype(a.re);
  const Numerators n = numerators(a, b);
  if (n.denominator == 0.0) {
    metZero = true;
    return {};  // the numerators are zero, too
  }
  const double f = scaleOf(s) / n.denominator;
  return {n.re == 0 ? Part{} : stored<Part>(n.re * f), n.im == 0 ? Part{} : stored<Part>(n.im * f)};
}

Zop32f rounded32f(double value) { return std::isnan(value) ? sweep::anyNaN() : static_cast<Zop32f>(value); }

Zop32f byZero(double numerator) {
  if (numerator == 0.0) return std::bit_cast<Zop32f>(0xFFC00000u);
  return numerator > 0.0 ? std::numeric_limits<Zop32f>::infinity() : -std::numeric_limits<Zop32f>::infinity();
}

ZopStatus statusOf(bool metZero) { return metZero ? zopStatusZeroDenominator : zopStatusOk; }

template <class T>
ZopStatus reference(const Call& call) {
  bool metZero = false;
  const bool constant = !call.constants.empty();
  sweep::pixelwise<T>(call, [&](T a, T b) {
    if constexpr (std::is_same_v<T, Zop32f>) {
      if (constant) return rounded32f(double{a} * static_cast<Zop32f>(1.0 / b));
      metZero |= b == 0.0f;
      return b == 0.0f ? byZero(a) : rounded32f(double{a} / b);
    } else if constexpr (std::is_same_v<T, Zop32fc>) {
      const Numerators n = numerators(a, b);
      metZero |= n.denominator == 0.0;
      if (n.denominator == 0.0) return Zop32fc{byZero(n.re), byZero(n.im)};
      const double f = 1.0 / n.denominator;
      return Zop32fc{rounded32f(n.re * f), rounded32f(n.im * f)};
    } else if constexpr (requires { a.re; }) {
      return complexQuotient(a, b, call.scaleFactor(), metZero);
    } else {
      return constant ? quotientByConstant(a, b, call.scaleFactor())
                      : quotient(a, b, call.scaleFactor(), metZero);
    }
  });
  return statusOf(metZero);
}

constexpr auto kReference = [](auto sample) { return reference<decltype(sample)>; };

// No constant may be zero.
std::vector<sweep::Constants> divisors(const std::string& type) {
  if (type == "8u") return {{sweep::bytesOf<Zop8u>({3, 255, 49})}, {sweep::bytesOf<Zop8u>({1, 6, 128})}};
  if (type == "16s")
    return {{sweep::bytesOf<Zop16s>({7, -32768, 49})}, {sweep::bytesOf<Zop16s>({-1, 32767, 96})}};
  if (type == "16sc") return {{sweep::bytesOf<Zop16s>({0, 3, -32768, -32768, 5, 0})}};
  if (type == "32sc") return {{sweep::bytesOf<Zop32s>({0, 3, INT32_MIN, INT32_MIN, 123456789, -7})}};
  return {{sweep::bytesOf<Zop32f>({3.0f, -1e-30f, 0.1f, 2.0f, -0.0f, 1e38f})}};
}

class Division : public testing::TestWithParam<const char*> {};

TEST_P(Division, EqualsTheReferenceAtEveryShape) {
  const std::vector<int> scales = {0, 1, -1, 7, -7, -8, -12, 31, -40};
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const auto plain = sweep::bySample<Zop8u, Zop16s, Zop32f, Zop16sc, Zop32sc, Zop32fc>(*f, kReference);
      sweep::Options options;
      if (GetParam() == std::string("DivC")) options.constants = divisors(f->sourceType);
      int next = 0;
      for (const sweep::Shape& shape : sweep::shapes(*f)) {
        if (f->sourceType[2] != 'f') options.parameters = {{scales[next++ % scales.size()]}};
        sweep::run(*f, options, plain, {shape});
        if (HasFailure()) return;
      }
    }
  });
}

TEST_P(Division, EqualsTheReferenceAtEveryScale) {
  std::vector<std::vector<registry::Value>> scales;
  for (int s = -100; s <= 100; ++s) scales.push_back({s});
  for (const int s : {INT32_MIN, -300, 300, INT32_MAX}) scales.push_back({s});
  for (const registry::Function* f : sweep::functionsOf(GetParam(), {"8u", "16s", "16sc", "32sc"})) {
    const auto plain = sweep::bySample<Zop8u, Zop16s, Zop16sc, Zop32sc>(*f, kReference);
    sweep::Options options = {scales, {{}}};
    if (GetParam() == std::string("DivC")) options.constants = divisors(f->sourceType);
    sweep::run(*f, options, plain, {{70, 2, 4, {}}});
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, Division, testing::Values("Div", "DivC"),
                         [](const auto& each) { return std::string(each.param); });

TEST(DivisionExhaustive, AllPairsOfBytes) {
  std::vector<Zop8u> a(65536), b(65536), out(65536), row(256), quotients(256);
  for (int i = 0; i < 65536; ++i) {
    a[i] = static_cast<Zop8u>(i);
    b[i] = static_cast<Zop8u>(i >> 8);
  }
  for (int i = 0; i < 256; ++i) row[i] = static_cast<Zop8u>(i);
  for (int s = -17; s <= 10; ++s) {
    ASSERT_EQ(zopStatusZeroDenominator,
              zopiDiv_8u_C1RSfs(b.data(), 256, a.data(), 256, out.data(), 256, {256, 256}, s));
    bool metZero = false;
    for (int i = 0; i < 65536; ++i) {
      ASSERT_EQ(quotient(a[i], b[i], s, metZero), out[i])
          << int(a[i]) << " / " << int(b[i]) << " at scale " << s;
    }
    for (int value = 1; value < 256; ++value) {
      const Zop8u divisor = static_cast<Zop8u>(value);
      ASSERT_EQ(zopStatusOk,
                zopiDivC_8u_C1RSfs(row.data(), 256, divisor, quotients.data(), 256, {256, 1}, s));
      for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(quotientByConstant(row[i], divisor, s), quotients[i])
            << i << " / " << value << " at scale " << s;
      }
    }
  }
}

// Every 16-bit sample over divisors that make ties and near misses, and over random ones.
TEST(DivisionExhaustive, WordsNearTies) {
  std::vector<Zop16s> samples(65536), divisors(65536), out(65536), byConstant(65536);
  for (int i = 0; i < 65536; ++i) samples[i] = static_cast<Zop16s>(i);
  std::mt19937 random(5);
  std::vector<int> values = {1, -1, 2, 3, -6, 49, 255, 256, 4095, 32766, 32767, -32767, -32768};
  for (int i = 0; i < 30; ++i) values.push_back(static_cast<Zop16s>(random() | 1));
  for (const int s : {0, 1, 3, 9, 15, 16, -1, -6, -7, -8, -9, -14, -15, -30}) {
    for (const int value : values) {
      const Zop16s divisor = static_cast<Zop16s>(value);
      std::fill(divisors.begin(), divisors.end(), divisor);
      ASSERT_EQ(zopStatusOk, zopiDiv_16s_C1RSfs(divisors.data(), 512, samples.data(), 512, out.data(), 512,
                                                {256, 256}, s));
      ASSERT_EQ(zopStatusOk,
                zopiDivC_16s_C1RSfs(samples.data(), 512, divisor, byConstant.data(), 512, {256, 256}, s));
      bool metZero = false;
      for (int i = 0; i < 65536; ++i) {
        ASSERT_EQ(quotient(samples[i], divisor, s, metZero), out[i])
            << samples[i] << "/" << value << " scale " << s;
        ASSERT_EQ(quotientByConstant(samples[i], divisor, s), byConstant[i])
            << samples[i] << "/" << value << " scale " << s;
      }
    }
  }
}

// What rests on the steps of the rounding rather than on rounding as such.
TEST(DivisionByHand, ReciprocalsAndTies) {
  Zop8u sevens[4] = {7, 0, 5, 3}, divisors[4] = {0, 0, 2, 6};
  ASSERT_EQ(zopStatusZeroDenominator, zopiDiv_8u_C1IRSfs(divisors, 4, sevens, 4, {4, 1}, 0));
  EXPECT_EQ(255, sevens[0]);
  EXPECT_EQ(0, sevens[1]);
  EXPECT_EQ(2, sevens[2]);  // 2.5
  EXPECT_EQ(0, sevens[3]);  // 0.5
  Zop16s words[2] = {5, 7};
  const Zop16s twos[2] = {2, 2};
  ASSERT_EQ(zopStatusOk, zopiDiv_16s_C1IRSfs(twos, 4, words, 4, {2, 1}, 0));
  EXPECT_EQ(2, words[0]);
  EXPECT_EQ(4, words[1]);  // 3.5
  const Zop16s lowest = -32768;
  Zop16s minusOne = -1, result = 0;
  ASSERT_EQ(zopStatusOk, zopiDiv_16s_C1RSfs(&minusOne, 2, &lowest, 2, &result, 2, {1, 1}, 0));
  EXPECT_EQ(32767, result);
}

TEST(DivisionByHand, ZeroDivisorsOfNumbers) {
  const float infinity = std::numeric_limits<float>::infinity(),
              nan = std::numeric_limits<float>::quiet_NaN();
  const float divisors[6] = {0.0f, -0.0f, -0.0f, 0.0f, 2.0f, 0.0f};
  float image[6] = {-1.0f, 1.0f, -0.0f, 0x1p-149f, 0.0f, nan};
  ASSERT_EQ(zopStatusZeroDenominator, zopiDiv_32f_C1IR(divisors, 24, image, 24, {6, 1}));
  EXPECT_EQ(-infinity, image[0]);
  EXPECT_EQ(infinity, image[1]);
  EXPECT_EQ(0xFFC00000u, std::bit_cast<std::uint32_t>(image[2]));
  EXPECT_EQ(infinity, image[3]);
  EXPECT_EQ(0.0f, image[4]);
  EXPECT_EQ(-infinity, image[5]);

  // Alpha is neither divided nor a reason to warn.
  const float pixel[4] = {1, 2, 4, 0};
  float colours[4] = {1, 1, 1, 9};
  EXPECT_EQ(zopStatusOk, zopiDiv_32f_AC4IR(pixel, 16, colours, 16, {1, 1}));
  EXPECT_EQ(0.25f, colours[2]);
  EXPECT_EQ(9.0f, colours[3]);

  // An infinite constant clears, and so does one so large that its reciprocal vanishes.
  float cleared[3] = {infinity, -1.0f, nan};
  EXPECT_EQ(zopStatusOk, zopiDivC_32f_C1IR(-infinity, cleared, 12, {3, 1}));
  for (const float value : cleared) EXPECT_EQ(0u, std::bit_cast<std::uint32_t>(value));
  // The reciprocal is rounded to single precision: 1/49 times 49 is not 1.
  float fortyNine = 49.0f;
  EXPECT_EQ(zopStatusOk, zopiDivC_32f_C1IR(49.0f, &fortyNine, 4, {1, 1}));
  EXPECT_EQ(49.0f * (1.0f / 49.0f), fortyNine);
}

// The caller's rounding mode neither changes a result nor is changed, whichever way a call ends.
TEST(DivisionEnvironment, RoundingModeOfTheCaller) {
  const Zop16s dividends[4] = {5, -5, 1000, -7}, divisors[4] = {3, 2, 999, 0};
  const Zop16sc a = {1000, -77}, b = {3, 7};
  Zop16s nearest[4], upward[4], constant[2][4];
  Zop16sc complex[2];
  const auto divideAll = [&](Zop16s* out, Zop16s* byConstant, Zop16sc& ofComplex) {
    EXPECT_EQ(zopStatusZeroDenominator, zopiDiv_16s_C1RSfs(divisors, 8, dividends, 8, out, 8, {4, 1}, -3));
    EXPECT_EQ(zopStatusOk, zopiDivC_16s_C1RSfs(dividends, 8, 6, byConstant, 8, {4, 1}, 0));
    EXPECT_EQ(zopStatusOk, zopiDiv_16sc_C1RSfs(&b, 4, &a, 4, &ofComplex, 4, {1, 1}, 0));
    EXPECT_EQ(zopStatusDivideByZero, zopiDivC_16s_C1RSfs(dividends, 8, 0, byConstant, 8, {4, 1}, 0));
    EXPECT_EQ(zopStatusNullPointer, zopiDiv_16s_C1RSfs(nullptr, 8, dividends, 8, out, 8, {4, 1}, 0));
  };
  divideAll(nearest, constant[0], complex[0]);
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    divideAll(upward, constant[1], complex[1]);
    EXPECT_EQ(mode, std::fegetround());
    volatile double one = 1.0, three = 3.0;
    volatile double third = one / three;  // is the vector unit's mode the caller's again?
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(mode == FE_UPWARD, third > one / three);
    EXPECT_TRUE(std::equal(nearest, nearest + 4, upward));
    EXPECT_TRUE(std::equal(constant[0], constant[0] + 4, constant[1]));
    EXPECT_EQ(complex[0].re, complex[1].re);
    EXPECT_EQ(complex[0].im, complex[1].im);
  }
}

}  // namespace
