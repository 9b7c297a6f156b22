// Affine warps, for the families that are some: warps themselves, shears and rotations.
#pragma once

#include "core/rounding.h"
#include "geom/affine.h"
#include "geom/warp.h"

namespace zopi {

// The positions of a mapping from the destination to the source. Where a row starts is a sum over the rows
// before it.
class AffineRows {
 public:
  using Walk = StraightWalk;

  explicit AffineRows(const Affine& map) : map_(map) {}

  Walk walk() const { return {}; }
  void begin(double row) {
    x_ = map_.c[0][1] * row + map_.c[0][2];
    y_ = map_.c[1][1] * row + map_.c[1][2];
  }
  void start(Walk& walk, int lane, Scan::Columns columns) const {
    const double first = columns.first;
    walk.x.at[lane] = first * map_.c[0][0] + x_;
    walk.y.at[lane] = first * map_.c[1][0] + y_;
    walk.dx.at[lane] = map_.c[0][0];
    walk.dy.at[lane] = map_.c[1][0];
  }
  void nextRow() {
    x_ += map_.c[0][1];
    y_ += map_.c[1][1];
  }
  void fill(Walk& walk, Positions& positions) const { positionTable().straight(walk, positions); }

 private:
  Affine map_;
  double x_ = 0, y_ = 0;
};

// `forward` takes the source region to the destination.
template <class L, class T, int kPlanes>
ZopStatus warpAffine(const Warp<L, T, kPlanes>& w, const Affine& forward) {
  if (w.isBeyond()) return zopStatusOk;
  if (ZopStatus bad = checkTwoByTwo(w.part)) return bad;
  const RoundingToNearest nearest;
  const Quad quad = mapped(forward, w.source);
  const auto [back, winding] = affineFrom(quad, w.source);
  return warpQuad(w, quad, winding, w.smooth, AffineRows(back));
}

}  // namespace zopi
