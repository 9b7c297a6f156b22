// How a filter goes over an image, in either order of its two passes.
// Included once for each vector target, after hwy/highway.h.
#if defined(ZOPI_FILTER_STENCIL_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZOPI_FILTER_STENCIL_INL_H_
#undef ZOPI_FILTER_STENCIL_INL_H_
#else
#define ZOPI_FILTER_STENCIL_INL_H_
#endif

#include <array>
#include <cstddef>
#include <cstring>
#include <tuple>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/stencil.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

// The samples around a place: `at(k)` are those k pixels to the right.
template <class D>
struct Taps {
  const hn::TFromD<D>* middle;
  std::ptrdiff_t distance;

  HWY_INLINE hn::Vec<D> at(int k) const { return hn::LoadU(D(), middle + k * distance); }
};

// f(i, part) for the vectors of n samples. The last overlaps the one before, so that f may be called for a
// sample twice; only a row shorter than a vector has a part of one.
template <class D, class F>
HWY_INLINE void forVectors(D, std::ptrdiff_t n, const F& f) {
  constexpr std::integral_constant<std::ptrdiff_t, kLanes<D>> whole;
  if (n < whole) return f(std::ptrdiff_t{0}, n);
  std::ptrdiff_t i = 0;
  for (; i + whole <= n; i += whole) f(i, whole);
  if (i < n) f(n - whole, whole);
}

// What a vector of four-channel pixels keeps of the destination: alpha.
template <bool kKeeps, class D>
struct AlphaKeeper {
  hn::Vec<D> written =
      PatternOperand<D>(writtenSamples<hn::TFromD<D>, AC4::channels, AC4::colours>()).at(0, 0);
  HWY_INLINE AlphaKeeper() {}
  HWY_INLINE hn::Vec<D> operator()(hn::Vec<D> v, const hn::TFromD<D>* old) const {
    return hn::IfVecThenElse(written, v, hn::LoadU(D(), old));
  }
  // The first n samples of a vector.
  HWY_INLINE void store(hn::Vec<D> v, hn::TFromD<D>* out, std::ptrdiff_t n) const {
    storePart(D(), hn::IfVecThenElse(written, v, loadPart(D(), out, n)), out, n);
  }
};
template <class D>
struct AlphaKeeper<false, D> {
  HWY_INLINE hn::Vec<D> operator()(hn::Vec<D> v, const hn::TFromD<D>*) const { return v; }
  HWY_INLINE void store(hn::Vec<D> v, hn::TFromD<D>* out, std::ptrdiff_t n) const {
    storePart(D(), v, out, n);
  }
};

// The rows of a window, from top to bottom.
template <class Row, int kRows>
struct Window {
  std::array<Row, kRows> rows;

  // Moves the window down to a new row.
  HWY_INLINE void push(const Row& row) {
    move(std::make_index_sequence<(kRows - 1) * kVectors>());
    fill(row, std::make_index_sequence<kVectors>());
  }

 private:
  static constexpr std::size_t kVectors = std::tuple_size_v<Row>;

  // One vector after the other, by numbers that the compiler knows: rows that are moved as a whole, or by a
  // loop, go through memory.
  template <std::size_t... I>
  HWY_INLINE void move(std::index_sequence<I...>) {
    ((rows[I / kVectors][I % kVectors] = rows[I / kVectors + 1][I % kVectors]), ...);
  }
  template <std::size_t... I>
  HWY_INLINE void fill(const Row& row, std::index_sequence<I...>) {
    ((rows[kRows - 1][I] = row[I]), ...);
  }
};

// Rows are gone through in blocks of so many, a vector's width at a time: fewer, and the rows around a block
// are read again too often, more, and the innermost cache and the page table no longer hold them.
inline constexpr int kStencilBlock = 8;

// Stores results: into the caches or past them, and with the alpha that was there where it is kept.
template <bool kKeeps, class T>
struct ColumnWriter {
  AlphaKeeper<kKeeps, Tag<T>> keep;
  bool stream = false;

  HWY_INLINE ColumnWriter() {}
  HWY_INLINE void operator()(hn::Vec<Tag<T>> v, T* out) const {
    const Tag<T> d;
    v = keep(v, out);
    if (HWY_UNLIKELY(stream)) {
      store<true>(d, v, out);
    } else {
      store<false>(d, v, out);
    }
  }
};

// A filter that goes down the image, a vector's width and a block of rows at a time. Column has
//   kRadius
//   kBlock                                  rows of a block, where the image is too large for the innermost
//   cache (src, out, rows, distance, writer)      goes down the column of vectors at `src` and `out`
template <class Column, bool kKeeps, class S, class T>
void inColumns(Image<const S> src, Image<T> dst, Extent e, int distance) {
  const Tag<T> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  constexpr int r = Column::kRadius, kBlock = Column::kBlock;
  const std::ptrdiff_t n = e.length;

  // What is narrower than a vector is copied into blocks that are wide enough.
  if (HWY_UNLIKELY(n < N)) {
    constexpr std::ptrdiff_t kSide = r * AC4::channels, kRows = kBlock + 2 * r;
    S in[kRows][N + 2 * kSide] = {};
    T out[kBlock][N] = {};
    const std::ptrdiff_t side = r * distance;
    for (int y = 0; y < e.rows; y += kBlock) {
      const int rows = HWY_MIN(kBlock, e.rows - y);
      for (int j = 0; j < rows + 2 * r; ++j)
        std::memcpy(in[j], src.row(y + j - r) - side, static_cast<std::size_t>(n + 2 * side) * sizeof(S));
      for (int j = 0; j < rows; ++j) std::memcpy(out[j], dst.row(y + j), n * sizeof(T));
      inColumns<Column, kKeeps, S, T>({in[r] + side, sizeof in[0]}, {out[0], sizeof out[0]}, {N, rows},
                                      distance);
      for (int j = 0; j < rows; ++j) std::memcpy(dst.row(y + j), out[j], n * sizeof(T));
    }
    return;
  }

  const Column column;
  ColumnWriter<kKeeps, T> writer;
  constexpr int kGroup = kKeeps ? AC4::channels : 1;
  const std::ptrdiff_t head = n >= 4 * N ? toAlignment<kGroup>(d, dst.at) : 0;
  const bool stream = e.stream && dst.step % static_cast<std::ptrdiff_t>(N * sizeof(T)) == 0;
  constexpr std::ptrdiff_t kCache = 24 << 10;
  const int block = n * e.rows * static_cast<std::ptrdiff_t>(sizeof(S)) <= kCache ? e.rows : kBlock;
  for (int top = 0; top < e.rows; top += block) {
    const int rows = HWY_MIN(block, e.rows - top);
    for (std::ptrdiff_t x = 0, next = head > 0 ? head : N;; x = HWY_MIN(next, n - N), next += N) {
      writer.stream = stream && isAligned(d, dst.at + x);
      column(Image<const S>{src.row(top) + x, src.step}, Image<T>{dst.row(top) + x, dst.step}, rows, distance,
             writer);
      if (x == n - N) break;
    }
  }
  if (stream) hwy::FlushStream();
}

// A filter that combines samples along rows first, and then rows. The rows of a window stay in registers
// while a column of vectors is gone down. Op has
//   kRadius
//   Row                      what it makes of one row, an std::array of vectors
//   across(Taps)  -> Row
//   down(const std::array<Row, 2 * kRadius + 1>&) -> a vector of samples
template <class Op, class S, class T>
struct AcrossThenDown {
  static constexpr int kRadius = Op::kRadius, kBlock = kStencilBlock;
  Op op;

  HWY_INLINE AcrossThenDown() {}

  template <class Writer>
  HWY_INLINE void operator()(Image<const S> src, Image<T> out, int rows, int distance,
                             const Writer& write) const {
    using Source = hn::Rebind<S, Tag<T>>;
    Window<typename Op::Row, 2 * kRadius + 1> window;
    Image<const S> below = src.from(-kRadius);
    for (int j = 0; j < 2 * kRadius; ++j, below = below.from(1))
      window.push(op.across(Taps<Source>{below.at, distance}));
    for (int y = 0; y < rows; ++y, below = below.from(1), out = out.from(1)) {
      window.push(op.across(Taps<Source>{below.at, distance}));
      write(op.down(window.rows), out.at);
    }
  }
};
template <class Op, bool kKeeps, class S, class T>
void acrossThenDown(Image<const S> src, Image<T> dst, Extent e, int distance) {
  inColumns<AcrossThenDown<Op, S, T>, kKeeps, S, T>(src, dst, e, distance);
}

// Where a filter's columns are summed first, their sums stand in a buffer of so many and their halo. It lies
// in the innermost cache together with the rows that it is made from.
inline constexpr std::ptrdiff_t kStencilPiece = 1024;

// A filter of floats that combines rows first, and then the columns that come of it, which are kept as
// doubles. Op has, as operations of row maps in lanes of doubles,
//   Down     of the rows of a window, from top to bottom
//   Update   of a column's sum, the row that enters and the one that leaves, if the first row alone has Down
//   Across   of the sums from left to right, and of the middle sample
template <class Op, bool kKeeps>
void downThenAcross(Image<const float> src, Image<float> dst, Extent e, int distance) {
  const Tag<double> d;
  using Samples = SamplesOf<float, Tag<double>>;
  using Sums = ImageOperand<Tag<double>>;
  constexpr int r = Op::kRadius;
  constexpr bool runs = requires { typename Op::Update; };
  constexpr auto kTaps = std::make_index_sequence<2 * r + 1>();
  HWY_ALIGN double sums[kStencilPiece + 2 * r * AC4::channels];
  PatternOperand<Samples> written(writtenSamples<float, AC4::channels, AC4::colours>());
  const auto pieceOfRow = [&](std::ptrdiff_t x, std::ptrdiff_t y) HWY_ATTR {
    const std::ptrdiff_t n = HWY_MIN(kStencilPiece, e.length - x), withHalo = n + 2 * r * distance;
    const auto rowAt = [&](std::ptrdiff_t j) HWY_ATTR {
      return ImageOperand<Samples>{src, src.row(y + j) + x - r * distance};
    };
    const auto sumDown = [&]<std::size_t... J>(std::index_sequence<J...>) HWY_ATTR {
      ImageOperand<Samples> rows[] = {rowAt(static_cast<std::ptrdiff_t>(J) - r)...};
      mapRow(d, typename Op::Down(), sums, withHalo, false, rows[J]...);
    };
    if constexpr (runs) {
      if (y > 0) {
        Sums before = {{}, sums};
        ImageOperand<Samples> entering = rowAt(r), leaving = rowAt(-r - 1);
        mapRow(d, typename Op::Update(), sums, withHalo, false, before, entering, leaving);
      } else {
        sumDown(kTaps);
      }
    } else {
      sumDown(kTaps);
    }
    const auto sumAcross = [&]<std::size_t... I>(std::index_sequence<I...>) HWY_ATTR {
      using Across = typename Op::Across;
      float* out = dst.row(y) + x;
      Sums taps[] = {Sums{{}, sums + static_cast<std::ptrdiff_t>(I) * distance}...};
      ImageOperand<Samples> middle = {src, src.row(y) + x}, old = {dst, out};
      if constexpr (kKeeps)
        mapRow(d, Keeping<Across>(), out, n, false, old, written, taps[I]..., middle);
      else
        mapRow(d, Across(), out, n, e.stream, taps[I]..., middle);
    };
    sumAcross(kTaps);
  };
  // Memory likes whole rows, but sums that are kept have to stay in the buffer from row to row.
  if constexpr (runs) {
    for (std::ptrdiff_t x = 0; x < e.length; x += kStencilPiece) {
      for (std::ptrdiff_t y = 0; y < e.rows; ++y) pieceOfRow(x, y);
    }
  } else {
    for (std::ptrdiff_t y = 0; y < e.rows; ++y) {
      for (std::ptrdiff_t x = 0; x < e.length; x += kStencilPiece) pieceOfRow(x, y);
    }
  }
  if (e.stream) hwy::FlushStream();
}

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#endif  // per target
