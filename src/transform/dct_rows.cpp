#include "transform/dct_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transform/dct_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <cstring>

#include "core/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;
namespace {

// A row of a block is a vector.
using Words = hn::FixedTag<int16_t, kDctSide>;
using Integers = hn::FixedTag<int32_t, kDctSide / 2>;
using Row = hn::Vec<Words>;
using Half = hn::Vec<Integers>;

HWY_INLINE Row constant(int value) { return hn::Set(Words(), static_cast<int16_t>(value)); }
HWY_INLINE Row plus(Row a, Row b) { return hn::SaturatedAdd(a, b); }
HWY_INLINE Row minus(Row a, Row b) { return hn::SaturatedSub(a, b); }
HWY_INLINE Row odd(Row a) { return hn::Or(a, constant(1)); }
// a + a k / 2^16, of constants that are 1 too large for a word.
HWY_INLINE Row timesOneMore(Row a, Row k) { return plus(hn::MulHigh(a, k), a); }

// Tangents of 1/16, 2/16 and, less 1, 3/16 of pi, half the cosine of 1/4, and that cosine less 1, in units of
// 2^-16.
constexpr int kTangent1 = 13036, kTangent2 = 27146, kTangent3 = -21746, kHalfCosine = 23170,
              kCosineLess1 = -19195;

HWY_INLINE void transpose(Row* x) {
  const Words d;
  const hn::Repartition<uint32_t, Words> pairs;
  const hn::Repartition<uint64_t, Words> quads;
  const auto pairUp = [&](Row a, Row b, Row& low, Row& high) HWY_ATTR {
    low = hn::BitCast(d, hn::InterleaveLower(pairs, hn::BitCast(pairs, a), hn::BitCast(pairs, b)));
    high = hn::BitCast(d, hn::InterleaveUpper(pairs, hn::BitCast(pairs, a), hn::BitCast(pairs, b)));
  };
  const auto join = [&](Row a, Row b, Row& low, Row& high) HWY_ATTR {
    low = hn::BitCast(d, hn::InterleaveLower(quads, hn::BitCast(quads, a), hn::BitCast(quads, b)));
    high = hn::BitCast(d, hn::InterleaveUpper(quads, hn::BitCast(quads, a), hn::BitCast(quads, b)));
  };
  Row a[8], b[8];
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i) {
    a[i] = hn::InterleaveLower(d, x[2 * i], x[2 * i + 1]);
    a[i + 4] = hn::InterleaveUpper(d, x[2 * i], x[2 * i + 1]);
  }
#pragma GCC unroll 4
  for (int i = 0; i < 8; i += 2) pairUp(a[i], a[i + 1], b[i], b[i + 1]);
  join(b[0], b[2], x[0], x[1]);
  join(b[1], b[3], x[2], x[3]);
  join(b[4], b[6], x[4], x[5]);
  join(b[5], b[7], x[6], x[7]);
}

// Cosines of the rows' pass. Each row has its own, which make up for the tangents of the columns' pass: those
// of row r are the ones of row 0 times sqrt(2) cos(r pi / 16).
constexpr int kCosines[4][7] = {{16384, 22725, 19266, 12873, 4520, 21407, 8867},
                                {22725, 31521, 26722, 17855, 6270, 29692, 12299},
                                {21407, 29692, 25172, 16819, 5906, 27969, 11585},
                                {19266, 26722, 22654, 15137, 5315, 25172, 10426}};
constexpr int kCosinesOfRow[8] = {0, 1, 2, 3, 0, 3, 2, 1};

// A pair of cosines with signs, K1 as 1, K0 as kZeroth: factors of two neighbouring samples, for all rows.
constexpr int kZeroth = 7;
struct Pair {
  int first, second;
};
struct PairFactors {
  alignas(16) int16_t lanes[2][8];

  constexpr explicit PairFactors(Pair pair) : lanes() {
    for (int row = 0; row < 8; ++row) {
      const auto factor = [&](int k) {
        const int cosine = kCosines[kCosinesOfRow[row]][(k < 0 ? -k : k) % kZeroth];
        return static_cast<int16_t>(k < 0 ? -cosine : cosine);
      };
      lanes[row / 4][row % 4 * 2] = factor(pair.first);
      lanes[row / 4][row % 4 * 2 + 1] = factor(pair.second);
    }
  }
};
struct TwoPairs {
  PairFactors first, second;
};

// Two samples of each row side by side, in the lanes of rows 0 to 3 and 4 to 7.
struct Paired {
  Row rows[2];
  HWY_INLINE Paired(Row a, Row b)
      : rows{hn::InterleaveLower(Words(), a, b), hn::InterleaveUpper(Words(), a, b)} {}
};

HWY_INLINE Half products(Row a, const int16_t* factors) {
  const Integers d;
  auto rest = hn::Zero(d);
  const auto sum = hn::ReorderWidenMulAccumulate(d, a, hn::Load(Words(), factors), hn::Zero(d), rest);
  return hn::RearrangeToOddPlusEven(sum, rest);
}
HWY_INLINE Half sumOfProducts(const Paired& a, const Paired& b, const TwoPairs& factors, int half) {
  return hn::Add(products(a.rows[half], factors.first.lanes[half]),
                 products(b.rows[half], factors.second.lanes[half]));
}
HWY_INLINE Row saturated(const Half* halves) {
  const hn::Half<Words> dh;
  return hn::Combine(Words(), hn::DemoteTo(dh, halves[1]), hn::DemoteTo(dh, halves[0]));
}

// Each vector holds a sample of all rows.
alignas(16) constexpr TwoPairs kForward[8] = {
    {PairFactors({kZeroth, kZeroth}), PairFactors({kZeroth, kZeroth})},
    {PairFactors({1, 2}), PairFactors({3, 4})},
    {PairFactors({5, 6}), PairFactors({-6, -5})},
    {PairFactors({2, -4}), PairFactors({-1, -3})},
    {PairFactors({kZeroth, -kZeroth}), PairFactors({-kZeroth, kZeroth})},
    {PairFactors({3, -1}), PairFactors({4, 2})},
    {PairFactors({6, -5}), PairFactors({5, -6})},
    {PairFactors({4, -3}), PairFactors({2, -1})},
};
HWY_INLINE void forwardRows(Row* x) {
  const auto sum = [&](int j) HWY_ATTR { return plus(x[j], x[7 - j]); };
  const auto difference = [&](int j) HWY_ATTR { return minus(x[j], x[7 - j]); };
  const Paired s01(sum(0), sum(1)), s23(sum(2), sum(3)), d01(difference(0), difference(1)),
      d23(difference(2), difference(3));
#pragma GCC unroll 8
  for (int i = 0; i < 8; ++i) {
    Half halves[2];
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      const Half total = i % 2 == 0 ? sumOfProducts(s01, s23, kForward[i], half)
                                    : sumOfProducts(d01, d23, kForward[i], half);
      halves[half] = hn::ShiftRight<20>(hn::Add(total, hn::Set(Integers(), 0x80000)));
    }
    x[i] = saturated(halves);
  }
}

// By which every row is rounded: what the columns' pass would have to add is in it, too.
alignas(16) constexpr int32_t kRoundings[8] = {65536, 5802, 4520, 3408, 2048, 910, 1024, 746};
// Of samples 0, 4 and 2, 6, then of 1, 5 and 3, 7.
alignas(16) constexpr TwoPairs kInverseEven[4] = {
    {PairFactors({kZeroth, kZeroth}), PairFactors({5, 6})},
    {PairFactors({kZeroth, -kZeroth}), PairFactors({6, -5})},
    {PairFactors({kZeroth, -kZeroth}), PairFactors({-6, 5})},
    {PairFactors({kZeroth, kZeroth}), PairFactors({-5, -6})},
};
alignas(16) constexpr TwoPairs kInverseOdd[4] = {
    {PairFactors({1, 3}), PairFactors({2, 4})},
    {PairFactors({2, -1}), PairFactors({-4, -3})},
    {PairFactors({3, 4}), PairFactors({-1, 2})},
    {PairFactors({4, 2}), PairFactors({-3, -1})},
};
HWY_INLINE void inverseRows(Row* x) {
  const Paired x04(x[0], x[4]), x26(x[2], x[6]), x15(x[1], x[5]), x37(x[3], x[7]);
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i) {
    Half low[2], high[2];
#pragma GCC unroll 2
    for (int half = 0; half < 2; ++half) {
      const Half even = hn::Add(sumOfProducts(x04, x26, kInverseEven[i], half),
                                hn::Load(Integers(), kRoundings + 4 * half));
      const Half odds = sumOfProducts(x15, x37, kInverseOdd[i], half);
      low[half] = hn::ShiftRight<12>(hn::Add(even, odds));
      high[half] = hn::ShiftRight<12>(hn::Sub(even, odds));
    }
    x[i] = saturated(low);
    x[7 - i] = saturated(high);
  }
}

// Sums saturate before they are shifted, and nothing saturates when it is.
HWY_INLINE void forwardColumns(Row* x) {
  const Row tangent1 = constant(kTangent1), tangent2 = constant(kTangent2), tangent3 = constant(kTangent3),
            halfCosine = constant(kHalfCosine);
  const Row a = hn::ShiftLeft<3>(plus(x[1], x[6])), b = hn::ShiftLeft<3>(plus(x[2], x[5])),
            c = hn::ShiftLeft<3>(plus(x[0], x[7])), d = hn::ShiftLeft<3>(plus(x[3], x[4]));
  const Row e = hn::ShiftLeft<4>(minus(x[1], x[6])), f = hn::ShiftLeft<4>(minus(x[2], x[5])),
            g = hn::ShiftLeft<3>(minus(x[3], x[4])), h = hn::ShiftLeft<3>(minus(x[0], x[7]));
  const Row p = plus(a, b), q = minus(a, b), r = plus(c, d), s = minus(c, d);
  const Row m = odd(hn::MulHigh(plus(e, f), halfCosine)), n = hn::MulHigh(minus(e, f), halfCosine);
  const Row k1 = plus(g, n), k2 = minus(g, n), k3 = plus(h, m), k4 = minus(h, m);
  x[0] = plus(r, p);
  x[4] = minus(r, p);
  x[2] = odd(plus(hn::MulHigh(q, tangent2), s));
  x[6] = odd(minus(hn::MulHigh(s, tangent2), q));
  x[1] = odd(plus(hn::MulHigh(k1, tangent1), k3));
  x[7] = minus(hn::MulHigh(k3, tangent1), k1);
  x[3] = minus(k4, timesOneMore(k2, tangent3));
  x[5] = plus(timesOneMore(k4, tangent3), k2);
}

HWY_INLINE void inverseColumns(Row* x) {
  const Row tangent1 = constant(kTangent1), tangent2 = constant(kTangent2), tangent3 = constant(kTangent3),
            cosine = constant(kCosineLess1);
  const Row a = plus(timesOneMore(x[5], tangent3), x[3]), b = minus(x[5], timesOneMore(x[3], tangent3));
  const Row c = plus(hn::MulHigh(x[7], tangent1), x[1]), d = minus(hn::MulHigh(x[1], tangent1), x[7]);
  const Row e = plus(hn::MulHigh(x[6], tangent2), x[2]), f = minus(hn::MulHigh(x[2], tangent2), x[6]);
  const Row p = plus(a, c), q = minus(c, a), u = plus(d, b), w = minus(d, b);
  const Row g = timesOneMore(plus(q, w), cosine), h = timesOneMore(minus(q, w), cosine);
  const Row s = plus(x[0], x[4]), t = minus(x[0], x[4]);
  const Row even[4] = {plus(s, e), plus(t, f), minus(t, f), minus(s, e)}, odds[4] = {p, g, h, u};
#pragma GCC unroll 4
  for (int i = 0; i < 4; ++i) {
    x[i] = hn::ShiftRight<5>(plus(even[i], odds[i]));
    x[7 - i] = hn::ShiftRight<5>(minus(even[i], odds[i]));
  }
}

HWY_INLINE void forwardOf(Row* x) {
  forwardColumns(x);
  transpose(x);
  forwardRows(x);
  transpose(x);
}
HWY_INLINE void inverseOf(Row* x) {
  transpose(x);
  inverseRows(x);
  transpose(x);
  inverseColumns(x);
}

HWY_INLINE void load(Image<const Zop16s> src, Row* x) {
#pragma GCC unroll 8
  for (int y = 0; y < 8; ++y) x[y] = hn::LoadU(Words(), src.row(y));
}
HWY_INLINE void storeRows(const Row* x, Image<Zop16s> dst) {
#pragma GCC unroll 8
  for (int y = 0; y < 8; ++y) hn::StoreU(x[y], Words(), dst.row(y));
}

void forward(Image<const Zop16s> src, Image<Zop16s> dst) {
  Row x[8];
  load(src, x);
  forwardOf(x);
  storeRows(x, dst);
}

void forwardBytes(Image<const Zop8u> src, Zop16s added, Image<Zop16s> dst) {
  const hn::Rebind<uint8_t, Words> bytes;
  Row x[8];
#pragma GCC unroll 8
  for (int y = 0; y < 8; ++y)
    x[y] = hn::Add(hn::PromoteTo(Words(), hn::LoadU(bytes, src.row(y))), hn::Set(Words(), added));
  forwardOf(x);
  storeRows(x, dst);
}

void inverse(Image<const Zop16s> src, Image<Zop16s> dst) {
  Row x[8];
  load(src, x);
  inverseOf(x);
  storeRows(x, dst);
}

void inverseToBytes(Image<const Zop16s> src, Image<Zop8u> dst, DctClip clip) {
  const hn::Rebind<uint8_t, Words> bytes;
  const auto down = hn::Set(bytes, clip.down), up = hn::Set(bytes, clip.up);
  Row x[8];
  load(src, x);
  inverseOf(x);
#pragma GCC unroll 8
  for (int y = 0; y < 8; ++y) {
    const auto byte = hn::DemoteTo(bytes, hn::Add(x[y], hn::Set(Words(), clip.added)));
    hn::StoreU(hn::Min(hn::Max(byte, down), up), bytes, dst.row(y));
  }
}

// The orthonormal transform: row u of the matrix holds C(u) / 2 cos((2 x + 1) u pi / 16).
struct Matrix {
  alignas(64) float rows[8][8], columns[8][8];

  constexpr Matrix() : rows(), columns() {
    // cos(k pi / 16) / 2, and of 0 the same as of 4
    constexpr double kHalfCosines[] = {0.35355339059327376, 0.49039264020161522, 0.46193976625564337,
                                       0.41573480615127262, 0.35355339059327376, 0.27778511650980109,
                                       0.19134171618254489, 0.09754516100806412};
    for (int u = 0; u < 8; ++u) {
      for (int x = 0; x < 8; ++x) {
        int k = (2 * x + 1) * u % 32;
        if (k > 16) k = 32 - k;
        const double value = u == 0   ? kHalfCosines[0]
                             : k == 8 ? 0.0
                             : k < 8  ? kHalfCosines[k]
                                      : -kHalfCosines[16 - k];
        rows[u][x] = columns[x][u] = static_cast<float>(value);
      }
    }
  }
};
constexpr Matrix kMatrix;

// The product of two 8x8 matrices.
HWY_INLINE void multiply(const float* a, const float* b, float* out) {
  const hn::CappedTag<float, 8> d;
  constexpr int N = static_cast<int>(hn::MaxLanes(d));
  for (int x = 0; x < 8; x += N) {
    for (int y = 0; y < 8; ++y) {
      auto sum = hn::Mul(hn::Set(d, a[8 * y]), hn::LoadU(d, b + x));
#pragma GCC unroll 7
      for (int k = 1; k < 8; ++k)
        sum = hn::MulAdd(hn::Set(d, a[8 * y + k]), hn::LoadU(d, b + 8 * k + x), sum);
      hn::StoreU(sum, d, out + 8 * y + x);
    }
  }
}

template <bool kForwardly>
void numbers(const Zop32f* src, Zop32f* dst) {
  HWY_ALIGN float between[kDctBlock], block[kDctBlock];
  const float *rows = kMatrix.rows[0], *columns = kMatrix.columns[0];
  std::memcpy(block, src, sizeof block);
  multiply(kForwardly ? rows : columns, block, between);
  multiply(between, kForwardly ? columns : rows, block);
  std::memcpy(dst, block, sizeof block);
}

constexpr DctTable kTable = {forward, forwardBytes, inverse, inverseToBytes, numbers<true>, numbers<false>};

}  // namespace

const DctTable* dctTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(dctTableOfTarget);

const DctTable& dctTable() { return *HWY_DYNAMIC_DISPATCH(dctTableOfTarget)(); }

}  // namespace zopi
#endif
