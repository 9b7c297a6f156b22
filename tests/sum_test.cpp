// Sums and means against exact integers, and against doubles in the order that is laid down.
#include <gtest/gtest.h>

#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;

template <class T>
ZopStatus reference(const Call& call) {
  constexpr bool ordered = std::is_same_v<T, Zop32f>;
  const std::string layout = call.function.sourceLayout;
  const bool means = call.function.operation == std::string("Mean");
  const int channels = layout == "C1" ? 1 : layout == "C4" ? 4 : 3;
  const double pixels = call.size.width * call.size.height;
  for (int c = 0; c < channels; ++c) {
    std::conditional_t<ordered, double, long long> even = 0, odd = 0;
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        (layout == "C1" && x % 2 != 0 ? odd : even) += call.sources[0].get<T>(x, y, c);
      }
    }
    const double sum = static_cast<double>(odd + even);
    call.setResult(0, c, !means ? sum : channels == 1 ? sum / pixels : sum * (1.0 / pixels));
  }
  return zopStatusOk;
}

TEST(Sums, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    if (!everyShape) return;  // no threads here
    for (const char* operation : {"Sum", "Mean"}) {
      for (const registry::Function* f : sweep::functionsOf(operation)) {
        const std::string type = f->sourceType;
        const auto plain = type == "8u"    ? reference<Zop8u>
                           : type == "16s" ? reference<Zop16s>
                                           : reference<Zop32f>;
        sweep::run(*f, {}, plain, sweep::shapes(*f));
      }
    }
  });
}

// So many extreme samples that 16, 32 and 48 bits would not do for one channel's sum, in long rows and in
// many.
TEST(Sums, LargeImagesDoNotOverflow) {
  targets::forEach([](const std::string& name) {
    constexpr int kSamples = 60'000'000;
    const std::vector<Zop8u> bytes(kSamples, 255);
    const std::vector<Zop16s> words(kSamples / 2, -32768);
    for (const int width : {kSamples / 3, 1000}) {
      const int height = kSamples / 3 / width;
      const double pixels = static_cast<double>(width) * height;
      double one = 0, three[3] = {}, four[4] = {};
      ASSERT_EQ(zopStatusOk, zopiSum_8u_C1R(bytes.data(), 3 * width, {3 * width, height}, &one));
      EXPECT_EQ(255 * 3 * pixels, one) << name;
      ASSERT_EQ(zopStatusOk, zopiSum_8u_C3R(bytes.data(), 3 * width, {width, height}, three));
      EXPECT_EQ(255 * pixels, three[1]) << name;
      ASSERT_EQ(zopStatusOk, zopiSum_16s_C4R(words.data(), width, {width / 8, height}, four));
      EXPECT_EQ(-32768.0 * (width / 8) * height, four[3]) << name;
    }
  });
}

// The order of the additions shows: large and small terms in turn.
TEST(Sums, OfNumbersKeepTheirOrder) {
  const float row[5] = {0x1p60f, 1.0f, 1.0f, -0x1p60f, 1.0f};
  double sum = 0, three[3];
  ASSERT_EQ(zopStatusOk, zopiSum_32f_C1R(row, 20, {5, 1}, &sum));
  EXPECT_EQ(((1.0 - 0x1p60) + 0x1p60), sum);  // odd columns 1 - 2^60, even ones 2^60 + 1 + 1
  ASSERT_EQ(zopStatusOk, zopiSum_32f_C3R(row, 12, {1, 1}, three));
  EXPECT_EQ(1.0, three[2]);
}

}  // namespace
