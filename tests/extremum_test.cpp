// Minima and maxima over rectangles against a look at every sample.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus extrema(const Call& call) {
  const auto mask = call.parameters[0].get<ZopImageSize>();
  const auto anchor = call.parameters[1].get<ZopImagePoint>();
  const bool largest = std::string(call.function.operation) == "FilterMax";
  const int channels = std::string(call.function.sourceLayout) == "AC4" ? 3 : call.destination.samples;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < channels; ++c) {
        const auto at = [&](int i, int j) {
          return call.sources[0].get<T>(x + i - anchor.x, y + j - anchor.y, c);
        };
        T result = at(0, 0);
        for (int j = 0; j < mask.height; ++j) {
          for (int i = 0; i < mask.width; ++i)
            result = largest ? std::max(result, at(i, j)) : std::min(result, at(i, j));
        }
        call.destination.set(x, y, c, result);
      }
    }
  }
  return zopStatusOk;
}

sweep::Reference reference(const registry::Function& f) {
  return sweep::bySample<Zop8u, Zop16s>(
      f, [](auto sample) -> sweep::Reference { return extrema<decltype(sample)>; });
}

std::vector<const registry::Function*> functions(const std::vector<std::string>& types) {
  auto all = sweep::functionsOf("FilterMin", types);
  const auto more = sweep::functionsOf("FilterMax", types);
  all.insert(all.end(), more.begin(), more.end());
  return all;
}

struct Mask {
  ZopImageSize size;
  ZopImagePoint anchor;
};

// Copies, rows and columns, every remainder of passes over four windows, and more rows than the image has.
const std::vector<Mask> kMasks = {
    {{1, 1}, {0, 0}},  {{3, 3}, {1, 1}},   {{3, 3}, {2, 0}},  {{2, 2}, {0, 1}},
    {{5, 1}, {4, 0}},  {{1, 5}, {0, 0}},   {{4, 3}, {0, 2}},  {{6, 7}, {3, 3}},
    {{9, 2}, {8, 1}},  {{16, 4}, {15, 0}}, {{17, 9}, {5, 8}}, {{35, 3}, {30, 1}},
    {{70, 2}, {0, 0}}, {{2, 33}, {1, 20}}, {{5, 5}, {4, 0}},  {{7, 7}, {3, 3}}};

TEST(Extremum, IntegersAtEveryShape) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : functions({"8u", "16s"})) {
      sweep::Options options;
      for (const Mask& mask : kMasks) options.parameters.push_back({mask.size, mask.anchor});
      options.parameters.erase(options.parameters.begin());
      // Heights around those of the masks, and widths of more than one piece.
      const std::vector<sweep::Shape> shapes = {
          {1, 1, 0, {}}, {9, 7, 3, {false, 5}}, {33, 12, 0, {}}, {70, 40, 1, {}}, {1100, 3, 0, {}}};
      sweep::run(*f, options, reference(*f), shapes);
      options.parameters = {{ZopImageSize{3, 3}, ZopImagePoint{1, 1}},
                            {ZopImageSize{5, 4}, ZopImagePoint{0, 3}}};
      sweep::run(*f, options, reference(*f), sweep::shapes(*f));
      if (testing::Test::HasFailure()) return;
    }
  });
}

// Of floats, the sign of a zero is open, and with not-a-numbers all but that the result is a sample of the
// window.
void compareNumbers(const registry::Function& f, const Mask& mask, ZopImageSize size, bool withNaNs,
                    int padding) {
  std::mt19937 random(3);
  const int samples = f.arguments[0].samples, pixel = samples * static_cast<int>(sizeof(float));
  const int width = size.width + mask.size.width - 1, height = size.height + mask.size.height - 1;
  const int step = width * pixel + padding, outStep = size.width * pixel + padding;
  guarded::Region in(height, static_cast<std::ptrdiff_t>(width) * pixel, step, {}, random,
                     static_cast<std::ptrdiff_t>(mask.anchor.y) * step + mask.anchor.x * pixel);
  guarded::Region out(size.height, static_cast<std::ptrdiff_t>(size.width) * pixel, outStep, {}, random);
  const auto source = [&](int x, int y, int c) { return in.at() + y * step + x * pixel + c * 4; };
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < samples; ++c) {
        float number = static_cast<float>(static_cast<int>(random() % 2001) - 1000) / 8;
        if (random() % 16 == 0) number = std::copysign(random() % 2 ? 0.0f : HUGE_VALF, number);
        if (withNaNs && random() % 8 == 0) number = std::numeric_limits<float>::quiet_NaN();
        std::memcpy(source(x - mask.anchor.x, y - mask.anchor.y, c), &number, sizeof number);
      }
    }
  }
  const auto before = out.bytes();
  auto expected = before;
  const registry::Value values[] = {
      static_cast<void*>(in.at()), step, static_cast<void*>(out.at()), outStep, size, mask.size, mask.anchor};
  ASSERT_EQ(zopStatusOk, f.invoke(values)) << f.name;
  const bool largest = std::string(f.operation) == "FilterMax";
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      for (int c = 0; c < (std::string(f.sourceLayout) == "AC4" ? 3 : samples); ++c) {
        const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(y) * outStep + x * pixel + c * 4;
        float result, extremum = largest ? -HUGE_VALF : HUGE_VALF;
        std::memcpy(&result, out.at() + at, sizeof result);
        bool isSample = false;
        for (int j = 0; j < mask.size.height; ++j) {
          for (int i = 0; i < mask.size.width; ++i) {
            float number;
            std::memcpy(&number, source(x + i - mask.anchor.x, y + j - mask.anchor.y, c), sizeof number);
            extremum = largest ? std::max(extremum, number) : std::min(extremum, number);
            isSample = isSample || std::memcmp(&number, &result, sizeof number) == 0;
          }
        }
        ASSERT_TRUE(isSample) << f.name << " at " << x << ", " << y;
        if (!withNaNs) {
          ASSERT_EQ(extremum, result) << f.name << " at " << x << ", " << y << ", mask " << mask.size.width
                                      << "x" << mask.size.height;
        }
        std::memcpy(out.in(expected) + at, &result, sizeof result);
      }
    }
  }
  ASSERT_TRUE(out.equals(expected)) << f.name << " wrote beside its region";
}

TEST(Extremum, NumbersAreSamples) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : functions({"32f"})) {
      for (const Mask& mask : kMasks) {
        for (int width = 1; width < 20; ++width) {
          compareNumbers(*f, mask, {width, 1 + width % 6}, width % 4 == 0, width % 3);
          if (testing::Test::HasFatalFailure()) return;
        }
        compareNumbers(*f, mask, {300, 2}, false, 4);
      }
    }
  });
}

TEST(Extremum, RunsOutOfMemory) {
  Zop8u image[64] = {}, out = 1;
  EXPECT_EQ(zopStatusNoMemory,
            zopiFilterMin_8u_C1R(image, 8, &out, 1, {1, 1}, {2147483647, 2147483647}, {0, 0}));
  EXPECT_EQ(1, out);
}

}  // namespace
