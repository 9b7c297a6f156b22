#include "core/lookup_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/lookup_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/colours-inl.h"
#include "core/pixelwise-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

// Sixteen tables of sixteen bytes: the low half of a byte looks up one entry of each, and the high half
// chooses among them, bit by bit.
struct Lookup {
  using D = Tag<uint8_t>;
  using V = hn::Vec<D>;
  V parts[16];

  HWY_INLINE explicit Lookup(const Zop8u* table) {
    for (int k = 0; k < 16; ++k) parts[k] = hn::LoadDup128(D(), table + 16 * k);
  }

  HWY_INLINE V operator()(D d, V v) const {
    const V low = hn::And(v, hn::Set(d, 0x0f));
    return choose<8, 16>(d, v, low, 0);
  }

  // The entry of the `Count` parts from `first` on.
  template <int Half, int Count>
  HWY_INLINE V choose(D d, V v, V low, int first) const {
    if constexpr (Count == 1) {
      return hn::TableLookupBytes(parts[first], low);
    } else {
      const auto upper = hn::TestBit(v, hn::Set(d, Half * 16));
      return hn::IfThenElse(upper, choose<Half / 2, Count / 2>(d, v, low, first + Half),
                            choose<Half / 2, Count / 2>(d, v, low, first));
    }
  }
};

// A table for each colour.
template <int kColours>
struct ColourLookup {
  Lookup colours[kColours];

  HWY_INLINE explicit ColourLookup(const Zop8u* tables)
      : ColourLookup(tables, std::make_index_sequence<kColours>()) {}
  template <std::size_t... C>
  HWY_INLINE ColourLookup(const Zop8u* tables, std::index_sequence<C...>)
      : colours{Lookup(tables + 256 * C)...} {}

  template <class D, class V>
  HWY_INLINE void operator()(D d, V* v) const {
#pragma GCC unroll 4
    for (int c = 0; c < kColours; ++c) v[c] = colours[c](d, v[c]);
  }
};
template <class Layout>
constexpr auto bytesOfLayout = pixelRows<ColourLookup<Layout::colours>, Layout, Layout, Zop8u, const Zop8u*>;

// One by one: a gather is no faster where it exists. Rows may start at any byte.
HWY_INLINE Zop16u lookUpWord(const Zop16u* table, const Zop16u* at) {
  Zop16u word;
  std::memcpy(&word, at, sizeof word);
  return table[word];
}

void wordRows(Image<const Zop16u> a, Image<Zop16u> out, Extent e, const Zop16u* table) {
  for (int y = 0; y < e.rows; ++y) {
    const Zop16u* from = a.row(y);
    Zop16u* to = out.row(y);
    for (std::ptrdiff_t i = 0; i < e.length; ++i) {
      const Zop16u word = lookUpWord(table, from + i);
      std::memcpy(to + i, &word, sizeof word);
    }
  }
}

void wordRowsKeeping(const Pattern<Zop16u>& written, Image<const Zop16u> a, Image<Zop16u> out, Extent e,
                     const Zop16u* table) {
  for (int y = 0; y < e.rows; ++y) {
    const Zop16u* from = a.row(y);
    Zop16u* to = out.row(y);
    for (std::ptrdiff_t next = 0; next < e.length; next += kPatternSamples) {
      const std::ptrdiff_t n = std::min<std::ptrdiff_t>(kPatternSamples, e.length - next);
      for (std::ptrdiff_t i = 0; i < n; ++i) {
        Zop16u word;
        std::memcpy(&word, to + next + i, sizeof word);
        word ^= (word ^ lookUpWord(table, from + next + i)) & written.samples[i];
        std::memcpy(to + next + i, &word, sizeof word);
      }
    }
  }
}

constexpr LookupTable kTable = {unaryRows<Lookup, Zop8u, const Zop8u*>(),
                                {wordRows, wordRowsKeeping},
                                bytesOfLayout<C3>,
                                bytesOfLayout<C4>,
                                bytesOfLayout<AC4>};

}  // namespace

const LookupTable* lookupTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(lookupTableOfTarget);

const LookupTable& lookupTable() { return *HWY_DYNAMIC_DISPATCH(lookupTableOfTarget)(); }

}  // namespace zopi
#endif
