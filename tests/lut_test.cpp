// Curves against their definition, sample by sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
using Level = std::conditional_t<std::is_same_v<T, Zop32f>, Zop32f, Zop32s>;

template <class T>
struct Points {
  std::vector<Level<T>> levels, values;
};

template <class T>
constexpr bool kNumbers = std::is_same_v<T, Zop32f>;
// The range of integers.
template <class T>
constexpr int kLowest = std::is_same_v<T, Zop16s> ? -32768 : 0;
template <class T>
constexpr int kHighest = std::is_same_v<T, Zop16s> ? 32767 : 255;

// A real result as an integer sample.
template <class T>
T truncated(double y) {
  if (!(y > kLowest<T>)) return kLowest<T>;
  return y >= kHighest<T> ? kHighest<T> : static_cast<T>(y);
}

template <class T>
T onLine(const Points<T>& p, int k, T x) {
  const double l0 = p.levels[k], l1 = p.levels[k + 1], v0 = p.values[k], v1 = p.values[k + 1];
  if constexpr (kNumbers<T>) return static_cast<T>((x - l0) * ((v1 - v0) / (l1 - l0)) + v0);
  const double slope = std::trunc((v1 - v0) / (l1 - l0));
  return truncated<T>(x * slope + (slope * -l0 + (v0 + 0.5)));
}

double determinant(const double (&m)[3][3]) {
  return m[0][0] * (m[1][1] * m[2][2] - m[2][1] * m[1][2]) -
         m[0][1] * (m[1][0] * m[2][2] - m[2][0] * m[1][2]) +
         m[0][2] * (m[1][0] * m[2][1] - m[2][0] * m[1][1]);
}

template <class T>
T onCubic(const Points<T>& p, int k, T x) {
  const int b = std::clamp(k - 1, 0, static_cast<int>(p.levels.size()) - 4);
  const double origin = p.levels[b + 1], value = p.values[b + 1];
  double powers[3][3], rises[3];
  for (int i = 0; i < 3; ++i) {
    const int point = b + (i == 0 ? 0 : i + 1);
    const double d = p.levels[point] - origin;
    powers[i][0] = d;
    powers[i][1] = d * d;
    powers[i][2] = d * d * d;
    rises[i] = p.values[point] - value;
  }
  const double reciprocal = 1.0 / determinant(powers);
  double a[3];
  for (int column = 0; column < 3; ++column) {
    double replaced[3][3];
    std::copy(&powers[0][0], &powers[0][0] + 9, &replaced[0][0]);
    for (int i = 0; i < 3; ++i) replaced[i][column] = rises[i];
    a[column] = determinant(replaced) * reciprocal;
  }
  const double d = x - origin;
  if constexpr (kNumbers<T>) return static_cast<T>(((value + a[0] * d) + d * d * d * a[2]) + d * d * a[1]);
  return truncated<T>(((a[0] * d + (value + 0.5)) + d * d * d * a[2]) + d * d * a[1]);
}

template <class T>
T onCurve(const Points<T>& p, const std::string& kind, T x) {
  T result = x;
  const int segments = static_cast<int>(p.levels.size()) - 1;
  for (int k = 0; k < segments; ++k) {
    if (!(p.levels[k] <= x && x < p.levels[k + 1])) continue;
    bool constant = kind.empty();
    if constexpr (!kNumbers<T>) {
      const std::int64_t from = std::max<std::int64_t>(p.levels[k], kLowest<T>);
      const std::int64_t to = std::min<std::int64_t>(p.levels[k + 1], kHighest<T> + 1);
      constant = constant || to - from == 1;
    }
    if (constant) {
      if constexpr (kNumbers<T>)
        result = p.values[k];
      else
        result = static_cast<T>(std::clamp(p.values[k], kLowest<T>, kHighest<T>));
    } else {
      result = kind == "Cubic" && segments >= 3 ? onCubic(p, k, x) : onLine(p, k, x);
    }
    if (kNumbers<T>) return result;  // the first segment counts, of integers the last
  }
  return result;
}

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

template <class T>
Points<T> manyPoints(Level<T> first, Level<T> gap, int count) {
  Points<T> result;
  for (int k = 0; k < count; ++k) {
    result.levels.push_back(first + static_cast<Level<T>>(k) * gap);
    result.values.push_back(first + static_cast<Level<T>>((k * 37) % count) * gap);
  }
  return result;
}

// Two points, few and many, in and out of order, with segments of one sample, within and beyond the type.
template <class T>
std::vector<Points<T>> pointSets() {
  if constexpr (std::is_same_v<T, Zop8u>)
    return {{{0, 256}, {0, 255}},
            {{10, 20, 90, 91, 200}, {100, 200, -9, -7, 300}},
            {{-50, 1, 60, 255, 400}, {-1000, -3, 70, 251, kMax}},
            {{100, 50, 200, 60, 180, 181}, {1, 2, 90, 4, 250, 6}},
            {{10, 20, 30, 20, 20, 250}, {0, 255, 0, 255, 0, 255}},
            manyPoints<T>(0, 1, 257)};
  else if constexpr (std::is_same_v<T, Zop16s>)
    return {{{-32768, 32768}, {32767, -32768}},
            {{-100, 0, 1, 900, 20000}, {-30000, -20, -7, 900, 30000}},
            {{kMin, -32767, 0, 32767, kMax}, {kMax, kMin, 5, kMax, kMin}},
            {{300, -50, 20000, 60, 180, 181}, {1, 2, 90, 4, 250, -6}},
            manyPoints<T>(-32000, 250, 256)};
  else
    return {{{-1.0f, 1.0f}, {3.0f, -2.0f}},
            {{-100.0f, -1.5f, 0.0f, 1e-3f, 300.0f}, {1.0f, -1e30f, 0.5f, 7.25f, INFINITY}},
            {{0.0f, -10.0f, 200.0f, 200.0f, 1.0f, 500.0f}, {1.0f, 2.0f, 3.0f, 4.0f, 5.0f, 6.0f}},
            manyPoints<T>(-1000.0f, 20.25f, 100)};
}

template <class T>
void compare(const registry::Function& f, const std::vector<sweep::Shape>& shapes) {
  const auto sets = pointSets<T>();
  const std::string layout = f.sourceLayout;
  const int colours = layout == "C1" ? 1 : layout == "C4" ? 4 : 3;
  std::size_t next = 0;
  for (const sweep::Shape& shape : shapes) {
    std::vector<Points<T>> chosen;
    std::vector<const Level<T>*> levels, values;
    std::vector<int> counts;
    for (int c = 0; c < colours; ++c) chosen.push_back(sets[next++ % sets.size()]);
    for (const Points<T>& points : chosen) {
      levels.push_back(points.levels.data());
      values.push_back(points.values.data());
      counts.push_back(static_cast<int>(points.levels.size()));
    }
    sweep::Options options;
    if (colours == 1)
      options.parameters = {{values[0], levels[0], counts[0]}};
    else
      options.parameters = {{values.data(), levels.data(), counts.data()}};
    sweep::run(f, options,
               [&](const Call& call) {
                 for (int y = 0; y < call.size.height; ++y) {
                   for (int x = 0; x < call.size.width; ++x) {
                     for (int c = 0; c < colours; ++c) {
                       T result = onCurve(chosen[c], f.variant, call.sources[0].get<T>(x, y, c));
                       if constexpr (kNumbers<T>) result = std::isnan(result) ? sweep::anyNaN() : result;
                       call.destination.set<T>(x, y, c, result);
                     }
                   }
                 }
                 return zopStatusOk;
               },
               {shape});
    if (testing::Test::HasFailure()) return;
  }
}

TEST(Curves, EqualTheDefinitionAtEveryShape) {
  sweep::onEveryTarget([] {
    const auto functions = sweep::functionsOf("LUT");
    EXPECT_EQ(36u, functions.size());
    for (const registry::Function* f : functions) {
      const auto shapes = sweep::shapes(*f);
      const std::string type = f->sourceType;
      const auto compareType = type == "8u"    ? compare<Zop8u>
                               : type == "16s" ? compare<Zop16s>
                                               : compare<Zop32f>;
      compareType(*f, shapes);
      if (HasFailure()) return;
    }
  });
}

// All words, with a table and without.
TEST(Curves, AllWords) {
  std::vector<Zop16s> words(65536), out(65536);
  for (int i = 0; i < 65536; ++i) words[i] = static_cast<Zop16s>(i);
  using Function = decltype(&zopiLUT_16s_C1R);
  const std::vector<std::pair<std::string, Function>> kinds = {
      {"", zopiLUT_16s_C1R}, {"Linear", zopiLUT_Linear_16s_C1R}, {"Cubic", zopiLUT_Cubic_16s_C1R}};
  for (const auto& points : pointSets<Zop16s>()) {
    for (const auto& [kind, function] : kinds) {
      for (const int pixels : {65536, 4096}) {
        for (int at = 0; at < 65536; at += pixels) {
          ASSERT_EQ(zopStatusOk,
                    function(&words[at], 2 * pixels, &out[at], 2 * pixels, {pixels, 1}, points.values.data(),
                             points.levels.data(), static_cast<int>(points.levels.size())));
        }
        for (int i = 0; i < 65536; ++i)
          ASSERT_EQ(onCurve(points, kind, words[i]), out[i])
              << kind << " of " << words[i] << ", images of " << pixels;
      }
    }
  }
}

TEST(CurvesByHand, PointsAndPolynomials) {
  const Zop8u bytes[5] = {15, 5, 20, 255, 10};
  Zop8u out[5];
  const Zop32s levels[2] = {10, 20}, values[2] = {100, 200};
  ASSERT_EQ(zopStatusOk, zopiLUT_8u_C1R(bytes, 5, out, 5, {5, 1}, values, levels, 2));
  for (int i = 0; i < 5; ++i) EXPECT_EQ((std::vector<int>{100, 5, 20, 255, 100})[i], out[i]);
  const Zop32s wide[2] = {0, 100}, low[2] = {0, 50};
  ASSERT_EQ(zopStatusOk, zopiLUT_Linear_8u_C1R(bytes, 5, out, 5, {5, 1}, low, wide, 2));
  for (int i = 0; i < 5; ++i) EXPECT_EQ((std::vector<int>{0, 0, 0, 255, 0})[i], out[i]);

  // Points of a polynomial of third degree give it back.
  const auto polynomial = [](double x) { return ((0.5 * x - 2) * x + 1) * x + 3; };
  std::vector<Zop32f> abscissae, ordinates, numbers, made(101);
  for (const float x : {-3.0f, -2.0f, -0.5f, 1.0f, 2.0f, 4.5f, 5.0f}) {
    abscissae.push_back(x);
    ordinates.push_back(static_cast<Zop32f>(polynomial(x)));
  }
  for (int i = 0; i <= 100; ++i) numbers.push_back(-3.0f + 0.07f * static_cast<float>(i));
  ASSERT_EQ(zopStatusOk, zopiLUT_Cubic_32f_C1R(numbers.data(), 404, made.data(), 404, {101, 1},
                                               ordinates.data(), abscissae.data(), 7));
  for (int i = 0; i <= 100; ++i) EXPECT_NEAR(polynomial(numbers[i]), made[i], 1e-4) << numbers[i];
}

TEST(CurvesByHand, ChecksOfSeveralChannelsGoFromChannelToChannel) {
  Zop8u pixel[4] = {};
  Zop32s points[2] = {0, 1};
  const Zop32s *all[4] = {points, points, points, points}, *lacking[4] = {points, points, nullptr, points};
  const int good[4] = {2, 2, 2, 2}, bad[4] = {2, 1, 2, 2}, badAlpha[4] = {2, 2, 2, 0};
  EXPECT_EQ(zopStatusNullPointer, zopiLUT_8u_C4R(pixel, 0, nullptr, 0, {0, 0}, all, all, bad));
  EXPECT_EQ(zopStatusBadLutLevels, zopiLUT_8u_C4R(pixel, 0, pixel, 0, {0, 0}, all, lacking, bad));
  EXPECT_EQ(zopStatusNullPointer, zopiLUT_8u_C4R(pixel, 0, pixel, 0, {0, 0}, lacking, all, good));
  EXPECT_EQ(zopStatusBadLutLevels, zopiLUT_8u_C4R(pixel, 4, pixel, 4, {1, 1}, all, all, badAlpha));
  EXPECT_EQ(zopStatusOk, zopiLUT_8u_AC4R(pixel, 4, pixel, 4, {1, 1}, all, all, badAlpha));
  EXPECT_EQ(zopStatusBadSize, zopiLUT_Cubic_8u_C1R(pixel, 0, pixel, 4, {0, 1}, points, points, 1));
  EXPECT_EQ(zopStatusBadLutLevels, zopiLUT_Linear_8u_C1R(pixel, 4, pixel, 4, {1, 1}, points, points, 1));
}

}  // namespace
