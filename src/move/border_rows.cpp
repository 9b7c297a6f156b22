#include "move/border_rows.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "move/border_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

constexpr std::ptrdiff_t kVectorBytes = kLanes<Tag<uint8_t>>;

// A row's borders are written before the row, so that their vectors may run over into its place.
constexpr std::ptrdiff_t kBandBytes = 16 << 10;

// A pixel again and again: vectors of any phase come from one shuffle each. A block holds the pixel at its
// start or at its end, so that both ends of a row can be loaded as blocks.
template <int kPixel, class D = Tag<uint8_t>>
struct Repeated {
  using V = hn::Vec<D>;
  static constexpr std::ptrdiff_t N = kLanes<D>;

  struct Indices {
    uint8_t atStart[N + kPixel], atEnd[N + kPixel];
  };
  static constexpr Indices makeIndices() {
    Indices indices{};
    for (int i = 0; i < N + kPixel; ++i) {
      indices.atStart[i] = static_cast<uint8_t>(i % kPixel);
      indices.atEnd[i] = static_cast<uint8_t>(16 - kPixel + i % kPixel);
    }
    return indices;
  }
  static constexpr Indices kIndices = makeIndices();

  V block;
  const uint8_t* indices;

  // The first and the last pixel of at least 16 bytes, and one by itself.
  static HWY_INLINE Repeated first(const uint8_t* row) {
    return {hn::LoadDup128(D(), row), kIndices.atStart};
  }
  static HWY_INLINE Repeated last(const uint8_t* end) {
    return {hn::LoadDup128(D(), end - 16), kIndices.atEnd};
  }
  static HWY_INLINE Repeated only(const uint8_t* pixel) {
    HWY_ALIGN uint8_t copy[16] = {};
    std::memcpy(copy, pixel, kPixel);
    return first(copy);
  }

  HWY_INLINE V at(std::ptrdiff_t i) const {
    return hn::TableLookupBytes(block, hn::LoadU(D(), indices + i % kPixel));
  }

  // Fills n bytes, and may write up to a vector's width beyond, or before.
  HWY_INLINE void fillAndBeyond(uint8_t* to, std::ptrdiff_t n) const {
    for (std::ptrdiff_t i = 0; i < n; i += N) hn::StoreU(at(i), D(), to + i);
  }
  HWY_INLINE void fillAndBefore(uint8_t* to, std::ptrdiff_t n) const {
    constexpr std::ptrdiff_t kWhole = (N + kPixel - 1) / kPixel * kPixel;  // keeps the place above 0
    std::ptrdiff_t i = 0;
    for (; i + N <= n; i += N) hn::StoreU(at(i), D(), to + i);
    if (i < n) hn::StoreU(at(n - N + kWhole), D(), to + n - N);
  }
  HWY_INLINE void fill(uint8_t* to, std::ptrdiff_t n) const {
    for (std::ptrdiff_t i = 0; i < n; i += N) storePart(D(), at(i), to + i, HWY_MIN(N, n - i));
  }
};

// The borders on one side of all rows, which are of a vector's width and more.
template <int kPixel, class D>
void fillLeft(const uint8_t* pixel, Image<const uint8_t> src, Image<uint8_t> dst, int rows,
              std::ptrdiff_t n) {
  using Pixel = Repeated<kPixel, D>;
  const Pixel constant = Pixel::only(pixel != nullptr ? pixel : src.at);
  for (std::ptrdiff_t y = 0; y < rows; ++y) {
    (pixel != nullptr ? constant : Pixel::first(src.row(y))).fillAndBeyond(dst.row(y), n);
  }
}
template <int kPixel, class D>
void fillRight(const uint8_t* pixel, Image<const uint8_t> srcEnd, Image<uint8_t> dst, int rows,
               std::ptrdiff_t n) {
  using Pixel = Repeated<kPixel, D>;
  const Pixel constant = Pixel::only(pixel != nullptr ? pixel : srcEnd.at - kPixel);
  for (std::ptrdiff_t y = 0; y < rows; ++y) {
    (pixel != nullptr ? constant : Pixel::last(srcEnd.row(y))).fillAndBefore(dst.row(y), n);
  }
}

template <int kPixel>
void rowWide(const uint8_t* pixel, Image<const uint8_t> src, Image<uint8_t> dst, Extent e, Sides sides) {
  using D = Tag<uint8_t>;
  using Narrow = hn::CappedTag<uint8_t, 16>;
  const Image<const uint8_t> srcEnd = {src.at + e.length, src.step};
  const Image<uint8_t> centre = {dst.at + sides.left, dst.step};
  const Image<uint8_t> right = {centre.at + e.length, dst.step};
  if (sides.left > 0) {
    (sides.left <= 16 ? fillLeft<kPixel, Narrow> : fillLeft<kPixel, D>)(pixel, src, dst, e.rows, sides.left);
  }
  if (sides.right > 0) {
    (sides.right <= 16 ? fillRight<kPixel, Narrow> : fillRight<kPixel, D>)(pixel, srcEnd, right, e.rows,
                                                                           sides.right);
  }
  ImageOperand<D> from{src};
  if (inColumns(D(), e)) return mapColumns(D(), Same(), centre, e, from);
  mapRows(D(), Same(), centre, e, from);
}

template <int kPixel>
void rowNarrow(const uint8_t* pixel, Image<const uint8_t> src, Image<uint8_t> dst, Extent e, Sides sides) {
  using Pixel = Repeated<kPixel>;
  for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
    const uint8_t* from = src.row(y);
    uint8_t* to = dst.row(y);
    Pixel::only(pixel != nullptr ? pixel : from).fill(to, sides.left);
    std::memcpy(to + sides.left, from, e.length);
    Pixel::only(pixel != nullptr ? pixel : from + e.length - kPixel)
        .fill(to + sides.left + e.length, sides.right);
  }
}

template <int kPixel>
void rowBorder(const uint8_t* pixel, Image<const uint8_t> src, Image<uint8_t> dst, Extent e, Sides sides) {
  if (e.length < kVectorBytes) return rowNarrow<kPixel>(pixel, src, dst, e, sides);
  const int rows = static_cast<int>(HWY_MAX(1, kBandBytes / (sides.left + e.length + sides.right)));
  for (int y = 0; y < e.rows; y += rows) {
    const Extent band = {e.length, HWY_MIN(rows, e.rows - y), e.stream};
    rowWide<kPixel>(pixel, src.from(y), dst.from(y), band, sides);
  }
}

constexpr BorderTable makeTable() {
  BorderTable table{};
  table.ofPixel[1] = rowBorder<1>;
  table.ofPixel[2] = rowBorder<2>;
  table.ofPixel[3] = rowBorder<3>;
  table.ofPixel[4] = rowBorder<4>;
  table.ofPixel[6] = rowBorder<6>;
  table.ofPixel[8] = rowBorder<8>;
  table.ofPixel[12] = rowBorder<12>;
  table.ofPixel[16] = rowBorder<16>;
  return table;
}
constexpr BorderTable kTable = makeTable();

}  // namespace

const BorderTable* borderTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(borderTableOfTarget);

const BorderTable& borderTable() { return *HWY_DYNAMIC_DISPATCH(borderTableOfTarget)(); }

}  // namespace zopi
#endif
