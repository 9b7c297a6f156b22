// Vector code of the filters with built-in masks, on floats.
//
// What one pass makes is rounded to single precision before the other sums it in double precision, so the
// order of the passes shows in the result.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "filter/fixed_filters_float_rows.cpp"
#include "hwy/foreach_target.h"
//
#include "hwy/highway.h"
//
#include "core/lanes-inl.h"
#include "filter/fixed_filters_rows.h"
#include "filter/masks.h"
#include "filter/stencil-inl.h"
#include "filter/weighted_sums-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

template <int kDivisor>
constexpr double kFactor = 1.0 / kDivisor;
// The float below the one that is nearest to 1/9.
template <>
constexpr double kFactor<9> = 0x1.c71c6ep-4f;
template <>
constexpr double kFactor<25> = 0.04f;

// The weights of a column of rows, and those of a row of columns and of the middle sample behind them.
template <const Mask& kMask>
struct DownWeights {
  static constexpr int count = kMask.taps();
  static constexpr double at(int j) { return kMask.down[j][0]; }
};
template <const Mask& kMask>
struct AcrossWeights {
  static constexpr int count = 1 + kMask.taps();
  static constexpr double at(int i) {
    return i == kMask.taps() ? kMask.down[kMask.radius][1] : kMask.across[0][i];
  }
};

// A sum of two terms, which is rounded once, needs no doubles.
template <class W>
constexpr bool isDifference() {
  int ones = 0, others = 0;
  for (int i = 0; i < W::count; ++i) {
    const double w = W::at(i);
    ones += w == 1 || w == -1;
    others += w != 0 && w != 1 && w != -1;
  }
  return ones == 2 && others == 0;
}

using Floats = SamplesOf<float, Tag<double>>;

// Floats as doubles, and doubles as those that a float holds.
template <class D>
HWY_INLINE hn::Vec<D> doubles(D, hn::Vec<D> v) {
  return v;
}
template <class D>
HWY_INLINE hn::Vec<D> doubles(D d, hn::Vec<Floats> v) {
  return hn::PromoteTo(d, v);
}
template <class D>
HWY_INLINE hn::Vec<D> rounded(D d, hn::Vec<D> v) {
  return hn::PromoteTo(d, hn::DemoteTo(Floats(), v));
}

template <class W, class D, class... V>
HWY_INLINE hn::Vec<D> weighted(D d, V... terms) {
  const hn::Vec<D> all[] = {doubles(d, terms)...};
  return RealSum<W>::of(d, all);
}

// Columns first.
template <const Mask& kMask>
struct ColumnFilter {
  static constexpr int kRadius = kMask.radius;

  struct Down {
    static constexpr bool kShort = true, kApart = true;
    template <class D, class... V>
    HWY_INLINE hn::Vec<D> operator()(D d, V... rows) const {
      using W = DownWeights<kMask>;
      if constexpr (isDifference<W>()) {
        const hn::Vec<Floats> all[] = {rows...};
        return hn::PromoteTo(d, RealSum<W>::of(Floats(), all));
      } else {
        return rounded(d, weighted<W>(d, rows...));
      }
    }
  };
  struct Across {
    static constexpr bool kShort = true;
    template <class D, class... V>
    HWY_INLINE hn::Vec<Floats> operator()(D d, V... sumsAndMiddle) const {
      auto sum = weighted<AcrossWeights<kMask>>(d, sumsAndMiddle...);
      if constexpr (kMask.divisor != 1) sum = hn::Mul(sum, hn::Set(d, kFactor<kMask.divisor>));
      return hn::DemoteTo(Floats(), sum);
    }
  };
};

// The same for sums of whole columns, which are held from row to row.
template <const Mask& kMask>
struct RunningFilter : ColumnFilter<kMask> {
  // Rounded after each row, as the updates are.
  struct Down {
    static constexpr bool kApart = true;
    template <class D, class V, class... Rest>
    HWY_INLINE hn::Vec<D> operator()(D d, V first, Rest... rows) const {
      ((first = hn::Add(first, rows)), ...);
      return hn::PromoteTo(d, first);
    }
  };
  struct Update {
    static constexpr bool kShort = true;
    template <class D, class V>
    HWY_INLINE hn::Vec<D> operator()(D d, hn::Vec<D> sums, V entering, V leaving) const {
      return rounded(d, hn::Sub(hn::Add(sums, doubles(d, entering)), doubles(d, leaving)));
    }
  };
};

// Rows first, three kinds of them. The weights are stored as quotients.
template <const Mask& kMask>
struct RowFilter {
  static constexpr int kRadius = kMask.radius;
  using V = hn::Vec<Tag<float>>;
  using Row = std::array<V, 3>;

  template <int kKind>
  struct Weights {
    static constexpr int count = 5;
    static constexpr double at(int i) { return static_cast<float>(kMask.across[kKind][i]) / kMask.divisor; }
  };
  struct Ones {
    static constexpr int count = 5;
    static constexpr double at(int) { return 1; }
  };

  // A sum of floats in double precision, rounded to a float.
  template <class W, class... Terms>
  static HWY_INLINE V sumOf(Terms... terms) {
    return inDoubles(
        Tag<float>(), [](auto d, auto... t) HWY_ATTR { return weighted<W>(d, t...); }, terms...);
  }

  template <class Source>
  HWY_INLINE Row across(const Source& source) const {
    const V a = source.at(-2), b = source.at(-1), c = source.at(0), e = source.at(1), f = source.at(2);
    return {sumOf<Weights<0>>(a, b, c, e, f), sumOf<Weights<1>>(a, b, c, e, f),
            sumOf<Weights<2>>(a, b, c, e, f)};
  }
  HWY_INLINE V down(const std::array<Row, 5>& rows) const {
    return sumOf<Ones>(rows[0][0], rows[1][1], rows[2][2], rows[3][1], rows[4][0]);
  }
};

using T = Zop32f;

template <template <const Mask&> class Filter, const Mask& kMask>
constexpr StencilRows<T, T> columnsFirst() {
  return {downThenAcross<Filter<kMask>, false>, downThenAcross<Filter<kMask>, true>};
}
template <const Mask& kMask>
constexpr StencilRows<T, T> columnsFirst() {
  return columnsFirst<ColumnFilter, kMask>();
}
template <const Mask& kMask>
constexpr StencilRows<T, T> columnsRunning() {
  return columnsFirst<RunningFilter, kMask>();
}
template <const Mask& kMask>
constexpr StencilRows<T, T> rowsFirst() {
  return {acrossThenDown<RowFilter<kMask>, false, T, T>, acrossThenDown<RowFilter<kMask>, true, T, T>};
}

constexpr FixedRows<T, T> makeTable() {
  using namespace masks;
  FixedRows<T, T> table = {};
  auto& rows = table.rows;
  rows[kFilterPrewittVert][0] = columnsFirst<kPrewittVert>();
  rows[kFilterPrewittHoriz][0] = columnsFirst<kPrewittHoriz>();
  rows[kFilterSobelVert][0] = columnsFirst<kSobelVert3>();
  rows[kFilterSobelVert][1] = columnsFirst<kSobelVert5>();
  rows[kFilterSobelHoriz][0] = columnsFirst<kSobelHoriz3>();
  rows[kFilterSobelHoriz][1] = columnsFirst<kSobelHoriz5>();
  rows[kFilterSobelVertSecond][0] = columnsFirst<kSobelVertSecond3>();
  rows[kFilterSobelVertSecond][1] = columnsFirst<kSobelVertSecond5>();
  rows[kFilterSobelHorizSecond][0] = columnsFirst<kSobelHorizSecond3>();
  rows[kFilterSobelHorizSecond][1] = columnsFirst<kSobelHorizSecond5>();
  rows[kFilterSobelCross][0] = columnsFirst<kSobelCross3>();
  rows[kFilterSobelCross][1] = columnsFirst<kSobelCross5>();
  rows[kFilterScharrVert][0] = columnsFirst<kScharrVert>();
  rows[kFilterScharrHoriz][0] = columnsFirst<kScharrHoriz>();
  rows[kFilterLaplace][0] = columnsFirst<kLaplace3>();
  rows[kFilterLaplace][1] = rowsFirst<kLaplace5>();
  rows[kFilterGauss][0] = columnsFirst<kGauss3>();
  rows[kFilterGauss][1] = rowsFirst<kGauss5>();
  rows[kFilterHipass][0] = columnsFirst<kLaplace3>();
  rows[kFilterHipass][1] = columnsRunning<kHipass5>();
  rows[kFilterLowpass][0] = columnsFirst<kLowpass3>();
  rows[kFilterLowpass][1] = columnsRunning<kLowpass5>();
  rows[kFilterSharpen][0] = columnsFirst<kSharpen>();
  return table;
}

constexpr FixedRows<T, T> kTable = makeTable();

}  // namespace

const FixedRows<T, T>* fixedFloatTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(fixedFloatTableOfTarget);

const FixedRows<Zop32f, Zop32f>& fixedFloatTable() {
  return *HWY_DYNAMIC_DISPATCH(fixedFloatTableOfTarget)();
}

}  // namespace zopi
#endif
