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
        T value;
        std::memcpy(&value, call.constant + c * sizeof(T), sizeof(T));
        out.set(x, y, c, fills ? value : call.sources[0].get<T>(x, y, c));
      }
    }
  }
  return zopStatusOk;
}

class Moves : public testing::TestWithParam<const char*> {};

TEST_P(Moves, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTargetAndTeam([&](bool everyShape) {
    if (!everyShape) return;  // no threads here
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
