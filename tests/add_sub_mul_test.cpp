// Scaled sums, differences and products against plain integer arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;
__extension__ typedef __int128 Exact;

Exact saturate(Exact t, Exact lowest, Exact highest) { return std::clamp(t, lowest, highest); }

// t * 2^-s, rounded to nearest with ties to even. Beyond 100 in either direction nothing changes any more.
Exact scaled(Exact t, int s) {
  if (s < 0)
    return saturate(t, -(Exact{1} << 62), Exact{1} << 62) * (Exact{1} << std::min(-std::max(s, -100), 60));
  if (s == 0) return t;
  if (s > 100) return 0;
  const Exact unit = Exact{1} << s;
  const Exact floor = (t - ((t % unit) + unit) % unit) / unit;
  const Exact twice = 2 * (t - floor * unit);
  return twice > unit || (twice == unit && floor % 2 != 0) ? floor + 1 : floor;
}

// The other route of the complex forms: a multiplication by a power of two in double, truncated.
Exact truncated(Exact t, int s) {
  double factor = 1.0;
  if (s > 0) factor /= std::ldexp(1.0, s % 32);
  if (s < 0) factor *= std::ldexp(1.0, static_cast<int>((0u - static_cast<unsigned>(s)) % 32));
  const double product = static_cast<double>(static_cast<long long>(t)) * factor;
  return static_cast<Exact>(std::trunc(std::clamp(product, -0x1p62, 0x1p62)));
}

struct Pair {
  Exact re, im;
};

Pair exact(char operation, bool complex, Pair a, Pair b, bool unsignedSamples, Exact highest) {
  if (operation == 'A') return {a.re + b.re, a.im + b.im};
  if (operation == 'S') {
    const Pair t = {a.re - b.re, a.im - b.im};
    return unsignedSamples ? Pair{std::max<Exact>(t.re, 0), 0} : t;
  }
  if (!complex) return {a.re * b.re, 0};
  return {a.re * b.re - a.im * b.im, std::min(a.re * b.im + a.im * b.re, highest)};
}

template <class T>
Pair pairOf(T sample) {
  if constexpr (requires { sample.re; })
    return {sample.re, sample.im};
  else
    return {sample, 0};
}

template <class T>
ZopStatus reference(const Call& call) {
  constexpr bool complex = requires(T sample) { sample.re; };
  constexpr int bits = 8 * sizeof(T) / (complex ? 2 : 1);
  constexpr bool isUnsigned = bits == 8;
  const std::string name = call.function.operation, layout = call.function.sourceLayout;
  const bool truncates = complex && (layout == "AC4" || (name.back() == 'C' && layout == "C3"));
  const int s = call.scaleFactor();
  // The largest imaginary sum is held in twice the bits.
  const Exact highest = (Exact{1} << (2 * bits - 1)) - 1;
  sweep::pixelwise<T>(call, [&](T a, T b) {
    const Pair t = exact(name[0], complex, pairOf(a), pairOf(b), isUnsigned, highest);
    const auto stored = [&](Exact part) {
      return saturate(truncates ? truncated(part, s) : scaled(part, s),
                      isUnsigned ? 0 : -(Exact{1} << (bits - 1)),
                      (Exact{1} << (isUnsigned ? bits : bits - 1)) - 1);
    };
    if constexpr (complex) {
      using Part = decltype(a.re);
      return T{static_cast<Part>(stored(t.re)), static_cast<Part>(stored(t.im))};
    } else {
      return static_cast<T>(stored(t.re));
    }
  });
  return zopStatusOk;
}

sweep::Reference referenceFor(const registry::Function& f) {
  const std::string type = f.sourceType;
  if (type == "8u") return reference<Zop8u>;
  if (type == "16s") return reference<Zop16s>;
  if (type == "16sc") return reference<Zop16sc>;
  return reference<Zop32sc>;
}

const std::vector<std::string> kTypes = {"8u", "16s", "16sc", "32sc"};

class ScaledArithmetic : public testing::TestWithParam<const char*> {};

TEST_P(ScaledArithmetic, EqualsTheReferenceAtEveryShape) {
  const std::vector<int> scales = {0, 1, 2, 3, 8, 9, 10, 15, 16, 17, -1, -7, -8, -9, -16, 31};
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    for (const registry::Function* f : sweep::functionsOf(GetParam(), kTypes)) {
      sweep::Options options;
      std::vector<sweep::Shape> shapes = sweep::shapes(*f);
      if (!everyShape) shapes = {{7, 1, 0, {}}, {61, 9, 5, {}}, {336, 3, 0, {}}, {40, 81, 8, {}}};
      // All scales where the vectors change, one after the other elsewhere.
      int next = 0;
      for (const sweep::Shape& shape : shapes) {
        options.parameters.clear();
        if (next % 16 == 0)
          for (const int s : scales) options.parameters.push_back({s});
        else
          options.parameters = {{scales[next % scales.size()]}, {scales[(next * 7 + 3) % scales.size()]}};
        ++next;
        sweep::run(*f, options, referenceFor(*f), {shape});
        if (HasFailure()) return;
      }
    }
  });
}

TEST_P(ScaledArithmetic, EqualsTheReferenceAtEveryScale) {
  std::vector<std::vector<registry::Value>> scales;
  for (int s = -70; s <= 70; ++s) scales.push_back({s});
  for (const int s : {INT32_MIN, INT32_MIN + 1, INT32_MAX}) scales.push_back({s});
  for (const registry::Function* f : sweep::functionsOf(GetParam(), kTypes)) {
    sweep::Options options{
        scales, {{}, {{0, 0, 0, 0, 0, 0, 0, 0}}, {{1, 0, 0, 0}}, {{0, 0x80, 0, 0x80, 0, 0x80, 0, 0x80}}}};
    sweep::run(*f, options, referenceFor(*f), {{70, 2, 4, {}}});
    if (HasFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, ScaledArithmetic,
                         testing::Values("Add", "Sub", "Mul", "AddC", "SubC", "MulC"),
                         [](const auto& each) { return std::string(each.param); });

// All pairs of 8-bit samples at every scale that changes anything: what the lane formulas rest on.
TEST(ScaledArithmeticExhaustive, AllPairsOfBytes) {
  std::vector<Zop8u> a(65536), b(65536), out(65536);
  for (int i = 0; i < 65536; ++i) {
    a[i] = static_cast<Zop8u>(i);
    b[i] = static_cast<Zop8u>(i >> 8);
  }
  const auto functions = {
      std::pair{'A', &zopiAdd_8u_C1RSfs}, {'S', &zopiSub_8u_C1RSfs}, {'M', &zopiMul_8u_C1RSfs}};
  for (const auto& [operation, function] : functions) {
    for (int s = -9; s <= 17; ++s) {
      ASSERT_EQ(zopStatusOk, function(a.data(), 256, b.data(), 256, out.data(), 256, {256, 256}, s));
      for (int i = 0; i < 65536; ++i) {
        const Exact t = exact(operation, false, {b[i], 0}, {a[i], 0}, true, 0).re;
        ASSERT_EQ(static_cast<int>(saturate(scaled(t, s), 0, 255)), out[i])
            << operation << " of " << int(a[i]) << ", " << int(b[i]) << " at scale " << s;
      }
    }
  }
}

// The halving of 16-bit sums stays in 16-bit lanes: all differences and parities near the ends, and a lattice
// between.
TEST(ScaledArithmeticExhaustive, HalvedSumsOf16s) {
  std::vector<Zop16s> grid;
  for (int v = -32768; v <= 32767; v += (v < -32700 || v > 32690 || (v > -60 && v < 60)) ? 1 : 127) {
    grid.push_back(static_cast<Zop16s>(v));
  }
  const int n = static_cast<int>(grid.size());
  std::vector<Zop16s> other(n), out(n);
  for (const Zop16s value : grid) {
    std::fill(other.begin(), other.end(), value);
    ASSERT_EQ(zopStatusOk,
              zopiAdd_16s_C1RSfs(grid.data(), 2 * n, other.data(), 2 * n, out.data(), 2 * n, {n, 1}, 1));
    for (int i = 0; i < n; ++i)
      ASSERT_EQ(static_cast<int>(scaled(grid[i] + value, 1)), out[i]) << grid[i] << " " << value;
  }
}

// Products so large that the double of the truncating route is not the exact sum.
TEST(ScaledArithmetic32sc, TruncatingRouteRoundsLargeProductsFirst) {
  const Zop32sc value[3] = {{1 << 30, 1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX}};
  Zop32sc image[4] = {{INT32_MAX, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MIN}, {5, 6}};
  ASSERT_EQ(zopStatusOk, zopiMulC_32sc_AC4IRSfs(value, image, sizeof image, {1, 1}, 31));
  // (2^31 - 1) * 2^30 + 1, of which 2^61 - 2^30 is left after rounding to 53 bits.
  EXPECT_EQ((1 << 30) - 1, image[0].re);
  EXPECT_EQ(INT32_MAX, image[1].im);  // 2^63 is held below
  EXPECT_EQ(5, image[3].re);
  EXPECT_EQ(6, image[3].im);
}

// Results that are known without the source leave it unread, and results that are the destination leave it
// unwritten.
TEST(ScaledArithmeticShortCuts, NeitherReadNorWriteWhatTheyNeedNot) {
  std::mt19937 random(1);
  guarded::Block unreadable(1);
  unsigned char* outside = unreadable.data() + unreadable.size();  // unmapped
  Zop8u out[5] = {1, 2, 3, 4, 5};
  EXPECT_EQ(zopStatusOk, zopiMulC_8u_C1RSfs(outside, 5, 0, out, 5, {5, 1}, 3));
  EXPECT_EQ(0, out[4]);
  EXPECT_EQ(zopStatusOk, zopiAddC_8u_C1RSfs(outside, 5, 1, out, 5, {5, 1}, -8));
  EXPECT_EQ(255, out[0]);
  EXPECT_EQ(zopStatusOk, zopiAdd_8u_C3RSfs(outside, 9, outside, 9, out, 3, {1, 1}, 10));
  EXPECT_EQ(0, out[2]);
  EXPECT_EQ(zopStatusOk, zopiMulC_16s_C1IRSfs(1, reinterpret_cast<Zop16s*>(outside), 10, {5, 1}, 0));
  EXPECT_EQ(zopStatusOk, zopiSubC_8u_C1IRSfs(0, outside, 10, {5, 1}, 0));
}

// Regions too large for any cache take stores that bypass it, from the first aligned address on.
TEST(ScaledArithmeticLarge, StreamedRowsEqualShortOnes) {
  constexpr int kWidth = 4099, kHeight = 1800, kStep = kWidth + 5;
  std::vector<Zop8u> a(kStep * kHeight), b(a.size()), out(a.size(), 7);
  std::mt19937 random(3);
  for (std::size_t i = 0; i < a.size(); ++i) {
    a[i] = static_cast<Zop8u>(random());
    b[i] = static_cast<Zop8u>(random());
  }
  ASSERT_EQ(zopStatusOk,
            zopiAdd_8u_C1RSfs(a.data(), kStep, b.data(), kStep, out.data(), kStep, {kWidth, kHeight}, 1));
  const Zop8u value[3] = {200, 3, 77};
  std::vector<Zop8u> sums(a.size(), 7);
  ASSERT_EQ(zopStatusOk,
            zopiAddC_8u_C3RSfs(a.data(), kStep, value, sums.data(), kStep, {kWidth / 3, kHeight}, 0));
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kStep; ++x) {
      const int i = y * kStep + x, t = a[i] + b[i];
      ASSERT_EQ(x < kWidth ? (t + ((t >> 1) & 1)) >> 1 : 7, out[i]) << x << "," << y;
      ASSERT_EQ(x < kWidth / 3 * 3 ? std::min(a[i] + value[x % 3], 255) : 7, sums[i]) << x << "," << y;
    }
  }
}

TEST(ScaledArithmeticByHand, RoundsTiesToEven) {
  Zop8u image[3] = {1, 2, 3};
  ASSERT_EQ(zopStatusOk, zopiAddC_8u_C1IRSfs(1, image, 3, {3, 1}, 1));
  EXPECT_EQ(1, image[0]);
  EXPECT_EQ(2, image[1]);  // 1.5
  EXPECT_EQ(2, image[2]);
  const Zop16s low = -32768, high = 32767;
  Zop16s difference;
  ASSERT_EQ(zopStatusOk, zopiSub_16s_C1RSfs(&low, 2, &high, 2, &difference, 2, {1, 1}, 1));
  EXPECT_EQ(32767, difference);
  const Zop16sc three = {3, 3};
  Zop16sc rounded = {0, 0}, cut[4] = {{3, 3}, {3, 3}, {3, 3}, {9, 9}};
  const Zop16sc zero[3] = {};
  ASSERT_EQ(zopStatusOk, zopiAddC_16sc_C1RSfs(&three, 4, {0, 0}, &rounded, 4, {1, 1}, 1));
  ASSERT_EQ(zopStatusOk, zopiAddC_16sc_AC4IRSfs(zero, cut, 16, {1, 1}, 1));
  EXPECT_EQ(2, rounded.re);
  EXPECT_EQ(1, cut[0].re);
  EXPECT_EQ(9, cut[3].re);
}

}  // namespace
