// Wavelet transforms, against their definition step by step.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <vector>

#include "support/guarded.h"
#include "support/sweep.h"
#include "zopi.h"

namespace {

struct Filter {
  std::vector<Zop32f> taps;
  int anchor;

  int size() const { return static_cast<int>(taps.size()); }
};
struct Pair {
  Filter low, high;
};

// An image with borders between unmapped pages. Coordinates of the borders are below 0, or beyond the size.
class Picture {
 public:
  Picture(ZopImageSize size, int channels, int before, int behind, int padding, std::mt19937& random)
      : size_(size),
        channels_(channels),
        region_(before + size.height + behind, rowBytes(before + size.width + behind),
                rowBytes(before + size.width + behind) + padding, {padding % 8 == 0, 0}, random,
                before * (rowBytes(before + size.width + behind + 1) + padding)) {
    for (int y = -before; y < size.height + behind; ++y) {
      for (int x = -before * channels; x < (size.width + behind) * channels; ++x)
        set(x, y, std::uniform_real_distribution<Zop32f>(-1, 1)(random));
    }
  }
  // Columns count samples.
  Zop32f get(int x, int y) {
    Zop32f value;
    std::memcpy(&value, at(x, y), sizeof value);
    return value;
  }
  void set(int x, int y, Zop32f value) { std::memcpy(at(x, y), &value, sizeof value); }

  Zop32f* data() { return reinterpret_cast<Zop32f*>(region_.at()); }
  int step() const { return region_.step(); }
  ZopImageSize size() const { return size_; }
  std::vector<unsigned char> bytes() const { return region_.bytes(); }
  // What the picture would hold with these samples, row after row.
  std::vector<unsigned char> with(const std::vector<Zop32f>& samples) {
    std::vector<unsigned char> copy = bytes();
    const std::size_t row = static_cast<std::size_t>(size_.width) * channels_;
    for (int y = 0; y < size_.height; ++y)
      std::memcpy(region_.in(copy) + static_cast<std::ptrdiff_t>(y) * step(), samples.data() + y * row,
                  row * sizeof(Zop32f));
    return copy;
  }

 private:
  int rowBytes(int pixels) const { return pixels * channels_ * static_cast<int>(sizeof(Zop32f)); }
  unsigned char* at(int x, int y) {
    return region_.at() + static_cast<std::ptrdiff_t>(y) * step() +
           x * static_cast<std::ptrdiff_t>(sizeof(Zop32f));
  }
  ZopImageSize size_;
  int channels_;
  guarded::Region region_;
};

// Contexts and calls of one number of channels.
template <int kChannels>
struct Forms;
template <>
struct Forms<1> {
  static constexpr auto makeForward = zopiWTFwdInitAlloc_32f_C1R;
  static constexpr auto makeInverse = zopiWTInvInitAlloc_32f_C1R;
  static constexpr auto freeForward = zopiWTFwdFree_32f_C1R;
  static constexpr auto freeInverse = zopiWTInvFree_32f_C1R;
  static constexpr auto forwardBytes = zopiWTFwdGetBufSize_C1R;
  static constexpr auto inverseBytes = zopiWTInvGetBufSize_C1R;
  static constexpr auto forward = zopiWTFwd_32f_C1R;
  static constexpr auto inverse = zopiWTInv_32f_C1R;
  using Forward = ZopWTFwdState_32f_C1R;
  using Inverse = ZopWTInvState_32f_C1R;
};
template <>
struct Forms<3> {
  static constexpr auto makeForward = zopiWTFwdInitAlloc_32f_C3R;
  static constexpr auto makeInverse = zopiWTInvInitAlloc_32f_C3R;
  static constexpr auto freeForward = zopiWTFwdFree_32f_C3R;
  static constexpr auto freeInverse = zopiWTInvFree_32f_C3R;
  static constexpr auto forwardBytes = zopiWTFwdGetBufSize_C3R;
  static constexpr auto inverseBytes = zopiWTInvGetBufSize_C3R;
  static constexpr auto forward = zopiWTFwd_32f_C3R;
  static constexpr auto inverse = zopiWTInv_32f_C3R;
  using Forward = ZopWTFwdState_32f_C3R;
  using Inverse = ZopWTInvState_32f_C3R;
};

template <class Make, class Context>
void makeContext(Make make, Context** context, const Pair& pair) {
  ASSERT_EQ(zopStatusOk, make(context, pair.low.taps.data(), pair.low.size(), pair.low.anchor,
                              pair.high.taps.data(), pair.high.size(), pair.high.anchor));
}

// A call's memory, which ends at an unmapped page.
guarded::Region bufferOf(int bytes, std::mt19937& random) { return {1, bytes, bytes, {true, 0}, random}; }

template <int kChannels>
void forward(const Pair& pair, Picture& src, Picture* const (&out)[4]) {
  using Form = Forms<kChannels>;
  typename Form::Forward* state = nullptr;
  makeContext(Form::makeForward, &state, pair);
  int bytes = 0;
  ASSERT_EQ(zopStatusOk, Form::forwardBytes(state, &bytes));
  std::mt19937 random(1);
  guarded::Region buffer = bufferOf(bytes, random);
  ASSERT_EQ(zopStatusOk, Form::forward(src.data(), src.step(), out[0]->data(), out[0]->step(), out[1]->data(),
                                       out[1]->step(), out[2]->data(), out[2]->step(), out[3]->data(),
                                       out[3]->step(), out[0]->size(), state, buffer.at()));
  EXPECT_EQ(zopStatusOk, Form::freeForward(state));
}

template <int kChannels>
void inverse(const Pair& pair, Picture* const (&src)[4], Picture& out) {
  using Form = Forms<kChannels>;
  typename Form::Inverse* state = nullptr;
  makeContext(Form::makeInverse, &state, pair);
  int bytes = 0;
  ASSERT_EQ(zopStatusOk, Form::inverseBytes(state, &bytes));
  std::mt19937 random(1);
  guarded::Region buffer = bufferOf(bytes, random);
  ASSERT_EQ(zopStatusOk, Form::inverse(src[0]->data(), src[0]->step(), src[1]->data(), src[1]->step(),
                                       src[2]->data(), src[2]->step(), src[3]->data(), src[3]->step(),
                                       src[0]->size(), out.data(), out.step(), state, buffer.at()));
  EXPECT_EQ(zopStatusOk, Form::freeInverse(state));
}

Filter noise(int length, int anchor, std::mt19937& random) {
  Filter filter = {{}, anchor};
  for (int i = 0; i < length; ++i)
    filter.taps.push_back(std::uniform_real_distribution<Zop32f>(-1, 1)(random));
  return filter;
}

// Anchors at both ends and between; lengths that differ.
std::vector<Pair> pairs(std::mt19937& random) {
  std::vector<Pair> result;
  for (const auto& [low, lowAnchor, high, highAnchor] :
       {std::array{2, 0, 2, 0}, std::array{2, 1, 2, 1}, std::array{2, 1, 3, 1}, std::array{3, 2, 2, 0},
        std::array{9, 4, 7, 3}, std::array{4, 3, 5, 0}, std::array{8, 0, 3, 2}, std::array{6, 5, 40, 20}})
    result.push_back({noise(low, lowAnchor, random), noise(high, highAnchor, random)});
  return result;
}

// Widths of parts of vectors, of whole ones and of more than a strip.
constexpr ZopImageSize kSizes[] = {{1, 1},  {2, 3},   {7, 2},   {16, 1}, {33, 2},
                                   {64, 2}, {129, 1}, {256, 1}, {300, 2}};

// A sum that is rounded to float after each row, the last tap's first.
Zop32f downColumn(const Filter& filter, Picture& src, int x, int row) {
  const int last = filter.size() - 1;
  Zop32f sum = filter.taps[last] * src.get(x, row + filter.anchor - last);
  for (int j = last - 1; j >= 0; --j)
    sum = static_cast<Zop32f>(double{sum} + double{filter.taps[j]} * src.get(x, row + filter.anchor - j));
  return sum;
}

template <int kChannels>
void compareForward() {
  std::mt19937 random(5);
  for (const Pair& pair : pairs(random)) {
    const Filter &low = pair.low, &high = pair.high;
    const int before = std::max(low.size() - low.anchor, high.size() - high.anchor) - 1;
    const int behind = std::max(low.anchor, high.anchor) - 1;
    for (const ZopImageSize size : kSizes) {
      const int padding = 4 * (size.width % 3);
      Picture src({2 * size.width, 2 * size.height}, kChannels, before, behind, padding, random);
      Picture approx(size, kChannels, 0, 0, padding, random), x(size, kChannels, 0, 0, 0, random);
      Picture y(size, kChannels, 0, 0, 2, random), xy(size, kChannels, 0, 0, padding, random);
      Picture* const out[] = {&approx, &x, &y, &xy};
      std::vector<unsigned char> expected[4];
      for (int band = 0; band < 4; ++band) {
        const Filter &down = band % 2 ? high : low, &along = band / 2 ? high : low;
        std::vector<Zop32f> samples;
        for (int r = 0; r < size.height; ++r) {
          for (int i = 0; i < size.width * kChannels; ++i) {
            double sum = 0;
            for (int j = along.size() - 1; j >= 0; --j) {
              const int column = (2 * (i / kChannels) + along.anchor - j) * kChannels + i % kChannels;
              sum += double{along.taps[j]} * downColumn(down, src, column, 2 * r);
            }
            samples.push_back(static_cast<Zop32f>(sum));
          }
        }
        expected[band] = out[band]->with(samples);
      }
      forward<kChannels>(pair, src, out);
      for (int band = 0; band < 4; ++band)
        ASSERT_EQ(expected[band], out[band]->bytes()) << "subband " << band << ", width " << size.width;
    }
  }
}

TEST(Wavelet, SplitsByDefinition) {
  sweep::onEveryTarget([] {
    compareForward<1>();
    compareForward<3>();
  });
}

// The taps that meet samples at an output's place, the last one first, with the samples' numbers.
struct Met {
  double tap;
  int at;
};
std::vector<Met> met(const Filter& filter, int place) {
  std::vector<Met> result;
  for (int j = filter.size() - 1; j >= 0; --j) {
    if ((place + filter.anchor - j) % 2 == 0)
      result.push_back({filter.taps[j], (place + filter.anchor - j) / 2});
  }
  return result;
}

template <int kChannels>
void compareInverse() {
  std::mt19937 random(6);
  for (const Pair& pair : pairs(random)) {
    const Filter &low = pair.low, &high = pair.high;
    // Of half the taps of the larger filter, those before an output's place and those behind it.
    int before = 0, behind = 0;
    for (const Filter* filter : {&low, &high}) {
      for (const int place : {0, 1}) {
        before = std::max(before, -met(*filter, place).front().at);
        behind = std::max(behind, met(*filter, place).back().at);
      }
    }
    for (const ZopImageSize size : kSizes) {
      Picture approx(size, kChannels, before, behind, 4, random),
          x(size, kChannels, before, behind, 0, random);
      Picture y(size, kChannels, before, behind, 8, random), xy(size, kChannels, before, behind, 2, random);
      Picture* const src[] = {&approx, &x, &y, &xy};
      Picture out({2 * size.width, 2 * size.height}, kChannels, 0, 0, 4, random);
      // The sums down the columns for a row of the image, borders included.
      const auto rowOf = [&](Picture& lows, Picture& highs, int row) {
        std::vector<Zop32f> sums((before + size.width + behind) * kChannels, -0.0f);
        for (const auto& [filter, picture] : {std::pair{&low, &lows}, std::pair{&high, &highs}}) {
          for (const auto [tap, at] : met(*filter, row)) {
            for (int i = 0; i < static_cast<int>(sums.size()); ++i)
              sums[i] = static_cast<Zop32f>(sums[i] + tap * picture->get(i - before * kChannels, at));
          }
        }
        return sums;
      };
      std::vector<Zop32f> samples;
      for (int r = 0; r < 2 * size.height; ++r) {
        const std::vector<Zop32f> lows = rowOf(approx, x, r), highs = rowOf(y, xy, r);
        for (int pixel = 0; pixel < 2 * size.width; ++pixel) {
          const std::vector<Met> lowTaps = met(low, pixel), highTaps = met(high, pixel);
          for (int c = 0; c < kChannels; ++c) {
            double lowSum = 0, highSum = 0;
            for (const auto [tap, at] : lowTaps) lowSum += tap * lows[(before + at) * kChannels + c];
            for (const auto [tap, at] : highTaps) highSum += tap * highs[(before + at) * kChannels + c];
            samples.push_back(static_cast<Zop32f>(static_cast<Zop32f>(lowSum) + highSum));
          }
        }
      }
      const std::vector<unsigned char> expected = out.with(samples);
      inverse<kChannels>(pair, src, out);
      ASSERT_EQ(expected, out.bytes()) << "width " << size.width;
    }
  }
}

TEST(Wavelet, PutsTogetherByDefinition) {
  sweep::onEveryTarget([] {
    compareInverse<1>();
    compareInverse<3>();
  });
}

// The pair of Le Gall and Tabatabai with five and three taps, on an image that repeats: there and back.
TEST(Wavelet, ComesBack) {
  const Pair there = {{{-.125f, .25f, .75f, .25f, -.125f}, 2}, {{-.5f, 1, -.5f}, 2}};
  const Pair back = {{{.5f, 1, .5f}, 1}, {{-.125f, -.25f, .75f, -.25f, -.125f}, 1}};
  constexpr ZopImageSize kWhole = {24, 16}, kHalf = {12, 8};
  constexpr int kBorder = 4;
  std::mt19937 random(7);
  const auto repeat = [](Picture& picture) {
    const auto [w, h] = picture.size();
    for (int y = -kBorder; y < h + kBorder; ++y) {
      for (int x = -kBorder; x < w + kBorder; ++x) picture.set(x, y, picture.get((x + w) % w, (y + h) % h));
    }
  };
  Picture src(kWhole, 1, kBorder, kBorder, 0, random), out(kWhole, 1, 0, 0, 0, random);
  Picture approx(kHalf, 1, kBorder, kBorder, 0, random), x(kHalf, 1, kBorder, kBorder, 0, random);
  Picture y(kHalf, 1, kBorder, kBorder, 0, random), xy(kHalf, 1, kBorder, kBorder, 0, random);
  Picture* const bands[] = {&approx, &x, &y, &xy};
  repeat(src);
  forward<1>(there, src, bands);
  for (Picture* band : bands) repeat(*band);
  inverse<1>(back, bands, out);
  for (int row = 0; row < kWhole.height; ++row) {
    for (int column = 0; column < kWhole.width; ++column)
      ASSERT_NEAR(src.get(column, row), out.get(column, row), 1e-6) << column << ", " << row;
  }
}

TEST(Wavelet, BuffersAndContexts) {
  const Zop32f taps[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  ZopWTFwdState_32f_C3R* forward = nullptr;
  ASSERT_EQ(zopStatusOk, zopiWTFwdInitAlloc_32f_C3R(&forward, taps, 9, 4, taps, 7, 5));
  int bytes = 0;
  EXPECT_EQ(zopStatusOk, zopiWTFwdGetBufSize_C3R(forward, &bytes));
  EXPECT_EQ((4 + 4 + 512) * 12 * 2, bytes);  // a multiple of 32 already
  ZopWTFwdState_32f_C1R* ofOneChannel = nullptr;
  ASSERT_EQ(zopStatusOk, zopiWTFwdInitAlloc_32f_C1R(&ofOneChannel, taps, 2, 0, taps, 2, 0));
  EXPECT_EQ(zopStatusOk, zopiWTFwdGetBufSize_C1R(ofOneChannel, &bytes));
  EXPECT_EQ(2048 + 4 * 512, bytes);
  EXPECT_EQ(zopStatusBadContext,
            zopiWTFwdGetBufSize_C3R(reinterpret_cast<ZopWTFwdState_32f_C3R*>(ofOneChannel), nullptr));
  EXPECT_EQ(zopStatusNullPointer, zopiWTFwdGetBufSize_C1R(ofOneChannel, nullptr));
  EXPECT_EQ(zopStatusOk, zopiWTFwdFree_32f_C3R(forward));
  EXPECT_EQ(zopStatusOk, zopiWTFwdFree_32f_C1R(ofOneChannel));

  // Pointers, then lengths, then anchors.
  ZopWTInvState_32f_C1R* inverse = nullptr;
  EXPECT_EQ(zopStatusNullPointer, zopiWTInvInitAlloc_32f_C1R(&inverse, taps, 1, 0, nullptr, 2, 0));
  EXPECT_EQ(zopStatusBadSize, zopiWTInvInitAlloc_32f_C1R(&inverse, taps, 2, 2, taps, 1, 0));
  EXPECT_EQ(zopStatusBadAnchor, zopiWTInvInitAlloc_32f_C1R(&inverse, taps, 2, 1, taps, 2, 2));
  EXPECT_EQ(zopStatusBadAnchor, zopiWTInvInitAlloc_32f_C1R(&inverse, taps, 2, -1, taps, 2, 0));
  EXPECT_EQ(nullptr, inverse);
}

}  // namespace
