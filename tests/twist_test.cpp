// Colour twists against sums of one pixel at a time.
#include <gtest/gtest.h>

#include <algorithm>
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

template <class T>
T stored(double value) {
  if constexpr (std::is_same_v<T, Zop32f>) {
    return std::isnan(value) ? sweep::anyNaN() : static_cast<Zop32f>(value);
  } else {
    using Limits = std::numeric_limits<T>;
    if (std::isnan(value)) return Limits::min();  // nobody is promised that
    return static_cast<T>(std::nearbyint(std::clamp<double>(value, Limits::min(), Limits::max())));
  }
}

template <class T>
ZopStatus reference(const Call& call) {
  const bool square = std::strcmp(call.function.sourceLayout, "C4") == 0;
  const int channels = square ? 4 : 3;
  Zop32f twist[16];
  std::memcpy(twist, call.constants[0], channels * 4 * sizeof twist[0]);
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      double s[4] = {0, 0, 0, 1};
      for (int c = 0; c < channels; ++c) s[c] = static_cast<double>(call.sources[0].get<T>(x, y, c));
      for (int k = 0; k < channels; ++k) {
        const Zop32f* t = twist + 4 * k;
        call.destination.set(x, y, k, stored<T>(t[0] * s[0] + t[1] * s[1] + t[2] * s[2] + t[3] * s[3]));
      }
    }
  }
  return zopStatusOk;
}

const float kInfinity = std::numeric_limits<float>::infinity();

// Colours mixed, ties wherever they can be, saturation on both sides, and what no image needs. C4 takes
// all 16.
const std::vector<sweep::Constants> kTwists = {
    {sweep::bytesOf({0.393f, 0.769f, 0.189f, 0.0f, 0.349f, 0.686f, 0.168f, 1.5f, 0.272f, 0.534f, 0.131f,
                     -3.25f, 0.1f, 0.2f, 0.3f, 0.4f})},
    {sweep::bytesOf({0.5f, 0.25f, -0.25f, 0.5f, 0.125f, 0.5f, 0.5f, 1.0f, -0.5f, 0.5f, 0.5f, 100.5f, 1.0f,
                     -1.0f, 0.5f, 0.75f})},
    {sweep::bytesOf({3.7f, -2.1f, 900.0f, -20000.0f, -50.5f, 1e-30f, 7.0f, 70000.0f, 1e20f, -1e20f, 1.0f,
                     0.5f, -1e-20f, 2.0f, 1.0f, -1.0f})},
    {sweep::bytesOf({kInfinity, 0.0f, 0.0f, 1.0f, 3e38f, -3e38f, 3e38f, 1.0f, 0.0f, NAN, 1.0f, 0.5f, 1.0f,
                     1.0f, -kInfinity, 1.0f})},
};

class Twist : public testing::TestWithParam<const char*> {};

TEST_P(Twist, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTarget([&] {
    const auto functions = sweep::functionsOf(GetParam());
    EXPECT_EQ(GetParam() == std::string("ColorTwist") ? 7u : 18u, functions.size());
    for (const registry::Function* f : functions) {
      const auto plain = sweep::bySample<Zop8u, Zop16u, Zop16s, Zop32f>(
          *f, [](auto sample) { return reference<decltype(sample)>; });
      sweep::run(*f, {{{}}, kTwists}, plain, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Twist, testing::Values("ColorTwist", "ColorTwist32f"),
                         [](const auto& each) { return std::string(each.param); });

TEST(TwistByHand, IdentityConstantsAndOrder) {
  const Zop32f bright[12] = {1, 0, 0, 300, 0, 1, 0, 0, 0, 0, 1, -300};
  const Zop8u pixel[3] = {7, 8, 9};
  Zop8u out[4] = {0, 0, 0, 66};
  ASSERT_EQ(zopStatusOk, zopiColorTwist32f_8u_C3R(pixel, 3, out, 3, {1, 1}, bright));
  EXPECT_EQ(255, out[0]);
  EXPECT_EQ(8, out[1]);
  EXPECT_EQ(0, out[2]);
  const Zop32f ties[12] = {0.5f, 0, 0, 0, 0, 0.25f, 0, 0.5f, 0, 0, 0.5f, 1};
  ASSERT_EQ(zopStatusOk, zopiColorTwist32f_8u_C3R(pixel, 3, out, 3, {1, 1}, ties));
  EXPECT_EQ(4, out[0]);  // 3.5
  EXPECT_EQ(2, out[1]);  // 2.5
  EXPECT_EQ(6, out[2]);  // 5.5
  ASSERT_EQ(zopStatusOk, zopiColorTwist32f_8u_AC4IR(out, 4, {1, 1}, bright));
  EXPECT_EQ(66, out[3]);

  // Sums go from left to right: 2^60 - 2^60 + 1 is 1, and with the constant last, 1 + 2^60 - 2^60 is 0.
  const Zop32f big = 0x1p60f, order[12] = {big, -big, 1, 0, 1, big, 0, -big, 0, 0, 1, 0};
  const Zop32f numbers[3] = {1, 1, 1};
  Zop32f sums[3];
  ASSERT_EQ(zopStatusOk, zopiColorTwist_32f_C3R(numbers, 12, sums, 12, {1, 1}, order));
  EXPECT_EQ(1, sums[0]);
  EXPECT_EQ(0, sums[1]);
}

TEST(TwistEnvironment, RoundingModeOfTheCaller) {
  const Zop32f twist[12] = {0.3f, 0.3f, 0.3f, 0.1f, 0.5f, 0.5f, 0.5f, 0, 1.1f, -0.1f, 0.2f, 0.7f};
  const Zop16s pixel[3] = {-1001, 2002, 333};
  Zop16s nearest[3], other[3];
  ASSERT_EQ(zopStatusOk, zopiColorTwist32f_16s_C3R(pixel, 6, nearest, 6, {1, 1}, twist));
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    const ZopStatus status = zopiColorTwist32f_16s_C3R(pixel, 6, other, 6, {1, 1}, twist);
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(zopStatusOk, status);
    EXPECT_EQ(mode, after);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(nearest[c], other[c]);
  }
}

}  // namespace
