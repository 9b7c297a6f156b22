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

void reachedLevels(const Zop32f* samples, std::ptrdiff_t count, Levels<Zop32f> levels, Zop32s* reached) {
  const Tag<Zop32f> d;
  const Tag<int32_t> dc;
  for (std::ptrdiff_t i = 0; i < count; i += kLanes<Tag<Zop32f>>) {
    const auto v = hn::LoadU(d, samples + i);
    auto sum = hn::Zero(dc);
    for (int k = 0; k < levels.count; ++k) sum = hn::Sub(sum, minusReached(d, v, bound(d, levels.at[k])));
    hn::StoreU(sum, dc, reached + i);
  }
}

// A search takes about as long as the comparisons of eight vectors of levels.
template <class T>
constexpr int kFew = 8 * static_cast<int>(kLanes<Tag<T>>);

constexpr LevelTable kTable = {{countReached<Zop16s>, nullptr, kFew<Zop16s>},
                               {countReached<Zop32f>, reachedLevels, kFew<Zop32f>}};

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
