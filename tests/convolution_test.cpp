// Convolutions against plain sums: those that are summed up as they stand, bit by bit, those through
// transforms, within a bound.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "support/sweep.h"
#include "support/two_images.h"
#include "zopi.h"

namespace {

using two_images::Call;
using two_images::Channel;
using two_images::Picture;

enum class Route { kAsTheyStand, kFilter, kFilterRows, kTransform };

// The images of a call in their order, and where its results lie in the full convolution.
struct Ordered {
  Channel large, small;
  int left, top;
};
Ordered ordered(Call& call, bool full, int c) {
  const ZopImageSize a = call.a.size(), b = call.b.size();
  const bool swapped = a.width < b.width || (!full && a.height < b.height);
  Picture &large = swapped ? call.b : call.a, &small = swapped ? call.a : call.b;
  return {{large, c}, {small, c}, full ? 0 : small.size().width - 1, full ? 0 : small.size().height - 1};
}

// Goes through the products of a result, row by row of the small image, from its first or its last one.
template <class F>
void forProducts(const Ordered& o, int x, int y, bool lastRowFirst, bool lastColumnFirst, const F& f) {
  const ZopImageSize large = o.large.size, small = o.small.size;
  for (int r = 0; r < small.height; ++r) {
    const int j = lastRowFirst ? small.height - 1 - r : r, from = y + o.top - j;
    if (from < 0 || from >= large.height) continue;
    for (int s = 0; s < small.width; ++s) {
      const int i = lastColumnFirst ? small.width - 1 - s : s, at = x + o.left - i;
      if (at >= 0 && at < large.width) f(j, o.small.at(i, j), o.large.at(at, from));
    }
  }
}

double exactSum(const Ordered& o, int x, int y) {
  double sum = 0;
  forProducts(o, x, y, false, false, [&](int, double b, double a) { sum += a * b; });
  return sum;
}
std::int32_t wrappedSum(const Ordered& o, int x, int y) {
  std::uint32_t sum = 0;
  forProducts(o, x, y, false, false, [&](int, double b, double a) {
    sum += static_cast<std::uint32_t>(static_cast<std::int64_t>(a * b));
  });
  return static_cast<std::int32_t>(sum);
}

struct Range {
  double least, greatest;
  double held(double v) const { return std::min(std::max(v, least), greatest); }
};
Range rangeOf(const std::string& type) { return type == "8u" ? Range{0, 255} : Range{-32768, 32767}; }

float reciprocal(int divisor) { return static_cast<float>(1.0 / divisor); }

// Sums as they stand, one addition at a time in single precision, or in integers.
double asTheyStand(const Ordered& o, const std::string& type, int x, int y, int divisor) {
  if (type == "32f") {
    float sum = 0;
    forProducts(o, x, y, false, false,
                [&](int, double b, double a) { sum = static_cast<float>(sum + a * b); });
    return sum;
  }
  const Range range = rangeOf(type);
  const double v = wrappedSum(o, x, y) * double{reciprocal(divisor)};
  return v > range.greatest ? range.greatest : v <= range.least ? range.least : std::trunc(v + 0.5);
}

double filtered(const Ordered& o, const std::string& type, int x, int y, int divisor) {
  double sum = 0;
  const float f = reciprocal(divisor);
  forProducts(o, x, y, true, true, [&](int, double b, double a) {
    sum += a * (type == "16s" ? double{static_cast<float>(b) * f} : b);
  });
  if (type == "32f") return static_cast<float>(sum);
  const Range range = rangeOf(type);
  if (type == "16s") return range.held(std::nearbyint(sum));
  if (divisor == 1) return range.held(sum);
  const bool isPower = divisor > 0 && (divisor & (divisor - 1)) == 0;
  if (isPower) return sum < 1 ? 0 : range.held(std::floor((sum + 1) / divisor));
  return range.held(std::nearbyint(sum * f));
}

double filteredByRows(const Ordered& o, const std::string& type, int x, int y, int divisor) {
  double product = 0;
  float sum = 0;
  int row = o.small.size.height - 1;
  forProducts(o, x, y, true, true, [&](int j, double b, double a) {
    if (j != row) {
      sum += static_cast<float>(product);
      product = 0;
      row = j;
    }
    product += a * b;
  });
  sum += static_cast<float>(product);
  return type == "32f" ? double{sum} : rangeOf(type).held(std::nearbyint(sum * double{reciprocal(divisor)}));
}

void expectResults(Call& call, bool full, Route route, int divisor) {
  const std::string type = call.function.sourceType;
  const Range range = rangeOf(type);
  for (int c = 0; c < call.out.colours(); ++c) {
    const Ordered o = ordered(call, full, c);
    const double bound = two_images::transformBound(o.large.energy(), o.small.energy());
    for (int y = 0; y < call.out.size().height; ++y) {
      for (int x = 0; x < call.out.size().width; ++x) {
        const double got = call.out.get(x, y, c);
        if (route == Route::kTransform) {
          const double sum = exactSum(o, x, y), f = reciprocal(divisor);
          if (type == "32f") {
            ASSERT_NEAR(sum, got, bound + 1e-7 * std::abs(sum))
                << call.function.name << " at " << x << ", " << y;
          } else {
            const double off = bound * std::abs(f) + 1e-7 * std::abs(sum * f);
            ASSERT_GE(got, range.held(std::nearbyint(sum * f - off))) << call.function.name;
            ASSERT_LE(got, range.held(std::nearbyint(sum * f + off))) << call.function.name;
          }
        } else {
          const auto reference = route == Route::kAsTheyStand ? asTheyStand
                                 : route == Route::kFilter    ? filtered
                                                              : filteredByRows;
          ASSERT_EQ(reference(o, type, x, y, divisor), got)
              << call.function.name << " at " << x << ", " << y << ", channel " << c;
        }
      }
    }
  }
}

struct Case {
  ZopImageSize a, b;
  Route route;
};

// A channel that is much larger than the others must not be seen in them.
void fillWithNoise(Call& call, std::mt19937& random) {
  const std::string type = call.function.sourceType;
  std::uniform_int_distribution<int> integers(type == "8u" ? 0 : -300, type == "8u" ? 255 : 300);
  std::uniform_real_distribution<float> numbers(-1, 1);
  for (Picture* picture : {&call.a, &call.b}) {
    picture->fill([&] { return type == "32f" ? double{numbers(random)} : integers(random); });
    for (int y = 0; type == "32f" && call.out.colours() > 1 && y < picture->size().height; ++y) {
      for (int x = 0; x < picture->size().width; ++x) picture->set(x, y, 1, 1e15 * picture->get(x, y, 1));
    }
  }
}

void compare(const char* operation, const std::vector<Case>& cases) {
  const bool full = std::string(operation) == "ConvFull";
  sweep::onEveryTargetAndTeam([&](bool) {
    std::mt19937 random(1);
    for (const registry::Function* function : sweep::functionsOf(operation)) {
      const bool numbers = std::string(function->sourceType) == "32f";
      for (const Case& one : cases) {
        const int w = full ? one.a.width + one.b.width - 1 : std::abs(one.a.width - one.b.width) + 1,
                  h = full ? one.a.height + one.b.height - 1 : std::abs(one.a.height - one.b.height) + 1;
        Call call(*function, one.a, one.b, {w, h}, random);
        fillWithNoise(call, random);
        const int area = std::min(one.a.width * one.a.height, one.b.width * one.b.height);
        for (const int divisor : {area * 200, 1, 4, -7}) {
          ASSERT_EQ(zopStatusOk, call.run(divisor)) << function->name;
          ASSERT_NO_FATAL_FAILURE(expectResults(call, full, one.route, numbers ? 1 : divisor))
              << one.a.width << "x" << one.a.height << ", " << one.b.width << "x" << one.b.height;
          if (numbers) break;
        }
      }
    }
  });
}

TEST(Convolution, FullAsItStands) {
  compare("ConvFull", {{{1, 1}, {1, 1}, Route::kAsTheyStand},
                       {{5, 3}, {2, 4}, Route::kAsTheyStand},
                       {{2, 9}, {7, 3}, Route::kAsTheyStand},
                       {{61, 2}, {9, 7}, Route::kAsTheyStand},
                       {{70, 23}, {3, 5}, Route::kAsTheyStand},
                       {{43, 37}, {11, 10}, Route::kAsTheyStand},    // 110 weights are too few
                       {{30, 30}, {11, 11}, Route::kAsTheyStand},    // 1600 results are too few
                       {{31, 31}, {11, 11}, Route::kAsTheyStand}});  // 1681
}

TEST(Convolution, FullThroughTransforms) {
  compare("ConvFull",
          {{{32, 31}, {11, 11}, Route::kTransform},  // 1722 results; 992 pixels are more than 7 * 121
           {{28, 30}, {11, 11}, Route::kAsTheyStand},
           {{35, 40}, {20, 10}, Route::kTransform},   // as a whole: 7 * 200 pixels
           {{12, 60}, {70, 11}, Route::kTransform},   // swapped
           {{130, 21}, {11, 11}, Route::kTransform},  // several tiles across
           {{13, 150}, {11, 12}, Route::kTransform}});
}

TEST(Convolution, ValidByFilters) {
  compare("ConvValid", {{{1, 1}, {1, 1}, Route::kFilter},
                        {{19, 12}, {4, 3}, Route::kFilter},
                        {{3, 8}, {40, 15}, Route::kFilter},
                        {{5, 4}, {5, 9}, Route::kFilter},  // swapped for its height
                        {{50, 30}, {12, 10}, Route::kFilter}});
}

TEST(Convolution, ValidByRows) {
  compare("ConvValid", {{{11, 11}, {11, 11}, Route::kFilterRows},
                        {{20, 18}, {11, 11}, Route::kFilterRows},  // 80 places
                        {{12, 40}, {9, 39}, Route::kFilterRows},
                        {{140, 3}, {137, 2}, Route::kFilterRows}});
}

TEST(Convolution, ValidThroughTransforms) {
  compare("ConvValid", {{{19, 19}, {11, 11}, Route::kTransform},  // 81 places
                        {{61, 27}, {13, 10}, Route::kTransform},
                        {{11, 12}, {130, 47}, Route::kTransform},
                        {{12, 640}, {3, 610}, Route::kTransform},  // tiles of 2048 rows, or columns of 4096
                        {{1130, 12}, {1100, 3}, Route::kTransform}});
}

// A pixel that is no number tells how far a route carries it: to its neighbours, over a tile, or everywhere.
int touched(const char* name, ZopImageSize a, ZopImageSize b) {
  std::mt19937 random(2);
  const bool full = std::string(name).starts_with("zopiConvFull");
  const ZopImageSize out = full ? ZopImageSize{a.width + b.width - 1, a.height + b.height - 1}
                                : ZopImageSize{a.width - b.width + 1, a.height - b.height + 1};
  for (const registry::Function& function : registry::functions()) {
    if (name != std::string(function.name)) continue;
    Call call(function, a, b, out, random);
    call.a.fill([] { return 1.0; });
    call.b.fill([] { return 1.0; });
    call.a.set(a.width / 2, a.height / 2, 0, std::numeric_limits<double>::infinity());
    EXPECT_EQ(zopStatusOk, call.run());
    int count = 0;
    for (int y = 0; y < out.height; ++y) {
      for (int x = 0; x < out.width; ++x) count += !std::isfinite(call.out.get(x, y, 0));
    }
    return count;
  }
  ADD_FAILURE() << name;
  return 0;
}

TEST(Convolution, RoutesChangeAtTheirBounds) {
  const char *full = "zopiConvFull_32f_C1R", *valid = "zopiConvValid_32f_C1R";
  EXPECT_EQ(121, touched(full, {31, 31}, {11, 11}));      // 41 * 41 = 1681 < 1705
  EXPECT_LT(121, touched(full, {21, 45}, {11, 11}));      // 31 * 55 = 1705
  EXPECT_EQ(120, touched(full, {100, 100}, {12, 10}));    // 120 weights
  EXPECT_EQ(42 * 41, touched(full, {32, 31}, {11, 11}));  // a whole
  const int whole = touched(full, {77, 11}, {11, 11}), tiles = touched(full, {78, 11}, {11, 11});
  EXPECT_EQ(87 * 21, whole);  // 847 = 7 * 121
  EXPECT_LT(tiles, 88 * 21);
  EXPECT_GT(tiles, 121);
  EXPECT_EQ(120, touched(valid, {100, 100}, {12, 10}));
  EXPECT_EQ(11, touched(valid, {90, 11}, {11, 11}));  // 80 places
  EXPECT_LT(11, touched(valid, {91, 11}, {11, 11}));
}

TEST(Convolution, ImagesThatDoNotFit) {
  Zop8u a[64] = {}, b[64] = {}, out[64] = {7};
  EXPECT_EQ(zopStatusBadSize, zopiConvValid_8u_C1R(a, 5, {5, 9}, b, 9, {9, 5}, out, 8, 1));
  EXPECT_EQ(zopStatusZeroDivisor, zopiConvValid_8u_C1R(a, 5, {5, 9}, b, 9, {9, 5}, out, 8, 0));
  EXPECT_EQ(zopStatusBadStep, zopiConvValid_8u_C1R(a, 5, {5, 9}, b, 0, {9, 5}, out, 8, 0));
  EXPECT_EQ(7, out[0]);
}

// Sums of words leave 32 bits.
TEST(Convolution, SumsOfIntegersWrap) {
  const Zop16s a[2] = {-32768, -32768}, b[2] = {-32768, -32768};
  Zop16s out[3] = {};
  EXPECT_EQ(zopStatusOk, zopiConvFull_16s_C1R(a, 4, {2, 1}, b, 4, {2, 1}, out, 6, 65536));
  EXPECT_EQ(16384, out[0]);
  EXPECT_EQ(-32768, out[1]);
  EXPECT_EQ(16384, out[2]);
}

// Halves go up from below zero, too, but not at the lowest word.
TEST(Convolution, WordsAreTruncatedAfterOneHalf) {
  const Zop16s a[6] = {1, -1, 3, -3, 7, -7}, two = 2, lowest = -32768;
  Zop16s out[6] = {};
  EXPECT_EQ(zopStatusOk, zopiConvFull_16s_C1R(a, 12, {6, 1}, &two, 2, {1, 1}, out, 12, 4));
  const Zop16s expected[6] = {1, 0, 2, -1, 4, -3};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(expected[i], out[i]) << i;
  EXPECT_EQ(zopStatusOk, zopiConvFull_16s_C1R(&lowest, 2, {1, 1}, a, 2, {1, 1}, out, 2, 1));
  EXPECT_EQ(-32768, out[0]);
}

}  // namespace
