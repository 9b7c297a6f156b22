// Vector code of the minimum and the maximum over a rectangle.
//
// An extremum of extrema is one of all samples, and counting a sample twice does no harm, so the columns of
// windows come first, then their rows.
#include "filter/extremum_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/extremum_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <array>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Minimum {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return hn::Min(a, b);
  }
};
struct Maximum {
  template <class V>
  static HWY_INLINE V of(V a, V b) {
    return hn::Max(a, b);
  }
};

template <class Op, class V>
HWY_INLINE V extremumOf(V v) {
  return v;
}
template <class Op, class V, class... More>
HWY_INLINE V extremumOf(V a, V b, More... more) {
  return extremumOf<Op>(Op::of(a, b), more...);
}

// Squares around each sample, two rows of them at a time: two windows, one row apart, share all rows but one.
template <class Op, class T, int kSize>
struct Square {
  static constexpr int kRadius = kSize / 2, kBlock = kStencilBlock;
  using D = Tag<T>;
  using V = hn::Vec<D>;

  HWY_INLINE Square() {}

  template <int... I>
  static HWY_INLINE V across(const Taps<D>& taps, std::integer_sequence<int, I...>) {
    return extremumOf<Op>(taps.at(I - kRadius)...);
  }
  template <std::size_t... I>
  static HWY_INLINE V down(const std::array<std::array<V, 1>, kSize - 1>& rows, std::index_sequence<I...>) {
    return extremumOf<Op>(rows[I][0]...);
  }

  template <class Writer>
  HWY_INLINE void operator()(Image<const T> src, Image<T> out, int rows, int distance,
                             const Writer& write) const {
    const auto row = [&](int y) HWY_ATTR {
      return across(Taps<D>{src.row(y), distance}, std::make_integer_sequence<int, kSize>());
    };
    V above = row(-kRadius);
    Window<std::array<V, 1>, kSize - 1> shared;
    for (int y = 1 - kRadius; y <= kRadius; ++y) shared.push({row(y)});
    for (int y = 0;; y += 2) {
      const V extremum = down(shared.rows, std::make_index_sequence<kSize - 1>());
      write(Op::of(above, extremum), out.row(y));
      if (y + 1 == rows) break;
      const V below = row(y + 1 + kRadius);
      write(Op::of(extremum, below), out.row(y + 1));
      if (y + 2 == rows) break;
      above = shared.rows[1][0];
      shared.push({below});
      shared.push({row(y + 2 + kRadius)});
    }
  }
};

template <class Op, class T>
struct Rectangle {
  using D = Tag<T>;
  using V = hn::Vec<D>;
  static constexpr std::ptrdiff_t N = kLanes<D>;
  static constexpr std::ptrdiff_t kBytes = sizeof(T);

  // The image is taken in pieces: extrema of columns for as many rows as the mask has, and for as many
  // samples as the innermost cache holds of them, but not fewer than twice what lies beside them.
  struct Piece {
    std::ptrdiff_t samples, rows;
    std::ptrdiff_t pitch;  // in samples: room for a vector behind the last one, and no power of two

    HWY_INLINE Piece(const WindowShape& shape, int imageRows) {
      constexpr std::ptrdiff_t kCache = 24 << 10, kLeast = 1024;
      rows = std::min(shape.maskHeight, imageRows);
      samples = std::max({kLeast / kBytes, kCache / kBytes / rows, 2 * shape.reach()});
      samples = std::min((samples + 63) / 64 * 64, shape.samples());
      pitch = ((samples + shape.reach() + N) * kBytes + 63) / 64 * 64 / kBytes | 64 / kBytes;
    }
  };

  static std::ptrdiff_t scratchBytes(const WindowShape& shape, int rows) {
    const Piece piece(shape, rows);
    return piece.rows * piece.pitch * kBytes;
  }

  // Rows in groups of no more than the mask has (van Herk 1992, Gil and Werman 1993): the windows of a group
  // have a row in common. From there upwards the extrema grow into the first rows of the windows, downwards
  // into the last ones, and a window is one of each: three operations a sample, however high the mask.
  static void down(const WindowShape& shape, Image<const T> window, std::ptrdiff_t samples, T* columns,
                   std::ptrdiff_t pitch, std::ptrdiff_t rows) {
    const D d;
    const std::ptrdiff_t height = shape.maskHeight;
    forVectors(d, samples, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      const auto load = [&](std::ptrdiff_t y) HWY_ATTR { return loadPart(d, window.row(y) + i, part); };
      V extremum = load(height - 1);
      for (std::ptrdiff_t y = height - 2; y >= rows - 1; --y) extremum = Op::of(extremum, load(y));
      hn::StoreU(extremum, d, columns + (rows - 1) * pitch + i);
      for (std::ptrdiff_t y = rows - 2; y >= 0; --y) {
        extremum = Op::of(extremum, load(y));
        hn::StoreU(extremum, d, columns + y * pitch + i);
      }
      for (std::ptrdiff_t y = 1; y < rows; ++y) {
        extremum = y == 1 ? load(height) : Op::of(extremum, load(height + y - 1));
        T* const column = columns + y * pitch + i;
        hn::StoreU(Op::of(hn::LoadU(d, column), extremum), d, column);
      }
    });
  }

  // The extremum of kTerms vectors.
  template <int kTerms>
  static HWY_INLINE V joined(const T* from, const std::ptrdiff_t (&places)[3]) {
    V extremum = hn::LoadU(D(), from);
    if constexpr (kTerms > 1) extremum = Op::of(extremum, hn::LoadU(D(), from + places[0]));
    if constexpr (kTerms > 2) extremum = Op::of(extremum, hn::LoadU(D(), from + places[1]));
    if constexpr (kTerms > 3) extremum = Op::of(extremum, hn::LoadU(D(), from + places[2]));
    return extremum;
  }
  template <int kTerms, bool kKeeps>
  static void finish(const T* columns, const std::ptrdiff_t (&places)[3], std::ptrdiff_t n, T* out) {
    const AlphaKeeper<kKeeps, D> keep;
    forVectors(D(), n, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      keep.store(joined<kTerms>(columns + i, places), out + i, part);
    });
  }
  template <int kTerms>
  static constexpr auto kFinish = std::array{finish<kTerms, false>, finish<kTerms, true>};

  // Four windows of k columns make one of up to 4 k.
  static void across(const WindowShape& shape, T* columns, std::ptrdiff_t n, T* out) {
    const std::ptrdiff_t reach = shape.reach();
    std::ptrdiff_t k = shape.channels;
    for (; reach >= 4 * k; k *= 4) {
      const std::ptrdiff_t places[] = {k, 2 * k, 3 * k};
      for (std::ptrdiff_t i = 0; i < n + reach - 3 * k; i += N) {
        hn::StoreU(joined<4>(columns + i, places), D(), columns + i);
      }
    }
    const std::ptrdiff_t last = reach + shape.channels - k;  // where the last window of k columns stands
    const int terms = static_cast<int>(1 + (last + k - 1) / k);
    const auto& finishing = terms == 1   ? kFinish<1>
                            : terms == 2 ? kFinish<2>
                            : terms == 3 ? kFinish<3>
                                         : kFinish<4>;
    finishing[shape.keepsAlpha](columns, {std::min(k, last), std::min(2 * k, last), last}, n, out);
  }

  static void band(const WindowShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows) {
    const Piece piece(shape, rows);
    T* const columns = static_cast<T*>(scratch);
    for (std::ptrdiff_t x = 0; x < shape.samples(); x += piece.samples) {
      const std::ptrdiff_t n = std::min(piece.samples, shape.samples() - x);
      for (std::ptrdiff_t y = 0; y < rows; y += piece.rows) {
        const std::ptrdiff_t group = std::min(piece.rows, rows - y);
        down(shape, {window.row(y) + x, window.step}, n + shape.reach(), columns, piece.pitch, group);
        for (std::ptrdiff_t j = 0; j < group; ++j)
          across(shape, columns + j * piece.pitch, n, out.row(y + j) + x);
      }
    }
  }
};

template <class Op, class T, int kSize>
constexpr StencilRows<T, T> squareOf() {
  return {inColumns<Square<Op, T, kSize>, false, T, T>, inColumns<Square<Op, T, kSize>, true, T, T>};
}
template <class Op, class T>
inline constexpr ExtremumRows<T> kRows = {
    {squareOf<Op, T, 3>(), squareOf<Op, T, 5>(), squareOf<Op, T, 7>()},
    Rectangle<Op, T>::scratchBytes,
    Rectangle<Op, T>::band,
};
template <class Op>
constexpr RowTable<ExtremumRows, Zop8u, Zop16s, Zop32f> kTypes = {
    {kRows<Op, Zop8u>}, {kRows<Op, Zop16s>}, {kRows<Op, Zop32f>}};
constexpr ExtremumTable kTable = {kTypes<Minimum>, kTypes<Maximum>};

}  // namespace

const ExtremumTable* extremumTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(extremumTableOfTarget);

const ExtremumTable& extremumTable() { return *HWY_DYNAMIC_DISPATCH(extremumTableOfTarget)(); }

}  // namespace zopi
#endif
