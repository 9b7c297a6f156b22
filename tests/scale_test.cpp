// Full scale mapped onto full scale, against the definitions in double precision.
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

template <class T>
T spread(Zop8u sample) {
  constexpr std::int64_t lowest = std::numeric_limits<T>::min(), highest = std::numeric_limits<T>::max();
  return static_cast<T>(lowest + sample * ((highest - lowest) / 255));
}

// The constants of the accurate form are part of the definition, the last digits included.
template <class S>
Zop8u byteOf(S sample, int hint) {
  const int y = std::is_unsigned_v<S> ? static_cast<int>(sample) - 32768 : static_cast<int>(sample);
  if (hint != 2) return static_cast<Zop8u>(((y - (y >> 8)) >> (8 * sizeof(S) - 8)) + 128);
  double factor = 0.0038910506f, offset = std::is_unsigned_v<S> ? 0.0f : 127.501945f;
  if (sizeof(S) == 4) {
    factor = 5.937181414556033e-08;
    offset = 127.5000000296859;
  }
  return static_cast<Zop8u>(std::rint(static_cast<double>(sample) * factor + offset));
}

Zop32f number(Zop8u sample, Zop32f vMin, Zop32f vMax) {
  const double factor = (static_cast<double>(vMax) - vMin) * std::bit_cast<Zop32f>(0x3B808081u);
  const double result = sample * factor + vMin;
  return std::isnan(result) ? sweep::anyNaN() : static_cast<Zop32f>(result);
}

// What is no number becomes 0 on all targets, though nobody is promised that.
Zop8u byteOf(Zop32f sample, Zop32f vMin, Zop32f vMax) {
  if (sample > vMax) return 255;
  if (!(sample >= vMin)) return 0;
  const Zop32f length = vMax - vMin;
  const double factor = 255.0 / length, offset = -factor * vMin;
  return static_cast<Zop8u>(std::rint(sample * factor + offset));
}

template <class S, class T>
ZopStatus reference(const Call& call) {
  const auto& p = call.parameters;
  sweep::conversion<S, T>(call, [&](S sample) {
    if constexpr (std::is_same_v<S, Zop32f>)
      return byteOf(sample, p[0].get<Zop32f>(), p[1].get<Zop32f>());
    else if constexpr (std::is_same_v<T, Zop32f>)
      return number(sample, p[0].get<Zop32f>(), p[1].get<Zop32f>());
    else if constexpr (std::is_same_v<T, Zop8u>)
      return byteOf(sample, p[0].get<int>());
    else
      return spread<T>(sample);
  });
  return zopStatusOk;
}

const std::pair<const char*, sweep::Reference> kPairs[] = {
    {"8u16u", reference<Zop8u, Zop16u>}, {"8u16s", reference<Zop8u, Zop16s>},
    {"8u32s", reference<Zop8u, Zop32s>}, {"8u32f", reference<Zop8u, Zop32f>},
    {"16u8u", reference<Zop16u, Zop8u>}, {"16s8u", reference<Zop16s, Zop8u>},
    {"32s8u", reference<Zop32s, Zop8u>}, {"32f8u", reference<Zop32f, Zop8u>},
};

std::vector<std::vector<registry::Value>> parametersFor(const registry::Function& f) {
  if (f.arguments.back().name == std::string("hint")) return {{2}, {0}, {1}};
  if (f.arguments.back().name == std::string("vMax")) {
    return {{0.0f, 1.0f}, {-3000.5f, 32000.25f}, {0x1p-149f, 0x1.8p-140f}, {-0x1.8p127f, 0x1.8p127f}};
  }
  return {{}};
}

TEST(Scale, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
    std::size_t functions = 0;
    for (const auto& [types, expected] : kPairs) {
      for (const registry::Function* f : sweep::functionsOf("Scale")) {
        if (f->sourceType + std::string(f->destinationType) != types) continue;
        ++functions;
        sweep::run(*f, {parametersFor(*f), {{}}}, expected, sweep::shapes(*f));
        if (HasFailure()) return;
      }
    }
    EXPECT_EQ(sweep::functionsOf("Scale").size(), functions);
  });
}

template <class S, class T, class F, class... P>
void compare(const std::vector<S>& samples, const F& expected,
             ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, P...), P... p) {
  std::vector<T> out(samples.size());
  const int n = static_cast<int>(samples.size());
  ASSERT_EQ(zopStatusOk, function(samples.data(), n * static_cast<int>(sizeof(S)), out.data(),
                                  n * static_cast<int>(sizeof(T)), {n, 1}, p...));
  for (int i = 0; i < n; ++i) ASSERT_EQ(expected(samples[i], p...), out[i]) << samples[i];
}

template <class S>
std::vector<S> allSamples() {
  std::vector<S> samples(std::size_t{1} << (8 * sizeof(S)));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<S>(i);
  return samples;
}

TEST(ScaleExhaustive, AllShortSamples) {
  compare(allSamples<Zop8u>(), spread<Zop16u>, zopiScale_8u16u_C1R);
  compare(allSamples<Zop8u>(), spread<Zop16s>, zopiScale_8u16s_C1R);
  compare(allSamples<Zop8u>(), spread<Zop32s>, zopiScale_8u32s_C1R);
  for (const int hint : {2, 0}) {
    compare(allSamples<Zop16u>(), byteOf<Zop16u>, zopiScale_16u8u_C1R, hint);
    compare(allSamples<Zop16s>(), byteOf<Zop16s>, zopiScale_16s8u_C1R, hint);
  }
}

// Of 32s, every sample near a place where either form goes from one byte to the next, and many others.
TEST(ScaleExhaustive, LongSamplesAroundEveryStep) {
  std::vector<Zop32s> samples = {INT32_MAX};
  for (int k = 0; k < 256; ++k) {
    for (const std::int64_t step : {std::int64_t{16777216}, std::int64_t{16843009}}) {
      for (const std::int64_t at : {k * step, k * step - 8421504, k * step - 65793}) {
        for (std::int64_t i = std::max<std::int64_t>(at - 400, 0); i < at + 400; ++i)
          samples.push_back(static_cast<Zop32s>(std::min<std::int64_t>(i + INT32_MIN, INT32_MAX)));
      }
    }
  }
  for (std::int64_t i = INT32_MIN; i <= INT32_MAX; i += 3989) samples.push_back(static_cast<Zop32s>(i));
  for (const int hint : {2, 0}) compare(samples, byteOf<Zop32s>, zopiScale_32s8u_C1R, hint);
}

struct Range {
  Zop32f vMin, vMax;
};
const Range kRanges[] = {
    {0.0f, 1.0f},      {-1.0f, 1.0f},           {0.0f, 255.0f},   {-128.0f, 127.0f},
    {1e6f, 1000001},   {0x1p-149f, 0x1p-148f},  {-1e-30f, 1e30f}, {0.1f, 0.3f},
    {1e30f, 1.01e30f}, {-0x1.8p127f, 0x1p127f}, {-3e38f, -1e38f}, {16777216.0f, 16777218.0f}};

// Ranges of all kinds, with the numbers around every tie, at both ends and far outside.
TEST(ScaleExhaustive, NumbersNearTiesInManyRanges) {
  const float infinity = std::numeric_limits<float>::infinity();
  for (const auto& [vMin, vMax] : kRanges) {
    std::vector<Zop32f> numbers = {0.0f, -0.0f, 1e38f, -1e38f, 0x1p-149f, infinity, -infinity};
    for (int twice = 0; twice <= 510; ++twice) {
      const float at = static_cast<float>(vMin + (static_cast<double>(vMax) - vMin) * twice / 510);
      float below = at, above = at;
      for (int i = 0; i < 4; ++i) {
        numbers.insert(numbers.end(), {below, above});
        below = std::nextafter(below, -infinity);
        above = std::nextafter(above, infinity);
      }
    }
    const auto byte = [](Zop32f x, Zop32f from, Zop32f to) { return byteOf(x, from, to); };
    compare(numbers, byte, zopiScale_32f8u_C1R, vMin, vMax);
    compare(allSamples<Zop8u>(), number, zopiScale_8u32f_C1R, vMin, vMax);
  }
}

TEST(ScaleByHand, RangesAndFullScale) {
  const Zop32f numbers[5] = {0.5f, 2.0f, -1.0f, 1.0f, 0.25f};
  Zop8u bytes[5] = {};
  ASSERT_EQ(zopStatusOk, zopiScale_32f8u_C1R(numbers, 20, bytes, 5, {5, 1}, 0.0f, 1.0f));
  const Zop8u expected[5] = {128, 255, 0, 255, 64};
  EXPECT_TRUE(std::equal(expected, expected + 5, bytes));
  const Zop16u words[3] = {0, 32768, 65535};
  ASSERT_EQ(zopStatusOk, zopiScale_16u8u_C1R(words, 6, bytes, 3, {3, 1}, 0));
  EXPECT_EQ(0, bytes[0]);
  EXPECT_EQ(255, bytes[2]);

  // Ranges that are none, ahead of everything else.
  const float infinity = std::numeric_limits<float>::infinity(),
              nan = std::numeric_limits<float>::quiet_NaN();
  for (const auto& [vMin, vMax] :
       {Range{1, 1}, {2, 1}, {nan, 1}, {1, nan}, {0.0f, -0.0f}, {infinity, infinity}}) {
    EXPECT_EQ(zopStatusBadScaleRange, zopiScale_8u32f_C1R(nullptr, 0, nullptr, 0, {0, 0}, vMin, vMax));
    EXPECT_EQ(zopStatusBadScaleRange, zopiScale_32f8u_AC4R(nullptr, 0, nullptr, 0, {0, 0}, vMin, vMax));
  }
  // The smallest range of all is one.
  EXPECT_EQ(zopStatusOk, zopiScale_32f8u_C1R(numbers, 20, bytes, 5, {5, 1}, 0.0f, 0x1p-149f));
}

TEST(ScaleEnvironment, RoundingModeOfTheCaller) {
  const Zop32f numbers[3] = {0.3f, 0.7f, 0.5f};
  const Zop32s integers[3] = {INT32_MIN + 8421504, 77, -8421505};
  Zop8u nearest[2][3], other[2][3];
  const auto scaleAll = [&](Zop8u(&out)[2][3]) {
    EXPECT_EQ(zopStatusOk, zopiScale_32f8u_C1R(numbers, 12, out[0], 3, {3, 1}, 0.1f, 0.9f));
    EXPECT_EQ(zopStatusOk, zopiScale_32s8u_C1R(integers, 12, out[1], 3, {3, 1}, 2));
    EXPECT_EQ(zopStatusBadScaleRange, zopiScale_32f8u_C1R(numbers, 12, out[0], 3, {3, 1}, 0.9f, 0.1f));
  };
  scaleAll(nearest);
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    scaleAll(other);
    const int after = std::fegetround();
    volatile double one = 1.0, three = 3.0;
    volatile double third = one / three;  // is the vector unit's mode the caller's again?
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(mode, after);
    EXPECT_EQ(mode == FE_UPWARD, third > one / three);
    for (int i : {0, 1}) EXPECT_TRUE(std::equal(nearest[i], nearest[i] + 3, other[i]));
  }
}

}  // namespace
