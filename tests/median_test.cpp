// Medians against the middle of the sorted samples of each window, and colour medians against sums of all
// distances.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

// The places of a window's pixels from the pixel it belongs to.
std::vector<ZopImagePoint> placesOf(const Call& call) {
  const std::string operation = call.function.operation;
  std::vector<ZopImagePoint> places;
  if (operation == "FilterMedian") {
    const auto size = call.parameters[0].get<ZopImageSize>();
    const auto anchor = call.parameters[1].get<ZopImagePoint>();
    for (int y = 0; y < size.height; ++y)
      for (int x = 0; x < size.width; ++x) places.push_back({x - anchor.x, y - anchor.y});
    return places;
  }
  const int code = call.parameters[0].get<int>(), across = code / 10 / 2, down = code % 10 / 2;
  for (int x = -across; x <= across; ++x) places.push_back({x, 0});
  for (int y = -down; y <= down; ++y)
    if (y != 0) places.push_back({0, y});
  return places;
}

template <class T>
ZopStatus sortedMiddles(const Call& call) {
  const int channels = std::string(call.function.sourceLayout) == "AC4" ? 3 : call.destination.samples;
  const auto places = placesOf(call);
  std::vector<T> window(places.size());
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < channels; ++c) {
        for (std::size_t i = 0; i < places.size(); ++i)
          window[i] = call.sources[0].get<T>(x + places[i].x, y + places[i].y, c);
        const auto middle = window.begin() + static_cast<std::ptrdiff_t>(window.size() / 2);
        std::nth_element(window.begin(), middle, window.end());
        call.destination.set(x, y, c, *middle);
      }
    }
  }
  return zopStatusOk;
}

sweep::Reference reference(const registry::Function& f) {
  return sweep::bySample<Zop8u, Zop16s>(
      f, [](auto sample) -> sweep::Reference { return sortedMiddles<decltype(sample)>; });
}

using Parameters = std::vector<std::vector<registry::Value>>;

std::vector<registry::Value> mask(int width, int height, int x, int y) {
  return {ZopImageSize{width, height}, ZopImagePoint{x, y}};
}

void run(const registry::Function& f, Parameters parameters, const std::vector<sweep::Shape>& shapes) {
  sweep::Options options;
  options.parameters = std::move(parameters);
  sweep::run(f, options, reference(f), shapes);
}

TEST(Median, RowsColumnsAndCrossesAtEveryShape) {
  sweep::onEveryTarget([] {
    const std::pair<const char*, Parameters> operations[] = {{"FilterMedianHoriz", {{31}, {51}}},
                                                             {"FilterMedianVert", {{13}, {15}}},
                                                             {"FilterMedianCross", {{33}, {55}}}};
    for (const auto& [operation, parameters] : operations) {
      for (const registry::Function* f : sweep::functionsOf(operation))
        run(*f, parameters, sweep::shapes(*f));
    }
  });
}

TEST(Median, SquaresAtEveryShape) {
  sweep::onEveryTargetAndTeam([](bool everyShape) {
    for (const registry::Function* f : sweep::functionsOf("FilterMedian")) {
      const Parameters squares = {mask(3, 3, 1, 1), mask(5, 5, 2, 2)};
      // Beside the gate at 4096 pixels, fewer rows than threads, and every height of a block of rows.
      std::vector<sweep::Shape> shapes = {
          {64, 64, 0, {}}, {63, 65, 3, {}}, {97, 71, 3, {}}, {2100, 2, 8, {}}};
      for (int height = 1; height < 36; ++height) shapes.push_back({70 + height % 3, height, 2, {}});
      run(*f, squares, shapes);
      if (everyShape) run(*f, squares, sweep::shapes(*f));
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(Median, AnyRectangleAndAnchor) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("FilterMedian")) {
      // Copies, rows and columns, and small windows.
      const std::vector<sweep::Shape> shapes = {
          {1, 3, 0, {}}, {7, 2, 5, {false, 3}}, {31, 5, 1, {}}, {70, 4, 0, {}}};
      run(*f,
          {mask(1, 1, 0, 0), mask(3, 1, 2, 0), mask(5, 1, 0, 0), mask(1, 3, 0, 0), mask(1, 5, 0, 4),
           mask(3, 3, 2, 2), mask(3, 3, 0, 2), mask(5, 5, 0, 4), mask(3, 5, 0, 4), mask(5, 3, 4, 0),
           mask(1, 7, 0, 6), mask(7, 1, 6, 0), mask(7, 5, 3, 2), mask(1, 9, 0, 4), mask(9, 9, 0, 8)},
          shapes);
      // From lanes to histograms, and those of windows that are long in one direction or in both.
      run(*f,
          {mask(11, 11, 5, 5), mask(17, 3, 16, 0), mask(13, 17, 0, 16), mask(3, 91, 1, 20),
           mask(1, 301, 0, 300), mask(301, 1, 7, 0), mask(51, 21, 25, 20)},
          {{1, 1, 0, {}}, {5, 4, 3, {}}, {23, 9, 0, {false, 1}}});
      if (testing::Test::HasFailure()) return;
    }
  });
}

TEST(Median, HistogramsOfManyStripsAndLargeCounts) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("FilterMedian")) {
      const bool bytes = std::string(f->sourceType) == "8u";
      run(*f, {mask(17, 17, 8, 8)}, {{bytes ? 801 : 50, 3, 0, {}}});
      run(*f, {mask(257, 257, 128, 0)}, {{3, 2, 0, {}}});
    }
  });
}

// The counters and lanes at their ends: windows of one value, of two, and a median that falls and rises by
// the whole range from pixel to pixel.
TEST(Median, FlatAndSteepImages) {
  constexpr int kStep = 400, kRows = 60;
  const auto compare = [&](auto sample, auto function, const auto& image, ZopImageSize size,
                           const char* what) {
    using T = decltype(sample);
    std::vector<T> out(kStep * 2);
    ASSERT_EQ(zopStatusOk, function(image.data(), kStep * sizeof(T), out.data(), kStep * sizeof(T), {100, 2},
                                    size, {0, 0}));
    for (int y = 0; y < 2; ++y) {
      for (int x = 0; x < 100; ++x) {
        std::vector<T> window;
        for (int j = 0; j < size.height; ++j)
          window.insert(window.end(), &image[(y + j) * kStep + x], &image[(y + j) * kStep + x] + size.width);
        std::sort(window.begin(), window.end());
        ASSERT_EQ(window[window.size() / 2], out[y * kStep + x])
            << what << " at " << x << ", mask " << size.width;
      }
    }
  };
  const auto onType = [&](auto sample, auto function) {
    using T = decltype(sample);
    const auto low = std::numeric_limits<T>::min(), high = std::numeric_limits<T>::max();
    std::vector<T> flat(kStep * kRows, high), bars(kStep * kRows), blocks(kStep * kRows),
        spot(kStep * kRows, T{7});
    for (int i = 0; i < kStep * kRows; ++i) {
      bars[i] = i % 2 == 0 ? low : high;
      blocks[i] = i % kStep / 20 % 2 == 0 ? low : high;
    }
    spot[3 * kStep + 30] = high;
    for (const ZopImageSize size : {ZopImageSize{7, 7}, {15, 17}, {21, 31}, {255, 1}, {51, 51}}) {
      compare(sample, function, flat, size, "flat");
      compare(sample, function, bars, size, "bars");
      compare(sample, function, blocks, size, "blocks");
      compare(sample, function, spot, size, "a spot");
    }
  };
  sweep::onEveryTarget([&] {
    onType(Zop8u{}, zopiFilterMedian_8u_C1R);
    onType(Zop16s{}, zopiFilterMedian_16s_C1R);
  });
}

// If a network sorts all zeros and ones, it sorts everything: all windows of 3x3 bits, side by side, and for
// 5x5 all that part 2^25 windows sensibly, which are random ones.
TEST(Median, NetworksOnZerosAndOnes) {
  sweep::onEveryTarget([] {
    std::vector<Zop8u> bits(3 * 3 * 512), out(3 * 512);
    for (int w = 0; w < 512; ++w)
      for (int i = 0; i < 9; ++i) bits[i / 3 * 3 * 512 + 3 * w + i % 3] = static_cast<Zop8u>(w >> i & 1);
    ASSERT_EQ(zopStatusOk, zopiFilterMedian_8u_C1R(bits.data(), 3 * 512, out.data(), 3 * 512,
                                                   {3 * 512 - 2, 1}, {3, 3}, {0, 0}));
    for (int w = 0; w < 512; ++w) ASSERT_EQ(__builtin_popcount(w) >= 5, out[3 * w]) << w;

    constexpr int kWidth = 4096, kHeight = 258;
    std::mt19937 random(5);
    std::vector<Zop8u> image((kWidth + 4) * (kHeight + 4)), medians(kWidth * kHeight);
    for (Zop8u& sample : image) sample = random() % 2;
    ASSERT_EQ(zopStatusOk, zopiFilterMedian_8u_C1R(image.data(), kWidth + 4, medians.data(), kWidth,
                                                   {kWidth, kHeight}, {5, 5}, {0, 0}));
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        int ones = 0;
        for (int i = 0; i < 25; ++i) ones += image[(y + i / 5) * (kWidth + 4) + x + i % 5];
        ASSERT_EQ(ones >= 13, medians[y * kWidth + x]) << x << ", " << y;
      }
    }
  });
}

TEST(Median, ArgumentsOfItsOwn) {
  Zop8u image[64] = {}, out[2] = {1, 2};
  const auto status = [&](ZopImageSize mask, ZopImagePoint anchor) {
    return zopiFilterMedian_8u_C1R(image + 27, 8, out, 1, {1, 1}, mask, anchor);
  };
  EXPECT_EQ(zopStatusBadMaskSize, status({4, 3}, {0, 0}));
  EXPECT_EQ(zopStatusBadMaskSize, status({3, 2}, {9, 9}));
  EXPECT_EQ(zopStatusBadAnchor, status({3, 3}, {3, 0}));
  EXPECT_EQ(zopStatusBadAnchor, status({3, 3}, {0, 3}));
  EXPECT_EQ(zopStatusBadAnchor, status({1, 1}, {0, 1}));
  // Histograms of more columns than memory can hold.
  EXPECT_EQ(zopStatusNoMemory, status({8000001, 1}, {0, 0}));
  EXPECT_EQ(1, out[0]);
}

// The definition: sums that run along the row, rows and columns in their order.
template <class T>
ZopStatus leastDistances(const Call& call) {
  using Sum = std::conditional_t<std::is_same_v<T, Zop32f>, double, int>;
  const int size = call.parameters[0].get<int>() % 10, r = size / 2;
  const auto distance = [&](int x0, int y0, int x1, int y1) {
    Sum sum = 0;
    for (int c = 0; c < 3; ++c) {
      const Sum a = call.sources[0].get<T>(x0, y0, c), b = call.sources[0].get<T>(x1, y1, c);
      sum += std::abs(a - b);
    }
    return sum;
  };
  for (int y = 0; y < call.size.height; ++y) {
    std::vector<std::vector<Sum>> columns;  // the sums of the window's pixels, column by column
    const auto sumOf = [&](int px, int py, int left) {
      Sum sum = 0;
      for (int j = y - r; j <= y + r; ++j)
        for (int i = left; i < left + size; ++i)
          if (i != px || j != py) sum += distance(px, py, i, j);
      return sum;
    };
    for (int x = 0; x < call.size.width; ++x) {
      const int left = x - r, entering = x + r;
      const auto append = [&](int px) {
        columns.emplace_back();
        for (int j = y - r; j <= y + r; ++j) columns.back().push_back(sumOf(px, j, left));
      };
      if (x == 0) {
        for (int i = left; i <= entering; ++i) append(i);
      } else {
        columns.erase(columns.begin());
        for (int i = 0; i < size - 1; ++i) {
          for (int j = 0; j < size; ++j) {
            Sum& sum = columns[i][j];
            for (int k = y - r; k <= y + r; ++k) sum -= distance(left + i, y - r + j, left - 1, k);
            for (int k = y - r; k <= y + r; ++k) sum += distance(left + i, y - r + j, entering, k);
          }
        }
        append(entering);
      }
      int best = 0;
      for (int i = 1; i < size * size; ++i) {
        if (columns[i % size][i / size] < columns[best % size][best / size]) best = i;
      }
      for (int c = 0; c < 3; ++c)
        call.destination.set(x, y, c, call.sources[0].get<T>(left + best % size, y - r + best / size, c));
    }
  }
  return zopStatusOk;
}

sweep::Reference colourReference(const registry::Function& f) {
  return sweep::bySample<Zop8u, Zop16s, Zop32f>(
      f, [](auto sample) -> sweep::Reference { return leastDistances<decltype(sample)>; });
}

TEST(MedianOfColours, HasTheLeastSumOfDistances) {
  sweep::onEveryTarget([] {
    for (const registry::Function* f : sweep::functionsOf("FilterMedianColor")) {
      std::vector<sweep::Shape> shapes = {{40, 37, 0, {}}, {3, 70, 4, {false, 1}}};
      for (int width = 1; width < 12; ++width) shapes.push_back({width, 1 + width % 5, width % 4, {}});
      sweep::Options options;
      options.parameters = {{33}, {55}};
      sweep::run(*f, options, colourReference(*f), shapes);
    }
  });
}

// Few colours make equal sums everywhere: the first pixel wins.
template <class T>
void compareTies(const registry::Function& f, int code) {
  constexpr int kWidth = 50, kHeight = 40, kHalo = 2, kRow = (kWidth + 2 * kHalo) * 4;
  std::mt19937 random(code);
  std::vector<T> in(kRow * (kHeight + 2 * kHalo)), out(kRow * kHeight, T{9}), expected = out;
  for (T& sample : in) sample = static_cast<T>(random() % 2);
  const int samples = f.arguments[0].samples, step = kRow * static_cast<int>(sizeof(T));
  T* const source = in.data() + kHalo * kRow + kHalo * samples;
  const auto view = [&](T* at) {
    sweep::View v;
    v.plane[0] = reinterpret_cast<unsigned char*>(at);
    v.step = step;
    v.samples = samples;
    v.sampleBytes = sizeof(T);
    return v;
  };
  const ZopImageSize size = {kWidth, kHeight};
  Call call{f, size, {view(source)}, view(expected.data()), {}, {}, {registry::Value(code)}, {}};
  leastDistances<T>(call);
  const registry::Value values[] = {source, step, out.data(), step, size, code};
  ASSERT_EQ(zopStatusOk, f.invoke(values));
  ASSERT_EQ(expected, out) << f.name << ", mask " << code;
}

TEST(MedianOfColours, TiesGoToTheFirst) {
  sweep::onEveryTarget([] {
    for (const int code : {33, 55}) {
      for (const registry::Function* f : sweep::functionsOf("FilterMedianColor", {"8u"}))
        compareTies<Zop8u>(*f, code);
      for (const registry::Function* f : sweep::functionsOf("FilterMedianColor", {"16s"}))
        compareTies<Zop16s>(*f, code);
      for (const registry::Function* f : sweep::functionsOf("FilterMedianColor", {"32f"}))
        compareTies<Zop32f>(*f, code);
    }
  });
}

}  // namespace
