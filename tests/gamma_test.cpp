// Gamma curves against their formulas in double precision.
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;

double curve(double v, bool forward) {
  if (forward) return v >= 0.018 ? 1.099 * std::pow(v, 0.45) - 0.099 : 4.5 * v;
  return v >= 0.081 ? std::pow((v + 0.099) / 1.099, 1 / 0.45) : v / 4.5;
}

Zop8u byte(Zop8u x, bool forward) { return static_cast<Zop8u>(std::rint(curve(x / 255.0, forward) * 255.0)); }

Zop16u word(Zop16u x, bool forward) {
  return static_cast<Zop16u>(curve(x * (1.0 / 65535.0), forward) * 65535.0 + 0.5);
}

Zop32f number(Zop32f x, bool forward, double vMin, double vMax) {
  const double y = curve((x - vMin) * (1.0 / (vMax - vMin)), forward) * (vMax - vMin) + vMin;
  return std::isnan(y) ? sweep::anyNaN() : static_cast<Zop32f>(y);
}

template <class T>
ZopStatus reference(const Call& call) {
  const bool forward = call.function.operation == std::string("GammaFwd");
  const auto& p = call.parameters;
  sweep::conversion<T, T>(call, [&](T sample) {
    if constexpr (std::is_same_v<T, Zop8u>)
      return byte(sample, forward);
    else if constexpr (std::is_same_v<T, Zop16u>)
      return word(sample, forward);
    else
      return number(sample, forward, p[0].get<Zop32f>(), p[1].get<Zop32f>());
  });
  return zopStatusOk;
}

class Gamma : public testing::TestWithParam<const char*> {};

TEST_P(Gamma, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTarget([&] {
    const auto functions = sweep::functionsOf(GetParam());
    EXPECT_EQ(18u, functions.size());
    for (const registry::Function* f : functions) {
      const auto plain =
          sweep::bySample<Zop8u, Zop16u, Zop32f>(*f, [](auto sample) { return reference<decltype(sample)>; });
      sweep::Options options;
      if (f->sourceType == std::string("32f"))
        options.parameters = {{0.0f, 1.0f}, {-16384.0f, 30000.5f}, {0.0f, 1e-40f}};
      sweep::run(*f, options, plain, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Directions, Gamma, testing::Values("GammaFwd", "GammaInv"),
                         [](const auto& each) { return std::string(each.param); });

TEST(GammaExhaustive, AllBytesAndWords) {
  std::vector<Zop8u> bytes(768), bytesOut(768);
  for (int i = 0; i < 768; ++i) bytes[i] = static_cast<Zop8u>(i);
  std::vector<Zop16u> words(196608), wordsOut(196608);
  for (int i = 0; i < 196608; ++i) words[i] = static_cast<Zop16u>(i);
  sweep::onEveryTarget([&] {
    for (const bool forward : {true, false}) {
      ASSERT_EQ(zopStatusOk, (forward ? zopiGammaFwd_8u_C3R : zopiGammaInv_8u_C3R)(
                                 bytes.data(), 768, bytesOut.data(), 768, {256, 1}));
      for (int i = 0; i < 768; ++i) ASSERT_EQ(byte(bytes[i], forward), bytesOut[i]) << i;
      // As one image, and as many small ones.
      for (const int pixels : {65536, 1024}) {
        const int samples = 3 * pixels, step = 2 * samples;
        for (int at = 0; at < 196608; at += samples) {
          ASSERT_EQ(zopStatusOk, (forward ? zopiGammaFwd_16u_C3R : zopiGammaInv_16u_C3R)(
                                     &words[at], step, &wordsOut[at], step, {pixels, 1}));
        }
        for (int i = 0; i < 196608; ++i)
          ASSERT_EQ(word(words[i], forward), wordsOut[i]) << words[i] << " in images of " << pixels;
      }
    }
  });
}

struct Range {
  Zop32f vMin, vMax;
};

// Numbers of every magnitude, in and far outside of ranges of every kind; and around the place where the line
// ends.
TEST(GammaOfNumbers, EveryMagnitudeInManyRanges) {
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<Zop32f> numbers = {0.0f, -0.0f, infinity, -infinity, NAN};
  for (std::uint32_t bits = 1; bits < 0x7f800000u; bits += 20011) {
    numbers.push_back(std::bit_cast<Zop32f>(bits));
    numbers.push_back(-std::bit_cast<Zop32f>(bits));
  }
  for (std::uint32_t bits = 0x3c800000u; bits < 0x3f800010u; bits += 97)
    numbers.push_back(std::bit_cast<Zop32f>(bits));  // 1/64 to 1
  const Range ranges[] = {{0.0f, 1.0f},       {0.0f, 255.0f},    {-1.0f, 1.0f},
                          {1e6f, 1000001.0f}, {0.0f, 0x1p-149f}, {-0x1.8p127f, 0x1.8p127f},
                          {-1e30f, 1e-10f},   {0.1f, 0.3f},      {0.0f, infinity},
                          {-infinity, 1.0f},  {NAN, 1.0f}};
  for (const Range& range : ranges) {
    for (const double cut : {0.018, 0.081}) {
      float below = static_cast<float>(range.vMin + cut * (double{range.vMax} - range.vMin)), above = below;
      for (int i = 0; i < 50; ++i) {
        numbers.insert(numbers.end(), {below, above});
        below = std::nextafter(below, -infinity);
        above = std::nextafter(above, infinity);
      }
    }
  }
  while (numbers.size() % 3 != 0) numbers.push_back(0.5f);
  const int n = static_cast<int>(numbers.size());
  std::vector<Zop32f> out(n);
  sweep::onEveryTarget([&] {
    for (const auto& [vMin, vMax] : ranges) {
      for (const bool forward : {true, false}) {
        ASSERT_EQ(zopStatusOk, (forward ? zopiGammaFwd_32f_C3R : zopiGammaInv_32f_C3R)(
                                   numbers.data(), 4 * n, out.data(), 4 * n, {n / 3, 1}, vMin, vMax));
        for (int i = 0; i < n; ++i) {
          const Zop32f expected = number(numbers[i], forward, vMin, vMax);
          if (std::isnan(expected) && std::isnan(out[i])) continue;
          ASSERT_EQ(std::bit_cast<std::uint32_t>(expected), std::bit_cast<std::uint32_t>(out[i]))
              << numbers[i] << " from " << vMin << " to " << vMax << (forward ? ", forward" : ", inverse");
        }
      }
    }
  });
}

TEST(GammaByHand, EndsRangesAndAlpha) {
  const Zop8u first[12] = {0, 1, 2, 99, 3, 4, 5, 99, 9, 128, 255, 99};
  const Zop8u expected[12] = {0, 4, 9, 0, 14, 18, 23, 0, 37, 180, 255, 0};
  Zop8u out[12] = {};
  ASSERT_EQ(zopStatusOk, zopiGammaFwd_8u_AC4R(first, 12, out, 12, {3, 1}));
  for (int i = 0; i < 12; ++i) EXPECT_EQ(expected[i], out[i]);

  // Ranges that are none, ahead of everything else; the smallest one is good.
  for (const auto& [vMin, vMax] : {Range{1, 1}, {2, 1}, {0.0f, -0.0f}}) {
    EXPECT_EQ(zopStatusBadGammaRange, zopiGammaFwd_32f_C3R(nullptr, 0, nullptr, 0, {0, 0}, vMin, vMax));
    EXPECT_EQ(zopStatusBadGammaRange, zopiGammaInv_32f_IP3R(nullptr, 0, {0, 0}, vMin, vMax));
  }
  EXPECT_EQ(zopStatusNullPointer, zopiGammaFwd_32f_AC4IR(nullptr, 0, {0, 0}, 0.0f, 0x1p-149f));
}

TEST(GammaEnvironment, RoundingModeOfTheCaller) {
  const Zop32f numbers[3] = {0.3f, 0.7f, 0.01f};
  const Zop16u words[3] = {1, 30000, 65533};
  Zop32f numbersOut[2][3];
  Zop16u wordsOut[2][3];
  for (const int mode : {FE_TONEAREST, FE_UPWARD}) {
    std::fesetround(mode);
    zopiGammaFwd_32f_C3R(numbers, 12, numbersOut[mode == FE_UPWARD], 12, {1, 1}, 0.0f, 1.0f);
    zopiGammaInv_16u_C3R(words, 6, wordsOut[mode == FE_UPWARD], 6, {1, 1});
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(mode, after);
  }
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(numbersOut[0][i], numbersOut[1][i]);
    EXPECT_EQ(wordsOut[0][i], wordsOut[1][i]);
  }
}

}  // namespace
