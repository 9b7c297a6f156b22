#include "core/lookup_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/lookup_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

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

// One by one: a gather is no faster where it exists. Rows may start at any byte.
template <class Keep>
HWY_INLINE void lookUpWords(const Zop16u* table, Image<const Zop16u> a, Image<Zop16u> out, Extent e,
                            const Keep& keeps) {
  for (int y = 0; y < e.rows; ++y) {
    const Zop16u* from = a.row(y);
    Zop16u* to = out.row(y);
    for (std::ptrdiff_t i = 0; i < e.length; ++i) {
      Zop16u word;
      if (keeps(i)) continue;
      std::memcpy(&word, from + i, sizeof word);
      std::memcpy(to + i, &table[word], sizeof word);
    }
  }
}

void wordRows(Image<const Zop16u> a, Image<Zop16u> out, Extent e, const Zop16u* table) {
  lookUpWords(table, a, out, e, [](std::ptrdiff_t) HWY_ATTR { return false; });
}

void wordRowsKeeping(const Pattern<Zop16u>& written, Image<const Zop16u> a, Image<Zop16u> out, Extent e,
                     const Zop16u* table) {
  lookUpWords(table, a, out, e,
              [&](std::ptrdiff_t i) HWY_ATTR { return written.samples[i % kPatternSamples] == 0; });
}

constexpr LookupTable kTable = {unaryRows<Lookup, Zop8u, const Zop8u*>(), {wordRows, wordRowsKeeping}};

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
