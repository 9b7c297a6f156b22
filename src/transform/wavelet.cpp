// Wavelet transforms: contexts, and what their rows need.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "core/checks.h"
#include "core/context.h"
#include "transform/wavelet_rows.h"
#include "zopi/transform.h"

namespace zopi {
namespace {

// What every context of a wavelet starts with. The taps stand behind it.
struct WaveletContext {
  ContextTag tag;
  std::int32_t bufSize, secondRow;  // where the second row of a buffer starts
};

struct AnalysisContext : WaveletContext {
  WaveletAnalysis wavelet;
};

struct SynthesisContext : WaveletContext {
  WaveletSynthesis low, high;
};

}  // namespace
}  // namespace zopi

struct ZopWTFwdState_32f_C1R : zopi::AnalysisContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::WaveletForwardC1;
  static constexpr int kChannels = 1;
};
struct ZopWTFwdState_32f_C3R : zopi::AnalysisContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::WaveletForwardC3;
  static constexpr int kChannels = 3;
};
struct ZopWTInvState_32f_C1R : zopi::SynthesisContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::WaveletInverseC1;
  static constexpr int kChannels = 1;
};
struct ZopWTInvState_32f_C3R : zopi::SynthesisContext {
  static constexpr zopi::ContextTag kTag = zopi::ContextTag::WaveletInverseC3;
  static constexpr int kChannels = 3;
};

namespace zopi {
namespace {

// A filter as the caller gives it.
struct GivenFilter {
  const Zop32f* taps;
  int count, anchor;
};

ZopStatus checkLengths(int low, int high) { return low < 2 || high < 2 ? zopStatusBadSize : zopStatusOk; }
ZopStatus checkAnchors(int low, int lowLength, int high, int highLength) {
  const auto good = [](int anchor, int length) { return anchor >= 0 && anchor < length; };
  return good(low, lowLength) && good(high, highLength) ? zopStatusOk : zopStatusBadAnchor;
}

// Every `stride`th tap, the last one first. Moves `at` behind them.
WaveletFilter filterOf(const GivenFilter& given, int first, int stride, int anchor, double*& at) {
  const WaveletFilter filter = {at, (given.count - first + stride - 1) / stride, anchor};
  for (int k = filter.count - 1; k >= 0; --k) *at++ = given.taps[first + k * stride];
  return filter;
}

void fill(AnalysisContext& context, const GivenFilter& low, const GivenFilter& high, double* taps) {
  context.wavelet.low = filterOf(low, 0, 1, low.anchor, taps);
  context.wavelet.high = filterOf(high, 0, 1, high.anchor, taps);
}

// Where the output's place and the anchor are both even, or both odd, the even taps meet samples.
WaveletSynthesis synthesisOf(const GivenFilter& given, double*& taps) {
  WaveletSynthesis result = {};
  for (const int parity : {0, 1}) {
    const int first = (parity + given.anchor) % 2;
    WaveletFilter& phase = result.phases[parity];
    phase = filterOf(given, first, 2, (parity + given.anchor - first) / 2, taps);
    result.leftExtent = std::max(result.leftExtent, phase.left());
    result.rightExtent = std::max(result.rightExtent, phase.anchor);
  }
  return result;
}

void fill(SynthesisContext& context, const GivenFilter& low, const GivenFilter& high, double* taps) {
  context.low = synthesisOf(low, taps);
  context.high = synthesisOf(high, taps);
}

// Pixels of the two rows that a call needs.
struct RowLengths {
  std::int64_t first, second;
};
RowLengths rowLengths(AnalysisContext& context, const GivenFilter& low, const GivenFilter& high) {
  WaveletAnalysis& wavelet = context.wavelet;
  wavelet.leftBorder = std::max(low.count - low.anchor, high.count - high.anchor) - 1;
  wavelet.rightBorder = std::max(low.anchor, high.anchor) - 1;
  const std::int64_t length = std::int64_t{wavelet.leftBorder} + wavelet.rightBorder + 2 * kWaveletStrip;
  return {length, length};
}
RowLengths rowLengths(SynthesisContext& context, const GivenFilter&, const GivenFilter&) {
  const auto length = [](const WaveletSynthesis& filter) {
    return std::int64_t{filter.leftExtent} + filter.rightExtent + kWaveletStrip;
  };
  return {length(context.low), length(context.high)};
}

template <class Context>
ZopStatus createContext(Context** out, const GivenFilter& low, const GivenFilter& high) {
  constexpr std::ptrdiff_t kRecord = (sizeof(Context) + sizeof(double) - 1) / sizeof(double) * sizeof(double);
  const std::ptrdiff_t taps = std::ptrdiff_t{low.count} + high.count;
  auto* context = newContext<Context>(kRecord + taps * static_cast<std::ptrdiff_t>(sizeof(double)));
  if (context == nullptr) return zopStatusNoMemory;
  fill(*context, low, high, reinterpret_cast<double*>(reinterpret_cast<unsigned char*>(context) + kRecord));
  const RowLengths lengths = rowLengths(*context, low, high);
  constexpr std::int64_t kPixel = Context::kChannels * sizeof(Zop32f), kMultiple = 32;
  const std::int64_t firstRow = (lengths.first * kPixel + kMultiple - 1) / kMultiple * kMultiple;
  const std::int64_t bytes = firstRow + lengths.second * kPixel;
  if (bytes > INT32_MAX) {
    releaseContext(context);
    return zopStatusNoMemory;
  }
  context->tag = Context::kTag;
  context->secondRow = static_cast<std::int32_t>(firstRow);
  context->bufSize = static_cast<std::int32_t>(bytes);
  *out = context;
  return zopStatusOk;
}

template <class Context>
ZopStatus freeContext(Context* context) {
  releaseContext(context);
  return zopStatusOk;
}

ZopStatus bufferSize(const WaveletContext* context, int* bytes) {
  *bytes = context->bufSize;
  return zopStatusOk;
}

WaveletBuffer bufferOf(const WaveletContext& context, Zop8u* buffer) {
  return {reinterpret_cast<Zop32f*>(buffer), reinterpret_cast<Zop32f*>(buffer + context.secondRow)};
}

template <class Context>
const WaveletRows& rowsOf() {
  return Context::kChannels == 1 ? waveletTable().ofC1 : waveletTable().ofC3;
}

template <class Context>
ZopStatus analyse(Image<const Zop32f> src, const Subbands<Zop32f>& out, ZopImageSize size,
                  const Context* context, Zop8u* buffer) {
  rowsOf<Context>().analyse(context->wavelet, src, out, size, bufferOf(*context, buffer));
  return zopStatusOk;
}

template <class Context>
ZopStatus synthesise(const Subbands<const Zop32f>& src, ZopImageSize size, Image<Zop32f> out,
                     const Context* context, Zop8u* buffer) {
  rowsOf<Context>().synthesise(context->low, context->high, src, out, size, bufferOf(*context, buffer));
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "transform/wavelet.exports.inc"
