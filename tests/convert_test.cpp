// Conversions of samples to another type against the C++ conversion of what they hold.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

// A saturated value; numbers are rounded first. What is no number becomes the lowest value on all targets,
// though nobody is promised that.
template <class T, class S>
T converted(S sample, bool toNearest) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(sample);
  } else {
    using Limits = std::numeric_limits<T>;
    double value = sample;
    if (std::isnan(value)) return Limits::min();
    if constexpr (std::is_floating_point_v<S>) value = toNearest ? std::rint(value) : std::trunc(value);
    return static_cast<T>(std::clamp<double>(value, Limits::min(), Limits::max()));
  }
}

template <class S, class T>
ZopStatus reference(const Call& call) {
  const bool toNearest = !call.parameters.empty() && call.parameters[0].get<int>() == 1;
  sweep::conversion<S, T>(call, [&](S sample) { return converted<T>(sample, toNearest); });
  return zopStatusOk;
}

const std::pair<const char*, sweep::Reference> kPairs[] = {
    {"8u16u", reference<Zop8u, Zop16u>},   {"8u16s", reference<Zop8u, Zop16s>},
    {"8u32s", reference<Zop8u, Zop32s>},   {"8s32s", reference<Zop8s, Zop32s>},
    {"8u32f", reference<Zop8u, Zop32f>},   {"8s32f", reference<Zop8s, Zop32f>},
    {"16u32f", reference<Zop16u, Zop32f>}, {"16s32f", reference<Zop16s, Zop32f>},
    {"16u8u", reference<Zop16u, Zop8u>},   {"16s8u", reference<Zop16s, Zop8u>},
    {"32s8u", reference<Zop32s, Zop8u>},   {"32s8s", reference<Zop32s, Zop8s>},
    {"32f8u", reference<Zop32f, Zop8u>},   {"32f8s", reference<Zop32f, Zop8s>},
    {"32f16u", reference<Zop32f, Zop16u>}, {"32f16s", reference<Zop32f, Zop16s>},
};

TEST(Convert, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
    std::size_t functions = 0;
    for (const auto& [types, expected] : kPairs) {
      for (const registry::Function* f : sweep::functionsOf("Convert")) {
        if (f->sourceType + std::string(f->destinationType) != types) continue;
        ++functions;
        sweep::Options options;
        if (f->sourceType == std::string("32f")) options.parameters = {{1}, {0}, {-1}};
        sweep::run(*f, options, expected, sweep::shapes(*f));
        if (HasFailure()) return;
      }
    }
    EXPECT_EQ(sweep::functionsOf("Convert").size(), functions);
  });
}

template <class S, class T, class... P>
void compare(const std::vector<S>& samples, ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, P...),
             P... p) {
  std::vector<T> out(samples.size());
  const int n = static_cast<int>(samples.size());
  ASSERT_EQ(zopStatusOk, function(samples.data(), n * static_cast<int>(sizeof(S)), out.data(),
                                  n * static_cast<int>(sizeof(T)), {n, 1}, p...));
  for (int i = 0; i < n; ++i) ASSERT_EQ(converted<T>(samples[i], ((p == 1) || ...)), out[i]) << samples[i];
}

template <class S>
std::vector<S> allSamples() {
  std::vector<S> samples(std::size_t{1} << (8 * sizeof(S)));
  for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<S>(i);
  return samples;
}

TEST(ConvertExhaustive, AllShortSamples) {
  compare(allSamples<Zop8u>(), zopiConvert_8u16u_C1R);
  compare(allSamples<Zop8u>(), zopiConvert_8u16s_C1R);
  compare(allSamples<Zop8u>(), zopiConvert_8u32s_C1R);
  compare(allSamples<Zop8u>(), zopiConvert_8u32f_C1R);
  compare(allSamples<Zop8s>(), zopiConvert_8s32s_C1R);
  compare(allSamples<Zop8s>(), zopiConvert_8s32f_C1R);
  compare(allSamples<Zop16u>(), zopiConvert_16u32f_C1R);
  compare(allSamples<Zop16u>(), zopiConvert_16u8u_C1R);
  compare(allSamples<Zop16s>(), zopiConvert_16s32f_C1R);
  compare(allSamples<Zop16s>(), zopiConvert_16s8u_C1R);
}

// All halves that matter and the numbers next to them, numbers beyond every range, and of 32s what lies
// around the powers of two.
TEST(ConvertExhaustive, TiesLimitsAndFarNumbers) {
  const float infinity = std::numeric_limits<float>::infinity();
  std::vector<Zop32f> numbers;
  for (int twice = -2 * 32770; twice <= 2 * 65540; ++twice) {
    const float half = static_cast<float>(twice) / 2;
    for (const float number : {std::nextafter(half, -infinity), half, std::nextafter(half, infinity)})
      numbers.push_back(number);
  }
  std::vector<Zop32s> integers = {INT32_MIN, INT32_MAX};
  for (int e = -149; e <= 127; ++e) {
    for (const float m : {1.0f, 1.5f, 0x1.fffffep0f})
      for (const float sign : {1.0f, -1.0f}) numbers.push_back(sign * std::ldexp(m, e));
  }
  for (const float number : {infinity, -infinity, -0.0f}) numbers.push_back(number);
  for (int i = -300; i <= 300; ++i) {
    for (int e = 0; e < 31; ++e) integers.push_back(static_cast<int>((1u << e) + static_cast<unsigned>(i)));
    integers.push_back(i);
  }
  for (const int roundMode : {1, 0, 2}) {
    compare(numbers, zopiConvert_32f8u_C1R, roundMode);
    compare(numbers, zopiConvert_32f8s_C1R, roundMode);
    compare(numbers, zopiConvert_32f16u_C1R, roundMode);
    compare(numbers, zopiConvert_32f16s_C1R, roundMode);
  }
  compare(integers, zopiConvert_32s8u_C1R);
  compare(integers, zopiConvert_32s8s_C1R);
}

// Whatever mode the caller computes in, a result is the same and the mode stays; what is no number does no
// harm to the samples around it.
TEST(ConvertEnvironment, RoundingModeAndNotANumbers) {
  const Zop32f numbers[6] = {2.5f, 3.5f, -0.4f, std::numeric_limits<float>::quiet_NaN(), 255.4f, 1.9f};
  const Zop8u rounded[6] = {2, 4, 0, 0, 255, 2}, truncated[6] = {2, 3, 0, 0, 255, 1};
  for (const int mode : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    Zop8u out[2][6];
    std::fesetround(mode);
    ASSERT_EQ(zopStatusOk, zopiConvert_32f8u_C1R(numbers, 24, out[0], 6, {6, 1}, 1));
    ASSERT_EQ(zopStatusOk, zopiConvert_32f8u_C1R(numbers, 24, out[1], 6, {6, 1}, 0));
    const int after = std::fegetround();
    volatile double one = 1.0, three = 3.0;
    volatile double third = one / three;  // is the vector unit's mode the caller's again?
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(mode, after);
    EXPECT_EQ(mode == FE_UPWARD, third > one / three);
    for (const int i : {0, 1, 2, 4, 5}) {
      EXPECT_EQ(rounded[i], out[0][i]) << i << " in mode " << mode;
      EXPECT_EQ(truncated[i], out[1][i]) << i << " in mode " << mode;
    }
  }
}

// Steps are bytes, in whatever type, and rows without gaps need not look alike in both images.
TEST(ConvertSteps, AnyStepAndMixedGaps) {
  std::vector<unsigned char> words(64, 0);
  for (const int at : {0, 2, 7, 9}) words[at] = static_cast<unsigned char>(at + 1);
  Zop8u out[4] = {};
  ASSERT_EQ(zopStatusOk,
            zopiConvert_16s8u_C1R(reinterpret_cast<const Zop16s*>(words.data()), 7, out, 2, {2, 2}));
  const Zop8u expected[4] = {1, 3, 8, 10};
  EXPECT_TRUE(std::equal(expected, expected + 4, out));
}

}  // namespace
