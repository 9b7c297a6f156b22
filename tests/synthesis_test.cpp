// Test images and noise, against their formulas.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numbers>

#include "support/sweep.h"
#include "zopi.h"

namespace {

bool keepsAlpha(const sweep::Call& call) { return std::strcmp(call.function.destinationLayout, "AC4") == 0; }

// Writes f(x, y) into all channels that a form writes.
template <class T, class F>
ZopStatus fill(const sweep::Call& call, const F& f) {
  const int channels = keepsAlpha(call) ? 3 : call.destination.samples;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      const T value = f(x, y);
      for (int c = 0; c < channels; ++c) call.destination.set<T>(x, y, c, value);
    }
  }
  return zopStatusOk;
}

template <class T>
T rampSample(double v) {
  if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(v);
  } else {
    constexpr double kLowest = std::numeric_limits<T>::min(), kHighest = std::numeric_limits<T>::max();
    if (v >= kHighest - 0.5) return std::numeric_limits<T>::max();
    if (v < kLowest) return std::numeric_limits<T>::min();
    return static_cast<T>(v >= 0 ? v + 0.5 : v - 0.5);
  }
}

template <class T>
ZopStatus ramp(const sweep::Call& call) {
  const double offset = call.parameters[0].get<Zop32f>(), slope = call.parameters[1].get<Zop32f>();
  const int axis = call.parameters[2].get<int>();
  if (axis < 0 || axis > 2) return zopStatusOk;
  return fill<T>(call, [=](int x, int y) {
    const double t = axis == 0 ? x : axis == 1 ? y : double{1} * x * y;
    return rampSample<T>(offset + slope * t);
  });
}

// Slopes that leave the range of every type, halves, and numbers that are no fractions of two.
TEST(TestImages, Ramps) {
  sweep::Options options;
  options.parameters.clear();
  for (const int axis : {0, 1, 2}) {
    for (const auto& [offset, slope] :
         {std::pair{0.f, 1.f}, {-130.5f, 12.5f}, {250.3f, .7f}, {-2.2e9f, 1.3e8f}, {65540, -.5f}})
      options.parameters.push_back({offset, slope, axis});
  }
  options.parameters.push_back({1.f, 1.f, 3});
  options.parameters.push_back({1.f, 1.f, -1});
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf("ImageRamp")) {
      const auto reference = sweep::bySample<Zop8u, Zop8s, Zop16u, Zop16s, Zop32s, Zop32f>(
          *f, [](auto sample) { return sweep::Reference(ramp<decltype(sample)>); });
      sweep::run(*f, options, reference, sweep::shapes(*f));
    }
  });
}

TEST(TestImages, WideRampsAndRowsOfPieces) {
  constexpr int kWidth = 5000;
  for (const int axis : {0, 2}) {
    std::vector<Zop32f> row(3 * kWidth * 2);
    ASSERT_EQ(zopStatusOk, zopiImageRamp_32f_C3R(row.data(), 3 * kWidth * 4, {kWidth, 2}, 1.5f, .1f, axis));
    for (int x = 0; x < kWidth; ++x)
      ASSERT_EQ(static_cast<Zop32f>(1.5 + double{.1f} * x), row[3 * kWidth + 3 * x + x % 3]) << x;
  }
}

double sine(int x, int y, ZopImageSize size) {
  const double dx = x - 0.5 * (size.width - 1), dy = y - 0.5 * (size.height - 1);
  return std::sin((dx * dx + dy * dy) * 6.283185307179586 / (size.height * 4.0));
}
template <class T>
T brightness(double s) {
  if constexpr (std::is_same_v<T, Zop8u>) return static_cast<T>((s + 1.0) * 127.99999);
  if constexpr (std::is_same_v<T, Zop8s>) return static_cast<T>(s * 127.99999);
  if constexpr (std::is_same_v<T, Zop16u>) return static_cast<T>((s + 1.0) * 32767.99999);
  if constexpr (std::is_same_v<T, Zop16s>) return static_cast<T>(s * 32767.99999);
  if constexpr (std::is_same_v<T, Zop32s>) return static_cast<T>(s * 2147483647.99999);
  if constexpr (std::is_same_v<T, Zop32f>) return static_cast<T>((s + 1.0) * 0.49999);
}

TEST(TestImages, Chirps) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("ImageJaehne")) {
      const auto reference =
          sweep::bySample<Zop8u, Zop8s, Zop16u, Zop16s, Zop32s, Zop32f>(*f, [](auto sample) {
            using T = decltype(sample);
            return sweep::Reference([](const sweep::Call& call) {
              return fill<T>(call, [&](int x, int y) { return brightness<T>(sine(x, y, call.size)); });
            });
          });
      sweep::run(*f, {}, reference, sweep::shapes(*f));
    }
  });
}

TEST(TestImages, LargeChirps) {
  for (const ZopImageSize size : {ZopImageSize{2049, 4}, ZopImageSize{4100, 3}, ZopImageSize{1, 1}}) {
    std::vector<Zop32s> image(static_cast<std::size_t>(size.width) * size.height);
    ASSERT_EQ(zopStatusOk, zopiImageJaehne_32s_C1R(image.data(), size.width * 4, size));
    for (int y = 0; y < size.height; ++y) {
      for (int x = 0; x < size.width; ++x)
        ASSERT_EQ(brightness<Zop32s>(sine(x, y, size)), image[y * size.width + x]) << x << ", " << y;
    }
  }
}

// The generator, word by word.
struct Generator {
  std::uint32_t lcg = 1131199209, a, b, c;
  int borrow = -1;

  explicit Generator(std::uint32_t seed) : a(seed), b(69069 * seed + 1013904243), c(69069 * b + 1013904243) {}
  int operator()() {
    lcg = 69069 * lcg + 1013904243;
    std::uint32_t t = b - c + borrow;
    borrow = t >> 31 ? -1 : 0;
    if (borrow) t -= 18;
    c = b;
    b = a;
    a = t;
    return static_cast<int>(t + lcg);
  }
};

template <class T>
T plus(T sample, double noise) {
  if constexpr (std::is_floating_point_v<T>) {
    const double sum = noise + sample;
    return std::isnan(sum) ? sweep::anyNaN() : static_cast<T>(sum);
  } else {
    const double sum = std::nearbyint(noise) + sample;
    return static_cast<T>(
        std::clamp<double>(sum, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()));
  }
}

template <class T, class Noise>
void addNoise(const sweep::Call& call, Noise&& noise) {
  const int channels = keepsAlpha(call) ? 3 : call.destination.samples;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < channels; ++c)
        call.destination.set<T>(x, y, c, plus(call.sources[0].get<T>(x, y, c), noise()));
    }
  }
}

std::uint32_t seedOf(const sweep::Call& call) {
  std::uint32_t seed;
  std::memcpy(&seed, call.results[0], sizeof seed);
  return seed;
}
template <class T>
T constant(const sweep::Call& call, int i) {
  T value;
  std::memcpy(&value, call.constants[i], sizeof value);
  return value;
}

template <class T>
ZopStatus uniform(const sweep::Call& call) {
  Generator next(seedOf(call));
  const double low = constant<T>(call, 0), high = constant<T>(call, 1);
  const double k = (high - low) * 0x1.0000000000007p-32, m = (low + high) * 0.5;
  addNoise<T>(call, [&] { return next() * k + m; });
  call.setResult<std::uint32_t>(0, 0, next.a);
  return zopStatusOk;
}

template <class T>
ZopStatus gauss(const sweep::Call& call) {
  Generator next(seedOf(call));
  const double mean = constant<T>(call, 0), deviation = constant<T>(call, 1);
  double b = 0, f = 0;
  bool second = false;
  addNoise<T>(call, [&] {
    if (second) {
      second = false;
      return deviation * f * b + mean;
    }
    double a, s;
    do {
      a = next() * 0x1.ffffffffffd09p-32;
      b = next() * 0x1.ffffffffffd09p-32;
      s = a * a + b * b;
    } while (s >= 1.0 || s == 0.0);
    f = std::sqrt(-2.0 * std::log(s) / s);
    second = true;
    return deviation * f * a + mean;
  });
  return zopStatusOk;
}

template <class T>
sweep::Options rangesOf() {
  sweep::Options options;
  const auto add = [&](double a, double b) {
    options.constants.push_back(
        {sweep::bytesOf<T>({static_cast<T>(a)}), sweep::bytesOf<T>({static_cast<T>(b)})});
  };
  options.constants.clear();
  add(0, 0);
  add(3, 90);
  add(100, 20);
  add(std::is_same_v<T, Zop8u> ? 0 : -32768, std::is_same_v<T, Zop8u> ? 255 : 32767);
  return options;
}

template <class T>
void sweepNoise(const char* operation, ZopStatus (*reference)(const sweep::Call&)) {
  for (const registry::Function* f : sweep::functionsOf(operation, {sweep::kToken<T>}))
    sweep::run(*f, rangesOf<T>(), reference, sweep::shapes(*f));
}

TEST(Noise, Uniform) {
  sweep::onEveryTarget([] {
    sweepNoise<Zop8u>("AddRandUniform", uniform<Zop8u>);
    sweepNoise<Zop16s>("AddRandUniform", uniform<Zop16s>);
    sweepNoise<Zop32f>("AddRandUniform", uniform<Zop32f>);
  });
}

TEST(Noise, Gauss) {
  sweep::onEveryTarget([] {
    sweepNoise<Zop8u>("AddRandGauss", gauss<Zop8u>);
    sweepNoise<Zop16s>("AddRandGauss", gauss<Zop16s>);
    sweepNoise<Zop32f>("AddRandGauss", gauss<Zop32f>);
  });
}

// Rows of more than a block, whose ends are not those of blocks; and what the numbers are like.
TEST(Noise, RunsThroughRows) {
  constexpr int kWidth = 1001, kHeight = 101, kSamples = kWidth * kHeight;
  std::vector<Zop32f> image(kSamples), flat(kSamples);
  unsigned seed = 12, again = 12;
  zopiAddRandGauss_Direct_32f_C1IR(image.data(), kWidth * 4, {kWidth, kHeight}, 10, 2, &seed);
  zopiAddRandGauss_Direct_32f_C1IR(flat.data(), kSamples * 4, {kSamples, 1}, 10, 2, &again);
  EXPECT_EQ(flat, image);
  EXPECT_EQ(12u, seed);
  double sum = 0, squares = 0;
  for (const double v : image) {
    sum += v;
    squares += (v - 10) * (v - 10);
  }
  EXPECT_NEAR(10, sum / kSamples, .05);
  EXPECT_NEAR(4, squares / kSamples, .1);

  std::fill(image.begin(), image.end(), 0.0f);
  flat = image;
  zopiAddRandUniform_Direct_32f_C1IR(image.data(), kWidth * 4, {kWidth, kHeight}, -1, 1, &seed);
  zopiAddRandUniform_Direct_32f_C1IR(flat.data(), kSamples * 4, {kSamples, 1}, -1, 1, &again);
  EXPECT_EQ(flat, image);
  EXPECT_NE(12u, seed);
  EXPECT_EQ(again, seed);
  const auto [least, greatest] = std::minmax_element(image.begin(), image.end());
  EXPECT_GE(*least, -1);
  EXPECT_LE(*greatest, 1);
  EXPECT_GT(*greatest - *least, 1.99);
}

}  // namespace
