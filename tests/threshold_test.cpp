// Thresholds against a loop over samples.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "support/sweep.h"
#include "zopi.h"

namespace {

using sweep::Call;
using sweep::View;

const Zop32f kNaN = std::nanf("");
constexpr Zop32f kInfinity = std::numeric_limits<Zop32f>::infinity();
constexpr Zop32f kDenormal = std::numeric_limits<Zop32f>::denorm_min();
const std::vector<Zop32f> kEdges = {0.0f, -0.0f, kDenormal, -kDenormal, 1.0f, -1.0f,
                                    2.5f, -2.5f, kInfinity, -kInfinity, kNaN, -kNaN};

// Whether a sample is above a threshold: as a number, or by its bits.
template <class T>
bool isAbove(T sample, T threshold, bool) {
  return sample > threshold;
}
template <class T>
bool isBelow(T sample, T threshold, bool) {
  return sample < threshold;
}

std::int32_t order(Zop32f v) {
  std::int32_t bits;
  std::memcpy(&bits, &v, sizeof bits);
  return bits;
}

template <>
bool isAbove(Zop32f sample, Zop32f threshold, bool byBits) {
  if (!byBits) return sample > threshold;
  const std::int32_t s = order(sample), t = order(threshold);
  return threshold < 0.0 ? static_cast<std::uint32_t>(s) < static_cast<std::uint32_t>(t) : s > t;
}
template <>
bool isBelow(Zop32f sample, Zop32f threshold, bool byBits) {
  if (!byBits) return sample < threshold;
  const std::int32_t s = order(sample), t = order(threshold);
  return threshold < 0.0 ? static_cast<std::uint32_t>(s) > static_cast<std::uint32_t>(t) : s < t;
}

// What a form asks for: up to two sides.
template <class T>
struct Sides {
  bool above, below;
  T upper, upperValue, lower, lowerValue;
};

template <class T>
T replaced(T sample, const Sides<T>& sides, bool byBits) {
  if (sides.above && isAbove(sample, sides.upper, byBits)) return sides.upperValue;
  if (sides.below && isBelow(sample, sides.lower, byBits)) return sides.lowerValue;
  return sample;
}

template <class T>
Sides<T> sidesOf(const Call& call, int channel) {
  const std::string variant = call.function.variant;
  std::vector<T> values;
  for (const unsigned char* constant : call.constants) {
    T value;
    std::memcpy(&value, constant + channel * sizeof(T), sizeof value);
    values.push_back(value);
  }
  if (variant == "LTValGTVal") return {true, true, values[2], values[3], values[0], values[1]};
  const bool above =
      call.parameters.empty() ? variant.starts_with("GT") : call.parameters[0].get<int>() == zopCmpGreater;
  return {above, !above, values[0], values.back(), values[0], values.back()};
}

template <class T>
ZopStatus reference(const Call& call) {
  const std::string layout = call.function.sourceLayout;
  const bool byBits = std::is_same_v<T, Zop32f> && layout == "C1";
  View in = call.sources.back(), out = call.destination;
  if (layout != "C4") {  // by whole samples
    in.step -= in.step % static_cast<int>(sizeof(T));
    out.step -= out.step % static_cast<int>(sizeof(T));
  }
  const int channels = layout == "AC4" ? 3 : out.samples;
  for (int c = 0; c < channels; ++c) {
    const Sides<T> sides = sidesOf<T>(call, c);
    if (sides.above && sides.below && sides.lower > sides.upper) return zopStatusBadThresholds;
  }
  for (int c = 0; c < channels; ++c) {
    const Sides<T> sides = sidesOf<T>(call, c);
    for (int y = 0; y < call.size.height; ++y) {
      for (int x = 0; x < call.size.width; ++x) out.set(x, y, c, replaced(in.get<T>(x, y, c), sides, byBits));
    }
  }
  return zopStatusOk;
}

template <class T>
std::vector<unsigned char> bytesOf(std::vector<T> samples) {
  std::vector<unsigned char> bytes(samples.size() * sizeof(T));
  std::memcpy(bytes.data(), samples.data(), bytes.size());
  return bytes;
}

// Constants in the order of the arguments of LTValGTVal, of which the other forms take the first one or two.
template <class T>
std::vector<sweep::Constants> constants() {
  const T low = static_cast<T>(std::is_unsigned_v<T> ? 60 : -60);
  return {{},
          {bytesOf<T>({low, 20, 0, 5}), bytesOf<T>({1, 2, 3, 4}), bytesOf<T>({70, 20, 100, 5}),
           bytesOf<T>({101, 102, 103, 104})},
          {bytesOf<T>({1, low, low, 1}), {}, bytesOf<T>({2, 3, low, 1}), {}}};
}

template <class T>
void sweepOver(const registry::Function& f) {
  const std::vector<sweep::Constants> all = constants<T>();
  const std::string variant = f.variant;
  const bool asks = variant == "Val" || variant == "";
  int next = 0;
  for (const sweep::Shape& shape : sweep::shapes(f)) {
    sweep::Options options;
    if (asks) options.parameters = {{next / 2 % 2 == 0 ? zopCmpLess : zopCmpGreater}};
    options.constants = {all[next % all.size()]};
    ++next;
    sweep::run(f, options, reference<T>, {shape});
    if (testing::Test::HasFailure()) return;
  }
}

TEST(Thresholds, EqualTheReferenceAtEveryShape) {
  sweep::onEveryTarget([&] {
    for (const registry::Function* f : sweep::functionsOf("Threshold")) {
      const std::string type = f->sourceType;
      if (type == "8u") sweepOver<Zop8u>(*f);
      if (type == "16s") sweepOver<Zop16s>(*f);
      if (type == "32f") sweepOver<Zop32f>(*f);
      if (HasFailure()) return;
    }
  });
}

TEST(ThresholdsExhaustive, AllBytesAndLevels) {
  std::vector<Zop8u> all(256), out(256);
  for (int i = 0; i < 256; ++i) all[i] = static_cast<Zop8u>(i);
  for (int lower = 0; lower < 256; ++lower) {
    for (int upper = lower; upper < 256; ++upper) {
      const Zop8u l = static_cast<Zop8u>(lower), u = static_cast<Zop8u>(upper);
      ASSERT_EQ(zopStatusOk,
                zopiThreshold_LTValGTVal_8u_C1R(all.data(), 256, out.data(), 256, {256, 1}, l, 7, u, 9));
      for (int i = 0; i < 256; ++i) {
        ASSERT_EQ(i > upper ? 9 : i < lower ? 7 : i, out[i]) << lower << " " << upper;
      }
    }
  }
}

// Bits of the results, for a not-a-number is kept as it is.
TEST(ThresholdsOfFloats, AllEdges) {
  const int n = static_cast<int>(kEdges.size());
  std::vector<Zop32f> pixels;
  for (const Zop32f edge : kEdges) pixels.insert(pixels.end(), 3, edge);
  std::vector<Zop32f> out(n), out3(3 * n);
  const auto expect = [&](const Sides<Zop32f>& sides) {
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(order(replaced(kEdges[i], sides, true)), order(out[i]))
          << kEdges[i] << " with " << sides.lower << " and " << sides.upper;
      for (int c = 0; c < 3; ++c) {
        ASSERT_EQ(order(replaced(kEdges[i], sides, false)), order(out3[3 * i + c]))
            << kEdges[i] << " with " << sides.lower << " and " << sides.upper;
      }
    }
  };
  sweep::onEveryTarget([&] {
    for (const Zop32f low : kEdges) {
      const Zop32f lows[3] = {low, low, low};
      for (const int op : {zopCmpLess, zopCmpGreater}) {
        zopiThreshold_32f_C1R(kEdges.data(), 4 * n, out.data(), 4 * n, {n, 1}, low, op);
        zopiThreshold_32f_C3R(pixels.data(), 12 * n, out3.data(), 12 * n, {n, 1}, lows, op);
        ASSERT_NO_FATAL_FAILURE(expect({op == zopCmpGreater, op == zopCmpLess, low, low, low, low}));
      }
      for (const Zop32f high : kEdges) {
        const Zop32f highs[3] = {high, high, high}, sevens[3] = {7, 7, 7}, nines[3] = {9, 9, 9};
        const ZopStatus status = zopiThreshold_LTValGTVal_32f_C1R(kEdges.data(), 4 * n, out.data(), 4 * n,
                                                                  {n, 1}, low, 7, high, 9);
        ASSERT_EQ(low > high ? zopStatusBadThresholds : zopStatusOk, status) << low << " " << high;
        ASSERT_EQ(status, zopiThreshold_LTValGTVal_32f_C3R(pixels.data(), 12 * n, out3.data(), 12 * n, {n, 1},
                                                           lows, sevens, highs, nines));
        if (status == zopStatusOk) {
          ASSERT_NO_FATAL_FAILURE(expect({true, true, high, 9, low, 7}));
        }
      }
    }
  });
}

TEST(ThresholdsByHand, BitsAndNumbersDifferAtTheEdges) {
  const Zop32f samples[3] = {kNaN, -1.0f, -0.0f};
  Zop32f image[3];
  std::memcpy(image, samples, sizeof image);
  zopiThreshold_Val_32f_C1IR(image, 12, {3, 1}, -0.0f, 5.0f, zopCmpGreater);
  EXPECT_EQ(5.0f, image[0]);
  EXPECT_EQ(5.0f, image[1]);
  EXPECT_TRUE(std::signbit(image[2]));
  std::memcpy(image, samples, sizeof image);
  const Zop32f zero[3] = {-0.0f, -0.0f, -0.0f}, five[3] = {5, 5, 5};
  zopiThreshold_Val_32f_C3IR(image, 12, {1, 1}, zero, five, zopCmpGreater);
  EXPECT_TRUE(std::isnan(image[0]));
  EXPECT_EQ(-1.0f, image[1]);
}

}  // namespace
