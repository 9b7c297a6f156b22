// Squares and square roots: of integers against comparisons of whole numbers, of numbers in double precision.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;
__extension__ typedef unsigned __int128 Exact;

// t * 2^-s, rounded to nearest with ties to even and saturated.
template <class T>
T square(T sample, int s) {
  const Exact t = static_cast<Exact>(std::int64_t{sample} * sample), highest = std::numeric_limits<T>::max();
  if (s <= 0) return static_cast<T>(t == 0 || s < -60 ? (t == 0 ? 0 : highest) : std::min(t << -s, highest));
  if (s > 60) return 0;
  const Exact floor = t >> s, twice = (t - (floor << s)) * 2, unit = Exact{1} << s;
  return static_cast<T>(std::min(floor + (twice > unit || (twice == unit && floor % 2 != 0)), highest));
}

// The number n for which the root times 2^-s lies between n - 1/2 and n + 1/2: with r = 2n + 1, the root is
// above n + 1/2 if 4 x > r^2 4^s.
template <class T>
T root(T sample, int s) {
  if (sample <= 0) return 0;
  const Exact highest = std::numeric_limits<T>::max();
  if (s < -32) return static_cast<T>(highest);
  if (s > 32) return 0;
  Exact x = static_cast<Exact>(sample) * 4, unit = 1;
  (s < 0 ? x : unit) <<= s < 0 ? -2 * s : 2 * s;
  const auto above = [&](Exact n) {  // whether the root rounds to more than n
    const Exact bound = (2 * n + 1) * (2 * n + 1) * unit;
    return x > bound || (x == bound && n % 2 != 0);
  };
  Exact low = 0, high = highest;  // the result lies between
  while (low < high) {
    const Exact middle = (low + high) / 2;
    if (above(middle))
      low = middle + 1;
    else
      high = middle;
  }
  return static_cast<T>(low);
}

template <class T>
ZopStatus reference(const Call& call) {
  const bool roots = call.function.operation == std::string("Sqrt");
  bool negative = false;
  sweep::pixelwise<T>(call, [&](T a, T) {
    if constexpr (std::is_same_v<T, Zop32f>) {
      negative |= roots && a < 0;
      const double result = roots ? std::sqrt(double{a}) : double{a} * a;
      return std::isnan(result) ? sweep::anyNaN() : static_cast<Zop32f>(result);
    } else {
      negative |= roots && a < 0;
      return roots ? root(a, call.scaleFactor()) : square(a, call.scaleFactor());
    }
  });
  return negative ? zopStatusSqrtNegative : zopStatusOk;
}

class Powers : public testing::TestWithParam<const char*> {};

TEST_P(Powers, EqualTheReferenceAtEveryShape) {
  const std::vector<int> scales = {0, 1, 3, 4, 9, -1, -3, -4, -9};
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      // But for C4 forms, rows are whole samples apart: a step keeps what it has beyond them from the
      // reference.
      const int samples = f->sourceLayout == std::string("C4") ? 1 : f->arguments[0].sampleBytes;
      const auto plain = sweep::bySample<Zop8u, Zop16u, Zop16s, Zop32f>(
          *f, [](auto sample) { return reference<decltype(sample)>; });
      int next = 0;
      for (sweep::Shape shape : sweep::shapes(*f)) {
        shape.padding -= shape.padding % samples;
        sweep::Options options;
        if (f->sourceType != std::string("32f")) options.parameters = {{scales[next++ % scales.size()]}};
        sweep::run(*f, options, plain, {shape});
        if (HasFailure()) return;
      }
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Powers, testing::Values("Sqr", "Sqrt"),
                         [](const auto& each) { return std::string(each.param); });

// All samples at all scales that change anything.
TEST(PowersExhaustive, AllSamplesAtAllScales) {
  std::vector<int> scales;
  for (int s = -20; s <= 36; ++s) scales.push_back(s);
  for (const int s : {INT32_MIN, -1000, 1000, INT32_MAX}) scales.push_back(s);
  sweep::compareAllSamples<Zop8u>(zopiSqr_8u_C1RSfs, square<Zop8u>, scales);
  sweep::compareAllSamples<Zop16u>(zopiSqr_16u_C1RSfs, square<Zop16u>, scales);
  sweep::compareAllSamples<Zop16s>(zopiSqr_16s_C1RSfs, square<Zop16s>, scales);
  sweep::compareAllSamples<Zop8u>(zopiSqrt_8u_C1RSfs, root<Zop8u>, scales);
  sweep::compareAllSamples<Zop16u>(zopiSqrt_16u_C1RSfs, root<Zop16u>, scales);
  sweep::compareAllSamples<Zop16s>(zopiSqrt_16s_C1RSfs, root<Zop16s>, scales);
}

TEST(PowersByHand, TiesWarningsAndSteps) {
  Zop8u six[2] = {6, 16};
  ASSERT_EQ(zopStatusOk, zopiSqr_8u_C1IRSfs(six, 2, {2, 1}, 3));
  EXPECT_EQ(4, six[0]);  // 36 / 8
  Zop8u bounds[8] = {1, 2, 8, 9, 48, 49, 224, 225};
  ASSERT_EQ(zopStatusOk, zopiSqrt_8u_C1IRSfs(bounds, 8, {8, 1}, 1));
  const Zop8u halves[8] = {0, 1, 1, 2, 3, 4, 7, 8};
  for (int i = 0; i < 8; ++i) EXPECT_EQ(halves[i], bounds[i]);

  // The rounding mode of the caller neither changes results nor is changed.
  Zop16s words[3] = {-9, 7, 30000};
  std::fesetround(FE_UPWARD);
  EXPECT_EQ(zopStatusSqrtNegative, zopiSqrt_16s_C1IRSfs(words, 6, {3, 1}, 0));
  EXPECT_EQ(FE_UPWARD, std::fegetround());
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(0, words[0]);
  EXPECT_EQ(3, words[1]);
  EXPECT_EQ(173, words[2]);

  // A negative alpha is none of its business.
  Zop16s pixel[4] = {4, 9, 16, -5};
  EXPECT_EQ(zopStatusOk, zopiSqrt_16s_AC4IRSfs(pixel, 8, {1, 1}, 0));
  EXPECT_EQ(4, pixel[2]);
  EXPECT_EQ(-5, pixel[3]);
  Zop32f numbers[4] = {-0.0f, 2.0f, 0x1p-149f, -1.0f};
  EXPECT_EQ(zopStatusOk, zopiSqrt_32f_C1IR(numbers, 16, {3, 1}));
  EXPECT_TRUE(std::signbit(numbers[0]));
  EXPECT_EQ(zopStatusSqrtNegative, zopiSqrt_32f_C4IR(numbers, 16, {1, 1}));
  EXPECT_TRUE(std::isnan(numbers[3]));

  // What a step of 5 bytes holds beyond two samples is dropped, but not in the C4 forms.
  Zop16s rows[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  ASSERT_EQ(zopStatusOk, zopiSqr_16s_C1IRSfs(rows, 5, {2, 2}, 0));
  const Zop16s squares[6] = {1, 4, 9, 16, 5, 6};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(squares[i], rows[i]);
  std::vector<unsigned char> bytes(32, 0);
  for (const int at : {0, 9}) bytes[at] = 3;
  ASSERT_EQ(zopStatusOk, zopiSqr_16s_C4IRSfs(reinterpret_cast<Zop16s*>(bytes.data()), 9, {1, 2}, 0));
  EXPECT_EQ(9, bytes[0]);
  EXPECT_EQ(9, bytes[9]);
}

}  // namespace
