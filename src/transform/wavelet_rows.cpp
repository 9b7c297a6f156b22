#include "transform/wavelet_rows.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transform/wavelet_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "filter/stencil-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using D = Tag<float>;
using Doubles = hn::Repartition<double, D>;
constexpr std::ptrdiff_t N = kLanes<D>;

// A vector of sums in double precision.
struct Sums {
  hn::Vec<Doubles> low = hn::Zero(Doubles()), high = hn::Zero(Doubles());

  HWY_INLINE Sums() {}
  HWY_INLINE explicit Sums(hn::Vec<D> v)
      : low(hn::PromoteTo(Doubles(), hn::LowerHalf(hn::Half<D>(), v))),
        high(hn::PromoteTo(Doubles(), hn::UpperHalf(hn::Half<D>(), v))) {}

  // Products of floats are exact: it makes no difference that they are fused with the sum.
  HWY_INLINE void add(double tap, hn::Vec<D> v) {
    const Sums samples(v);
    const auto factor = hn::Set(Doubles(), tap);
    low = hn::MulAdd(factor, samples.low, low);
    high = hn::MulAdd(factor, samples.high, high);
  }
  HWY_INLINE void round() {
    const hn::Half<D> dh;
    low = hn::PromoteTo(Doubles(), hn::DemoteTo(dh, low));
    high = hn::PromoteTo(Doubles(), hn::DemoteTo(dh, high));
  }
  HWY_INLINE hn::Vec<D> rounded() const {
    const hn::Half<D> dh;
    return hn::Combine(D(), hn::DemoteTo(dh, high), hn::DemoteTo(dh, low));
  }
};

// A filter and the rows that it sweeps over, from the uppermost on.
struct Sweep {
  WaveletFilter filter;
  Image<const Zop32f> top;
};
Sweep sweepOf(const WaveletFilter& filter, Image<const Zop32f> src, std::ptrdiff_t row,
              std::ptrdiff_t sample) {
  const std::ptrdiff_t top = row + filter.anchor - (filter.count - 1);
  return {filter, {src.row(top) + sample, src.step}};
}

// kCount vectors of sums down the columns, rounded to float after each row.
template <int kCount, class Part, class... S>
HWY_INLINE void sweepVectors(std::ptrdiff_t from, Part part, Zop32f* out, const S&... sweeps) {
  // What a sum with the first product leaves as it is.
  Sums columns[kCount];
  for (Sums& column : columns) column = Sums(hn::Set(D(), -0.0f));
  const auto over = [&](const Sweep& sweep) HWY_ATTR {
    for (int k = 0; k < sweep.filter.count; ++k) {
      const Zop32f* const row = sweep.top.row(k) + from;
#pragma GCC unroll 4
      for (int v = 0; v < kCount; ++v) {
        columns[v].add(sweep.filter.taps[k], loadPart(D(), row + v * N, part));
        columns[v].round();
      }
    }
  };
  (over(sweeps), ...);
#pragma GCC unroll 4
  for (int v = 0; v < kCount; ++v) storePart(D(), columns[v].rounded(), out + v * N, part);
}

// n of them from sample `from` on.
template <class... S>
HWY_INLINE void sweepColumns(std::ptrdiff_t from, std::ptrdiff_t n, Zop32f* out, const S&... sweeps) {
  constexpr std::integral_constant<std::ptrdiff_t, N> whole;
  std::ptrdiff_t i = 0;
  for (; i + 2 * N <= n; i += 2 * N) sweepVectors<2>(from + i, whole, out + i, sweeps...);
  if (i == n) return;
  const std::ptrdiff_t rest = std::min(n, std::max(n - i, N));
  forVectors(D(), rest, [&](std::ptrdiff_t at, auto part) HWY_ATTR {
    sweepVectors<1>(from + n - rest + at, part, out + n - rest + at, sweeps...);
  });
}

// Sums along a row of pixels in turn, of `n` samples: the filter's first tap meets the sample at `row`, and
// pixels of a filter's neighbours stand in `rows` in turn.
template <int kChannels, int kRows>
HWY_INLINE Sums alongRow(const WaveletFilter& filter, const Zop32f* const (&rows)[kRows], int first,
                         std::ptrdiff_t i, std::ptrdiff_t part) {
  Sums sums;
  for (int k = 0; k < filter.count; ++k) {
    const int at = first + k;
    sums.add(filter.taps[k],
             loadPart(D(), rows[at % kRows] + static_cast<std::ptrdiff_t>(at / kRows) * kChannels + i, part));
  }
  return sums;
}

// Pixels with even and with odd numbers. What is stored last of a vector of one pixel and a sample is
// overwritten by the next pixel.
template <int kChannels>
void splitPixels(const Zop32f* from, int pixels, Zop32f* even, Zop32f* odd) {
  int i = 0;
  if constexpr (kChannels == 1) {
    for (; i + 2 * N <= pixels; i += 2 * N) {
      hn::Vec<D> evens, odds;
      hn::LoadInterleaved2(D(), from + i, evens, odds);
      hn::StoreU(evens, D(), even + i / 2);
      hn::StoreU(odds, D(), odd + i / 2);
    }
  } else {
    const hn::CappedTag<float, 4> d4;
    for (; i + 4 <= pixels; i += 2) {
      hn::StoreU(hn::LoadU(d4, from + i * kChannels), d4, even + i / 2 * kChannels);
      hn::StoreU(hn::LoadU(d4, from + (i + 1) * kChannels), d4, odd + i / 2 * kChannels);
    }
  }
  for (; i < pixels; ++i)
    std::memcpy((i % 2 == 0 ? even : odd) + i / 2 * kChannels, from + i * kChannels,
                kChannels * sizeof *from);
}

// The way back.
template <int kChannels>
void mergePixels(const Zop32f* even, const Zop32f* odd, int pixels, Zop32f* out) {
  int i = 0;
  if constexpr (kChannels == 1) {
    for (; i + N <= pixels; i += N)
      hn::StoreInterleaved2(hn::LoadU(D(), even + i), hn::LoadU(D(), odd + i), D(), out + 2 * i);
  } else {
    const hn::CappedTag<float, 4> d4;
    for (; i + 2 <= pixels; ++i) {
      hn::StoreU(hn::LoadU(d4, even + i * kChannels), d4, out + 2 * i * kChannels);
      hn::StoreU(hn::LoadU(d4, odd + i * kChannels), d4, out + (2 * i + 1) * kChannels);
    }
  }
  for (; i < pixels; ++i) {
    std::memcpy(out + 2 * i * kChannels, even + i * kChannels, kChannels * sizeof *out);
    std::memcpy(out + (2 * i + 1) * kChannels, odd + i * kChannels, kChannels * sizeof *out);
  }
}

// A row of sums down the columns, with even pixels apart from odd ones.
template <int kChannels>
struct SplitRow {
  Zop32f *even, *odd;

  SplitRow(Zop32f* buffer, int pixels) : even(buffer), odd(buffer + (pixels + 1) / 2 * kChannels) {}

  void fill(const Sweep& sweep, int pixels) const {
    constexpr int kPiece = 128;
    HWY_ALIGN Zop32f sums[kPiece * kChannels + 1];
    for (int i = 0; i < pixels; i += kPiece) {
      const int count = std::min(kPiece, pixels - i);
      sweepColumns(static_cast<std::ptrdiff_t>(i) * kChannels, count * kChannels, sums, sweep);
      splitPixels<kChannels>(sums, count, even + i / 2 * kChannels, odd + i / 2 * kChannels);
    }
  }

  // Every other place of the filtered row.
  void filter(const WaveletFilter& filter, int leftBorder, std::ptrdiff_t n, Zop32f* out) const {
    const Zop32f* const rows[] = {even, odd};
    forVectors(D(), n, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
      const Sums sums = alongRow<kChannels>(filter, rows, leftBorder - filter.left(), i, part);
      storePart(D(), sums.rounded(), out + i, part);
    });
  }
};

template <int kChannels>
void analyse(const WaveletAnalysis& wavelet, Image<const Zop32f> src, const Subbands<Zop32f>& out,
             ZopImageSize size, WaveletBuffer buffer) {
  for (int x = 0; x < size.width; x += kWaveletStrip) {
    const int width = std::min(kWaveletStrip, size.width - x);
    const int pixels = wavelet.leftBorder + wavelet.rightBorder + 2 * width;
    const std::ptrdiff_t left = (2 * static_cast<std::ptrdiff_t>(x) - wavelet.leftBorder) * kChannels;
    const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(x) * kChannels, n = width * kChannels;
    const SplitRow<kChannels> lows(buffer.first, pixels), highs(buffer.second, pixels);
    for (std::ptrdiff_t y = 0; y < size.height; ++y) {
      lows.fill(sweepOf(wavelet.low, src, 2 * y, left), pixels);
      highs.fill(sweepOf(wavelet.high, src, 2 * y, left), pixels);
      lows.filter(wavelet.low, wavelet.leftBorder, n, out.approx.row(y) + at);
      lows.filter(wavelet.high, wavelet.leftBorder, n, out.detailY.row(y) + at);
      highs.filter(wavelet.low, wavelet.leftBorder, n, out.detailX.row(y) + at);
      highs.filter(wavelet.high, wavelet.leftBorder, n, out.detailXY.row(y) + at);
    }
  }
}

template <int kChannels>
void synthesise(const WaveletSynthesis& low, const WaveletSynthesis& high, const Subbands<const Zop32f>& src,
                Image<Zop32f> out, ZopImageSize size, WaveletBuffer buffer) {
  // Two images become a row, by the filters for the parity of the output's row.
  const auto fill = [&](const WaveletSynthesis& along, Image<const Zop32f> lows, Image<const Zop32f> highs,
                        std::ptrdiff_t x, int width, std::ptrdiff_t y, int parity, Zop32f* row) {
    const std::ptrdiff_t left = (x - along.leftExtent) * kChannels;
    sweepColumns(0, static_cast<std::ptrdiff_t>(along.leftExtent + width + along.rightExtent) * kChannels,
                 row, sweepOf(low.phases[parity], lows, y, left),
                 sweepOf(high.phases[parity], highs, y, left));
  };
  for (int x = 0; x < size.width; x += kWaveletStrip) {
    const int width = std::min(kWaveletStrip, size.width - x);
    for (std::ptrdiff_t y = 0; y < 2 * static_cast<std::ptrdiff_t>(size.height); ++y) {
      const int parity = static_cast<int>(y % 2);
      fill(low, src.approx, src.detailX, x, width, y / 2, parity, buffer.first);
      fill(high, src.detailY, src.detailXY, x, width, y / 2, parity, buffer.second);
      HWY_ALIGN Zop32f pixels[2][kWaveletStrip * kChannels + 1];
      for (int q = 0; q < 2; ++q) {
        const WaveletFilter &lows = low.phases[q], &highs = high.phases[q];
        const Zop32f *const lowRow[] = {buffer.first}, *const highRow[] = {buffer.second};
        forVectors(D(), width * kChannels, [&](std::ptrdiff_t i, auto part) HWY_ATTR {
          const auto v = alongRow<kChannels>(lows, lowRow, low.leftExtent - lows.left(), i, part).rounded();
          Sums sums = alongRow<kChannels>(highs, highRow, high.leftExtent - highs.left(), i, part);
          sums.add(1, v);
          storePart(D(), sums.rounded(), pixels[q] + i, part);
        });
      }
      mergePixels<kChannels>(pixels[0], pixels[1], width,
                             out.row(y) + 2 * static_cast<std::ptrdiff_t>(x) * kChannels);
    }
  }
}

constexpr WaveletTable kTable = {{analyse<1>, synthesise<1>}, {analyse<3>, synthesise<3>}};

}  // namespace

const WaveletTable* waveletTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(waveletTableOfTarget);

const WaveletTable& waveletTable() { return *HWY_DYNAMIC_DISPATCH(waveletTableOfTarget)(); }

}  // namespace zopi
#endif
