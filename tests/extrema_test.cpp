// Smallest and largest samples and their places against plain loops.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus reference(const Call& call) {
  const std::string operation = call.function.operation, layout = call.function.sourceLayout;
  const bool both = operation == "MinMax", smallest = operation.substr(0, 3) == "Min";
  const int channels = layout == "C1" ? 1 : layout == "C4" ? 4 : 3;
  for (int c = 0; c < channels; ++c) {
    T low = call.sources[0].get<T>(0, 0, c), high = low;
    int lowX = 0, lowY = 0, highX = 0, highY = 0;
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        const T sample = call.sources[0].get<T>(x, y, c);
        if (sample < low) low = sample, lowX = x, lowY = y;
        if (sample > high) high = sample, highX = x, highY = y;
      }
    }
    call.setResult(0, c, smallest ? low : high);
    if (both) call.setResult(1, c, high);
    if (call.results.size() == 3) {
      call.setResult(1, c, smallest ? lowX : highX);
      call.setResult(2, c, smallest ? lowY : highY);
    }
  }
  return zopStatusOk;
}

class Extrema : public testing::TestWithParam<const char*> {};

TEST_P(Extrema, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? reference<Zop8u>
                         : type == "16s" ? reference<Zop16s>
                                         : reference<Zop32f>;
      auto shapes = sweep::shapes(*f);
      shapes.push_back({13000, 3, 0, {}});  // more than a stretch, with and without gaps
      shapes.push_back({13000, 2, 8, {}});
      sweep::run(*f, {}, plain, shapes);
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Extrema, testing::Values("Min", "Max", "MinMax", "MinIndx", "MaxIndx"),
                         [](const auto& each) { return std::string(each.param); });

// The extreme sample at every place of an image, alone and again behind it.
TEST(ExtremaPlaces, EveryPlaceAndTheFirstOfTwo) {
  targets::forEach([](const std::string& name) {
    constexpr int kWidth = 37, kHeight = 11, kSamples = 3 * kWidth * kHeight;
    for (int at = 0; at < kSamples; ++at) {
      std::vector<Zop8u> image(kSamples, 100);
      image[at] = 3;
      for (int again = at + 3; again < kSamples; again += 301 * 3) image[again] = 3;
      Zop8u low[3];
      int x[3], y[3];
      ASSERT_EQ(zopStatusOk, zopiMinIndx_8u_C3R(image.data(), 3 * kWidth, {kWidth, kHeight}, low, x, y));
      const int pixel = at / 3, channel = at % 3;
      EXPECT_EQ(3, low[channel]) << name;
      EXPECT_EQ(pixel % kWidth, x[channel]) << name;
      EXPECT_EQ(pixel / kWidth, y[channel]) << name;
      EXPECT_EQ(100, low[(channel + 1) % 3]) << name;
      EXPECT_EQ(0, x[(channel + 1) % 3]) << name;
    }
  });
}

TEST(ExtremaOfNumbers, NotANumberSeedsOrIsPassedOver) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  float image[70], low = 0, high = 0;
  for (int i = 0; i < 70; ++i) image[i] = i % 7 == 3 ? nan : static_cast<float>(i);
  int x = -1, y = -1;
  ASSERT_EQ(zopStatusOk, zopiMinMax_32f_C1R(image, 140, {35, 2}, &low, &high));
  EXPECT_EQ(0.0f, low);
  EXPECT_EQ(69.0f, high);
  ASSERT_EQ(zopStatusOk, zopiMaxIndx_32f_C1R(image, 140, {35, 2}, &high, &x, &y));
  EXPECT_EQ(34, x);
  EXPECT_EQ(1, y);
  image[0] = nan;
  ASSERT_EQ(zopStatusOk, zopiMinIndx_32f_C1R(image, 140, {35, 2}, &low, &x, &y));
  EXPECT_TRUE(std::isnan(low));
  EXPECT_EQ(0, x);
  EXPECT_EQ(0, y);
}

}  // namespace
