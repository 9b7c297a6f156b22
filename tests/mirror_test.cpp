// Mirrors against sample-by-sample loops.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;
using sweep::View;

// Rows of 16-bit and 32-bit samples advance by whole samples, but in the C4 forms.
View inItsSteps(View image, bool isC4) {
  if (!isC4) image.step -= image.step % image.sampleBytes;
  return image;
}

template <class T>
ZopStatus reference(const Call& call) {
  const std::string layout = call.function.sourceLayout;
  const View from = inItsSteps(call.sources[0], layout == "C4"),
             to = inItsSteps(call.destination, layout == "C4");
  const int flip = call.parameters[0].get<int>();
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      const int toX = flip == 0 ? x : call.size.width - 1 - x, toY = flip == 1 ? y : call.size.height - 1 - y;
      for (int c = 0; c < (layout == "AC4" ? 3 : from.samples); ++c)
        to.set(toX, toY, c, from.get<T>(x, y, c));
    }
  }
  return zopStatusOk;
}

TEST(Mirrors, EqualTheReferenceAtEveryShape) {
  targets::forEach([](const std::string& name) {
    SCOPED_TRACE("on " + name);
    for (const registry::Function* f : sweep::functionsOf("Mirror")) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? reference<Zop8u>
                         : type == "16u" ? reference<Zop16u>
                                         : reference<Zop32s>;
      std::vector<sweep::Shape> shapes = sweep::shapes(*f);
      // Odd and even heights and halves of rows, in one band of the exchange in place and in several.
      for (const int width : {1, 2, 5, 64, 85, 129}) {
        for (const int height : {7, 8, 40}) {
          shapes.push_back({width, height, 0, {true, 0}});
          shapes.push_back({width, height, 5, {false, 3}});
        }
      }
      for (const int width : {4080, 8163}) shapes.push_back({width, 3, 1, {true, 0}});
      sweep::run(*f, {{{0}, {1}, {2}}, {{}}}, plain, shapes);
      if (testing::Test::HasFailure()) return;
    }
  });
}

// Beyond the caches, rows in reverse are stored past them.
TEST(MirrorsLarge, Streamed) {
  targets::forEach([](const std::string& name) {
    constexpr int kWidth = 2049, kHeight = 1800, kStep = 3 * kWidth + 5;
    std::vector<Zop8u> from(kStep * kHeight), to(from.size() + 1, 7);
    for (std::size_t i = 0; i < from.size(); ++i) from[i] = static_cast<Zop8u>(i * 7 + (i >> 9));
    for (const int flip : {1, 2}) {
      ASSERT_EQ(zopStatusOk,
                zopiMirror_8u_C3R(from.data(), kStep, to.data() + 1, kStep, {kWidth, kHeight}, flip));
      for (int y = 0; y < kHeight; ++y) {
        const Zop8u* row = from.data() + (flip == 1 ? y : kHeight - 1 - y) * kStep;
        const Zop8u* result = to.data() + 1 + y * kStep;
        for (int x = 0; x < kStep; ++x) {
          const Zop8u expected = x < 3 * kWidth ? row[3 * (kWidth - 1 - x / 3) + x % 3] : 7;
          ASSERT_EQ(expected, result[x]) << x << "," << y << " flipped " << flip << " on " << name;
        }
      }
    }
  });
}

TEST(MirrorsByHand, CodesAndSteps) {
  Zop8u image[6] = {1, 2, 3, 4, 5, 6};
  for (const int flip : {3, -1}) EXPECT_EQ(zopStatusBadAxis, zopiMirror_8u_C1IR(image, 3, {3, 2}, flip));
  EXPECT_EQ(zopStatusBadStep, zopiMirror_8u_C1IR(image, 0, {0, 2}, 3));  // step before size before flip
  EXPECT_EQ(zopStatusBadSize, zopiMirror_8u_C1IR(image, 3, {0, 2}, 3));
  EXPECT_EQ(zopStatusOk, zopiMirror_8u_C3IR(image, 6, {2, 1}, 1));
  const Zop8u exchanged[6] = {4, 5, 6, 1, 2, 3};
  EXPECT_EQ(0, std::memcmp(exchanged, image, sizeof image));

  // A step of 3 is one sample of 16 bits: rows overlap, and are exchanged all the same.
  Zop16u column[2] = {10, 20};
  EXPECT_EQ(zopStatusOk, zopiMirror_16u_C1IR(column, 3, {1, 2}, 0));
  EXPECT_EQ(20, column[0]);
  EXPECT_EQ(10, column[1]);
}

}  // namespace
