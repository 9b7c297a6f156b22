#include "filter/box_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/box_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Samples as lanes of column sums. Words are counted from -32768 on, so that no sum is negative.
template <class D, class V>
HWY_INLINE hn::Vec<D> asLanes(D d, V v) {
  using T = hn::TFromV<V>;
  if constexpr (std::is_same_v<T, uint8_t>) {
    return hn::PromoteTo(d, v);
  } else if constexpr (std::is_same_v<T, int16_t>) {
    const hn::Rebind<int32_t, D> di;
    const auto counted = hn::Add(hn::PromoteTo(di, v), hn::Set(di, 32768));
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::ConvertTo(d, counted);
    else
      return hn::BitCast(d, counted);
  } else {
    return v;
  }
}

// sum + entering - leaving. Integers wrap; numbers are rounded to single precision once.
template <class D, class V>
HWY_INLINE V moved(D d, V sum, V entering, V leaving) {
  if constexpr (hwy::IsFloat<hn::TFromD<D>>()) {
    const auto inDouble = [](auto, auto s, auto e, auto l) HWY_ATTR { return hn::Sub(hn::Add(s, e), l); };
    return inDoubles(d, inDouble, sum, entering, leaving);
  } else {
    return hn::Sub(hn::Add(sum, entering), leaving);
  }
}

// Memory of our own has room for a vector behind its last sample.
template <class K>
constexpr std::ptrdiff_t withRoom(std::ptrdiff_t samples) {
  return samples + kLanes<Tag<K>>;
}
template <class K>
HWY_INLINE std::ptrdiff_t bytesFor(std::ptrdiff_t samples) {
  return (withRoom<K>(samples) * static_cast<std::ptrdiff_t>(sizeof(K)) + 63) / 64 * 64;
}

// The column sums of type K over samples of type T.
template <class K, class T>
struct Columns {
  using D = Tag<K>;
  using DT = SamplesOf<T, D>;

  static HWY_INLINE hn::Vec<D> load(const T* from, std::ptrdiff_t part) {
    return asLanes(D(), loadPart(DT(), from, part));
  }

  static void sum(const BoxShape& shape, K* columns, Image<const T> window) {
    const D d;
    forVectors(d, shape.columns(), [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      auto total = load(window.at + i, part);
      for (int y = 1; y < shape.maskHeight; ++y) {
        total = moved(d, total, load(window.row(y) + i, part), hn::Zero(d));
      }
      hn::StoreU(total, d, columns + i);
    });
  }

  static void slide(const BoxShape& shape, const K* columns, K* next, Image<const T> window) {
    const D d;
    const T *leaving = window.at, *entering = window.row(shape.maskHeight);
    forVectors(d, shape.columns(), [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      const auto sum = hn::LoadU(d, columns + i);
      hn::StoreU(moved(d, sum, load(entering + i, part), load(leaving + i, part)), d, next + i);
    });
  }
};

// Ones in the colours of pixels of four samples.
template <class T, int kCount>
struct ColourMask {
  T lanes[kCount];
  constexpr ColourMask() : lanes{} {
    for (int i = 0; i < kCount; ++i) lanes[i] = static_cast<T>(i % 4 < 3 ? -1 : 0);
  }
};
template <class D>
alignas(64) inline constexpr ColourMask<hn::TFromD<D>, kLanes<D>> kColourMask;

// The first n samples of a vector; alpha stays where it is to be kept.
template <class D, class V>
HWY_INLINE void storeMeans(D d, V v, hn::TFromD<D>* out, std::ptrdiff_t n, bool keepsAlpha) {
  if (keepsAlpha) {
    v = hn::IfVecThenElse(hn::Load(d, kColourMask<D>.lanes), v, loadPart(d, out, n));
  }
  storePart(d, v, out, n);
}

// The means of samples T whose sums are lanes K.
struct BytesByHighHalf {
  using D = Tag<uint16_t>;
  hn::Vec<D> factor;
  HWY_INLINE explicit BytesByHighHalf(const BoxShape& s)
      : factor(hn::Set(D(), static_cast<uint16_t>(s.multiplier << (16 - s.shift)))) {}
  HWY_INLINE auto operator()(hn::Vec<D> sums) const {
    return hn::TruncateTo(SamplesOf<uint8_t, D>(), hn::MulHigh(sums, factor));
  }
};

struct BytesByProduct {
  using D = Tag<uint32_t>;
  int multiplier, shift;
  HWY_INLINE explicit BytesByProduct(const BoxShape& s) : multiplier(s.multiplier), shift(s.shift) {}
  HWY_INLINE auto operator()(hn::Vec<D> sums) const {
    const hn::RebindToSigned<D> di;
    const auto product = hn::Mul(hn::BitCast(di, sums), hn::Set(di, multiplier));
    return hn::TruncateTo(SamplesOf<uint8_t, D>(), hn::BitCast(D(), hn::ShiftRightSame(product, shift)));
  }
};

// S f - 0.49999 in double precision, rounded, and counted from 0 again.
template <class D, class V>
HWY_INLINE V meanOfWords(D d, V sums, double factor) {
  return hn::Round(hn::Add(hn::Mul(sums, hn::Set(d, factor)), hn::Set(d, -0.49999)));
}

struct WordsInDouble {
  using D = Tag<uint32_t>;
  double factor;
  HWY_INLINE explicit WordsInDouble(const BoxShape& s) : factor(s.factor) {}
  HWY_INLINE auto operator()(hn::Vec<D> sums) const {
    const hn::RebindToSigned<D> di;
    // As signed lanes, from -2^31 on.
    const auto lowered = hn::BitCast(di, hn::Xor(sums, hn::Set(D(), 0x80000000u)));
    const auto mean = [&](auto dd, auto v)
                          HWY_ATTR { return meanOfWords(dd, hn::Add(v, hn::Set(dd, 0x1p31)), factor); };
    const auto words = hn::Sub(inDoubles(di, mean, lowered), hn::Set(di, 32768));
    const SamplesOf<uint16_t, D> du;
    return hn::BitCast(SamplesOf<int16_t, D>(), hn::TruncateTo(du, hn::BitCast(D(), words)));
  }
};

// Integer sums do not care about their order: a window of m columns is put together from windows of half as
// many, and of these there are log2(m) kinds.
template <class K, class T, class Mean>
struct IntegerBox {
  using D = Tag<K>;
  using C = Columns<K, T>;

  // The columns before and after a slide, and two rows of windows.
  static std::ptrdiff_t scratchBytes(const BoxShape& shape) { return 4 * bytesFor<K>(shape.columns()); }
  static HWY_INLINE K* part(const BoxShape& shape, void* scratch, int i) {
    return reinterpret_cast<K*>(static_cast<unsigned char*>(scratch) + i * bytesFor<K>(shape.columns()));
  }

  static void sum(const BoxShape& shape, void* scratch, Image<const T> window) {
    C::sum(shape, part(shape, scratch, 0), window);
  }
  static void slide(const BoxShape& shape, void* scratch, int slides, Image<const T> window) {
    C::slide(shape, part(shape, scratch, slides % 2), part(shape, scratch, 1 - slides % 2), window);
  }

  // Windows of 2 k columns, or of 2 k + 1.
  template <bool kOdd>
  static HWY_INLINE hn::Vec<D> doubled(const K* windows, const K* columns, std::ptrdiff_t k) {
    const D d;
    const auto two = hn::Add(hn::LoadU(d, windows), hn::LoadU(d, windows + k));
    if constexpr (kOdd)
      return hn::Add(two, hn::LoadU(d, columns + 2 * k));
    else
      return two;
  }
  template <bool kOdd, bool kKeeps>
  static void finish(const BoxShape& shape, const K* windows, const K* columns, std::ptrdiff_t k, T* out) {
    const Mean mean(shape);
    forVectors(D(), shape.samples(), [&](std::ptrdiff_t i, auto n) HWY_ATTR {
      storeMeans(SamplesOf<T, D>(), mean(doubled<kOdd>(windows + i, columns + i, k)), out + i, n, kKeeps);
    });
  }
  template <bool kOdd>
  static void pass(std::ptrdiff_t n, const K* windows, const K* columns, std::ptrdiff_t k, K* out) {
    for (std::ptrdiff_t i = 0; i < n; i += kLanes<D>) {
      hn::StoreU(doubled<kOdd>(windows + i, columns + i, k), D(), out + i);
    }
  }

  // From windows of k columns, half as many as the mask has.
  static void means(const BoxShape& shape, const K* windows, const K* columns, int k, T* out) {
    const bool odd = shape.maskWidth % 2 != 0;
    const auto finishing = odd ? (shape.keepsAlpha ? finish<true, true> : finish<true, false>)
                               : (shape.keepsAlpha ? finish<false, true> : finish<false, false>);
    finishing(shape, windows, columns, std::ptrdiff_t{k} * shape.channels, out);
  }

  static void row(const BoxShape& shape, void* scratch, int slides, T* out) {
    const K* columns = part(shape, scratch, slides % 2);
    const K* windows = columns;
    int columnsAWindow = 1, next = 2;
    for (int bit = std::bit_width(static_cast<unsigned>(shape.maskWidth)) - 2; bit >= 0; --bit) {
      const bool odd = (shape.maskWidth >> bit & 1) != 0;
      const std::ptrdiff_t k = static_cast<std::ptrdiff_t>(columnsAWindow) * shape.channels;
      if (bit == 0) return means(shape, windows, columns, columnsAWindow, out);
      columnsAWindow = 2 * columnsAWindow + odd;
      const std::ptrdiff_t n =
          shape.columns() - static_cast<std::ptrdiff_t>(columnsAWindow - 1) * shape.channels;
      K* const to = part(shape, scratch, next);
      (odd ? pass<true> : pass<false>)(n, windows, columns, k, to);
      windows = to;
      next = 5 - next;
    }
  }

  static void band(const BoxShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows) {
    sum(shape, scratch, window);
    for (int y = 0; y < rows; ++y) {
      row(shape, scratch, y, out.row(y));
      if (y + 1 < rows) slide(shape, scratch, y, window.from(y));
    }
  }

  static constexpr BoxRows<T> kRows = {scratchBytes, sum, row, slide, band};
};

// Numbers: the order of a row's sums is fixed, one pixel after the other, so the channels of a pixel and some
// rows go side by side.
template <class T>
struct NumberBox {
  using C = Columns<float, T>;
  static constexpr int kParts = 5;  // columns of four rows, and of the next

  static std::ptrdiff_t scratchBytes(const BoxShape& shape) {
    return kParts * bytesFor<float>(shape.columns());
  }
  static HWY_INLINE float* part(const BoxShape& shape, void* scratch, int i) {
    return reinterpret_cast<float*>(static_cast<unsigned char*>(scratch) +
                                    i * bytesFor<float>(shape.columns()));
  }

  static void sum(const BoxShape& shape, void* scratch, Image<const T> window) {
    C::sum(shape, part(shape, scratch, 0), window);
  }
  static void slide(const BoxShape& shape, void* scratch, int slides, Image<const T> window) {
    C::slide(shape, part(shape, scratch, slides % kParts), part(shape, scratch, (slides + 1) % kParts),
             window);
  }

  // A chain is one channel of one row; each has a lane of its own.
  using D = hn::CappedTag<double, 4>;

  // Rows may start at any byte.
  static HWY_INLINE void store(double mean, T* out) {
    T sample;
    if constexpr (std::is_same_v<T, float>)
      sample = static_cast<float>(mean);
    else
      sample = static_cast<T>(static_cast<int>(mean) - 32768);
    std::memcpy(out, &sample, sizeof sample);
  }
  static HWY_INLINE double mean(double sum, double factor) {
    if constexpr (std::is_same_v<T, float>)
      return sum * factor;
    else
      return hn::GetLane(
          meanOfWords(hn::CappedTag<double, 1>(), hn::Set(hn::CappedTag<double, 1>(), sum), factor));
  }

  template <int kRows, int kChannels>
  static HWY_FLATTEN void chains(const BoxShape& shape, void* scratch, int first, Image<T> out) {
    double sums[kRows][kChannels] = {};
    const float* columns[kRows];
    T* to[kRows];
    for (int r = 0; r < kRows; ++r) {
      columns[r] = part(shape, scratch, (first + r) % kParts);
      to[r] = out.row(r);
    }
    const auto each = [](const auto& f) HWY_ATTR {
      const auto all = [&]<int... I>(std::integer_sequence<int, I...>) HWY_ATTR {
        (f(std::integral_constant<int, I / kChannels>(), std::integral_constant<int, I % kChannels>()), ...);
      };
      all(std::make_integer_sequence<int, kRows * kChannels>());
    };
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(shape.maskWidth) * kChannels; i += kChannels) {
      each([&](auto r, auto c) HWY_ATTR { sums[r][c] += columns[r][i + c]; });
    }
    const double factor = shape.factor;
    const std::ptrdiff_t entering = static_cast<std::ptrdiff_t>(shape.maskWidth) * kChannels;
    const int written = shape.keepsAlpha ? 3 : kChannels;
    for (std::ptrdiff_t i = 0; i < shape.samples(); i += kChannels) {
      each([&](auto r, auto c) HWY_ATTR {
        if (c < written) store(mean(sums[r][c], factor), to[r] + i + c);
        sums[r][c] = sums[r][c] + columns[r][i + entering + c] - columns[r][i + c];
      });
    }
  }

  // Rows whose columns stand in the parts from `first` on.
  template <int kRows>
  static void rowsOf(const BoxShape& shape, void* scratch, int first, Image<T> out) {
    if (shape.channels == 1) return chains<kRows, 1>(shape, scratch, first, out);
    if (shape.channels == 3) return chains<kRows, 3>(shape, scratch, first, out);
    return chains<kRows, 4>(shape, scratch, first, out);
  }

  static void row(const BoxShape& shape, void* scratch, int slides, T* out) {
    rowsOf<1>(shape, scratch, slides % kParts, Image<T>{out, 0});
  }

  static void band(const BoxShape& shape, void* scratch, Image<const T> window, Image<T> out, int rows) {
    const int most = shape.channels == 1 ? 4 : 2;  // side by side
    sum(shape, scratch, window);
    for (int y = 0; y < rows;) {
      const int together = rows - y >= most ? most : 1;
      for (int r = 1; r < together; ++r) slide(shape, scratch, y + r - 1, window.from(y + r - 1));
      const auto chain = together == 4 ? rowsOf<4> : together == 2 ? rowsOf<2> : rowsOf<1>;
      chain(shape, scratch, y % kParts, out.from(y));
      y += together;
      if (y < rows) slide(shape, scratch, y - 1, window.from(y - 1));
    }
  }

  static constexpr BoxRows<T> kRows = {scratchBytes, sum, row, slide, band};
};

// (sum of nine * 455) >> 12, in strips whose column sums need no more than the stack.
struct BytesBy455 {
  using D = Tag<uint16_t>;
  HWY_INLINE explicit BytesBy455(const BoxShape&) {}
  HWY_INLINE auto operator()(hn::Vec<D> sums) const {
    const auto factor = hn::Set(D(), uint16_t{455});
    return hn::TruncateTo(SamplesOf<uint8_t, D>(), hn::MulHigh(hn::ShiftLeft<4>(sums), factor));
  }
};

void rows3x3(const BoxShape& shape, Image<const Zop8u> window, Image<Zop8u> out, int rows) {
  using Box = IntegerBox<uint16_t, uint8_t, BytesBy455>;
  constexpr int kStrip = 504;  // a whole number of pixels of 1, 3 and 4 channels
  uint16_t columns[withRoom<uint16_t>(kStrip + 2 * 4)];
  BoxShape strip = shape;
  for (std::ptrdiff_t i = 0; i < shape.samples(); i += kStrip) {
    strip.width = static_cast<int>(std::min<std::ptrdiff_t>(kStrip, shape.samples() - i)) / shape.channels;
    for (int y = 0; y < rows; ++y) {
      Columns<uint16_t, uint8_t>::sum(strip, columns, {window.row(y) + i, window.step});
      Box::means(strip, columns, columns, 1, out.row(y) + i);
    }
  }
}

constexpr BoxTable kTable = {
    IntegerBox<uint16_t, uint8_t, BytesByHighHalf>::kRows,
    IntegerBox<uint32_t, uint8_t, BytesByProduct>::kRows,
    IntegerBox<uint32_t, int16_t, WordsInDouble>::kRows,
    NumberBox<int16_t>::kRows,
    NumberBox<float>::kRows,
    rows3x3,
};

}  // namespace

const BoxTable* boxTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(boxTableOfTarget);

const BoxTable& boxTable() { return *HWY_DYNAMIC_DISPATCH(boxTableOfTarget)(); }

}  // namespace zopi
#endif
