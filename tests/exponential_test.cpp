// Logarithms and exponentials against the C library in double and extended precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cfenv>
#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
T stored(long double value) {
  using Limits = std::numeric_limits<T>;
  return static_cast<T>(std::nearbyint(std::clamp<long double>(value, Limits::min(), Limits::max())));
}

template <class T>
T logarithm(T sample, int s) {
  if (sample == 0) return std::numeric_limits<T>::min();
  return sample < 0 ? T{0}
                    : stored<T>(std::ldexp(std::log(static_cast<long double>(sample)), -std::max(s, -10000)));
}

template <class T>
T exponential(T sample, int s) {
  if (sizeof(T) == 1 && sample == 0 && s == 1) return 1;
  return stored<T>(std::exp2(sample * 1.442695040888963407359924681001892137L - s));
}

Zop32f logarithmOfNumber(Zop32f a) {
  if (a == 0) return -std::numeric_limits<Zop32f>::infinity();
  if (a < 0) return std::bit_cast<Zop32f>(0xFFC00000u);
  return std::isnan(a) ? sweep::anyNaN() : static_cast<Zop32f>(std::log(double{a}));
}

Zop32f exponentialOfNumber(Zop32f a) {
  return std::isnan(a) ? sweep::anyNaN() : static_cast<Zop32f>(std::exp(double{a}));
}

template <class T>
ZopStatus reference(const Call& call) {
  const bool logarithms = call.function.operation == std::string("Ln");
  ZopStatus warning = zopStatusOk;
  sweep::pixelwise<T>(call, [&](T a, T) {
    if (logarithms && a <= 0 && warning == zopStatusOk)
      warning = a == 0 ? zopStatusLnZero : zopStatusLnNegative;
    if constexpr (std::is_same_v<T, Zop32f>)
      return logarithms ? logarithmOfNumber(a) : exponentialOfNumber(a);
    else
      return logarithms ? logarithm(a, call.scaleFactor()) : exponential(a, call.scaleFactor());
  });
  return warning;
}

class Exponentials : public testing::TestWithParam<const char*> {};

TEST_P(Exponentials, EqualTheReferenceAtEveryShape) {
  const std::vector<int> scales = {0, 1, -1, 4, -5, -11, 9};
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const auto plain =
          sweep::bySample<Zop8u, Zop16s, Zop32f>(*f, [](auto sample) { return reference<decltype(sample)>; });
      int next = 0;
      for (const sweep::Shape& shape : sweep::shapes(*f)) {
        sweep::Options options;
        if (f->sourceType != std::string("32f")) options.parameters = {{scales[next++ % scales.size()]}};
        sweep::run(*f, options, plain, {shape});
        if (HasFailure()) return;
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Exponentials, testing::Values("Ln", "Exp"),
                         [](const auto& each) { return std::string(each.param); });

TEST(ExponentialsExhaustive, AllSamplesAtAllScales) {
  std::vector<int> scales = {INT32_MIN, -100000, -1000, 1000, 100000, INT32_MAX};
  for (int s = -17; s <= 17; ++s) scales.push_back(s);
  sweep::compareAllSamples<Zop8u>(zopiLn_8u_C1RSfs, logarithm<Zop8u>, scales);
  sweep::compareAllSamples<Zop16s>(zopiLn_16s_C1RSfs, logarithm<Zop16s>, scales);
  // Exponentials leave the range of numbers, on both sides, before scales do.
  for (const int s :
       {-47000, -20000, -901, -900, -899, -30, 30, 100, 300, 367, 899, 900, 901, 20000, 47270}) {
    scales.push_back(s);
  }
  sweep::compareAllSamples<Zop8u>(zopiExp_8u_C1RSfs, exponential<Zop8u>, scales);
  sweep::compareAllSamples<Zop16s>(zopiExp_16s_C1RSfs, exponential<Zop16s>, scales);
}

// Numbers of every magnitude, and the neighbours of those where a result is hardest to round.
TEST(ExponentialsOfNumbers, EveryMagnitudeAndHardCases) {
  std::vector<Zop32f> numbers;
  for (std::uint32_t bits = 1; bits < 0x7f800000u; bits += 1699) {
    numbers.push_back(std::bit_cast<Zop32f>(bits));
    numbers.push_back(-std::bit_cast<Zop32f>(bits));
  }
  for (std::uint32_t bits = 0x42ae0000u; bits < 0x42d20000u;
       bits += 7) {  // where exponentials end, 87 to 105
    numbers.push_back(std::bit_cast<Zop32f>(bits));
    numbers.push_back(-std::bit_cast<Zop32f>(bits));
  }
  // Of all numbers, these are among the 245 whose logarithm or exponential is within 2^-48 of a tie.
  for (const float hard :
       {0x1.bfde5cp+34f, 0x1.13b9ecp-21f, 0x1.a38e26p-11f, 0x1.bfa42ep-76f, 0x1.49430ap-69f, 0x1.6af1a4p-89f,
        0x1.abcff4p+8f, 0x1.2e97b8p-16f, 0x1.769d7ep-60f, 0x1.edabp-58f, 0x1.cd3982p-14f, -0x1.fffffep-26f,
        0x1p-24f, -0x1.f02a66p+1f, 0x1.112856p+6f}) {
    numbers.push_back(hard);
  }
  const int n = static_cast<int>(numbers.size());
  std::vector<Zop32f> out(n);
  targets::forEach([&](const std::string& name) {
    ASSERT_EQ(zopStatusLnNegative, zopiLn_32f_C1R(numbers.data(), 4 * n, out.data(), 4 * n, {n, 1}));
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(std::bit_cast<std::uint32_t>(logarithmOfNumber(numbers[i])),
                std::bit_cast<std::uint32_t>(out[i]))
          << "logarithm of " << numbers[i] << " on " << name;
    }
    ASSERT_EQ(zopStatusOk, zopiExp_32f_C1R(numbers.data(), 4 * n, out.data(), 4 * n, {n, 1}));
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(exponentialOfNumber(numbers[i]), out[i]) << "exponential of " << numbers[i] << " on " << name;
    }
  });
}

TEST(ExponentialsByHand, FirstOffenderWarns) {
  const float infinity = std::numeric_limits<float>::infinity(),
              nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> image(3 * 5000, 1.0f), out(image.size());
  const auto status = [&](int width, int height) {
    return zopiLn_32f_C1R(image.data(), 4 * 5000, out.data(), 4 * 5000, {width, height});
  };
  EXPECT_EQ(zopStatusOk, status(5000, 3));
  image[14999] = -1.0f;
  EXPECT_EQ(zopStatusLnNegative, status(5000, 3));
  image[4999] = -0.0f;
  EXPECT_EQ(zopStatusLnZero, status(5000, 3));
  EXPECT_EQ(zopStatusOk, status(4999, 3));
  image[5000] = -1.0f;  // a row later, in an earlier column
  EXPECT_EQ(zopStatusLnZero, status(5000, 3));
  EXPECT_EQ(zopStatusLnNegative, status(4999, 3));
  image[10] = nan;
  image[11] = infinity;
  EXPECT_EQ(zopStatusLnZero, status(5000, 3));
  EXPECT_TRUE(std::isnan(out[10]));
  EXPECT_EQ(infinity, out[11]);
  EXPECT_EQ(-infinity, out[4999]);
  EXPECT_EQ(0xFFC00000u, std::bit_cast<std::uint32_t>(out[14999]));

  Zop16s words[3] = {1, -5, 0};
  EXPECT_EQ(zopStatusLnNegative, zopiLn_16s_C3IRSfs(words, 6, {1, 1}, 0));
  EXPECT_EQ(0, words[1]);
  EXPECT_EQ(-32768, words[2]);
  Zop8u bytes[3] = {3, 0, 255};
  EXPECT_EQ(zopStatusLnZero, zopiLn_8u_C1IRSfs(bytes, 3, {3, 1}, -1));
  EXPECT_EQ(2, bytes[0]);
  EXPECT_EQ(0, bytes[1]);
  EXPECT_EQ(11, bytes[2]);
  Zop8u zero = 0;
  Zop16s wideZero = 0;
  EXPECT_EQ(zopStatusOk, zopiExp_8u_C1IRSfs(&zero, 1, {1, 1}, 1));
  EXPECT_EQ(zopStatusOk, zopiExp_16s_C1IRSfs(&wideZero, 2, {1, 1}, 1));
  EXPECT_EQ(1, zero);
  EXPECT_EQ(0, wideZero);
}

TEST(ExponentialsEnvironment, RoundingModeOfTheCaller) {
  const float numbers[3] = {2.5f, 0.1f, 77.0f};
  float nearest[3], upward[3];
  ASSERT_EQ(zopStatusOk, zopiExp_32f_C1R(numbers, 12, nearest, 12, {3, 1}));
  std::fesetround(FE_UPWARD);
  EXPECT_EQ(zopStatusOk, zopiExp_32f_C1R(numbers, 12, upward, 12, {3, 1}));
  EXPECT_EQ(FE_UPWARD, std::fegetround());
  std::fesetround(FE_TONEAREST);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(nearest[i], upward[i]);
}

}  // namespace
