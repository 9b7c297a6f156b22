// Perspective warps.
#include "core/rounding.h"
#include "geom/perspective.h"
#include "geom/warp.h"

namespace zopi {
namespace {

float single(double v) { return static_cast<float>(v); }

// The positions of a mapping from the destination to the source. Rows start, and advance, by numbers in
// single precision.
class PerspectiveRows {
 public:
  using Walk = PerspectiveWalk;

  explicit PerspectiveRows(const Perspective& map) : map_(map) {}

  Walk walk() const {
    return {{}, {}, {}, {}, single(map_.c[2][0]), single(map_.c[0][0]), single(map_.c[1][0])};
  }
  void begin(double row) {
    for (int i = 0; i < 3; ++i) base_[i] = map_.c[i][1] * row + map_.c[i][2];
  }
  void start(Walk& walk, int lane, Scan::Columns columns) const {
    const double first = columns.first;
    walk.w.at[lane] = single(map_.c[2][0] * first + base_[2]);
    walk.x.at[lane] = single(map_.c[0][0] * first + base_[0]);
    walk.y.at[lane] = single(map_.c[1][0] * first + base_[1]);
    walk.left.at[lane] = columns.count();
  }
  void nextRow() {
    for (int i = 0; i < 3; ++i) base_[i] += map_.c[i][1];
  }
  void fill(Walk& walk, Positions& positions) const { positionTable().perspective(walk, positions); }

 private:
  Perspective map_;
  double base_[3] = {};
};

template <class L, class T, int kPlanes>
ZopStatus warpPerspective(const Warp<L, T, kPlanes>& w, const Perspective& forward) {
  if (w.isBeyond()) return zopStatusOk;
  if (ZopStatus bad = checkTwoByTwo(w.part)) return bad;
  const RoundingToNearest nearest;
  const Quad quad = mapped(forward, w.source);
  const Winding winding = windingOf(turnAtLastCorner(quad));
  return warpQuad(w, quad, winding, w.smooth, PerspectiveRows(perspectiveFrom(quad, w.source)));
}

template <class L, class T, int kPlanes>
ZopStatus warpPerspectiveBack(const Warp<L, T, kPlanes>& w, const Perspective& back) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  const Quad quad = mapped(inverseOf(back), w.source);
  return warpQuad(w, quad, windingOf(turnAtLastCorner(quad)), false, PerspectiveRows(back));
}

template <class L, class T, int kPlanes>
ZopStatus warpPerspectiveQuad(const Warp<L, T, kPlanes>& w, const Quad& from, const Quad& to) {
  if (w.isBeyond()) return zopStatusOk;
  const RoundingToNearest nearest;
  return warpBetween(w, from, to, windingOf(turnAtLastCorner(to)), perspectiveBetween(from, to),
                     PerspectiveRows(perspectiveBetween(to, from)));
}

}  // namespace
}  // namespace zopi

#include "geom/warp_perspective.exports.inc"
