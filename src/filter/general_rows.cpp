// Vector code of the filters with a kernel of the caller's.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/general_rows.cpp"
#include "hwy/foreach_target.h"
//
#include "hwy/highway.h"
//
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "core/row_shapes-inl.h"
#include "filter/general_rows.h"
#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// The lanes that sums are made in: how samples of type T become lanes, and how a tap is added. A lane holds
// kTogether samples, `distance` apart.
template <class T>
struct Doubles {
  using Lane = double;
  static constexpr int kTogether = 1;
  static HWY_INLINE hn::Vec<Tag<Lane>> load(const T* from, std::ptrdiff_t) {
    return toReal(Tag<Lane>(), hn::LoadU(SamplesOf<T, Tag<Lane>>(), from));
  }
};
template <class T>
struct Pairs {
  using Lane = int32_t;
  static constexpr int kTogether = 2;
  static HWY_INLINE hn::Vec<Tag<Lane>> load(const T* from, std::ptrdiff_t distance) {
    const Tag<Lane> d;
    const SamplesOf<T, Tag<Lane>> samples;
    const auto left = hn::And(hn::PromoteTo(d, hn::LoadU(samples, from)), hn::Set(d, 0xffff));
    return hn::Or(left, hn::ShiftLeft<16>(hn::PromoteTo(d, hn::LoadU(samples, from + distance))));
  }
};
template <class T>
struct Words {
  using Lane = int32_t;
  static constexpr int kTogether = 1;
  static HWY_INLINE hn::Vec<Tag<Lane>> load(const T* from, std::ptrdiff_t) {
    return hn::PromoteTo(Tag<Lane>(), hn::LoadU(SamplesOf<T, Tag<Lane>>(), from));
  }
};

// Products of doubles that are exact need not be rounded before they are added.
struct AddProduct {
  template <class D, class V>
  HWY_INLINE V operator()(D, V tap, V lanes, V sum) const {
    if constexpr (hwy::IsFloat<hn::TFromD<D>>())
      return hn::MulAdd(tap, lanes, sum);
    else
      return hn::Add(hn::Mul(tap, lanes), sum);
  }
};
struct AddPairOfProducts {
  template <class D, class V>
  HWY_INLINE V operator()(D d, V tap, V lanes, V sum) const {
    const hn::Repartition<int16_t, D> halves;
    auto odd = hn::Zero(d);
    const auto even = hn::ReorderWidenMulAccumulate(d, hn::BitCast(halves, lanes), hn::BitCast(halves, tap),
                                                    hn::Zero(d), odd);
    return hn::Add(sum, hn::RearrangeToOddPlusEven(even, odd));
  }
};
template <class A>
using AdditionOf = std::conditional_t<A::kTogether == 2, AddPairOfProducts, AddProduct>;

// f(0) ... f(n - 1), by numbers that the compiler knows.
template <int n, class F>
HWY_INLINE void unrolled(const F& f) {
  const auto all = [&]<int... I>(std::integer_sequence<int, I...>) HWY_ATTR {
    (f(std::integral_constant<int, I>()), ...);
  };
  all(std::make_integer_sequence<int, n>());
}

// Sums are made for a block of so many rows, and of so many vectors a row, in registers: a vector of samples
// serves all rows, and a tap all vectors.
template <int kRows>
inline constexpr int kVectors = kRows == 1               ? 8
                                : HWY_TARGET == HWY_AVX3 ? 4
                                : kRows == 4             ? 2
                                                         : 4;
template <class Lane, int kRows>
inline constexpr std::ptrdiff_t kBlock = kVectors<kRows>* kLanes<Tag<Lane>>;

// The part of a kernel that is added at once.
struct Piece {
  int firstRow, rows, firstTap, taps;
};

// Adds the products of a piece, which has at least kRows rows, to the sums of a block, which start from zero
// with the first piece. Each sum gets its products by rows, from left to right.
template <class Addition, class Lane, int kRows>
HWY_NOINLINE void addProducts(const Lane* taps, std::ptrdiff_t tapPitch, const Piece& piece,
                              std::ptrdiff_t tapStep, const Lane* samples, std::ptrdiff_t pitch, Lane* sums,
                              std::ptrdiff_t sumPitch) {
  const Tag<Lane> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<Lane>>;
  constexpr int kAcross = kVectors<kRows>;
  const Addition add;
  hn::Vec<Tag<Lane>> s[kRows * kAcross];
  const auto sumAt = [&](int k) HWY_ATTR { return sums + k / kAcross * sumPitch + k % kAcross * N; };
  if (piece.firstRow == 0 && piece.firstTap == 0)
    unrolled<kRows * kAcross>([&](auto k) HWY_ATTR { s[k] = hn::Zero(d); });
  else
    unrolled<kRows * kAcross>([&](auto k) HWY_ATTR { s[k] = hn::Load(d, sumAt(k)); });
  // The products of one row of samples, for the rows of the block from kFirst on.
  const auto addRow = [&](auto first, auto count, int row) HWY_ATTR {
    const Lane* from = samples + row * pitch;
    const Lane* tap = taps + (row - first) * tapPitch;
    for (int i = 0; i < piece.taps; ++i, from += tapStep, ++tap) {
      hn::Vec<Tag<Lane>> v[kAcross];
      unrolled<kAcross>([&](auto k) HWY_ATTR { v[k] = hn::LoadU(d, from + k * N); });
      unrolled<count>([&](auto y) HWY_ATTR {
        const auto t = hn::Set(d, tap[-y * tapPitch]);
        unrolled<kAcross>([&](auto k) HWY_ATTR {
          constexpr int at = (first + y) * kAcross + k;
          s[at] = add(d, t, v[k], s[at]);
        });
      });
    }
  };
  using Zero = std::integral_constant<int, 0>;
  unrolled<kRows - 1>([&](auto r) HWY_ATTR { addRow(Zero(), std::integral_constant<int, r + 1>(), r); });
  for (int r = kRows - 1; r < piece.rows; ++r) addRow(Zero(), std::integral_constant<int, kRows>(), r);
  unrolled<kRows - 1>([&](auto r) HWY_ATTR {
    addRow(std::integral_constant<int, r + 1>(), std::integral_constant<int, kRows - 1 - r>(),
           piece.rows + r);
  });
  unrolled<kRows * kAcross>([&](auto k) HWY_ATTR { hn::Store(s[k], d, sumAt(k)); });
}

// The lanes of `count` samples, of which only `available` are there. What stands for the others is not used.
template <class A, class T>
HWY_INLINE void fill(const T* from, std::ptrdiff_t available, std::ptrdiff_t distance, typename A::Lane* to,
                     std::ptrdiff_t count) {
  const Tag<typename A::Lane> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<typename A::Lane>>;
  const std::ptrdiff_t reach = N + (A::kTogether - 1) * distance;
  std::ptrdiff_t i = 0;
  for (; i < count && i + reach <= available; i += N) hn::Store(A::load(from + i, distance), d, to + i);
  for (; i < count; i += N) {
    T block[N + 4] = {};
    if (i < available)
      std::memcpy(block, from + i, static_cast<std::size_t>(HWY_MIN(reach, available - i)) * sizeof(T));
    hn::Store(A::load(block, distance), d, to + i);
  }
}

// Sums as samples of T.
template <class T>
struct FromDoubles {
  explicit HWY_INLINE FromDoubles(const Kernel&) {}
  template <class D, class V>
  HWY_INLINE hn::Vec<SamplesOf<T, D>> operator()(D d, V sums) const {
    if constexpr (hwy::IsFloat<T>())
      return hn::DemoteTo(SamplesOf<T, D>(), sums);
    else
      return saturated<T>(d, hn::Round(sums));
  }
};
template <class T, Division kDivision>
struct FromIntegers {
  int shift;
  double factor;
  explicit HWY_INLINE FromIntegers(const Kernel& kernel) : shift(kernel.shift), factor(kernel.factor) {}
  template <class D, class V>
  HWY_INLINE hn::Vec<SamplesOf<T, D>> operator()(D d, V sums) const {
    if constexpr (kDivision == Division::kShift) {
      // Of a sum below 1, 0 + 1 is left, which is shifted out.
      const auto more = hn::Add(hn::Max(sums, hn::Zero(d)), hn::Set(d, 1));
      return hn::DemoteTo(SamplesOf<T, D>(), held<T>(d, hn::ShiftRightSame(more, shift)));
    } else if constexpr (kDivision == Division::kFactor) {
      const auto divided = [&](auto dd, auto v)
                               HWY_ATTR { return held<T>(dd, hn::Round(hn::Mul(v, hn::Set(dd, factor)))); };
      return hn::DemoteTo(SamplesOf<T, D>(), inDoubles(d, divided, sums));
    } else if constexpr (kDivision == Division::kFactorAndHalf) {
      const auto divided = [&](auto dd, auto v) HWY_ATTR {
        const auto lowest = hn::Set(dd, double{std::numeric_limits<T>::min()});
        const auto quotient = held<T>(dd, hn::Mul(v, hn::Set(dd, factor)));
        return hn::IfThenElse(hn::Le(quotient, lowest), lowest, hn::Add(quotient, hn::Set(dd, 0.5)));
      };
      return hn::DemoteTo(SamplesOf<T, D>(), inDoubles(d, divided, sums));
    } else {
      return hn::DemoteTo(SamplesOf<T, D>(), held<T>(d, sums));
    }
  }
};

template <bool kKeeps, class Result, class Lane, class T>
HWY_INLINE void storeSums(const Kernel& kernel, const Lane* sums, T* out, std::ptrdiff_t n, bool stream) {
  const Tag<Lane> d;
  const SamplesOf<T, Tag<Lane>> samples;
  const Result result(kernel);
  const PatternOperand<SamplesOf<T, Tag<Lane>>> written(writtenSamples<T, AC4::channels, AC4::colours>());
  forVectors(d, n, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
    auto v = result(d, hn::LoadU(d, sums + i));
    if constexpr (kKeeps) v = hn::IfVecThenElse(written.edge(i, part), v, loadPart(samples, out + i, part));
    if (HWY_UNLIKELY(stream) && part == kLanes<Tag<Lane>> && isAligned(samples, out + i))
      store<true>(samples, v, out + i);
    else
      storePart(samples, v, out + i, part);
  });
}
template <class Result, class Lane, class T>
HWY_NOINLINE void finish(const Kernel& kernel, bool keepsAlpha, const Lane* sums, T* out, std::ptrdiff_t n,
                         bool stream) {
  if (keepsAlpha)
    storeSums<true, Result>(kernel, sums, out, n, false);
  else
    storeSums<false, Result>(kernel, sums, out, n, stream);
}
template <class Lane, class T>
HWY_INLINE void finishRow(const Kernel& kernel, bool keepsAlpha, const Lane* sums, T* out, std::ptrdiff_t n,
                          bool stream) {
  if constexpr (std::is_same_v<Lane, double>) {
    finish<FromDoubles<T>>(kernel, keepsAlpha, sums, out, n, stream);
  } else if (kernel.division == Division::kFactor) {
    finish<FromIntegers<T, Division::kFactor>>(kernel, keepsAlpha, sums, out, n, stream);
  } else if (kernel.division == Division::kFactorAndHalf) {
    finish<FromIntegers<T, Division::kFactorAndHalf>>(kernel, keepsAlpha, sums, out, n, stream);
  } else if constexpr (std::is_same_v<T, uint8_t>) {
    if (kernel.division == Division::kShift)
      finish<FromIntegers<T, Division::kShift>>(kernel, keepsAlpha, sums, out, n, stream);
    else
      finish<FromIntegers<T, Division::kNone>>(kernel, keepsAlpha, sums, out, n, stream);
  }
}

// Lanes of samples and sums lie on the stack, in as many bytes: the innermost cache holds both.
constexpr int kSampleBytes = 24 << 10, kSumBytes = 8 << 10;

// How a kernel is cut into pieces whose samples fit the buffer, with as many blocks side by side as it holds:
// the lanes of samples serve all of them, and they have reached the cache when they are needed. A kernel that
// does not fit is cut by rows, and where not even some rows fit, into parts of single rows.
template <class Lane>
struct Pieces {
  int count = 0;  // by rows; none if blocks of so many rows do not serve the kernel
  int taps;       // of a row at once
  std::ptrdiff_t strip, pitch;

  // For blocks of `rows` by `across` lanes and a kernel of w by h taps that are `step` lanes apart.
  Pieces(int rows, std::ptrdiff_t across, int w, int h, std::ptrdiff_t step) {
    constexpr std::ptrdiff_t kSamples = kSampleBytes / sizeof(Lane), kSums = kSumBytes / sizeof(Lane),
                             N = kLanes<Tag<Lane>>;
    const std::ptrdiff_t most = (kSamples - N - across) / step + 1;  // taps of one row
    taps = static_cast<int>(HWY_MIN(w, most));
    const std::ptrdiff_t around = (taps - 1) * step;
    const auto pitchOf = [&](std::ptrdiff_t lanes) { return (lanes + around + N - 1) / N * N; };
    const std::ptrdiff_t together = taps < w ? 1 : kSamples / pitchOf(across) - (rows - 1);
    if (rows == 1 || (h >= rows && together >= HWY_MIN(h, 2 * rows)))
      count = static_cast<int>((h - 1) / together) + 1;
    strip = across;
    if (count == 1 && taps == w) {
      const std::ptrdiff_t room = kSamples / (h + rows - 1) - around - N;
      strip = HWY_MAX(across, HWY_MIN(room, kSums / rows) / across * across);
    }
    pitch = pitchOf(strip);
  }
};

template <class A, class T, int kRows>
void rowsOf(const Kernel& kernel, PixelShape shape, const Pieces<typename A::Lane>& pieces,
            Image<const T> window, Image<T> out, Extent e) {
  using Lane = typename A::Lane;
  constexpr std::ptrdiff_t P = kBlock<Lane, kRows>;
  HWY_ALIGN Lane samples[kSampleBytes / sizeof(Lane)];
  HWY_ALIGN Lane sums[kSumBytes / sizeof(Lane)];
  const int taps = (kernel.width - 1) / A::kTogether + 1;
  const auto* const firstTap = static_cast<const Lane*>(kernel.taps);
  const std::ptrdiff_t step = std::ptrdiff_t{A::kTogether} * shape.channels,
                       around = static_cast<std::ptrdiff_t>(kernel.width - 1) * shape.channels;
  for (std::ptrdiff_t x = 0; x < e.length; x += pieces.strip) {
    const std::ptrdiff_t n = HWY_MIN(pieces.strip, e.length - x), whole = (n + P - 1) / P * P;
    for (int p = 0, top = 0; p < pieces.count; ++p) {
      const int bottom =
          static_cast<int>(static_cast<std::ptrdiff_t>(kernel.height) * (p + 1) / pieces.count);
      for (int first = 0; first < taps; first += pieces.taps) {
        const Piece piece = {top, bottom - top, first, HWY_MIN(pieces.taps, taps - first)};
        const std::ptrdiff_t at = x + first * step;
        for (int r = 0; r < piece.rows + kRows - 1; ++r) {
          fill<A>(window.row(top + r) + at, e.length + around - at, shape.channels,
                  samples + r * pieces.pitch, whole + (piece.taps - 1) * step);
        }
        for (std::ptrdiff_t i = 0; i < whole; i += P) {
          addProducts<AdditionOf<A>, Lane, kRows>(firstTap + static_cast<std::ptrdiff_t>(top) * taps + first,
                                                  taps, piece, step, samples + i, pieces.pitch, sums + i,
                                                  pieces.strip);
        }
      }
      top = bottom;
    }
    for (int y = 0; y < kRows; ++y)
      finishRow(kernel, shape.keepsAlpha, sums + y * pieces.strip, out.row(y) + x, n, e.stream);
  }
}

template <class A, class T>
void band(const Kernel& kernel, PixelShape shape, Image<const T> window, Image<T> out, Extent e) {
  using Lane = typename A::Lane;
  const int taps = (kernel.width - 1) / A::kTogether + 1;
  const std::ptrdiff_t step = std::ptrdiff_t{A::kTogether} * shape.channels;
  int y = 0;
  const auto blocksOf = [&](auto rows) HWY_ATTR {
    const Pieces<Lane> pieces(rows, kBlock<Lane, rows>, taps, kernel.height, step);
    if (pieces.count == 0) return;
    for (; y + rows <= e.rows; y += rows)
      rowsOf<A, T, rows>(kernel, shape, pieces, window.from(y), out.from(y), e);
  };
  blocksOf(std::integral_constant<int, 4>());
  blocksOf(std::integral_constant<int, 2>());
  blocksOf(std::integral_constant<int, 1>());
  if (e.stream) hwy::FlushStream();
}

constexpr RowTable<GeneralRows, Zop8u, Zop16s, Zop32f> kTable = {
    {band<Doubles<Zop8u>, Zop8u>, band<Pairs<Zop8u>, Zop8u>, band<Words<Zop8u>, Zop8u>},
    {band<Doubles<Zop16s>, Zop16s>, band<Pairs<Zop16s>, Zop16s>, nullptr},
    {band<Doubles<Zop32f>, Zop32f>, nullptr, nullptr},
};

}  // namespace

const RowTable<GeneralRows, Zop8u, Zop16s, Zop32f>* generalTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(generalTableOfTarget);

const RowTable<GeneralRows, Zop8u, Zop16s, Zop32f>& generalTable() {
  return *HWY_DYNAMIC_DISPATCH(generalTableOfTarget)();
}

}  // namespace zopi
#endif
