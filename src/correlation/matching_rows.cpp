#include "correlation/matching_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "correlation/matching_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Sums in double precision, or in integers.
template <class Lane>
using SamplesIn = hn::Rebind<float, Tag<Lane>>;

template <class Lane, class F>
HWY_INLINE hn::Vec<Tag<Lane>> lanesOf(const float* samples) {
  const Tag<Lane> d;
  const SamplesIn<Lane> df;
  const auto v = hn::LoadU(df, samples);
  if constexpr (hwy::IsFloat<Lane>())
    return F()(d, hn::PromoteTo(d, v));
  else
    return hn::ConvertTo(d, F()(df, v));
}
template <class Lane, class V>
HWY_INLINE hn::Vec<SamplesIn<Lane>> rounded(V sums) {
  if constexpr (hwy::IsFloat<Lane>())
    return hn::DemoteTo(SamplesIn<Lane>(), sums);
  else
    return hn::ConvertTo(SamplesIn<Lane>(), sums);
}

struct Square {
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return hn::Mul(v, v);
  }
};
struct Sample {
  template <class D, class V>
  HWY_INLINE V operator()(D, V v) const {
    return v;
  }
};

// Three lines of lanes: sums of columns, which run down the image, sums of 1, 2, 4 ... of these side by side,
// and sums of windows that are put together from them. What stands behind a line is not used.
template <class Lane>
struct Lines {
  Lane *columns, *powers, *windows;
};
std::ptrdiff_t lineLength(const Windows& w) {
  constexpr std::ptrdiff_t kMost = kLanes<Tag<int32_t>>;
  return (w.places.width + w.window.width - 1 + 2 * kMost - 1) / kMost * kMost;
}
std::ptrdiff_t scratchBytes(const Windows& w) {
  return 3 * lineLength(w) * static_cast<std::ptrdiff_t>(sizeof(double));
}

// columns += f(entering) - f(leaving), into `columns` and `powers`. Either row may be missing.
template <class F, class Lane>
void runDown(const float* entering, const float* leaving, std::ptrdiff_t n, const Lines<Lane>& lines) {
  const Tag<Lane> d;
  for (std::ptrdiff_t x = 0; x < n; x += kLanes<Tag<Lane>>) {
    auto sum = hn::LoadU(d, lines.columns + x);
    if (leaving != nullptr) sum = hn::Sub(sum, lanesOf<Lane, F>(leaving + x));
    if (entering != nullptr) sum = hn::Add(sum, lanesOf<Lane, F>(entering + x));
    hn::StoreU(sum, d, lines.columns + x);
    hn::StoreU(sum, d, lines.powers + x);
  }
}

// A window is put together from powers of two: its binary digits say from which.
template <class Lane>
void runAcross(const Windows& w, const Lines<Lane>& lines, float* out) {
  const Tag<Lane> d;
  constexpr std::ptrdiff_t N = kLanes<Tag<Lane>>;
  const std::ptrdiff_t places = w.places.width;
  std::ptrdiff_t valid = places + w.window.width - 1, at = 0;
  for (std::ptrdiff_t power = 1; power <= w.window.width; power *= 2) {
    if ((w.window.width & power) != 0) {
      const bool last = w.window.width < 2 * power;
      for (std::ptrdiff_t x = 0; x < places; x += N) {
        auto sum = hn::LoadU(d, lines.powers + at + x);
        if (at > 0) sum = hn::Add(sum, hn::LoadU(d, lines.windows + x));
        if (last)
          storePart(SamplesIn<Lane>(), rounded<Lane>(sum), out + x, HWY_MIN(N, places - x));
        else
          hn::StoreU(sum, d, lines.windows + x);
      }
      at += power;
    }
    valid -= power;
    for (std::ptrdiff_t x = 0; x < valid && 2 * power <= w.window.width; x += N) {
      const auto sum = hn::Add(hn::LoadU(d, lines.powers + x), hn::LoadU(d, lines.powers + x + power));
      hn::StoreU(sum, d, lines.powers + x);
    }
  }
}

template <class F, class Lane>
void windowSums(const Windows& w, Image<const float> image, Image<float> out, void* scratch) {
  const std::ptrdiff_t length = lineLength(w);
  auto* memory = static_cast<Lane*>(scratch);
  const Lines<Lane> lines = {memory, memory + length, memory + 2 * length};
  std::fill(memory, memory + 3 * length, Lane{0});
  const std::ptrdiff_t columns = HWY_MIN(w.places.width + w.window.width - 1, w.samples.width);
  const auto row = [&](int y) { return y < w.samples.height ? image.row(y) : nullptr; };
  for (int y = 0; y < w.window.height - 1; ++y) runDown<F>(row(y), nullptr, columns, lines);
  for (int y = 0; y < w.places.height; ++y) {
    runDown<F>(row(y + w.window.height - 1), y == 0 ? nullptr : row(y - 1), columns, lines);
    runAcross(w, lines, out.row(y));
  }
}

// A quotient as it is stored. A denominator of 0 has no sign, so that of an infinite quotient is the
// numerator's.
template <class T, class D, class V>
HWY_INLINE auto stored(D d, V numerator, V denominator) {
  const auto quotient = hn::Div(numerator, denominator);
  if constexpr (hwy::IsFloat<T>())
    return quotient;
  else
    return wholeInLowBits(d, held<T>(d, quotient));
}

// Energies below the floor are replaced.
template <class D, class V>
HWY_INLINE V aboveFloor(D d, V energy, const TemplateLevels& levels) {
  return hn::IfThenElse(hn::Lt(energy, hn::Set(d, levels.floor)), hn::Set(d, levels.replacement), energy);
}

template <class T>
struct Correlate {
  using Lane = float;
  TemplateLevels levels;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V product, V squares) const {
    const auto root = hn::Sqrt(aboveFloor(d, squares, levels));
    return stored<T>(d, product, hn::Mul(root, hn::Set(d, levels.factor)));
  }
};

template <class T>
struct CorrelateLevels {
  using Lane = float;
  TemplateLevels levels;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V product, V squares, V sums) const {
    const auto level = hn::Mul(hn::Mul(sums, sums), hn::Set(d, levels.pixels));
    const auto energy = hn::Mul(hn::Sub(squares, level), hn::Set(d, levels.energy));
    return stored<T>(d, product, hn::Sqrt(aboveFloor(d, energy, levels)));
  }
};

template <class T>
struct Distance {
  using Lane = float;
  TemplateLevels levels;
  template <class D, class V>
  HWY_INLINE auto operator()(D d, V product, V squares) const {
    const auto twice = hn::Mul(product, hn::Set(d, -2.0f));
    const auto distance = hn::Add(hn::Add(twice, squares), hn::Set(d, levels.squares));
    const auto root = hn::Sqrt(hn::Max(squares, hn::Set(d, levels.floor)));
    return stored<T>(d, distance, hn::Mul(root, hn::Set(d, levels.factor)));
  }
};

template <class Op, class T>
void matches(const TemplateLevels& levels, Image<const float> products, Image<const float> squares,
             Image<const float>, Image<T> out, Extent e) {
  using Operand = ImageOperand<Tag<float>>;
  mapRows(Tag<float>(), Op{levels}, out, e, Operand{products}, Operand{squares});
}
template <class Op, class T>
void levelMatches(const TemplateLevels& levels, Image<const float> products, Image<const float> squares,
                  Image<const float> sums, Image<T> out, Extent e) {
  using Operand = ImageOperand<Tag<float>>;
  mapRows(Tag<float>(), Op{levels}, out, e, Operand{products}, Operand{squares}, Operand{sums});
}

template <class T>
constexpr MatchRows<T> rowsOf() {
  return {matches<Correlate<T>, T>, levelMatches<CorrelateLevels<T>, T>, matches<Distance<T>, T>};
}

constexpr MatchTable kTable = {
    {rowsOf<Zop8u>(), rowsOf<Zop32f>()},
    scratchBytes,
    {windowSums<Square, double>, windowSums<Sample, double>},
    {windowSums<Square, int32_t>, windowSums<Sample, int32_t>},
};

}  // namespace

const MatchTable* matchTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(matchTableOfTarget);

const MatchTable& matchTable() { return *HWY_DYNAMIC_DISPATCH(matchTableOfTarget)(); }

}  // namespace zopi
#endif
