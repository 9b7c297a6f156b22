#include "stats/moments_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/moments_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>

#include "core/row_shapes-inl.h"
#include "move/copy_rows.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// As many rows as a vector has lanes, one in each lane: every lane keeps the order of its row.
struct RowsInLanes {
  using D = Tag<double>;
  using V = hn::Vec<D>;
  static constexpr int kRows = static_cast<int>(kLanes<D>);
  static constexpr std::ptrdiff_t kColumns = 64;
  V sums[4];
  V x;

  HWY_INLINE RowsInLanes() {
    const D d;
    for (V& sum : sums) sum = hn::Zero(d);
    x = hn::Zero(d);
  }
  HWY_INLINE void take(V f) {
    const V x2 = hn::Mul(x, x);
    sums[0] = hn::Add(sums[0], f);
    sums[1] = hn::Add(sums[1], hn::Mul(x, f));
    sums[2] = hn::Add(sums[2], hn::Mul(x2, f));
    sums[3] = hn::Add(sums[3], hn::Mul(hn::Mul(x2, x), f));
    x = hn::Add(x, hn::Set(D(), 1.0));
  }
  HWY_INLINE void store(RowSums* out, int rows) const {
    HWY_ALIGN double lanes[4][kRows];
    for (int m = 0; m < 4; ++m) hn::Store(sums[m], D(), lanes[m]);
    for (int r = 0; r < rows; ++r) {
      for (int m = 0; m < 4; ++m) out[r].of[m] = lanes[m][r];
    }
  }
};

template <class T>
void sumsInOrder(Image<const T> channel, int stride, Extent e, RowSums* sums) {
  constexpr int kRows = RowsInLanes::kRows;
  constexpr std::ptrdiff_t kColumns = RowsInLanes::kColumns;
  HWY_ALIGN double columns[kColumns][kRows] = {};
  for (int y = 0; y < e.rows; y += kRows) {
    const int rows = std::min(kRows, e.rows - y);
    RowsInLanes lanes;
    for (std::ptrdiff_t from = 0; from < e.length; from += kColumns) {
      const std::ptrdiff_t n = std::min(kColumns, e.length - from);
      for (int r = 0; r < rows; ++r) {
        const T* row = channel.row(y + r) + from * stride;
        for (std::ptrdiff_t i = 0; i < n; ++i) {
          T sample;
          std::memcpy(&sample, row + i * stride, sizeof sample);  // rows may stand at any address
          columns[i][r] = sample;
        }
      }
      for (std::ptrdiff_t i = 0; i < n; ++i) lanes.take(hn::Load(RowsInLanes::D(), columns[i]));
    }
    lanes.store(sums + y, rows);
  }
}

// Sums of bytes are whole numbers. While they stay below 2^53 their order does not matter; up to this width
// they stay below 2^63.
constexpr double kExact = 0x1p53;
constexpr std::ptrdiff_t kTriedWidth = 16384;

// Bytes in blocks of as many as a vector has words. With j the place in a block, the blocks' sums of f, j f,
// j^2 f and j^3 f stand in lanes of 32 bits, still to be added up. With b the number of a block, `sums[p][k]`
// has the sums of binomial(b, k) times these: blocks come last to first, and with each, every sum takes in
// the one before it.
struct BlockSums {
  using D = Tag<int16_t>;
  using D32 = Tag<int32_t>;
  static constexpr int N = static_cast<int>(kLanes<D>);
  static constexpr int kBlocks = 64;  // so many stay below 2^31, as N <= 32
  static constexpr std::ptrdiff_t kPixels = kBlocks * N;
  hn::Vec<D32> sums[4][4];
  hn::Vec<D> weights[4];

  HWY_INLINE BlockSums() {
    const D d;
    const auto j = hn::Iota(d, 0);
    weights[0] = hn::Set(d, 1);
    weights[1] = j;
    weights[2] = hn::Mul(j, j);
    weights[3] = hn::Mul(weights[2], j);
  }
  // The samples of `blocks` blocks, and their sums of f, x f, x^2 f and x^3 f.
  HWY_INLINE void add(const Zop8u* samples, int blocks, std::int64_t (&of)[4]) {
    const D d;
    const hn::Rebind<uint8_t, D> bytes;
    for (auto& row : sums) {
#pragma GCC unroll 4
      for (auto& sum : row) sum = hn::Zero(D32());
    }
    for (int b = blocks - 1; b >= 0; --b) {
      const auto f =
          hn::BitCast(d, hn::PromoteTo(hn::RebindToUnsigned<D>(), hn::LoadU(bytes, samples + b * N)));
      take<0>(f);
      take<1>(f);
      take<2>(f);
      take<3>(f);
    }
    // By order p: the sums of f, b f, b^2 f and b^3 f, where f stands for j^p f.
    std::int64_t r[4][4];
    for (int p = 0; p < 4; ++p) {
      for (int k = 0; p + k < 4; ++k) r[p][k] = lanes(sums[p][k]);
      if (p < 1) r[p][3] = 6 * (r[p][3] + r[p][2]) + r[p][1];
      if (p < 2) r[p][2] = 2 * r[p][2] + r[p][1];
    }
    constexpr std::int64_t n = N;
    of[0] = r[0][0];
    of[1] = n * r[0][1] + r[1][0];
    of[2] = n * (n * r[0][2] + 2 * r[1][1]) + r[2][0];
    of[3] = n * (n * (n * r[0][3] + 3 * r[1][2]) + 3 * r[2][1]) + r[3][0];
  }

 private:
  template <int P>
  HWY_INLINE void take(hn::Vec<D> f) {
    const D32 d32;
#pragma GCC unroll 4
    for (int k = 3 - P; k > 0; --k) sums[P][k] = hn::Add(sums[P][k], sums[P][k - 1]);
    auto other = hn::Zero(d32);
    const auto pairs = hn::ReorderWidenMulAccumulate(d32, f, weights[P], hn::Zero(d32), other);
    sums[P][0] = hn::Add(sums[P][0], hn::Add(pairs, other));
  }
  static HWY_INLINE std::int64_t lanes(hn::Vec<D32> v) {
    const hn::Repartition<int64_t, D32> wide;
    const hn::Half<D32> half;
    const auto pairs =
        hn::Add(hn::PromoteTo(wide, hn::LowerHalf(half, v)), hn::PromoteTo(wide, hn::UpperHalf(half, v)));
    return hn::GetLane(hn::SumOfLanes(wide, pairs));
  }
};

void sumsOfBytes(Image<const Zop8u> channel, int stride, Extent e, RowSums* sums) {
  if (e.length > kTriedWidth) return sumsInOrder(channel, stride, e, sums);
  BlockSums blocks;
  HWY_ALIGN Zop8u samples[BlockSums::kPixels];
  for (int y = 0; y < e.rows; ++y) {
    std::int64_t row[4] = {};
    for (std::ptrdiff_t from = 0; from < e.length; from += BlockSums::kPixels) {
      const std::ptrdiff_t n = std::min(BlockSums::kPixels, e.length - from);
      const int count = static_cast<int>((n + BlockSums::N - 1) / BlockSums::N);
      const Zop8u* at = channel.row(y) + from * stride;
      if (stride == 1)
        std::memcpy(samples, at, n);
      else
        copyTable().of<std::uint8_t>().extract[stride]({at, 0}, {samples, 0}, {n, 1});
      std::memset(samples + n, 0, count * BlockSums::N - n);
      std::int64_t s[4];
      blocks.add(samples, count, s);
      row[0] += s[0];
      row[1] += s[1] + from * s[0];
      row[2] += s[2] + from * (2 * s[1] + from * s[0]);
      row[3] += s[3] + from * (3 * s[2] + from * (3 * s[1] + from * s[0]));
    }
    for (int m = 0; m < 4; ++m) sums[y].of[m] = static_cast<double>(row[m]);
    // No sum is larger than the last one.
    if (sums[y].of[3] > kExact) sumsInOrder(channel.from(y), stride, {e.length, 1}, sums + y);
  }
}

constexpr MomentTable kTable = {{sumsOfBytes}, {sumsInOrder<Zop32f>}};

}  // namespace

const MomentTable* momentTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(momentTableOfTarget);

const MomentTable& momentTable() { return *HWY_DYNAMIC_DISPATCH(momentTableOfTarget)(); }

}  // namespace zopi
#endif
