// Counts within ranges against plain loops.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus reference(const Call& call) {
  const int channels = call.function.sourceLayout == std::string("C1") ? 1 : 3;
  T lower[3], upper[3];
  std::memcpy(lower, call.constants[0], channels * sizeof(T));
  std::memcpy(upper, call.constants[1], channels * sizeof(T));
  for (int c = 0; c < channels; ++c) {
    if (!(upper[c] >= lower[c])) return zopStatusBadRange;
  }
  for (int c = 0; c < channels; ++c) {
    int count = 0;
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        const T sample = call.sources[0].get<T>(x, y, c);
        count += sample >= lower[c] && sample <= upper[c];
      }
    }
    call.setResult(0, c, count);
  }
  return zopStatusOk;
}

template <class T>
std::vector<unsigned char> bytesOf(std::initializer_list<T> values) {
  std::vector<unsigned char> bytes(values.size() * sizeof(T));
  std::memcpy(bytes.data(), values.begin(), bytes.size());
  return bytes;
}

TEST(CountsInRange, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const registry::Function* f : sweep::functionsOf("CountInRange")) {
      const bool bytes = f->sourceType == std::string("8u");
      sweep::Options options;
      if (bytes) {
        options.constants = {{bytesOf<Zop8u>({10, 0, 255}), bytesOf<Zop8u>({200, 255, 255})},
                             {bytesOf<Zop8u>({1, 90, 77}), bytesOf<Zop8u>({1, 89, 78})}};
      } else {
        const float infinity = std::numeric_limits<float>::infinity();
        options.constants = {{bytesOf({-100.0f, -infinity, 0.0f}), bytesOf({3.0f, 0.0f, infinity})},
                             {bytesOf({0.0f, 1.0f, -0.0f}), bytesOf({-0.0f, 7.0f, 0.0f})}};
      }
      for (sweep::Shape shape : sweep::shapes(*f)) {
        if (!bytes) shape.padding -= shape.padding % 4;  // what is beyond whole samples is dropped
        sweep::run(*f, options, bytes ? reference<Zop8u> : reference<Zop32f>, {shape});
        if (HasFailure()) return;
      }
    }
  });
}

TEST(CountsInRange, ManyHitsAndBoundsThatAreNoNumbers) {
  const std::vector<Zop8u> image(3 * 1000 * 1000, 7);
  int counts[3];
  const Zop8u lower[3] = {7, 8, 0}, upper[3] = {7, 9, 255};
  ASSERT_EQ(zopStatusOk, zopiCountInRange_8u_C3R(image.data(), 3000, {1000, 1000}, counts, lower, upper));
  EXPECT_EQ(1000000, counts[0]);
  EXPECT_EQ(0, counts[1]);
  EXPECT_EQ(1000000, counts[2]);
  const float nan = std::numeric_limits<float>::quiet_NaN(), number = 1.0f;
  EXPECT_EQ(zopStatusBadRange, zopiCountInRange_32f_C1R(&number, 4, {1, 1}, counts, nan, 2.0f));
  EXPECT_EQ(zopStatusBadRange, zopiCountInRange_32f_C1R(&number, 4, {1, 1}, counts, 0.0f, nan));
  EXPECT_EQ(zopStatusBadSize, zopiCountInRange_32f_C1R(&number, 4, {0, 1}, counts, 3.0f, 2.0f));
  EXPECT_EQ(zopStatusBadStep, zopiCountInRange_32f_C1R(&number, 0, {0, 1}, counts, 3.0f, 2.0f));
  EXPECT_EQ(1000000, counts[0]);
}

}  // namespace
