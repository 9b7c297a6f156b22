// Moments of images: states, what is computed into them, and what is made of that when it is asked for. All
// on the calling thread.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <new>
#include <optional>

#include "core/context.h"
#include "core/image.h"
#include "core/memory.h"
#include "core/rounding.h"
#include "stats/moments_rows.h"
#include "zopi/stats.h"

namespace zopi {
namespace {

constexpr int kMaxOrder = 3, kMaxChannels = 3;

// The moments of one channel; of[4 n + m] is the sum of x^m y^n f(x, y). Where m + n is above 3 it stays 0.
template <class T>
struct Moments {
  T of[16];
};

template <class T>
constexpr ContextTag kMomentTag = ContextTag::None;
template <>
constexpr ContextTag kMomentTag<Zop64f> = ContextTag::MomentsInDoubles;
template <>
constexpr ContextTag kMomentTag<Zop64s> = ContextTag::MomentsInIntegers;

}  // namespace
}  // namespace zopi

struct ZopMomentState {
  zopi::ContextTag tag;
  std::uint32_t hint;
  std::int32_t channels;
  std::int32_t reserved;
  union {
    zopi::Moments<Zop64f> doubles[zopi::kMaxChannels];
    zopi::Moments<Zop64s> integers[zopi::kMaxChannels];
  };
};

namespace zopi {
namespace {

template <class T>
ZopStatus checkKind(const ZopMomentState* state) {
  return state->tag == kMomentTag<T> ? zopStatusOk : zopStatusBadContext;
}

ZopStatus checkOrders(int mOrd, int nOrd) {
  const bool good = mOrd >= 0 && nOrd >= 0 && std::int64_t{mOrd} + nOrd <= kMaxOrder;
  return good ? zopStatusOk : zopStatusBadSize;
}

ZopStatus checkChannel(const ZopMomentState* state, int channel) {
  return channel >= 0 && channel < state->channels ? zopStatusOk : zopStatusBadMomentChannel;
}

template <class Layout, class T>
ZopStatus checkRow(int step, ZopImageSize size) {
  const std::int64_t bytes = std::int64_t{size.width} * Layout::channels * static_cast<int>(sizeof(T));
  return bytes > step ? zopStatusBadStride : zopStatusOk;
}

template <class T>
ZopStatus createState(ZopMomentState** result, unsigned hint) {
  auto* state = newContext<ZopMomentState>(sizeof(ZopMomentState));
  if (state == nullptr) return zopStatusNoMemory;
  state->tag = kMomentTag<T>;
  state->hint = hint;
  state->channels = -1;
  *result = state;
  return zopStatusOk;
}

ZopStatus freeState(ZopMomentState* state) {
  releaseContext(state);
  return zopStatusOk;
}

void addRow(const double (&sums)[4], double y, double (&moments)[16]) {
  for (int m = 0; m < 4; ++m) moments[m] += sums[m];
  for (int m = 0; m < 3; ++m) moments[4 + m] += sums[m] * y;
  for (int m = 0; m < 2; ++m) moments[8 + m] += sums[m] * (y * y);
  moments[12] += sums[0] * (y * y * y);
}

// A number as an integer: rounded to nearest, ties to even, and saturated.
Zop64s toInteger(double value) {
  if (value >= 0x1p63) return std::numeric_limits<Zop64s>::max();
  if (!(value > -0x1p63)) return std::numeric_limits<Zop64s>::min();
  return static_cast<Zop64s>(std::nearbyint(value));
}

template <class T, class Layout, class S>
ZopStatus computeMoments(Image<const S> src, ZopImageSize size, ZopMomentState* state) {
  constexpr int kRows = 64;
  const RoundingToNearest mode;
  Moments<double> moments[kMaxChannels] = {};
  const auto& rows = momentTable().of<S>();
  for (int y = 0; y < size.height; y += kRows) {
    const Extent e = {size.width, std::min(kRows, size.height - y)};
    for (int c = 0; c < Layout::colours; ++c) {
      RowSums sums[kRows];
      const Image<const S> band = src.from(y);
      rows.sums({band.at + c, band.step}, Layout::channels, e, sums);
      for (int r = 0; r < e.rows; ++r) addRow(sums[r].of, y + r, moments[c].of);
    }
  }
  for (int c = 0; c < kMaxChannels; ++c) {
    for (int i = 0; i < 16; ++i) {
      if constexpr (std::is_same_v<T, Zop64s>)
        state->integers[c].of[i] = toInteger(moments[c].of[i]);
      else
        state->doubles[c].of[i] = moments[c].of[i];
    }
  }
  state->channels = Layout::colours;
  return zopStatusOk;
}

// The moments of a channel, as numbers.
template <class T>
Moments<double> momentsOf(const ZopMomentState* state, int channel) {
  if constexpr (std::is_same_v<T, Zop64f>) {
    return state->doubles[channel];
  } else {
    Moments<double> result;
    for (int i = 0; i < 16; ++i) result.of[i] = static_cast<double>(state->integers[channel].of[i]);
    return result;
  }
}

constexpr double kBinomials[4][4] = {{1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}};

// The sum of binomials of (t + offset)^order, given the sums for t^0 to t^order: `of[k * stride]`.
double shifted(const double* of, int stride, int order, double offset) {
  double power = 1.0, result = of[order * stride];
  if (offset == 0.0) return result;
  for (int k = order - 1; k >= 0; --k) {
    power *= offset;
    result += kBinomials[order][k] * power * of[k * stride];
  }
  return result;
}
double shifted(const Moments<double>& moments, int mOrd, int nOrd, double x, double y) {
  double columns[4];
  for (int n = 0; n <= nOrd; ++n) columns[n] = shifted(moments.of + 4 * n, 1, mOrd, x);
  return shifted(columns, 1, nOrd, y);
}

// What is asked for, or nothing if m00 is too small to divide by.
using Answer = std::optional<double>;

bool canDivideBy(double m00) { return std::fabs(m00) > std::numeric_limits<double>::epsilon(); }

Answer spatialMoment(const Moments<double>& moments, int mOrd, int nOrd, ZopImagePoint offset) {
  return shifted(moments, mOrd, nOrd, offset.x, offset.y);
}

Answer centralMoment(const Moments<double>& moments, int mOrd, int nOrd) {
  const double m00 = moments.of[0];
  if (!canDivideBy(m00)) return {};
  if (mOrd + nOrd == 0) return m00;
  if (mOrd + nOrd == 1) return 0.0;
  const double reciprocal = 1.0 / m00;
  return shifted(moments, mOrd, nOrd, -(moments.of[1] * reciprocal), -(moments.of[4] * reciprocal));
}

Answer normalized(Answer moment, const Moments<double>& moments, int order) {
  const double m00 = moments.of[0];
  if (!moment || !canDivideBy(m00)) return {};
  return *moment * std::pow(m00, -0.5 * (order + 2));
}
Answer normalizedSpatialMoment(const Moments<double>& moments, int mOrd, int nOrd, ZopImagePoint offset) {
  return normalized(spatialMoment(moments, mOrd, nOrd, offset), moments, mOrd + nOrd);
}
Answer normalizedCentralMoment(const Moments<double>& moments, int mOrd, int nOrd) {
  return normalized(centralMoment(moments, mOrd, nOrd), moments, mOrd + nOrd);
}

struct Invariants {
  double of[7];
};

std::optional<Invariants> huMoments(const Moments<double>& moments) {
  if (!canDivideBy(moments.of[0])) return {};
  const auto n = [&](int mOrd, int nOrd) { return *normalizedCentralMoment(moments, mOrd, nOrd); };
  const double n20 = n(2, 0), n11 = n(1, 1), n02 = n(0, 2);
  const double n30 = n(3, 0), n21 = n(2, 1), n12 = n(1, 2), n03 = n(0, 3);
  const double d = n20 - n02, p = n30 - 3.0 * n12, q = 3.0 * n21 - n03;
  const double s = n30 + n12, t = n21 + n03, s2 = s * s, t2 = t * t;
  return Invariants{{
      n20 + n02,
      d * d + 4.0 * n11 * n11,
      p * p + q * q,
      s2 + t2,
      p * s * (s2 - 3.0 * t2) + q * t * (3.0 * s2 - t2),
      d * (s2 - t2) + 4.0 * n11 * s * t,
      q * s * (s2 - 3.0 * t2) - p * t * (3.0 * s2 - t2),
  }};
}

// Hands an answer to the caller: as it is, or as a scaled integer.
void put(double value, Zop64f* to) { *to = value; }
void put(double value, Zop64s* to, int scaleFactor) {
  const RoundingToNearest mode;
  *to = toInteger(std::ldexp(value, -std::clamp(scaleFactor, -4096, 4096)));
}

template <class T, class... Scale>
ZopStatus give(Answer answer, T* value, Scale... scaleFactor) {
  if (!answer) return zopStatusBadMoment00;
  put(*answer, value, scaleFactor...);
  return zopStatusOk;
}
template <class T, class... Scale>
ZopStatus give(const std::optional<Invariants>& answer, T* values, Scale... scaleFactor) {
  if (!answer) return zopStatusBadMoment00;
  for (int i = 0; i < 7; ++i) put(answer->of[i], values + i, scaleFactor...);
  return zopStatusOk;
}

}  // namespace
}  // namespace zopi

#include "stats/moments.exports.inc"
