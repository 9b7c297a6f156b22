#include "color/dither_rows.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/dither_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using Doubles = Tag<double>;
using V = hn::Vec<Doubles>;
using Integers = hn::Rebind<int32_t, Doubles>;
constexpr int N = static_cast<int>(kLanes<Doubles>);
template <class T>
using Samples = hn::Rebind<T, Doubles>;

HWY_INLINE V all(double v) { return hn::Set(Doubles(), v); }

// The floor of a number that is not negative, but for fractions from 0.99999 on, which go up.
HWY_INLINE V floorNear(V v) { return hn::Round(hn::Add(v, all(-0x1.fffd60e94ee39p-2))); }

template <class S>
constexpr double kOrigin = std::is_same_v<S, Zop16s> ? 32768 : 0;  // is added to samples to have their values
template <class S>
constexpr double kTop = std::is_same_v<S, Zop8u> ? 255
                        : sizeof(S) == 2         ? 65535
                                                 : 1;  // the highest value

// Which level a value is at least, and what that level is.
struct Level {
  V number, value;

  HWY_INLINE Level(const DitherLevels& levels, V v)
      : number(floorNear(hn::Mul(v, all(levels.inverse)))), value(hn::Mul(number, all(levels.step))) {}

  // The next level where the value is further away than the threshold.
  HWY_INLINE void raise(const DitherLevels& levels, V v, V threshold) {
    const auto above = hn::Gt(hn::Sub(v, value), threshold);
    value = hn::IfThenElse(above, hn::Add(value, all(levels.step)), value);
    number = hn::IfThenElse(above, hn::Add(number, all(1)), number);
  }
};

// Samples, in the low bits of integers. Those of 16-bit images are held to their range, others are not.
template <class S, class T>
HWY_INLINE hn::Vec<Integers> samplesOf(const DitherLevels& levels, const Level& level) {
  const Integers d;
  if constexpr (std::is_same_v<S, Zop8u>) {
    const auto product = hn::Mul(hn::DemoteTo(d, level.number), hn::Set(d, levels.byteFactor));
    return hn::ShiftRight<8>(product);
  } else if constexpr (hwy::IsFloat<S>()) {
    const auto whole = floorNear(hn::Mul(level.value, all(sizeof(T) == 1 ? 255 : 65535)));
    const auto sample = hn::DemoteTo(d, whole);
    return std::is_signed_v<T> ? hn::Sub(sample, hn::Set(d, 32768)) : sample;
  } else {
    const auto whole = hn::Min(hn::Max(floorNear(level.value), all(0)), all(65535));
    const auto sample = hn::DemoteTo(d, whole);
    if constexpr (sizeof(T) == 1) return hn::ShiftRight<8>(sample);
    return std::is_signed_v<T> ? hn::Sub(sample, hn::Set(d, 32768)) : sample;
  }
}

// The low bits of integers.
template <class T>
HWY_INLINE hn::Vec<Samples<T>> lowBits(hn::Vec<Integers> v) {
  const hn::RebindToUnsigned<Integers> du;
  return hn::BitCast(Samples<T>(), hn::TruncateTo(hn::RebindToUnsigned<Samples<T>>(), hn::BitCast(du, v)));
}

template <class S, class T>
void ordered(const DitherLevels& levels, const S* src, const double* thresholds, std::ptrdiff_t n, T* out) {
  for (std::ptrdiff_t i = 0; i < n; i += N) {
    const std::ptrdiff_t part = std::min<std::ptrdiff_t>(N, n - i);
    const V v = hn::Add(toReal(Doubles(), loadPart(Samples<S>(), src + i, part)), all(kOrigin<S>));
    Level level(levels, v);
    level.raise(levels, v, hn::LoadU(Doubles(), thresholds + i));
    storePart(Samples<T>(), lowBits<T>(samplesOf<S, T>(levels, level)), out + i, part);
  }
}

// Weights of errors at the columns x - 2 ... x + 2 of the row two above, of the row above, and of the samples
// before.
template <Diffusion>
struct Weights;
template <>
struct Weights<Diffusion::FloydSteinberg> {
  static constexpr float kFactor = 0.0625f;
  static constexpr int kTwoAbove[5] = {}, kAbove[5] = {0, 1, 5, 3, 0}, kBefore[2] = {0, 7};
};
template <>
struct Weights<Diffusion::JarvisJudiceNinke> {
  static constexpr float kFactor = 1.0f / 48;
  static constexpr int kTwoAbove[5] = {1, 3, 5, 3, 1}, kAbove[5] = {3, 5, 7, 5, 3}, kBefore[2] = {5, 7};
};
template <>
struct Weights<Diffusion::Stucki> {
  static constexpr float kFactor = 1.0f / 42;
  static constexpr int kTwoAbove[5] = {1, 2, 4, 2, 1}, kAbove[5] = {2, 4, 8, 4, 2}, kBefore[2] = {4, 8};
};

// Adds weighted errors, the leftmost first. `errors(i)` gives those for weight i.
template <const auto& kWeights, class Errors, int... I>
HWY_INLINE V withErrors(V sum, const Errors& errors, std::integer_sequence<int, I...>) {
  const auto add = [&](auto i) HWY_ATTR {
    if constexpr (kWeights[i] != 0) sum = hn::Add(sum, hn::Mul(errors(i), all(kWeights[i])));
  };
  (add(std::integral_constant<int, I>()), ...);
  return sum;
}

// The rows of an image go side by side, each in a lane and kLag samples behind the row above, whose errors
// two samples ahead it needs. What a step leaves is a record: the errors of all lanes, with those of the two
// rows above the first lane before them. As every lane reads the record of the same step, errors of the rows
// above are those of a record, one or two places further down.
template <Diffusion kKind, class S, class T>
class Diffuser {
 public:
  Diffuser(const DitherLevels& levels, const DitherNoise* noise, Image<const S> src, Image<T> dst,
           ZopImageSize size, int channels, DitherErrors errors)
      : levels_(levels),
        noise_(noise),
        src_(src),
        dst_(dst),
        size_(size),
        channels_(channels),
        errors_(errors) {}

  void run() {
    for (int y = 0; y < size_.height; y += N) band(y, std::min(N, size_.height - y));
  }

 private:
  using W = Weights<kKind>;
  static constexpr int kLag = 4, kReach = 2, kRecords = 16;

  double* record(int step) { return records_[(step + kRecords) % kRecords]; }
  float errorAt(const float* row, int x) const { return x >= 0 && x < size_.width ? row[x] : 0.0f; }
  void startRecord(int step) {
    record(step)[0] = errorAt(errors_.twoAbove, step + 2 * kLag);
    record(step)[1] = errorAt(errors_.above, step + kLag);
  }

  HWY_NOINLINE void band(int y, int rows) {
    const Doubles d;
    for (int step = -2 * kLag - kReach; step < 0; ++step) {
      startRecord(step);
      hn::StoreU(all(0), d, record(step) + 2);
    }
    const V lanes = hn::Iota(d, 0), width = all(size_.width), top = all(kTop<S>);
    V before = all(0), twoBefore = all(0), threshold = all(0.5 * levels_.step);
    HWY_ALIGN double values[N] = {};
    HWY_ALIGN double thresholds[N] = {};
    HWY_ALIGN std::int32_t samples[N];
    for (int step = 0; step < size_.width + kLag * (rows - 1); ++step) {
      const int first = step < size_.width ? 0 : (step - size_.width) / kLag + 1;
      const int end = std::min(rows, step / kLag + 1);
      for (int k = first; k < end; ++k) {
        const int x = step - kLag * k;
        S sample;
        std::memcpy(&sample, src_.row(y + k) + static_cast<std::ptrdiff_t>(x) * channels_, sizeof sample);
        values[k] = sample + kOrigin<S>;
        if (noise_ != nullptr) thresholds[k] = noise_->at(x, y + k);
      }
      if (noise_ != nullptr) threshold = hn::Load(d, thresholds);

      const auto twoAbove = [&](int i)
                                HWY_ATTR { return hn::LoadU(d, record(step - 2 * kLag - kReach + i)); };
      const auto above = [&](int i) HWY_ATTR { return hn::LoadU(d, record(step - kLag - kReach + i) + 1); };
      const auto own = [&](int i) HWY_ATTR { return i == 0 ? twoBefore : before; };
      const std::make_integer_sequence<int, 5> five;
      V sum = withErrors<W::kTwoAbove>(all(0), twoAbove, five);
      sum = withErrors<W::kAbove>(sum, above, five);
      sum = withErrors<W::kBefore>(sum, own, std::make_integer_sequence<int, 2>());

      const V s = hn::Add(hn::Load(d, values), hn::Mul(sum, all(W::kFactor)));
      Level level(levels_, s);
      level.raise(levels_, s, threshold);
      const auto isTop = hn::Ge(s, top), isBelow = hn::Lt(s, all(0));
      const V column = hn::Sub(all(step), hn::Mul(lanes, all(kLag)));
      const auto isOutside = hn::Or(hn::Lt(column, all(0)), hn::Ge(column, width));
      const V left = hn::IfThenZeroElse(hn::Or(isOutside, hn::Or(isTop, isBelow)), hn::Sub(s, level.value));
      twoBefore = before;
      before = hn::PromoteTo(d, hn::DemoteTo(hn::Rebind<float, Doubles>(), left));
      startRecord(step);
      hn::StoreU(before, d, record(step) + 2);

      hn::Store(samplesOf<S, T>(levels_, level), Integers(), samples);
      std::uint8_t tops[8] = {}, belows[8] = {};
      hn::StoreMaskBits(d, isTop, tops);
      hn::StoreMaskBits(d, isBelow, belows);
      for (int k = first; k < end; ++k) {
        const T sample = tops[0] >> k & 1     ? std::numeric_limits<T>::max()
                         : belows[0] >> k & 1 ? std::numeric_limits<T>::min()
                                              : static_cast<T>(samples[k]);
        T* const out = dst_.row(y + k) + static_cast<std::ptrdiff_t>(step - kLag * k) * channels_;
        std::memcpy(out, &sample, sizeof sample);
      }
      // The last two lanes are above the next band. Its steps read further ahead than these write.
      keep(errors_.above, step - kLag * (N - 1), record(step)[N + 1]);
      keep(errors_.twoAbove, step - kLag * (N - 2), record(step)[N]);
    }
  }
  void keep(float* row, int x, double error) const {
    if (x >= 0 && x < size_.width) row[x] = static_cast<float>(error);
  }

  DitherLevels levels_;
  const DitherNoise* noise_;
  Image<const S> src_;
  Image<T> dst_;
  ZopImageSize size_;
  int channels_;
  DitherErrors errors_;
  double records_[kRecords][N + 2];
};

template <Diffusion kKind, class S, class T>
void diffuse(const DitherLevels& levels, const DitherNoise* noise, Image<const S> src, Image<T> dst,
             ZopImageSize size, int channels, DitherErrors errors) {
  Diffuser<kKind, S, T>(levels, noise, src, dst, size, channels, errors).run();
}

template <class T>
void numbersToWords(const Zop32f* src, std::ptrdiff_t n, T* out) {
  for (std::ptrdiff_t i = 0; i < n; i += N) {
    const std::ptrdiff_t part = std::min<std::ptrdiff_t>(N, n - i);
    const V v = hn::PromoteTo(Doubles(), loadPart(Samples<Zop32f>(), src + i, part));
    const V whole = hn::Min(hn::Max(floorNear(hn::Mul(v, all(65535))), all(0)), all(65535));
    const auto sample = hn::DemoteTo(Integers(), whole);
    const auto moved = std::is_signed_v<T> ? hn::Sub(sample, hn::Set(Integers(), 32768)) : sample;
    storePart(Samples<T>(), lowBits<T>(moved), out + i, part);
  }
}

template <class Change>
constexpr DitherRows<Change> rowsOf() {
  using S = typename Change::From;
  using T = typename Change::To;
  return {ordered<S, T>,
          {diffuse<Diffusion::FloydSteinberg, S, T>, diffuse<Diffusion::JarvisJudiceNinke, S, T>,
           diffuse<Diffusion::Stucki, S, T>}};
}

constexpr DitherTable kTable = {
    {rowsOf<Depths<Zop8u, Zop8u>>(), rowsOf<Depths<Zop16u, Zop16u>>(), rowsOf<Depths<Zop16s, Zop16s>>(),
     rowsOf<Depths<Zop16s, Zop8u>>(), rowsOf<Depths<Zop16u, Zop8u>>(), rowsOf<Depths<Zop32f, Zop16s>>(),
     rowsOf<Depths<Zop32f, Zop16u>>(), rowsOf<Depths<Zop32f, Zop8u>>()},
    numbersToWords<Zop16u>,
    numbersToWords<Zop16s>};

}  // namespace

const DitherTable* ditherTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(ditherTableOfTarget);

const DitherTable& ditherTable() { return *HWY_DYNAMIC_DISPATCH(ditherTableOfTarget)(); }

}  // namespace zopi
#endif
