// Channels, 4:2:2 planes and zigzag blocks against sample-by-sample loops.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "support/targets.h"
#include "zopi.h"

namespace {

using sweep::Call;

// The bytes of every order of three channels, repeated ones included.
std::vector<sweep::Constants> allOrders() {
  std::vector<sweep::Constants> result;
  for (int i = 0; i < 27; ++i) {
    const Zop32s order[3] = {i % 3, i / 3 % 3, i / 9};
    const auto* bytes = reinterpret_cast<const unsigned char*>(order);
    result.push_back({{bytes, bytes + sizeof order}});
  }
  return result;
}

template <class T>
ZopStatus swapped(const Call& call) {
  Zop32s order[3];
  std::memcpy(order, call.constants[0], sizeof order);
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < 3; ++c) call.destination.set(x, y, c, call.sources[0].get<T>(x, y, order[c]));
    }
  }
  return zopStatusOk;
}

TEST(ChannelOrders, EqualTheReferenceAtEveryShape) {
  const std::vector<sweep::Constants> orders = allOrders();
  targets::forEach([&](const std::string& name) {
    SCOPED_TRACE("on " + name);
    for (const registry::Function* f : sweep::functionsOf("SwapChannels")) {
      const std::string type = f->sourceType;
      const auto plain = type == "8u"    ? swapped<Zop8u>
                         : type == "16u" ? swapped<Zop16u>
                                         : swapped<std::uint32_t>;
      std::vector<sweep::Shape> shapes = sweep::shapes(*f);
      shapes.push_back({70, 40, 1, {false, 1}});  // several pieces in place
      sweep::run(*f, {{{}}, orders}, plain, shapes);
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(ChannelOrders, Streamed) {
  constexpr int kPixels = 4000001;
  std::vector<Zop8u> from(3 * kPixels), to(3 * kPixels + 1);
  for (std::size_t i = 0; i < from.size(); ++i) from[i] = static_cast<Zop8u>(i * 7 + (i >> 9));
  const Zop32s order[3] = {2, 0, 1};
  targets::forEach([&](const std::string& name) {
    ASSERT_EQ(zopStatusOk, zopiSwapChannels_8u_C3R(from.data(), 3 * kPixels, to.data() + 1, 3 * kPixels,
                                                   {kPixels, 1}, order));
    for (int i = 0; i < 3 * kPixels; ++i)
      ASSERT_EQ(from[i / 3 * 3 + order[i % 3]], to[1 + i]) << i << " on " << name;
  });
}

// A picture in 4:2:2 between guards, as planes and as pixels: every image ends with its last sample.
class Picture422 {
 public:
  Picture422(ZopImageSize size, int padding, std::mt19937& random) {
    const int bytes[] = {size.width & ~1, size.width / 2, size.width / 2, (size.width & ~1) * 2};
    const int full[] = {size.width, size.width / 2, size.width / 2, size.width * 2};
    for (int i = 0; i < 4; ++i) {
      images_.push_back(std::make_unique<guarded::Region>(size.height, bytes[i], full[i] + padding * (i + 1),
                                                          guarded::Placement{padding % 2 == 0, padding},
                                                          random));
      at[i] = images_.back()->at();
      steps[i] = images_.back()->step();
      before.push_back(images_.back()->bytes());
    }
  }

  bool unchanged(int i) const { return images_[i]->equals(before[i]); }
  // The sample in a copy of an image's block.
  Zop8u& sample(int i, int x, int y) { return images_[i]->in(before[i])[y * steps[i] + x]; }

  Zop8u* at[4];
  int steps[4];
  std::vector<std::vector<unsigned char>> before;

 private:
  std::vector<std::unique_ptr<guarded::Region>> images_;
};

// Each sample of the picture in both of its places.
template <class F>
void eachSample(ZopImageSize size, const F& f) {
  for (int y = 0; y < size.height; ++y) {
    for (int pair = 0; pair < size.width / 2; ++pair) {
      f(0, 2 * pair, 4 * pair, y);
      f(1, pair, 4 * pair + 1, y);
      f(0, 2 * pair + 1, 4 * pair + 2, y);
      f(2, pair, 4 * pair + 3, y);
    }
  }
}

TEST(Planes422, EqualTheReferenceAtEveryWidth) {
  std::mt19937 random(1);
  targets::forEach([&](const std::string& name) {
    std::vector<ZopImageSize> sizes = {{1023, 2}, {4100, 2}};
    for (int width = 2; width < 2 * 128 + 8; ++width) sizes.push_back({width, 1 + width % 3});
    for (const ZopImageSize size : sizes) {
      for (const int padding : {0, 1, 2, 13}) {
        SCOPED_TRACE(name + ", width " + std::to_string(size.width) + ", padding " + std::to_string(padding));
        Picture422 p(size, padding, random), q(size, padding, random);
        const Zop8u* planes[3] = {p.at[0], p.at[1], p.at[2]};
        ASSERT_EQ(zopStatusOk, zopiJoin422_8u_P3C2R(planes, p.steps, p.at[3], p.steps[3], size));
        eachSample(size,
                   [&](int plane, int x, int at, int y) { p.sample(3, at, y) = p.sample(plane, x, y); });
        ASSERT_EQ(zopStatusOk, zopiSplit422_8u_C2P3R(q.at[3], q.steps[3], q.at, q.steps, size));
        eachSample(size,
                   [&](int plane, int x, int at, int y) { q.sample(plane, x, y) = q.sample(3, at, y); });
        for (int i = 0; i < 4; ++i) ASSERT_TRUE(p.unchanged(i) && q.unchanged(i)) << "image " << i;
      }
    }
  });
}

TEST(Planes422, StepsMayBeAsShortAsTheirRowsAndNoShorter) {
  std::mt19937 random(1);
  Picture422 p({5, 1}, 0, random);
  const Zop8u* planes[3] = {p.at[0], p.at[1], p.at[2]};
  const int shortest[3] = {5, 2, 2};
  EXPECT_EQ(zopStatusOk, zopiJoin422_8u_P3C2R(planes, shortest, p.at[3], 10, {5, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiJoin422_8u_P3C2R(planes, shortest, p.at[3], 9, {5, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiSplit422_8u_C2P3R(p.at[3], 10, p.at, shortest, {6, 1}));
  EXPECT_EQ(zopStatusBadSize, zopiSplit422_8u_C2P3R(p.at[3], 1, p.at, shortest, {1, 1}));
  EXPECT_EQ(zopStatusBadStep, zopiSplit422_8u_C2P3R(p.at[3], 0, p.at, shortest, {1, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiSplit422_8u_C2P3R(p.at[3], 10, p.at, shortest, {INT32_MAX, 1}));
}

TEST(Zigzag, ScanOfABlock) {
  const int upperHalf[32] = {0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,
                             12, 19, 26, 33, 40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28};
  Zop16s block[64], scanned[64], back[64];
  for (int i = 0; i < 64; ++i) block[i] = static_cast<Zop16s>(1000 * i - 32000);
  ASSERT_EQ(zopStatusOk, zopiZigzagFwd8x8_16s_C1(block, scanned));
  for (int k = 0; k < 32; ++k) {
    EXPECT_EQ(block[upperHalf[k]], scanned[k]) << k;
    EXPECT_EQ(block[63 - upperHalf[k]], scanned[63 - k]) << 63 - k;  // the lower half turned by half a turn
  }
  ASSERT_EQ(zopStatusOk, zopiZigzagInv8x8_16s_C1(scanned, back));
  EXPECT_EQ(0, std::memcmp(block, back, sizeof block));
}

}  // namespace
