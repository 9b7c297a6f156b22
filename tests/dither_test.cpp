// Fewer levels: every kind of dither, step by step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

double floorNear(double x) { return std::nearbyint(x + -0x1.fffd60e94ee39p-2); }

template <class S>
constexpr double kRange = std::is_same_v<S, Zop8u>    ? 255
                          : std::is_same_v<S, Zop32f> ? 1
                                                      : 65535;

// The tables of the generator with seed 0.
struct Noise {
  std::vector<float> numbers;
  std::vector<std::uint16_t> places;

  Noise(double low, double high) {
    std::uint32_t lcg = 1131199209, a = 0, b = 1013904243, c = 69069 * b + 1013904243, borrow = ~0u;
    for (int i = 0; i < 1024; ++i) {
      lcg = 69069 * lcg + 1013904243;
      std::uint32_t t = b - c + borrow;
      borrow = t >> 31 ? ~0u : 0;
      t -= borrow ? 18 : 0;
      c = b;
      b = a;
      a = t;
      const double g = static_cast<std::int32_t>(t + lcg);
      numbers.push_back(static_cast<float>(g * ((high - low) * 0x1.0000000000007p-32) + (high + low) * 0.5));
      places.push_back(static_cast<std::uint16_t>(g * (1024.0 * 0x1.0000000000007p-32) + 512.0));
    }
  }
  float at(int x, int y) const { return numbers[(places[x & 1023] + 2 * y + x) & 1023]; }
};

template <class S, class T>
struct Levels {
  float step, inverse;
  int factor;

  Levels(int count, bool truncates) {
    const int n = count - 1;
    step = static_cast<float>(kRange<S> / n);
    inverse = std::is_same_v<S, Zop8u>    ? n * 0.003921568859368563f
              : std::is_same_v<S, Zop32f> ? n
                                          : n * 1.5259021893143654e-05f;
    factor = static_cast<int>(truncates ? 65280.0 / n - 0.49999 : floorNear(65280.0 / n));
  }

  T sample(double Q, double L) const {
    if (std::is_same_v<S, Zop8u>) return static_cast<T>(static_cast<int>(Q) * factor >> 8);
    const int signedBy = std::is_signed_v<T> ? 32768 : 0;
    if (std::is_same_v<S, Zop32f>)
      return static_cast<T>(static_cast<int>(floorNear(L * (sizeof(T) == 1 ? 255 : 65535))) - signedBy);
    const int whole = std::clamp(static_cast<int>(floorNear(L)), 0, 65535);
    return static_cast<T>((sizeof(T) == 1 ? whole >> 8 : whole) - signedBy);
  }
};

template <class S>
double valueOf(S sample) {
  return std::is_same_v<S, Zop16s> ? sample + 32768.0 : static_cast<double>(sample);
}

template <class S, class T>
void ordered(const sweep::Call& call, int channels, int percent, int count) {
  constexpr int kMatrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const Levels<S, T> levels(count, std::strcmp(call.function.sourceLayout, "C4") == 0);
  const Noise noise(-percent * double{0.01f}, percent * double{0.01f});
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      const float cell = static_cast<float>(kMatrix[y & 3][x & 3] / 15.0);
      const double threshold =
          percent == 0 ? double{cell * levels.step} : (cell + double{noise.at(x, y)}) * levels.step;
      for (int c = 0; c < channels; ++c) {
        const double v = valueOf(call.sources[0].get<S>(x, y, c));
        double Q = floorNear(v * levels.inverse), L = Q * levels.step;
        if (v - L > threshold) {
          L += levels.step;
          Q += 1;
        }
        call.destination.set<T>(x, y, c, levels.sample(Q, L));
      }
    }
  }
}

struct Weights {
  float factor;
  int twoAbove[5], above[5], before[2];
};
constexpr Weights kWeights[] = {
    {0.0625f, {0, 0, 0, 0, 0}, {0, 1, 5, 3, 0}, {0, 7}},
    {0.02083333395421505f, {1, 3, 5, 3, 1}, {3, 5, 7, 5, 3}, {5, 7}},
    {0.02380952425301075f, {1, 2, 4, 2, 1}, {2, 4, 8, 4, 2}, {4, 8}},
};

template <class S, class T>
void diffused(const sweep::Call& call, int channels, int kind, int percent, int count) {
  const Levels<S, T> levels(count, true);
  const double step = levels.step;
  const Noise noise(step * (50 - percent) * double{0.01f}, step * (50 + percent) * double{0.01f});
  const Weights& weights = kWeights[kind - 1];
  const auto [width, height] = call.size;
  for (int c = 0; c < channels; ++c) {
    std::vector<float>
        errors[3];  // of the row, the one above and the one two above, with two more on each side
    for (std::vector<float>& row : errors) row.assign(width + 4, 0.0f);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        double sum = 0;
        for (int i = 0; i < 5; ++i) sum += weights.twoAbove[i] * double{errors[2][x + i]};
        for (int i = 0; i < 5; ++i) sum += weights.above[i] * double{errors[1][x + i]};
        for (int i = 0; i < 2; ++i) sum += weights.before[i] * double{errors[0][x + i]};
        const double s = valueOf(call.sources[0].get<S>(x, y, c)) + sum * weights.factor;
        float& left = errors[0][x + 2];
        if (s >= kRange<S>) {
          left = 0;
          call.destination.set<T>(x, y, c, std::numeric_limits<T>::max());
        } else if (s < 0) {
          left = 0;
          call.destination.set<T>(x, y, c, std::numeric_limits<T>::min());
        } else {
          double Q = floorNear(s * levels.inverse), L = Q * step;
          if (s - L > (percent == 0 ? 0.5 * step : double{noise.at(x, y)})) {
            L += step;
            Q += 1;
          }
          left = static_cast<float>(s - L);
          call.destination.set<T>(x, y, c, levels.sample(Q, L));
        }
      }
      std::rotate(errors, errors + 2, errors + 3);
      errors[0].assign(width + 4, 0.0f);
    }
  }
}

// Copies are tested as such: here they are made by the functions that they are.
template <class S, class T>
void undithered(const sweep::Call& call, int channels) {
  for (int y = 0; y < call.size.height; ++y) {
    for (int x = 0; x < call.size.width; ++x) {
      for (int c = 0; c < channels; ++c) {
        const S sample = call.sources[0].get<S>(x, y, c);
        T result{};
        if constexpr (std::is_same_v<S, T>)
          result = sample;
        else if constexpr (std::is_same_v<S, Zop16u>)
          zopiScale_16u8u_C1R(&sample, 2, &result, 1, {1, 1}, 0);
        else if constexpr (std::is_same_v<S, Zop16s>)
          zopiScale_16s8u_C1R(&sample, 2, &result, 1, {1, 1}, 0);
        else if constexpr (sizeof(T) == 1)
          zopiScale_32f8u_C1R(&sample, 4, &result, 1, {1, 1}, 0, 1);
        else
          result = static_cast<T>(std::clamp(floorNear(double{sample} * 65535), 0.0, 65535.0) -
                                  (std::is_signed_v<T> ? 32768 : 0));
        call.destination.set<T>(x, y, c, result);
      }
    }
  }
}

template <class S, class T>
ZopStatus reduced(const sweep::Call& call) {
  const int channels = std::strcmp(call.function.sourceLayout, "AC4") == 0 ? 3 : call.destination.samples;
  const int noise = call.parameters[0].get<int>(), kind = call.parameters[1].get<int>(),
            count = call.parameters[2].get<int>();
  if (kind == zopDitherNone) undithered<S, T>(call, channels);
  if (kind >= zopDitherFS && kind <= zopDitherStucki) diffused<S, T>(call, channels, kind, noise, count);
  if (kind == zopDitherBayer) ordered<S, T>(call, channels, noise, count);
  return zopStatusOk;
}

template <class S, class T>
void addTo(std::vector<std::pair<const registry::Function*, sweep::Reference>>& all) {
  for (const registry::Function* f : sweep::functionsOf("ReduceBits", {sweep::kToken<S>})) {
    if (f->destinationType == std::string(sweep::kToken<T>)) all.emplace_back(f, reduced<S, T>);
  }
}

TEST(Dither, EveryKind) {
  std::vector<std::pair<const registry::Function*, sweep::Reference>> all;
  addTo<Zop8u, Zop8u>(all);
  addTo<Zop16u, Zop16u>(all);
  addTo<Zop16s, Zop16s>(all);
  addTo<Zop16s, Zop8u>(all);
  addTo<Zop16u, Zop8u>(all);
  ASSERT_EQ(20u, all.size());
  sweep::Options options;
  options.parameters = {{-5, 0, 1000}, {0, 1, 2},   {0, 4, 2},  {0, 4, 17}, {30, 4, 3},
                        {100, 2, 9},   {0, 3, 256}, {20, 1, 5}, {7, 5, 3}};
  std::vector<sweep::Shape> shapes;
  for (const auto& [width, height] : {std::pair{1, 1}, {2, 3}, {3, 17}, {5, 8}, {37, 9}, {66, 2}, {130, 5}})
    shapes.push_back({width, height, width % 3, {width % 2 == 0, 0}});
  sweep::onEveryTargetAndTeam([&](bool) {
    for (const auto& [f, reference] : all) sweep::run(*f, options, reference, shapes);
  });
  // Beyond the ends of the tables.
  for (const auto& [f, reference] : all) {
    sweep::run(*f, {{{40, 4, 4}, {40, 2, 4}}}, reference, {{1030, 2, 0, {true, 0}}, {2, 600, 0, {true, 0}}});
  }
}

// Numbers of images, which stand between 0 and 1 and a little beyond.
template <class T, class Function>
void compareNumbers(Function function) {
  constexpr int kWidth = 61, kHeight = 19;
  std::vector<Zop32f> src(kWidth * kHeight);
  for (int i = 0; i < kWidth * kHeight; ++i) src[i] = static_cast<Zop32f>((i * 7919 % 1201 - 40) / 1120.0);
  for (const auto& [noise, kind, count] :
       {std::tuple{0, 0, 2}, {0, 1, 2}, {0, 4, 2}, {25, 4, 6}, {0, 2, 16}, {35, 3, 256}}) {
    std::vector<T> out(src.size()), expected(src.size());
    sweep::Call call = {registry::functions().front(), {kWidth, kHeight}, {}, {}, {}, {}, {}, {}};
    const auto view = [](auto& image) {
      sweep::View result;
      result.plane[0] = reinterpret_cast<unsigned char*>(image.data());
      result.sampleBytes = sizeof image[0];
      result.step = kWidth * result.sampleBytes;
      result.samples = 1;
      return result;
    };
    call.sources = {view(src)};
    call.destination = view(expected);
    if (kind == 0) undithered<Zop32f, T>(call, 1);
    if (kind == 4)
      ordered<Zop32f, T>(call, 1, noise, count);
    else if (kind > 0)
      diffused<Zop32f, T>(call, 1, kind, noise, count);
    ASSERT_EQ(zopStatusOk, function(src.data(), kWidth * 4, out.data(), kWidth * static_cast<int>(sizeof(T)),
                                    {kWidth, kHeight}, noise, kind, count));
    ASSERT_EQ(expected, out) << "kind " << kind;
  }
}

TEST(Dither, Numbers) {
  sweep::onEveryTarget([] {
    compareNumbers<Zop8u>(zopiReduceBits_32f8u_C1R);
    compareNumbers<Zop16u>(zopiReduceBits_32f16u_C1R);
    compareNumbers<Zop16s>(zopiReduceBits_32f16s_C1R);
  });
}

// White of bytes, by the form of its factor.
TEST(Dither, White) {
  const Zop8u white[8] = {255, 255, 255, 255, 254, 255, 255, 255};
  Zop8u out[8] = {};
  zopiReduceBits_8u_C1R(white, 4, out, 4, {4, 1}, 0, zopDitherBayer, 2);
  EXPECT_EQ(255, out[0]);
  zopiReduceBits_8u_C4R(white, 8, out, 8, {2, 1}, 0, zopDitherBayer, 2);
  EXPECT_EQ(254, out[0]);
  zopiReduceBits_8u_C1R(white + 4, 4, out, 4, {1, 1}, 0, zopDitherFS, 2);
  EXPECT_EQ(254, out[0]);
  zopiReduceBits_8u_C1R(white, 4, out, 4, {1, 1}, 0, zopDitherFS, 2);
  EXPECT_EQ(255, out[0]);
}

}  // namespace
