// Copies and fills against sample-by-sample loops.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;
using sweep::View;

// Which samples of a destination pixel a form writes, and from where: by the layouts alone.
template <class T>
ZopStatus reference(const Call& call) {
  const registry::Function& f = call.function;
  const std::string from = f.sourceLayout, to = f.destinationLayout;
  const bool fills = std::string(f.operation) == "Set", ofInterest = f.has(registry::kChannelOfInterest);
  const View& out = call.destination;
  int written = out.planes > 0 ? out.planes : out.samples;
  if (ofInterest || from == "C1" || to == "C1")
    written = 1;
  else if (from == "AC4" || to == "AC4")
    written = 3;
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      if (f.has(registry::kMasked) && call.mask.get<Zop8u>(x, y) == 0) continue;
      for (int c = 0; c < written; ++c) {
        T value{};
        if (fills) std::memcpy(&value, call.constants[0] + c * sizeof(T), sizeof(T));
        out.set(x, y, c, fills ? value : call.sources[0].get<T>(x, y, c));
      }
    }
  }
  return zopStatusOk;
}

class Moves : public testing::TestWithParam<const char*> {};

TEST_P(Moves, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf(GetParam())) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? reference<Zop8u>
                         : type == "16s" ? reference<Zop16s>
                                         : reference<std::uint32_t>;
      sweep::run(*f, {}, plain, sweep::shapes(*f));
      if (HasFailure()) return;
    }
  });
}

INSTANTIATE_TEST_SUITE_P(Operations, Moves, testing::Values("Copy", "Set"),
                         [](const auto& each) { return std::string(each.param); });

// A copy of many bytes takes other ways than a short one: by the C library, and past the caches.
TEST(MovesLarge, LongAndStreamedCopies) {
  for (const int width : {300001, 12000007}) {
    std::vector<Zop8u> from(width), to(width + 2, 1);
    for (int i = 0; i < width; ++i) from[i] = static_cast<Zop8u>(i * 31 + (i >> 8));
    ASSERT_EQ(zopStatusOk, zopiCopy_8u_C1R(from.data(), width, to.data() + 1, width, {width, 1}));
    EXPECT_EQ(1, to.front());
    EXPECT_EQ(1, to.back());
    EXPECT_EQ(0, std::memcmp(from.data(), to.data() + 1, width));

    const Zop8u value[3] = {1, 2, 3};
    ASSERT_EQ(zopStatusOk, zopiSet_8u_C3R(value, to.data(), width, {width / 3, 1}));
    for (int i = 0; i < width / 3 * 3; ++i) ASSERT_EQ(value[i % 3], to[i]);
  }
}

// Planes and pixels beyond the caches are stored past them, from the first aligned pixel on.
TEST(MovesLarge, StreamedPlanes) {
  targets::forEach([](const std::string& name) {
    constexpr int kWidth = 4099, kHeight = 1100;
    constexpr int kPixelStep = 3 * kWidth + 7, kPlaneStep = kWidth + 2;
    constexpr int kPlaneBytes = kPlaneStep * kHeight / 64 * 64 + 64;  // aligned alike, so that all can stream
    std::vector<Zop8u> pixels(kPixelStep * kHeight), joined(pixels.size(), 5), memory(3 * kPlaneBytes, 9);
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<Zop8u>(i * 7 + (i >> 9));
    Zop8u* planes[3];
    for (int c = 0; c < 3; ++c) planes[c] = memory.data() + c * kPlaneBytes;
    ASSERT_EQ(zopStatusOk,
              zopiCopy_8u_C3P3R(pixels.data(), kPixelStep, planes, kPlaneStep, {kWidth, kHeight}));
    ASSERT_EQ(zopStatusOk,
              zopiCopy_8u_P3C3R(planes, kPlaneStep, joined.data(), kPixelStep, {kWidth, kHeight}));
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kPixelStep; ++x) {
        const int i = y * kPixelStep + x;
        ASSERT_EQ(x < 3 * kWidth ? pixels[i] : 5, joined[i]) << x << "," << y << " on " << name;
      }
      for (int x = 0; x < kPlaneStep; ++x) {
        for (int c = 0; c < 3; ++c) {
          ASSERT_EQ(x < kWidth ? pixels[y * kPixelStep + 3 * x + c] : 9, planes[c][y * kPlaneStep + x])
              << x << "," << y << " on " << name;
        }
      }
    }
  });
}

// Long fills: one byte again and again, and copies of a block, for wide samples too.
TEST(MovesLarge, LongFillsOfWideSamples) {
  constexpr int kWidth = 200003;
  std::vector<Zop32f> image(3 * kWidth + 2, -1.0f);
  const Zop32f values[3] = {1.5f, -2.0f, 0.0f};
  ASSERT_EQ(zopStatusOk, zopiSet_32f_C3R(values, image.data() + 1, 12 * kWidth, {kWidth, 1}));
  for (int i = 0; i < 3 * kWidth; ++i) ASSERT_EQ(values[i % 3], image[1 + i]);
  ASSERT_EQ(zopStatusOk, zopiSet_32f_C1R(0.0f, image.data() + 1, 12 * kWidth, {3 * kWidth, 1}));
  for (int i = 0; i < 3 * kWidth; ++i) ASSERT_EQ(0.0f, image[1 + i]);
  EXPECT_EQ(-1.0f, image.front());
  EXPECT_EQ(-1.0f, image.back());
}

// Alpha that another thread owns: it changes while the colours are copied and filled, and no change is lost.
TEST(MovesConcurrency, UntouchedAlphaBelongsToOthers) {
  targets::forEach([](const std::string& name) {
    constexpr int kPixels = 1000, kRounds = 300;
    std::vector<Zop8u> from(4 * kPixels, 5), image(4 * kPixels, 0);
    const Zop8u colours[3] = {1, 2, 3};
    int lost = 0;
#pragma omp parallel sections num_threads(2)
    {
#pragma omp section
      for (int i = 0; i < kRounds; ++i) {
        zopiCopy_8u_AC4R(from.data(), 4 * kPixels, image.data(), 4 * kPixels, {kPixels, 1});
        zopiSet_8u_AC4R(colours, image.data(), 4 * kPixels, {kPixels, 1});
        zopiSet_8u_C4CR(9, image.data() + 1, 4 * kPixels, {kPixels, 1});
      }
#pragma omp section
      for (int i = 0; i < kRounds; ++i) {
        for (int p = 0; p < kPixels; ++p) {
          volatile Zop8u& alpha = image[4 * p + 3];
          lost += alpha != static_cast<Zop8u>(i);
          alpha = static_cast<Zop8u>(i + 1);
        }
      }
    }
    EXPECT_EQ(0, lost) << "on " << name;
  });
}

}  // namespace
