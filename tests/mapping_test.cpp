// The arithmetic of mappings, and warps against the mappings that they follow.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <tuple>
#include <vector>

#include "zopi.h"

namespace {

using Quad = double[4][2];

constexpr ZopImageRect kRect = {2, 3, 20, 11};
constexpr double kCorners[4][2] = {{2, 3}, {21, 3}, {21, 13}, {2, 13}};
constexpr Quad kParallelogram = {{3, 4}, {25, 7}, {29, 27}, {7, 24}},
               kTrapezium = {{4, 3}, {30, 3}, {25, 22}, {9, 22}},
               kAny = {{2.5, 3.25}, {31, 6}, {26, 24.5}, {5, 19}}, kBowTie = {{0, 0}, {9, 9}, {9, 0}, {0, 9}},
               kTriangle = {{0, 0}, {9, 0}, {9, 0}, {0, 9}};

void expectNear(const Quad& a, const Quad& b, double by) {
  for (int i = 0; i < 4; ++i) {
    EXPECT_NEAR(a[i][0], b[i][0], by) << "corner " << i;
    EXPECT_NEAR(a[i][1], b[i][1], by) << "corner " << i;
  }
}

TEST(Mapping, TransformsTakeRectanglesToTheirQuads) {
  Quad quad;
  double affine[2][3], perspective[3][3], bilinear[2][4];
  ASSERT_EQ(zopStatusOk, zopiGetAffineTransform(kRect, kParallelogram, affine));
  ASSERT_EQ(zopStatusOk, zopiGetAffineQuad(kRect, quad, affine));
  expectNear(kParallelogram, quad, 1e-12);
  for (const Quad& q : {std::cref(kParallelogram), std::cref(kTrapezium), std::cref(kAny)}) {
    ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(kRect, q, perspective));
    ASSERT_EQ(zopStatusOk, zopiGetPerspectiveQuad(kRect, quad, perspective));
    expectNear(q, quad, 1e-12);
    ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform(kRect, q, bilinear));
    ASSERT_EQ(zopStatusOk, zopiGetBilinearQuad(kRect, quad, bilinear));
    expectNear(q, quad, 1e-12);
    double bound[2][2];
    ASSERT_EQ(zopStatusOk, zopiGetBilinearBound(kRect, bound, bilinear));
    for (int axis = 0; axis < 2; ++axis) {
      EXPECT_EQ(bound[0][axis], std::min({quad[0][axis], quad[1][axis], quad[2][axis], quad[3][axis]}));
      EXPECT_EQ(bound[1][axis], std::max({quad[0][axis], quad[1][axis], quad[2][axis], quad[3][axis]}));
    }
  }
}

// The rectangle comes first, then the shape of the quad, then the rectangle's sides.
TEST(Mapping, Statuses) {
  double affine[2][3], perspective[3][3], bilinear[2][4];
  Quad quad;
  const ZopImageRect pixel = {4, 5, 1, 1}, nothing = {0, 0, 0, 1};
  for (const auto& [rect, q, status] :
       {std::tuple(nothing, &kBowTie, zopStatusBadSize), std::tuple(pixel, &kBowTie, zopStatusBadQuad),
        std::tuple(pixel, &kTriangle, zopStatusBadQuad),
        std::tuple(pixel, &kParallelogram, zopStatusBadRect)}) {
    EXPECT_EQ(status, zopiGetAffineTransform(rect, *q, affine));
    EXPECT_EQ(status, zopiGetPerspectiveTransform(rect, *q, perspective));
    EXPECT_EQ(status, zopiGetBilinearTransform(rect, *q, bilinear));
  }
  EXPECT_EQ(zopStatusBadQuad, zopiGetAffineTransform(pixel, kTrapezium, affine));
  // Edges that are parallel may differ in length, where only two of the four are.
  ASSERT_EQ(zopStatusOk, zopiGetRotateQuad(pixel, quad, 33, 1, 2));
  for (const auto& corner : quad) EXPECT_EQ(0, std::memcmp(corner, quad[0], sizeof quad[0]));
}

TEST(Mapping, QuarterTurnsAreExact) {
  for (const double angle : {90.0, 450.0, -270.0}) {
    Quad quad;
    ASSERT_EQ(zopStatusOk, zopiGetRotateQuad(kRect, quad, angle, 0.5, 0.25));
    const Quad expected = {{3.5, -1.75}, {3.5, -20.75}, {13.5, -20.75}, {13.5, -1.75}};
    expectNear(expected, quad, 0);
  }
  double x = 7, y = 7;
  EXPECT_EQ(zopStatusOk, zopiGetRotateShift(3, 4, 0, &x, &y));
  EXPECT_EQ(0, std::abs(x) + std::abs(y));
  EXPECT_EQ(zopStatusOk, zopiAddRotateShift(3, 4, 180, &x, &y));
  EXPECT_EQ(zopStatusOk, zopiAddRotateShift(3, 4, 270, &x, &y));
  EXPECT_EQ(6 + 7, x);
  EXPECT_EQ(8 + 1, y);
  // The centre stays where it is.
  ASSERT_EQ(zopStatusOk, zopiGetRotateShift(21, 13, 33, &x, &y));
  Quad quad;
  ASSERT_EQ(zopStatusOk, zopiGetRotateQuad(kRect, quad, 33, x, y));
  EXPECT_NEAR(21, quad[2][0], 1e-12);
  EXPECT_NEAR(13, quad[2][1], 1e-12);
  Quad sheared;
  ASSERT_EQ(zopStatusOk, zopiGetShearQuad(kRect, sheared, 0.5, -2, 1, 3));
  const Quad expected = {{4.5, 2}, {23.5, -36}, {28.5, -26}, {9.5, 12}};
  expectNear(expected, sheared, 0);
}

// An image of coordinates tells where each pixel comes from; from there, the mapping leads back to it.
class Coordinates {
 public:
  static constexpr int kWidth = 40, kHeight = 30, kStep = kWidth * 4;
  static constexpr float kUntouched = -1000;
  std::vector<float> x, y, outX, outY;

  Coordinates() : x(kWidth * kHeight), y(x), outX(x.size(), kUntouched), outY(outX) {
    for (int i = 0; i < kHeight; ++i) {
      for (int j = 0; j < kWidth; ++j) {
        x[i * kWidth + j] = static_cast<float>(j);
        y[i * kWidth + j] = static_cast<float>(i);
      }
    }
  }

  // `warp(from, to)` is called for both coordinates.
  template <class Warp, class Forward>
  void expectPositions(const Warp& warp, const Forward& forward, int least) {
    ASSERT_EQ(zopStatusOk, warp(x.data(), outX.data()));
    ASSERT_EQ(zopStatusOk, warp(y.data(), outY.data()));
    int written = 0;
    for (int i = 0; i < kHeight; ++i) {
      for (int j = 0; j < kWidth; ++j) {
        const double u = outX[i * kWidth + j], v = outY[i * kWidth + j];
        if (u == kUntouched) continue;
        ++written;
        const std::array<double, 2> p = forward(u, v);
        ASSERT_NEAR(j, p[0], 2e-4) << i << ' ' << j;
        ASSERT_NEAR(i, p[1], 2e-4) << i << ' ' << j;
      }
    }
    EXPECT_GE(written, least);
  }
};

constexpr ZopImageSize kSize = {Coordinates::kWidth, Coordinates::kHeight};
constexpr ZopImageRect kAll = {0, 0, kSize.width, kSize.height};

std::array<double, 2> perspectiveAt(const double (&m)[3][3], double x, double y) {
  const auto row = [&](int i) { return m[i][0] * x + m[i][1] * y + m[i][2]; };
  return {row(0) / row(2), row(1) / row(2)};
}
std::array<double, 2> bilinearAt(const double (&m)[2][4], double x, double y) {
  const auto row = [&](int i) { return m[i][0] * x * y + m[i][1] * x + m[i][2] * y + m[i][3]; };
  return {row(0), row(1)};
}

TEST(Mapping, WarpsWriteWhereTheMappingLeads) {
  for (const Quad& q : {std::cref(kParallelogram), std::cref(kTrapezium), std::cref(kAny)}) {
    double perspective[3][3], bilinear[2][4];
    ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(kRect, q, perspective));
    ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform(kRect, q, bilinear));
    const auto forward = [&](double x, double y) { return perspectiveAt(perspective, x, y); };
    const auto bilinearly = [&](double x, double y) { return bilinearAt(bilinear, x, y); };
    Coordinates().expectPositions(
        [&](const float* from, float* to) {
          return zopiWarpPerspective_32f_C1R(from, kSize, Coordinates::kStep, kRect, to, Coordinates::kStep,
                                             kAll, perspective, zopInterLinear);
        },
        forward, 300);
    Coordinates().expectPositions(
        [&](const float* from, float* to) {
          return zopiWarpPerspectiveQuad_32f_C1R(from, kSize, Coordinates::kStep, kAll, kCorners, to,
                                                 Coordinates::kStep, kAll, q, zopInterCubic);
        },
        forward, 300);
    Coordinates().expectPositions(
        [&](const float* from, float* to) {
          return zopiWarpBilinear_32f_C1R(from, kSize, Coordinates::kStep, kRect, to, Coordinates::kStep,
                                          kAll, bilinear, zopInterLinear);
        },
        bilinearly, 300);
  }
}

// Between quads that are both aslant, by way of a square. What of the source's hangs over the region is left
// out.
TEST(Mapping, QuadsGoToQuads) {
  for (const ZopImageRect region : {kAll, ZopImageRect{10, 8, 30, 22}}) {
    double perspective[3][3], there[2][4], back[2][4];
    const ZopImageRect square = {0, 0, 2, 2};
    // From the source's quad on: perspective mappings of quads compose, bilinear ones meet in the square.
    ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform(square, kAny, there));
    ASSERT_EQ(zopStatusOk, zopiGetBilinearTransform(square, kTrapezium, back));
    ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(square, kAny, perspective));
    double source[3][3];
    ASSERT_EQ(zopStatusOk, zopiGetPerspectiveTransform(square, kTrapezium, source));
    const auto inSquare = [](const auto& map, double x, double y) {
      double u = 0.5, v = 0.5;
      for (int i = 0; i < 40; ++i) {
        const double h = 1e-6;
        const auto at = map(u, v), du = map(u + h, v), dv = map(u, v + h);
        const double a = (du[0] - at[0]) / h, b = (dv[0] - at[0]) / h, c = (du[1] - at[1]) / h,
                     d = (dv[1] - at[1]) / h;
        const double det = a * d - b * c, ex = x - at[0], ey = y - at[1];
        u += (d * ex - b * ey) / det;
        v += (a * ey - c * ex) / det;
      }
      return std::array<double, 2>{u, v};
    };
    Coordinates().expectPositions(
        [&](const float* from, float* to) {
          return zopiWarpPerspectiveQuad_32f_C1R(from, kSize, Coordinates::kStep, region, kTrapezium, to,
                                                 Coordinates::kStep, kAll, kAny, zopInterLinear);
        },
        [&](double x, double y) {
          const auto [u, v] = inSquare([&](double s, double t) { return perspectiveAt(source, s, t); }, x, y);
          return perspectiveAt(perspective, u, v);
        },
        region.x == 0 ? 380 : 200);
    Coordinates().expectPositions(
        [&](const float* from, float* to) {
          return zopiWarpBilinearQuad_32f_C1R(from, kSize, Coordinates::kStep, region, kTrapezium, to,
                                              Coordinates::kStep, kAll, kAny, zopInterLinear);
        },
        [&](double x, double y) {
          const auto [u, v] = inSquare([&](double s, double t) { return bilinearAt(back, s, t); }, x, y);
          return bilinearAt(there, u, v);
        },
        region.x == 0 ? 380 : 200);
  }
}

TEST(Mapping, StatusesOfWarps) {
  const std::vector<float> from(1200);
  std::vector<float> to(1200, 7);
  const auto before = to;
  const int step = Coordinates::kStep;
  double identity[2][3] = {{1, 0, 0}, {0, 1, 0}}, bowTie[2][4] = {{-0.1, 1, 0, 0}, {0, 0, 1, 0}};
  double plain[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  EXPECT_EQ(zopStatusOk, zopiWarpAffine_32f_C1R(from.data(), kSize, step, {40, 0, 5, 5}, to.data(), step,
                                                kAll, identity, zopInterLinear));
  EXPECT_EQ(zopStatusBadRect, zopiWarpAffine_32f_C1R(from.data(), kSize, step, {39, 0, 5, 5}, to.data(), step,
                                                     kAll, identity, zopInterLinear));
  EXPECT_EQ(zopStatusBadRect, zopiWarpPerspective_32f_C1R(from.data(), kSize, step, {39, 0, 5, 5}, to.data(),
                                                          step, kAll, plain, zopInterLinear));
  EXPECT_EQ(zopStatusSingularCoefficients, zopiWarpBilinear_32f_C1R(from.data(), kSize, step, kAll, to.data(),
                                                                    step, kAll, bowTie, zopInterLinear));
  EXPECT_EQ(zopStatusNoOperation,
            zopiWarpAffineQuad_32f_C1R(from.data(), kSize, step, {30, 20, 5, 5}, kCorners, to.data(), step,
                                       kAll, kCorners, zopInterLinear));
  const double broken[2][3] = {{NAN, 0, 0}, {0, INFINITY, 0}};
  EXPECT_EQ(zopStatusNoOperation, zopiWarpAffineBack_32f_C1R(from.data(), kSize, step, kAll, to.data(), step,
                                                             kAll, broken, zopInterLinear));
  EXPECT_EQ(before, to);
  // A region of one pixel is one where pixels go back.
  EXPECT_EQ(zopStatusOk, zopiWarpAffineBack_32f_C1R(from.data(), kSize, step, {39, 29, 5, 5}, to.data(), step,
                                                    kAll, identity, zopInterLinear));
  EXPECT_EQ(0, to.back());
}

}  // namespace
