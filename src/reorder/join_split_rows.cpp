#include "reorder/join_split_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "reorder/join_split_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include "core/pixel_moves-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

struct Join {
  template <class D>
  HWY_INLINE void operator()(D d, const Zop8u* const* in, Zop8u* const* out) const {
    hn::Vec<D> first, second;
    hn::LoadInterleaved2(d, in[0], first, second);
    hn::StoreInterleaved4(first, hn::LoadU(d, in[1]), second, hn::LoadU(d, in[2]), d, out[0]);
  }
};

struct Split {
  template <class D>
  HWY_INLINE void operator()(D d, const Zop8u* const* in, Zop8u* const* out) const {
    hn::Vec<D> first, u, second, v;
    hn::LoadInterleaved4(d, in[0], first, u, second, v);
    hn::StoreInterleaved2(first, second, d, out[0]);
    hn::StoreU(u, d, out[1]);
    hn::StoreU(v, d, out[2]);
  }
};

void rowJoin(const Image<const Zop8u>* planes, Image<Zop8u> dst, Extent pairs) {
  mapPixels(Join(), Pixels<const Zop8u, 3>{planes, {2, 1, 1}}, Pixels<Zop8u, 1>{&dst, {4}}, pairs);
}

void rowSplit(Image<const Zop8u> src, const Image<Zop8u>* planes, Extent pairs) {
  mapPixels(Split(), Pixels<const Zop8u, 1>{&src, {4}}, Pixels<Zop8u, 3>{planes, {2, 1, 1}}, pairs);
}

constexpr JoinSplitTable kTable = {rowJoin, rowSplit};

}  // namespace

const JoinSplitTable* joinSplitTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(joinSplitTableOfTarget);

const JoinSplitTable& joinSplitTable() { return *HWY_DYNAMIC_DISPATCH(joinSplitTableOfTarget)(); }

}  // namespace zopi
#endif
