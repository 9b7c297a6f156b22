// Gray against sums of one pixel at a time.
#include <gtest/gtest.h>

#include <algorithm>
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

const Zop32f kLuma[3] = {std::bit_cast<Zop32f>(0x3E991687u), std::bit_cast<Zop32f>(0x3F1645A2u),
                         std::bit_cast<Zop32f>(0x3DE978D5u)};

// Weights in 32 bits, of which the upper ones never matter.
std::uint32_t weightOf(Zop32f coefficient) {
  const double weight = std::trunc(coefficient * 4096.0 + 0.5);
  return std::abs(weight) < 0x1p62 ? static_cast<std::uint32_t>(static_cast<std::int64_t>(weight)) : 0;
}

template <class T>
T gray(const T* s, const Zop32f* w) {
  if constexpr (std::is_same_v<T, Zop8u>) {
    const std::uint32_t sum = s[0] * weightOf(w[0]) + s[1] * weightOf(w[1]) + s[2] * weightOf(w[2]);
    return static_cast<Zop8u>(sum >> 12);
  } else {
    const double sum = static_cast<double>(s[0]) * w[0] + static_cast<double>(s[1]) * w[1] +
                       static_cast<double>(s[2]) * w[2];
    if constexpr (std::is_same_v<T, Zop32f>) {
      return std::isnan(sum) ? sweep::anyNaN() : static_cast<Zop32f>(sum);
    } else {
      using Limits = std::numeric_limits<T>;
      return static_cast<T>(std::nearbyint(std::clamp<double>(sum, Limits::min(), Limits::max())));
    }
  }
}

template <class T>
ZopStatus reference(const Call& call) {
  Zop32f w[3] = {kLuma[0], kLuma[1], kLuma[2]};
  if (!call.constants.empty()) std::memcpy(w, call.constants[0], sizeof w);
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      T s[3];
      for (int c = 0; c < 3; ++c) s[c] = call.sources[0].get<T>(x, y, c);
      call.destination.set(x, y, 0, gray(s, w));
    }
  }
  return zopStatusOk;
}

// Sums that saturate, wrap and cancel; weights that fill every bit that counts, and some far beyond.
const std::vector<sweep::Constants> kWeights = {
    {sweep::bytesOf({0.25f, 0.5f, 0.25f})},        {sweep::bytesOf({-1.5f, 2.75f, 0.3f})},
    {sweep::bytesOf({255.9f, 127.123f, -255.5f})}, {sweep::bytesOf({1e-5f, 1.0f / 3, 40000.4f})},
    {sweep::bytesOf({6.1e9f, -1.3e8f, 1.0f})},
};

class Gray : public testing::TestWithParam<const char*> {};

TEST_P(Gray, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    const auto functions = sweep::functionsOf(GetParam());
    EXPECT_EQ(8u, functions.size());
    for (const registry::Function* f : functions) {
      const auto plain = sweep::bySample<Zop8u, Zop16u, Zop16s, Zop32f>(
          *f, [](auto sample) { return reference<decltype(sample)>; });
      sweep::Options options;
      if (GetParam() == std::string("ColorToGray")) options.constants = kWeights;
      // Below the gate, at it, above it.
      std::vector<sweep::Shape> shapes = {
          {64, 64, 0, {true, 0}}, {4097, 1, 0, {false, 3}}, {241, 17, 5, {true, 0}}, {2050, 2, 0, {true, 0}}};
      if (everyShape) shapes = sweep::shapes(*f);
      sweep::run(*f, options, plain, shapes);
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Gray, testing::Values("RGBToGray", "ColorToGray"),
                         [](const auto& each) { return std::string(each.param); });

TEST(GrayExhaustive, LumaOfAllPixelsOfBytes) {
  std::vector<Zop8u> pixels(3 * 65536), out(65536);
  sweep::onEveryTarget([&] {
    for (int third = 0; third < 256; ++third) {
      for (int i = 0; i < 65536; ++i) {
        pixels[3 * i] = static_cast<Zop8u>(i);
        pixels[3 * i + 1] = static_cast<Zop8u>(i >> 8);
        pixels[3 * i + 2] = static_cast<Zop8u>(third);
      }
      ASSERT_EQ(zopStatusOk, zopiRGBToGray_8u_C3C1R(pixels.data(), 3 * 65536, out.data(), 65536, {65536, 1}));
      for (int i = 0; i < 65536; ++i) {
        const int expected = ((i & 255) * 1225 + (i >> 8) * 2404 + third * 467) >> 12;
        ASSERT_EQ(expected, out[i]) << (i & 255) << ", " << (i >> 8) << ", " << third;
      }
    }
  });
}

// All pixels of bytes whose third sample goes along with the others, and weights of all sizes.
TEST(GrayExhaustive, PairsOfBytes) {
  std::vector<Zop8u> pixels(3 * 65536), out(65536);
  for (int i = 0; i < 65536; ++i) {
    pixels[3 * i] = static_cast<Zop8u>(i);
    pixels[3 * i + 1] = static_cast<Zop8u>(i >> 8);
    pixels[3 * i + 2] = static_cast<Zop8u>(i * 7 + (i >> 8) * 31);
  }
  std::vector<std::vector<Zop32f>> weights;
  for (int bit = -13; bit < 21; ++bit) {
    const Zop32f w = std::ldexp(1.0f, bit);
    weights.push_back({w, 0.7f * w, -w});
    weights.push_back({0.99f * w, 1.0f, 0.3f});
  }
  sweep::onEveryTarget([&] {
    for (const auto& w : weights) {
      ASSERT_EQ(zopStatusOk,
                zopiColorToGray_8u_C3C1R(pixels.data(), 3 * 256, out.data(), 256, {256, 256}, w.data()));
      for (int i = 0; i < 65536; ++i)
        ASSERT_EQ(gray(&pixels[3 * i], w.data()), out[i]) << "pixel " << i << ", first weight " << w[0];
    }
  });
}

TEST(GrayByHand, BlackWhiteAndWeights) {
  const Zop8u pixels[9] = {255, 255, 255, 1, 1, 1, 100, 150, 200};
  Zop8u out[3] = {};
  ASSERT_EQ(zopStatusOk, zopiRGBToGray_8u_C3C1R(pixels, 9, out, 3, {3, 1}));
  EXPECT_EQ(255, out[0]);
  EXPECT_EQ(1, out[1]);
  EXPECT_EQ(140, out[2]);  // 100 * 1225 + 150 * 2404 + 200 * 467 is 140 * 4096 + 3060
  const Zop32f twice[3] = {1.0f, 1.0f, 0.0f}, none[3] = {HUGE_VALF, NAN, 1.0f};
  ASSERT_EQ(zopStatusOk, zopiColorToGray_8u_C3C1R(pixels, 9, out, 3, {3, 1}, twice));
  EXPECT_EQ(254, out[0]);  // 510 wraps
  ASSERT_EQ(zopStatusOk, zopiColorToGray_8u_C3C1R(pixels, 9, out, 3, {3, 1}, none));
  EXPECT_EQ(200, out[2]);

  // Ties go to the even neighbour; words saturate, on either side.
  const Zop16s words[8] = {1, 2, 0, 77, 32767, 32767, -5, 77};
  const Zop32f halves[3] = {0.5f, 1.0f, 0.0f}, minus[3] = {-2.0f, 0.0f, 0.0f};
  Zop16s wordsOut[2] = {};
  ASSERT_EQ(zopStatusOk, zopiColorToGray_16s_AC4C1R(words, 16, wordsOut, 4, {2, 1}, halves));
  EXPECT_EQ(2, wordsOut[0]);
  EXPECT_EQ(32767, wordsOut[1]);
  ASSERT_EQ(zopStatusOk, zopiColorToGray_16s_AC4C1R(words, 16, wordsOut, 4, {2, 1}, minus));
  EXPECT_EQ(-32768, wordsOut[1]);
}

// Every thread of a team rounds to nearest.
TEST(GrayEnvironment, RoundingModeOfTheCaller) {
  std::vector<Zop16u> pixels(3 * 5000), nearest(5000), upward(5000);
  for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<Zop16u>(i * 40503);
  ASSERT_EQ(zopStatusOk, zopiRGBToGray_16u_C3C1R(pixels.data(), 300, nearest.data(), 100, {50, 100}));
  std::fesetround(FE_UPWARD);
  const ZopStatus status = zopiRGBToGray_16u_C3C1R(pixels.data(), 300, upward.data(), 100, {50, 100});
  const int after = std::fegetround();
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(zopStatusOk, status);
  EXPECT_EQ(FE_UPWARD, after);
  EXPECT_EQ(nearest, upward);
}

}  // namespace
