// Moments against sums in the stated order, and what is made of them against the definitions.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;
using Block = std::array<double, 16>;

struct State {
  ZopMomentState* numbers = nullptr;
  ZopMomentState* integers = nullptr;

  State() {
    EXPECT_EQ(zopStatusOk, zopiMomentInitAlloc_64f(&numbers, 0));
    EXPECT_EQ(zopStatusOk, zopiMomentInitAlloc_64s(&integers, 7));
  }
  ~State() {
    EXPECT_EQ(zopStatusOk, zopiMomentFree_64f(numbers));
    EXPECT_EQ(zopStatusOk, zopiMomentFree_64s(integers));
  }
};

template <class T>
Block momentsOf(const Call& call, int channel) {
  Block block = {};
  for (int y = 0; y < call.size.height; ++y) {
    double row[4] = {};
    for (int x = 0; x < call.size.width; ++x) {
      const double f = call.sources[0].get<T>(x, y, channel), dx = x;
      row[0] += f;
      row[1] += dx * f;
      row[2] += dx * dx * f;
      row[3] += dx * dx * dx * f;
    }
    const double weights[4] = {1.0, double(y), double(y) * y, double(y) * y * y};
    for (int n = 0; n < 4; ++n) {
      for (int m = 0; m + n < 4; ++m) block[4 * n + m] += row[m] * weights[n];
    }
  }
  return block;
}

bool same(double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); }

Zop64s saturated(double value) {
  if (value >= 0x1p63) return std::numeric_limits<Zop64s>::max();
  return static_cast<Zop64s>(std::nearbyint(value));
}

template <class T>
void compare(const registry::Function& f, const std::vector<sweep::Shape>& shapes) {
  const State state;
  const bool integers = std::string(f.name).find("64s") != std::string::npos;
  const int colours = f.sourceLayout == std::string("C1") ? 1 : 3;
  for (const sweep::Shape& shape : shapes) {
    std::vector<Block> expected;
    sweep::Options options;
    options.parameters = {{integers ? state.integers : state.numbers}};
    sweep::run(f, options,
               [&](const Call& call) {
                 for (int c = 0; c < colours; ++c) expected.push_back(momentsOf<T>(call, c));
                 return zopStatusOk;
               },
               {shape});
    for (int c = 0; c < colours; ++c) {
      for (int n = 0; n < 4; ++n) {
        for (int m = 0; m + n < 4; ++m) {
          const double moment = expected[c][4 * n + m];
          Zop64f number = 0;
          Zop64s integer = 0;
          if (integers) {
            ASSERT_EQ(zopStatusOk, zopiGetSpatialMoment_64s(state.integers, m, n, c, {0, 0}, &integer, 0));
            ASSERT_EQ(saturated(static_cast<double>(saturated(moment))), integer)
                << f.name << " on " << shape.width << ": " << m << ", " << n;
          } else {
            ASSERT_EQ(zopStatusOk, zopiGetSpatialMoment_64f(state.numbers, m, n, c, {0, 0}, &number));
            ASSERT_TRUE(same(moment, number)) << f.name << " on " << shape.width << ": " << m << ", " << n
                                              << ": " << number << ", not " << moment;
          }
        }
      }
    }
  }
}

TEST(Moments, EqualSumsInTheStatedOrder) {
  sweep::onEveryTarget([] {
    for (const char* operation : {"Moments64f", "Moments64s"}) {
      for (const registry::Function* f : sweep::functionsOf(operation)) {
        auto shapes = sweep::shapes(*f);
        // Rows that are too wide for exact sums, and more rows than are taken together.
        for (const sweep::Shape more :
             {sweep::Shape{3447, 2, 0, {}}, {3448, 2, 1, {}}, {20000, 2, 4, {}}, {70, 200, 3, {}}})
          shapes.push_back(more);
        if (f->sourceType == std::string("8u"))
          compare<Zop8u>(*f, shapes);
        else
          compare<Zop32f>(*f, shapes);
        if (HasFailure()) return;
      }
    }
  });
}

// White rows, whose sums are the largest there are.
TEST(Moments, OfWhiteImages) {
  const State state;
  for (const int width : {31, 32, 1024, 1025, 3447, 3448, 6000}) {
    const std::vector<Zop8u> white(2 * width, 255);
    ASSERT_EQ(zopStatusOk, zopiMoments64s_8u_C1R(white.data(), width, {width, 2}, state.integers));
    for (int m = 0; m < 4; ++m) {
      std::int64_t sum = 0;
      for (std::int64_t x = 0; x < width; ++x)
        sum += 2 * 255 * (m == 0 ? 1 : m == 1 ? x : m == 2 ? x * x : x * x * x);
      Zop64s moment;
      ASSERT_EQ(zopStatusOk, zopiGetSpatialMoment_64s(state.integers, m, 0, 0, {0, 0}, &moment, 0));
      if (width <= 3447)
        EXPECT_EQ(sum, moment) << width << ", order " << m;
      else
        EXPECT_NEAR(1.0, static_cast<double>(moment) / static_cast<double>(sum), 1e-12) << width;
    }
  }
}

// A small picture of positive numbers and its moments about any point, by their definition.
struct Picture {
  static constexpr int kWidth = 9, kHeight = 7;
  std::vector<Zop32f> samples;

  explicit Picture(bool mirrored = false, bool turned = false, float scale = 1.0f) {
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const int u = mirrored ? kWidth - 1 - x
                      : turned ? kWidth - 1 - x
                               : x,
                  v = turned ? kHeight - 1 - y : y;
        samples.push_back(scale * (1.0f + 0.25f * static_cast<float>((u * u * 3 + v * 5 + u * v) % 11)));
      }
    }
  }
  long double about(long double cx, long double cy, int m, int n) const {
    long double sum = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x)
        sum += std::pow(x - cx, m) * std::pow(y - cy, n) * samples[y * kWidth + x];
    }
    return sum;
  }
  void into(ZopMomentState* state) const {
    ASSERT_EQ(zopStatusOk, zopiMoments64f_32f_C1R(samples.data(), 4 * kWidth, {kWidth, kHeight}, state));
  }
};

void expectClose(long double expected, double actual, const std::string& what) {
  EXPECT_NEAR(static_cast<double>(expected), actual, 1e-9 * (1 + std::fabs(static_cast<double>(expected))))
      << what;
}

TEST(MomentsOfOrders, EqualTheirDefinitions) {
  const State state;
  const Picture picture;
  picture.into(state.numbers);
  const long double m00 = picture.about(0, 0, 0, 0);
  const long double xc = picture.about(0, 0, 1, 0) / m00, yc = picture.about(0, 0, 0, 1) / m00;
  for (int m = 0; m < 4; ++m) {
    for (int n = 0; m + n < 4; ++n) {
      const std::string what = std::to_string(m) + ", " + std::to_string(n);
      const long double norm = std::pow(m00, -0.5L * (m + n + 2));
      double value = 0;
      for (const ZopImagePoint offset : {ZopImagePoint{0, 0}, {3, 0}, {0, -5}, {-4, 100}}) {
        const long double expected = picture.about(-offset.x, -offset.y, m, n);
        ASSERT_EQ(zopStatusOk, zopiGetSpatialMoment_64f(state.numbers, m, n, 0, offset, &value));
        expectClose(expected, value, what);
        ASSERT_EQ(zopStatusOk, zopiGetNormalizedSpatialMoment_64f(state.numbers, m, n, 0, offset, &value));
        expectClose(expected * norm, value, what);
      }
      const long double central = m + n == 1 ? 0 : picture.about(xc, yc, m, n);
      ASSERT_EQ(zopStatusOk, zopiGetCentralMoment_64f(state.numbers, m, n, 0, &value));
      expectClose(central, value, what);
      ASSERT_EQ(zopStatusOk, zopiGetNormalizedCentralMoment_64f(state.numbers, m, n, 0, &value));
      expectClose(central * norm, value, what);
    }
  }
}

TEST(MomentsOfOrders, InvariantsAreHus) {
  const State state;
  const Picture picture;
  const auto invariants = [&](const Picture& of) {
    of.into(state.numbers);
    std::array<double, 7> hu;
    EXPECT_EQ(zopStatusOk, zopiGetHuMoments_64f(state.numbers, 0, hu.data()));
    return hu;
  };
  // From complex moments: these are the combinations that a turn by any angle leaves alone.
  picture.into(state.numbers);
  const auto eta = [&](int m, int n) {
    double value;
    EXPECT_EQ(zopStatusOk, zopiGetNormalizedCentralMoment_64f(state.numbers, m, n, 0, &value));
    return value;
  };
  const double n20 = eta(2, 0), n11 = eta(1, 1), n02 = eta(0, 2);
  const double n30 = eta(3, 0), n21 = eta(2, 1), n12 = eta(1, 2), n03 = eta(0, 3);
  const double re2 = n20 - n02, im2 = 2 * n11;            // c20
  const double re3 = n30 - 3 * n12, im3 = 3 * n21 - n03;  // c30
  const double re1 = n30 + n12, im1 = n21 + n03;          // c21
  const double cubeRe = re1 * re1 * re1 - 3 * re1 * im1 * im1, cubeIm = 3 * re1 * re1 * im1 - im1 * im1 * im1;
  const double expected[7] = {n20 + n02,
                              re2 * re2 + im2 * im2,
                              re3 * re3 + im3 * im3,
                              re1 * re1 + im1 * im1,
                              re3 * cubeRe + im3 * cubeIm,  // Re(c30 conj(c21)^3)
                              re2 * (re1 * re1 - im1 * im1) + im2 * 2 * re1 * im1,
                              im3 * cubeRe - re3 * cubeIm};  // Im of the same
  const auto hu = invariants(picture), mirrored = invariants(Picture(true)),
             turned = invariants(Picture(false, true));
  for (int i = 0; i < 7; ++i) {
    const double tolerance = 1e-9 * std::fabs(expected[i]) + 1e-20;
    EXPECT_NE(0.0, expected[i]) << i;
    EXPECT_NEAR(expected[i], hu[i], tolerance) << i;
    EXPECT_NEAR(expected[i], turned[i], tolerance) << i;
    EXPECT_NEAR(i == 6 ? -expected[i] : expected[i], mirrored[i], tolerance) << i;
  }
}

TEST(MomentsAsIntegers, ScaledRoundedAndSaturated) {
  const State state;
  const Zop8u pixels[5] = {1, 2, 3, 4, 5};  // m00 = 15, m10 = 40, m20 = 130
  ASSERT_EQ(zopStatusOk, zopiMoments64s_8u_C1R(pixels, 5, {5, 1}, state.integers));
  const auto spatial = [&](int m, int scale) {
    Zop64s value = 0;
    EXPECT_EQ(zopStatusOk, zopiGetSpatialMoment_64s(state.integers, m, 0, 0, {0, 0}, &value, scale));
    return value;
  };
  EXPECT_EQ(15, spatial(0, 0));
  EXPECT_EQ(8, spatial(0, 1));  // 7.5 to the even neighbour
  EXPECT_EQ(2, spatial(1, 4));  // 2.5
  EXPECT_EQ(60, spatial(0, -2));
  EXPECT_EQ(0, spatial(0, std::numeric_limits<int>::max()));
  EXPECT_EQ(std::numeric_limits<Zop64s>::max(), spatial(0, std::numeric_limits<int>::min()));
  Zop64s value = 0, hu[7];
  ASSERT_EQ(zopStatusOk, zopiGetCentralMoment_64s(state.integers, 2, 0, 0, &value, -1));
  EXPECT_EQ(47, value);  // 130 - 40 * 40 / 15 = 23.33
  ASSERT_EQ(zopStatusOk, zopiGetNormalizedCentralMoment_64s(state.integers, 2, 0, 0, &value, -10));
  EXPECT_EQ(106, value);  // 23.33 / 225 * 1024 = 106.19
  ASSERT_EQ(zopStatusOk, zopiGetNormalizedSpatialMoment_64s(state.integers, 0, 0, 0, {7, 7}, &value, 0));
  EXPECT_EQ(1, value);
  ASSERT_EQ(zopStatusOk, zopiGetHuMoments_64s(state.integers, 0, hu, -10));
  EXPECT_EQ(106, hu[0]);
}

TEST(MomentStates, AreToldApart) {
  const State state;
  Zop64f value = 5, hu[7];
  Zop64s integer;
  const Zop8u black[12] = {};
  EXPECT_EQ(zopStatusNullPointer, zopiMomentInitAlloc_64f(nullptr, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiMomentFree_64s(nullptr));
  EXPECT_EQ(zopStatusBadContext, zopiMomentFree_64s(state.numbers));
  // Nothing was computed yet.
  EXPECT_EQ(zopStatusBadMomentChannel, zopiGetSpatialMoment_64f(state.numbers, 0, 0, 0, {0, 0}, &value));
  EXPECT_EQ(zopStatusBadSize, zopiGetSpatialMoment_64f(state.numbers, 2, 2, 0, {0, 0}, &value));
  EXPECT_EQ(zopStatusBadSize, zopiGetSpatialMoment_64f(state.numbers, -1, 2, 0, {0, 0}, &value));
  EXPECT_EQ(zopStatusBadContext, zopiGetSpatialMoment_64s(state.numbers, 2, 2, 0, {0, 0}, &integer, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiGetHuMoments_64s(state.numbers, 0, nullptr, 0));

  EXPECT_EQ(zopStatusBadContext, zopiMoments64s_8u_C1R(black, 0, {0, 0}, state.numbers));
  EXPECT_EQ(zopStatusBadStep, zopiMoments64s_8u_C1R(black, 0, {0, 0}, state.integers));
  EXPECT_EQ(zopStatusBadSize, zopiMoments64f_8u_C3R(black, 1, {4, 0}, state.numbers));
  EXPECT_EQ(zopStatusBadStride, zopiMoments64f_8u_C3R(black, 11, {4, 1}, state.numbers));
  EXPECT_EQ(zopStatusBadStride,
            zopiMoments64f_8u_C1R(black, 11, {std::numeric_limits<int>::max(), 1}, state.numbers));
  EXPECT_EQ(zopStatusBadMomentChannel, zopiGetHuMoments_64f(state.numbers, 0, hu));

  // Black images have no centre.
  ASSERT_EQ(zopStatusOk, zopiMoments64f_8u_AC4R(black, 12, {3, 1}, state.numbers));
  EXPECT_EQ(zopStatusBadMoment00, zopiGetCentralMoment_64f(state.numbers, 0, 0, 2, &value));
  EXPECT_EQ(zopStatusBadMoment00, zopiGetNormalizedSpatialMoment_64f(state.numbers, 1, 0, 2, {1, 1}, &value));
  EXPECT_EQ(zopStatusBadMoment00, zopiGetHuMoments_64f(state.numbers, 1, hu));
  EXPECT_EQ(zopStatusBadMomentChannel, zopiGetCentralMoment_64f(state.numbers, 0, 0, 3, &value));
  EXPECT_EQ(5, value);
  EXPECT_EQ(zopStatusOk, zopiGetSpatialMoment_64f(state.numbers, 3, 0, 2, {1, 1}, &value));
  EXPECT_EQ(0, value);
}

}  // namespace
