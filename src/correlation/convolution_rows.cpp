#include "correlation/convolution_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "correlation/convolution_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using Doubles = Tag<double>;
using Floats = hn::Rebind<float, Doubles>;
constexpr std::ptrdiff_t N = kLanes<Doubles>;

template <class T, class Real>
struct Quotient {
  using Lane = Real;
  Real factor;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    return wholeInLowBits(d, held<T>(d, hn::Mul(toReal(d, v), hn::Set(d, factor))));
  }
};

// Sums stay in registers, a few vectors of them at a time: they are chains of long instructions.
constexpr int kVectors = 8;
constexpr std::ptrdiff_t kBlock = kVectors * N;
static_assert(kBlock <= kFullRoom);

// Sums are made where the large image has a sample, and nowhere is a product of zeros added: it could be no
// number.
struct Everywhere {
  HWY_INLINE hn::Vec<Doubles> operator()(hn::Vec<Doubles> sum, hn::Vec<Doubles>, int, int) const {
    return sum;
  }
};
struct WhereSamplesAre {
  HWY_ALIGN double columns[kBlock];
  double width;
  HWY_INLINE WhereSamplesAre(std::ptrdiff_t x, int imageWidth) : width(imageWidth) {
    const Doubles d;
    for (int k = 0; k < kVectors; ++k)
      hn::Store(hn::Iota(d, static_cast<double>(x + k * N)), d, columns + k * N);
  }
  HWY_INLINE hn::Vec<Doubles> operator()(hn::Vec<Doubles> sum, hn::Vec<Doubles> before, int k, int i) const {
    const Doubles d;
    const auto at = hn::Sub(hn::Load(d, columns + k * N), hn::Set(d, static_cast<double>(i)));
    const auto is = hn::And(hn::Ge(at, hn::Zero(d)), hn::Lt(at, hn::Set(d, width)));
    return hn::IfThenElse(is, sum, before);
  }
};

struct Widen {
  using Lane = double;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V v) const {
    return toReal(d, v);
  }
};

template <class Choose>
HWY_INLINE void sumsOfBlock(const FullConvolution& call, int y, std::ptrdiff_t x, const Choose& choose,
                            float* out, std::ptrdiff_t n) {
  const Doubles d;
  const Floats df;
  hn::Vec<Doubles> sums[kVectors];
#pragma GCC unroll 8
  for (auto& sum : sums) sum = hn::Zero(d);
  const int w = call.smallSize.width;
  for (int j = HWY_MAX(0, y - call.size.height + 1); j <= HWY_MIN(y, call.smallSize.height - 1); ++j) {
    const double* row = call.large.row(y - j) + x + w - 1;
    const float* weights = call.small + static_cast<std::ptrdiff_t>(j) * w;
    for (int i = 0; i < w; ++i) {
      const auto weight = hn::Set(d, double{weights[i]});
#pragma GCC unroll 8
      for (int k = 0; k < kVectors; ++k) {
        // Products of floats are exact in double precision.
        const auto sample = hn::LoadU(d, row - i + k * N);
        const auto sum = hn::PromoteTo(d, hn::DemoteTo(df, hn::MulAdd(sample, weight, sums[k])));
        sums[k] = choose(sum, sums[k], k, i);
      }
    }
  }
#pragma GCC unroll 8
  for (int k = 0; k < kVectors; ++k) {
    if (k * N < n) storePart(df, hn::DemoteTo(df, sums[k]), out + k * N, HWY_MIN(N, n - k * N));
  }
}

void full(const FullConvolution& call, int begin, int end, Image<float> out) {
  const std::ptrdiff_t width = call.size.width + call.smallSize.width - 1;
  for (int y = begin; y < end; ++y) {
    float* to = out.row(y - begin);
    for (std::ptrdiff_t x = 0; x < width; x += kBlock) {
      const std::ptrdiff_t n = HWY_MIN(kBlock, width - x);
      if (x >= call.smallSize.width - 1 && x + kBlock <= call.size.width)
        sumsOfBlock(call, y, x, Everywhere(), to + x, n);
      else
        sumsOfBlock(call, y, x, WhereSamplesAre(x, call.size.width), to + x, n);
    }
  }
}

template <class T>
constexpr QuotientRows<T> rowsOf() {
  return {conversionRows<Quotient<T, float>, Zop32f, T, float>(),
          conversionRows<Quotient<T, double>, Zop32f, T, double>()};
}

constexpr ConvolutionTable kTable = {rowsOf<Zop8u>(), rowsOf<Zop16s>(), imageRows<Widen, Zop32f, double>,
                                     full};

}  // namespace

const ConvolutionTable* convolutionTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(convolutionTableOfTarget);

const ConvolutionTable& convolutionTable() { return *HWY_DYNAMIC_DISPATCH(convolutionTableOfTarget)(); }

}  // namespace zopi
#endif
