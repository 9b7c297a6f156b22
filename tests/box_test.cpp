// Means over rectangles against plain sums, with the odd reciprocals and the odd order of rows in place.
#include <gtest/gtest.h>
#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

struct Mask {
  ZopImageSize size;
  ZopImagePoint anchor;
  float factor() const { return static_cast<float>(1.0 / (static_cast<double>(size.width) * size.height)); }
};

struct Reciprocal {
  std::int32_t multiplier;
  int shift;
};
Reciprocal reciprocalOf(const Mask& mask) {
  auto t = static_cast<std::uint32_t>(std::llrint(double{mask.factor()} * 4294967296.0 - 0.49999));
  int n = 0;
  while (n < 24 && (t >> 31) == 0) {
    t *= 2;
    ++n;
  }
  return {static_cast<std::int32_t>(static_cast<std::uint32_t>(t + 0x800000u) >> 24), n + 8};
}

int meanOfBytes(std::uint32_t sum, const Mask& mask) {
  const Reciprocal r = reciprocalOf(mask);
  const auto product = static_cast<std::int32_t>(static_cast<std::uint32_t>(r.multiplier) * sum);
  return static_cast<Zop8u>(static_cast<std::int64_t>(product) >> r.shift);
}
Zop16s meanOfWords(double sum, const Mask& mask) {
  return static_cast<Zop16s>(std::llrint(sum * mask.factor() + -0.49999) - 32768);
}

// The plain mean of integers: `sample(x, y)` is any sample around.
template <class T, class Sample>
T meanAt(int x, int y, const Mask& mask, bool short3x3, const Sample& sample) {
  std::uint64_t sum = 0;
  for (int j = 0; j < mask.size.height; ++j) {
    for (int i = 0; i < mask.size.width; ++i) sum += sample(x + i - mask.anchor.x, y + j - mask.anchor.y);
  }
  if constexpr (sizeof(T) == 4) return static_cast<T>(static_cast<double>(sum) * mask.factor());
  if constexpr (sizeof(T) == 2) return meanOfWords(static_cast<double>(sum), mask);
  if (short3x3) return static_cast<T>(sum * 455 >> 12);
  return static_cast<T>(meanOfBytes(static_cast<std::uint32_t>(sum), mask));
}

// Means of numbers, for the rows of one thread: sums of columns in single precision, of windows in double.
// `sample(x, y)` and `store(x, y, mean)` are of one channel.
template <class Sample, class Store>
void runningMeans(int width, int begin, int end, const Mask& mask, bool repeats, const Sample& sample,
                  const Store& store) {
  std::vector<float> columns(mask.size.width - 1 + width);
  const auto at = [&](std::size_t c, int y) {
    return sample(static_cast<int>(c) - mask.anchor.x, y - mask.anchor.y);
  };
  for (std::size_t c = 0; c < columns.size(); ++c) {
    for (int j = 0; j < mask.size.height; ++j)
      columns[c] = static_cast<float>(double{columns[c]} + at(c, begin + j));
  }
  for (int y = begin; y < end; ++y) {
    double sum = 0;
    for (int i = 0; i < mask.size.width; ++i) sum += columns[i];
    for (int x = 0; x < width; ++x) {
      store(x, y, sum * mask.factor());
      if (x + 1 < width) sum = sum + columns[x + mask.size.width] - columns[x];
    }
    if (y + 1 == end) break;
    if (repeats) continue;
    for (std::size_t c = 0; c < columns.size(); ++c) {
      columns[c] = static_cast<float>(double{columns[c]} + at(c, y + mask.size.height) - at(c, y));
    }
  }
}

template <class T>
ZopStatus boxed(const Call& call) {
  const Mask mask = {call.parameters[0].get<ZopImageSize>(), call.parameters[1].get<ZopImagePoint>()};
  const std::string layout = call.function.sourceLayout;
  const bool inPlace = call.function.has(registry::kInPlace);
  const int channels = layout == "AC4" ? 3 : call.destination.samples;
  const auto [width, height] = call.size;
  // Rows advance by whole samples, but for four channels.
  sweep::View source = call.sources[0], destination = call.destination;
  if (layout != "C4") {
    source.step -= source.step % static_cast<int>(sizeof(T));
    destination.step -= destination.step % static_cast<int>(sizeof(T));
  }
  const bool short3x3 = sizeof(T) == 1 && mask.size.width == 3 && mask.size.height == 3 &&
                        (inPlace ? layout != "C4" : layout == "C3");
  const bool repeats = inPlace && height == 2 && !short3x3;  // anchor.y is 0
  for (int c = 0; c < channels; ++c) {
    if constexpr (std::is_same_v<T, Zop32f>) {
      const bool parallel = !inPlace && (layout == "C4" || width * height > 4096);
      const int team = parallel ? omp_get_max_threads() : 1;
      for (int thread = 0, begin = 0; thread < team; ++thread) {
        const int end = begin + height / team + (thread < height % team);
        if (begin < end) {
          runningMeans(
              width, begin, end, mask, repeats, [&](int x, int y) { return source.get<float>(x, y, c); },
              [&](int x, int y, double mean) {
                destination.set(x, y, c, std::isnan(mean) ? sweep::anyNaN() : static_cast<float>(mean));
              });
        }
        begin = end;
      }
    } else {
      const auto sample = [&](int x, int y) {
        return static_cast<std::uint64_t>(source.get<T>(x, y, c) + (sizeof(T) == 2 ? 32768 : 0));
      };
      for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
          destination.set(x, y, c, meanAt<T>(x, repeats ? 0 : y, mask, short3x3, sample));
        }
      }
    }
  }
  return zopStatusOk;
}

sweep::Reference reference(const registry::Function& f) {
  return sweep::bySample<Zop8u, Zop16s, Zop32f>(
      f, [](auto sample) -> sweep::Reference { return boxed<decltype(sample)>; });
}

std::vector<registry::Value> parameters(ZopImageSize size, ZopImagePoint anchor) { return {size, anchor}; }

TEST(Box, EqualsThePlainSumsAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    for (const registry::Function* f : sweep::functionsOf("FilterBox")) {
      // In place, images lower than the anchor go further than their halo: they have a test of their own.
      const bool inPlace = f->has(registry::kInPlace);
      const int down = inPlace ? 0 : 1;
      sweep::Options options;
      options.parameters = {parameters({3, 3}, {1, down}), parameters({2, 4}, {1, 3 * down}),
                            parameters({7, 5}, {0, 2 * down})};
      auto shapes = sweep::shapes(*f);
      if (!everyShape) shapes = {{97, 71, 3, {}}, {64, 64, 0, {}}, {35, 3, 8, {}}, {65, 70, 5, {false, 3}}};
      sweep::run(*f, options, reference(*f), shapes);
      // Larger areas, and sums that fill their words.
      options.parameters = {parameters({16, 17}, {15, 16 * down}), parameters({31, 33}, {12, 20 * down})};
      sweep::run(*f, options, reference(*f), {{53, 19, 8, {}}, {1, 2, 0, {}}, {130, 3, 4, {false, 16}}});
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(Box, WindowsOfEveryWidth) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("FilterBox", {"8u"})) {
      if (f->has(registry::kInPlace)) continue;
      for (int width = 2; width < 70; ++width) {
        sweep::Options options;
        options.parameters = {parameters({width, 2}, {width / 2, 1})};
        sweep::run(*f, options, reference(*f), {{45, 2, width % 5, {}}});
        if (testing::Test::HasFailure()) return;
      }
    }
  });
}

TEST(Box, AreasWhoseSumsAreLarge) {
  sweep::onEveryTarget([] {
    for (const char* name : {"8u", "16s"}) {
      for (const registry::Function* f : sweep::functionsOf("FilterBox", {name})) {
        if (f->has(registry::kInPlace)) continue;
        sweep::Options options;
        // 66049 cells: products of bytes wrap. 300 rows of words: columns beyond 24 bits.
        options.parameters = {parameters({257, 257}, {128, 0}), parameters({300, 200}, {0, 199}),
                              parameters({2, 300}, {1, 7})};
        const bool ofIntegers = std::string(f->sourceLayout) != "C4" || std::string(name) == "8u";
        if (ofIntegers && std::string(name) == "16s") options.parameters.erase(options.parameters.begin());
        sweep::run(*f, options, reference(*f), {{9, 2, 0, {}}});
      }
    }
  });
}

// The steps of the ring, as they are laid down, on one channel of a picture with room on all sides.
template <class T>
std::vector<T> inPlace(std::vector<T> picture, int stride, int origin, ZopImageSize size, const Mask& mask,
                       bool short3x3) {
  const std::vector<T> before = picture;
  const int a = mask.anchor.y, ringLength = a + 1;
  short3x3 = short3x3 && mask.size.width == 3 && mask.size.height == 3;
  const bool updates = ringLength != size.height - 1, general = !short3x3;
  std::vector<std::vector<T>> ring(ringLength, std::vector<T>(size.width));
  int top = 0;  // the row whose column sums there are
  const auto compute = [&](int i, bool update) {
    const int row = general ? top : i;
    for (int x = 0; x < size.width; ++x) {
      ring[i % ringLength][x] = meanAt<T>(x, row, mask, short3x3, [&](int sx, int sy) {
        return static_cast<std::uint64_t>(before[origin + sy * stride + sx] + (sizeof(T) == 2 ? 32768 : 0));
      });
    }
    top += update;
  };
  const auto copy = [&](int i) {
    std::copy_n(ring[(i + 1) % ringLength].begin(), size.width, picture.begin() + origin + (i - a) * stride);
  };
  int i = 0;
  for (; i < a; ++i) compute(i, updates);
  for (; i <= 2 * a; ++i) {
    compute(i, updates);
    copy(i);
  }
  for (; i < size.height; ++i) {
    compute(i, i != size.height - 1);
    copy(i);
  }
  for (; i < a + size.height; ++i) copy(i);
  return picture;
}

template <class T>
using InPlace = ZopStatus (*)(T*, int, ZopImageSize, ZopImageSize, ZopImagePoint);

template <class T>
void compareInPlace(InPlace<T> function, bool short3x3) {
  constexpr int kStride = 40, kOrigin = 12 * kStride + 9;
  std::mt19937 random(7);
  for (const ZopImageSize size : {ZopImageSize{3, 3}, {5, 4}, {2, 7}}) {
    for (int y = 0; y < size.height; ++y) {
      for (int height = 1; height < 14; ++height) {
        std::vector<T> picture(kStride * 48);
        for (T& sample : picture) sample = static_cast<T>(sizeof(T) == 4 ? random() % 256 : random());
        const Mask mask = {size, {size.width / 2, y}};
        const auto expected = inPlace(picture, kStride, kOrigin, {17, height}, mask, short3x3);
        ASSERT_EQ(zopStatusOk, function(picture.data() + kOrigin, kStride * static_cast<int>(sizeof(T)),
                                        {17, height}, mask.size, mask.anchor));
        ASSERT_EQ(expected, picture) << size.width << "x" << size.height << ", anchor " << y << ", height "
                                     << height;
      }
    }
  }
}

TEST(Box, InPlaceAtEveryHeightAndAnchor) {
  sweep::onEveryTarget([] {
    compareInPlace<Zop8u>(zopiFilterBox_8u_C1IR, true);
    compareInPlace<Zop16s>(zopiFilterBox_16s_C1IR, false);
    compareInPlace<Zop32f>(zopiFilterBox_32f_C1IR, false);  // of whole numbers, whose sums are exact
  });
}

TEST(Box, DocumentedMeans) {
  const std::vector<Zop8u> white(64 * 64, 255);
  Zop8u mean[3] = {1, 1, 1};
  const auto c1 = [&](ZopImageSize mask) {
    EXPECT_EQ(zopStatusOk, zopiFilterBox_8u_C1R(white.data(), 64, mean, 1, {1, 1}, mask, {0, 0}));
    return mean[0];
  };
  EXPECT_EQ(255, c1({3, 3}));
  EXPECT_EQ(254, c1({7, 7}));
  EXPECT_EQ(0, c1({27, 19}));
  EXPECT_EQ(zopStatusOk, zopiFilterBox_8u_C3R(white.data(), 192, mean, 3, {1, 1}, {3, 3}, {0, 0}));
  EXPECT_EQ(254, mean[0]);

  const std::vector<Zop16s> hundred(64, 100);
  Zop16s word = 0;
  EXPECT_EQ(zopStatusOk, zopiFilterBox_16s_C1R(hundred.data(), 10, &word, 2, {1, 1}, {5, 5}, {0, 0}));
  EXPECT_EQ(99, word);
}

}  // namespace
