// Cosine transforms of 8x8 blocks: integers against the definition of their steps, floats against that of the
// transform.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#include "support/guarded.h"
#include "support/sweep.h"
#include "zopi.h"

namespace {

using Block = std::array<Zop16s, 64>;

int held(int v) { return std::clamp(v, -32768, 32767); }
Zop16s wrapped(int v) { return static_cast<Zop16s>(v); }
int high(int a, int k) { return a * k >> 16; }
int shifted(int v, int by) { return wrapped(v * (1 << by)); }

constexpr int kT1 = 13036, kT2 = 27146, kT3 = -21746, kC4 = 23170, kS4 = -19195;
constexpr int kTables[4][7] = {{16384, 22725, 19266, 12873, 4520, 21407, 8867},
                               {22725, 31521, 26722, 17855, 6270, 29692, 12299},
                               {21407, 29692, 25172, 16819, 5906, 27969, 11585},
                               {19266, 26722, 22654, 15137, 5315, 25172, 10426}};
const int* tableOf(int row) {
  constexpr int kOf[8] = {0, 1, 2, 3, 0, 3, 2, 1};
  return kTables[kOf[row]];
}
int saturatedShift(std::int64_t sum, int by) { return held(static_cast<std::int32_t>(sum) >> by); }

Block forwardOf(Block x) {
  for (int c = 0; c < 8; ++c) {
    const auto at = [&](int r) { return static_cast<int>(x[8 * r + c]); };
    const auto sum = [&](int i, int j, int by) { return shifted(held(at(i) + at(j)), by); };
    const auto difference = [&](int i, int j, int by) { return shifted(held(at(i) - at(j)), by); };
    const int a = sum(1, 6, 3), b = sum(2, 5, 3), cc = sum(0, 7, 3), d = sum(3, 4, 3);
    const int e = difference(1, 6, 4), f = difference(2, 5, 4), g = difference(3, 4, 3),
              h = difference(0, 7, 3);
    const int p = held(a + b), q = held(a - b), r = held(cc + d), s = held(cc - d);
    const int m = high(held(e + f), kC4) | 1, n = high(held(e - f), kC4);
    const int k1 = held(g + n), k2 = held(g - n), k3 = held(h + m), k4 = held(h - m);
    const int t = held(high(k2, kT3) + k2), v = held(high(k4, kT3) + k4);
    const int out[8] = {
        held(r + p),  held(high(k1, kT1) + k3) | 1, held(high(q, kT2) + s) | 1, held(k4 - t), held(r - p),
        held(v + k2), held(high(s, kT2) - q) | 1,   held(high(k3, kT1) - k1)};
    for (int i = 0; i < 8; ++i) x[8 * i + c] = wrapped(out[i]);
  }
  for (int r = 0; r < 8; ++r) {
    Zop16s* row = x.data() + 8 * r;
    const int* K = tableOf(r);
    std::int64_t s[4], d[4];
    for (int j = 0; j < 4; ++j) {
      s[j] = held(row[j] + row[7 - j]);
      d[j] = held(row[j] - row[7 - j]);
    }
    const std::int64_t sums[8] = {K[0] * (s[0] + s[1] + s[2] + s[3]),
                                  K[1] * d[0] + K[2] * d[1] + K[3] * d[2] + K[4] * d[3],
                                  K[5] * s[0] + K[6] * s[1] - K[6] * s[2] - K[5] * s[3],
                                  K[2] * d[0] - K[4] * d[1] - K[1] * d[2] - K[3] * d[3],
                                  K[0] * s[0] - K[0] * s[1] - K[0] * s[2] + K[0] * s[3],
                                  K[3] * d[0] - K[1] * d[1] + K[4] * d[2] + K[2] * d[3],
                                  K[6] * s[0] - K[5] * s[1] + K[5] * s[2] - K[6] * s[3],
                                  K[4] * d[0] - K[3] * d[1] + K[2] * d[2] - K[1] * d[3]};
    for (int i = 0; i < 8; ++i) row[i] = wrapped(saturatedShift(sums[i] + 0x80000, 20));
  }
  return x;
}

Block inverseOf(Block block) {
  constexpr int kRoundings[8] = {65536, 5802, 4520, 3408, 2048, 910, 1024, 746};
  for (int r = 0; r < 8; ++r) {
    Zop16s* row = block.data() + 8 * r;
    const int* K = tableOf(r);
    std::int64_t x[8];
    std::copy(row, row + 8, x);
    const std::int64_t R = kRoundings[r];
    const std::int64_t a[4] = {K[0] * x[0] + K[0] * x[4] + K[5] * x[2] + K[6] * x[6] + R,
                               K[0] * x[0] - K[0] * x[4] + K[6] * x[2] - K[5] * x[6] + R,
                               K[0] * x[0] - K[0] * x[4] - K[6] * x[2] + K[5] * x[6] + R,
                               K[0] * x[0] + K[0] * x[4] - K[5] * x[2] - K[6] * x[6] + R};
    const std::int64_t b[4] = {K[1] * x[1] + K[3] * x[5] + K[2] * x[3] + K[4] * x[7],
                               K[2] * x[1] - K[1] * x[5] - K[4] * x[3] - K[3] * x[7],
                               K[3] * x[1] + K[4] * x[5] - K[1] * x[3] + K[2] * x[7],
                               K[4] * x[1] + K[2] * x[5] - K[3] * x[3] - K[1] * x[7]};
    for (int i = 0; i < 4; ++i) {
      row[i] = wrapped(saturatedShift(a[i] + b[i], 12));
      row[7 - i] = wrapped(saturatedShift(a[i] - b[i], 12));
    }
  }
  for (int c = 0; c < 8; ++c) {
    const auto x = [&](int r) { return static_cast<int>(block[8 * r + c]); };
    const auto more = [](int v, int k) { return held(high(v, k) + v); };
    const int A = held(more(x(5), kT3) + x(3)), B = held(x(5) - more(x(3), kT3));
    const int C = held(high(x(7), kT1) + x(1)), D = held(high(x(1), kT1) - x(7));
    const int E = held(high(x(6), kT2) + x(2)), F = held(high(x(2), kT2) - x(6));
    const int p = held(A + C), q = held(C - A), u = held(D + B), w = held(D - B);
    const int G = more(held(q + w), kS4), H = more(held(q - w), kS4);
    const int s = held(x(0) + x(4)), t = held(x(0) - x(4));
    const int P = held(s + E), Q = held(s - E), M = held(t + F), N = held(t - F);
    const int out[8] = {held(P + p), held(M + G), held(N + H), held(Q + u),
                        held(Q - u), held(N - H), held(M - G), held(P - p)};
    for (int i = 0; i < 8; ++i) block[8 * i + c] = wrapped(out[i] >> 5);
  }
  return block;
}

// Samples of an image, of coefficients, and of the whole range; also blocks of its ends alone.
Block someBlock(int kind, std::mt19937& random) {
  Block block;
  for (Zop16s& v : block) {
    const int noise = wrapped(static_cast<int>(random()));
    v = wrapped(kind == 0   ? noise & 255
                : kind == 1 ? noise / 32
                : kind == 2 ? noise
                : noise < 0 ? -32768
                            : 32767);
  }
  return block;
}

// An 8x8 region between unmapped pages.
template <class T>
struct Region {
  guarded::Region memory;
  Region(int padding, std::mt19937& random)
      : memory(8, 8 * sizeof(T), 8 * static_cast<int>(sizeof(T)) + padding, {padding % 2 == 0, padding},
               random) {}
  T* data() { return reinterpret_cast<T*>(memory.at()); }
  int step() const { return memory.step(); }
  T get(int i) {
    T value;
    std::memcpy(&value, memory.at() + i / 8 * step() + i % 8 * sizeof(T), sizeof value);
    return value;
  }
  void set(int i, T value) {
    std::memcpy(memory.at() + i / 8 * step() + i % 8 * sizeof(T), &value, sizeof value);
  }
};

TEST(Dct, IntegersForward) {
  sweep::onEveryTarget([] {
    std::mt19937 random(1);
    for (int turn = 0; turn < 4000; ++turn) {
      const Block block = someBlock(turn % 4, random), expected = forwardOf(block);
      Block got = {}, inPlace = block;
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_16s_C1(block.data(), got.data()));
      ASSERT_EQ(expected, got) << turn;
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_16s_C1I(inPlace.data()));
      ASSERT_EQ(expected, inPlace);
      Region<Zop16s> region(turn % 7, random);
      for (int i = 0; i < 64; ++i) region.set(i, block[i]);
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_16s_C1R(region.data(), region.step(), got.data()));
      ASSERT_EQ(expected, got);

      Region<Zop8u> bytes(turn % 5, random);
      const auto added = static_cast<Zop16s>(turn % 3 == 0 ? 32767 - turn % 200 : turn - 2000);
      Block widened, moved;
      for (int i = 0; i < 64; ++i) {
        widened[i] = bytes.get(i);
        moved[i] = wrapped(widened[i] + added);
      }
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_8u16s_C1R(bytes.data(), bytes.step(), got.data()));
      ASSERT_EQ(forwardOf(widened), got);
      ASSERT_EQ(zopStatusOk, zopiDCT8x8FwdLS_8u16s_C1R(bytes.data(), bytes.step(), got.data(), added));
      ASSERT_EQ(forwardOf(moved), got);
    }
  });
}

TEST(Dct, IntegersBack) {
  sweep::onEveryTarget([] {
    std::mt19937 random(2);
    for (int turn = 0; turn < 4000; ++turn) {
      const Block block = someBlock(turn % 4, random), expected = inverseOf(block);
      Block got = {}, inPlace = block;
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_16s_C1(block.data(), got.data()));
      ASSERT_EQ(expected, got) << turn;
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_16s_C1I(inPlace.data()));
      ASSERT_EQ(expected, inPlace);
      Region<Zop16s> region(turn % 7, random);
      Region<Zop8u> bytes(turn % 5, random), clipped(turn % 3, random);
      const auto down = static_cast<Zop8u>(turn % 2 == 0 ? 0 : random()),
                 up = static_cast<Zop8u>(turn % 2 == 0 ? 255 : random());
      const auto added = static_cast<Zop16s>(turn % 4 == 3 ? 32000 : 128);
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_16s_C1R(block.data(), region.data(), region.step()));
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_16s8u_C1R(block.data(), bytes.data(), bytes.step()));
      ASSERT_EQ(zopStatusOk,
                zopiDCT8x8InvLSClip_16s8u_C1R(block.data(), clipped.data(), clipped.step(), added, down, up));
      for (int i = 0; i < 64; ++i) {
        ASSERT_EQ(expected[i], region.get(i));
        ASSERT_EQ(std::clamp<int>(expected[i], 0, 255), bytes.get(i));
        const int b = std::clamp<int>(wrapped(expected[i] + added), 0, 255);
        ASSERT_EQ(std::min<int>(std::max<int>(b, down), up), clipped.get(i));
      }
    }
  });
}

TEST(Dct, IntegersAreTheTransformAndComeBack) {
  Block flat, got;
  flat.fill(100);
  ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_16s_C1(flat.data(), got.data()));
  EXPECT_NEAR(800, got[0], 1);
  std::mt19937 random(3);
  for (int turn = 0; turn < 100; ++turn) {
    const Block block = someBlock(0, random);
    ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_16s_C1(block.data(), got.data()));
    ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_16s_C1I(got.data()));
    for (int i = 0; i < 64; ++i) ASSERT_NEAR(block[i], got[i], 2);
  }
}

TEST(Dct, Floats) {
  const auto basis = [](int u, int x) {
    return (u == 0 ? std::numbers::sqrt2 / 2 : 1) / 2 * std::cos((2 * x + 1) * u * std::numbers::pi / 16);
  };
  sweep::onEveryTarget([&] {
    std::mt19937 random(4);
    std::uniform_real_distribution<float> noise(-255, 255);
    for (int turn = 0; turn < 50; ++turn) {
      float block[64], there[64], back[64];
      for (float& v : block) v = noise(random);
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_32f_C1(block, there));
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_32f_C1(block, back));
      for (int v = 0; v < 8; ++v) {
        for (int u = 0; u < 8; ++u) {
          double forward = 0, inverse = 0;
          for (int i = 0; i < 64; ++i) {
            forward += block[i] * basis(u, i % 8) * basis(v, i / 8);
            inverse += block[i] * basis(i % 8, u) * basis(i / 8, v);
          }
          ASSERT_NEAR(forward, there[8 * v + u], 1e-3);
          ASSERT_NEAR(inverse, back[8 * v + u], 1e-3);
        }
      }
      float inPlace[64];
      std::memcpy(inPlace, block, sizeof block);
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Fwd_32f_C1I(inPlace));
      ASSERT_EQ(0, std::memcmp(inPlace, there, sizeof there));
      ASSERT_EQ(zopStatusOk, zopiDCT8x8Inv_32f_C1I(inPlace));
      for (int i = 0; i < 64; ++i) ASSERT_NEAR(block[i], inPlace[i], 1e-3);
    }
  });
}

}  // namespace
