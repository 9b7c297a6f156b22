#include "geom/position_rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "geom/position_rows.cpp"
#include "hwy/foreach_target.h"
// After foreach_target.h, and in this order.
#include "hwy/highway.h"

#include <algorithm>
#include <limits>

#include "core/row_shapes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace zopi {
namespace HWY_NAMESPACE {
namespace {

using D = Tag<double>;
using V = hn::Vec<D>;
constexpr int N = static_cast<int>(kLanes<D>);
static_assert(N <= kMostRows && kPositions / N % 4 == 0);

HWY_INLINE V load(const RowNumbers& numbers) { return hn::Load(D(), numbers.at); }
HWY_INLINE void store(V v, RowNumbers& numbers) { hn::Store(v, D(), numbers.at); }

HWY_INLINE V roundedToFloat(V v) {
  const hn::Rebind<float, D> single;
  return hn::PromoteTo(D(), hn::DemoteTo(single, v));
}

void straight(StraightWalk& walk, Positions& positions) {
  V x = load(walk.x), y = load(walk.y);
  const V dx = load(walk.dx), dy = load(walk.dy);
  for (int i = 0; i < positions.columns * N; i += N) {
    hn::Store(x, D(), positions.x + i);
    hn::Store(y, D(), positions.y + i);
    x = hn::Add(x, dx);
    y = hn::Add(y, dy);
  }
  store(x, walk.x);
  store(y, walk.y);
}

// One division serves four columns. Those behind the end of a row do not take part: their denominator is 1.
void perspective(PerspectiveWalk& walk, Positions& positions) {
  const D d;
  V w = load(walk.w), x = load(walk.x), y = load(walk.y), left = load(walk.left);
  const V dw = hn::Set(d, walk.dw), dx = hn::Set(d, walk.dx), dy = hn::Set(d, walk.dy), one = hn::Set(d, 1.0);
  for (int i = 0; i < positions.columns * N; i += 4 * N) {
    const auto counted = [&](int column, V v) HWY_ATTR {
      return hn::IfThenElse(hn::Gt(left, hn::Set(d, static_cast<double>(column))), v, one);
    };
    const V w1 = hn::Add(w, dw), w2 = hn::Add(w1, dw), w3 = hn::Add(w2, dw);
    const V a = counted(0, w), b = counted(1, w1), c = counted(2, w2), e = counted(3, w3);
    const V r = hn::Div(one, hn::Mul(hn::Mul(hn::Mul(a, b), c), e));
    const V reciprocals[] = {hn::Mul(hn::Mul(hn::Mul(b, c), e), r), hn::Mul(hn::Mul(hn::Mul(a, c), e), r),
                             hn::Mul(hn::Mul(hn::Mul(a, b), e), r), hn::Mul(hn::Mul(hn::Mul(a, b), c), r)};
    for (int k = 0; k < 4; ++k) {
      const V reciprocal = roundedToFloat(reciprocals[k]);
      hn::Store(roundedToFloat(hn::Mul(reciprocal, x)), d, positions.x + i + k * N);
      hn::Store(roundedToFloat(hn::Mul(reciprocal, y)), d, positions.y + i + k * N);
      x = hn::Add(x, dx);
      y = hn::Add(y, dy);
    }
    w = hn::Add(w, hn::Mul(hn::Set(d, 4.0), dw));
    left = hn::Sub(left, hn::Set(d, 4.0));
  }
  store(w, walk.w);
  store(x, walk.x);
  store(y, walk.y);
  store(left, walk.left);
}

template <Inverse kKind>
void bilinearInverseOf(BilinearInverseWalk& walk, Positions& positions) {
  const D d;
  const double* c = walk.map.c;
  V s = load(walk.s), a = load(walk.a), b = load(walk.b);
  const V ds = hn::Set(d, c[0]), da = hn::Set(d, c[5]), db = hn::Set(d, c[4]);
  const V c3 = hn::Set(d, c[3]), c10 = hn::Set(d, c[10]);
  const V sign = hn::Set(d, walk.map.adds ? 0.0 : -0.0);
  for (int i = 0; i < positions.columns * N; i += N) {
    V x = b, y = a;
    if constexpr (kKind == Inverse::Root) {
      // Turning the sign of the root is a subtraction of it.
      const V root = hn::Sqrt(hn::Sub(hn::Mul(s, s), b));
      const V u = hn::Add(s, hn::Xor(root, sign));
      x = hn::Add(u, c10);
      y = hn::Add(hn::Mul(c3, u), a);
    } else if constexpr (kKind == Inverse::QuotientX) {
      x = hn::Add(hn::Div(b, s), c10);
    } else if constexpr (kKind == Inverse::QuotientY) {
      y = hn::Add(hn::Div(a, s), c10);
    }
    hn::Store(roundedToFloat(x), d, positions.x + i);
    hn::Store(roundedToFloat(y), d, positions.y + i);
    s = hn::Add(s, ds);
    a = hn::Add(a, da);
    b = hn::Add(b, db);
  }
  store(s, walk.s);
  store(a, walk.a);
  store(b, walk.b);
}
void bilinearInverse(BilinearInverseWalk& walk, Positions& positions) {
  switch (walk.map.kind) {
    case Inverse::Root:
      return bilinearInverseOf<Inverse::Root>(walk, positions);
    case Inverse::QuotientX:
      return bilinearInverseOf<Inverse::QuotientX>(walk, positions);
    case Inverse::QuotientY:
      return bilinearInverseOf<Inverse::QuotientY>(walk, positions);
    case Inverse::Linear:
      return bilinearInverseOf<Inverse::Linear>(walk, positions);
  }
}

// Stores positions, with gaps where not all is well with them.
template <class M>
HWY_INLINE void storeWhere(M isGood, V x, V y, int i, Positions& positions) {
  const D d;
  if (HWY_UNLIKELY(!hn::AllTrue(d, isGood))) {
    x = hn::IfThenElse(isGood, x, hn::Set(d, std::numeric_limits<double>::quiet_NaN()));
    positions.hasGaps = true;
  }
  hn::Store(x, d, positions.x + i);
  hn::Store(y, d, positions.y + i);
}

void maps(const Maps& maps, Positions& positions) {
  const D d;
  const hn::Rebind<float, D> single;
  const hn::Rebind<int32_t, D> bits;
  const auto isIn = [&](auto v, float low, float high) HWY_ATTR {
    const auto lowest = hn::Set(single, low), highest = hn::Set(single, high);
    if (!maps.onBits) return hn::And(hn::Ge(v, lowest), hn::Le(v, highest));
    const auto b = hn::BitCast(bits, v);
    const auto outside = hn::Or(hn::Lt(b, hn::BitCast(bits, lowest)), hn::Gt(b, hn::BitCast(bits, highest)));
    return hn::RebindMask(single, hn::Not(outside));
  };
  positions.hasGaps = false;
  for (int i = 0; i < positions.columns; i += N) {
    const std::ptrdiff_t n = std::min(N, positions.columns - i);
    const auto x = loadPart(single, maps.x + i, n), y = loadPart(single, maps.y + i, n);
    const auto isGood = hn::And(isIn(x, maps.x0, maps.x1), isIn(y, maps.y0, maps.y1));
    // A mask of wide lanes, by way of a number in each lane.
    const auto good = hn::PromoteTo(d, hn::IfThenElseZero(isGood, hn::Set(single, 1.0f)));
    storeWhere(hn::Gt(good, hn::Zero(d)), hn::PromoteTo(d, x), hn::PromoteTo(d, y), i, positions);
  }
}

void onward(const Bilinear& map, Positions& positions) {
  const D d;
  for (int i = 0; i < positions.count(); i += N) {
    const V u = hn::Load(d, positions.x + i), v = hn::Load(d, positions.y + i);
    const auto row = [&](const double(&c)[4]) HWY_ATTR {
      const V product = hn::Mul(hn::Mul(hn::Set(d, c[0]), u), v);
      const V across = hn::Add(product, hn::Mul(hn::Set(d, c[1]), u));
      return hn::Add(hn::Add(across, hn::Mul(hn::Set(d, c[2]), v)), hn::Set(d, c[3]));
    };
    hn::Store(row(map.c[0]), d, positions.x + i);
    hn::Store(row(map.c[1]), d, positions.y + i);
  }
}

void within(const Box& box, Positions& positions) {
  const D d;
  positions.hasGaps = false;
  for (int i = 0; i < positions.count(); i += N) {
    const V x = hn::Load(d, positions.x + i), y = hn::Load(d, positions.y + i);
    const auto isIn = [&](V v, double low, double high) HWY_ATTR {
      return hn::And(hn::Ge(v, hn::Set(d, low)), hn::Le(v, hn::Set(d, high)));
    };
    storeWhere(hn::And(isIn(x, box.x0, box.x1), isIn(y, box.y0, box.y1)), x, y, i, positions);
  }
}

constexpr PositionTable kTable = {N, straight, perspective, bilinearInverse, maps, onward, within};

}  // namespace

const PositionTable* positionTableOfTarget() { return &kTable; }

}  // namespace HWY_NAMESPACE
}  // namespace zopi
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zopi {

HWY_EXPORT(positionTableOfTarget);

const PositionTable& positionTable() { return *HWY_DYNAMIC_DISPATCH(positionTableOfTarget)(); }

}  // namespace zopi
#endif
