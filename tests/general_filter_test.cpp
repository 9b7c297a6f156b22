// Filters with kernels of the caller's against the plain sums.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using registry::Value;
using sweep::Call;

template <class K>
struct Kernel {
  ZopImageSize size;
  ZopImagePoint anchor;
  std::vector<K> weights;
  int divisor = 1;

  // The arguments of the form that a function has.
  std::vector<Value> parameters(const registry::Function& f) {
    const std::string operation = f.operation;
    std::vector<Value> result = {static_cast<void*>(weights.data())};
    if (operation.starts_with("FilterRow")) {
      result.insert(result.end(), {size.width, anchor.x});
    } else if (operation.starts_with("FilterColumn")) {
      result.insert(result.end(), {size.height, anchor.y});
    } else {
      result.insert(result.end(), {size, anchor});
    }
    if (std::is_same_v<K, Zop32s>) result.emplace_back(divisor);
    return result;
  }
  // Cut to what such a function takes.
  Kernel fitting(const registry::Function& f) const {
    Kernel result = *this;
    const std::string operation = f.operation;
    if (operation.starts_with("FilterRow")) {
      result.size.height = 1;
      result.anchor.y = 0;
    }
    if (operation.starts_with("FilterColumn")) {
      result.size.width = 1;
      result.anchor.x = 0;
    }
    result.weights.resize(static_cast<std::size_t>(result.size.width) * result.size.height);
    return result;
  }
};

template <class T>
T rounded(double sum) {
  if constexpr (std::is_same_v<T, Zop32f>) {
    const auto result = static_cast<float>(sum);
    return std::isnan(result) ? sweep::anyNaN() : result;
  } else {
    using Limits = std::numeric_limits<T>;
    if (sum > Limits::max()) return Limits::max();
    if (sum < Limits::min()) return Limits::min();
    return static_cast<T>(std::nearbyint(sum));
  }
}

Zop8u quotient(std::int32_t sum, int divisor) {
  std::int64_t result;
  if (divisor == 1) {
    result = sum;
  } else if (divisor > 0 && (divisor & (divisor - 1)) == 0) {
    const auto more = static_cast<std::int32_t>(static_cast<std::uint32_t>(sum) + 1u);
    result = sum < 1 ? 0 : more >> __builtin_ctz(static_cast<unsigned>(divisor));
  } else {
    result = std::llrint(static_cast<double>(sum) * static_cast<float>(1.0 / divisor));
  }
  return static_cast<Zop8u>(std::clamp<std::int64_t>(result, 0, 255));
}

// The definition, term by term: `sample(x, y)` is any sample around.
template <class T, class K, class Sample>
T filteredAt(int x, int y, const Kernel<K>& kernel, const Sample& sample) {
  const auto [width, height] = kernel.size;
  double sum = 0;
  std::uint32_t whole = 0;
  const auto factor = static_cast<float>(1.0 / kernel.divisor);
  for (int j = height - 1; j >= 0; --j) {
    for (int i = width - 1; i >= 0; --i) {
      const K weight = kernel.weights[j * width + i];
      const T s = sample(x + kernel.anchor.x - i, y + kernel.anchor.y - j);
      if constexpr (std::is_same_v<K, Zop32f>)
        sum += double{weight} * static_cast<double>(s);
      else if constexpr (std::is_same_v<T, Zop16s>)
        sum += double{static_cast<float>(weight) * factor} * s;
      else
        whole += static_cast<std::uint32_t>(weight) * static_cast<std::uint32_t>(s);
    }
  }
  if constexpr (std::is_same_v<K, Zop32s> && std::is_same_v<T, Zop8u>)
    return quotient(static_cast<std::int32_t>(whole), kernel.divisor);
  else
    return rounded<T>(sum);
}

template <class T, class K>
sweep::Reference referenceOf(const registry::Function& f, const Kernel<K>& kernel) {
  const int colours = std::string(f.sourceLayout) == "AC4" ? 3 : 0;
  return [=](const Call& call) {
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        for (int c = 0; c < (colours > 0 ? colours : call.destination.samples); ++c) {
          call.destination.set<T>(x, y, c, filteredAt<T>(x, y, kernel, [&](int sx, int sy) {
                                    return call.sources[0].get<T>(sx, sy, c);
                                  }));
        }
      }
    }
    return zopStatusOk;
  };
}

template <class K>
void compare(const registry::Function& f, const Kernel<K>& whole, const std::vector<sweep::Shape>& shapes) {
  Kernel<K> kernel = whole.fitting(f);
  sweep::Options options;
  options.parameters = {kernel.parameters(f)};
  const sweep::Reference reference =
      sweep::bySample<Zop8u, Zop16s, Zop32f>(f, [&](auto sample) -> sweep::Reference {
        if constexpr (std::is_same_v<K, Zop32s> && std::is_same_v<decltype(sample), Zop32f>)
          return nullptr;
        else
          return referenceOf<decltype(sample)>(f, kernel);
      });
  sweep::run(f, options, reference, shapes);
}

std::vector<const registry::Function*> functions(bool ofIntegers) {
  std::vector<const registry::Function*> result;
  for (const char* operation : {"Filter", "FilterRow", "FilterColumn"}) {
    if (!ofIntegers) {
      for (const auto* f : sweep::functionsOf(operation, {"32f"})) result.push_back(f);
      for (const auto* f : sweep::functionsOf(std::string(operation) + "32f")) result.push_back(f);
    } else {
      for (const auto* f : sweep::functionsOf(operation, {"8u", "16s"})) result.push_back(f);
    }
  }
  return result;
}

template <class K, class Make>
Kernel<K> kernelOf(ZopImageSize size, ZopImagePoint anchor, int divisor, const Make& make) {
  Kernel<K> kernel = {size, anchor, std::vector<K>(static_cast<std::size_t>(size.width) * size.height),
                      divisor};
  for (K& weight : kernel.weights) weight = make();
  return kernel;
}

TEST(GeneralFilter, EqualsThePlainSumsAtEveryShape) {
  std::mt19937 random(1);
  const auto small = [&] { return static_cast<Zop32s>(random() % 19) - 7; };
  const auto large = [&] { return static_cast<Zop32s>(random()); };
  const auto number = [&] { return std::ldexp(static_cast<float>(static_cast<int>(random())), -31); };
  const Kernel<Zop32s> integers[] = {kernelOf<Zop32s>({3, 5}, {1, 3}, 9, small),
                                     kernelOf<Zop32s>({4, 2}, {0, 1}, 16, small),
                                     kernelOf<Zop32s>({2, 3}, {3, -1}, -77777777, large)};
  const Kernel<Zop32f> floats[] = {kernelOf<Zop32f>({3, 5}, {1, 3}, 1, number),
                                   kernelOf<Zop32f>({4, 2}, {-2, 3}, 1, number)};
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    const auto shapesOf = [&](const registry::Function& f) {
      auto shapes = sweep::shapes(f);
      shapes.insert(shapes.end(), {{5, 1, 3, {}}, {66, 11, 1, {}}, {35, 7, 8, {}}, {130, 6, 2, {false, 3}}});
      if (!everyShape) shapes = {{35, 3, 3, {}}, {66, 13, 0, {}}, {9, 1, 5, {}}};
      return shapes;
    };
    for (const auto* f : functions(true)) {
      for (const auto& kernel : integers) compare(*f, kernel, shapesOf(*f));
      if (testing::Test::HasFailure()) return;
    }
    for (const auto* f : functions(false)) {
      for (const auto& kernel : floats) compare(*f, kernel, shapesOf(*f));
      if (testing::Test::HasFailure()) return;
    }
  });
}

// Kernels that are cut into pieces, and all that are narrower or lower than a block.
TEST(GeneralFilter, KernelsOfManySizes) {
  std::mt19937 random(2);
  const auto small = [&] { return static_cast<Zop32s>(random() % 100) - 40; };
  const auto number = [&] { return std::ldexp(static_cast<float>(static_cast<int>(random())), -33); };
  sweep::onEveryTarget([&] {
    for (const ZopImageSize size : {ZopImageSize{1, 1},
                                    {2, 1},
                                    {1, 2},
                                    {7, 7},
                                    {9, 4},
                                    {5, 33},
                                    {40, 19},
                                    {260, 5},
                                    {2, 300},
                                    {1700, 2}}) {
      const ZopImagePoint anchor = {size.width / 2, size.height / 3};
      const std::vector<sweep::Shape> shapes = {{67, 5, 0, {}}, {3, 2, 4, {}}};
      for (const char* layout : {"C1", "AC4"}) {
        for (const auto* f : functions(true)) {
          if (std::string(f->sourceLayout) != layout) continue;
          compare(*f, kernelOf<Zop32s>(size, anchor, 1 + size.width, small), shapes);
        }
        for (const auto* f : functions(false)) {
          if (std::string(f->sourceLayout) != layout) continue;
          compare(*f, kernelOf<Zop32f>(size, anchor, 1, number), shapes);
        }
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

// Kernels of floats whose sums are exact, and those that just are not: of weights beyond 16 bits, of sums
// beyond 32, with weights far apart, and of what is no number.
TEST(GeneralFilter, FloatsThatMayBeIntegers) {
  std::mt19937 random(3);
  const std::vector<std::vector<float>> kernels = {
      {0.25f, 0.5f, 0.25f, -0.5f, 1, 2, 0.125f, 0, 3.5f},
      {0, 0, 0, 0, -0.0f, 0, 0, 0, 0},
      {32767, 32767, 1, 0, 0, 0, 0, 0, 0},
      {-32767, -32767, -1, 0, 0, 0, 0, 0, 0},
      {32768, 1, 0, 0, 0, 0, 0, 0, 0},
      {32767, 32767, 32767, 32767, 32767, 32767, 32767, 32767, 32767},
      {0x1p-149f, 0x1p-140f, 0, 0, 0, 0, 0, 0, 0},
      {0x1p-100f, 1, 0, 0, 0, 0, 0, 0, 0},
      {0x1p100f, -0x1p99f, 0, 0, 0, 0, 0, 0, 0x1p101f},
      {0.1f, 0.2f, 0.3f, -0.1f, -0.2f, 0.5f, 0.1f, 0.1f, 0.05f},
      {HUGE_VALF, 1, 1, 1, 1, 1, 1, 1, 1},
  };
  sweep::onEveryTarget([&] {
    for (const auto& weights : kernels) {
      const Kernel<Zop32f> kernel = {{3, 3}, {1, 1}, weights};
      for (const auto* f : functions(false)) {
        const bool undefined = std::isinf(weights[0]) && std::string(f->sourceType) != "32f";
        if (!undefined) compare(*f, kernel, {{70, 5, 0, {}}, {7, 3, 3, {}}});
      }
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(GeneralFilter, DivisorsOfEveryKind) {
  std::mt19937 random(4);
  const auto weight = [&] { return static_cast<Zop32s>(random() % 2001) - 1000; };
  sweep::onEveryTarget([&] {
    for (const int divisor :
         {1, 2, 4, 1 << 12, 1 << 30, 3, 255, 1000, -1, -2, -3, -4096, INT32_MIN, INT32_MAX}) {
      for (const auto* f : functions(true))
        compare(*f, kernelOf<Zop32s>({3, 2}, {1, 1}, divisor, weight), {{77, 4, 0, {}}});
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(GeneralFilter, SumsOfBytesAtTheirLimits) {
  sweep::onEveryTarget([] {
    const Zop8u row[4] = {0, 1, 3, 255};
    Zop8u out[4];
    const auto run = [&](Zop32s weight, int divisor) {
      ASSERT_EQ(zopStatusOk, zopiFilterRow_8u_C1R(row, 4, out, 4, {4, 1}, &weight, 1, 0, divisor));
      for (int i = 0; i < 4; ++i) {
        const auto sum = static_cast<std::int32_t>(static_cast<std::uint32_t>(weight) * row[i]);
        EXPECT_EQ(quotient(sum, divisor), out[i]) << weight << " / " << divisor;
      }
    };
    for (const Zop32s w : {1, 5, -5, 32767, -32768, 32768, INT32_MAX, INT32_MIN, 8421504, 8421505}) {
      for (const int d : {1, 2, 4, 1 << 23, 7, -3, 1 << 30}) run(w, d);
    }
  });
}

TEST(GeneralFilter, AnchorsAreCountedFromTheTurnedKernel) {
  const Zop8u row[6] = {10, 20, 30, 40, 50, 60};
  const Zop32s kernel[3] = {0, 0, 1};
  Zop8u out[2];
  ASSERT_EQ(zopStatusOk, zopiFilterRow_8u_C1R(row + 2, 6, out, 2, {2, 1}, kernel, 3, 0, 1));
  EXPECT_EQ(10, out[0]);
  ASSERT_EQ(zopStatusOk, zopiFilterRow_8u_C1R(row + 2, 6, out, 2, {2, 1}, kernel, 3, 2, 1));
  EXPECT_EQ(30, out[0]);
  const Zop8u five = 5, three = 3, nothing = 0;
  const Zop32s one = 1;
  ASSERT_EQ(zopStatusOk, zopiFilter_8u_C1R(&five, 1, out, 1, {1, 1}, &one, {1, 1}, {0, 0}, 4));
  EXPECT_EQ(1, out[0]);
  ASSERT_EQ(zopStatusOk, zopiFilter_8u_C1R(&nothing, 1, out, 1, {1, 1}, &one, {1, 1}, {0, 0}, 4));
  EXPECT_EQ(0, out[0]);
  ASSERT_EQ(zopStatusOk, zopiFilter_8u_C1R(&three, 1, out, 1, {1, 1}, &one, {1, 1}, {0, 0}, 2));
  EXPECT_EQ(2, out[0]);
}

TEST(GeneralFilter, ChecksInTheOrderOfEachForm) {
  Zop8u byte = 0;
  Zop16s word = 0;
  const Zop32s kernel = 1;
  const ZopImageSize none = {0, 1}, one = {1, 1};
  EXPECT_EQ(zopStatusNullPointer, zopiFilter_8u_C1R(&byte, 1, &byte, 1, one, nullptr, one, {0, 0}, 0));
  EXPECT_EQ(zopStatusZeroDivisor, zopiFilter_8u_C1R(&byte, 0, &byte, 0, one, &kernel, one, {0, 0}, 0));
  EXPECT_EQ(zopStatusBadSize, zopiFilter_8u_C1R(&byte, 0, &byte, 0, one, &kernel, none, {0, 0}, 0));
  EXPECT_EQ(zopStatusZeroDivisor, zopiFilter_16s_C1R(nullptr, 0, &word, 0, none, &kernel, one, {0, 0}, 0));
  EXPECT_EQ(zopStatusBadSize, zopiFilterColumn_16s_C3R(nullptr, 0, &word, 0, none, nullptr, 1, 0, 0));
  EXPECT_EQ(zopStatusNullPointer, zopiFilterColumn_16s_AC4R(nullptr, 0, &word, 0, none, nullptr, 1, 0, 0));
}

TEST(GeneralFilter, RoundsToNearestUnderEveryMode) {
  const Zop16s word = 3;
  const float half = 0.5f;
  for (const int mode : {FE_DOWNWARD, FE_UPWARD, FE_TOWARDZERO}) {
    Zop16s out = 0;
    std::fesetround(mode);
    const ZopStatus status = zopiFilter32f_16s_C1R(&word, 2, &out, 2, {1, 1}, &half, {1, 1}, {0, 0});
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(zopStatusOk, status);
    EXPECT_EQ(2, out);
    EXPECT_EQ(mode, after);
  }
}

}  // namespace
