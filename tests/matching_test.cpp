// Template matching against its definition: products in double precision, and the denominator step by step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numeric>

#include "support/sweep.h"
#include "support/two_images.h"
#include "zopi.h"

namespace {

using two_images::Call;
using two_images::Channel;
using two_images::Picture;

enum class Measure { kCorrelation, kLevelCorrelation, kDistance };

struct Geometry {
  ZopImageSize out;
  int left, top;  // where the template's first pixel stands for the first result
};
Geometry geometryOf(const std::string& operation, ZopImageSize image, ZopImageSize small) {
  if (operation.ends_with("Full"))
    return {
        {image.width + small.width - 1, image.height + small.height - 1}, 1 - small.width, 1 - small.height};
  if (operation.ends_with("Same")) return {image, -(small.width / 2), -(small.height / 2)};
  return {{image.width - small.width + 1, image.height - small.height + 1}, 0, 0};
}

struct Template {
  double norm, mean, energy, scale;
  float floor, replacement, factor, levelEnergy, reciprocal, squares;
};
Template templateOf(const Channel& t, Measure measure, int scaleFactor) {
  const double sum = std::accumulate(t.samples.begin(), t.samples.end(), 0.0), squares = t.energy();
  const auto n = static_cast<double>(t.samples.size());
  const double norm = std::sqrt(squares), mean = sum / n;
  const double s = std::ldexp(1.0, scaleFactor), smallest = std::numeric_limits<float>::min();
  const bool isZero = measure == Measure::kDistance ? norm <= smallest : norm < smallest;
  const double guarded = isZero ? 1.0 : norm;
  return {norm,
          mean,
          squares,
          s,
          static_cast<float>(guarded * 1e-5),
          static_cast<float>(guarded * guarded),
          static_cast<float>(guarded * s),
          static_cast<float>((norm * norm - mean * (n * mean)) * (s * s)),
          static_cast<float>(1 / n),
          static_cast<float>(norm * norm)};
}

// The sums of a window, which are whole numbers here, and of its products with the template.
struct Window {
  double product = 0, sum = 0, squares = 0;
};
Window windowAt(const Channel& image, const Channel& small, int left, int top, double mean) {
  Window w;
  for (int j = 0; j < small.size.height; ++j) {
    for (int i = 0; i < small.size.width; ++i) {
      const int x = left + i, y = top + j;
      if (x < 0 || y < 0 || x >= image.size.width || y >= image.size.height) continue;
      const double f = image.at(x, y);
      w.product += f * (small.at(i, j) - mean);
      w.sum += f;
      w.squares += f * f;
    }
  }
  return w;
}

// Numerator and denominator; the numerator is right up to `off`.
struct Quotient {
  double numerator, off;
  float denominator;
};
Quotient quotientOf(const Window& w, const Template& t, Measure measure, double transformOff) {
  const auto squares = static_cast<float>(w.squares);
  if (measure == Measure::kDistance)
    return {squares - 2 * w.product + t.squares,
            2 * transformOff + 2e-7 * (squares + 2 * std::abs(w.product) + t.squares),
            std::sqrt(std::max(squares, t.floor)) * t.factor};
  const auto aboveFloor = [&](float energy) { return energy < t.floor ? t.replacement : energy; };
  const double off = transformOff + 1e-7 * std::abs(w.product);
  if (measure == Measure::kCorrelation) return {w.product, off, std::sqrt(aboveFloor(squares)) * t.factor};
  const auto sum = static_cast<float>(w.sum);
  const float level = sum * sum * t.reciprocal, energy = (squares - level) * t.levelEnergy;
  return {w.product, off, std::sqrt(aboveFloor(energy))};
}

void expectResults(Call& call, Measure measure, int scaleFactor) {
  const Geometry g = geometryOf(call.function.operation, call.a.size(), call.b.size());
  const bool bytes = std::string(call.function.destinationType) == "8u";
  for (int c = 0; c < call.out.colours(); ++c) {
    const Channel image(call.a, c), small(call.b, c);
    const Template t = templateOf(small, measure, scaleFactor);
    const double mean = measure == Measure::kLevelCorrelation ? static_cast<float>(t.mean) : 0.0;
    const auto n = static_cast<double>(small.samples.size());
    const double off =
        two_images::transformBound(image.energy(), t.energy - 2 * mean * t.mean * n + mean * mean * n);
    for (int y = 0; y < g.out.height; ++y) {
      for (int x = 0; x < g.out.width; ++x) {
        const Quotient q = quotientOf(windowAt(image, small, x + g.left, y + g.top, mean), t, measure, off);
        const double low = (q.numerator - q.off) / q.denominator,
                     high = (q.numerator + q.off) / q.denominator;
        const double got = call.out.get(x, y, c), slack = 2e-7 * std::abs(high);
        const auto held = [&](double v) {
          return bytes ? std::nearbyint(std::min(std::max(v, 0.0), 255.0)) : v;
        };
        ASSERT_GE(got, held(low - slack)) << call.function.name << " at " << x << ", " << y << ", " << c;
        ASSERT_LE(got, held(high + slack)) << call.function.name << " at " << x << ", " << y << ", " << c;
      }
    }
  }
}

struct Case {
  ZopImageSize image, small;
};
const std::vector<Case> kCases = {
    {{1, 1}, {1, 1}},
    {{5, 4}, {5, 4}},
    {{9, 7}, {3, 2}},
    {{40, 9}, {4, 9}},
    {{33, 30}, {17, 16}},  // Same and Valid have less places than a tile has samples,
                           // but no room
    {{90, 33}, {11, 5}},
    {{20, 150}, {7, 33}},
};

// Sums of so many squares of bytes do not have 31 bits; tiles have 2048 rows, or columns of 4096.
const Case kLargeTemplates[] = {{{203, 172}, {200, 170}}, {{12, 640}, {3, 610}}, {{1130, 12}, {1100, 3}}};

// Whole numbers, of which sums are exact in any type. One channel of numbers is much larger than the others;
// 2^20 is a factor that changes no rounding.
void fillWithNoise(Call& call, std::mt19937& random) {
  const std::string type = call.function.sourceType;
  std::uniform_int_distribution<int> samples(type == "8u" ? 0 : -128, type == "8u" ? 255 : 127);
  for (Picture* picture : {&call.a, &call.b}) {
    picture->fill([&] { return samples(random); });
    for (int y = 0; type == "32f" && call.out.colours() > 1 && y < picture->size().height; ++y) {
      for (int x = 0; x < picture->size().width; ++x)
        picture->set(x, y, 1, std::ldexp(picture->get(x, y, 1), 20));
    }
  }
  // The template is somewhere in the image.
  const ZopImageSize a = call.a.size(), b = call.b.size();
  for (int y = 0; y < b.height; ++y) {
    for (int x = 0; x < b.width; ++x) {
      for (int c = 0; c < call.out.colours(); ++c)
        call.b.set(x, y, c, call.a.get(x + (a.width - b.width) / 2, y + (a.height - b.height) / 3, c));
    }
  }
}

void compare(const registry::Function& function, Measure measure, const Case& one, std::mt19937& random) {
  const Geometry g = geometryOf(function.operation, one.image, one.small);
  Call call(function, one.image, one.small, g.out, random);
  fillWithNoise(call, random);
  const bool scaled = std::string(function.destinationType) == "8u";
  for (const int scaleFactor : {-7, 0, -5}) {
    ASSERT_EQ(zopStatusOk, call.run(scaleFactor));
    ASSERT_NO_FATAL_FAILURE(expectResults(call, measure, scaled ? scaleFactor : 0))
        << one.image.width << "x" << one.image.height << ", scale " << scaleFactor;
    if (!scaled) break;
  }
}

void compare(const char* operation, const char* variant, Measure measure) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    std::mt19937 random(1);
    for (const char* geometry : {"Full", "Same", "Valid"}) {
      for (const registry::Function* function : sweep::functionsOf(std::string(operation) + geometry)) {
        if (function->variant != std::string(variant)) continue;
        for (const Case& one : kCases) {
          if (!everyShape && one.image.width < 30) continue;
          ASSERT_NO_FATAL_FAILURE(compare(*function, measure, one, random));
        }
        if (geometry == std::string("Valid") && function->sourceLayout == std::string("C1")) {
          for (const Case& one : kLargeTemplates)
            ASSERT_NO_FATAL_FAILURE(compare(*function, measure, one, random));
        }
      }
    }
  });
}

TEST(Matching, Correlations) { compare("CrossCorr", "Norm", Measure::kCorrelation); }
TEST(Matching, CorrelationsOfLevels) { compare("CrossCorr", "NormLevel", Measure::kLevelCorrelation); }
TEST(Matching, SquareDistances) { compare("SqrDistance", "Norm", Measure::kDistance); }

TEST(Matching, ATemplateIsFoundWhereItIs) {
  std::mt19937 random(3);
  std::vector<Zop8u> image(60 * 50);
  for (Zop8u& sample : image) sample = static_cast<Zop8u>(random());
  const Zop8u* small = image.data() + 21 * 60 + 13;
  const ZopImageSize size = {60, 50}, smallSize = {12, 9}, places = {49, 42};
  std::vector<Zop32f> map(49 * 42);
  const auto at = [&](auto best) { return static_cast<int>(best - map.begin()); };
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_NormLevel_8u32f_C1R(image.data(), 60, size, small, 60, smallSize,
                                                                map.data(), 4 * places.width));
  EXPECT_EQ(21 * 49 + 13, at(std::max_element(map.begin(), map.end())));
  EXPECT_NEAR(1, map[21 * 49 + 13], 1e-5);
  EXPECT_EQ(zopStatusOk, zopiSqrDistanceValid_Norm_8u32f_C1R(image.data(), 60, size, small, 60, smallSize,
                                                             map.data(), 4 * places.width));
  EXPECT_EQ(21 * 49 + 13, at(std::min_element(map.begin(), map.end())));
  EXPECT_NEAR(0, map[21 * 49 + 13], 1e-5);
  std::vector<Zop8u> bytes(49 * 42);
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_Norm_8u_C1RSfs(image.data(), 60, size, small, 60, smallSize,
                                                           bytes.data(), places.width, -7));
  EXPECT_EQ(128, bytes[21 * 49 + 13]);
}

// What replaces energies that are too low: each measure has a rule of its own.
TEST(Matching, WindowsAndTemplatesWithoutEnergy) {
  const Zop32f ones[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1}, zeros[9] = {};
  const ZopImageSize three = {3, 3}, one = {1, 1};
  Zop32f out[9];
  const auto expectAll = [&](float value, float off) {
    for (const float got : out) EXPECT_NEAR(value, got, off);
  };
  // A zero template: 0 by a norm of 1, but squares of 0.
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_Norm_32f_C1R(ones, 12, three, zeros, 4, one, out, 12));
  expectAll(0, 0);
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_NormLevel_32f_C1R(ones, 12, three, zeros, 4, one, out, 12));
  expectAll(0, 0);
  EXPECT_EQ(zopStatusOk, zopiSqrDistanceValid_Norm_32f_C1R(ones, 12, three, zeros, 4, one, out, 12));
  expectAll(1, 1e-6f);
  // A zero window: 0; and squares of the template by the root of the floor.
  const Zop32f five = 5;
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_Norm_32f_C1R(zeros, 12, three, &five, 4, one, out, 12));
  expectAll(0, 0);
  EXPECT_EQ(zopStatusOk, zopiSqrDistanceValid_Norm_32f_C1R(zeros, 12, three, &five, 4, one, out, 12));
  expectAll(static_cast<float>(25 / (std::sqrt(5e-5) * 5)), 1e-3f);
  // A flat template has no levels.
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_NormLevel_32f_C1R(ones, 12, three, ones, 12, {2, 2}, out, 12));
  EXPECT_EQ(0, out[0]);
  // The smallest normal number is a norm for correlations, but none for distances.
  const Zop32f smallest = std::numeric_limits<Zop32f>::min();
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_Norm_32f_C1R(ones, 12, three, &smallest, 4, one, out, 12));
  expectAll(1, 1e-6f);
  EXPECT_EQ(zopStatusOk, zopiSqrDistanceValid_Norm_32f_C1R(ones, 12, three, &smallest, 4, one, out, 12));
  expectAll(1, 1e-6f);
}

// The exponent takes seven bits of the scale factor.
TEST(Matching, ScaleFactorsAreExponents) {
  const Zop8u image = 10;
  const auto matched = [&](int scaleFactor) {
    Zop8u out = 99;
    EXPECT_EQ(zopStatusOk,
              zopiCrossCorrValid_Norm_8u_C1RSfs(&image, 1, {1, 1}, &image, 1, {1, 1}, &out, 1, scaleFactor));
    return static_cast<int>(out);
  };
  EXPECT_EQ(1, matched(0));
  EXPECT_EQ(128, matched(-7));
  EXPECT_EQ(128, matched(-128 - 7));
  EXPECT_EQ(255, matched(-126));
  EXPECT_EQ(255, matched(-127));  // a scale of zero
  EXPECT_EQ(0, matched(2));
  EXPECT_EQ(0, matched(127));
  EXPECT_EQ(1, matched(128));
  EXPECT_EQ(1, matched(std::numeric_limits<int>::min()));
}

// Measures without levels drop what a step holds beyond whole samples, those with levels do not.
TEST(Matching, StepsBeyondWholeSamples) {
  alignas(4) unsigned char image[64] = {}, out[64] = {};
  const Zop32f samples[2] = {3, 4}, other[2] = {4, 3};
  std::memcpy(image, samples, 8);
  std::memcpy(image + 8, other, 8);
  const auto* pixels = reinterpret_cast<const Zop32f*>(image);
  auto* results = reinterpret_cast<Zop32f*>(out);
  EXPECT_EQ(zopStatusOk, zopiCrossCorrValid_Norm_32f_C1R(pixels, 11, {2, 2}, samples, 8, {2, 1}, results, 7));
  Zop32f got[2];
  std::memcpy(got, out, 8);
  EXPECT_NEAR(1, got[0], 1e-6);
  EXPECT_NEAR(24 / 25.0, got[1], 1e-6);
  std::memcpy(image + 9, other, 8);
  EXPECT_EQ(zopStatusOk,
            zopiCrossCorrValid_NormLevel_32f_C1R(pixels, 9, {2, 2}, samples, 8, {2, 1}, results, 5));
  std::memcpy(got, out, 4);
  std::memcpy(got + 1, out + 5, 4);
  EXPECT_NEAR(1, got[0], 1e-5);
  EXPECT_NEAR(-1, got[1], 1e-5);
}

}  // namespace
