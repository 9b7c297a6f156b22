// Filters with built-in masks, against the masks written out in full and the roundings in plain arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;

struct Mask {
  int radius;
  std::vector<int> weights;  // row by row
  int divisor = 1;

  int taps() const { return 2 * radius + 1; }
};

Mask product(const std::vector<int>& down, const std::vector<int>& across) {
  Mask mask = {static_cast<int>(down.size()) / 2, {}};
  for (const int d : down) {
    for (const int a : across) mask.weights.push_back(d * a);
  }
  return mask;
}

const std::vector<int> kBell = {1, 4, 6, 4, 1}, kSlope = {1, 2, 0, -2, -1}, kCurve = {1, 0, -2, 0, 1};

Mask maskOf(const std::string& operation, int maskCode) {
  const bool large = maskCode == 55;
  const auto is = [&](const char* name) { return operation == std::string("Filter") + name; };
  if (is("PrewittVert")) return {1, {1, 0, -1, 1, 0, -1, 1, 0, -1}};
  if (is("PrewittHoriz")) return {1, {-1, -1, -1, 0, 0, 0, 1, 1, 1}};
  if (is("SobelVert")) return large ? product(kBell, kSlope) : Mask{1, {1, 0, -1, 2, 0, -2, 1, 0, -1}};
  if (is("SobelHoriz"))
    return large ? product({-1, -2, 0, 2, 1}, kBell) : Mask{1, {-1, -2, -1, 0, 0, 0, 1, 2, 1}};
  if (is("SobelVertSecond")) return large ? product(kBell, kCurve) : Mask{1, {1, -2, 1, 2, -4, 2, 1, -2, 1}};
  if (is("SobelHorizSecond")) return large ? product(kCurve, kBell) : Mask{1, {1, 2, 1, -2, -4, -2, 1, 2, 1}};
  if (is("SobelCross"))
    return large ? product({-1, -2, 0, 2, 1}, kSlope) : Mask{1, {-1, 0, 1, 0, 0, 0, 1, 0, -1}};
  if (is("ScharrVert")) return {1, {-3, 0, 3, -10, 0, 10, -3, 0, 3}};
  if (is("ScharrHoriz")) return {1, {-3, -10, -3, 0, 0, 0, 3, 10, 3}};
  if (is("Laplace") && large)
    return {2, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}};
  if (is("Gauss") && large)
    return {
        2, {2, 7, 12, 7, 2, 7, 31, 52, 31, 7, 12, 52, 127, 52, 12, 7, 31, 52, 31, 7, 2, 7, 12, 7, 2}, 571};
  if (is("Gauss")) return {1, {1, 2, 1, 2, 4, 2, 1, 2, 1}, 16};
  if (is("Lowpass")) return {large ? 2 : 1, std::vector<int>(large ? 25 : 9, 1), large ? 25 : 9};
  Mask mask = {large ? 2 : 1, std::vector<int>(large ? 25 : 9, -1)};  // Laplace, Hipass, Sharpen
  mask.weights[mask.weights.size() / 2] = large ? 24 : is("Sharpen") ? 16 : 8;
  if (is("Sharpen")) mask.divisor = 8;
  return mask;
}

template <class T>
T saturated(std::int64_t value) {
  using Limits = std::numeric_limits<T>;
  return static_cast<T>(std::clamp<std::int64_t>(value, Limits::min(), Limits::max()));
}

// The sum of a window of bytes, divided and stored.
Zop8u byteOf(std::int64_t s, int divisor) {
  switch (divisor) {
    case 8:
      s = std::max<std::int64_t>(s, 0);
      return saturated<Zop8u>((s + 3 + ((s >> 3) & 1)) >> 3);
    case 9:
      return static_cast<Zop8u>(((s + 5) * 0x1C71) >> 16);
    case 16:
      return static_cast<Zop8u>((s + 7 + ((s >> 4) & 1)) >> 4);
    case 25:
      return static_cast<Zop8u>(((s + 13) * 0x28F5) >> 16 >> 2);
    case 571:
      return static_cast<Zop8u>(((2 * s + 571) * 0x39631512) >> 40);
    default:
      return saturated<Zop8u>(s);
  }
}

// The same for words. Where a reciprocal divides, samples count from -32768.
Zop16s wordOf(std::int64_t s, int divisor) {
  const std::int64_t biased = s + std::int64_t{32768} * divisor;
  switch (divisor) {
    case 8:
      return saturated<Zop16s>((s + 3 + ((s >> 3) & 1)) >> 3);
    case 9:
      return static_cast<Zop16s>(((((biased + 5) * 0x1C71C71C) >> 32) & 0xffff) - 32768);
    case 16:
      return static_cast<Zop16s>((s + 7 + ((s >> 4) & 1)) >> 4);
    case 25:
      return static_cast<Zop16s>(((((biased + 13) * 0xA3D70A3) >> 32) & 0xffff) - 32768);
    case 571:
      return static_cast<Zop16s>(((((2 * biased + 571) * 0x39631512) >> 40) & 0xffff) - 32768);
    default:
      return saturated<Zop16s>(s);
  }
}

// A call whose rows advance by whole samples.
Call inWholeSamples(Call call) {
  for (sweep::View* view : {&call.sources[0], &call.destination})
    view->step -= view->step % view->sampleBytes;
  return call;
}

int coloursOf(const Call& call) {
  return std::strcmp(call.function.destinationLayout, "AC4") == 0 ? 3 : call.destination.samples;
}

// f(x, y, channel) for everything that is written.
template <class F>
void everywhere(const Call& call, const F& f) {
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < coloursOf(call); ++c) f(x, y, c);
    }
  }
}

int maskCodeOf(const Call& call) { return call.parameters.empty() ? 33 : call.parameters[0].get<int>(); }

template <class S, class T>
ZopStatus integers(const Call& byBytes) {
  const Call call = inWholeSamples(byBytes);
  const Mask mask = maskOf(call.function.operation, maskCodeOf(call));
  everywhere(call, [&](int x, int y, int c) {
    std::int64_t sum = 0;
    for (int j = 0; j < mask.taps(); ++j) {
      for (int i = 0; i < mask.taps(); ++i) {
        const S sample = call.sources[0].get<S>(x + i - mask.radius, y + j - mask.radius, c);
        sum += std::int64_t{mask.weights[j * mask.taps() + i]} * sample;
      }
    }
    if constexpr (sizeof(S) != sizeof(T))
      call.destination.set<T>(x, y, c, static_cast<T>(sum));
    else if constexpr (sizeof(T) == 1)
      call.destination.set<T>(x, y, c, byteOf(sum, mask.divisor));
    else
      call.destination.set<T>(x, y, c, wordOf(sum, mask.divisor));
  });
  return zopStatusOk;
}

Zop32f stored(double value) { return static_cast<Zop32f>(value); }

// Products of whole weights and floats are exact. What has no weight takes no part.
double weighted(const std::vector<double>& weights, const std::function<double(int)>& term) {
  double sum = 0;
  bool first = true;
  for (int i = 0; i < static_cast<int>(weights.size()); ++i) {
    if (weights[i] == 0) continue;
    const double product = weights[i] * term(i);
    sum = first ? product : sum + product;
    first = false;
  }
  return sum;
}

// A filter of floats as one sees it: what is summed first, and what is made of that.
struct FloatFilter {
  std::vector<double> down, across;
  double middle = 0;  // the weight of the middle sample
  double factor = 1;
  bool running = false;
};

FloatFilter floatFilterOf(std::string operation, int maskCode) {
  const bool large = maskCode != 33;
  if (operation.ends_with("Mask")) operation.resize(operation.size() - 4);
  const auto is = [&](const char* name) { return operation == std::string("Filter") + name; };
  const std::vector<double> bell = large ? std::vector<double>{1, 4, 6, 4, 1} : std::vector<double>{1, 2, 1};
  const std::vector<double> slope =
      large ? std::vector<double>{1, 2, 0, -2, -1} : std::vector<double>{1, 0, -1};
  const std::vector<double> rise = {slope.rbegin(), slope.rend()};
  const std::vector<double> curve =
      large ? std::vector<double>{1, 0, -2, 0, 1} : std::vector<double>{1, -2, 1};
  const std::vector<double> ones(large ? 5 : 3, 1), minus(large ? 5 : 3, -1);
  if (is("PrewittVert")) return {ones, slope};
  if (is("PrewittHoriz")) return {rise, ones};
  if (is("SobelVert")) return {bell, slope};
  if (is("SobelHoriz")) return {rise, bell};
  if (is("SobelVertSecond")) return {bell, curve};
  if (is("SobelHorizSecond")) return {curve, bell};
  if (is("SobelCross")) return {rise, slope};
  if (is("ScharrVert")) return {{3, 10, 3}, rise};
  if (is("ScharrHoriz")) return {rise, {3, 10, 3}};
  if (is("Gauss")) return {bell, bell, 0, 0.0625};
  if (is("Lowpass")) return {ones, ones, 0, large ? 0.04f : std::bit_cast<float>(0x3DE38E37u), large};
  if (is("Sharpen")) return {ones, minus, 17, 0.125};
  return {ones, minus, large ? 25.0 : 9.0, 1, large};  // Laplace, Hipass
}

ZopStatus columnsFirst(const Call& call, int maskCode) {
  const FloatFilter f = floatFilterOf(call.function.operation, maskCode);
  const int taps = static_cast<int>(f.down.size()), radius = taps / 2, width = call.size.width + 2 * radius;
  const sweep::View& source = call.sources[0];
  for (int c = 0; c < coloursOf(call); ++c) {
    std::vector<Zop32f> sums(width);
    for (int y = 0; y < call.size.height; ++y) {
      for (int i = 0; i < width; ++i) {
        const auto sample = [&](int j) { return source.get<Zop32f>(i - radius, y + j - radius, c); };
        if (!f.running) {
          sums[i] = stored(weighted(f.down, sample));
        } else if (y == 0) {
          sums[i] = sample(0);
          for (int j = 1; j < taps; ++j) sums[i] = stored(double{sums[i]} + sample(j));
        } else {
          sums[i] = stored(double{sums[i]} + sample(taps - 1) - sample(-1));
        }
      }
      for (int x = 0; x < call.size.width; ++x) {
        double sum = weighted(f.across, [&](int i) { return sums[x + i]; });
        if (f.middle != 0) sum = f.middle * source.get<Zop32f>(x, y, c) + sum;
        const Zop32f result = stored(f.factor == 1 ? sum : sum * f.factor);
        call.destination.set(x, y, c, std::isnan(result) ? sweep::anyNaN() : result);
      }
    }
  }
  return zopStatusOk;
}

ZopStatus rowsFirst(const Call& call) {
  const Mask mask = maskOf(call.function.operation, 55);
  everywhere(call, [&](int x, int y, int c) {
    Zop32f rows[5];
    for (int j = 0; j < 5; ++j) {
      std::vector<double> weights;
      for (int i = 0; i < 5; ++i) weights.push_back(stored(mask.weights[5 * j + i] / double(mask.divisor)));
      rows[j] = stored(
          weighted(weights, [&](int i) { return call.sources[0].get<Zop32f>(x + i - 2, y + j - 2, c); }));
    }
    const Zop32f result = stored(weighted({1, 1, 1, 1, 1}, [&](int j) { return rows[j]; }));
    call.destination.set(x, y, c, std::isnan(result) ? sweep::anyNaN() : result);
  });
  return zopStatusOk;
}

ZopStatus floats(const Call& byBytes) {
  const Call call = inWholeSamples(byBytes);
  const int maskCode = maskCodeOf(call);
  const std::string operation = call.function.operation;
  const bool rows = maskCode == 55 && (operation == "FilterGauss" || operation == "FilterLaplace");
  return rows ? rowsFirst(call) : columnsFirst(call, maskCode);
}

template <class T>
ZopStatus roberts(const Call& call) {
  const int dx = call.function.operation == std::string("FilterRobertsUp") ? 1 : -1;
  everywhere(call, [&](int x, int y, int c) {
    const T here = call.sources[0].get<T>(x, y, c), there = call.sources[0].get<T>(x + dx, y - 1, c);
    if constexpr (std::is_same_v<T, Zop32f>) {
      const Zop32f result = stored(double{here} - there);
      call.destination.set(x, y, c, std::isnan(result) ? sweep::anyNaN() : result);
    } else {
      call.destination.set(x, y, c, saturated<T>(std::int64_t{here} - there));
    }
  });
  return zopStatusOk;
}

sweep::Reference referenceOf(const registry::Function& function) {
  const std::string types = function.sourceType + std::string(function.destinationType);
  if (std::string(function.operation).starts_with("FilterRoberts"))
    return sweep::bySample<Zop8u, Zop16s, Zop32f>(function, [](auto s) { return roberts<decltype(s)>; });
  if (types == "8u8u") return integers<Zop8u, Zop8u>;
  if (types == "16s16s") return integers<Zop16s, Zop16s>;
  if (types == "8u16s") return integers<Zop8u, Zop16s>;
  if (types == "8s16s") return integers<Zop8s, Zop16s>;
  return floats;
}

// Shapes of every width, some of them higher than a block of rows, and some wider than a piece of a row.
std::vector<sweep::Shape> shapesOf(const registry::Function& function) {
  std::vector<sweep::Shape> shapes = sweep::shapes(function);
  if (function.sourceType == std::string("32f")) {
    for (sweep::Shape& shape : shapes)
      shape.padding -= shape.padding % 4;  // the sweep looks for NaNs by bytes
  }
  for (const int width : {1, 5, 17, 40, 70, 133}) {
    for (const int height : {4, 7, 8, 9, 21}) {
      shapes.push_back({width, height, width % 5 * 4, {height % 2 == 0, width % 64}});
    }
  }
  return shapes;
}

const char* const kOperations[] = {"FilterPrewittVert", "FilterPrewittHoriz",    "FilterSobelVert",
                                   "FilterSobelHoriz",  "FilterSobelVertSecond", "FilterSobelHorizSecond",
                                   "FilterSobelCross",  "FilterScharrVert",      "FilterScharrHoriz",
                                   "FilterLaplace",     "FilterGauss",           "FilterHipass",
                                   "FilterLowpass",     "FilterSharpen",         "FilterRobertsUp",
                                   "FilterRobertsDown", "FilterSobelVertMask",   "FilterSobelHorizMask"};

TEST(FixedFilters, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTarget([] {
    std::size_t functions = 0;
    for (const char* operation : kOperations) {
      for (const registry::Function* f : sweep::functionsOf(operation)) {
        ++functions;
        const bool anyCode = std::string(operation).ends_with("Mask");
        std::vector<std::vector<registry::Value>> codes = {{33}, {55}};
        if (anyCode) codes.push_back({34});
        if (f->arguments.back().name != std::string("maskCode")) codes = {{}};
        sweep::run(*f, {codes, {{}}}, referenceOf(*f), shapesOf(*f));
        if (HasFailure()) return;
      }
    }
    EXPECT_EQ(146u, functions);
  });
}

// A window of bytes with this sum, if one is found: heavy cells first, and what is left for light ones.
std::vector<Zop8u> windowFilledTo(const Mask& mask, int sum) {
  const int cells = static_cast<int>(mask.weights.size());
  std::vector<int> order(cells);
  for (int i = 0; i < cells; ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](int a, int b) { return mask.weights[a] > mask.weights[b]; });
  std::vector<Zop8u> window(cells);
  const auto fill = [&] {
    for (const int i : order) {
      const int more = std::min(255 - window[i], sum / mask.weights[i]);
      window[i] = static_cast<Zop8u>(window[i] + more);
      sum -= more * mask.weights[i];
    }
  };
  fill();
  // The lightest cells may be even: one less of an odd one.
  for (int k = 0; k < cells && sum > 0; ++k) {
    const int i = order[k];
    if (window[i] == 0 || mask.weights[i] % 2 == 0) continue;
    --window[i];
    sum += mask.weights[i];
    std::reverse(order.begin(), order.end());
    fill();
    std::reverse(order.begin(), order.end());
  }
  return sum == 0 ? window : std::vector<Zop8u>();
}

// The same by what is missing to the highest sum, where that works better.
std::vector<Zop8u> windowOf(const Mask& mask, int sum, int highest) {
  std::vector<Zop8u> window = windowFilledTo(mask, sum);
  if (!window.empty()) return window;
  window = windowFilledTo(mask, highest - sum);
  for (Zop8u& cell : window) cell = static_cast<Zop8u>(255 - cell);
  return window;
}

// How many sums the windows of a mask have.
template <int kHighest>
std::size_t reachable(const Mask& mask) {
  std::bitset<kHighest + 1> sums;
  sums[0] = true;
  for (const int weight : mask.weights) {
    for (const int k : {1, 2, 4, 8, 16, 32, 64, 128}) sums |= sums << (k * weight);
  }
  return sums.count();
}

// Every sum that a divisor can meet. Windows stand side by side, and of the results only those count that
// look at one window.
template <int kHighest>
void compareAllSums(const char* operation, int maskCode,
                    ZopStatus (*function)(const Zop8u*, int, Zop8u*, int, ZopImageSize, int)) {
  const Mask mask = maskOf(operation, maskCode);
  const int taps = mask.taps();
  std::vector<int> sums;
  std::vector<std::vector<Zop8u>> rows(taps);
  for (int sum = 0; sum <= kHighest; ++sum) {
    const std::vector<Zop8u> window = windowOf(mask, sum, kHighest);
    if (window.empty()) continue;
    sums.push_back(sum);
    for (int j = 0; j < taps; ++j)
      rows[j].insert(rows[j].end(), window.begin() + j * taps, window.begin() + (j + 1) * taps);
  }
  EXPECT_GE(sums.size(), reachable<kHighest>(mask) - 50);
  const int step = static_cast<int>(rows[0].size());
  std::vector<Zop8u> image, out(step);
  for (const auto& row : rows) image.insert(image.end(), row.begin(), row.end());
  ASSERT_EQ(zopStatusOk, function(image.data() + mask.radius * (step + 1), step, out.data(), step,
                                  {step - 2 * mask.radius, 1}, maskCode));
  for (std::size_t i = 0; i < sums.size(); ++i)
    ASSERT_EQ(byteOf(sums[i], mask.divisor), out[i * taps]) << operation << " of " << sums[i];
}

TEST(FixedFiltersExhaustive, EverySumOfBytesIsDividedRight) {
  sweep::onEveryTarget([] {
    compareAllSums<4080>("FilterGauss", 33, zopiFilterGauss_8u_C1R);
    compareAllSums<145605>("FilterGauss", 55, zopiFilterGauss_8u_C1R);
    compareAllSums<2295>("FilterLowpass", 33, zopiFilterLowpass_8u_C1R);
    compareAllSums<6375>("FilterLowpass", 55, zopiFilterLowpass_8u_C1R);
  });
}

// A call on the middle of an image of 9x9, whose result for the middle pixel is given back.
template <class S, class T, class... P>
T middleOf(const std::array<S, 81>& image, ZopStatus (*function)(const S*, int, T*, int, ZopImageSize, P...),
           std::type_identity_t<P>... p) {
  T out[25] = {};
  EXPECT_EQ(zopStatusOk, function(&image[20], 9 * sizeof(S), out, 5 * sizeof(T), {5, 5}, p...));
  return out[12];
}

TEST(FixedFiltersByHand, FlatImagesSpotsAndSteps) {
  std::array<Zop8u, 81> flat, spot = {}, step;
  for (const int level : {0, 1, 100, 255}) {
    flat.fill(static_cast<Zop8u>(level));
    for (const int code : {33, 55}) {
      EXPECT_EQ(level, middleOf(flat, zopiFilterGauss_8u_C1R, code));
      EXPECT_EQ(level, middleOf(flat, zopiFilterLowpass_8u_C1R, code));
      EXPECT_EQ(0, middleOf(flat, zopiFilterLaplace_8u_C1R, code));
    }
    EXPECT_EQ(level, middleOf(flat, zopiFilterSharpen_8u_C1R));
  }
  spot[40] = 20;
  EXPECT_EQ(160, middleOf(spot, zopiFilterLaplace_8u_C1R, 33));
  spot[40] = 33;
  EXPECT_EQ(255, middleOf(spot, zopiFilterLaplace_8u_C1R, 33));
  // 8 / 16 and 24 / 16 are ties: 0 and 2.
  spot[40] = 2;
  EXPECT_EQ(0, middleOf(spot, zopiFilterGauss_8u_C1R, 33));
  spot[40] = 6;
  EXPECT_EQ(2, middleOf(spot, zopiFilterGauss_8u_C1R, 33));

  // Dark on the left: falling from left to right is what these see, but for Scharr.
  for (int i = 0; i < 81; ++i) step[i] = i % 9 < 4 ? 10 : 60;
  EXPECT_EQ(0, middleOf(step, zopiFilterSobelVert_8u_C1R));
  EXPECT_EQ(-200, middleOf(step, zopiFilterSobelVert_8u16s_C1R, 33));
  EXPECT_EQ(800, middleOf(step, zopiFilterScharrVert_8u16s_C1R));
  EXPECT_EQ(50, middleOf(step, zopiFilterRobertsDown_8u_C1R));
  EXPECT_EQ(0, middleOf(step, zopiFilterRobertsUp_8u_C1R));
  std::reverse(step.begin(), step.end());
  EXPECT_EQ(200, middleOf(step, zopiFilterSobelVert_8u_C1R));
}

TEST(FixedFiltersByHand, MaskCodesAndRowsOfWholeSamples) {
  const std::array<Zop8u, 81> bytes = {};
  Zop8u byte = 7;
  EXPECT_EQ(zopStatusBadMaskSize, zopiFilterGauss_8u_C1R(&bytes[40], 9, &byte, 9, {1, 1}, 34));
  EXPECT_EQ(zopStatusBadStep, zopiFilterGauss_8u_C1R(&bytes[40], 0, &byte, 9, {1, 1}, 34));
  EXPECT_EQ(7, byte);
  std::array<Zop32f, 81> numbers;
  for (int i = 0; i < 81; ++i) numbers[i] = static_cast<Zop32f>(i * i % 31);
  EXPECT_EQ(middleOf(numbers, zopiFilterSobelVertMask_32f_C1R, 55),
            middleOf(numbers, zopiFilterSobelVertMask_32f_C1R, 34));
  EXPECT_NE(middleOf(numbers, zopiFilterSobelVertMask_32f_C1R, 55),
            middleOf(numbers, zopiFilterSobelVertMask_32f_C1R, 33));

  // What a step holds beyond whole samples is dropped: the last rows stay within the images.
  std::array<Zop16s, 81> words;
  for (int i = 0; i < 81; ++i) words[i] = static_cast<Zop16s>(i * i * 17);
  Zop16s whole[25] = {}, odd[25] = {};
  EXPECT_EQ(zopStatusOk, zopiFilterSobelHoriz_16s_C1R(&words[20], 18, whole, 10, {5, 5}));
  EXPECT_EQ(zopStatusOk, zopiFilterSobelHoriz_16s_C1R(&words[20], 19, odd, 11, {5, 5}));
  EXPECT_TRUE(std::equal(whole, whole + 25, odd));
  std::array<Zop32f, 25> plain = {}, ragged = {};
  EXPECT_EQ(zopStatusOk, zopiFilterGauss_32f_C1R(&numbers[20], 36, plain.data(), 20, {5, 5}, 55));
  EXPECT_EQ(zopStatusOk, zopiFilterGauss_32f_C1R(&numbers[20], 39, ragged.data(), 22, {5, 5}, 55));
  EXPECT_EQ(plain, ragged);
}

}  // namespace
