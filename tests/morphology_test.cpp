// Erosion and dilation against the plain extremes of the cells under a mask.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using registry::Value;
using sweep::Call;

struct Mask {
  ZopImageSize size;
  ZopImagePoint anchor;
  std::vector<Zop8u> cells;

  std::vector<Value> parameters() { return {static_cast<void*>(cells.data()), size, anchor}; }
};

Mask fullMask(ZopImageSize size, ZopImagePoint anchor) {
  return {size, anchor, std::vector<Zop8u>(static_cast<std::size_t>(size.width) * size.height, 1)};
}
Mask randomMask(ZopImageSize size, ZopImagePoint anchor, unsigned oneOf, std::mt19937& random) {
  Mask mask = fullMask(size, anchor);
  for (Zop8u& cell : mask.cells) cell = static_cast<Zop8u>(random() % oneOf == 0 ? 0 : 1 + random() % 255);
  mask.cells[random() % mask.cells.size()] = 0xff;
  return mask;
}
Mask ellipse(int diameter) {
  Mask mask = fullMask({diameter, diameter}, {diameter / 2, diameter / 2});
  for (int y = 0; y < diameter; ++y) {
    for (int x = 0; x < diameter; ++x) {
      const int dx = 2 * x + 1 - diameter, dy = 2 * y + 1 - diameter;
      mask.cells[y * diameter + x] = dx * dx + dy * dy <= diameter * diameter;
    }
  }
  return mask;
}

// The extreme of the samples under a mask.
template <class T, class Sample>
T extremeAt(int x, int y, const Mask& mask, bool erodes, const Sample& sample) {
  bool any = false;
  T best = 0;
  for (int j = 0; j < mask.size.height; ++j) {
    for (int i = 0; i < mask.size.width; ++i) {
      if (mask.cells[j * mask.size.width + i] == 0) continue;
      const T s = sample(x + i - mask.anchor.x, y + j - mask.anchor.y);
      if (!any || (erodes ? s < best : s > best)) best = s;
      any = true;
    }
  }
  return best;
}

template <class T>
sweep::Reference reference(const registry::Function& f, Mask mask) {
  const bool erodes = std::string(f.operation).starts_with("Erode");
  return [=](const Call& call) {
    const int channels = std::string(f.sourceLayout) == "AC4" ? 3 : call.destination.samples;
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) {
        for (int c = 0; c < channels; ++c) {
          const auto sample = [&](int sx, int sy) { return call.sources[0].get<T>(sx, sy, c); };
          call.destination.set<T>(x, y, c, extremeAt<T>(x, y, mask, erodes, sample));
        }
      }
    }
    return zopStatusOk;
  };
}

// Bytes: every form and many shapes.
void compareBytes(const registry::Function& f, Mask& mask, bool takesMask,
                  const std::vector<sweep::Shape>& shapes) {
  sweep::Options options;
  if (takesMask) options.parameters = {mask.parameters()};
  sweep::run(f, options, reference<Zop8u>(f, mask), shapes);
}

std::vector<const registry::Function*> functions(const std::string& suffix) {
  std::vector<const registry::Function*> all;
  for (const char* operation : {"Erode", "Dilate"}) {
    for (const auto* f : sweep::functionsOf(operation + suffix, {"8u"})) all.push_back(f);
  }
  return all;
}

TEST(Morphology, SquaresAtEveryShape) {
  sweep::onEveryTarget([] {
    Mask square = fullMask({3, 3}, {1, 1});
    for (const auto* f : functions("3x3")) {
      compareBytes(*f, square, false, sweep::shapes(*f));
      compareBytes(*f, square, false, {{33, 1, 0, {}}, {5, 9, 3, {}}, {70, 24, 0, {}}, {2, 17, 1, {}}});
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(Morphology, ElementsAtEveryShape) {
  sweep::onEveryTarget([] {
    std::mt19937 random(3);
    Mask single = fullMask({1, 1}, {0, 0}), corner = fullMask({3, 3}, {1, 0});
    std::fill(corner.cells.begin() + 1, corner.cells.end(), Zop8u{0});
    std::vector<Mask> masks = {single, corner, ellipse(5), randomMask({4, 3}, {3, 0}, 2, random)};
    for (const auto* f : functions("")) {
      for (Mask& mask : masks) {
        mask.anchor.y = 0;  // in place, lower images go further than their halo
        compareBytes(*f, mask, true, sweep::shapes(*f));
      }
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(Morphology, ElementsOfManySizes) {
  sweep::onEveryTarget([] {
    std::mt19937 random(5);
    for (const auto* f : functions("")) {
      for (const ZopImageSize size :
           {ZopImageSize{7, 7}, {19, 4}, {2, 13}, {31, 9}, {70, 3}, {1, 5}, {9, 1}}) {
        const ZopImagePoint anchor = {size.width / 3, size.height - 1};
        Mask masks[] = {fullMask(size, anchor), randomMask(size, anchor, 3, random),
                        randomMask(size, anchor, 9, random)};
        for (Mask& mask : masks) {
          compareBytes(*f, mask, true, {{41, 13, 0, {}}, {3, 14, 5, {}}, {1100, 15, 7, {false, 11}}});
        }
        if (testing::Test::HasFailure()) return;
      }
      Mask disc = ellipse(21);
      compareBytes(*f, disc, true, {{130, 25, 3, {}}});
    }
  });
}

// A picture of numbers that compare in one way only, with room around.
constexpr int kStride = 4 * 80, kOrigin = 20 * kStride + 4 * 12, kRows = 70;
std::vector<float> numbers(unsigned seed) {
  std::mt19937 random(seed);
  std::vector<float> picture(kStride * kRows);
  for (float& sample : picture) sample = std::ldexp(static_cast<float>(static_cast<int>(random() | 1)), -20);
  picture[kOrigin + 3] = HUGE_VALF;
  picture[kOrigin + 9] = -HUGE_VALF;
  return picture;
}

template <class T>
using Apart = ZopStatus (*)(const T*, int, T*, int, ZopImageSize, const Zop8u*, ZopImageSize, ZopImagePoint);
template <class T>
using InPlace = ZopStatus (*)(T*, int, ZopImageSize, const Zop8u*, ZopImageSize, ZopImagePoint);

template <class T>
void expectExtremes(const std::vector<T>& before, std::vector<T> expected, const std::vector<T>& after,
                    int channels, int colours, ZopImageSize size, const Mask& mask, bool erodes) {
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      for (int c = 0; c < colours; ++c) {
        const auto sample = [&](int sx, int sy) {
          return before[kOrigin + sy * kStride + sx * channels + c];
        };
        expected[kOrigin + y * kStride + x * channels + c] = extremeAt<T>(x, y, mask, erodes, sample);
      }
    }
  }
  ASSERT_EQ(expected, after) << size.width << "x" << size.height << ", mask of " << mask.size.width << "x"
                             << mask.size.height;
}

TEST(Morphology, NumbersInEveryLayout) {
  struct Form {
    Apart<float> erode, dilate;
    int channels, colours;
  };
  const Form forms[] = {{zopiErode_32f_C1R, zopiDilate_32f_C1R, 1, 1},
                        {zopiErode_32f_C3R, zopiDilate_32f_C3R, 3, 3},
                        {zopiErode_32f_C4R, zopiDilate_32f_C4R, 4, 4},
                        {zopiErode_32f_AC4R, zopiDilate_32f_AC4R, 4, 3}};
  sweep::onEveryTarget([&] {
    std::mt19937 random(11);
    const std::vector<float> source = numbers(1), destination = numbers(2);
    for (const Form& form : forms) {
      for (const ZopImageSize maskSize : {ZopImageSize{3, 3}, {5, 4}, {1, 6}, {11, 1}}) {
        for (int width = 1; width < 45; ++width) {
          const Mask mask = randomMask(maskSize, {maskSize.width / 2, maskSize.height / 2}, 3, random);
          const ZopImageSize size = {width, 3};
          for (const bool erodes : {true, false}) {
            std::vector<float> after = destination;
            ASSERT_EQ(zopStatusOk, (erodes ? form.erode : form.dilate)(
                                       source.data() + kOrigin, 4 * kStride, after.data() + kOrigin,
                                       4 * kStride, size, mask.cells.data(), mask.size, mask.anchor));
            ASSERT_NO_FATAL_FAILURE(
                expectExtremes(source, destination, after, form.channels, form.colours, size, mask, erodes));
          }
        }
      }
    }
  });
}

// Lower images than anchor.y + 1 rows are written down to that row.
template <class T>
void compareInPlace(InPlace<T> function, const std::vector<T>& before, int channels, int colours) {
  std::mt19937 random(13);
  for (const ZopImageSize maskSize : {ZopImageSize{3, 3}, {2, 12}, {4, 1}}) {
    for (int y = 0; y < maskSize.height; ++y) {
      for (const int height : {1, 2, 3, 7, 8, 9, 17, 26}) {
        const Mask mask = randomMask(maskSize, {maskSize.width - 1, y}, 4, random);
        std::vector<T> after = before;
        ASSERT_EQ(zopStatusOk, function(after.data() + kOrigin, kStride * static_cast<int>(sizeof(T)),
                                        {19, height}, mask.cells.data(), mask.size, mask.anchor));
        ASSERT_NO_FATAL_FAILURE(expectExtremes(before, before, after, channels, colours,
                                               {19, std::max(height, y + 1)}, mask, true));
      }
    }
  }
}

TEST(Morphology, InPlaceAtEveryHeightAndAnchor) {
  std::mt19937 random(17);
  std::vector<Zop8u> bytes(kStride * kRows);
  for (Zop8u& sample : bytes) sample = static_cast<Zop8u>(random());
  sweep::onEveryTarget([&] {
    compareInPlace<Zop8u>(zopiErode_8u_C1IR, bytes, 1, 1);
    compareInPlace<Zop8u>(zopiErode_8u_C3IR, bytes, 3, 3);
    compareInPlace<Zop8u>(zopiErode_8u_AC4IR, bytes, 4, 3);
    compareInPlace<float>(zopiErode_32f_C1IR, numbers(3), 1, 1);
    compareInPlace<float>(zopiErode_32f_AC4IR, numbers(4), 4, 3);
  });
}

TEST(Morphology, SquaresOfNumbers) {
  const Mask square = fullMask({3, 3}, {1, 1});
  const std::vector<float> before = numbers(5);
  constexpr int kStep = 4 * kStride;
  sweep::onEveryTarget([&] {
    for (const ZopImageSize size : {ZopImageSize{1, 1}, {7, 2}, {33, 9}, {60, 20}}) {
      std::vector<float> after = before;
      ASSERT_EQ(zopStatusOk, zopiErode3x3_32f_C3IR(after.data() + kOrigin, kStep, size));
      expectExtremes(before, before, after, 3, 3, size, square, true);
      after = before;
      ASSERT_EQ(zopStatusOk, zopiDilate3x3_32f_C4IR(after.data() + kOrigin, kStep, size));
      expectExtremes(before, before, after, 4, 4, size, square, false);
      std::vector<float> out = numbers(6), expected = out;
      ASSERT_EQ(zopStatusOk,
                zopiDilate3x3_32f_AC4R(before.data() + kOrigin, kStep, out.data() + kOrigin, kStep, size));
      expectExtremes(before, expected, out, 4, 3, size, square, false);
    }
  });
}

TEST(Morphology, OnlyActiveCellsCountAmongNegativeNumbers) {
  const std::vector<float> below(9, -3.5f);
  const Zop8u cells[9] = {0, 0, 0, 0, 1, 0, 0, 0, 0};
  float result = 1;
  ASSERT_EQ(zopStatusOk, zopiDilate_32f_C1R(below.data() + 4, 12, &result, 4, {1, 1}, cells, {3, 3}, {1, 1}));
  EXPECT_EQ(-3.5f, result);
}

TEST(Morphology, StepsHoldARowAndItsHalo) {
  Zop8u source[3 * 36] = {}, out[36];
  Zop8u *at = source + 39, cells[4] = {1, 1, 1, 1};
  EXPECT_EQ(zopStatusBadStride, zopiErode3x3_8u_C1R(at, 11, out, 10, {10, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiErode3x3_8u_C1R(at, 12, out, 9, {10, 1}));
  EXPECT_EQ(zopStatusOk, zopiErode3x3_8u_C1R(at, 12, out, 10, {10, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiErode3x3_8u_AC4R(at, 15, out, 8, {2, 1}));
  EXPECT_EQ(zopStatusOk, zopiErode3x3_8u_AC4R(at, 16, out, 8, {2, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiErode3x3_8u_C3IR(at, 17, {4, 1}));
  EXPECT_EQ(zopStatusBadStride, zopiDilate_8u_C3R(at, 14, out, 12, {4, 1}, cells, {2, 2}, {0, 0}));
  EXPECT_EQ(zopStatusOk, zopiDilate_8u_C3R(at, 15, out, 12, {4, 1}, cells, {2, 2}, {0, 0}));
  // The products do not wrap.
  EXPECT_EQ(zopStatusBadStride, zopiErode3x3_8u_C4R(at, 36, out, 36, {1 << 30, 1}));
}

}  // namespace
