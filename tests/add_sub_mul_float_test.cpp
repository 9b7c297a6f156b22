// Sums, differences and products of numbers against the same in double precision, rounded once.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

Zop32f rounded(double value) { return std::isnan(value) ? sweep::anyNaN() : static_cast<Zop32f>(value); }

ZopStatus reference(const Call& call) {
  const char operation = call.function.operation[0];
  sweep::pixelwise<Zop32f>(call, [&](double a, double b) {
    return rounded(operation == 'A' ? a + b : operation == 'S' ? a - b : a * b);
  });
  return zopStatusOk;
}

ZopStatus complexReference(const Call& call) {
  const char operation = call.function.operation[0];
  sweep::pixelwise<Zop32fc>(call, [&](Zop32fc p, Zop32fc q) {
    const double a = p.re, b = p.im, c = q.re, d = q.im;
    if (operation == 'A') return Zop32fc{rounded(a + c), rounded(b + d)};
    if (operation == 'S') return Zop32fc{rounded(a - c), rounded(b - d)};
    return Zop32fc{rounded(a * c - b * d), rounded(a * d + b * c)};
  });
  return zopStatusOk;
}

class FloatArithmetic : public testing::TestWithParam<const char*> {};

TEST_P(FloatArithmetic, EqualsTheReferenceAtEveryShape) {
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam(), {"32f", "32fc"})) {
      const bool complex = f->sourceType == std::string("32fc");
      sweep::run(*f, {}, complex ? complexReference : reference, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, FloatArithmetic,
                         testing::Values("Add", "Sub", "Mul", "AddC", "SubC", "MulC"),
                         [](const auto& each) { return std::string(each.param); });

// A part of a complex product in which two products nearly cancel: only double precision keeps what is left.
TEST(FloatArithmeticByHand, ComplexProductsDoNotCancelInSinglePrecision) {
  const Zop32fc a[2] = {{1.0f + 0x1p-23f, 1.0f}, {0x1p-149f, 3e38f}};
  const Zop32fc b[2] = {{1.0f - 0x1p-23f, 1.0f}, {0x1p-149f, 3e38f}};
  Zop32fc out[2];
  ASSERT_EQ(zopStatusOk, zopiMul_32fc_C1R(a, sizeof a, b, sizeof b, out, sizeof out, {2, 1}));
  EXPECT_EQ(-0x1p-46f, out[0].re);
  EXPECT_EQ(2.0f, out[0].im);
  EXPECT_EQ(-std::numeric_limits<float>::infinity(), out[1].re);
}

TEST(FloatArithmeticByHand, NothingSaturates) {
  const float infinity = std::numeric_limits<float>::infinity();
  Zop32f image[3] = {0.0f, -1.0f, 3e38f}, one[3] = {1, 1, 1}, three[3] = {3, 3, 3};
  ASSERT_EQ(zopStatusOk, zopiMulC_32f_C1IR(infinity, image, sizeof image, {3, 1}));
  EXPECT_TRUE(std::isnan(image[0]));
  EXPECT_EQ(-infinity, image[1]);
  EXPECT_EQ(infinity, image[2]);
  ASSERT_EQ(zopStatusOk, zopiSub_32f_C1IR(one, sizeof one, three, sizeof three, {3, 1}));
  EXPECT_EQ(2.0f, three[2]);
}

}  // namespace
