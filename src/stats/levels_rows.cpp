#include "stats/levels_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stats/levels_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// A level as samples are compared with it: what they are above, if integers, or what they are not below.
HWY_INLINE bool comparable(Zop16s, Zop32s level) { return level > -32768 && level <= 32767; }
HWY_INLINE bool comparable(Zop32f, Zop32f) { return true; }
HWY_INLINE hn::Vec<Tag<Zop16s>> bound(Tag<Zop16s> d, Zop32s level) {
  return hn::Set(d, static_cast<Zop16s>(level - 1));
}
HWY_INLINE hn::Vec<Tag<Zop32f>> bound(Tag<Zop32f> d, Zop32f level) { return hn::Set(d, level); }

// 1 for samples that have reached a level, as lanes of -1.
template <class D>
using CountTag = hn::RebindToSigned<D>;
template <class V>
HWY_INLINE hn::Vec<Tag<int16_t>> minusReached(Tag<Zop16s> d, V v, V level) {
  return hn::VecFromMask(d, hn::Gt(v, level));
}
template <class V>
HWY_INLINE hn::Vec<Tag<int32_t>> minusReached(Tag<Zop32f> d, V v, V level) {
  return hn::BitCast(Tag<int32_t>(), hn::VecFromMask(d, hn::Ge(v, level)));
}

// The sum of the lanes, which are far below 2^15.
HWY_INLINE int sumOf(Tag<int16_t> d, hn::Vec<Tag<int16_t>> v) {
  const Tag<int32_t> wide;
  auto odd = hn::Zero(wide);
  const auto even = hn::ReorderWidenMulAccumulate(wide, v, hn::Set(d, 1), hn::Zero(wide), odd);
  return hn::GetLane(hn::SumOfLanes(wide, hn::Add(even, odd)));
}
HWY_INLINE int sumOf(Tag<int32_t> d, hn::Vec<Tag<int32_t>> v) { return hn::GetLane(hn::SumOfLanes(d, v)); }

// Four levels in one passage, or one.
template <int kCount, class T>
HWY_INLINE void countTogether(const T* samples, std::ptrdiff_t count, const Level<T>* levels, int* counts) {
  const Tag<T> d;
  const CountTag<Tag<T>> dc;
  constexpr std::ptrdiff_t N = kLanes<Tag<T>>;
  hn::Vec<Tag<T>> bounds[kCount];
  hn::Vec<decltype(dc)> sums[kCount];
#pragma GCC unroll 4
  for (int k = 0; k < kCount; ++k) {
    bounds[k] = bound(d, levels[k]);
    sums[k] = hn::Zero(dc);
  }
  std::ptrdiff_t i = 0;
  for (; i + N <= count; i += N) {
    const auto v = hn::LoadU(d, samples + i);
#pragma GCC unroll 4
    for (int k = 0; k < kCount; ++k) sums[k] = hn::Sub(sums[k], minusReached(d, v, bounds[k]));
  }
  if (i < count) {
    const auto v = hn::LoadU(d, samples + i);
    const auto inside = hn::VecFromMask(dc, hn::FirstN(dc, static_cast<std::size_t>(count - i)));
#pragma GCC unroll 4
    for (int k = 0; k < kCount; ++k)
      sums[k] = hn::Sub(sums[k], hn::And(inside, minusReached(d, v, bounds[k])));
  }
#pragma GCC unroll 4
  for (int k = 0; k < kCount; ++k) counts[k] = sumOf(dc, sums[k]);
}

template <class T>
int countReached(const T* samples, std::ptrdiff_t count, Levels<Level<T>> levels, Zop32s* counts) {
  int reached[4] = {};
  for (int k = 0; k < levels.count;) {
    const int last = levels.count - 1;
    bool together = k + 4 <= levels.count;
    for (int j = 0; together && j < 4; ++j) together = comparable(T(), levels.at[k + j]);
    if (together)
      countTogether<4>(samples, count, levels.at + k, reached);
    else if (comparable(T(), levels.at[k]))
      countTogether<1>(samples, count, levels.at + k, reached);
    else
      reached[0] = levels.at[k] < Level<T>{0} ? static_cast<int>(count) : 0;
    for (int j = 0; j < (together ? 4 : 1); ++j, ++k) {
      if (k == last) return reached[j];
      counts[k] += reached[j];
    }
  }
  return 0;
}

// The same for any words, whose levels have no number below them to be compared with.
template <class V>
HWY_INLINE hn::Vec<Tag<int32_t>> minusReached(Tag<int32_t> d, V v, V level) {
  return hn::Not(hn::VecFromMask(d, hn::Gt(level, v)));
}

// With fewer levels, to compare all of them is faster than a search in all lanes at once, which gathers them.
template <class T>
constexpr int kMany = 12 * static_cast<int>(kLanes<Tag<Level<T>>>);

template <class T>
void reachedLevels(const T* samples, std::ptrdiff_t count, Levels<Level<T>> levels, Zop32s* reached) {
  using L = Level<T>;
  const Tag<L> d;
  const Tag<int32_t> di;
  for (std::ptrdiff_t i = 0; i < count; i += kLanes<Tag<L>>) {
    const auto v = [&]() HWY_ATTR {
      if constexpr (std::is_same_v<T, L>)
        return hn::LoadU(d, samples + i);
      else
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<T, Tag<L>>(), samples + i));
    }();
    auto sum = hn::Zero(di);
    if (levels.count < kMany<T>) {
      for (int k = 0; k < levels.count; ++k) sum = hn::Sub(sum, minusReached(d, v, hn::Set(d, levels.at[k])));
    } else {
      for (int rest = levels.count; rest > 0;) {
        const int half = (rest + 1) / 2;
        const auto level = hn::GatherIndex(d, levels.at + (half - 1), sum);
        sum = hn::Add(sum, hn::And(minusReached(d, v, level), hn::Set(di, half)));
        rest -= half;
      }
    }
    hn::StoreU(sum, di, reached + i);
  }
}

template <class T>
constexpr LevelRows<T> kRows = {countReached<T>, reachedLevels<T>, kMany<T>};

constexpr LevelTable kTable = {kRows<Zop16s>, kRows<Zop32f>};

}  // namespace

const LevelTable* levelTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(levelTableOfTarget);

const LevelTable& levelTable() { return *HWY_DYNAMIC_DISPATCH(levelTableOfTarget)(); }

}  // namespace zopi
#endif
