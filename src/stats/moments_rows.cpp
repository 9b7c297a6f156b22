#include "stats/moments_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/moments_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>

#include "core/row_shapes-inl.h"

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

constexpr MomentTable kTable = {{sumsInOrder<Zop8u>}, {sumsInOrder<Zop32f>}};

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
