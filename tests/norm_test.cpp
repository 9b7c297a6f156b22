// Norms against exact integers, and against doubles in the order that is laid down.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <type_traits>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;
__extension__ typedef __int128 Exact;

// The largest term or the sum of terms, of numbers in one chain or, for even and odd columns, in two.
template <class T, class Term>
double combined(const Call& call, const std::string& kind, bool inTwo, const Term& term) {
  constexpr bool numbers = std::is_same_v<T, Zop32f>;
  std::conditional_t<numbers, double, Exact> parts[2] = {0, 0};
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      auto& part = parts[inTwo && kind != "Inf" && x % 2 != 0];
      const auto t = term(x, y);
      if (kind != "Inf")
        part += static_cast<std::remove_reference_t<decltype(part)>>(kind == "L2" ? t * t : t);
      else if (t > part)
        part = t;
    }
  }
  return static_cast<double>(parts[0] + parts[1]);
}

template <class T>
ZopStatus reference(const Call& call) {
  constexpr bool numbers = std::is_same_v<T, Zop32f>;
  using Wide = std::conditional_t<numbers, double, std::int64_t>;
  const std::string operation = call.function.operation, kind = call.function.variant;
  const std::string layout = call.function.sourceLayout;
  const int channels = layout == "C1" ? 1 : layout == "C4" ? 4 : 3;
  const bool relative = operation == "NormRel", one = channels == 1;
  double norms[4], references[4];
  bool divides = true;
  for (int c = 0; c < channels; ++c) {
    const auto magnitude = [&](int x, int y) {
      return std::abs(static_cast<Wide>(call.sources.back().get<T>(x, y, c)));
    };
    const auto distance = [&](int x, int y) {
      return std::abs(static_cast<Wide>(call.sources[0].get<T>(x, y, c)) -
                      static_cast<Wide>(call.sources.back().get<T>(x, y, c)));
    };
    norms[c] = operation == "Norm" ? combined<T>(call, kind, one, magnitude)
                                   : combined<T>(call, kind, false, distance);
    references[c] = relative ? combined<T>(call, kind, false, magnitude) : 1.0;
    if (kind == "L2" && !(relative && one)) {
      norms[c] = std::sqrt(norms[c]);
      references[c] = std::sqrt(references[c]);
    }
    if (references[c] < 2.2250738585072014e-308) divides = false;
  }
  for (int c = 0; c < channels; ++c) {
    double result = relative && divides ? norms[c] / references[c] : norms[c];
    if (relative && one && kind == "L2") result = std::sqrt(result);
    call.setResult(0, c, result);
  }
  return divides ? zopStatusOk : zopStatusZeroDenominator;
}

class Norms : public testing::TestWithParam<const char*> {};

TEST_P(Norms, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf(GetParam(), {"8u", "16s", "32f"})) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? reference<Zop8u>
                         : type == "16s" ? reference<Zop16s>
                                         : reference<Zop32f>;
      sweep::run(*f, {}, plain, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Norms, testing::Values("Norm", "NormDiff", "NormRel"),
                         [](const auto& each) { return std::string(each.param); });

// So many extreme samples that no accumulator of 32 bits would hold them.
TEST(NormsOfLargeImages, DoNotOverflow) {
  targets::forEach([](const std::string& name) {
    constexpr int kWidth = 3000, kHeight = 3000;
    constexpr double kPixels = 9e6;
    const std::vector<Zop8u> bytes(3 * kWidth * kHeight, 255), none(bytes.size(), 0);
    const std::vector<Zop16s> lowest(kWidth * kHeight, -32768), highest(kWidth * kHeight, 32767);
    double value = 0, values[3];
    const ZopImageSize size = {kWidth, kHeight};
    ASSERT_EQ(zopStatusOk, zopiNorm_L2_8u_C1R(bytes.data(), kWidth, size, &value));
    EXPECT_EQ(std::sqrt(255.0 * 255 * kPixels), value) << name;
    ASSERT_EQ(zopStatusOk,
              zopiNormDiff_L2_8u_C3R(bytes.data(), 3 * kWidth, none.data(), 3 * kWidth, size, values));
    EXPECT_EQ(std::sqrt(255.0 * 255 * kPixels), values[1]) << name;
    ASSERT_EQ(zopStatusOk,
              zopiNormDiff_L1_16s_C1R(lowest.data(), 2 * kWidth, highest.data(), 2 * kWidth, size, &value));
    EXPECT_EQ(65535 * kPixels, value) << name;
    ASSERT_EQ(zopStatusOk,
              zopiNormDiff_L2_16s_C1R(lowest.data(), 2 * kWidth, highest.data(), 2 * kWidth, size, &value));
    EXPECT_EQ(std::sqrt(65535.0 * 65535 * kPixels), value) << name;
  });
}

// Wide byte images are put together from the rounded norms of slabs, but not in the relative norm.
TEST(NormsOfWideImages, AreThoseOfSlabs) {
  constexpr int kWidth = 2 * 32768 + 77;
  std::vector<Zop8u> a(2 * kWidth), b(2 * kWidth);
  for (int i = 0; i < 2 * kWidth; ++i) {
    a[i] = static_cast<Zop8u>(i * 7 + (i >> 6));
    b[i] = static_cast<Zop8u>(i * 3 + (i >> 9));
  }
  double sum = 0, differences = 0, d = 0, r = 0;
  for (int left = 0; left < kWidth; left += 32768) {
    double squares = 0, squaredDifferences = 0;
    for (int y = 0; y < 2; ++y) {
      for (int x = left; x < std::min(left + 32768, kWidth); ++x) {
        const double p = a[y * kWidth + x], q = b[y * kWidth + x];
        squares += p * p;
        squaredDifferences += (p - q) * (p - q);
        r += q * q;
      }
    }
    d += squaredDifferences;
    sum += std::sqrt(squares) * std::sqrt(squares);
    differences += std::sqrt(squaredDifferences) * std::sqrt(squaredDifferences);
  }
  double value = 0;
  ASSERT_EQ(zopStatusOk, zopiNorm_L2_8u_C1R(a.data(), kWidth, {kWidth, 2}, &value));
  EXPECT_EQ(std::sqrt(sum), value);
  ASSERT_EQ(zopStatusOk, zopiNormDiff_L2_8u_C1R(a.data(), kWidth, b.data(), kWidth, {kWidth, 2}, &value));
  EXPECT_EQ(std::sqrt(differences), value);
  ASSERT_EQ(zopStatusOk, zopiNormRel_L2_8u_C1R(a.data(), kWidth, b.data(), kWidth, {kWidth, 2}, &value));
  EXPECT_EQ(std::sqrt(d / r), value);
}

TEST(NormsByHand, LowestSamplesAndZeroDenominators) {
  const Zop16s lowest = -32768;
  const Zop32s lowest32 = INT32_MIN;
  double value = 0;
  ASSERT_EQ(zopStatusOk, zopiNorm_Inf_16s_C1R(&lowest, 2, {1, 1}, &value));
  EXPECT_EQ(32768.0, value);
  ASSERT_EQ(zopStatusOk, zopiNorm_Inf_32s_C1R(&lowest32, 4, {1, 1}, &value));
  EXPECT_EQ(2147483648.0, value);
  std::vector<Zop32s> words(70, 5);
  words[69] = -6;
  ASSERT_EQ(zopStatusOk, zopiNorm_Inf_32s_C1R(words.data(), 140, {35, 2}, &value));
  EXPECT_EQ(6.0, value);

  const Zop8u nine[2] = {9, 9}, nothing[2] = {0, 0};
  ASSERT_EQ(zopStatusZeroDenominator, zopiNormRel_L1_8u_C1R(nine, 2, nothing, 2, {2, 1}, &value));
  EXPECT_EQ(18.0, value);
  ASSERT_EQ(zopStatusZeroDenominator, zopiNormRel_L2_8u_C1R(nine, 2, nothing, 2, {2, 1}, &value));
  EXPECT_EQ(std::sqrt(162.0), value);
  const float a[3] = {4, 4, 4}, b[3] = {2, 0, 1};
  double values[3];
  ASSERT_EQ(zopStatusZeroDenominator, zopiNormRel_Inf_32f_C3R(a, 12, b, 12, {1, 1}, values));
  EXPECT_EQ(2.0, values[0]);
  EXPECT_EQ(4.0, values[1]);
  EXPECT_EQ(3.0, values[2]);
  // A not-a-number is no largest magnitude, but spoils sums.
  const float withNan[2] = {std::numeric_limits<float>::quiet_NaN(), -3.0f};
  ASSERT_EQ(zopStatusOk, zopiNorm_Inf_32f_C1R(withNan, 8, {2, 1}, &value));
  EXPECT_EQ(3.0, value);
  ASSERT_EQ(zopStatusOk, zopiNorm_L1_32f_C1R(withNan, 8, {2, 1}, &value));
  EXPECT_TRUE(std::isnan(value));
}

}  // namespace
